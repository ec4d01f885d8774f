#pragma once

namespace QEL {

class ICategory;
class IProperty;

// Whatever a walk of a tree can reach: a category or a property.
class IWalkable {
public:
    virtual const ICategory* AsCategory() const { return nullptr; }
    virtual const IProperty* AsProperty() const { return nullptr; }

protected:
    ~IWalkable() = default;
};

} // namespace QEL
