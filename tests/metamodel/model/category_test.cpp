#include "metamodel/builder/documentbuild.h"
#include "metamodel/model/handmodel.h"
#include "support/messagecapture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace {

using TestSupport::MessageCapture;
using Names = std::vector<std::string>;

Names namesOf(const std::vector<const QEL::IWalkable*>& items) {
    Names names;
    for (const QEL::IWalkable* item : items)
        names.push_back(item->AsCategory() ? item->AsCategory()->GetName()
                                           : item->AsProperty()->GetName());
    return names;
}

Names namesOf(const std::vector<const QEL::IProperty*>& properties) {
    Names names;
    for (const QEL::IProperty* property : properties)
        names.push_back(property->GetName());
    return names;
}

class Walks : public ::testing::Test {
protected:
    TestSupport::ModelPtr model = TestSupport::buildFromDocuments({"walks/MetaModel.xml"});
    const QEL::ICategory& category(const std::string& name) const {
        return *model->GetCategorystd(name, true);
    }
};

TEST_F(Walks, TheTreeAttributeNamesTheItemsAndEveryBadOneIsReportedWhereTheCategoryLives) {
    MessageCapture capture;
    const QEL::ICategory& part = category("Part");
    std::vector<const QEL::IWalkable*> items;
    EXPECT_FALSE(part.calculateLocalWalkable(items, "Walk"));
    // The parent category wins over the property of its name; "next" is found by the full
    // name; a string property, a repeated item, an unknown name and the category itself are
    // no items.
    EXPECT_EQ(namesOf(items), (Names{"Piece", "Part.next"}));
    ASSERT_EQ(capture.ids(), Names(4, "QEL_MM_INVALID_TREE_ITEM"));
    Names bad;
    for (size_t i = 0; i < 4; ++i)
        bad.push_back(capture.argument(i, "ITEM"));
    EXPECT_EQ(bad, (Names{"label", "Piece", "nothing", "Part"}));
    EXPECT_EQ(capture.argument(0, "TREE_NAM"), "Walk");
    EXPECT_EQ(capture.argument(0, "CAT_NAM"), "Part");
    const QEL::IAttribute* rootPath = part.GetAttribute("ROOT_PATH");
    ASSERT_NE(rootPath, nullptr);
    EXPECT_STREQ(capture.messages()[0].GetDocument(), rootPath->GetStringValue().c_str());

    // The walk appends to what is there.
    const size_t before = items.size();
    part.calculateLocalWalkable(items, "Walk");
    EXPECT_EQ(items.size(), before) << "everything is there already, and so reported";

    // Every item good: the walk succeeds and says nothing.
    const size_t reported = capture.ids().size();
    items.clear();
    EXPECT_TRUE(part.calculateLocalWalkable(items, "Clean"));
    EXPECT_EQ(namesOf(items), (Names{"Piece", "Part.next"}));
    EXPECT_EQ(capture.ids().size(), reported);
}

TEST_F(Walks, WithoutADefinitionTheWalkTakesTheParentsThenTheReferencesAndSucceeds) {
    MessageCapture capture;
    const QEL::ICategory& piece = category("Piece");
    std::vector<const QEL::IWalkable*> items;
    EXPECT_TRUE(piece.calculateLocalWalkable(items, "Walk"));
    EXPECT_EQ(namesOf(items), Names{"Piece.link"});
    ASSERT_EQ(capture.ids(), Names{"QEL_MM_DEFAULT_TREE_DEF"});
    EXPECT_EQ(capture.argument(0, "CAT_NAM"), "Piece");

    // An empty tree name is no definition either. Properties follow the parents, in
    // ascending address order; the string property is no step of a walk.
    items.clear();
    EXPECT_TRUE(category("Part").calculateLocalWalkable(items, ""));
    ASSERT_EQ(items.size(), 3u);
    EXPECT_EQ(items[0], &category("Piece"));
    Names properties = namesOf(std::vector<const QEL::IWalkable*>(items.begin() + 1, items.end()));
    std::sort(properties.begin(), properties.end());
    EXPECT_EQ(properties, (Names{"Part.Piece", "Part.next"}));
    EXPECT_LT(items[1], items[2]);
    // A category with nothing to walk still succeeds.
    items.clear();
    EXPECT_TRUE(category("CsvLanguage").calculateLocalWalkable(items, "Walk"));
    EXPECT_TRUE(items.empty());
}

