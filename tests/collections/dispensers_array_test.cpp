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

TEST(CollectionsQueue, FirstInFirstOutAcrossRunningEmpty) {
    Queue<int> queue(1);
    EXPECT_FALSE(queue.hasElements());
    queue.add(1);
    queue.add(2);
    EXPECT_EQ(queue.peek(), 1);
    EXPECT_EQ(queue.pop(), 1);
    EXPECT_EQ(queue.pop(), 2);
    EXPECT_FALSE(queue.hasElements());
    EXPECT_TRUE(queue.invariant());

    // The append position must not survive the queue running empty.
    queue.add(3);
    queue.add(4);
    EXPECT_EQ(contents(queue), (Ints{3, 4}));
    EXPECT_TRUE(queue.invariant());
    EXPECT_THROW(Queue<int>().pop(), std::out_of_range);
}

TEST(CollectionsQueue, RemovingTheLastElementMovesTheAppendPosition) {
    Queue<int> queue;
    for (int v : {1, 2, 3})
        queue.add(v);
    queue.remove(3);
    queue.add(4);
    queue.removeAll(4);
    queue.add(5);
    EXPECT_EQ(contents(queue), (Ints{1, 2, 5}));
    EXPECT_TRUE(queue.invariant());
    queue.clear();
    queue.add(6);
    EXPECT_EQ(contents(queue), (Ints{6}));
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
    EXPECT_FALSE(array.canGrow());
    EXPECT_FALSE(array.canShrink());
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
