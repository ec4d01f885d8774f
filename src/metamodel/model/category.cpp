#include "metamodel/model/category.h"

#include "interfaces/ipropertytype.h"
#include "metamodel/model/metamodel.h"
#include "metamodel/model/reporting.h"

#include <algorithm>
#include <functional>

namespace QEL {

namespace {

const ORLO::String languageRoot = "CsvLanguage";
const ORLO::String rootPathAttribute = "ROOT_PATH";

bool isReference(const IProperty& property) {
    const IPropertyType* type = property.GetPropertyType();
    return type && (type->IsReference() || type->IsReferenceList());
}

template <class T> std::vector<T> inPointerOrder(const ElementSet<T>& members) {
    std::vector<T> sorted(members.begin(), members.end());
    std::sort(sorted.begin(), sorted.end(), std::less<T>());
    return sorted;
}

} // namespace

// Without tables until the model is finished and has numbered it, so that nothing is a member
// before, and a category that the model never numbered has no row to read.
CCategory::CCategory(const CMetaModel& model) : model_(model) {}

CCategory::CCategory(const CCategory& other)
    : IAttributedItem(other), ICategory(other), CAttributedItem(other), model_(other.model_),
      buildingFinished_(other.buildingFinished_), id_(other.id_), name_(other.name_),
      description_(other.description_), status_(other.status_),
      localCategories_(other.localCategories_), localProperties_(other.localProperties_),
      allProperties_(other.GetAllProperties()), allCategories_(other.GetAllCategories()),
      closed_(other.closed_), hasIndex_(other.hasIndex_) {
    if (closed_)
        std::call_once(allPropertiesCollected_, [] {});
    std::call_once(allCategoriesListed_, [] {});
    if (other.model_.IsFinished())
        AnswerMembershipFromTables();
}

CCategory::~CCategory() = default;

void CCategory::AddProperty(const IProperty* property) {
    if (localProperties_.insert(property) && property->GetCategory() != this)
        model_.NoteDeclarationElsewhere();
}

const IMetaModel& CCategory::GetMetaModel() const {
    return model_;
}

void CCategory::AddAncestor(const ICategory& ancestor) {
    allCategories_.insert(&ancestor);
}

bool CCategory::closedByTables() const {
    return model_.Tables().HasRow(localId_) && model_.OwnCategory(this) == this;
}

void CCategory::FinishBuilding() {
    if (buildingFinished_)
        return;
    buildingFinished_ = true;
    if (closedByTables()) {
        closed_ = true;
        hasIndex_ = std::any_of(localProperties_.begin(), localProperties_.end(),
                                [](const IProperty* property) { return property->IsIndexed(); });
        return;
    }
    AddAncestor(*this);
    // Finished before the recursion, so that a circuit in the inheritance, which only
    // whole-model validation rejects, ends the walk instead of looping.
    for (const ICategory* parent : localCategories_) {
        if (CCategory* own = model_.OwnCategory(parent))
            own->FinishBuilding();
        for (const ICategory* member : parent->GetAllCategories())
            AddAncestor(*member);
    }
    closed_ = true;
    hasIndex_ = std::any_of(localProperties_.begin(), localProperties_.end(),
                            [](const IProperty* property) { return property->IsIndexed(); });
}

// Most runs never iterate the closed set of most categories, and on a deep schema the lists
// together would hold tens of millions of pointers: the tables answer membership and count.
const CategorySet& CCategory::GetAllCategories() const {
    if (tables_)
        std::call_once(allCategoriesListed_, [this] {
            allCategories_.clear();
            for (const ICategory* member : tables_->ListMembers(localId_))
                allCategories_.appendUnindexed(member);
        });
    return allCategories_;
}

std::vector<const ICategory*> CCategory::allCategoryList() const {
    if (tables_)
        return tables_->ListMembers(localId_);
    return {allCategories_.begin(), allCategories_.end()};
}

// The list is long (every property of every ancestor) and most runs never ask for it: the
// membership tests and positions come from the model's tables. So it is made on the first
// demand after the category is closed, once, even when several threads ask at the same time.
const PropertySet& CCategory::GetAllProperties() const {
    if (closed_)
        std::call_once(allPropertiesCollected_, [this] { collectAllProperties(); });
    return allProperties_;
}

// Each ancestor brings what it declares, in the order of the ancestors; what an ancestor
// inherits comes with its own ancestors. Since only declared properties are taken, this may
// wait until all ancestors are known, even on a circuit. Where membership is already answered
// by the tables, a repeat is found there: they hold each property's place in this list.
void CCategory::collectAllProperties() const {
    const std::vector<const ICategory*> members = allCategoryList();
    std::size_t count = 0;
    for (const ICategory* member : members)
        count += member->GetLocalProperties().size();
    allProperties_.reserve(count);
    const bool mayRepeat = model_.PropertiesMayRepeat();
    for (const ICategory* member : members)
        for (const IProperty* property : member->GetLocalProperties()) {
            if (mayRepeat)
                allProperties_.insert(property);
            else
                allProperties_.appendUnindexed(property);
        }
}

void CCategory::AnswerMembershipFromTables() {
    tables_ = model_.Tables().HasRow(localId_) ? &model_.Tables() : nullptr;
    allCategories_.delegateMembership(
        [](const void* owner, const ICategory* member) {
            return static_cast<const CCategory*>(owner)->GetCategoryIndex(member);
        },
        this);
    allProperties_.delegateMembership(
        [](const void* owner, const IProperty* member) {
            return static_cast<const CCategory*>(owner)->GetPropertyIndex(member);
        },
        this);
}

const IProperty* CCategory::GetProperty(const ORLO::String& name) const {
    const IProperty* property = model_.GetProperty(name, false);
    return property && GetPropertyIndex(property) >= 0 ? property : nullptr;
}

const IPropertyType* CCategory::GetPropertyType(const ORLO::String& name) const {
    const IProperty* property = GetProperty(name);
    return property ? property->GetPropertyType() : nullptr;
}

bool CCategory::isLanguage() const {
    const ICategory* root = model_.GetCategory(languageRoot, false);
    return root && localCategories_.contains(root);
}

const IWalkable* CCategory::walkItem(const ORLO::String& token) const {
    // A category of that name wins over any property of it.
    if (const ICategory* category = model_.GetCategory(token, false))
        return localCategories_.contains(category) ? category : nullptr;
    const IProperty* property = model_.GetProperty(GetName() + "." + token, false);
    if (!property)
        property = model_.GetProperty(token, false);
    if (property && localProperties_.contains(property) && isReference(*property))
        return property;
    return nullptr;
}

bool CCategory::calculateLocalWalkable(std::vector<const IWalkable*>& out,
                                       const ORLO::String& tree) const {
    const IAttribute* definition = tree.empty() ? nullptr : GetAttribute(tree);
    if (!definition) {
        appendDefaultWalk(out, tree);
        return true;
    }
    const IAttribute* rootPath = GetAttribute(rootPathAttribute);
    const ORLO::String& location =
        rootPath && rootPath->IsString() ? rootPath->GetStringValue() : ORLO::String::nil();
    const ORLO::String& items = definition->GetStringValue();
    bool allGood = true;
    int position = 0;
    for (ORLO::String token = items.Tokenize(";", position); !token.empty();
         token = items.Tokenize(";", position)) {
        token.trim(" \r\n\t");
        const IWalkable* item = walkItem(token);
        if (!item || std::find(out.begin(), out.end(), item) != out.end()) {
            reportFromModel(ORLO_HERE, location, "QEL_MM_INVALID_TREE_ITEM",
                            {{"ITEM", token}, {"TREE_NAM", tree}, {"CAT_NAM", GetName()}});
            allGood = false;
            continue;
        }
        out.push_back(item);
    }
    return allGood;
}

void CCategory::appendDefaultWalk(std::vector<const IWalkable*>& out,
                                  const ORLO::String& tree) const {
    reportFromModel(ORLO_HERE, "QEL_MM_DEFAULT_TREE_DEF",
                    {{"TREE_NAM", tree}, {"CAT_NAM", GetName()}});
    for (const ICategory* parent : inPointerOrder(localCategories_))
        out.push_back(parent);
    for (const IProperty* property : inPointerOrder(localProperties_))
        if (isReference(*property))
            out.push_back(property);
}

std::vector<const IProperty*> CCategory::getCompositeProperties(const ORLO::String& tree) const {
    std::vector<const IWalkable*> items;
    calculateLocalWalkable(items, tree);
    std::vector<const IProperty*> properties;
    for (const IWalkable* item : items) {
        if (const IProperty* property = item->AsProperty()) {
            properties.push_back(property);
        } else if (const ICategory* category = item->AsCategory()) {
            // No guard against circuits: validation keeps the inheritance free of them.
            const auto below = category->getCompositeProperties(tree);
            properties.insert(properties.end(), below.begin(), below.end());
        }
    }
    return properties;
}

const MetaTypeSet& CMetaType::GetTreeParents(const ICategory* tree) const {
    return treeParents_[tree];
}

const MetaTypeSet& CMetaType::GetTreeChildren(const ICategory* tree) const {
    return treeChildren_[tree];
}

const ICategory* CMetaType::getLanguage() const {
    const ICategory* root = model().GetCategory(languageRoot, false);
    if (!root || !SupportsCategory(root))
        return nullptr;
    for (const ICategory* category : GetAllCategories())
        if (category->isLanguage())
            return category;
    return nullptr;
}

void CMetaType::AddTreeData(const CCategory* tree, const CMetaType* parent,
                            const CMetaType* child) {
    parent->treeChildren_[tree].insert(child);
    child->treeParents_[tree].insert(parent);
}

} // namespace QEL
