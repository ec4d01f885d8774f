#pragma once

#include "qelcollections/collectionsexceptions.h"
#include "qelcollections/enumerators.h"
#include "qelcollections/linkedlist.h"
#include "qelcollections/list.h"

#include <cstdint>

namespace QELCollections {

template <class T> class mfcListIterator;

// The list implementation: a doubly linked list over a node pool. Every walk it hands out
// is an mfcListIterator, seen through whichever interface was asked for.
template <class T> class mfcList : public List<T> {
public:
    mfcList() = default;
    mfcList(const mfcList&) = default;
    mfcList(mfcList&&) noexcept = default;
    mfcList& operator=(const mfcList&) = default;
    mfcList& operator=(mfcList&&) noexcept = default;
    ~mfcList() override = default;

    void Release() override { delete this; }

    std::uint32_t GetCount() const override { return nodes.size(); }
    void Clear() override { nodes.clear(); }

    bool Contains(const T& value) const override {
        for (const Node* node = nodes.first(); node != nullptr; node = node->next) {
            if (*node->value == value)
                return true;
        }
        return false;
    }
    IEnumerator<T>* GetEnumerator() override { return newIterator(); }
    std::uint32_t Remove(const T& value) override {
        std::uint32_t removed = 0;
        for (Node* node = nodes.first(); node != nullptr;) {
            Node* next = node->next;
            if (*node->value == value) {
                nodes.erase(node);
                ++removed;
            }
            node = next;
        }
        return removed;
    }
    IIterator<T>* GetIterator() override { return newIterator(); }

    using List<T>::RemoveAt;
    bool RemoveAt(std::uint32_t index) override {
        Node* node = nodes.nodeAt(index);
        if (node == nullptr)
            return false;
        nodes.erase(node);
        return true;
    }
    IIndexedIterator<T>* GetIndexedIterator() override { return newIterator(); }
    IIndexedEnumerator<T>* GetIndexedEnumerator() override { return newIterator(); }

    using List<T>::GetAt;
    const T& GetAt(std::uint32_t index) const override {
        const Node* node = nodes.nodeAt(index);
        if (node == nullptr)
            throw NoSuchIndexException(index);
        return *node->value;
    }

    mfcList* Duplicate() const override { return new mfcList(*this); }

    using List<T>::GetFirst;
    using List<T>::GetLast;
    const T& GetFirst() const override { return *nonEmpty().first()->value; }
    const T& GetLast() const override { return *nonEmpty().last()->value; }

    IListIterator<T>* GetListIterator() override { return newIterator(); }
    bool InsertBefore(std::uint32_t index, const T& value) override {
        Node* node = nodes.nodeAt(index);
        if (node == nullptr)
            return false;
        nodes.insertBefore(node, value);
        return true;
    }
    bool InsertAfter(std::uint32_t index, const T& value) override {
        Node* node = nodes.nodeAt(index);
        if (node == nullptr)
            return false;
        nodes.insertAfter(node, value);
        return true;
    }
    bool InsertFirst(const T& value) override {
        nodes.insertAfter(nullptr, value);
        return true;
    }
    bool InsertLast(const T& value) override {
        nodes.insertBefore(nullptr, value);
        return true;
    }

    using List<T>::RemoveFirst;
    using List<T>::RemoveLast;
    bool RemoveFirst() override { return eraseIfAny(nodes.first()); }
    bool RemoveLast() override { return eraseIfAny(nodes.last()); }

    // Blocks of pooled nodes currently held; lets a caller see the pool at work.
    std::size_t GetPoolBlockCount() const { return nodes.blockCount(); }

private:
    friend class mfcListIterator<T>;
    using Node = typename LinkedList<T>::Node;

    mfcListIterator<T>* newIterator() { return new mfcListIterator<T>(*this); }
    const LinkedList<T>& nonEmpty() const {
        if (nodes.size() == 0)
            throw EmptyListException();
        return nodes;
    }
    bool eraseIfAny(Node* node) {
        if (node == nullptr)
            return false;
        nodes.erase(node);
        return true;
    }

    LinkedList<T> nodes;
};

// A walk over an mfcList that can change it. Besides the current node it keeps the nodes on
// either side, so that after the current element is removed the walk can still go on in
// both directions. Changing the list other than through this iterator invalidates it.
template <class T> class mfcListIterator : public virtual IListIterator<T> {
public:
    explicit mfcListIterator(mfcList<T>& list) : list(&list) { Reset(); }

    void Release() override { delete this; }

    bool HasCurrent() const override { return current != nullptr; }
    const T& GetCurrent() const override { return *currentNode()->value; }
    void Reset() override { standOn(list->nodes.first(), nullptr, list->nodes.first()); }
    void Next() override {
        if (current != nullptr)
            standOn(current->next, current, current->next);
        else
            standOn(after, before, after);
    }

    std::uint32_t GetCurrentIndex() const override {
        std::uint32_t index = 0;
        for (const Node* node = currentNode()->prev; node != nullptr; node = node->prev)
            ++index;
        return index;
    }
    void ResetToLast() override { standOn(list->nodes.last(), list->nodes.last(), nullptr); }
    void Previous() override {
        if (current != nullptr)
            standOn(current->prev, current->prev, current);
        else
            standOn(before, before, after);
    }

    void RemoveCurrent() override {
        Node* node = currentNode();
        before = node->prev;
        after = node->next;
        current = nullptr;
        list->nodes.erase(node);
    }
    void InsertBeforeCurrent(const T& value) override {
        list->nodes.insertBefore(currentNode(), value);
    }
    void InsertAfterCurrent(const T& value) override {
        list->nodes.insertAfter(currentNode(), value);
    }

private:
    using Node = typename LinkedList<T>::Node;

    Node* currentNode() const {
        if (current == nullptr)
            throw NoCurrentElementException();
        return current;
    }
    // With a current node, its neighbours are read from the node itself; without one, the
    // walk stands in the gap between `gapBefore` and `gapAfter`.
    void standOn(Node* node, Node* gapBefore, Node* gapAfter) {
        current = node;
        before = node != nullptr ? node->prev : gapBefore;
        after = node != nullptr ? node->next : gapAfter;
    }

    mfcList<T>* list;
    Node* current = nullptr;
    Node* before = nullptr;
    Node* after = nullptr;
};

} // namespace QELCollections
