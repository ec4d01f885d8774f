#pragma once

#include "metamodel/stream/metamodelevents.h"
#include "qelcollections/mfclist.h"

#include <memory>

namespace QEL {
class CCategory;
class CMetaModel;
class CMetaType;
class CProperty;
class CReferencePropertyType;
class IMetaModel;
} // namespace QEL

namespace MetaModel {

// A parent named by a category, linked once the stream has named every category.
struct SInheritance {
    QEL::CCategory* child = nullptr;
    String parentName;
    bool operator==(const SInheritance&) const = default;
};

// A type's parent in a tree.
struct STree {
    QEL::CMetaType* child = nullptr;
    String treeCategoryName;
    String parentTypeName;
    bool operator==(const STree&) const = default;
};

// The target of a reference; for a list, the element type carries it.
struct STypedReference {
    QEL::CReferencePropertyType* type = nullptr;
    String targetName;
    bool operator==(const STypedReference&) const = default;
};

// The sink that turns a stream into a model. Names in a stream are forward references, and a
// category may come in pieces across documents: so objects are made at once, links are noted
// by name, and the links are made in OnEnd, when every name has been seen. It validates
// nothing; a name that resolves to nothing leaves its link out.
class CMetaModelBuilder : public CMetaModelEvents {
public:
    CMetaModelBuilder();
    // A builder owns its model, and its pending links point into it: a copy stands at the same
    // stream position with a fresh, empty model of its own and nothing pending, which is an
    // exact copy of a builder not in use.
    CMetaModelBuilder(const CMetaModelBuilder& other);
    CMetaModelBuilder& operator=(const CMetaModelBuilder& other);
    // A move takes the model and what is pending along; the model stays where it is, so the
    // pending links stay good.
    CMetaModelBuilder(CMetaModelBuilder&& other) noexcept = default;
    CMetaModelBuilder& operator=(CMetaModelBuilder&& other) noexcept = default;
    ~CMetaModelBuilder() override;

    bool invariant() const override;

    // The model as it stands; it stays the builder's.
    QEL::IMetaModel* GetResult() const;
    // Hands the model over, to be given up with Release, and starts a fresh one.
    QEL::IMetaModel* DetachMetaModel();

protected:
    void OnEnd() override;
    void OnStartCategory(const String& name, bool partial, const String& description, int id,
                         const ElementStatus& status) override;
    void OnEndCategory(bool partial) override;
    void OnStartType(const String& name, bool partial, const String& description, int id,
                     const ElementStatus& status) override;
    void OnEndType(bool partial) override;
    void OnStartProperty(const String& name, const String& description, const String& type,
                         const int& minimalCardinality, const int& maximalCardinality,
                         const String& merge, int id, const ElementStatus& status) override;
    void OnEndProperty() override;
    void OnAttribute(const String& name, int value, const ElementStatus& status) override;
    void OnAttribute(const String& name, const String& value, const ElementStatus& status) override;
    void OnInheritedCategory(const String& name, const ElementStatus& status) override;
    void OnTree(const String& parentType, const String& treeCategory,
                const ElementStatus& status) override;

private:
    // A full declaration sets what it says on the element; a partial one only opens it.
    void declare(QEL::CCategory& element, bool partial, const String& description, int id,
                 const ElementStatus& status);
    template <class Value>
    void attach(const String& name, const Value& value, const ElementStatus& status);

    std::unique_ptr<QEL::CMetaModel> model_;
    QEL::CCategory* currentCategory_ = nullptr;
    QEL::CProperty* currentProperty_ = nullptr;
    QELCollections::mfcList<SInheritance> pendingInheritance_;
    QELCollections::mfcList<STree> pendingTrees_;
    QELCollections::mfcList<STypedReference> pendingReferences_;
};

} // namespace MetaModel
