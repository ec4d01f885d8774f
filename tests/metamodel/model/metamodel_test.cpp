#include "interfaces/elementset.h"
#include "metamodel/model/handmodel.h"
#include "metamodel/model/raisedmessage.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <set>
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
    const QEL::IMetaModel& m = model();
    const auto said = [](const auto& lookup) {
        const RaisedMessage raised = raisedBy<QEL::CMetaModelException>(lookup);
        std::string text = raised.id;
        for (const auto& [name, value] : raised.arguments)
            text += " " + name + "=" + value;
        return text;
    };
    EXPECT_EQ(said([&] { m.GetCategory("Gone", true); }), "QEL_MM_UNDEF_CAT_NAM CAT_NAM=Gone");
    EXPECT_EQ(said([&] { m.GetCategorystd("Gone", true); }), "QEL_MM_UNDEF_CAT_NAM CAT_NAM=Gone");
    EXPECT_EQ(said([&] { m.GetCategory(-5, true); }), "QEL_MM_UNDEF_CAT_ID CAT_ID=-5");
    EXPECT_EQ(said([&] { m.GetMetaType("Gone", true); }), "QEL_MM_UNDEF_TYP_NAM TYP_NAM=Gone");
    EXPECT_EQ(said([&] { m.GetMetaType(99, true); }), "QEL_MM_UNDEF_TYP_ID TYP_ID=99");
    // The id of a plain category is known; its name is no type's.
    EXPECT_EQ(said([&] { m.GetMetaType(10, true); }), "QEL_MM_UNDEF_TYP_NAM TYP_NAM=Base");
    EXPECT_EQ(said([&] { m.GetProperty("Base.size", true); }),
              "QEL_MM_UNDEF_PROP_NAM PROP_NAM=Base.size");
    EXPECT_EQ(said([&] { m.GetPropertystd("x", true); }), "QEL_MM_UNDEF_PROP_NAM PROP_NAM=x");
    EXPECT_EQ(said([&] { m.GetProperty(78, true); }), "QEL_MM_UNDEF_PROP_ID PROP_ID=78");
}

