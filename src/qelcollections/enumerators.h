#pragma once

#include "cpplanguage/deletable.h"

#include <cstdint>

namespace QELCollections {

template <class T> class IPredicate {
public:
    virtual ~IPredicate() = default;
    virtual bool Test(const T& element) const = 0;
};

// A read-only walk. Enumerators are handed out on the heap: give them up through Release
// (or hold them in a CDeletableAutoPtr).
template <class T> class IEnumerator : public virtual CppLanguage::IDeletable {
public:
    ~IEnumerator() override = default;

    virtual bool HasCurrent() const = 0;
    // Throws NoCurrentElementException when the walk stands on no element.
    virtual const T& GetCurrent() const = 0;
    // Walks from the start to the first element that passes; answers whether there is one.
    virtual bool FirstThat(const IPredicate<T>& predicate) {
        Reset();
        return skipUntil(predicate);
    }
    virtual void Reset() = 0;
    // As FirstThat, but starts with the element after the current one.
    virtual bool NextThat(const IPredicate<T>& predicate) {
        Next();
        return skipUntil(predicate);
    }
    virtual void Next() = 0;

private:
    bool skipUntil(const IPredicate<T>& predicate) {
        while (HasCurrent() && !predicate.Test(GetCurrent()))
            Next();
        return HasCurrent();
    }
};

template <class T> class IIterator : public virtual IEnumerator<T> {};

// A walk that knows its position and can also go backwards.
template <class T> class IIndexedEnumerator : public virtual IEnumerator<T> {
public:
    // Throws NoCurrentElementException when the walk stands on no element.
    virtual std::uint32_t GetCurrentIndex() const = 0;
    // Walks back from the last element to one equal to the value; answers whether found.
    virtual bool FindLast(const T& value) {
        ResetToLast();
        return goBackTo(value);
    }
    virtual void ResetToLast() = 0;
    // As FindLast, but starts with the element before the current one.
    virtual bool FindPrevious(const T& value) {
        Previous();
        return goBackTo(value);
    }
    virtual void Previous() = 0;

private:
    bool goBackTo(const T& value) {
        while (this->HasCurrent() && !(this->GetCurrent() == value))
            Previous();
        return this->HasCurrent();
    }
};

template <class T>
class IIndexedIterator : public virtual IIterator<T>, public virtual IIndexedEnumerator<T> {};

// A walk that can change the list under it. Each operation throws
// NoCurrentElementException when the walk stands on no element.
template <class T> class IListIterator : public virtual IIndexedIterator<T> {
public:
    // Afterwards the walk stands between the neighbours of the removed element: Next goes
    // to the one after it, Previous to the one before.
    virtual void RemoveCurrent() = 0;
    virtual void InsertBeforeCurrent(const T& value) = 0;
    virtual void InsertAfterCurrent(const T& value) = 0;
};

} // namespace QELCollections
