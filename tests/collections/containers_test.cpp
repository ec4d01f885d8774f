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
using Collections::ICursor;
using Collections::IIterator;
using Collections::List;
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

// Appending after a structural change shows whether the tail followed it.
void expectTailIsLast(List<int>& list) {
    ASSERT_TRUE(list.invariant());
    list.addLast(99);
    EXPECT_EQ(list.getLast(), 99);
    EXPECT_EQ(contents(list).back(), 99);
    list.removeLast();
}

} // namespace

TEST(CollectionsList, EndsAndCursorInsertionsKeepOrderAndTail) {
    List<int> list(1);
    EXPECT_TRUE(list.invariant());
    list.add(2);
    list.addFirst(1);
    list.addLast(4);
    list.insertBefore(list.last(), 3);
    list.insertBefore(list.first(), 0);
    list.insertAfter(list.last(), 5);
    EXPECT_EQ(contents(list), (Ints{0, 1, 2, 3, 4, 5}));
    EXPECT_EQ(list.size(), 6);
    EXPECT_EQ(list.getFirst(), 0);
    expectTailIsLast(list);
    // Adding a list to itself takes its original elements once.
    list.clear();
    list.add(1);
    list.add(2);
    list.addAll(list);
    EXPECT_EQ(contents(list), (Ints{1, 2, 1, 2}));
    expectTailIsLast(list);
}

TEST(CollectionsList, RemovalsAtEveryPositionAndByValueFixHeadAndTail) {
    List<int> list;
    for (int i = 0; i < 6; ++i)
        list.add(i);
    list.removeAt(list.last()); // tail through the predecessor scan
    expectTailIsLast(list);
    list.removeLast();
    expectTailIsLast(list);
    list.removeAt(list.first());
    list.removeAfter(list.first()); // drops 2
    list.removeAfter(list.last());  // nothing after the tail
    EXPECT_EQ(contents(list), (Ints{1, 3}));
    list.removeAfter(list.first()); // drops the tail
    expectTailIsLast(list);
    list.removeLast();
    EXPECT_TRUE(list.isEmpty());
    expectTailIsLast(list);

    for (int v : {7, 7, 1, 7, 2, 7})
        list.add(v);
    list.remove(7);
    EXPECT_EQ(contents(list), (Ints{7, 1, 7, 2, 7}));
    list.removeAll(7);
    EXPECT_EQ(contents(list), (Ints{1, 2}));
    expectTailIsLast(list);
    list.removeAll(1);
    list.removeAll(2);
    list.remove(5); // absent: nothing happens
    EXPECT_TRUE(list.isEmpty());
    expectTailIsLast(list);
}

TEST(CollectionsList, NavigationAndIndexAccess) {
    List<int> list;
    for (int i = 0; i < 4; ++i)
        list.add(i * 10);
    ICursor<int>* second = list.next(list.first());
    EXPECT_EQ(list.get(second), 10);
    EXPECT_EQ(list.previous(second), list.first());
    EXPECT_EQ(list.previous(list.first()), nullptr);
    EXPECT_EQ(list.next(list.last()), nullptr);
    EXPECT_TRUE(list.isValidKey(3));
    EXPECT_FALSE(list.isValidKey(4));
    EXPECT_FALSE(list.isValidKey(-1));
    EXPECT_EQ(list.at(3), 30);
    list.put(1, 11);
    list.removeKey(0);
    list.removeKey(7); // no such position: ignored
    EXPECT_EQ(contents(list), (Ints{11, 20, 30}));

    CDeletableAutoPtr<Collections::ITableIterator<int, int>> it(list.newTableIterator());
    std::vector<int> keys;
    for (; it->isValid(); it->next())
        keys.push_back(it->currentKey());
    EXPECT_EQ(keys, (Ints{0, 1, 2}));
}

TEST(CollectionsList, AccessBeyondTheElementsThrows) {
    List<int> list;
    EXPECT_THROW(list.getFirst(), std::out_of_range);
    EXPECT_THROW(list.getLast(), std::out_of_range);
    EXPECT_THROW(list.removeFirst(), std::out_of_range);
    EXPECT_THROW(list.removeLast(), std::out_of_range);
    list.add(1);
    EXPECT_THROW(list.get(1), std::out_of_range);
    EXPECT_THROW(list.put(-1, 0), std::out_of_range);
    EXPECT_THROW(list.insertAfter(nullptr, 0), std::invalid_argument);
    List<int> other;
    other.add(1);
    other.add(2);
    EXPECT_THROW(list.removeAt(other.last()), std::invalid_argument);
    EXPECT_EQ(contents(list), (Ints{1}));
}

TEST(CollectionsList, IteratorProtocol) {
    List<int> list;
    CDeletableAutoPtr<IIterator<int>> empty(list.newIterator());
    EXPECT_TRUE(empty->isFirst());
    EXPECT_FALSE(empty->isValid());
    list.add(1);
    list.add(2);
    CDeletableAutoPtr<IIterator<int>> it(list.newIterator());
    it->next();
    EXPECT_FALSE(it->isFirst());
    EXPECT_EQ(it->current(), 2);
    it->next();
    it->next(); // past the end stays there
    EXPECT_FALSE(it->isValid());
    it->reset();
    EXPECT_TRUE(it->isFirst());
    EXPECT_EQ(it->current(), 1);
}

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
    List<int> list;
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
    List<int> more;
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
