#include "metamodel/builder/documentbuild.h"

#include "interfaces/ipropertytype.h"
#include "metamodel/builder/metamodelbuilder.h"
#include "metamodel/model/metamodel.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace {

using MetaModel::IMetaModelEvents;
using TestSupport::buildFromDocuments;
using TestSupport::ModelPtr;

constexpr int noId = int(0x80000000u);

const QEL::ICategory& category(const QEL::IMetaModel& model, const std::string& name) {
    return *model.GetCategorystd(name, true);
}

const QEL::IProperty& property(const QEL::IMetaModel& model, const std::string& name) {
    return *model.GetPropertystd(name, true);
}

template <class Set> std::vector<std::string> names(const Set& members) {
    std::vector<std::string> result;
    for (const auto* member : members)
        result.push_back(member->GetName());
    std::sort(result.begin(), result.end());
    return result;
}

using Names = std::vector<std::string>;

class LinkedDocuments : public ::testing::Test {
protected:
    ModelPtr model =
        buildFromDocuments({"links/first/MetaModel.xml", "links/second/MetaModel.xml"});
};

TEST_F(LinkedDocuments, InheritanceNamedBeforeItsParentIsLinkedAtTheEnd) {
    const auto& child = category(*model, "Child");
    EXPECT_EQ(names(child.GetLocalCategories()), Names{"Parent"}) << "'Nowhere' leaves no link";
    const auto& leaf = category(*model, "Leaf");
    EXPECT_EQ(names(leaf.GetAllCategories()), (Names{"Child", "Leaf", "Parent"}));
    EXPECT_TRUE(leaf.HasProperty(&property(*model, "Parent.late")));
    EXPECT_EQ(leaf.GetPropertyCount(), 8);
    EXPECT_EQ(leaf.GetProperty("Parent.early"), &property(*model, "Parent.early"));
    EXPECT_EQ(leaf.GetProperty("early"), nullptr) << "only full names find a property";
}

TEST_F(LinkedDocuments, PartialDeclarationsSetNothingAndTheirPropertiesKeepTheStatusOfTheMoment) {
    const auto& parent = category(*model, "Parent");
    EXPECT_EQ(parent.GetId(), 2002001);
    EXPECT_EQ(parent.GetDescription(), "The full declaration, after a partial one");
    EXPECT_EQ(parent.GetStatus(), QEL::EsActive);
    EXPECT_EQ(names(parent.GetLocalProperties()),
              (Names{"Parent.early", "Parent.label", "Parent.late"}));
    // Before the full declaration the category was still inactive.
    const auto& early = property(*model, "Parent.early");
    EXPECT_EQ(early.GetStatus(), QEL::EsInactive);
    EXPECT_EQ(early.GetAttribute("INDEX")->GetStatus(), QEL::EsInactive);
    EXPECT_EQ(property(*model, "Parent.late").GetStatus(), QEL::EsActive);
    EXPECT_EQ(property(*model, "Parent.late").GetMerge(), 3);
    EXPECT_TRUE(parent.hasIndex());
    EXPECT_FALSE(category(*model, "Child").hasIndex()) << "an inherited index does not count";

    const auto& onlyPartial = category(*model, "OnlyPartial");
    EXPECT_EQ(onlyPartial.GetId(), noId);
    EXPECT_EQ(onlyPartial.GetStatus(), QEL::EsInactive);
    EXPECT_EQ(onlyPartial.GetDescription(), "");
    EXPECT_EQ(model->GetCategory(noId, false), nullptr);
    EXPECT_FALSE(model->GetCategoryGroup().Has("OnlyPartial"));
    EXPECT_EQ(property(*model, "OnlyPartial.extra").GetCategory(), &onlyPartial);
}

TEST_F(LinkedDocuments, PropertiesTakeTheWeakerStatusOfThemselvesAndTheirCategory) {
    EXPECT_EQ(category(*model, "Child").GetStatus(), QEL::EsDeprecated);
    EXPECT_EQ(property(*model, "Child.owner").GetStatus(), QEL::EsDeprecated);
    EXPECT_EQ(property(*model, "Child.count").GetStatus(), QEL::EsObsolete);
}

