#pragma once

#include "collections/interfaces.h"
#include "collections/iterators.h"
#include "collections/list.h"

namespace Collections {

// First in, first out: elements go in at the tail of a list and come out at its head.
template <class T> class Queue : public virtual IQueue<T> {
public:
    explicit Queue(int flag = 1) : list(flag), lastNode(nullptr) {}
    Queue(const Queue&) = delete;
    Queue& operator=(const Queue&) = delete;
    ~Queue() override = default;

    void Release() override { delete this; }
    bool invariant() const override { return list.invariant() && lastNode == list.last(); }

    bool contains(const T& value) const override { return list.contains(value); }
    bool isEmpty() const override { return list.isEmpty(); }
    IIterator<T>* newIterator() const override { return list.newIterator(); }
    int size() const override { return list.size(); }
    bool canGrow() const override { return true; }
    bool canShrink() const override { return true; }
    void addAll(const ICollection<T>& other) override { addEach(*this, other); }
    void add(const T& value) override {
        if (list.isEmpty())
            list.addFirst(value);
        else
            list.insertAfter(lastNode, value);
        lastNode = list.last();
    }
    void remove(const T& value) override {
        list.remove(value);
        lastNode = list.last();
    }
    void removeAll(const T& value) override {
        list.removeAll(value);
        lastNode = list.last();
    }
    void clear() override {
        list.clear();
        lastNode = nullptr;
    }

    bool hasElements() const override { return !list.isEmpty(); }
    T peek() const override { return list.getFirst(); }
    T pop() override {
        T value = list.getFirst();
        list.removeFirst();
        if (list.isEmpty())
            lastNode = nullptr;
        return value;
    }

private:
    List<T> list;
    ICursor<T>* lastNode;
};

} // namespace Collections
