#pragma once

#include "collections/interfaces.h"
#include "collections/list.h"

namespace Collections {

// Last in, first out over the head of a list.
template <class T> class Stack : public virtual IStack<T> {
public:
    explicit Stack(int flag = 1) : list(flag) {}
    Stack(const Stack&) = delete;
    Stack& operator=(const Stack&) = delete;
    ~Stack() override = default;

    void Release() override { delete this; }
    bool invariant() const override { return list.invariant(); }

    bool contains(const T& value) const override { return list.contains(value); }
    bool isEmpty() const override { return list.isEmpty(); }
    // Walks from the top of the stack down.
    IIterator<T>* newIterator() const override { return list.newIterator(); }
    int size() const override { return list.size(); }
    bool canGrow() const override { return true; }
    bool canShrink() const override { return true; }
    void addAll(const ICollection<T>& other) override { addEach(*this, other); }
    void add(const T& value) override { list.addFirst(value); }
    void remove(const T& value) override { list.remove(value); }
    void removeAll(const T& value) override { list.removeAll(value); }
    void clear() override { list.clear(); }

    bool hasElements() const override { return !list.isEmpty(); }
    T peek() const override { return list.getFirst(); }
    T pop() override {
        T value = list.getFirst();
        list.removeFirst();
        return value;
    }

private:
    List<T> list;
};

} // namespace Collections
