#include "collections/hashers.h"
#include "collections/hashtable.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <utility>
#include <vector>

using Collections::CStringHasher;
using Collections::HashTable;
using Collections::IntHasher;
using Collections::ITableIterator;
using CppLanguage::CDeletableAutoPtr;

namespace {

constexpr int bucketCount = 509;

template <class T, class K> std::vector<std::pair<K, T>> entries(const HashTable<T, K>& table) {
    std::vector<std::pair<K, T>> out;
    CDeletableAutoPtr<ITableIterator<T, K>> it(table.newTableIterator());
    for (; it->isValid(); it->next())
        out.emplace_back(it->currentKey(), it->current());
    return out;
}

using IntEntries = std::vector<std::pair<int, int>>;

} // namespace

TEST(CollectionsHashTable, SharedBucketOrderAndOverwriteInPlace) {
    HashTable<int, int> table(new IntHasher, 0, bucketCount);
    // 3, 512 and 1021 share bucket 3; 1 and -354 (as unsigned, 2^32 - 354 is 1 modulo 509) share
    // bucket 1.
    table.put(3, 30);
    table.put(512, 5120);
    table.put(1021, 10210);
    table.put(-354, 99);
    table.put(1, 10);
    table.put(512, 5121); // existing key: value changes, place does not
    EXPECT_EQ(entries(table),
              (IntEntries{{1, 10}, {-354, 99}, {1021, 10210}, {512, 5121}, {3, 30}}));
    EXPECT_EQ(table.size(), 5);

    table.removeKey(512); // middle of its bucket
    table.removeKey(1);   // head of its bucket
    EXPECT_EQ(entries(table), (IntEntries{{-354, 99}, {1021, 10210}, {3, 30}}));
    EXPECT_EQ(table.get(3), 30);
}

TEST(CollectionsHashTable, IteratorIsFirstOnlyOnTheVeryFirstEntry) {
    HashTable<int, int> table(new IntHasher, 0, bucketCount);
    CDeletableAutoPtr<ITableIterator<int, int>> empty(table.newTableIterator());
    EXPECT_TRUE(empty->isFirst());
    EXPECT_FALSE(empty->isValid());

    table.put(7, 1);
    table.put(516, 2); // bucket 7, in front
    table.put(8, 3);
    CDeletableAutoPtr<ITableIterator<int, int>> it(table.newTableIterator());
    EXPECT_TRUE(it->isFirst());
    EXPECT_EQ(it->currentKey(), 516);
    it->next();
    EXPECT_FALSE(it->isFirst()); // second in the first bucket
    it->next();
    EXPECT_FALSE(it->isFirst()); // head of a later bucket
    EXPECT_EQ(it->current(), 3);
    it->next();
    EXPECT_FALSE(it->isValid());
    EXPECT_FALSE(it->isFirst());
    EXPECT_THROW(it->current(), std::out_of_range);
    it->reset();
    EXPECT_TRUE(it->isFirst());
    EXPECT_EQ(it->current(), 2);
}

TEST(CollectionsHashTable, MissingKeysReadAsTheDefaultAndValueOperationsScanBucketsInOrder) {
    HashTable<int, int> table(new IntHasher, -1, bucketCount, 1);
    EXPECT_EQ(table.get(5), -1);
    table.put(5, 50);
    EXPECT_EQ(table.at(5), 50);
    EXPECT_TRUE(table.containsKey(5));
    table.removeKey(5);
    table.removeKey(5);
    EXPECT_EQ(table.get(5), -1);
    EXPECT_FALSE(table.containsKey(5));
    table.put(2, 7);
    table.put(1, 7);
    table.put(3, 8);
    table.put(4, 7);
    EXPECT_TRUE(table.contains(8));
    EXPECT_FALSE(table.contains(9));
    table.remove(7); // the one in the lowest bucket
    EXPECT_FALSE(table.containsKey(1));
    EXPECT_TRUE(table.containsKey(2));
    table.add(7); // a hash table fills only through put
    EXPECT_EQ(table.size(), 3);
    table.removeAll(7);
    EXPECT_EQ(entries(table), (IntEntries{{3, 8}}));

    table.clear();
    EXPECT_TRUE(table.isEmpty());
    table.put(3, 1);
    EXPECT_EQ(table.get(3), 1);
}

TEST(CollectionsHashTable, CloneIsIndependentAndKeepsOrderAndDefault) {
    HashTable<int, ORLO::String> table(new CStringHasher, -1, bucketCount);
    for (const char* name : {"Alpha", "Beta", "Gamma", "Delta", "Epsilon"})
        table.put(name, static_cast<int>(ORLO::String(name).size()));
    CDeletableAutoPtr<HashTable<int, ORLO::String>> copy(table.clone());
    EXPECT_EQ(entries(*copy), entries(table));
    EXPECT_EQ(copy->bucketCount(), bucketCount);
    copy->put("Alpha", 0);
    copy->removeKey("Beta");
    EXPECT_EQ(table.get("Alpha"), 5);
    EXPECT_EQ(table.get("Beta"), 4);
    EXPECT_EQ(copy->get("Beta"), -1);
    EXPECT_EQ(copy->get("Gamma"), 5);
}

TEST(CollectionsHashTable, RejectsUnusableConstruction) {
    EXPECT_THROW((HashTable<int, int>(new IntHasher, 0, 0)), std::invalid_argument);
    EXPECT_THROW((HashTable<int, int>(nullptr, 0, 1)), std::invalid_argument);
}
