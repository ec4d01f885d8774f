#include "metamodel/validation/validationmetamodelevents.h"

#include "metamodel/metamodelexceptions.h"
#include "metamodel/validation/wordvalidators.h"

#include <algorithm>
#include <string_view>

namespace MetaModel {

namespace {

bool hasOnlyNameCharacters(const String& name) {
    return std::all_of(name.begin(), name.end(), [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
               c == '_';
    });
}

// Types above this id are the user's own; only they are held to the user name rules.
constexpr int lastBuiltinId = 2000000;

struct ReservedPropertyName {
    std::string_view name;
    int id;
};

constexpr ReservedPropertyName reservedPropertyNames[] = {
    {"name", 3},
    {"fullName", 125},
    {"source", 113},
    {"lastModifiedDate", 105},
    {"lastModifiedCRC", 106},
    {"projectRelationKind", 1055},
};

} // namespace

CValidationMetaModelEvents::CValidationMetaModelEvents(bool throwAtEnd) : throwAtEnd_(throwAtEnd) {}

CValidationMetaModelEvents::~CValidationMetaModelEvents() = default;

bool CValidationMetaModelEvents::checkCategoryName(const String& name) {
    return hasOnlyNameCharacters(name);
}

bool CValidationMetaModelEvents::checkUserPropertyName(const String& name) {
    return hasOnlyNameCharacters(name);
}

bool CValidationMetaModelEvents::checkUserCategoryName(const String& name) {
    return !name.starts_with("ORLO_");
}

bool CValidationMetaModelEvents::checkPropertyReservedName(const String& name, const int& id) {
    for (const ReservedPropertyName& reserved : reservedPropertyNames)
        if (name == reserved.name)
            return id == reserved.id;
    return true;
}

CValidationMetaModelEvents::Location CValidationMetaModelEvents::currentLocation() {
    const CppLanguage::DocumentPlace position = CppLanguage::currentDocumentPlace();
    const String& source = GetSource();
    Location location;
    location.line = position.line;
    location.column = position.column;
    location.source = documentIndex(source);
    location.document = position.document.empty() || position.document == source
                            ? location.source
                            : documentIndex(position.document);
    return location;
}

int CValidationMetaModelEvents::documentIndex(std::string_view document) {
    if (document.empty())
        return -1;
    // Documents come one after another, so one of the last two seen (a document and the
    // source named beside it) is almost always the one.
    const size_t count = documents_.size();
    for (size_t back = 1; back <= std::min<size_t>(count, 2); ++back)
        if (documents_[count - back] == document)
            return int(count - back);
    documents_.emplace_back(document);
    return int(count);
}

CppLanguage::DocumentPosition
CValidationMetaModelEvents::positionOf(const Location& location) const {
    CppLanguage::DocumentPosition position;
    if (location.document >= 0)
        position.document = documents_[size_t(location.document)];
    position.line = location.line;
    position.column = location.column;
    return position;
}

String CValidationMetaModelEvents::sourceOf(const Location& location) const {
    return location.source < 0 ? String() : documents_[size_t(location.source)];
}

void CValidationMetaModelEvents::error(const Location& location, const char* id,
                                       std::initializer_list<CppLanguage::MsgArg> args) {
    CppLanguage::reportAt(ORLO_HERE, positionOf(location), id, args);
    ++errorCount_;
    valid_ = false;
}

void CValidationMetaModelEvents::warning(const Location& location, const char* id,
                                         std::initializer_list<CppLanguage::MsgArg> args) {
    CppLanguage::reportAt(ORLO_HERE, positionOf(location), id, args);
}

void CValidationMetaModelEvents::dropRecords() {
    Records().swap(types_);
    Records().swap(categories_);
    std::vector<AttributeName>().swap(attributeNames_);
    texts_.clear();
    currentItem_ = nullptr;
    currentProperty_ = nullptr;
    currentDeclaration_.reset();
}

void CValidationMetaModelEvents::OnStart() {
    dropRecords();
    valid_ = true;
    errorCount_ = 0;
    // The id sets survive on purpose: an object is meant for one stream, and one used again
    // reports every id of the first stream that comes back.
}

bool CValidationMetaModelEvents::startElement(Records& own, const Records& other,
                                              const char* nameConflict, const char* idConflict,
                                              const String& name, bool partial, int id) {
    const Location location = currentLocation();
    const auto declared = own.find(name);
    if (other.count(name) != 0 ||
        (!partial && declared != own.end() && declared->second.declared)) {
        // The declaration is dropped: what follows attaches to the record before it.
        error(location, nameConflict, {{"ID", id}, {"NAM", name}});
        return false;
    }
    TypeOrCategory& item = declared != own.end() ? declared->second : own[name];
    currentItem_ = &item;
    currentDeclaration_ = std::make_unique<TypeOrCategory>();
    if (!partial && !declaredIds_.insert(id))
        error(location, idConflict, {{"ID", id}, {"NAM", name}});
    item.name = name;
    if (partial) {
        item.partiallyDeclared = true;
    } else {
        item.declared = true;
        item.id = id;
        item.location = location;
    }
    currentProperty_ = nullptr;
    return true;
}

void CValidationMetaModelEvents::OnStartCategory(const String& name, bool partial, const String&,
                                                 int id, const ElementStatus&) {
    // Categories answer to no name rule at all; only types do.
    startElement(categories_, types_, "QEL_MM_CONFLICT_CAT_NAM", "QEL_MM_CONFLICT_CAT_ID", name,
                 partial, id);
}

void CValidationMetaModelEvents::OnStartType(const String& name, bool partial, const String&,
                                             int id, const ElementStatus&) {
    const bool accepted = startElement(types_, categories_, "QEL_MM_CONFLICT_TYP_NAM",
                                       "QEL_MM_CONFLICT_TYP_ID", name, partial, id);
    if (!accepted || partial || currentItem_->id <= lastBuiltinId)
        return;
    const Location location = currentLocation();
    if (!checkCategoryName(name))
        warning(location, "QEL_MM_INVALID_CHARCNAME", {{"NAME", name}});
    if (!checkUserCategoryName(name))
        warning(location, "QEL_MM_RESERVED_CNAME", {{"NAME", name}});
}

void CValidationMetaModelEvents::OnStartProperty(const String& name, const String&,
                                                 const String& type, const int& minimalCardinality,
                                                 const int& maximalCardinality, const String& merge,
                                                 int id, const ElementStatus&) {
    const Location location = currentLocation();
    if (!currentItem_)
        return;
    TypeOrCategory& owner = *currentItem_;
    PropertyRecord* sameId = nullptr;
    for (PropertyRecord& property : owner.properties) {
        if (property.name == name) {
            // Dropped: its attributes land on the owner.
            error(location, "QEL_MM_CONFLICT_PROP_NAM", {{"ID", id}, {"NAM", name}});
            return;
        }
        if (property.id == id)
            sameId = &property;
    }
    if (!propertyIds_.insert(id))
        error(location, "QEL_MM_CONFLICT_PROP_ID", {{"ID", id}, {"NAM", name}});

    // A second property of an id this owner already has is not kept; its attributes go to
    // the first.
    if (sameId) {
        currentProperty_ = sameId;
    } else {
        PropertyRecord& record = owner.properties.emplace_back();
        record.id = id;
        record.name = texts_.keep(name);
        record.type = &texts_.intern(type);
        record.merge = &texts_.intern(merge);
        record.location = location;
        currentProperty_ = &record;
    }

    // The owner's id decides, and an owner seen only partially so far has id 0.
    if (owner.id > lastBuiltinId && !checkUserPropertyName(name))
        warning(location, "QEL_MM_INVALID_CHARPNAME", {{"CTXT", owner.name}, {"NAME", name}});
    if (!checkPropertyReservedName(name, id))
        error(location, "QEL_MM_RESERVED_PNAME", {{"CTXT", owner.name}, {"NAME", name}});
    const bool cardinalitiesFit =
        minimalCardinality >= 0 && maximalCardinality != 0 &&
        (maximalCardinality == -1 || minimalCardinality <= maximalCardinality);
    if (!cardinalitiesFit)
        error(location, "QEL_MM_INVALID_PROP_CARD",
              {{"MAX_CARD", maximalCardinality},
               {"MIN_CARD", minimalCardinality},
               {"CTXT", owner.name},
               {"NAME", name}});
}

void CValidationMetaModelEvents::OnEndProperty() {
    currentProperty_ = nullptr;
}

void CValidationMetaModelEvents::attribute(const String& name) {
    int* chain = nullptr;
    std::string_view context;
    if (currentProperty_) {
        chain = &currentProperty_->attributes;
        context = currentProperty_->name;
    } else if (currentItem_) {
        chain = &currentItem_->attributes;
        context = currentItem_->name;
    } else {
        return;
    }
    // A string and an integer attribute of one name collide too: only the name counts.
    for (int at = *chain; at != noAttribute; at = attributeNames_[size_t(at)].next) {
        if (*attributeNames_[size_t(at)].name == name) {
            error(currentLocation(), "QEL_MM_DUPLICATE_ATTRIBUTE",
                  {{"CTXT", context}, {"NAME", name}});
            return;
        }
    }
    attributeNames_.push_back(AttributeName{&texts_.intern(name), *chain});
    *chain = int(attributeNames_.size() - 1);
}

void CValidationMetaModelEvents::OnAttribute(const String& name, int, const ElementStatus&) {
    attribute(name);
}

void CValidationMetaModelEvents::OnAttribute(const String& name, const String&,
                                             const ElementStatus&) {
    attribute(name);
}

void CValidationMetaModelEvents::OnInheritedCategory(const String& name, const ElementStatus&) {
    if (!currentItem_)
        return;
    InheritanceRecord record{name, currentLocation()};
    // Only the current block counts: the same parent named by a full and a partial
    // declaration is legal.
    std::vector<InheritanceRecord>& block = currentDeclaration_->inherited;
    if (std::any_of(block.begin(), block.end(),
                    [&](const InheritanceRecord& seen) { return seen.name == name; }))
        error(record.location, "QEL_MM_TWICE_INHERITANCE",
              {{"CATEGORY", currentItem_->name}, {"INHERITED", name}});
    currentItem_->inherited.push_back(record);
    block.push_back(std::move(record));
}

void CValidationMetaModelEvents::OnTree(const String& parent, const String& category,
                                        const ElementStatus&) {
    if (currentItem_)
        currentItem_->trees.push_back(TreeRecord{parent, category, currentLocation()});
}

void CValidationMetaModelEvents::checkInheritance(const TypeOrCategory& item) {
    // Only a category can be inherited, even where a type of that name is known.
    for (const InheritanceRecord& link : item.inherited)
        if (categories_.count(link.name) == 0)
            error(link.location, "QEL_MM_UNKNOWN_EXTEND",
                  {{"CTXT", item.name},
                   {"UNKNOWN", link.name},
                   {"LOCATION", sourceOf(link.location)}});
}

void CValidationMetaModelEvents::checkProperties(const TypeOrCategory& item, Verdicts& types,
                                                 Verdicts& merges) {
    std::vector<const PropertyRecord*> byId;
    byId.reserve(item.properties.size());
    for (const PropertyRecord& property : item.properties)
        byId.push_back(&property);
    std::sort(byId.begin(), byId.end(),
              [](const PropertyRecord* a, const PropertyRecord* b) { return a->id < b->id; });
    for (const PropertyRecord* property : byId) {
        const auto [type, newType] = types.try_emplace(property->type, false);
        if (newType) {
            CPropertyTypeValidator classifier;
            classifier.Classify(*property->type);
            type->second = classifier.recognized || categories_.count(*property->type) != 0 ||
                           types_.count(*property->type) != 0;
        }
        if (!type->second)
            error(property->location, "QEL_MM_INVALID_PROP_TYP",
                  {{"CTXT", item.name}, {"PROP_NAM", property->name}});
        const auto [merge, newMerge] = merges.try_emplace(property->merge, false);
        if (newMerge) {
            CPropertyMergeValidator classifier;
            classifier.Classify(*property->merge);
            merge->second = classifier.recognized;
        }
        if (!merge->second)
            error(property->location, "QEL_MM_INVALID_PROP_MERGE",
                  {{"CTXT", item.name},
                   {"PROP_MRG", *property->merge},
                   {"PROP_NAM", property->name}});
    }
}

void CValidationMetaModelEvents::checkTrees(const TypeOrCategory& item) {
    for (const TreeRecord& link : item.trees) {
        if (categories_.count(link.category) == 0)
            error(link.location, "QEL_MM_UNKNOWN_TREE_CAT",
                  {{"CTXT", item.name},
                   {"UNKNOWN", link.category},
                   {"LOCATION", sourceOf(link.location)}});
        if (types_.count(link.parent) == 0)
            error(link.location, "QEL_MM_UNKNOWN_TREE_PARENT",
                  {{"CTXT", item.name},
                   {"UNKNOWN", link.parent},
                   {"LOCATION", sourceOf(link.location)}});
    }
}

void CValidationMetaModelEvents::checkCategory(const TypeOrCategory& item) {
    // A name only ever declared partially has no location of its own to point at.
    if (!item.declared)
        error(Location{}, "QEL_MM_ONLY_PARTIAL_DECL",
              {{"UNKNOWN", item.name}, {"LOCATION", sourceOf(item.location)}});
}

std::vector<const CValidationMetaModelEvents::TypeOrCategory*>
CValidationMetaModelEvents::byName(const Records& records) {
    std::vector<const TypeOrCategory*> sorted;
    sorted.reserve(records.size());
    for (const auto& [name, item] : records)
        sorted.push_back(&item);
    std::sort(sorted.begin(), sorted.end(),
              [](const TypeOrCategory* a, const TypeOrCategory* b) { return a->name < b->name; });
    return sorted;
}

void CValidationMetaModelEvents::OnEnd() {
    // Trees are judged on types only and partial-only declarations on categories only.
    Verdicts types;
    Verdicts merges;
    for (const TypeOrCategory* item : byName(types_)) {
        checkInheritance(*item);
        checkProperties(*item, types, merges);
        checkTrees(*item);
    }
    for (const TypeOrCategory* item : byName(categories_)) {
        checkInheritance(*item);
        checkProperties(*item, types, merges);
        checkCategory(*item);
    }
    // The records stay until the next start: a second end repeats every message.
    if (throwAtEnd_ && !valid_)
        CppLanguage::raiseAt<CSemanticMetaModelException>(ORLO_HERE, {}, "QEL_MM_EXIST_ERR",
                                                          {{"NUMBER", errorCount_}});
}

} // namespace MetaModel