TEST_F(LinkedDocuments, ReferenceTargetsAreResolvedOnTheAtomicTypeAlsoInsideALists) {
    const auto& holder = category(*model, "Holder");
    const QEL::IPropertyType* owner = property(*model, "Child.owner").GetPropertyType();
    EXPECT_TRUE(owner->IsReference() && !owner->IsReferenceList() && !owner->IsList());
    EXPECT_EQ(owner->GetReferencedCategory(), &holder);

    const QEL::IPropertyType* members = property(*model, "Child.members").GetPropertyType();
    EXPECT_TRUE(members->IsReferenceList() && !members->IsReference());
    EXPECT_EQ(members->GetMaximalCardinality(), 5);
    EXPECT_EQ(members->GetReferencedCategory(), &holder);

    EXPECT_TRUE(property(*model, "Child.loose").GetPropertyType()->IsReference());
    EXPECT_EQ(property(*model, "Child.loose").GetPropertyType()->GetReferencedCategory(), nullptr);
    const QEL::IPropertyType* dangling = property(*model, "Child.dangling").GetPropertyType();
    EXPECT_TRUE(dangling->IsReferenceList());
    EXPECT_EQ(dangling->GetMaximalCardinality(), -1);
    EXPECT_EQ(dangling->GetReferencedCategory(), nullptr);

    const QEL::IPropertyType* count = property(*model, "Child.count").GetPropertyType();
    EXPECT_TRUE(count->IsInteger());
    EXPECT_EQ(count->GetReferencedCategory(), nullptr);
    EXPECT_EQ(count->GetMinimalCardinality(), 1);
    EXPECT_EQ(count->GetMaximalCardinality(), 1);
}

TEST_F(LinkedDocuments, TreeLinksNeedATypeAKnownParentAndAKnownTree) {
    const auto* leaf = model->GetMetaTypestd("Leaf", true);
    const auto* holder = model->GetMetaTypestd("Holder", true);
    const auto* tree = &category(*model, "Hierarchy");
    EXPECT_EQ(names(leaf->GetTreeParents(tree)), Names{"Holder"});
    EXPECT_EQ(names(holder->GetTreeChildren(tree)), Names{"Leaf"});
    EXPECT_TRUE(holder->GetTreeParents(tree).empty());

    // The link inside a plain category left no trace anywhere.
    const auto& typeHolder = dynamic_cast<const QEL::CMetaType&>(*holder);
    EXPECT_EQ(typeHolder.GetTreeChildMap().size(), 1u);
}

TEST(Builder, InactiveElementsDisappearAndTheOthersTakeTheWeakerStatusOfTheirOwner) {
    const ModelPtr model = buildFromDocuments({"status/MetaModel.xml"});
    EXPECT_FALSE(model->HasCategory("Dropped"));
    EXPECT_FALSE(model->HasProperty("Dropped.inside"));
    EXPECT_FALSE(model->HasProperty("Kept.off"));

    const auto& kept = category(*model, "Kept");
    EXPECT_EQ(kept.GetAttribute("INSIDE"), nullptr);
    ASSERT_NE(kept.GetAttribute("AFTER"), nullptr) << "attributes after the dropped property";
    EXPECT_EQ(kept.GetAttribute("GONE"), nullptr);
    EXPECT_EQ(kept.GetAttributes().size(), 2u) << "AFTER and the derived ROOT_PATH";
    EXPECT_TRUE(kept.GetLocalCategories().empty());
    EXPECT_EQ(model->GetProperties().size(), 3u);

    // What stays takes the weaker status of itself and its owner.
    const auto& old = property(*model, "Kept.old");
    EXPECT_EQ(old.GetStatus(), QEL::EsObsolete);
    EXPECT_EQ(old.GetAttribute("TRANSIENT")->GetStatus(), QEL::EsObsolete);
    EXPECT_TRUE(old.IsTransient());
    EXPECT_EQ(property(*model, "Kept.worn").GetStatus(), QEL::EsDeprecated);

    EXPECT_EQ(property(*model, "Aging.fresh").GetStatus(), QEL::EsObsolete);
    EXPECT_EQ(property(*model, "Aging.fresh").GetAttribute("NOTE")->GetStatus(), QEL::EsObsolete);
    EXPECT_EQ(category(*model, "Aging").GetAttribute("MARK")->GetStatus(), QEL::EsObsolete);
    EXPECT_EQ(category(*model, "Kept").GetAttribute("AFTER")->GetStatus(), QEL::EsActive);
}

// Streams that no reader produces, sent straight to the sink.
class BuilderEvents : public ::testing::Test {
protected:
    MetaModel::CMetaModelBuilder builder;
    const IMetaModelEvents::ElementStatus active = IMetaModelEvents::EsActive;

    void property(const std::string& name, const std::string& type) {
        builder.StartProperty(name, "", type, 0, 1, "no", 1, active);
        builder.EndProperty();
    }
};

