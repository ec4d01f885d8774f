#include "metamodel/model/metamodel.h"

#include "metamodel/model/propertyclassifiers.h"
#include "metamodel/model/propertytype.h"
#include "platform/messages.h"

#include <atomic>

namespace QEL {

std::uint64_t CMetaModel::next_version = 1;

CMetaModel::Elements::~Elements() {
    categories.clear();
}

namespace {

// Makes the type object of a word in the model's arena, null for an unknown word.
class CArenaTypeBuilder final : public IPropertyTypeBuilder, private CXmlPropertyTypeClassifier {
public:
    explicit CArenaTypeBuilder(CArena& arena) : arena_(arena) {}

    void OnInteger() override { result_ = arena_.make<CIntegerPropertyType>(); }
    void OnString() override { result_ = arena_.make<CStringPropertyType>(); }
    void OnDateTime() override { result_ = arena_.make<CDateTimePropertyType>(); }
    void OnBookmark() override { result_ = arena_.make<CBookmarkPropertyType>(); }
    void OnReference() override { result_ = arena_.make<CReferencePropertyType>(); }
    void OnIntegerList() override { result_ = arena_.make<CIntegerListPropertyType>(); }
    void OnStringList() override { result_ = arena_.make<CStringListPropertyType>(); }
    void OnDateTimeList() override { result_ = arena_.make<CDateTimeListPropertyType>(); }
    void OnBookmarkList() override { result_ = arena_.make<CBookmarkListPropertyType>(); }
    void OnReferenceList() override { result_ = arena_.make<CReferenceListPropertyType>(); }
    void OnUnknown() override { result_ = nullptr; }

