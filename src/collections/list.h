#pragma once

#include "collections/interfaces.h"
#include "collections/iterators.h"

#include <stdexcept>
#include <string>

namespace Collections {

template <class T> class ListNode : public ICursor<T> {
public:
    ListNode(const T& data, ListNode<T>* next) : data(data), next(next) {}

    T data;
    ListNode<T>* next;
};

// Singly linked list. The tail pointer keeps appending constant time; anything that needs
// a predecessor (previous, removeLast, removeAt, index access) walks from the head.
//
// Access to an element that is not there (empty list, index out of range, cursor of another
// list) throws a standard logic error instead of reading through a null node.
template <class T> class List : public virtual IList<T> {
public:
    // Every container of the family takes a construction flag, always 1 for a complete
    // object; nothing depends on it here.
    explicit List([[maybe_unused]] int flag = 1) : head(nullptr), tail(nullptr), count(0) {}
    List(const List&) = delete;
    List& operator=(const List&) = delete;
    ~List() override { clear(); }

    void Release() override { delete this; }
    bool invariant() const override {
        if ((head == nullptr) != (tail == nullptr))
            return false;
        return (count == 0) == (head == nullptr);
    }

    virtual T getFirst() const { return nonEmptyHead("getFirst")->data; }
    virtual T getLast() const {
        nonEmptyHead("getLast");
        return tail->data;
    }
    virtual void addFirst(const T& value) {
        head = new ListNode<T>(value, head);
        if (head->next == nullptr)
            tail = head;
        ++count;
    }
    virtual void addLast(const T& value) {
        if (isEmpty())
            addFirst(value);
        else
            insertAfter(tail, value);
    }
    virtual void removeFirst() {
        ListNode<T>* node = nonEmptyHead("removeFirst");
        head = node->next;
        if (head == nullptr)
            tail = nullptr;
        delete node;
        --count;
    }
    virtual void removeLast() {
        ListNode<T>* first = nonEmptyHead("removeLast");
        if (first == tail) {
            removeFirst();
            return;
        }
        ListNode<T>* before = predecessor(tail);
        delete tail;
        before->next = nullptr;
        tail = before;
        --count;
    }

    // Container and collection.
    bool contains(const T& value) const override { return find(value) != nullptr; }
    bool isEmpty() const override { return count == 0; }
    IIterator<T>* newIterator() const override { return new CursorStructureIterator<T>(*this); }
    int size() const override { return count; }
    bool canGrow() const override { return true; }
    bool canShrink() const override { return true; }
    void addAll(const ICollection<T>& other) override { addEach(*this, other); }
    void add(const T& value) override { addLast(value); }
    void remove(const T& value) override {
        if (ListNode<T>* node = find(value))
            removeAt(node);
    }
    void removeAll(const T& value) override {
        ListNode<T>* before = nullptr;
        ListNode<T>* node = head;
        while (node != nullptr) {
            ListNode<T>* after = node->next;
            if (node->data == value)
                unlink(before, node);
            else
                before = node;
            node = after;
        }
    }
    void clear() override {
        while (!isEmpty())
            removeFirst();
    }

    // Cursor structure.
    bool isCursor(ICursor<T>* cursor) const override { return cursor != nullptr; }
    T get(ICursor<T>* cursor) const override { return node(cursor)->data; }
    ICursor<T>* first() const override { return head; }
    ICursor<T>* last() const override { return tail; }
    ICursor<T>* next(ICursor<T>* cursor) const override { return node(cursor)->next; }
    ICursor<T>* previous(ICursor<T>* cursor) const override {
        ListNode<T>* target = node(cursor);
        if (target == head)
            return nullptr;
        return predecessor(target);
    }
    void insertBefore(ICursor<T>* cursor, const T& value) override {
        ListNode<T>* target = node(cursor);
        if (target == head)
            addFirst(value);
        else
            insertAfter(predecessor(target), value);
    }
    void removeAt(ICursor<T>* cursor) override {
        ListNode<T>* target = node(cursor);
        if (target == head)
            removeFirst();
        else
            unlink(predecessor(target), target);
    }
    void insertAfter(ICursor<T>* cursor, const T& value) override {
        ListNode<T>* target = node(cursor);
        target->next = new ListNode<T>(value, target->next);
        if (target->next->next == nullptr)
            tail = target->next;
        ++count;
    }
    void removeAfter(ICursor<T>* cursor) override {
        ListNode<T>* target = node(cursor);
        if (target->next != nullptr)
            unlink(target, target->next);
    }

    // Indexable table: the key is the position from the head.
    bool isValidKey(const int& index) const override { return index >= 0 && index < count; }
    bool containsKey(const int& index) const override { return isValidKey(index); }
    T get(const int& index) const override { return nodeAt(index)->data; }
    T at(const int& index) const override { return get(index); }
    bool isHashed() const override { return false; }
    ITableIterator<T, int>* newTableIterator() const override {
        return new IndexableIterator<T>(*this);
    }
    ITable<T, int>* clone() const override { return nullptr; }
    void put(const int& index, const T& value) override { nodeAt(index)->data = value; }
    void removeKey(const int& index) override {
        if (isValidKey(index))
            removeAt(nodeAt(index));
    }

private:
    ListNode<T>* nonEmptyHead(const char* operation) const {
        if (head == nullptr)
            throw std::out_of_range(std::string("Collections::List::") + operation +
                                    " on an empty list");
        return head;
    }
    static ListNode<T>* node(ICursor<T>* cursor) {
        if (cursor == nullptr)
            throw std::invalid_argument("Collections::List: null cursor");
        return static_cast<ListNode<T>*>(cursor);
    }
    ListNode<T>* nodeAt(int index) const {
        if (!isValidKey(index))
            throw std::out_of_range("Collections::List: index out of range");
        ListNode<T>* walk = head;
        while (index-- > 0)
            walk = walk->next;
        return walk;
    }
    ListNode<T>* predecessor(const ListNode<T>* target) const {
        for (ListNode<T>* walk = head; walk != nullptr; walk = walk->next) {
            if (walk->next == target)
                return walk;
        }
        throw std::invalid_argument("Collections::List: cursor of another list");
    }
    ListNode<T>* find(const T& value) const {
        for (ListNode<T>* walk = head; walk != nullptr; walk = walk->next) {
            if (walk->data == value)
                return walk;
        }
        return nullptr;
    }
    // `before` is null when `target` is the head.
    void unlink(ListNode<T>* before, ListNode<T>* target) {
        if (before == nullptr)
            head = target->next;
        else
            before->next = target->next;
        if (tail == target)
            tail = before;
        delete target;
        --count;
    }

    ListNode<T>* head;
    ListNode<T>* tail;
    int count;
};

} // namespace Collections