TEST_F(BuilderEvents, ATypeDeclarationHidesAPlainCategoryOfTheSameName) {
    builder.Start();
    builder.StartCategory("Shape", false, "plain", 1, active);
    property("edges", "integer");
    builder.EndCategory(false);
    builder.StartType("Shape", false, "typed", 2, active);
    builder.EndType(false);
    builder.StartCategory("Shape", true, "", noId, active);
    property("area", "integer");
    builder.EndCategory(true);
    builder.End();

    const QEL::IMetaModel& model = *builder.GetResult();
    EXPECT_EQ(model.GetCategories().size(), 2u);
    const QEL::ICategory* shape = model.GetCategory("Shape", true);
    EXPECT_TRUE(shape->IsType());
    EXPECT_EQ(shape, model.GetMetaType("Shape", true));
    EXPECT_EQ(names(shape->GetLocalProperties()), Names{"Shape.area"});
    EXPECT_EQ(model.GetCategoryGroup().GetId("Shape"), 1) << "the first registration wins";
    EXPECT_EQ(model.GetCategory(2, true), shape);
}

TEST_F(BuilderEvents, EventsOutsideAnyElementFindNothingToAttachTo) {
    builder.Start();
    property("stray", "integer");
    builder.Attribute("A", 1, active);
    builder.InheritedCategory("B", active);
    builder.Tree("P", "T", active);
    builder.End();
    EXPECT_TRUE(builder.GetResult()->GetProperties().empty());
    EXPECT_TRUE(builder.invariant());
}

// Events without a stream still reach the model; a link they leave waiting has no End to
// resolve it.
TEST_F(BuilderEvents, ALinkLeftWaitingOutsideAStreamBreaksTheInvariant) {
    builder.StartCategory("Child", false, "", 1, active);
    builder.InheritedCategory("Parent", active);
    builder.EndCategory(false);
    EXPECT_FALSE(builder.IsStarted());
    EXPECT_FALSE(builder.invariant());
}

// A copy cannot share the model that its source owns: it stands at the same position with a
// fresh model, and the source goes on as before.
TEST_F(BuilderEvents, ACopyStandsAtTheSamePositionWithAModelOfItsOwn) {
    builder.Start();
    builder.StartCategory("Open", false, "", 1, active);
    builder.InheritedCategory("Later", active);
    MetaModel::CMetaModelBuilder copy(builder);
    EXPECT_TRUE(copy.IsStarted() && copy.IsInCategory());
    EXPECT_NE(copy.GetResult(), builder.GetResult());
    EXPECT_TRUE(copy.GetResult()->GetCategories().empty());
    property("size", "integer");
    builder.EndCategory(false);
    builder.StartCategory("Later", false, "", 2, active);
    builder.EndCategory(false);
    builder.End();
    const QEL::ICategory* open = builder.GetResult()->GetCategory("Open", true);
    EXPECT_TRUE(open->SupportsCategory(builder.GetResult()->GetCategory("Later", true)));
    EXPECT_EQ(names(open->GetLocalProperties()), Names{"Open.size"});

    copy = builder;
    EXPECT_FALSE(copy.IsStarted());
    EXPECT_TRUE(copy.invariant());
    EXPECT_TRUE(copy.GetResult()->GetCategories().empty());
    // A move takes the model along.
    const MetaModel::CMetaModelBuilder moved(std::move(builder));
    EXPECT_TRUE(moved.GetResult()->HasCategory("Open"));
}

TEST_F(BuilderEvents, DetachingHandsOverTheModelAndStartsAFreshOneWithAHigherVersion) {
    builder.Start();
    builder.StartCategory("Kept", false, "", 1, active);
    builder.EndCategory(false);
    builder.End();
    ModelPtr first(builder.DetachMetaModel());
    ModelPtr second(builder.DetachMetaModel());
    EXPECT_NE(first.get(), second.get());
    EXPECT_TRUE(first->HasCategory("Kept"));
    EXPECT_TRUE(second->GetCategories().empty());
    EXPECT_GT(second->GetVersion(), first->GetVersion());
    EXPECT_GT(builder.GetResult()->GetVersion(), second->GetVersion());

    // The builder takes a second stream after a detach.
    builder.Start();
    builder.StartCategory("Again", false, "", 1, active);
    builder.EndCategory(false);
    builder.End();
    EXPECT_TRUE(builder.GetResult()->HasCategory("Again"));
    EXPECT_FALSE(builder.GetResult()->HasCategory("Kept"));
}

} // namespace