TEST_F(Walks, CompositePropertiesDescendIntoTheCategoriesOfTheWalk) {
    MessageCapture capture;
    EXPECT_EQ(namesOf(category("Part").getCompositeProperties("Walk")),
              (Names{"Piece.link", "Part.next"}));
}

TEST_F(Walks, ALanguageIsADirectChildOfTheLanguageRootAndATypeFindsItsOwn) {
    EXPECT_TRUE(category("Lang").isLanguage());
    EXPECT_FALSE(category("Dialect").isLanguage());
    EXPECT_FALSE(category("CsvLanguage").isLanguage());
    EXPECT_EQ(model->GetMetaTypestd("Program", true)->getLanguage(), &category("Lang"));
    EXPECT_EQ(model->GetMetaTypestd("Script", true)->getLanguage(), nullptr);
}

TEST(Languages, WithoutTheLanguageRootNothingIsALanguage) {
    TestSupport::HandModel hand;
    QEL::CCategory* root = hand.category("LanguageRoot");
    QEL::CMetaType* type = hand.type("Typed", {hand.category("Lang", {root})});
    hand.model.FinishBuilding();
    EXPECT_FALSE(hand.model.GetCategory("Lang", true)->isLanguage());
    EXPECT_EQ(type->getLanguage(), nullptr);
}

TEST(Trees, AnUnknownTreeGivesOneEmptySetAndLinksGoBothWays) {
    TestSupport::HandModel hand;
    QEL::CCategory* tree = hand.category("Tree");
    QEL::CMetaType* folder = hand.type("Folder");
    QEL::CMetaType* file = hand.type("File");
    QEL::CMetaType::AddTreeData(tree, folder, file);
    QEL::CMetaType::AddTreeData(tree, folder, file);
    hand.model.FinishBuilding();

    const QEL::MetaTypeSet& none = file->GetTreeParents(folder);
    EXPECT_TRUE(none.empty());
    EXPECT_EQ(&file->GetTreeParents(folder), &none);
    ASSERT_EQ(file->GetTreeParents(tree).size(), 1u);
    EXPECT_EQ(file->GetTreeParents(tree)[0], folder);
    ASSERT_EQ(folder->GetTreeChildren(tree).size(), 1u);
    EXPECT_EQ(folder->GetTreeChildren(tree)[0], file);
    EXPECT_TRUE(folder->GetTreeParents(tree).empty());
}

TEST(CategoryLookups, APropertyIsFoundByItsFullNameOnlyWhereItIsCarried) {
    TestSupport::HandModel hand;
    QEL::CCategory* parent = hand.category("Parent");
    QEL::CCategory* child = hand.category("Child", {parent});
    QEL::CCategory* other = hand.category("Other");
    const QEL::CProperty* size = hand.property(parent, "size", "string");
    hand.property(other, "mine");
    hand.model.FinishBuilding();

    EXPECT_EQ(child->GetProperty("Parent.size"), size);
    EXPECT_EQ(child->GetProperty("size"), nullptr);
    EXPECT_EQ(child->GetProperty("Child.size"), nullptr);
    EXPECT_EQ(child->GetProperty("Other.mine"), nullptr);
    EXPECT_EQ(child->GetPropertyType("Parent.size"), size->GetPropertyType());
    EXPECT_EQ(child->GetPropertyType("Other.mine"), nullptr);
}

} // namespace
