#pragma once

#include "cpplanguage/orlostring.h"

namespace QEL {

// The two tables between persistent ids and names: one for categories and types, one for
// properties.
class IIds {
public:
    class IIdGroup {
    public:
        virtual bool Has(const ORLO::String& name) const = 0;
        virtual bool Has(int id) const = 0;
        // 0x80000000 when the name is unknown.
        virtual int GetId(const ORLO::String& name) const = 0;
        // The nil string when the id is unknown.
        virtual const ORLO::String& GetName(int id) const = 0;

    protected:
        ~IIdGroup() = default;
    };

    virtual const IIdGroup& GetCategoryGroup() const = 0;
    virtual const IIdGroup& GetPropertyGroup() const = 0;

protected:
    virtual ~IIds() = default;
};

} // namespace QEL
