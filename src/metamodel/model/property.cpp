#include "metamodel/model/property.h"

#include "metamodel/model/propertytype.h"

namespace QEL {

namespace {

// Only an integer attribute with a value other than 0 switches a flag on.
bool flagIsSet(const IAttributedItem& item, const char* name) {
    const IAttribute* attribute = item.GetAttribute(name);
    return attribute && attribute->IsInteger() && attribute->GetIntegerValue() != 0;
}

} // namespace

const IPropertyType* CProperty::GetPropertyType() const {
    return type_.get();
}

void CProperty::SetType(const IPropertyType* type) {
    type_ = std::shared_ptr<const IPropertyType>(type);
    ownType_ = const_cast<CPropertyType*>(dynamic_cast<const CPropertyType*>(type));
}

void CProperty::SetLastingType(CPropertyType* type) {
    // Shares no ownership, so it costs no count of its own.
    type_ = std::shared_ptr<const IPropertyType>(std::shared_ptr<void>(), type);
    ownType_ = type;
}

bool CProperty::IsTransient() const {
    return flagIsSet(*this, "TRANSIENT");
}

bool CProperty::IsIndexed() const {
    return flagIsSet(*this, "INDEX");
}

} // namespace QEL
