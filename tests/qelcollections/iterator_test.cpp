#include "qelcollections/collectionsexceptions.h"
#include "qelcollections/mfclist.h"

#include <gtest/gtest.h>

#include <vector>

using CppLanguage::CDeletableAutoPtr;
using QELCollections::IListIterator;
using QELCollections::IPredicate;
using QELCollections::mfcList;
using QELCollections::NoCurrentElementException;

namespace {

using Ints = std::vector<int>;

mfcList<int> listOf(std::initializer_list<int> values) {
    mfcList<int> list;
    for (int v : values)
        list.InsertLast(v);
    return list;
}

Ints contents(const mfcList<int>& list) {
    Ints out;
    for (std::uint32_t i = 0; i < list.GetCount(); ++i)
        out.push_back(list[i]);
    return out;
}

struct IsEven : IPredicate<int> {
    bool Test(const int& element) const override { return element % 2 == 0; }
};

} // namespace

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

TEST(QELCollectionsIterator, PredicateSearchesForwards) {
    mfcList<int> list = listOf({1, 2, 3, 4, 5, 6});
    CDeletableAutoPtr<QELCollections::IEnumerator<int>> walk(list.GetEnumerator());
    IsEven even;
    Ints matches;
    for (bool more = walk->FirstThat(even); more; more = walk->NextThat(even))
        matches.push_back(walk->GetCurrent());
    EXPECT_EQ(matches, (Ints{2, 4, 6}));
    EXPECT_FALSE(walk->HasCurrent());

    mfcList<int> odd = listOf({1, 3});
    CDeletableAutoPtr<QELCollections::IEnumerator<int>> none(odd.GetEnumerator());
    EXPECT_FALSE(none->FirstThat(even));
}

TEST(QELCollectionsIterator, ValueSearchesBackwards) {
    mfcList<int> list = listOf({7, 1, 7, 2, 7});
    CDeletableAutoPtr<QELCollections::IIndexedEnumerator<int>> walk(list.GetIndexedEnumerator());
    std::vector<std::uint32_t> positions;
    for (bool more = walk->FindLast(7); more; more = walk->FindPrevious(7))
        positions.push_back(walk->GetCurrentIndex());
    EXPECT_EQ(positions, (std::vector<std::uint32_t>{4, 2, 0}));
    EXPECT_FALSE(walk->FindLast(3));
}

TEST(QELCollectionsIterator, PositionalEnumeratorOfTheAbstractList) {
    mfcList<int> list = listOf({4, 5, 6});
    QELCollections::List<int>& abstract = list;
    CDeletableAutoPtr<QELCollections::IEnumerator<int>> walk(
        abstract.QELCollections::List<int>::GetEnumerator());
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
