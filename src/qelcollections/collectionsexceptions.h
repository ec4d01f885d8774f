#pragma once

#include "cpplanguage/exceptions.h"

#include <cstdint>

namespace QELCollections {

// The list adaptors raise without a message record, so their failures carry a fixed origin
// instead of the throw site.
class CollectionException : public CppLanguage::CRuntimeException {
public:
    explicit CollectionException(const ORLO::String& message)
        : CRuntimeException(originFile, originLine, "UNKNOWN DATE", "UNKNOWN TIME", message) {}

    static constexpr const char* originFile = "qelcollections/collectionsexceptions.h";
    static constexpr int originLine = 16;
};

class EmptyListException : public CollectionException {
public:
    EmptyListException() : CollectionException("invalid access to empty list element") {}
};

class NoCurrentElementException : public CollectionException {
public:
    NoCurrentElementException() : CollectionException("no current element") {}
};

class NoSuchIndexException : public CollectionException {
public:
    explicit NoSuchIndexException(std::uint32_t index)
        : CollectionException("no such index"), index(index) {}

    std::uint32_t GetIndex() const { return index; }

private:
    std::uint32_t index;
};

} // namespace QELCollections
