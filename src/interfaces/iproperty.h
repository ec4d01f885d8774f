#pragma once

#include "interfaces/iattribute.h"
#include "interfaces/iwalkable.h"

namespace QEL {

class ICategory;
class IPropertyType;

class IProperty : public virtual IAttributedItem, public IWalkable {
public:
    const IProperty* AsProperty() const override { return this; }

    // The full name: the declaring category's name, a point, the short name.
    virtual const ORLO::String& GetName() const = 0;
    virtual const ORLO::String& GetShortName() const = 0;
    virtual const ORLO::String& GetDescription() const = 0;
    virtual const ElementStatus& GetStatus() const = 0;
    virtual int GetId() const = 0;
    virtual int GetLocalId() const = 0;
    virtual const IPropertyType* GetPropertyType() const = 0;
    // 0 no merge, 1 sum, 2 distinct alphabetic, 3 bitwise or.
    virtual int GetMerge() const = 0;
    virtual bool IsTransient() const = 0;
    virtual bool IsIndexed() const = 0;
    virtual const ICategory* GetCategory() const = 0;

    // GetLocalId without a virtual call, for the membership tests of inner loops; -1 for a
    // property that no model numbered.
    int LocalId() const { return localId_; }

protected:
    int localId_ = -1;
};

using PropertySet = ElementSet<const IProperty*>;

} // namespace QEL
