#pragma once

#include "cpplanguage/deletable.h"
#include "qelcollections/enumerators.h"

#include <cstdint>

namespace QELCollections {

// Containers may live on the stack or, when handed out by Clone, on the heap; heap ones are
// given up through Release.
class IContainer : public virtual CppLanguage::IDeletable {
public:
    ~IContainer() override = default;

    virtual IContainer* Clone() const = 0;
    virtual std::uint32_t GetCount() const = 0;
    virtual bool IsEmpty() const = 0;
    virtual void Clear() = 0;
};

template <class T> class ICollection : public virtual IContainer {
public:
    virtual bool Contains(const T& value) const = 0;
    virtual IEnumerator<T>* GetEnumerator() = 0;
    virtual void Add(const T& value) = 0;
    // Removes every element equal to the value and answers how many went.
    virtual std::uint32_t Remove(const T& value) = 0;
    virtual IIterator<T>* GetIterator() = 0;
};

// Indices count from 0 at the head.
template <class T> class IIndexedCollection : public ICollection<T> {
public:
    // False, and nothing changes, when there is no such index.
    virtual bool RemoveAt(std::uint32_t index, T& removed) = 0;
    virtual bool RemoveAt(std::uint32_t index) = 0;
    virtual IIndexedIterator<T>* GetIndexedIterator() = 0;
    virtual IIndexedEnumerator<T>* GetIndexedEnumerator() = 0;
    virtual bool HasIndex(std::uint32_t index) const = 0;
    virtual const T& GetAt(std::uint32_t index, const T& fallback, bool& found) const = 0;
    virtual const T& GetAt(std::uint32_t index, const T& fallback) const = 0;
    // Throws NoSuchIndexException.
    virtual const T& GetAt(std::uint32_t index) const = 0;
    virtual const T& operator[](std::uint32_t index) const = 0;
};

template <class T> class IList : public IIndexedCollection<T> {
public:
    virtual IList<T>* Duplicate() const = 0;
    virtual const T& GetFirst(const T& fallback) const = 0;
    // Throws EmptyListException.
    virtual const T& GetFirst() const = 0;
    virtual const T& GetLast(const T& fallback) const = 0;
    // Throws EmptyListException.
    virtual const T& GetLast() const = 0;
    virtual IListIterator<T>* GetListIterator() = 0;
    // False, and nothing changes, when there is no such index.
    virtual bool InsertBefore(std::uint32_t index, const T& value) = 0;
    virtual bool InsertAfter(std::uint32_t index, const T& value) = 0;
    virtual bool InsertFirst(const T& value) = 0;
    virtual bool InsertLast(const T& value) = 0;
    // False when the list is empty.
    virtual bool RemoveFirst() = 0;
    virtual bool RemoveFirst(T& removed) = 0;
    virtual bool RemoveLast() = 0;
    virtual bool RemoveLast(T& removed) = 0;
};

} // namespace QELCollections
