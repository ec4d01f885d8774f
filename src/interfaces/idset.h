#pragma once

#include "interfaces/positionindex.h"

#include <cstdint>
#include <vector>

namespace QEL {

// A hash for PositionIndex. Ids of a schema come in dense runs, numbered by document, and
// are mostly added and sought in that order: sixteen neighbouring ids keep neighbouring slots,
// so that a run walks through the index instead of missing the cache once per id, while the
// rest of the id is mixed so that the runs spread.
inline std::uint32_t hashId(int id) {
    const auto bits = std::uint32_t(id);
    const auto run = std::uint32_t((std::uint64_t(bits >> 4) * 0x9E3779B97F4A7C15ULL) >> 32);
    return (run << 4) | (bits & 15);
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