// The tables keep finding an element under the name it was added with, whatever it is called
// later; names long enough to live on the heap, where a table holding a view of a replaced text
// would read freed memory.
TEST(MetaModel, AnElementRenamedAfterItWasAddedIsFoundUnderItsAddedName) {
    HandModel hand;
    const std::string added = "Category_with_a_name_too_long_for_the_string_itself";
    QEL::CCategory* category = hand.category(added);
    QEL::CMetaType* type = hand.type(added + "_type", {category});
    QEL::CProperty* property =
        hand.property(type, "a_property_name_that_lives_on_the_heap", "integer", 42);
    const std::string propertyName = property->GetName();
    category->SetName("Renamed_category_with_a_name_as_long_as_the_first_one");
    type->SetName("R");
    property->SetName("Renamed.a_property_name_that_lives_on_the_heap_too");
    hand.model.FinishBuilding();

    EXPECT_EQ(hand.model.GetCategory(added, false), category);
    EXPECT_EQ(hand.model.GetMetaType(added + "_type", false), type);
    EXPECT_EQ(hand.model.GetProperty(propertyName, false), property);
    EXPECT_EQ(hand.model.GetCategory("R", false), nullptr);
    EXPECT_EQ(std::string(hand.model.PropertyGroup().GetName(42)), propertyName);
    EXPECT_EQ(hand.model.PropertyGroup().GetId(propertyName), 42);
    EXPECT_EQ(std::string(category->GetName()),
              "Renamed_category_with_a_name_as_long_as_the_first_one");
    EXPECT_EQ(std::string(property->GetName()),
              "Renamed.a_property_name_that_lives_on_the_heap_too");
    // A copy holds the current name and can be renamed on its own.
    QEL::CProperty copy(*property);
    copy.SetName("Copy.name");
    EXPECT_EQ(std::string(copy.GetName()), "Copy.name");
    EXPECT_EQ(hand.model.GetProperty(propertyName, false), property);
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

// An empty model finishes, and elements of another model have no place in its tables; in a
// model of its own, a foreign parent takes a place. An unnumbered category is no member.
TEST(IndexTables, AForeignParentTakesAPlaceAndAnUnnumberedCategoryIsNoMember) {
    HandModel other;
    QEL::CCategory* foreign = other.category("Foreign");
    QEL::CProperty* strange = other.property(foreign, "f");
    other.model.FinishBuilding();
    QEL::CMetaModel empty;
    empty.FinishBuilding();
    EXPECT_TRUE(empty.GetCategories().empty());
    EXPECT_EQ(empty.GetCategoryIndex(foreign, foreign), -1);
    EXPECT_EQ(empty.GetPropertyIndex(foreign, strange), -1);

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

// A category finished on its own, before its model has made the tables, closes its parents by
// recursion; a circuit ends there, each member taking what the other had so far.
TEST(IndexTables, ACircuitFinishedCategoryByCategoryEnds) {
    HandModel hand;
    QEL::CCategory* first = hand.category("First");
    QEL::CCategory* second = hand.category("Second", {first});
    first->AddInheritedCategory(second);
    const QEL::CProperty* inherited = hand.property(second, "s");
    first->FinishBuilding();
    EXPECT_TRUE(first->IsBuildingFinished() && second->IsBuildingFinished());
    EXPECT_EQ(first->GetCategoryCount(), 2);
    EXPECT_EQ(second->GetCategoryCount(), 2);
    // Closed, so that it lists what it inherits.
    ASSERT_EQ(first->GetAllProperties().size(), 1u);
    EXPECT_EQ(*first->GetAllProperties().begin(), inherited);
}

// The closed sets as the plain recursion over the parents makes them: a category lists itself,
// then, parent after parent, what the parent lists; a parent still being closed (a circuit)
// lends what it has so far. A category of another model lends its own set.
struct NaiveClosures {
    const QEL::CMetaModel& model;
    std::map<const QEL::ICategory*, std::vector<const QEL::ICategory*>> lists;
    std::set<const QEL::ICategory*> started;

    bool own(const QEL::ICategory* category) const {
        return model.OwnCategory(category) == category;
    }
    void close(const QEL::ICategory* category) {
        if (!started.insert(category).second)
            return;
        std::vector<const QEL::ICategory*>& list = lists[category];
        list.push_back(category);
        for (const QEL::ICategory* parent : category->GetLocalCategories()) {
            if (own(parent))
                close(parent);
            const std::vector<const QEL::ICategory*> lent =
                own(parent) ? lists[parent]
                            : std::vector<const QEL::ICategory*>(parent->GetAllCategories().begin(),
                                                                 parent->GetAllCategories().end());
            for (const QEL::ICategory* member : lent)
                if (std::find(list.begin(), list.end(), member) == list.end())
                    list.push_back(member);
        }
    }
    std::vector<const QEL::IProperty*> properties(const QEL::ICategory* category) const {
        std::vector<const QEL::IProperty*> all;
        for (const QEL::ICategory* member : lists.at(category))
            for (const QEL::IProperty* property : member->GetLocalProperties())
                if (std::find(all.begin(), all.end(), property) == all.end())
                    all.push_back(property);
        return all;
    }
};

// The compact closures against the plain ones, on shapes that take each kind of row: deep
// inheritance (dense rows), diamonds and properties declared twice (sparse rows, positions
// kept apart), circuits and a category that is its own parent, parents of another model
// (lists kept whole), and more categories than 16 bits can number.
TEST(IndexTables, ClosedSetsAndPositionsAreThoseOfThePlainRecursion) {
    struct Shape {
        const char* name;
        int categories;
        // Parents among the latest `window` categories, among all when 0.
        int window;
        int maxParents;
        bool circuits;
        bool foreign;
        bool sharedProperties;
        // Rows checked against every category; the others against their members and a sample.
        int fullyChecked;
    };
    const Shape shapes[] = {
        {"deep", 400, 40, 3, false, false, false, 400},
        {"diamonds", 300, 0, 3, false, false, true, 300},
        {"circuits", 60, 0, 2, true, false, false, 60},
        {"foreign", 120, 20, 2, false, true, false, 120},
        {"beyond 16 bits", 70000, 8, 2, false, false, false, 200},
    };
    for (const Shape& shape : shapes) {
        SCOPED_TRACE(shape.name);
        std::mt19937 random(unsigned(shape.categories));
        HandModel other;
        std::vector<QEL::CCategory*> strangers;
        for (int i = 0; i < 6; ++i)
            strangers.push_back(
                other.category("S" + std::to_string(i),
                               i ? std::initializer_list<const QEL::ICategory*>{strangers.back()}
                                 : std::initializer_list<const QEL::ICategory*>{}));
        for (QEL::CCategory* stranger : strangers)
            other.property(stranger, "s");
        other.model.FinishBuilding();

        HandModel hand;
        std::vector<QEL::CCategory*> categories;
        std::vector<const QEL::IProperty*> owned;
        for (int i = 0; i < shape.categories; ++i)
            categories.push_back(i % 3 ? hand.category("C" + std::to_string(i))
                                       : hand.type("T" + std::to_string(i)));
        for (int i = 0; i < shape.categories; ++i) {
            const int bound = shape.circuits ? shape.categories : i;
            const int low = shape.window ? std::max(0, bound - shape.window) : 0;
            for (int link = int(random() % unsigned(shape.maxParents + 1)); bound > low && link > 0;
                 --link)
                categories[std::size_t(i)]->AddInheritedCategory(
                    categories[std::size_t(low + int(random() % unsigned(bound - low)))]);
            if (shape.circuits && i == 0)
                categories[0]->AddInheritedCategory(categories[0]);
            if (shape.foreign && random() % 4 == 0)
                categories[std::size_t(i)]->AddInheritedCategory(strangers[random() % 6]);
            for (unsigned p = random() % 3; p > 0; --p) {
                QEL::CProperty* property =
                    hand.property(categories[std::size_t(i)], "p" + std::to_string(p));
                owned.push_back(property);
                if (shape.sharedProperties && i > 0 && random() % 10 == 0)
                    categories[random() % unsigned(i)]->AddProperty(property);
            }
        }
        hand.model.FinishBuilding();

        NaiveClosures naive{hand.model, {}, {}};
        for (const QEL::CCategory* category : categories)
            naive.close(category);
        for (int row = 0; row < shape.categories; ++row) {
            const QEL::CCategory* category = categories[std::size_t(row)];
            const auto& expected = naive.lists.at(category);
            ASSERT_EQ(category->GetCategoryCount(), int(expected.size())) << category->GetName();
            std::vector<int> place(categories.size(), -1);
            for (std::size_t position = 0; position < expected.size(); ++position)
                if (naive.own(expected[position]))
                    place[std::size_t(expected[position]->GetLocalId())] = int(position);
            std::vector<int> columns;
            if (row < shape.fullyChecked) {
                for (int column = 0; column < shape.categories; ++column)
                    columns.push_back(column);
            } else {
                for (const QEL::ICategory* member : expected)
                    if (naive.own(member))
                        columns.push_back(member->GetLocalId());
                for (int sample = 0; sample < 20; ++sample)
                    columns.push_back(int(random() % unsigned(shape.categories)));
            }
            for (const int column : columns) {
                const QEL::CCategory* other = categories[std::size_t(column)];
                ASSERT_EQ(category->GetCategoryIndex(other), place[std::size_t(column)])
                    << category->GetName() << " / " << other->GetName();
                ASSERT_EQ(category->SupportsCategory(other), place[std::size_t(column)] >= 0)
                    << category->GetName() << " / " << other->GetName();
            }
            const auto properties = naive.properties(category);
            // Properties of another model have no place in these tables, only a position.
            for (std::size_t position = 0; position < properties.size(); ++position)
                if (naive.own(properties[position]->GetCategory())) {
                    ASSERT_EQ(category->GetPropertyIndex(properties[position]), int(position))
                        << category->GetName() << " / " << properties[position]->GetName();
                    ASSERT_TRUE(category->HasProperty(properties[position]));
                }
            for (int sample = 0; sample < 20 && !owned.empty(); ++sample) {
                const QEL::IProperty* any = owned[random() % owned.size()];
                ASSERT_EQ(category->HasProperty(any),
                          std::find(properties.begin(), properties.end(), any) != properties.end())
                    << category->GetName() << " / " << any->GetName();
            }
            if (row < shape.fullyChecked) {
                const QEL::CategorySet& listed = category->GetAllCategories();
                ASSERT_EQ(std::vector<const QEL::ICategory*>(listed.begin(), listed.end()),
                          expected)
                    << category->GetName();
                ASSERT_EQ(category->GetPropertyCount(), int(properties.size()));
            }
        }
    }
}

TEST(ElementSets, AreEqualWhenTheyHoldTheSameMembersInWhateverOrder) {
    const int x = 0, y = 0, z = 0;
    QEL::ElementSet<const int*> a, b, c;
    for (const int* member : {&x, &y})
        a.insert(member);
    for (const int* member : {&y, &x})
        b.insert(member);
    for (const int* member : {&x, &z})
        c.insert(member);
    EXPECT_TRUE(a == b);
    EXPECT_FALSE(a == c);
    b.insert(&z);
    EXPECT_FALSE(a == b);
    EXPECT_FALSE(b == a);
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
