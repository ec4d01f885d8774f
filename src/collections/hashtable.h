#pragma once

#include "collections/interfaces.h"
#include "collections/list.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <vector>

namespace Collections {

template <class T, class K> class HashNode {
public:
    bool operator==(const HashNode&) const = default;

    K key;
    T value;
};

template <class T, class K> class HashTableIterator;

// Chained hash table with a bucket count fixed at construction; there is no rehashing.
// New keys go to the front of their bucket, so of two keys sharing a bucket the later one
// comes first in iteration. A missing key reads as the default value, never as an error.
template <class T, class K>
class HashTable : public virtual IHashTable<T, K>, public ITabled<T, K> {
public:
    using Node = HashNode<T, K>;
    using Bucket = List<Node>;

    // Takes ownership of the hasher, also when the construction fails.
    HashTable(IHasher<K>* keyHasher, const T& defaultValue, int bucketCount,
              [[maybe_unused]] int flag = 1)
        : hasher(keyHasher), defaultValue(defaultValue) {
        if (!hasher)
            throw std::invalid_argument("Collections::HashTable: null hasher");
        if (bucketCount <= 0)
            throw std::invalid_argument("Collections::HashTable: bucket count must be positive");
        buckets.resize(static_cast<std::size_t>(bucketCount));
    }
    HashTable(const HashTable&) = delete;
    HashTable& operator=(const HashTable&) = delete;
    ~HashTable() override = default;

    void Release() override { delete this; }
    const ITable<T, K>& table() const override { return *this; }

    int bucketCount() const { return static_cast<int>(buckets.size()); }

    // Collection, on values. Elements enter only through put.
    bool contains(const T& value) const override {
        for (const auto& bucket : buckets) {
            if (findValue(bucket.get(), value) != nullptr)
                return true;
        }
        return false;
    }
    bool isEmpty() const override { return size() == 0; }
    IIterator<T>* newIterator() const override { return new HashTableIterator<T, K>(*this); }
    int size() const override {
        int total = 0;
        for (const auto& bucket : buckets) {
            if (bucket)
                total += bucket->size();
        }
        return total;
    }
    bool canGrow() const override { return false; }
    bool canShrink() const override { return false; }
    void addAll(const ICollection<T>&) override {}
    void add(const T&) override {}
    void remove(const T& value) override {
        for (auto& bucket : buckets) {
            if (ICursor<Node>* found = findValue(bucket.get(), value)) {
                bucket->removeAt(found);
                return;
            }
        }
    }
    void removeAll(const T& value) override {
        for (auto& bucket : buckets) {
            while (ICursor<Node>* found = findValue(bucket.get(), value))
                bucket->removeAt(found);
        }
    }
    void clear() override {
        for (auto& bucket : buckets)
            bucket.reset();
    }

    // Table, on keys.
    bool isValidKey(const K& key) const override { return hasher->isValid(key); }
    bool containsKey(const K& key) const override { return findKey(key) != nullptr; }
    T get(const K& key) const override {
        const ListNode<Node>* node = findKey(key);
        return node != nullptr ? node->data.value : defaultValue;
    }
    T at(const K& key) const override { return get(key); }
    bool isHashed() const override { return true; }
    ITableIterator<T, K>* newTableIterator() const override {
        return new HashTableIterator<T, K>(*this);
    }
    HashTable<T, K>* clone() const override {
        auto copy = std::make_unique<HashTable<T, K>>(hasher->clone(), defaultValue, bucketCount());
        for (std::size_t i = 0; i < buckets.size(); ++i) {
            if (!buckets[i])
                continue;
            copy->buckets[i] = std::make_unique<Bucket>();
            for (ICursor<Node>* c = buckets[i]->first(); c; c = buckets[i]->next(c))
                copy->buckets[i]->addLast(buckets[i]->get(c));
        }
        return copy.release();
    }
    void put(const K& key, const T& value) override {
        if (ListNode<Node>* node = findKey(key)) {
            node->data.value = value;
            return;
        }
        auto& bucket = buckets[slot(key)];
        if (!bucket)
            bucket = std::make_unique<Bucket>();
        bucket->addFirst(Node{key, value});
    }
    void removeKey(const K& key) override {
        if (ListNode<Node>* node = findKey(key))
            buckets[slot(key)]->removeAt(node);
    }

private:
    friend class HashTableIterator<T, K>;

    std::size_t slot(const K& key) const {
        return hasher->hash(key) % static_cast<std::uint32_t>(buckets.size());
    }
    ListNode<Node>* findKey(const K& key) const {
        const Bucket* bucket = buckets[slot(key)].get();
        if (bucket == nullptr)
            return nullptr;
        for (ICursor<Node>* c = bucket->first(); c; c = bucket->next(c)) {
            auto* node = static_cast<ListNode<Node>*>(c);
            if (node->data.key == key)
                return node;
        }
        return nullptr;
    }
    static ICursor<Node>* findValue(const Bucket* bucket, const T& value) {
        if (bucket == nullptr)
            return nullptr;
        for (ICursor<Node>* c = bucket->first(); c; c = bucket->next(c)) {
            if (static_cast<ListNode<Node>*>(c)->data.value == value)
                return c;
        }
        return nullptr;
    }

    std::unique_ptr<IHasher<K>> hasher;
    // One list per bucket, made on first use.
    std::vector<std::unique_ptr<Bucket>> buckets;
    T defaultValue;
};

// Walks the buckets in index order and each bucket from its head.
template <class T, class K> class HashTableIterator : public virtual ITableIterator<T, K> {
public:
    explicit HashTableIterator(const HashTable<T, K>& table) : table(&table) { reset(); }

    void Release() override { delete this; }

    bool isFirst() const override {
        const int end = std::min(bucketIndex, table->bucketCount());
        for (int i = 0; i < end; ++i) {
            if (const auto* bucket = table->buckets[i].get(); bucket && !bucket->isEmpty())
                return false;
        }
        return !isValid() || bucketCursor == currentBucket().first();
    }
    bool isValid() const override { return bucketCursor != nullptr; }
    T current() const override { return currentBucket().get(bucketCursor).value; }
    K currentKey() const override { return currentBucket().get(bucketCursor).key; }
    void reset() override { settle(0); }
    void next() override {
        if (!isValid())
            return;
        bucketCursor = currentBucket().next(bucketCursor);
        if (bucketCursor == nullptr)
            settle(bucketIndex + 1);
    }

private:
    using Bucket = typename HashTable<T, K>::Bucket;

    const Bucket& currentBucket() const {
        if (!isValid())
            throw std::out_of_range("Collections::HashTableIterator: no current element");
        return *table->buckets[bucketIndex];
    }
    // Stands on the head of the first non-empty bucket from `index` on, or past the end.
    void settle(int index) {
        for (bucketIndex = index; bucketIndex < table->bucketCount(); ++bucketIndex) {
            if (const auto* bucket = table->buckets[bucketIndex].get();
                bucket && !bucket->isEmpty()) {
                bucketCursor = bucket->first();
                return;
            }
        }
        bucketCursor = nullptr;
    }

    const HashTable<T, K>* table;
    int bucketIndex = 0;
    ICursor<HashNode<T, K>>* bucketCursor = nullptr;
};

} // namespace Collections
