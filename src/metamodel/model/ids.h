#pragma once

#include "interfaces/idset.h"
#include "interfaces/iids.h"

#include <cstdint>
#include <deque>
#include <memory>
#include <vector>

namespace QEL {

class CIds : public virtual IIds {
public:
    // One direction per table. Each keeps its first registration, so a conflicting later one
    // leaves the two out of step; validation reports such conflicts before it comes to that.
    class CIdGroup : public IIds::IIdGroup {
    public:
        CIdGroup();
        CIdGroup(const CIdGroup&) = default;
        CIdGroup& operator=(const CIdGroup&) = default;
        virtual ~CIdGroup() = default;

        bool Has(const ORLO::String& name) const override;
        bool Has(int id) const override;
        int GetId(const ORLO::String& name) const override;
        const ORLO::String& GetName(int id) const override;
        virtual bool invariant() const { return true; }

        void Add(const ORLO::String& name, int id);
        // The same for a name that outlives the group and never changes, such as an element's
        // own name: the group keeps no copy of it.
        void AddLasting(const ORLO::String& name, int id);

    private:
        struct Entry {
            int id;
            const ORLO::String* name;
        };
        std::uint32_t findName(const ORLO::String& name) const;
        std::uint32_t findId(int id) const;

        std::vector<Entry> entries_;
        PositionIndex byId_;
        PositionIndex byName_;
        // Copies of names given without a lasting owner; shared by copies of the group, whose
        // entries point into it.
        std::shared_ptr<std::deque<ORLO::String>> copies_;
    };

    const IIdGroup& GetCategoryGroup() const override { return categoryGroup_; }
    const IIdGroup& GetPropertyGroup() const override { return propertyGroup_; }

    CIdGroup& CategoryGroup() { return categoryGroup_; }
    CIdGroup& PropertyGroup() { return propertyGroup_; }

private:
    CIdGroup categoryGroup_;
    CIdGroup propertyGroup_;
};

} // namespace QEL
