#include "qelcollections/collectionsexceptions.h"
#include "qelcollections/mfclist.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using CppLanguage::CDeletableAutoPtr;
using QELCollections::EmptyListException;
using QELCollections::IEnumerator;
using QELCollections::IListIterator;
using QELCollections::IPredicate;
using QELCollections::mfcList;
using QELCollections::NoCurrentElementException;
using QELCollections::NoSuchIndexException;

namespace {

// The walk the model builder does.
template <class T> std::vector<T> contents(mfcList<T>& list) {
    std::vector<T> out;
    CDeletableAutoPtr<IEnumerator<T>> walk(list.GetEnumerator());
    for (; walk->HasCurrent(); walk->Next())
        out.push_back(walk->GetCurrent());
    return out;
}

using Ints = std::vector<int>;

mfcList<int> listOf(std::initializer_list<int> values) {
    mfcList<int> list;
    for (int v : values)
        list.InsertLast(v);
    return list;
}

struct IsEven : IPredicate<int> {
    bool Test(const int& element) const override { return element % 2 == 0; }
};

} // namespace

TEST(QELCollectionsMfcList, InsertionsByEndAndIndex) {
    mfcList<int> list;
    EXPECT_TRUE(list.IsEmpty());
    EXPECT_FALSE(list.HasIndex(0));
    EXPECT_FALSE(list.InsertBefore(0, 1));
    EXPECT_FALSE(list.InsertAfter(0, 1));
    EXPECT_TRUE(list.InsertLast(2));
    EXPECT_TRUE(list.InsertFirst(0));
    list.Add(4);
    EXPECT_TRUE(list.InsertAfter(0, 1));
    EXPECT_TRUE(list.InsertBefore(3, 3));
    EXPECT_TRUE(list.InsertAfter(4, 5));
    EXPECT_FALSE(list.InsertAfter(6, 6));
    EXPECT_EQ(contents(list), (Ints{0, 1, 2, 3, 4, 5}));
    EXPECT_EQ(list.GetCount(), 6u);
    EXPECT_EQ(list.GetFirst(), 0);
    EXPECT_EQ(list.GetLast(), 5);
}

TEST(QELCollectionsMfcList, AccessByIndexAndFallbacks) {
    mfcList<int> list;
    const int fallback = -1;
    EXPECT_EQ(list.GetFirst(fallback), -1);
    EXPECT_EQ(list.GetLast(fallback), -1);
    EXPECT_THROW(list.GetFirst(), EmptyListException);
    EXPECT_THROW(list.GetLast(), EmptyListException);

    for (int v : {10, 20, 30})
        list.InsertLast(v);
    bool found = false;
    EXPECT_EQ(list.GetAt(1, fallback, found), 20);
    EXPECT_TRUE(found);
    EXPECT_EQ(list.GetAt(3, fallback, found), -1);
    EXPECT_FALSE(found);
    EXPECT_EQ(list.GetAt(2, fallback), 30);
    EXPECT_EQ(list[0], 10);
    try {
        list.GetAt(3);
        FAIL() << "no exception";
    } catch (const NoSuchIndexException& e) {
        EXPECT_EQ(e.GetIndex(), 3u);
        EXPECT_STREQ(e.what(), "no such index");
    }
    EXPECT_THROW(list[7], NoSuchIndexException);
}

TEST(QELCollectionsMfcList, Removals) {
    mfcList<int> list = listOf({5, 1, 5, 2, 5});
    EXPECT_EQ(list.Remove(5), 3u);
    EXPECT_EQ(list.Remove(5), 0u);
    EXPECT_EQ(contents(list), (Ints{1, 2}));

    int removed = 0;
    EXPECT_FALSE(list.RemoveAt(2, removed));
    EXPECT_FALSE(list.RemoveAt(2));
    EXPECT_EQ(contents(list), (Ints{1, 2}));
    EXPECT_TRUE(list.RemoveAt(1, removed));
    EXPECT_EQ(removed, 2);
    list.InsertLast(3);
    list.InsertLast(4);
    EXPECT_TRUE(list.RemoveFirst(removed));
    EXPECT_EQ(removed, 1);
    EXPECT_TRUE(list.RemoveLast(removed));
    EXPECT_EQ(removed, 4);
    EXPECT_TRUE(list.RemoveLast());
    EXPECT_TRUE(list.IsEmpty());
    removed = 42;
    EXPECT_FALSE(list.RemoveFirst(removed));
    EXPECT_FALSE(list.RemoveLast(removed));
    EXPECT_FALSE(list.RemoveFirst());
    EXPECT_EQ(removed, 42);

    // The ends must be consistent again after emptying.
    list.InsertLast(7);
    list.InsertFirst(6);
    EXPECT_EQ(contents(list), (Ints{6, 7}));
}

