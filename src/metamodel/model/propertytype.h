#pragma once

#include "interfaces/ipropertytype.h"

#include <memory>

namespace QEL {

class CListPropertyType;
class CIntegerPropertyType;
class CStringPropertyType;
class CDateTimePropertyType;
class CBookmarkPropertyType;
class CReferencePropertyType;

// One operation per family of types. A list arrives as a list whatever its element is: a
// visitor that cares passes itself on to the element type.
class IPropertyTypeVisitor {
public:
    virtual void Visit(const CListPropertyType& type) = 0;
    virtual void Visit(const CBookmarkPropertyType& type) = 0;
    virtual void Visit(const CReferencePropertyType& type) = 0;
    virtual void Visit(const CDateTimePropertyType& type) = 0;
    virtual void Visit(const CStringPropertyType& type) = 0;
    virtual void Visit(const CIntegerPropertyType& type) = 0;

protected:
    ~IPropertyTypeVisitor() = default;
};

enum PropertyKind {
    KindInteger = 0,
    KindString,
    KindDateTime,
    KindBookmark,
    KindReference,
    KindIntegerList,
    KindStringList,
    KindDateTimeList,
    KindBookmarkList,
    KindReferenceList,
};

class CPropertyType : public IPropertyType {
public:
    explicit CPropertyType(int kind) : kind_(kind) {}

    bool IsInteger() const override { return kind_ == KindInteger; }
    bool IsString() const override { return kind_ == KindString; }
    bool IsDateTime() const override { return kind_ == KindDateTime; }
    bool IsBookmark() const override { return kind_ == KindBookmark; }
    bool IsReference() const override { return kind_ == KindReference; }
    bool IsIntegerList() const override { return kind_ == KindIntegerList; }
    bool IsStringList() const override { return kind_ == KindStringList; }
    bool IsDateTimeList() const override { return kind_ == KindDateTimeList; }
    bool IsBookmarkList() const override { return kind_ == KindBookmarkList; }
    bool IsReferenceList() const override { return kind_ == KindReferenceList; }
    int GetKind() const override { return kind_; }
    int GetMinimalCardinality() const override { return minimalCardinality_; }
    int GetMaximalCardinality() const override { return maximalCardinality_; }

    void SetMinimalCardinality(int cardinality) { minimalCardinality_ = cardinality; }
    void SetMaximalCardinality(int cardinality) { maximalCardinality_ = cardinality; }

    // The reference type that carries the target: this one, or a list's element; else null.
    virtual CReferencePropertyType* GetTargetCarrier() { return nullptr; }

private:
    int kind_;
    int minimalCardinality_ = 0;
    int maximalCardinality_ = 0;
};

class CAtomicPropertyType : public CPropertyType {
public:
    using CPropertyType::CPropertyType;
    bool IsList() const override { return false; }
    const ICategory* GetReferencedCategory() const override { return nullptr; }
};

// The list's own cardinalities are the ones that count; the element's are never set.
class CListPropertyType : public CPropertyType {
public:
    CListPropertyType(int kind, std::unique_ptr<CPropertyType> element)
        : CPropertyType(kind), ownedElement_(std::move(element)), element_(ownedElement_.get()) {}

    bool IsList() const override { return true; }
    const ICategory* GetReferencedCategory() const override {
        return element_->GetReferencedCategory();
    }
    void Accept(IPropertyTypeVisitor& visitor) const override { visitor.Visit(*this); }
    CReferencePropertyType* GetTargetCarrier() override { return element_->GetTargetCarrier(); }

    const CPropertyType& GetElementType() const { return *element_; }

protected:
    // For an element that the derived list holds itself, which saves an allocation per list.
    CListPropertyType(int kind, CPropertyType& element) : CPropertyType(kind), element_(&element) {}

private:
    std::unique_ptr<CPropertyType> ownedElement_;
    CPropertyType* element_;
};

// Each concrete type passes itself to the visitor as what it is.
template <class Self, int Kind> class CVisitedAtomicType : public CAtomicPropertyType {
public:
    CVisitedAtomicType() : CAtomicPropertyType(Kind) {}
    void Accept(IPropertyTypeVisitor& visitor) const override {
        visitor.Visit(static_cast<const Self&>(*this));
    }
};

class CIntegerPropertyType : public CVisitedAtomicType<CIntegerPropertyType, KindInteger> {};
class CStringPropertyType : public CVisitedAtomicType<CStringPropertyType, KindString> {};
class CDateTimePropertyType : public CVisitedAtomicType<CDateTimePropertyType, KindDateTime> {};
class CBookmarkPropertyType : public CVisitedAtomicType<CBookmarkPropertyType, KindBookmark> {};

class CReferencePropertyType : public CVisitedAtomicType<CReferencePropertyType, KindReference> {
public:
    const ICategory* GetReferencedCategory() const override { return target_; }
    CReferencePropertyType* GetTargetCarrier() override { return this; }
    // Set once the stream has named every category.
    void SetReferencedCategory(const ICategory* target) { target_ = target; }

private:
    const ICategory* target_ = nullptr;
};

template <class Element, int Kind> class CTypedListPropertyType : public CListPropertyType {
public:
    // The base keeps only the address of the element, which is built right after it.
    CTypedListPropertyType() : CListPropertyType(Kind, element_) {}

private:
    Element element_;
};

using CIntegerListPropertyType = CTypedListPropertyType<CIntegerPropertyType, KindIntegerList>;
using CStringListPropertyType = CTypedListPropertyType<CStringPropertyType, KindStringList>;
using CDateTimeListPropertyType = CTypedListPropertyType<CDateTimePropertyType, KindDateTimeList>;
using CBookmarkListPropertyType = CTypedListPropertyType<CBookmarkPropertyType, KindBookmarkList>;
using CReferenceListPropertyType =
    CTypedListPropertyType<CReferencePropertyType, KindReferenceList>;

} // namespace QEL
