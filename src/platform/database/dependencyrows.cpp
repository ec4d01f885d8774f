#include "platform/database/dependencyrows.h"

#include <algorithm>

namespace TABLINK {

namespace {

constexpr std::uint32_t noNode = ~std::uint32_t(0);

} // namespace

std::uint32_t CDependencyRows::nodeOf(Id id) const {
    const auto found = std::lower_bound(ids_.begin(), ids_.end(), id);
    return found != ids_.end() && *found == id ? std::uint32_t(found - ids_.begin()) : noNode;
}

void CDependencyRows::prepare() {
    std::sort(categoryLinks_.begin(), categoryLinks_.end());
    categoryLinks_.erase(std::unique(categoryLinks_.begin(), categoryLinks_.end()),
                         categoryLinks_.end());
    // Grouped by type; the order within a type does not matter.
    std::stable_sort(typeLinks_.begin(), typeLinks_.end(),
                     [](const TypeLink& a, const TypeLink& b) { return a.type < b.type; });

    ids_.clear();
    for (const auto& [category, parent] : categoryLinks_) {
        ids_.push_back(category);
        ids_.push_back(parent);
    }
    std::sort(ids_.begin(), ids_.end());
    ids_.erase(std::unique(ids_.begin(), ids_.end()), ids_.end());

    first_.assign(ids_.size() + 1, 0);
    parents_.resize(categoryLinks_.size());
    for (const auto& link : categoryLinks_)
        ++first_[nodeOf(link.first) + 1];
    for (std::size_t node = 0; node < ids_.size(); ++node)
        first_[node + 1] += first_[node];
    // The links are sorted by category, so each node's parents arrive in one run.
    for (std::size_t at = 0; at < categoryLinks_.size(); ++at)
        parents_[at] = nodeOf(categoryLinks_[at].second);

    seen_.assign(ids_.size(), 0);
    direct_.assign(ids_.size(), 0);
    stamp_ = 0;
}

void CDependencyRows::reach(std::size_t begin, std::size_t end) {
    ++stamp_;
    reached_.clear();
    for (std::size_t at = begin; at < end; ++at) {
        const std::uint32_t node = nodeOf(typeLinks_[at].parent);
        if (node != noNode)
            direct_[node] = stamp_;
    }
    // Reached means through one link or more: a direct parent counts only when a circuit
    // leads back to it, and is then left out all the same as a direct link.
    for (std::size_t at = begin; at < end; ++at) {
        const std::uint32_t start = nodeOf(typeLinks_[at].parent);
        if (start == noNode || !typeLinks_[at].inherited)
            continue;
        const std::size_t from = reached_.size();
        for (std::uint32_t link = first_[start]; link < first_[start + 1]; ++link)
            if (seen_[parents_[link]] != stamp_) {
                seen_[parents_[link]] = stamp_;
                reached_.push_back(parents_[link]);
            }
        for (std::size_t next = from; next < reached_.size(); ++next) {
            const std::uint32_t node = reached_[next];
            for (std::uint32_t link = first_[node]; link < first_[node + 1]; ++link)
                if (seen_[parents_[link]] != stamp_) {
                    seen_[parents_[link]] = stamp_;
                    reached_.push_back(parents_[link]);
                }
        }
    }
}

} // namespace TABLINK
