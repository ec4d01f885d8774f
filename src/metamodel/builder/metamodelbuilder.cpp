#include "metamodel/builder/metamodelbuilder.h"

#include "metamodel/model/metamodel.h"
#include "metamodel/model/propertyclassifiers.h"
#include "metamodel/model/propertytype.h"

#include <algorithm>
#include <utility>

namespace MetaModel {

namespace {

// An element under an owner is as weak as the weaker of the two.
QEL::ElementStatus effectiveStatus(QEL::ElementStatus owner, QEL::ElementStatus own) {
    return std::max(owner, own);
}

bool isPrimitiveType(const String& type) {
    return type == QEL::IntegerWord || type == QEL::StringWord || type == QEL::DateTimeWord ||
           type == QEL::BookmarkWord || type == QEL::ReferenceWord;
}

// Walks a pending list in order of arrival, then empties it.
template <class Record, class Link>
void linkAll(QELCollections::mfcList<Record>& pending, const Link& link) {
    {
        CppLanguage::CDeletableAutoPtr<QELCollections::IEnumerator<Record>> walk(
            pending.GetEnumerator());
        for (; walk->HasCurrent(); walk->Next())
            link(walk->GetCurrent());
    }
    pending.Clear();
}

} // namespace

CMetaModelBuilder::CMetaModelBuilder() : model_(std::make_unique<QEL::CMetaModel>()) {}

CMetaModelBuilder::CMetaModelBuilder(const CMetaModelBuilder& other)
    : CMetaModelEvents(other), model_(std::make_unique<QEL::CMetaModel>()) {}

CMetaModelBuilder& CMetaModelBuilder::operator=(const CMetaModelBuilder& other) {
    if (this != &other) {
        CMetaModelEvents::operator=(other);
        model_ = std::make_unique<QEL::CMetaModel>();
        currentCategory_ = nullptr;
        currentProperty_ = nullptr;
        pendingInheritance_.Clear();
        pendingTrees_.Clear();
        pendingReferences_.Clear();
    }
    return *this;
}

CMetaModelBuilder::~CMetaModelBuilder() = default;

bool CMetaModelBuilder::invariant() const {
    if (!CMetaModelEvents::invariant() || !model_)
        return false;
    return IsStarted() || (pendingInheritance_.IsEmpty() && pendingTrees_.IsEmpty() &&
                           pendingReferences_.IsEmpty());
}

QEL::IMetaModel* CMetaModelBuilder::GetResult() const {
    return model_.get();
}

QEL::IMetaModel* CMetaModelBuilder::DetachMetaModel() {
    auto fresh = std::make_unique<QEL::CMetaModel>();
    currentCategory_ = nullptr;
    currentProperty_ = nullptr;
    return std::exchange(model_, std::move(fresh)).release();
}

void CMetaModelBuilder::declare(QEL::CCategory& element, bool partial, const String& description,
                                int id, const ElementStatus& status) {
    currentCategory_ = &element;
    if (partial)
        return;
    model_->CategoryGroup().AddLasting(element.EnterName(), id);
    element.SetId(id);
    element.SetDescription(description);
    element.SetStatus(status);
}

void CMetaModelBuilder::OnStartCategory(const String& name, bool partial, const String& description,
                                        int id, const ElementStatus& status) {
    if (status == EsInactive)
        return;
    // A type of that name is found here too and goes on as the element.
    QEL::CCategory* category = model_->FindCategory(name);
    declare(category ? *category : *model_->AddCategory(name), partial, description, id, status);
}

void CMetaModelBuilder::OnStartType(const String& name, bool partial, const String& description,
                                    int id, const ElementStatus& status) {
    if (status == EsInactive)
        return;
    // Only an existing type is taken up: a plain category of that name makes way for a new
    // type, and stays in the model unreachable by name.
    QEL::CMetaType* type = model_->FindMetaType(name);
    declare(type ? *type : *model_->AddType(name), partial, description, id, status);
}

void CMetaModelBuilder::OnEndCategory(bool) {
    currentCategory_ = nullptr;
}

void CMetaModelBuilder::OnEndType(bool) {
    currentCategory_ = nullptr;
}

void CMetaModelBuilder::OnStartProperty(const String& name, const String& description,
                                        const String& type, const int& minimalCardinality,
                                        const int& maximalCardinality, const String& merge, int id,
                                        const ElementStatus& status) {
    if (status == EsInactive || !currentCategory_)
        return;
    const bool primitive = isPrimitiveType(type);
    String typeText = primitive ? type : QEL::ReferenceWord;
    if (maximalCardinality == -1 || maximalCardinality >= 2)
        typeText += "List";
    const String& owner = currentCategory_->GetName();
    String fullName;
    fullName.reserve(owner.size() + 1 + name.size());
    fullName.append(owner).append(1, '.').append(name);
    currentProperty_ = model_->AddProperty(name, std::move(fullName), description, typeText, merge,
                                           id, minimalCardinality, maximalCardinality);
    currentProperty_->SetCategory(currentCategory_);
    currentProperty_->SetStatus(effectiveStatus(currentCategory_->GetStatus(), status));
    currentCategory_->AddProperty(currentProperty_);
    // A type named by a category points at it; the bare word "reference" names no target.
    if (!primitive)
        if (QEL::CReferencePropertyType* carrier = currentProperty_->GetType()->GetTargetCarrier())
            pendingReferences_.InsertLast(STypedReference{carrier, type});
}

void CMetaModelBuilder::OnEndProperty() {
    currentProperty_ = nullptr;
}

template <class Value>
void CMetaModelBuilder::attach(const String& name, const Value& value,
                               const ElementStatus& status) {
    if (status == EsInactive)
        return;
    if (IsInProperty()) {
        if (currentProperty_)
            currentProperty_->AddAttribute(name, value)
                ->SetStatus(effectiveStatus(currentProperty_->GetStatus(), status));
    } else if (IsInType() || IsInCategory()) {
        if (currentCategory_)
            currentCategory_->AddAttribute(name, value)
                ->SetStatus(effectiveStatus(currentCategory_->GetStatus(), status));
    }
}

void CMetaModelBuilder::OnAttribute(const String& name, int value, const ElementStatus& status) {
    attach(name, value, status);
}

void CMetaModelBuilder::OnAttribute(const String& name, const String& value,
                                    const ElementStatus& status) {
    attach(name, value, status);
}

void CMetaModelBuilder::OnInheritedCategory(const String& name, const ElementStatus& status) {
    if (status != EsInactive && currentCategory_)
        pendingInheritance_.InsertLast(SInheritance{currentCategory_, name});
}

void CMetaModelBuilder::OnTree(const String& parentType, const String& treeCategory,
                               const ElementStatus& status) {
    // A tree link means something only in a type.
    if (status == EsInactive || !IsInType() || !currentCategory_)
        return;
    pendingTrees_.InsertLast(
        STree{static_cast<QEL::CMetaType*>(currentCategory_), treeCategory, parentType});
}

void CMetaModelBuilder::OnEnd() {
    QEL::CMetaModel& model = *model_;
    linkAll(pendingInheritance_, [&model](const SInheritance& link) {
        const QEL::ICategory* parent = model.GetCategory(link.parentName, false);
        if (link.child && parent)
            link.child->AddInheritedCategory(parent);
    });
    linkAll(pendingTrees_, [&model](const STree& link) {
        const QEL::CMetaType* parent = model.FindMetaType(link.parentTypeName);
        const QEL::CCategory* tree = model.FindCategory(link.treeCategoryName);
        if (link.child && parent && tree)
            QEL::CMetaType::AddTreeData(tree, parent, link.child);
    });
    linkAll(pendingReferences_, [&model](const STypedReference& link) {
        const QEL::ICategory* target = model.GetCategory(link.targetName, false);
        if (link.type && target)
            link.type->SetReferencedCategory(target);
    });
    model.FinishBuilding();
    currentCategory_ = nullptr;
    currentProperty_ = nullptr;
}

} // namespace MetaModel
