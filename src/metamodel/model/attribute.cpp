#include "metamodel/model/attribute.h"

#include "metamodel/model/arena.h"
#include "metamodel/model/reporting.h"

#include <utility>

namespace QEL {

void CAttribute::reportMisuse() const {
    reportFromModel(ORLO_HERE, "QEL_MM_INVALID_ATTR_TYP_USAGE", {{"ATTR_NAM", name_}});
}

int CAttribute::GetIntegerValue() const {
    reportMisuse();
    return 0;
}

const ORLO::String& CAttribute::GetStringValue() const {
    reportMisuse();
    return ORLO::String::nil();
}

namespace {

// A copy through the interface, so that attributes made elsewhere copy as well.
std::unique_ptr<CAttribute> copyOf(const IAttribute& attribute) {
    std::unique_ptr<CAttribute> copy;
    if (attribute.IsInteger())
        copy =
            std::make_unique<CIntegerAttribute>(attribute.GetName(), attribute.GetIntegerValue());
    else if (attribute.IsString())
        copy = std::make_unique<CStringAttribute>(attribute.GetName(), attribute.GetStringValue());
    else
        copy = std::make_unique<CAttribute>(attribute.GetName());
    copy->SetStatus(attribute.GetStatus());
    return copy;
}

} // namespace

CAttributedItem::CAttributedItem(const CAttributedItem& other)
    : IAttributedItem(other), arena_(nullptr) {
    copyFrom(other);
}

CAttributedItem& CAttributedItem::operator=(const CAttributedItem& other) {
    if (this != &other) {
        deleteAll();
        copyFrom(other);
    }
    return *this;
}

CAttributedItem::~CAttributedItem() {
    deleteAll();
}

void CAttributedItem::deleteAll() {
    byName_.reset();
    if (!arena_)
        for (const IAttribute* attribute : attributes_)
            delete attribute;
    attributes_.clear();
}

void CAttributedItem::copyFrom(const CAttributedItem& other) {
    for (const IAttribute* attribute : other.attributes_)
        AddAttribute(copyOf(*attribute));
}

const IAttribute* CAttributedItem::GetAttribute(const ORLO::String& name) const {
    if (byName_) {
        const auto found = byName_->find(name);
        return found == byName_->end() ? nullptr : found->second;
    }
    for (auto it = attributes_.end(); it != attributes_.begin();) {
        --it;
        if ((*it)->GetName() == name)
            return *it;
    }
    return nullptr;
}

template <class Made, class... Args> CAttribute* CAttributedItem::make(Args&&... args) {
    // A fresh attribute cannot be listed yet.
    if (!arena_) {
        auto attribute = std::make_unique<Made>(std::forward<Args>(args)...);
        attributes_.append(attribute.get());
        CAttribute* added = attribute.release();
        index(added);
        return added;
    }
    CAttribute* added = arena_->make<Made>(std::forward<Args>(args)...);
    attributes_.append(added);
    index(added);
    return added;
}

CAttribute* CAttributedItem::AddAttribute(const ORLO::String& name, const ORLO::String& value) {
    return make<CStringAttribute>(name, value);
}

CAttribute* CAttributedItem::AddAttribute(const ORLO::String& name, int value) {
    return make<CIntegerAttribute>(name, value);
}

void CAttributedItem::AddAttribute(IAttribute* attribute) {
    if (!attribute)
        return;
    if (attributes_.contains(attribute)) {
        // Listed already: it stays where it is, and becomes again the one its name answers,
        // which only the name index can say of an attribute before the last of its name.
        index(attribute, true);
        return;
    }
    if (arena_)
        arena_->adopt(std::unique_ptr<IAttribute>(attribute));
    attributes_.append(attribute);
    index(attribute);
}

void CAttributedItem::index(const IAttribute* latest, bool always) {
    if (!byName_) {
        if (!always && attributes_.size() <= indexFrom)
            return;
        byName_ = std::make_unique<NameIndex>();
        for (const IAttribute* each : attributes_)
            byName_->insert_or_assign(std::string_view(each->GetName()), each);
    }
    byName_->insert_or_assign(std::string_view(latest->GetName()), latest);
}

} // namespace QEL
