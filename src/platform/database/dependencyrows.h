#pragma once

#include <cstdint>
#include <utility>
#include <vector>

namespace TABLINK {

// The categories that each type reaches through inheritance beyond its direct links, worked
// out from the link rows themselves, by id, as the repository's dependency procedure does:
// whatever a category row inherits is followed, circuits and unresolved ids included, and a
// pair that the type already has a link for is left out. Only the graph of the category links
// is held; the pairs are handed over one by one, so that a schema whose types reach thousands
// of categories never has them all in memory.
class CDependencyRows {
public:
    using Id = std::int64_t;

    void AddCategoryLink(Id category, Id parent) { categoryLinks_.emplace_back(category, parent); }
    // `inherited`: the type inherits the parent directly, and what the parent reaches counts;
    // otherwise the row only says that the type has a link to it already.
    void AddTypeLink(Id type, Id parent, bool inherited = true) {
        typeLinks_.push_back({type, parent, inherited});
    }

    // Calls visit(type, category) once for every pair to add, type by type.
    template <class Visit> void ForEachRow(Visit visit) {
        prepare();
        for (std::size_t begin = 0; begin < typeLinks_.size();) {
            const Id type = typeLinks_[begin].type;
            std::size_t end = begin;
            while (end < typeLinks_.size() && typeLinks_[end].type == type)
                ++end;
            reach(begin, end);
            for (const std::uint32_t node : reached_)
                if (direct_[node] != stamp_)
                    visit(type, ids_[node]);
            begin = end;
        }
    }

private:
    struct TypeLink {
        Id type;
        Id parent;
        bool inherited;
    };

    void prepare();
    // Marks the parents of the links [begin, end) of one type in direct_, and lists in
    // reached_ what the category links of the inherited ones reach.
    void reach(std::size_t begin, std::size_t end);
    std::uint32_t nodeOf(Id id) const;

    std::vector<std::pair<Id, Id>> categoryLinks_;
    std::vector<TypeLink> typeLinks_;
    // The ids that occur in category links, sorted; a node is a place in it.
    std::vector<Id> ids_;
    // The parents of node n are parents_[first_[n], first_[n + 1]).
    std::vector<std::uint32_t> first_;
    std::vector<std::uint32_t> parents_;
    std::vector<std::uint32_t> seen_;
    std::vector<std::uint32_t> direct_;
    std::uint32_t stamp_ = 0;
    std::vector<std::uint32_t> reached_;
};

} // namespace TABLINK
