#pragma once

namespace QEL {

class ICategory;
class IPropertyTypeVisitor;

// The value kind of a property with its cardinalities. Kinds: 0 integer, 1 string, 2 dateTime,
// 3 bookmark, 4 reference, and 5 to 9 the lists of these in the same order.
class IPropertyType {
public:
    virtual ~IPropertyType() = default;
    virtual bool IsInteger() const = 0;
    virtual bool IsString() const = 0;
    virtual bool IsDateTime() const = 0;
    virtual bool IsBookmark() const = 0;
    virtual bool IsReference() const = 0;
    virtual bool IsIntegerList() const = 0;
    virtual bool IsStringList() const = 0;
    virtual bool IsDateTimeList() const = 0;
    virtual bool IsBookmarkList() const = 0;
    virtual bool IsReferenceList() const = 0;
    virtual int GetKind() const = 0;
    virtual bool IsList() const = 0;
    virtual int GetMinimalCardinality() const = 0;
    // -1 means unbounded.
    virtual int GetMaximalCardinality() const = 0;
    // The target of a reference or of a list of references, else null.
    virtual const ICategory* GetReferencedCategory() const = 0;
    // A list reaches the visitor once, as a list; its element type accepts on its own.
    virtual void Accept(IPropertyTypeVisitor& visitor) const = 0;
};

} // namespace QEL
