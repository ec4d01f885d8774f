#pragma once

#include "interfaces/positionindex.h"

#include <cstdint>
#include <vector>

namespace QEL {

// Mixes an id into a hash that PositionIndex can use: ids of a schema are dense runs, which
// would cluster without it.
inline std::uint32_t hashId(int id) {
    return std::uint32_t((std::uint64_t(std::uint32_t(id)) * 0x9E3779B97F4A7C15ULL) >> 32);
}

// A set of ids in two flat arrays: the ids in arrival order and an open-addressing index over
// them. Every id is a valid member, the id that means "none" included.
class IdSet {
public:
    // Answers false, and changes nothing, when the id is there already.
    bool insert(int id) {
        const std::uint32_t hash = hashId(id);
        if (find(hash, id))
            return false;
        index_.add(hash, std::uint32_t(ids_.size()));
        ids_.push_back(id);
        return true;
    }
    bool contains(int id) const { return find(hashId(id), id); }
    std::size_t size() const { return ids_.size(); }

private:
    bool find(std::uint32_t hash, int id) const {
        return index_.find(hash, [&](std::uint32_t at) { return ids_[at] == id; }) !=
               PositionIndex::none;
    }

    std::vector<int> ids_;
    PositionIndex index_;
};

} // namespace QEL
