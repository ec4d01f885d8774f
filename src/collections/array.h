#pragma once

#include "collections/interfaces.h"
#include "collections/iterators.h"

#include <memory>
#include <stdexcept>
#include <utility>

namespace Collections {

template <class T, int Dimensions = 1> class Array;

// A fixed run of slots addressed by index. Its size changes only through grow: the
// collection operations that would add or drop elements are accepted and do nothing.
template <class T> class Array<T, 1> : public virtual IArray<T> {
public:
    explicit Array(int length, [[maybe_unused]] int flag = 1)
        : data(std::make_unique<T[]>(checkedLength(length))), length(length) {}
    Array(const Array&) = delete;
    Array& operator=(const Array&) = delete;
    ~Array() override = default;

    void Release() override { delete this; }

    // New slots are value-initialised; existing ones keep their values.
    virtual void grow(int extra) {
        if (extra <= 0)
            return;
        auto larger = std::make_unique<T[]>(checkedLength(length + extra));
        for (int i = 0; i < length; ++i)
            larger[i] = std::move(data[i]);
        data = std::move(larger);
        length += extra;
    }

    bool contains(const T& value) const override {
        for (int i = 0; i < length; ++i) {
            if (data[i] == value)
                return true;
        }
        return false;
    }
    bool isEmpty() const override { return length == 0; }
    IIterator<T>* newIterator() const override { return new IndexableIterator<T>(*this); }
    int size() const override { return length; }
    bool canGrow() const override { return false; }
    bool canShrink() const override { return false; }
    void addAll(const ICollection<T>&) override {}
    void add(const T&) override {}
    void remove(const T&) override {}
    void removeAll(const T&) override {}
    void clear() override {}

    bool isValidKey(const int& index) const override { return index >= 0 && index < length; }
    // A fixed array answers yes for any key: it has no notion of an absent slot, and callers
    // test isValidKey before they read.
    bool containsKey(const int&) const override { return true; }
    T get(const int& index) const override { return data[checkedIndex(index)]; }
    T at(const int& index) const override { return get(index); }
    bool isHashed() const override { return false; }
    ITableIterator<T, int>* newTableIterator() const override {
        return new IndexableIterator<T>(*this);
    }
    ITable<T, int>* clone() const override { return nullptr; }
    void put(const int& index, const T& value) override { data[checkedIndex(index)] = value; }
    void removeKey(const int&) override {}

private:
    static std::size_t checkedLength(int wanted) {
        if (wanted < 0)
            throw std::invalid_argument("Collections::Array: negative length");
        return static_cast<std::size_t>(wanted);
    }
    int checkedIndex(int index) const {
        if (!isValidKey(index))
            throw std::out_of_range("Collections::Array: index out of range");
        return index;
    }

    std::unique_ptr<T[]> data;
    int length;
};

} // namespace Collections
