#pragma once

#include "qelcollections/collectionsexceptions.h"
#include "qelcollections/containers.h"
#include "qelcollections/enumerators.h"

#include <cstdint>

namespace QELCollections {

// Walks any indexed collection by position. The collection must outlive the walk and keep
// its size while it runs.
template <class T> class Enumerator : public virtual IEnumerator<T> {
public:
    explicit Enumerator(const IIndexedCollection<T>& collection) : collection(&collection) {}

    void Release() override { delete this; }

    bool HasCurrent() const override { return collection->HasIndex(index); }
    const T& GetCurrent() const override {
        if (!HasCurrent())
            throw NoCurrentElementException();
        return collection->GetAt(index);
    }
    void Reset() override { index = 0; }
    void Next() override {
        if (HasCurrent())
            ++index;
    }

private:
    const IIndexedCollection<T>* collection;
    std::uint32_t index = 0;
};

// The part of a list that follows from the rest: overloads with a fallback or a copy-out,
// and the positional enumerator. An implementation supplies storage and the walks.
template <class T> class List : public IList<T> {
public:
    List* Clone() const override { return this->Duplicate(); }
    bool IsEmpty() const override { return this->GetCount() == 0; }

    bool Contains(const T& value) const override {
        for (std::uint32_t i = 0; i < this->GetCount(); ++i) {
            if (this->GetAt(i) == value)
                return true;
        }
        return false;
    }
    IEnumerator<T>* GetEnumerator() override { return new Enumerator<T>(*this); }
    void Add(const T& value) override { this->InsertLast(value); }

    using IIndexedCollection<T>::RemoveAt;
    bool RemoveAt(std::uint32_t index, T& removed) override {
        if (!this->HasIndex(index))
            return false;
        removed = this->GetAt(index);
        return this->RemoveAt(index);
    }
    bool HasIndex(std::uint32_t index) const override { return index < this->GetCount(); }

    using IIndexedCollection<T>::GetAt;
    const T& GetAt(std::uint32_t index, const T& fallback, bool& found) const override {
        found = this->HasIndex(index);
        return found ? this->GetAt(index) : fallback;
    }
    const T& GetAt(std::uint32_t index, const T& fallback) const override {
        return this->HasIndex(index) ? this->GetAt(index) : fallback;
    }
    const T& operator[](std::uint32_t index) const override { return this->GetAt(index); }

    List* Duplicate() const override = 0;

    using IList<T>::GetFirst;
    using IList<T>::GetLast;
    const T& GetFirst(const T& fallback) const override {
        return this->IsEmpty() ? fallback : this->GetFirst();
    }
    const T& GetLast(const T& fallback) const override {
        return this->IsEmpty() ? fallback : this->GetLast();
    }

    using IList<T>::RemoveFirst;
    using IList<T>::RemoveLast;
    bool RemoveFirst(T& removed) override {
        if (this->IsEmpty())
            return false;
        removed = this->GetFirst();
        return this->RemoveFirst();
    }
    bool RemoveLast(T& removed) override {
        if (this->IsEmpty())
            return false;
        removed = this->GetLast();
        return this->RemoveLast();
    }
};

} // namespace QELCollections
