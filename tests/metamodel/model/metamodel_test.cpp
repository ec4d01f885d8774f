#include "metamodel/model/handmodel.h"
#include "metamodel/model/raisedmessage.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <thread>
#include <vector>

namespace {

using TestSupport::HandModel;
using TestSupport::raisedBy;
using TestSupport::RaisedMessage;

constexpr int noId = int(0x80000000u);

class Lookups : public ::testing::Test {
protected:
    HandModel hand;
    QEL::CCategory* base = hand.category("Base");
    QEL::CMetaType* file = hand.type("File", {base});
    QEL::CProperty* size = hand.property(file, "size", "integer", 77);

    void SetUp() override {
        hand.model.CategoryGroup().Add("Base", 10);
        hand.model.CategoryGroup().Add("File", 11);
        hand.model.FinishBuilding();
    }
    const QEL::IMetaModel& model() const { return hand.model; }
};

TEST_F(Lookups, FindElementsByNameAndByIdTypesAmongCategoriesButNotTheReverse) {
    EXPECT_EQ(model().GetCategory("Base", false), base);
    EXPECT_EQ(model().GetCategory("File", false), model().GetMetaType("File", false));
    EXPECT_EQ(model().GetMetaType("Base", false), nullptr);
    EXPECT_EQ(model().GetCategory(11, false), file);
    EXPECT_EQ(model().GetMetaTypestd("File", false), file);
    EXPECT_EQ(model().GetMetaType(10, false), nullptr);
    EXPECT_FALSE(model().HasMetaType(10));
    EXPECT_TRUE(model().HasMetaType(11));
    EXPECT_TRUE(model().HasCategory(10));
    EXPECT_FALSE(model().HasCategory(12));
    EXPECT_EQ(model().GetProperty("File.size", false), size);
    EXPECT_EQ(model().GetProperty(77, false), size);
    EXPECT_TRUE(model().HasPropertystd("File.size"));
    EXPECT_FALSE(model().HasProperty("size")) << "properties go by their full name";
    EXPECT_EQ(model().GetCategory(noId, false), nullptr);
    EXPECT_EQ(model().GetCategories().size(), 2u);
    EXPECT_EQ(model().GetMetaTypes().size(), 1u);
    EXPECT_TRUE(hand.model.HasMetaTypestd("File"));
}

TEST_F(Lookups, MandatoryLookupsOfMissingElementsRaiseWithWhatWasAskedFor) {
    using QEL::CMetaModelException;
    const QEL::IMetaModel& m = model();
    EXPECT_EQ(raisedBy<CMetaModelException>([&] { m.GetCategory("Gone", true); }),
              (RaisedMessage{"QEL_MM_UNDEF_CAT_NAM", {{"CAT_NAM", "Gone"}}}));
    EXPECT_EQ(raisedBy<CMetaModelException>([&] { m.GetCategorystd("Gone", true); }),
              (RaisedMessage{"QEL_MM_UNDEF_CAT_NAM", {{"CAT_NAM", "Gone"}}}));
    EXPECT_EQ(raisedBy<CMetaModelException>([&] { m.GetCategory(-5, true); }),
              (RaisedMessage{"QEL_MM_UNDEF_CAT_ID", {{"CAT_ID", "-5"}}}));
    EXPECT_EQ(raisedBy<CMetaModelException>([&] { m.GetMetaType("Gone", true); }),
              (RaisedMessage{"QEL_MM_UNDEF_TYP_NAM", {{"TYP_NAM", "Gone"}}}));
    EXPECT_EQ(raisedBy<CMetaModelException>([&] { m.GetMetaType(99, true); }),
              (RaisedMessage{"QEL_MM_UNDEF_TYP_ID", {{"TYP_ID", "99"}}}));
    // The id of a plain category is known; its name is no type's.
    EXPECT_EQ(raisedBy<CMetaModelException>([&] { m.GetMetaType(10, true); }),
              (RaisedMessage{"QEL_MM_UNDEF_TYP_NAM", {{"TYP_NAM", "Base"}}}));
    EXPECT_EQ(raisedBy<CMetaModelException>([&] { m.GetProperty("Base.size", true); }),
              (RaisedMessage{"QEL_MM_UNDEF_PROP_NAM", {{"PROP_NAM", "Base.size"}}}));
    EXPECT_EQ(raisedBy<CMetaModelException>([&] { m.GetPropertystd("x", true); }),
              (RaisedMessage{"QEL_MM_UNDEF_PROP_NAM", {{"PROP_NAM", "x"}}}));
    EXPECT_EQ(raisedBy<CMetaModelException>([&] { m.GetProperty(78, true); }),
              (RaisedMessage{"QEL_MM_UNDEF_PROP_ID", {{"PROP_ID", "78"}}}));
}

TEST(MetaModel, PropertiesWithUnknownTypeOrMergeWordsAreRefusedAndLeaveTheModelAsItWas) {
    HandModel hand;
    QEL::CCategory* box = hand.category("Box");
    using QEL::CMetaModelException;
    EXPECT_EQ(raisedBy<CMetaModelException>(
                  [&] { hand.model.AddProperty("w", "Box.w", "", "Integer", "no", 5, 0, 1); }),
              (RaisedMessage{"QEL_MM_INVALID_PROP_TYP", {{"PROP_NAM", "Box.w"}}}));
    EXPECT_EQ(
        raisedBy<CMetaModelException>(
            [&] { hand.model.AddProperty("w", "Box.w", "", "integer", "", 5, 0, 1); }),
        (RaisedMessage{"QEL_MM_INVALID_PROP_MERGE", {{"PROP_MRG", ""}, {"PROP_NAM", "Box.w"}}}));
    EXPECT_TRUE(hand.model.GetProperties().empty());
    EXPECT_FALSE(hand.model.GetPropertyGroup().Has(5));

    // A second property under one name is a second property; the name finds the newest.
    QEL::CProperty* first = hand.property(box, "w");
    QEL::CProperty* second = hand.property(box, "w");
    EXPECT_NE(first, second);
    EXPECT_EQ(hand.model.GetProperty("Box.w", false), second);
    EXPECT_EQ(hand.model.GetProperties().size(), 2u);
    EXPECT_EQ(second->GetLocalId(), first->GetLocalId() + 1);
}

TEST(MetaModel, VersionsCountModelsInOrderAndACopyKeepsItsSource) {
    QEL::CMetaModel first;
    QEL::CMetaModel second;
    EXPECT_GE(first.GetVersion(), 1u);
    EXPECT_EQ(second.GetVersion(), first.GetVersion() + 1);
    EXPECT_EQ(QEL::CMetaModel::next_version, second.GetVersion() + 1);

    first.AddCategory("Kept");
    first.FinishBuilding();
    const QEL::CMetaModel copy(first);
    EXPECT_EQ(copy.GetVersion(), first.GetVersion());
    EXPECT_EQ(copy.GetCategory("Kept", false), first.GetCategory("Kept", false));
    EXPECT_EQ(QEL::CMetaModel::next_version, second.GetVersion() + 1);
}

TEST(IndexTables, AModelWithoutElementsFinishesAndAnswersNothing) {
    QEL::CMetaModel model;
    model.FinishBuilding();
    EXPECT_TRUE(model.GetCategories().empty());

    // Elements of another model have no place in its tables.
    HandModel other;
    QEL::CCategory* stranger = other.category("Stranger");
    QEL::CProperty* strange = other.property(stranger, "p");
    other.model.FinishBuilding();
    EXPECT_EQ(model.GetCategoryIndex(stranger, stranger), -1);
    EXPECT_EQ(model.GetPropertyIndex(stranger, strange), -1);
}

TEST(IndexTables, AForeignParentTakesAPlaceAndAnUnnumberedCategoryIsNoMember) {
    HandModel other;
    QEL::CCategory* foreign = other.category("Foreign");
    other.property(foreign, "f");
    other.model.FinishBuilding();

    HandModel hand;
    QEL::CCategory* base = hand.category("Base");
    QEL::CCategory* child = hand.category("Child", {foreign, base});
    QEL::CProperty* own = hand.property(base, "own");
    hand.model.FinishBuilding();

    ASSERT_EQ(child->GetCategoryCount(), 3);
    EXPECT_EQ(child->GetCategoryIndex(base), 2) << "the foreign parent still counts";
    EXPECT_EQ(child->GetPropertyIndex(own), 1) << "after the foreign parent's property";
    QEL::CCategory unnumbered(hand.model);
    EXPECT_FALSE(child->SupportsCategory(&unnumbered));
    EXPECT_FALSE(unnumbered.SupportsCategory(base));
}

TEST(IndexTables, RowsWithManyAncestorsFindEveryMemberAndNoOther) {
    HandModel hand;
    std::vector<QEL::CCategory*> chain;
    std::vector<QEL::CProperty*> properties;
    for (int i = 0; i < 200; ++i) {
        QEL::CCategory* next = hand.category("L" + std::to_string(i));
        if (!chain.empty())
            next->AddInheritedCategory(chain.back());
        chain.push_back(next);
        properties.push_back(hand.property(next, "p"));
    }
    // Unrelated categories whose columns fall between the members' ones.
    std::vector<QEL::CCategory*> loose;
    for (int i = 0; i < 200; ++i)
        loose.push_back(hand.category("Loose" + std::to_string(i)));
    hand.model.FinishBuilding();

    const QEL::CCategory* last = chain.back();
    ASSERT_EQ(last->GetCategoryCount(), 200);
    for (std::size_t i = 0; i < chain.size(); ++i) {
        // The closed set lists the category itself, then its ancestors nearest first.
        ASSERT_EQ(last->GetCategoryIndex(chain[i]), int(chain.size() - 1 - i)) << i;
        ASSERT_EQ(last->GetPropertyIndex(properties[i]), int(chain.size() - 1 - i)) << i;
        ASSERT_EQ(chain[i]->SupportsCategory(last), i + 1 == chain.size()) << i;
    }
    for (const QEL::CCategory* stranger : loose)
        ASSERT_FALSE(last->SupportsCategory(stranger)) << stranger->GetName();
}

TEST(IndexTables, ADiamondListsEachAncestorAndPropertyOnce) {
    HandModel hand;
    QEL::CCategory* top = hand.category("Top");
    QEL::CCategory* left = hand.category("Left", {top});
    QEL::CCategory* right = hand.category("Right", {top});
    QEL::CMetaType* bottom = hand.type("Bottom", {left, right});
    QEL::CProperty* shared = hand.property(top, "shared");
    QEL::CProperty* onLeft = hand.property(left, "onLeft");
    QEL::CProperty* own = hand.property(bottom, "own");
    hand.model.FinishBuilding();

    EXPECT_EQ(bottom->GetCategoryCount(), 4);
    EXPECT_EQ(bottom->GetPropertyCount(), 3);
    for (const QEL::ICategory* member : {top, left, right}) {
        EXPECT_TRUE(bottom->SupportsCategory(member)) << member->GetName();
        EXPECT_TRUE(bottom->GetAllCategories().contains(member));
    }
    EXPECT_FALSE(top->SupportsCategory(bottom));
    EXPECT_FALSE(left->SupportsCategory(right));
    EXPECT_TRUE(top->SupportsCategory(top));
    EXPECT_EQ(top->GetCategoryCount(), 1);
    EXPECT_TRUE(bottom->HasProperty(shared));
    EXPECT_TRUE(bottom->HasProperty(onLeft));
    EXPECT_FALSE(right->HasProperty(onLeft));
    EXPECT_FALSE(top->HasProperty(own));
    EXPECT_EQ(hand.model.GetPropertyIndex(top, own), -1);
    EXPECT_GE(hand.model.GetPropertyIndex(bottom, own), 0);
    EXPECT_TRUE(bottom->GetAllProperties().contains(own));
    EXPECT_FALSE(left->GetAllProperties().contains(own));
}

TEST(IndexTables, ACircuitInTheInheritanceEndsAndEachSideSeesTheOther) {
    HandModel hand;
    QEL::CCategory* a = hand.category("A");
    QEL::CCategory* b = hand.category("B", {a});
    a->AddInheritedCategory(b);
    QEL::CCategory* self = hand.category("Self");
    self->AddInheritedCategory(self);
    QEL::CProperty* onA = hand.property(a, "x");
    QEL::CProperty* onB = hand.property(b, "y");
    hand.model.FinishBuilding();

    EXPECT_TRUE(a->SupportsCategory(b));
    EXPECT_TRUE(b->SupportsCategory(a));
    EXPECT_TRUE(a->HasProperty(onB));
    EXPECT_TRUE(b->HasProperty(onA));
    EXPECT_EQ(self->GetCategoryCount(), 1);
}

// The positions in the tables must be the positions in the sets, for every pair, whatever the
// shape: a random graph over enough categories and properties to cross many page borders.
TEST(IndexTables, EveryPositionIsThePlaceOfTheMemberInTheClosedSets) {
    HandModel hand;
    std::mt19937 random(20240611);
    std::vector<QEL::CCategory*> categories;
    for (int i = 0; i < 300; ++i) {
        QEL::CCategory* category =
            i % 3 ? hand.category("C" + std::to_string(i)) : hand.type("T" + std::to_string(i));
        for (int link = 0; i > 0 && link < 3; ++link)
            if (random() % 2)
                category->AddInheritedCategory(categories[random() % categories.size()]);
        for (unsigned p = random() % 4; p > 0; --p)
            hand.property(category, "p" + std::to_string(p));
        categories.push_back(category);
    }
    hand.model.FinishBuilding();

    for (const QEL::CCategory* row : categories) {
        std::vector<int> expected(categories.size(), -1);
        int position = 0;
        for (const QEL::ICategory* member : row->GetAllCategories())
            expected[std::size_t(member->GetLocalId())] = position++;
        for (const QEL::CCategory* column : categories)
            ASSERT_EQ(row->GetCategoryIndex(column), expected[std::size_t(column->GetLocalId())])
                << row->GetName() << " / " << column->GetName();

        std::vector<int> expectedProperties(hand.model.GetProperties().size(), -1);
        position = 0;
        for (const QEL::IProperty* member : row->GetAllProperties())
            expectedProperties[std::size_t(member->GetLocalId())] = position++;
        for (const QEL::IProperty* property : hand.model.GetProperties())
            ASSERT_EQ(row->GetPropertyIndex(property),
                      expectedProperties[std::size_t(property->GetLocalId())])
                << row->GetName() << " / " << property->GetName();
    }
}

TEST(IndexTables, APropertyDeclaredByTwoCategoriesStandsOnceAtItsFirstPlace) {
    HandModel hand;
    QEL::CCategory* first = hand.category("First");
    QEL::CCategory* second = hand.category("Second");
    QEL::CCategory* both = hand.category("Both", {first, second});
    QEL::CProperty* one = hand.property(first, "one");
    QEL::CProperty* two = hand.property(second, "two");
    first->AddProperty(two);
    hand.model.FinishBuilding();

    ASSERT_EQ(both->GetPropertyCount(), 2);
    EXPECT_EQ(both->GetPropertyIndex(one), 0);
    EXPECT_EQ(both->GetPropertyIndex(two), 1);
    EXPECT_EQ(second->GetPropertyIndex(two), 0);
    EXPECT_EQ(first->GetPropertyIndex(two), 1);
    EXPECT_FALSE(second->HasProperty(one));
}

// The closed property list is made on first demand, after the tables already answer for its
// membership: a repeat must still stand once, and threads that ask together must all get the
// one list.
TEST(IndexTables, TheClosedPropertyListIsTheSameWhoeverAsksFirst) {
    HandModel hand;
    QEL::CCategory* first = hand.category("First");
    QEL::CCategory* second = hand.category("Second");
    QEL::CCategory* both = hand.category("Both", {first, second});
    QEL::CCategory* solo = hand.category("Solo");
    QEL::CCategory* plain = hand.category("Plain", {solo});
    hand.property(first, "one");
    QEL::CProperty* two = hand.property(second, "two");
    first->AddProperty(two);
    hand.property(solo, "s1");
    hand.property(solo, "s2");
    hand.property(plain, "p");
    hand.model.FinishBuilding();

    const auto names = [](const QEL::ICategory* category) {
        std::vector<std::string> listed;
        for (const QEL::IProperty* property : category->GetAllProperties())
            listed.push_back(property->GetName());
        return listed;
    };
    std::vector<std::vector<std::string>> seen(8);
    std::vector<std::thread> askers;
    for (size_t index = 0; index < seen.size(); ++index)
        askers.emplace_back([&, index] {
            const QEL::ICategory* asked = index % 2 ? plain : both;
            seen[index] = names(asked);
        });
    for (std::thread& asker : askers)
        asker.join();
    for (size_t index = 0; index < seen.size(); index += 2)
        EXPECT_EQ(seen[index], (std::vector<std::string>{"First.one", "Second.two"}));
    for (size_t index = 1; index < seen.size(); index += 2)
        EXPECT_EQ(seen[index], (std::vector<std::string>{"Plain.p", "Solo.s1", "Solo.s2"}));
    EXPECT_EQ(both->GetPropertyCount(), 2);
    EXPECT_EQ(plain->GetPropertyIndex(two), -1);
}

TEST(IndexTables, PositionsWrapAtSixteenBitsAsInADenseTable) {
    HandModel hand;
    QEL::CCategory* wide = hand.category("Wide");
    std::vector<QEL::CProperty*> properties;
    for (int i = 0; i < 32770; ++i)
        properties.push_back(hand.property(wide, "p" + std::to_string(i)));
    hand.model.FinishBuilding();
    EXPECT_EQ(wide->GetPropertyIndex(properties[32767]), 32767);
    EXPECT_EQ(wide->GetPropertyIndex(properties[32768]), -32768);
    EXPECT_FALSE(wide->HasProperty(properties[32769]));
}

} // namespace