TEST(QELCollectionsMfcList, DuplicatesAreIndependent) {
    mfcList<std::string> list;
    list.InsertLast("x");
    list.InsertLast("y");
    CDeletableAutoPtr<mfcList<std::string>> copy(list.Duplicate());
    copy->InsertLast("z");
    list.RemoveFirst();
    EXPECT_EQ(contents(*copy), (std::vector<std::string>{"x", "y", "z"}));
    EXPECT_EQ(contents(list), (std::vector<std::string>{"y"}));

    CDeletableAutoPtr<QELCollections::IContainer> clone(list.Clone());
    EXPECT_EQ(clone->GetCount(), 1u);
    clone->Clear();
    EXPECT_TRUE(clone->IsEmpty());
    EXPECT_EQ(list.GetCount(), 1u);

    mfcList<std::string> assigned;
    assigned.InsertLast("old");
    assigned = *copy;
    copy->Clear();
    EXPECT_EQ(contents(assigned), (std::vector<std::string>{"x", "y", "z"}));
}

TEST(QELCollectionsMfcList, NodesComeFromThePoolTenAtATime) {
    mfcList<int> list;
    for (int i = 0; i < 10; ++i)
        list.InsertLast(i);
    EXPECT_EQ(list.GetPoolBlockCount(), 1u);
    list.InsertLast(10);
    EXPECT_EQ(list.GetPoolBlockCount(), 2u);
    // Freed nodes are reused before a new block is taken.
    for (int i = 0; i < 5; ++i)
        list.RemoveFirst();
    for (int i = 0; i < 14; ++i)
        list.InsertFirst(i);
    EXPECT_EQ(list.GetCount(), 20u);
    EXPECT_EQ(list.GetPoolBlockCount(), 2u);
    list.Clear();
    EXPECT_EQ(list.GetPoolBlockCount(), 0u);
    EXPECT_TRUE(list.IsEmpty());
    list.InsertLast(1);
    EXPECT_EQ(contents(list), (Ints{1}));
}

TEST(QELCollectionsExceptions, FixedTextsAndOrigin) {
    const QELCollections::CollectionException& noCurrent =
        QELCollections::NoCurrentElementException();
    EXPECT_EQ(noCurrent.GetDetail(), "[qelcollections/collectionsexceptions.h; 16; UNKNOWN DATE "
                                     "UNKNOWN TIME] : no current element");
    EXPECT_EQ(EmptyListException().GetMessage(), "invalid access to empty list element");
    EXPECT_EQ(noCurrent.GetAppMsg(), nullptr);
}

TEST(QELCollectionsIterator, RemoveCurrentLeavesTheWalkBetweenTheNeighbours) {
    mfcList<int> list = listOf({1, 2, 3, 4});
    CDeletableAutoPtr<IListIterator<int>> it(list.GetListIterator());
    it->Next();
    it->RemoveCurrent(); // 2
    EXPECT_FALSE(it->HasCurrent());
    EXPECT_THROW(it->GetCurrent(), NoCurrentElementException);
    it->Next();
    EXPECT_EQ(it->GetCurrent(), 3);
    it->RemoveCurrent();
    it->Previous();
    EXPECT_EQ(it->GetCurrent(), 1);
    EXPECT_EQ(contents(list), (Ints{1, 4}));

    // Neighbours added after the walk reached the element are the ones it goes on to.
    it->InsertAfterCurrent(8);
    it->InsertBeforeCurrent(0);
    it->RemoveCurrent();
    it->Previous();
    EXPECT_EQ(it->GetCurrent(), 0);
    it->Next();
    it->InsertAfterCurrent(9);
    it->RemoveCurrent();
    it->Next();
    EXPECT_EQ(it->GetCurrent(), 9);
    EXPECT_EQ(contents(list), (Ints{0, 9, 4}));
}

