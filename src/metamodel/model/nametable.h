#pragma once

#include "interfaces/positionindex.h"

#include <cstdint>
#include <functional>
#include <string_view>
#include <utility>
#include <vector>

namespace QEL {

inline std::uint32_t hashName(std::string_view name) {
    const std::size_t full = std::hash<std::string_view>()(name);
    return std::uint32_t(full ^ (std::uint64_t(full) >> 32));
}

// Elements by name. The key is a view of the name that the element itself holds, so a table
// costs no copy of any name; an element must keep its name while it is in a table. A second
// element under a name takes over the entry.
template <class Element> class CNameTable {
public:
    void reserve(std::size_t count) {
        entries_.reserve(count);
        index_.reserve(count);
    }

    Element* find(std::string_view name) const {
        const std::uint32_t position = index_.find(
            hashName(name), [&](std::uint32_t at) { return entries_[at].first == name; });
        return position == PositionIndex::none ? nullptr : entries_[position].second;
    }
    bool contains(std::string_view name) const { return find(name) != nullptr; }

    // `name` must be the element's own, lasting name.
    void assign(std::string_view name, Element* element) {
        const std::uint32_t hash = hashName(name);
        const std::uint32_t position =
            index_.find(hash, [&](std::uint32_t at) { return entries_[at].first == name; });
        if (position != PositionIndex::none) {
            entries_[position] = {name, element};
            return;
        }
        index_.add(hash, std::uint32_t(entries_.size()));
        entries_.emplace_back(name, element);
    }

    std::size_t memoryUsed() const {
        return entries_.capacity() * sizeof(entries_[0]) + index_.memoryUsed();
    }

private:
    std::vector<std::pair<std::string_view, Element*>> entries_;
    PositionIndex index_;
};

} // namespace QEL
