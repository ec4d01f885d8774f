#pragma once

#include "interfaces/iattribute.h"

#include <memory>
#include <string_view>
#include <unordered_map>

namespace QEL {

class CArena;

class CAttribute : public IAttribute {
public:
    explicit CAttribute(const ORLO::String& name) : name_(name) {}

    bool IsInteger() const override { return false; }
    bool IsString() const override { return false; }
    int GetIntegerValue() const override;
    const ORLO::String& GetStringValue() const override;
    const ORLO::String& GetName() const override { return name_; }
    const ElementStatus& GetStatus() const override { return status_; }

    void SetStatus(ElementStatus status) { status_ = status; }

protected:
    void reportMisuse() const;

private:
    ORLO::String name_;
    ElementStatus status_ = EsInactive;
};

class CIntegerAttribute : public CAttribute {
public:
    CIntegerAttribute(const ORLO::String& name, int value) : CAttribute(name), value_(value) {}
    bool IsInteger() const override { return true; }
    int GetIntegerValue() const override { return value_; }

private:
    int value_;
};

class CStringAttribute : public CAttribute {
public:
    CStringAttribute(const ORLO::String& name, const ORLO::String& value)
        : CAttribute(name), value_(value) {}
    bool IsString() const override { return true; }
    const ORLO::String& GetStringValue() const override { return value_; }

private:
    ORLO::String value_;
};

// The attribute store of categories, types and properties. It owns its attributes, or leaves
// them to an arena that outlives it. A second attribute of a name already there hides the
// first from GetAttribute, while both stay listed.
class CAttributedItem : public virtual IAttributedItem {
public:
    CAttributedItem() = default;
    // Copies are deep: each item owns its attributes.
    CAttributedItem(const CAttributedItem& other);
    CAttributedItem& operator=(const CAttributedItem& other);
    ~CAttributedItem() override;

    const AttributeSet& GetAttributes() const override { return attributes_; }
    const IAttribute* GetAttribute(const ORLO::String& name) const override;

    // The caller sets the status of the new attribute.
    CAttribute* AddAttribute(const ORLO::String& name, const ORLO::String& value);
    CAttribute* AddAttribute(const ORLO::String& name, int value);
    // Takes over an attribute made elsewhere; one already listed stays in its place and becomes
    // again the one its name answers.
    void AddAttribute(IAttribute* attribute);
    void AddAttribute(std::unique_ptr<IAttribute> attribute) { AddAttribute(attribute.release()); }

    // From now on attributes are made in `arena` and belong to it; for an item that the arena
    // outlives. A copy of the item owns its attributes again.
    void KeepAttributesIn(CArena* arena) { arena_ = arena; }

private:
    // Beyond this many attributes a name index pays off.
    static constexpr size_t indexFrom = 8;

    void deleteAll();
    void copyFrom(const CAttributedItem& other);

    template <class Made, class... Args> CAttribute* make(Args&&... args);
    // Makes `latest` the attribute its name answers: in the name index, which is made once
    // the item has many attributes, or at once when `always`.
    void index(const IAttribute* latest, bool always = false);

    AttributeSet attributes_;
    CArena* arena_ = nullptr;
    // The latest attribute of each name; made only for items with many attributes, and held by
    // pointer since most items of a large model have one or two.
    using NameIndex = std::unordered_map<std::string_view, const IAttribute*>;
    std::unique_ptr<NameIndex> byName_;
};

} // namespace QEL
