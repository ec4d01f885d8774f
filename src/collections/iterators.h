#pragma once

#include "collections/interfaces.h"

namespace Collections {

// Walks a cursor structure from its first cursor. The structure must outlive the iterator.
template <class T> class CursorStructureIterator : public virtual IIterator<T> {
public:
    explicit CursorStructureIterator(const ICursorStructure<T>& structure)
        : structure(&structure), cursor(structure.first()) {}

    void Release() override { delete this; }

    bool isFirst() const override { return cursor == structure->first(); }
    bool isValid() const override { return structure->isCursor(cursor); }
    T current() const override { return structure->get(cursor); }
    void reset() override { cursor = structure->first(); }
    void next() override {
        if (isValid())
            cursor = structure->next(cursor);
    }

private:
    const ICursorStructure<T>* structure;
    ICursor<T>* cursor;
};

// Walks an indexable table from index 0; the index is the key.
template <class T> class IndexableIterator : public virtual ITableIterator<T, int> {
public:
    explicit IndexableIterator(const IIndexable<T>& table) : table(&table), index(0) {}

    void Release() override { delete this; }

    bool isFirst() const override { return index == 0; }
    bool isValid() const override { return table->isValidKey(index); }
    T current() const override { return table->get(index); }
    int currentKey() const override { return index; }
    void reset() override { index = 0; }
    void next() override {
        if (isValid())
            ++index;
    }

private:
    const IIndexable<T>* table;
    int index;
};

// Adds every element of `source` to `target`. Only the elements present at the start are
// taken, so a collection can safely be added to itself.
template <class T> void addEach(ICollection<T>& target, const ICollection<T>& source) {
    int remaining = source.size();
    CppLanguage::CDeletableAutoPtr<IIterator<T>> it(source.newIterator());
    for (; remaining > 0 && it->isValid(); it->next(), --remaining)
        target.add(it->current());
}

} // namespace Collections
