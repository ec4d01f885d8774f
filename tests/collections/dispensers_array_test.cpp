#include "collections/array.h"
#include "collections/list.h"
#include "collections/queue.h"
#include "collections/stack.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

using Collections::Array;
using Collections::ICollection;
using Collections::IIterator;
using Collections::Queue;
using Collections::Stack;
using CppLanguage::CDeletableAutoPtr;

namespace {

template <class T> std::vector<T> contents(const ICollection<T>& collection) {
    std::vector<T> out;
    CDeletableAutoPtr<IIterator<T>> it(collection.newIterator());
    for (; it->isValid(); it->next())
        out.push_back(it->current());
    return out;
}

using Ints = std::vector<int>;

} // namespace

TEST(CollectionsQueue, FirstInFirstOutAndTheAppendPositionFollowsRemovals) {
    Queue<int> queue(1);
    queue.add(1);
    queue.add(2);
    EXPECT_EQ(queue.peek(), 1);
    EXPECT_EQ(queue.pop(), 1);
    EXPECT_EQ(queue.pop(), 2);
    EXPECT_FALSE(queue.hasElements());
    EXPECT_THROW(queue.pop(), std::out_of_range);
    // The append position must not survive the queue running empty, nor its last element.
    for (int v : {3, 4, 5})
        queue.add(v);
    EXPECT_TRUE(queue.invariant());
    queue.remove(5);
    queue.add(6);
    queue.removeAll(6);
    queue.add(7);
    EXPECT_EQ(contents(queue), (Ints{3, 4, 7}));
    EXPECT_TRUE(queue.invariant());
    queue.clear();
    queue.add(8);
    EXPECT_EQ(contents(queue), (Ints{8}));
}

TEST(CollectionsStack, LastInFirstOut) {
    Stack<std::string> stack(1);
    stack.add("a");
    stack.add("b");
    stack.add("c");
    EXPECT_EQ(contents(stack), (std::vector<std::string>{"c", "b", "a"}));
    EXPECT_EQ(stack.peek(), "c");
    EXPECT_EQ(stack.pop(), "c");
    EXPECT_EQ(stack.pop(), "b");
    EXPECT_TRUE(stack.contains("a"));
    EXPECT_EQ(stack.size(), 1);
    stack.pop();
    EXPECT_FALSE(stack.hasElements());
    EXPECT_THROW(stack.peek(), std::out_of_range);
}

TEST(CollectionsCollection, AddAllCrossesContainerKinds) {
    Collections::List<int> list;
    for (int v : {1, 2, 3})
        list.add(v);
    Stack<int> stack;
    stack.addAll(list);
    Queue<int> queue;
    queue.addAll(stack);
    EXPECT_EQ(contents(queue), (Ints{3, 2, 1}));
    ICollection<int>& asCollection = queue;
    asCollection.addAll(asCollection);
    EXPECT_EQ(asCollection.size(), 6);
}

TEST(CollectionsArray, FixedLengthIgnoresGrowingAndShrinkingOperations) {
    Array<int, 1> array(3, 1);
    EXPECT_EQ(array.size(), 3);
    EXPECT_EQ(contents(array), (Ints{0, 0, 0}));
    array.put(0, 5);
    array.put(2, 7);
    array.add(9);
    array.remove(5);
    array.removeAll(7);
    array.removeKey(0);
    array.clear();
    Collections::List<int> more;
    more.add(1);
    array.addAll(more);
    EXPECT_EQ(contents(array), (Ints{5, 0, 7}));
    EXPECT_TRUE(array.contains(7));
    EXPECT_FALSE(array.contains(9));
    EXPECT_EQ(array.at(2), 7);
    EXPECT_TRUE(array.containsKey(2));
    EXPECT_FALSE(array.isValidKey(3));
    EXPECT_THROW(array.get(3), std::out_of_range);
    EXPECT_THROW(array.put(-1, 1), std::out_of_range);
}

TEST(CollectionsArray, GrowKeepsValuesAndAddsEmptySlots) {
    Array<std::string, 1> array(2);
    array.put(0, "x");
    array.put(1, "y");
    array.grow(2);
    array.grow(-5);
    EXPECT_EQ(contents(array), (std::vector<std::string>{"x", "y", "", ""}));

    CDeletableAutoPtr<Collections::ITableIterator<std::string, int>> it(array.newTableIterator());
    it->next();
    EXPECT_EQ(it->currentKey(), 1);
    EXPECT_EQ(it->current(), "y");
    EXPECT_THROW((Array<int, 1>(-1)), std::invalid_argument);
    Array<int, 1> none(0);
    EXPECT_TRUE(none.isEmpty());
}
