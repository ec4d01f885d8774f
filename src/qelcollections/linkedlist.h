#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace QELCollections {

// Doubly linked list whose nodes come from a pool filled a block at a time, so that a list
// built element by element allocates once per block rather than once per element. Freed
// nodes go back to the pool; the blocks themselves are given back only by clear.
template <class T> class LinkedList {
public:
    struct Node {
        Node* prev = nullptr;
        Node* next = nullptr;
        // Empty while the node sits in the pool.
        std::optional<T> value;
    };

    static constexpr int nodesPerBlock = 10;

    LinkedList() = default;
    LinkedList(const LinkedList& other) {
        for (const Node* node = other.head; node != nullptr; node = node->next)
            insertAfter(tail, *node->value);
    }
    LinkedList(LinkedList&& other) noexcept { swap(other); }
    LinkedList& operator=(LinkedList other) noexcept {
        swap(other);
        return *this;
    }
    ~LinkedList() = default;

    void swap(LinkedList& other) noexcept {
        std::swap(head, other.head);
        std::swap(tail, other.tail);
        std::swap(count, other.count);
        std::swap(freeNodes, other.freeNodes);
        blocks.swap(other.blocks);
    }

    Node* first() const { return head; }
    Node* last() const { return tail; }
    std::uint32_t size() const { return count; }
    std::size_t blockCount() const { return blocks.size(); }

    // Null when the index is out of range.
    Node* nodeAt(std::uint32_t index) const {
        if (index >= count)
            return nullptr;
        Node* node = head;
        while (index-- > 0)
            node = node->next;
        return node;
    }

    // A null `position` inserts at the head.
    Node* insertAfter(Node* position, const T& value) {
        Node* node = allocate(value);
        node->prev = position;
        node->next = position != nullptr ? position->next : head;
        link(node);
        return node;
    }
    // A null `position` inserts at the tail.
    Node* insertBefore(Node* position, const T& value) {
        Node* node = allocate(value);
        node->next = position;
        node->prev = position != nullptr ? position->prev : tail;
        link(node);
        return node;
    }

    void erase(Node* node) {
        (node->prev != nullptr ? node->prev->next : head) = node->next;
        (node->next != nullptr ? node->next->prev : tail) = node->prev;
        node->value.reset();
        node->prev = nullptr;
        node->next = freeNodes;
        freeNodes = node;
        --count;
    }

    void clear() {
        head = tail = freeNodes = nullptr;
        count = 0;
        blocks.clear();
    }

private:
    // Fills in the neighbours' links to a node whose own links are set.
    void link(Node* node) {
        (node->prev != nullptr ? node->prev->next : head) = node;
        (node->next != nullptr ? node->next->prev : tail) = node;
        ++count;
    }

    Node* allocate(const T& value) {
        if (freeNodes == nullptr) {
            blocks.push_back(std::make_unique<Node[]>(nodesPerBlock));
            Node* block = blocks.back().get();
            for (int i = 0; i < nodesPerBlock; ++i) {
                block[i].next = freeNodes;
                freeNodes = &block[i];
            }
        }
        Node* node = freeNodes;
        // Take the node only once the copy has succeeded, so a throwing copy loses nothing.
        node->value.emplace(value);
        freeNodes = node->next;
        return node;
    }

    Node* head = nullptr;
    Node* tail = nullptr;
    std::uint32_t count = 0;
    Node* freeNodes = nullptr;
    std::vector<std::unique_ptr<Node[]>> blocks;
};

} // namespace QELCollections
