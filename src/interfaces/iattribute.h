#pragma once

#include "cpplanguage/orlostring.h"
#include "interfaces/elementset.h"
#include "interfaces/elementstatus.h"

namespace QEL {

// A named value, integer or string, that a category, type or property carries.
class IAttribute {
public:
    virtual ~IAttribute() = default;
    virtual bool IsInteger() const = 0;
    virtual bool IsString() const = 0;
    // Asked of an attribute of the other kind, these post a warning and answer 0 or nil.
    virtual int GetIntegerValue() const = 0;
    virtual const ORLO::String& GetStringValue() const = 0;
    virtual const ORLO::String& GetName() const = 0;
    virtual const ElementStatus& GetStatus() const = 0;
};

using AttributeSet = ElementSet<const IAttribute*>;

class IAttributedItem {
public:
    virtual ~IAttributedItem() = default;
    // Every attribute ever added, also those that a later one of the same name hides.
    virtual const AttributeSet& GetAttributes() const = 0;
    // The latest attribute of that name, or null.
    virtual const IAttribute* GetAttribute(const ORLO::String& name) const = 0;
};

} // namespace QEL
