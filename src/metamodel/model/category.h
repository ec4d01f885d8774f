#pragma once

#include "interfaces/icategory.h"
#include "metamodel/model/attribute.h"
#include "metamodel/model/lastingname.h"

#include <mutex>
#include <unordered_map>

namespace QEL {

class CMetaModel;

// A category as the builder fills it. FinishBuilding closes it over its ancestors once, so that
// questions about ancestors and inherited properties need no walk of the graph later.
class CCategory : public virtual ICategory, public CAttributedItem {
public:
    explicit CCategory(const CMetaModel& model);
    CCategory(const CCategory& other);
    ~CCategory() override;

    const IMetaModel& GetMetaModel() const override;
    bool IsType() const override { return false; }
    const ORLO::String& GetName() const override { return name_.get(); }
    const ORLO::String& GetDescription() const override { return description_; }
    const ElementStatus& GetStatus() const override { return status_; }
    int GetId() const override { return id_; }
    int GetLocalId() const override { return localId_; }
    const PropertySet& GetLocalProperties() const override { return localProperties_; }
    const CategorySet& GetLocalCategories() const override { return localCategories_; }
    std::vector<const IProperty*> getCompositeProperties(const ORLO::String& tree) const override;
    bool calculateLocalWalkable(std::vector<const IWalkable*>& out,
                                const ORLO::String& tree) const override;
    bool IsBuildingFinished() const override { return buildingFinished_; }
    bool hasIndex() const override { return hasIndex_; }
    bool isLanguage() const override;
    // The membership tests of inner loops, answered by the tables of the category's model; a
    // category of no model has no members.
    bool HasProperty(const IProperty* property) const final {
        return GetPropertyIndex(property) >= 0;
    }
    bool SupportsCategory(const ICategory* category) const final {
        return GetCategoryIndex(category) >= 0;
    }
    int GetPropertyIndex(const IProperty* property) const final {
        return tables_ ? tables_->OwnPropertyIndex(localId_, property->LocalId()) : -1;
    }
    int GetCategoryIndex(const ICategory* category) const final {
        return tables_ ? tables_->OwnCategoryIndex(localId_, category->LocalId()) : -1;
    }
    const IProperty* GetProperty(const ORLO::String& name) const override;
    const IPropertyType* GetPropertyType(const ORLO::String& name) const override;
    const PropertySet& GetAllProperties() const override;
    const CategorySet& GetAllCategories() const override;
    int GetPropertyCount() const override { return int(GetAllProperties().size()); }
    int GetCategoryCount() const override {
        return tables_ ? tables_->MemberCount(localId_) : int(allCategories_.size());
    }

    virtual bool invariant() const { return true; }
    virtual void FinishBuilding();
    // Once the model's index tables stand, they answer membership in the closed sets, which
    // then need no index of their own.
    void AnswerMembershipFromTables();
    // Bytes of the lists of all categories and properties made so far; asks for none.
    std::size_t ListsMemoryUsed() const {
        return allCategories_.memoryUsed() + allProperties_.memoryUsed();
    }

    void SetName(const ORLO::String& name) { name_.set(name); }
    // The name to enter in the model's tables; see LastingName.
    const ORLO::String& EnterName() { return name_.enter(); }
    void SetDescription(const ORLO::String& description) { description_ = description; }
    void SetId(int id) { id_ = id; }
    void SetLocalId(int localId) { localId_ = localId; }
    void SetStatus(ElementStatus status) { status_ = status; }
    void AddInheritedCategory(const ICategory* parent) { localCategories_.insert(parent); }
    void AddProperty(const IProperty* property);

protected:
    const CMetaModel& model() const { return model_; }

private:
    void AddAncestor(const ICategory& ancestor);
    // Whether the model's tables close this category: all but one that the model never
    // numbered, or a category closed before its model.
    bool closedByTables() const;
    std::vector<const ICategory*> allCategoryList() const;
    void collectAllProperties() const;
    // The walk that a category without a definition of the tree gets: its parents, then its
    // reference properties.
    void appendDefaultWalk(std::vector<const IWalkable*>& out, const ORLO::String& tree) const;
    const IWalkable* walkItem(const ORLO::String& token) const;

    const CMetaModel& model_;
    bool buildingFinished_ = false;
    int id_ = int(0x80000000u);
    LastingName name_;
    ORLO::String description_;
    ElementStatus status_ = EsInactive;
    CategorySet localCategories_;
    PropertySet localProperties_;
    // Put together on first demand once the category is closed: see GetAllProperties.
    mutable PropertySet allProperties_;
    mutable std::once_flag allPropertiesCollected_;
    // The tables hold the closed set; the list is made on first demand (GetAllCategories), as
    // the one of all properties is.
    mutable CategorySet allCategories_;
    mutable std::once_flag allCategoriesListed_;
    // Whether the closed sets are complete.
    bool closed_ = false;
    bool hasIndex_ = false;
};

class CMetaType : public CCategory, public IMetaType {
public:
    // Per tree category, the types above or below this one.
    using TreeMap = std::unordered_map<const ICategory*, MetaTypeSet>;

    explicit CMetaType(const CMetaModel& model) : CCategory(model) {}
    CMetaType(const CMetaType& other) = default;

    bool IsType() const override { return true; }
    const MetaTypeSet& GetTreeParents(const ICategory* tree) const override;
    const MetaTypeSet& GetTreeChildren(const ICategory* tree) const override;
    const ICategory* getLanguage() const override;

    // The whole maps, for listings; trees never linked or asked for are not in them.
    const TreeMap& GetTreeParentMap() const { return treeParents_; }
    const TreeMap& GetTreeChildMap() const { return treeChildren_; }

    static void AddTreeData(const CCategory* tree, const CMetaType* parent, const CMetaType* child);

private:
    mutable TreeMap treeParents_;
    mutable TreeMap treeChildren_;
};

} // namespace QEL
