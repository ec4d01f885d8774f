#pragma once

#include "cpplanguage/deletable.h"
#include "cpplanguage/exceptions.h"
#include "interfaces/icategory.h"
#include "interfaces/iids.h"
#include "interfaces/iproperty.h"

#include <cstdint>
#include <string>

namespace QEL {

// Lookups that were told the element must exist, and property declarations that cannot be
// typed.
CPPLANGUAGE_DECLARE_EXCEPTION(CMetaModelException, CppLanguage::CRuntimeException);

// The read-only view of one meta-model. The bool of every lookup says whether a missing element
// is an error: false answers null, true throws CMetaModelException. Properties are looked up by
// their full name. By name, a missing element answers null unless told otherwise: client code
// (the generated wrappers among it) asks by name alone and tests the answer.
class IMetaModel : public CppLanguage::IDeletable, public virtual IIds {
public:
    ~IMetaModel() override = default;

    virtual const ICategory* GetCategory(int id, bool mandatory) const = 0;
    virtual const ICategory* GetCategory(const ORLO::String& name,
                                         bool mandatory = false) const = 0;
    virtual const ICategory* GetCategorystd(const std::string& name, bool mandatory) const = 0;
    virtual bool HasCategory(int id) const = 0;
    virtual bool HasCategory(const ORLO::String& name) const = 0;
    virtual bool HasCategorystd(const std::string& name) const = 0;
    // Types included.
    virtual const CategorySet& GetCategories() const = 0;

    virtual const IMetaType* GetMetaType(int id, bool mandatory) const = 0;
    virtual const IMetaType* GetMetaType(const ORLO::String& name,
                                         bool mandatory = false) const = 0;
    virtual const IMetaType* GetMetaTypestd(const std::string& name, bool mandatory) const = 0;
    virtual bool HasMetaType(int id) const = 0;
    virtual bool HasMetaType(const ORLO::String& name) const = 0;
    virtual const MetaTypeSet& GetMetaTypes() const = 0;

    virtual const IProperty* GetProperty(int id, bool mandatory) const = 0;
    virtual const IProperty* GetProperty(const ORLO::String& name,
                                         bool mandatory = false) const = 0;
    virtual const IProperty* GetPropertystd(const std::string& name, bool mandatory) const = 0;
    virtual bool HasProperty(int id) const = 0;
    virtual bool HasProperty(const ORLO::String& name) const = 0;
    virtual bool HasPropertystd(const std::string& name) const = 0;
    virtual const PropertySet& GetProperties() const = 0;

    // The identity of this model within the process; never 0.
    virtual std::uint64_t GetVersion() const = 0;
};

} // namespace QEL
