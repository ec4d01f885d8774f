#pragma once

#include "cpplanguage/deletable.h"

#include <cstdint>

// The abstract tower behind every container of the family. All containers are value
// containers: elements and keys are copied in and copied out. Every inheritance step is
// virtual so that a class reaching an interface along two paths (a list is both a cursor
// structure and an indexable table) holds a single copy of it.
namespace Collections {

template <class T> class IIterator;
template <class T, class K> class ITableIterator;

template <class T> class IContainer : public virtual CppLanguage::IDeletable {
public:
    virtual bool contains(const T& value) const = 0;
    virtual bool isEmpty() const = 0;
    // A heap object standing on the first element; the caller releases it.
    virtual IIterator<T>* newIterator() const = 0;
};

template <class T> class ICollection : public virtual IContainer<T> {
public:
    virtual int size() const = 0;
    virtual bool canGrow() const = 0;
    virtual bool canShrink() const = 0;
    virtual void addAll(const ICollection<T>& other) = 0;
    virtual void add(const T& value) = 0;
    // Removes the first element equal to the value.
    virtual void remove(const T& value) = 0;
    virtual void removeAll(const T& value) = 0;
    virtual void clear() = 0;
};

template <class T> class IDispenser : public virtual ICollection<T> {
public:
    virtual bool hasElements() const = 0;
    virtual T peek() const = 0;
    // Takes the element that peek shows out of the dispenser and answers it.
    virtual T pop() = 0;
};

template <class T> class IStack : public virtual IDispenser<T> {};

template <class T> class IQueue : public virtual IDispenser<T> {};

// A position inside a cursor structure; only the structure that handed it out can use it.
template <class T> class ICursor {
protected:
    ~ICursor() = default;
};

template <class T> class ICursorStructure : public virtual ICollection<T> {
public:
    virtual bool isCursor(ICursor<T>* cursor) const = 0;
    virtual T get(ICursor<T>* cursor) const = 0;
    virtual ICursor<T>* first() const = 0;
    virtual ICursor<T>* last() const = 0;
    virtual ICursor<T>* next(ICursor<T>* cursor) const = 0;
    // Null when the cursor is the first one.
    virtual ICursor<T>* previous(ICursor<T>* cursor) const = 0;
    virtual void insertBefore(ICursor<T>* cursor, const T& value) = 0;
    virtual void removeAt(ICursor<T>* cursor) = 0;
    virtual void insertAfter(ICursor<T>* cursor, const T& value) = 0;
    virtual void removeAfter(ICursor<T>* cursor) = 0;
};

template <class T, class K> class ITable : public virtual ICollection<T> {
public:
    virtual bool isValidKey(const K& key) const = 0;
    virtual bool containsKey(const K& key) const = 0;
    virtual T get(const K& key) const = 0;
    virtual T at(const K& key) const = 0;
    virtual bool isHashed() const = 0;
    virtual ITableIterator<T, K>* newTableIterator() const = 0;
    // A new table with the same contents, or null for tables that cannot be cloned.
    virtual ITable<T, K>* clone() const = 0;
    virtual void put(const K& key, const T& value) = 0;
    virtual void removeKey(const K& key) = 0;
};

template <class T> class IIndexable : public virtual ITable<T, int> {};

template <class T> class IArray : public virtual IIndexable<T> {};

template <class T> class IList : public virtual ICursorStructure<T>, public virtual IIndexable<T> {
public:
    // Both parents call their element access `get`; keep both visible.
    using ICursorStructure<T>::get;
    using ITable<T, int>::get;
};

template <class T, class K> class IHashTable : public virtual ITable<T, K> {};

template <class T> class IIterator : public virtual CppLanguage::IDeletable {
public:
    virtual bool isFirst() const = 0;
    // True while the iterator stands on an element.
    virtual bool isValid() const = 0;
    virtual T current() const = 0;
    virtual void reset() = 0;
    virtual void next() = 0;
};

template <class T, class K> class ITableIterator : public virtual IIterator<T> {
public:
    virtual K currentKey() const = 0;
};

template <class T, class K> class ITabled {
public:
    virtual const ITable<T, K>& table() const = 0;

protected:
    ~ITabled() = default;
};

template <class K> class IHasher : public virtual CppLanguage::IDeletable {
public:
    ~IHasher() override = default;
    virtual IHasher<K>* clone() const = 0;
    virtual bool isValid(const K& key) const = 0;
    virtual std::uint32_t hash(const K& key) const = 0;
};

} // namespace Collections
