#pragma once

#include "interfaces/iattribute.h"
#include "interfaces/iproperty.h"
#include "interfaces/iwalkable.h"
#include "metamodel/model/indextables.h"

#include <vector>

namespace QEL {

class IMetaModel;
class IMetaType;
class IPropertyType;

using CategorySet = ElementSet<const ICategory*>;
using MetaTypeSet = ElementSet<const IMetaType*>;

// A named bundle of properties that inherits from other categories. The queries on ancestors
// and properties rest on the index tables of the model, so they answer only once the model is
// finished.
class ICategory : public virtual IAttributedItem, public IWalkable {
public:
    const ICategory* AsCategory() const override { return this; }

    virtual const IMetaModel& GetMetaModel() const = 0;
    virtual bool IsType() const = 0;
    virtual const ORLO::String& GetName() const = 0;
    virtual const ORLO::String& GetDescription() const = 0;
    virtual const ElementStatus& GetStatus() const = 0;
    virtual int GetId() const = 0;
    virtual int GetLocalId() const = 0;
    // Declared here.
    virtual const PropertySet& GetLocalProperties() const = 0;
    // The direct parents.
    virtual const CategorySet& GetLocalCategories() const = 0;
    // The properties that a walk of `tree` reaches from here, depth first.
    virtual std::vector<const IProperty*>
    getCompositeProperties(const ORLO::String& tree) const = 0;
    // Appends the items that a walk of `tree` visits here; answers whether every item that
    // the tree's attribute names was good.
    virtual bool calculateLocalWalkable(std::vector<const IWalkable*>& out,
                                        const ORLO::String& tree) const = 0;
    virtual bool IsBuildingFinished() const = 0;
    // Some property declared here is indexed; inherited ones do not count.
    virtual bool hasIndex() const = 0;
    // A direct child of the category "CsvLanguage".
    virtual bool isLanguage() const = 0;
    // Own or inherited.
    virtual bool HasProperty(const IProperty* property) const = 0;
    // By full name; null for a property that this category does not carry.
    virtual const IProperty* GetProperty(const ORLO::String& name) const = 0;
    virtual const IPropertyType* GetPropertyType(const ORLO::String& name) const = 0;
    // Own and inherited.
    virtual const PropertySet& GetAllProperties() const = 0;
    // This category or one of its ancestors.
    virtual bool SupportsCategory(const ICategory* category) const = 0;
    // This category and all its ancestors.
    virtual const CategorySet& GetAllCategories() const = 0;
    // Position in GetAllProperties, or -1.
    virtual int GetPropertyIndex(const IProperty* property) const = 0;
    // Position in GetAllCategories, or -1.
    virtual int GetCategoryIndex(const ICategory* category) const = 0;
    virtual int GetPropertyCount() const = 0;
    virtual int GetCategoryCount() const = 0;

    // GetLocalId without a virtual call, for the membership tests of inner loops; -1 for a
    // category that no model numbered.
    int LocalId() const { return localId_; }

protected:
    int localId_ = -1;
    // Those of the model, which holds them for as long as the category lives.
    const CIndexTables* tables_ = nullptr;
};

// A category that can be instantiated. Types also sit in trees, each named by a category.
class IMetaType : public virtual ICategory {
public:
    // A tree never asked for before gets an empty entry, so these two are not safe against
    // concurrent use as the other reads are.
    virtual const MetaTypeSet& GetTreeParents(const ICategory* tree) const = 0;
    virtual const MetaTypeSet& GetTreeChildren(const ICategory* tree) const = 0;
    // The language among this type's categories, or null.
    virtual const ICategory* getLanguage() const = 0;
};

} // namespace QEL