    CPropertyType* Result() const { return result_; }

private:
    CArena& arena_;
    CPropertyType* result_ = nullptr;
};

} // namespace

CMetaModel::CMetaModel()
    : version_(std::atomic_ref<std::uint64_t>(next_version).fetch_add(1)),
      elements_(std::make_shared<Elements>()) {
    // Every category and property sits at its local id in these lists, so membership needs
    // no index of its own; a foreign element fails the position check.
    categories_.delegateMembership(
        [](const void*, const ICategory* member) { return member->LocalId(); }, nullptr);
    properties_.delegateMembership(
        [](const void*, const IProperty* member) { return member->LocalId(); }, nullptr);
    // Sized so that a typical schema loads without a rehash.
    categoryNames_.reserve(997);
    typeNames_.reserve(509);
    propertyNames_.reserve(997);
}

CMetaModel::CMetaModel(const CMetaModel& other)
    : IIds(other), IMetaModel(other), CIds(other), tables_(other.tables_),
      buildingFinished_(other.buildingFinished_), propertiesMayRepeat_(other.propertiesMayRepeat_),
      categories_(other.categories_), properties_(other.properties_), types_(other.types_),
      categoryNames_(other.categoryNames_), typeNames_(other.typeNames_),
      propertyNames_(other.propertyNames_), version_(other.version_), elements_(other.elements_) {}

CMetaModel::~CMetaModel() {
    // The tables go first, then the properties, then the categories and types.
    tables_ = CIndexTables();
    elements_.reset();
}

template <class Found>
const Found* CMetaModel::lookUp(const CNameTable<Found>& table, const std::string& name,
                                bool mandatory, const char* id, const char* argument) const {
    if (const Found* found = table.find(name))
        return found;
    if (mandatory)
        CppLanguage::raise<CMetaModelException>(ORLO_HERE, id, {{argument, name}});
    return nullptr;
}

const ICategory* CMetaModel::GetCategory(const ORLO::String& name, bool mandatory) const {
    return GetCategorystd(name, mandatory);
}

const ICategory* CMetaModel::GetCategorystd(const std::string& name, bool mandatory) const {
    return lookUp(categoryNames_, name, mandatory, "QEL_MM_UNDEF_CAT_NAM", "CAT_NAM");
}

const ICategory* CMetaModel::GetCategory(int id, bool mandatory) const {
    const ORLO::String& name = GetCategoryGroup().GetName(id);
    if (!name.empty())
        return GetCategory(name, mandatory);
    if (mandatory)
        CppLanguage::raise<CMetaModelException>(ORLO_HERE, "QEL_MM_UNDEF_CAT_ID", {{"CAT_ID", id}});
    return nullptr;
}

bool CMetaModel::HasCategory(int id) const {
    return GetCategoryGroup().Has(id) && HasCategory(GetCategoryGroup().GetName(id));
}

bool CMetaModel::HasCategory(const ORLO::String& name) const {
    return HasCategorystd(name);
}

bool CMetaModel::HasCategorystd(const std::string& name) const {
    return categoryNames_.contains(name);
}

const IMetaType* CMetaModel::GetMetaType(const ORLO::String& name, bool mandatory) const {
    return GetMetaTypestd(name, mandatory);
}

const IMetaType* CMetaModel::GetMetaTypestd(const std::string& name, bool mandatory) const {
    return lookUp(typeNames_, name, mandatory, "QEL_MM_UNDEF_TYP_NAM", "TYP_NAM");
}

const IMetaType* CMetaModel::GetMetaType(int id, bool mandatory) const {
    // Types share the group of categories: the id of a plain category is known, and the
    // lookup of its name among the types is what fails.
    const ORLO::String& name = GetCategoryGroup().GetName(id);
    if (!name.empty())
        return GetMetaType(name, mandatory);
    if (mandatory)
        CppLanguage::raise<CMetaModelException>(ORLO_HERE, "QEL_MM_UNDEF_TYP_ID", {{"TYP_ID", id}});
    return nullptr;
}

bool CMetaModel::HasMetaType(int id) const {
    return GetCategoryGroup().Has(id) && HasMetaType(GetCategoryGroup().GetName(id));
}

bool CMetaModel::HasMetaType(const ORLO::String& name) const {
    return HasMetaTypestd(name);
}

bool CMetaModel::HasMetaTypestd(const std::string& name) const {
    return typeNames_.contains(name);
}

const IProperty* CMetaModel::GetProperty(const ORLO::String& name, bool mandatory) const {
    return GetPropertystd(name, mandatory);
}

const IProperty* CMetaModel::GetPropertystd(const std::string& name, bool mandatory) const {
    return lookUp(propertyNames_, name, mandatory, "QEL_MM_UNDEF_PROP_NAM", "PROP_NAM");
}

const IProperty* CMetaModel::GetProperty(int id, bool mandatory) const {
    const ORLO::String& name = GetPropertyGroup().GetName(id);
    if (!name.empty())
        return GetProperty(name, mandatory);
    if (mandatory)
        CppLanguage::raise<CMetaModelException>(ORLO_HERE, "QEL_MM_UNDEF_PROP_ID",
                                                {{"PROP_ID", id}});
    return nullptr;
}

bool CMetaModel::HasProperty(int id) const {
    return GetPropertyGroup().Has(id) && HasProperty(GetPropertyGroup().GetName(id));
}

bool CMetaModel::HasProperty(const ORLO::String& name) const {
    return HasPropertystd(name);
}

bool CMetaModel::HasPropertystd(const std::string& name) const {
    return propertyNames_.contains(name);
}

CCategory* CMetaModel::FindCategory(const std::string& name) const {
    return categoryNames_.find(name);
}

CMetaType* CMetaModel::FindMetaType(const std::string& name) const {
    return typeNames_.find(name);
}

CCategory* CMetaModel::OwnCategory(const ICategory* category) const {
    const int localId = category->LocalId();
    if (unsigned(localId) >= elements_->categories.size())
        return nullptr;
    CCategory* own = elements_->categories[std::size_t(localId)].get();
    return static_cast<const ICategory*>(own) == category ? own : nullptr;
}

void CMetaModel::addCategoryObject(std::unique_ptr<CCategory> category) {
    CCategory* added = category.get();
    added->SetLocalId(int(elements_->categories.size()));
    elements_->categories.push_back(std::move(category));
    categoryNames_.assign(added->EnterName(), added);
    categories_.append(added);
}

CCategory* CMetaModel::AddCategory(const ORLO::String& name) {
    auto category = std::make_unique<CCategory>(*this);
    category->SetName(name);
    CCategory* added = category.get();
    addCategoryObject(std::move(category));
    return added;
}

CMetaType* CMetaModel::AddType(const ORLO::String& name) {
    auto type = std::make_unique<CMetaType>(*this);
    type->SetName(name);
    CMetaType* added = type.get();
    addCategoryObject(std::move(type));
    typeNames_.assign(added->EnterName(), added);
    types_.insert(added);
    return added;
}

CProperty* CMetaModel::AddProperty(const ORLO::String& shortName, ORLO::String fullName,
                                   const ORLO::String& description, const ORLO::String& type,
                                   const ORLO::String& merge, int id, int minimalCardinality,
                                   int maximalCardinality) {
    CPropertyMergeBuilder mergeBuilder;
    mergeBuilder.Classify(merge);
    CArenaTypeBuilder typeBuilder(elements_->arena);
    typeBuilder.Classify(type);
    CPropertyType* typeObject = typeBuilder.Result();
    // The type is judged first; a type left behind in the arena by a failure harms nothing.
    if (!typeObject)
        CppLanguage::raise<CMetaModelException>(ORLO_HERE, "QEL_MM_INVALID_PROP_TYP",
                                                {{"PROP_NAM", fullName}});
    if (mergeBuilder.GetResult() < 0)
        CppLanguage::raise<CMetaModelException>(ORLO_HERE, "QEL_MM_INVALID_PROP_MERGE",
                                                {{"PROP_MRG", merge}, {"PROP_NAM", fullName}});
    typeObject->SetMinimalCardinality(minimalCardinality);
    typeObject->SetMaximalCardinality(maximalCardinality);

    CProperty* added = elements_->arena.make<CProperty>();
    added->KeepAttributesIn(&elements_->arena);
    added->SetName(std::move(fullName));
    added->SetShortName(shortName);
    added->SetDescription(description);
    added->SetId(id);
    added->SetMerge(mergeBuilder.GetResult());
    added->SetLocalId(int(elements_->properties.size()));
    added->SetLastingType(typeObject);
    elements_->properties.push_back(added);
    PropertyGroup().AddLasting(added->EnterName(), id);
    propertyNames_.assign(added->EnterName(), added);
    properties_.append(added);
    return added;
}

void CMetaModel::FinishBuilding() {
    std::vector<const ICategory*> categories;
    categories.reserve(elements_->categories.size());
    for (const auto& category : elements_->categories)
        categories.push_back(category.get());
    std::vector<const IProperty*> properties;
    properties.reserve(elements_->properties.size());
    for (CProperty* property : elements_->properties)
        properties.push_back(property);
    // The tables close the categories: each then only takes note.
    tables_ = CIndexTables(categories, properties);
    for (const auto& category : elements_->categories)
        category->FinishBuilding();
    for (const auto& category : elements_->categories)
        category->AnswerMembershipFromTables();
    buildingFinished_ = true;
}

std::size_t CMetaModel::IndexMemoryUsed() const {
    std::size_t bytes = tables_.MemoryUsed() + categories_.memoryUsed() + properties_.memoryUsed() +
                        types_.memoryUsed() + categoryNames_.memoryUsed() +
                        typeNames_.memoryUsed() + propertyNames_.memoryUsed();
    for (const auto& category : elements_->categories)
        bytes += category->ListsMemoryUsed();
    return bytes;
}

} // namespace QEL
