#pragma once

// The least client library that generated wrapper headers compile against: instances are bare
// handles, and the model is the one the library builds from the documents that the client
// program is told of (clientmodel.cpp).

#include "cpplanguage/orlostring.h"
#include "interfaces/icategory.h"
#include "interfaces/imetamodel.h"
#include "interfaces/iproperty.h"

#include <cstddef>

// The generated text marks deprecated classes in the other compilers' spelling.
#ifndef _MSC_VER
#define __declspec(x) __attribute__((x))
#endif

namespace QEL {

struct SId {
    int value = 0;
};

class IInstance {
public:
    explicit IInstance(const IMetaType* type) : type_(type) {}
    const IMetaType* type() const { return type_; }

private:
    const IMetaType* type_;
};

class InstanceWrapper {
public:
    InstanceWrapper(const IInstance* instance) : instance_(const_cast<IInstance*>(instance)) {}
    InstanceWrapper(IInstance* instance) : instance_(instance) {}
    virtual ~InstanceWrapper() = default;

    const IInstance* getCInstance() const { return instance_; }
    IInstance* getInstance() const { return instance_; }
    // The category of the most derived wrapper.
    const ICategory* wrappedCategory() const { return getCategoryInternal(); }

private:
    virtual const ICategory* getCategoryInternal() const { return nullptr; }

    IInstance* instance_;
};

// `checked` is the category that the instance must belong to, or null for none.
class CategoryWrapper : public InstanceWrapper {
public:
    CategoryWrapper(const IInstance* instance, const ICategory* checked)
        : InstanceWrapper(instance), checked_(checked) {}
    CategoryWrapper(IInstance* instance, const ICategory* checked)
        : InstanceWrapper(instance), checked_(checked) {}
    CategoryWrapper(const SId&, const ICategory* checked)
        : InstanceWrapper(static_cast<IInstance*>(nullptr)), checked_(checked) {}
    const ICategory* checkedCategory() const { return checked_; }

private:
    const ICategory* checked_;
};

class TypeWrapper : public CategoryWrapper {
public:
    using CategoryWrapper::CategoryWrapper;
};

class PropertyWrapper {
public:
    explicit PropertyWrapper(const InstanceWrapper& owner) : instance_(owner.getCInstance()) {}
    virtual ~PropertyWrapper() = default;
    const IInstance* owner() const { return instance_; }
    const IProperty* wrappedProperty() const { return getPropertyInternal(); }

private:
    virtual const IProperty* getPropertyInternal() const { return nullptr; }

    const IInstance* instance_;
};

#define QEL_PROPERTY_WRAPPER(KIND)                                                                 \
    class KIND##PropertyWrapper : public PropertyWrapper {                                         \
    public:                                                                                        \
        using PropertyWrapper::PropertyWrapper;                                                    \
    }
QEL_PROPERTY_WRAPPER(Integer);
QEL_PROPERTY_WRAPPER(String);
QEL_PROPERTY_WRAPPER(DateTime);
QEL_PROPERTY_WRAPPER(Bookmark);
QEL_PROPERTY_WRAPPER(Reference);
QEL_PROPERTY_WRAPPER(IntegerList);
QEL_PROPERTY_WRAPPER(StringList);
QEL_PROPERTY_WRAPPER(DateTimeList);
QEL_PROPERTY_WRAPPER(BookmarkList);
QEL_PROPERTY_WRAPPER(ReferenceList);
#undef QEL_PROPERTY_WRAPPER

} // namespace QEL

// The model of the documents named by WRAPPERS_CLIENT_ROOTS (folders separated by ':'), read
// after the installation's roots.
const QEL::IMetaModel& getMetaModel();
QEL::IInstance* newInstanceInternal(const QEL::IMetaType* type);
