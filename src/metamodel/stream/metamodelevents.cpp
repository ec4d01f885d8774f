#include "metamodel/stream/metamodelevents.h"

namespace MetaModel {

bool CMetaModelEvents::invariant() const {
    if (inProperty_ && !inType_ && !inCategory_)
        return false;
    if ((inType_ || inCategory_) && !started_)
        return false;
    if (inType_ && inCategory_)
        return false;
    if (partial_ && !inType_ && !inCategory_)
        return false;
    return true;
}

void CMetaModelEvents::Start() {
    OnStart();
    started_ = true;
}

void CMetaModelEvents::End() {
    OnEnd();
    started_ = false;
}

void CMetaModelEvents::StartCategory(const String& name, bool partial, const String& description,
                                     int id, const ElementStatus& status) {
    inCategory_ = true;
    partial_ = partial;
    OnStartCategory(name, partial, description, id, status);
}

void CMetaModelEvents::EndCategory(bool partial) {
    OnEndCategory(partial);
    inCategory_ = false;
    partial_ = false;
}

void CMetaModelEvents::StartType(const String& name, bool partial, const String& description,
                                 int id, const ElementStatus& status) {
    inType_ = true;
    partial_ = partial;
    OnStartType(name, partial, description, id, status);
}

void CMetaModelEvents::EndType(bool partial) {
    OnEndType(partial);
    inType_ = false;
    partial_ = false;
}

void CMetaModelEvents::StartProperty(const String& name, const String& description,
                                     const String& type, const int& minimalCardinality,
                                     const int& maximalCardinality, const String& merge, int id,
                                     const ElementStatus& status) {
    OnStartProperty(name, description, type, minimalCardinality, maximalCardinality, merge, id,
                    status);
    inProperty_ = true;
}

void CMetaModelEvents::EndProperty() {
    OnEndProperty();
    inProperty_ = false;
}

void CMetaModelEvents::Attribute(const String& name, int value, const ElementStatus& status) {
    OnAttribute(name, value, status);
}

void CMetaModelEvents::Attribute(const String& name, const String& value,
                                 const ElementStatus& status) {
    OnAttribute(name, value, status);
}

void CMetaModelEvents::InheritedCategory(const String& name, const ElementStatus& status) {
    OnInheritedCategory(name, status);
}

void CMetaModelEvents::Tree(const String& parentType, const String& treeCategory,
                            const ElementStatus& status) {
    OnTree(parentType, treeCategory, status);
}

void CMetaModelEvents::SetSource(const String& source) {
    if (&source != &source_)
        source_ = source;
}

} // namespace MetaModel