TEST(QELCollectionsIterator, RemovingEveryElementWhileWalking) {
    mfcList<int> list = listOf({1, 2, 3, 4, 5, 6});
    CDeletableAutoPtr<IListIterator<int>> it(list.GetListIterator());
    while (it->HasCurrent()) {
        if (it->GetCurrent() % 2 == 0)
            it->RemoveCurrent();
        it->Next();
    }
    EXPECT_EQ(contents(list), (Ints{1, 3, 5}));

    it->Reset();
    while (it->HasCurrent()) {
        it->RemoveCurrent();
        it->Next();
    }
    EXPECT_TRUE(list.IsEmpty());
    EXPECT_EQ(list.GetFirst(0), 0);
    list.InsertLast(9);
    EXPECT_EQ(list.GetLast(), 9);
}

TEST(QELCollectionsIterator, InsertionsAroundTheCurrentElement) {
    mfcList<int> list = listOf({2});
    CDeletableAutoPtr<IListIterator<int>> it(list.GetListIterator());
    it->InsertBeforeCurrent(1);
    it->InsertAfterCurrent(3);
    EXPECT_EQ(it->GetCurrent(), 2);
    EXPECT_EQ(it->GetCurrentIndex(), 1u);
    it->Next();
    EXPECT_EQ(it->GetCurrent(), 3);
    EXPECT_EQ(it->GetCurrentIndex(), 2u);
    it->InsertAfterCurrent(4); // new tail
    EXPECT_EQ(list.GetLast(), 4);
    it->Reset();
    it->InsertBeforeCurrent(0); // new head
    EXPECT_EQ(list.GetFirst(), 0);
    EXPECT_EQ(contents(list), (Ints{0, 1, 2, 3, 4}));

    it->ResetToLast();
    it->Next();
    EXPECT_FALSE(it->HasCurrent());
    EXPECT_THROW(it->RemoveCurrent(), NoCurrentElementException);
    EXPECT_THROW(it->InsertAfterCurrent(5), NoCurrentElementException);
    EXPECT_THROW(it->InsertBeforeCurrent(5), NoCurrentElementException);
    EXPECT_THROW(it->GetCurrentIndex(), NoCurrentElementException);
    it->Previous(); // back from past the end
    EXPECT_EQ(it->GetCurrent(), 4);
}

TEST(QELCollectionsIterator, PredicatesSearchForwardsAndValuesBackwards) {
    mfcList<int> list = listOf({7, 2, 7, 4, 7, 6});
    CDeletableAutoPtr<QELCollections::IIndexedEnumerator<int>> walk(list.GetIndexedEnumerator());
    IsEven even;
    Ints matches;
    for (bool more = walk->FirstThat(even); more; more = walk->NextThat(even))
        matches.push_back(walk->GetCurrent());
    EXPECT_EQ(matches, (Ints{2, 4, 6}));
    EXPECT_FALSE(walk->HasCurrent());
    std::vector<std::uint32_t> positions;
    for (bool more = walk->FindLast(7); more; more = walk->FindPrevious(7))
        positions.push_back(walk->GetCurrentIndex());
    EXPECT_EQ(positions, (std::vector<std::uint32_t>{4, 2, 0}));
    EXPECT_FALSE(walk->FindLast(3));

    mfcList<int> odd = listOf({1, 3});
    CDeletableAutoPtr<IEnumerator<int>> none(odd.GetEnumerator());
    EXPECT_FALSE(none->FirstThat(even));
}

TEST(QELCollectionsIterator, PositionalEnumeratorOfTheAbstractList) {
    mfcList<int> list = listOf({4, 5, 6});
    QELCollections::List<int>& abstract = list;
    CDeletableAutoPtr<IEnumerator<int>> walk(abstract.QELCollections::List<int>::GetEnumerator());
    Ints seen;
    for (; walk->HasCurrent(); walk->Next())
        seen.push_back(walk->GetCurrent());
    EXPECT_EQ(seen, (Ints{4, 5, 6}));
    walk->Next();
    EXPECT_THROW(walk->GetCurrent(), NoCurrentElementException);
    IsEven even;
    EXPECT_TRUE(walk->FirstThat(even));
    EXPECT_EQ(walk->GetCurrent(), 4);
    EXPECT_TRUE(walk->NextThat(even));
    EXPECT_EQ(walk->GetCurrent(), 6);
}
