#pragma once

#include "interfaces/iproperty.h"
#include "metamodel/model/attribute.h"
#include "metamodel/model/lastingname.h"

#include <memory>
#include <utility>

namespace QEL {

class CPropertyType;

// One declaration of a value slot of a category. The model creates it with everything but its
// category and status, which the builder sets.
class CProperty : public IProperty, public CAttributedItem {
public:
    CProperty() = default;
    // A copy shares the type object with its source.
    CProperty(const CProperty& other) = default;
    CProperty& operator=(const CProperty& other) = default;
    ~CProperty() override = default;

    const ORLO::String& GetName() const override { return name_.get(); }
    const ORLO::String& GetShortName() const override { return shortName_; }
    const ORLO::String& GetDescription() const override { return description_; }
    const ElementStatus& GetStatus() const override { return status_; }
    int GetId() const override { return id_; }
    int GetLocalId() const override { return localId_; }
    const IPropertyType* GetPropertyType() const override;
    int GetMerge() const override { return merge_; }
    bool IsTransient() const override;
    bool IsIndexed() const override;
    const ICategory* GetCategory() const override { return category_; }
    virtual bool invariant() const { return true; }

    void SetName(ORLO::String name) { name_.set(std::move(name)); }
    // The name to enter in the model's tables; see LastingName.
    const ORLO::String& EnterName() { return name_.enter(); }
    void SetShortName(const ORLO::String& shortName) { shortName_ = shortName; }
    void SetDescription(const ORLO::String& description) { description_ = description; }
    void SetId(int id) { id_ = id; }
    void SetLocalId(int localId) { localId_ = localId; }
    void SetStatus(ElementStatus status) { status_ = status; }
    void SetMerge(int merge) { merge_ = merge; }
    // The property owns the type from now on; its copies share it.
    void SetType(const IPropertyType* type);
    // A type that outlives the property and its copies, such as one that its model holds.
    void SetLastingType(CPropertyType* type);
    void SetCategory(const ICategory* category) { category_ = category; }

    // The builder links reference targets through this.
    CPropertyType* GetType() { return ownType_; }

private:
    int id_ = int(0x80000000u);
    LastingName name_;
    ORLO::String shortName_;
    ORLO::String description_;
    ElementStatus status_ = EsInactive;
    std::shared_ptr<const IPropertyType> type_;
    // The same object where it is one of this library's types, which the builder completes.
    CPropertyType* ownType_ = nullptr;
    int merge_ = 0;
    const ICategory* category_ = nullptr;
};

} // namespace QEL
