#pragma once

#include <bit>
#include <cstdint>
#include <unordered_map>
#include <vector>

namespace QEL {

class ICategory;
class IProperty;

// The closures of a finished model and its two membership tables: for each category (a row),
// its closed set of categories (itself first, then what each parent brings in turn), and the
// position of every ancestor among them and of every property among its properties, -1 for a
// non-member. Positions are 16 bits wide and wrap there, as the numbering of a dense table
// would.
//
// A schema with deep inheritance gives each category thousands of ancestors, so nothing here
// costs more than a few bytes per ancestor, and no list of pointers is held: a category asks
// for its list (ListMembers) only when someone iterates it. A row keeps its members as a set
// of category columns (local ids): a bitset where the row is dense enough for that to be
// smaller, else a sorted array. Beside each member, in column order, stand its position and
// where its block of properties starts: a category's properties come as one block per
// ancestor, in the order of its categories, so a property's position is where the block of its
// declaring category starts in that row plus its place among that category's own properties.
// The rare rows that the block rule cannot describe, those that reach a property declared by
// two categories, keep their property positions in a hash map; the rarer rows that hold a
// category of another model, or more members than a position can tell, keep their list.
class CIndexTables {
public:
    CIndexTables() = default;
    // Both by local id. Closes every category over its parents (GetLocalCategories); the
    // categories of another model that they inherit must be finished.
    CIndexTables(const std::vector<const ICategory*>& categories,
                 const std::vector<const IProperty*>& properties);

    bool HasRow(int row) const { return unsigned(row) < unsigned(rows_.size()); }
    int CategoryIndex(int row, int column) const {
        return unsigned(row) < unsigned(rows_.size()) ? OwnCategoryIndex(row, column) : -1;
    }
    int PropertyIndex(int row, int property) const {
        return unsigned(row) < unsigned(rows_.size()) ? OwnPropertyIndex(row, property) : -1;
    }
    // The same for a row known to be in the tables, such as a category's own: the membership
    // tests of inner loops are a read or two shorter without the check.
    int OwnCategoryIndex(int row, int column) const {
        const Slot* slot = find(rows_[std::size_t(row)], column);
        return slot ? slot->position : -1;
    }
    int OwnPropertyIndex(int row, int property) const {
        if (unsigned(property) >= unsigned(homes_.size()))
            return -1;
        if (anyIrregular_ && irregular_[std::size_t(row)])
            return irregularIndex(row, property);
        const Home home = homes_[std::size_t(property)];
        if (home.category < 0)
            return -1;
        const Slot* slot = find(rows_[std::size_t(row)], home.category);
        return slot ? std::int16_t(slot->blockStart + home.offset) : -1;
    }

    // Number of categories in the closed set of a row, the row's own category included.
    int MemberCount(int row) const { return int(rows_[std::size_t(row)].total); }
    // The closed set of a row, in its order.
    std::vector<const ICategory*> ListMembers(int row) const;

    // Bytes held, for the benchmarks.
    std::size_t MemoryUsed() const;

private:
    // Home categories of a property that no category declares, or that several do.
    static constexpr int noHome = -1;
    static constexpr int sharedHome = -2;

    struct Home {
        int category = noHome;
        int offset = 0;
    };
    // One member of a row. The block start is kept modulo 2^16, which is all that the wrapped
    // positions need.
    struct Slot {
        std::int16_t position = -1;
        std::uint16_t blockStart = 0;
    };
    // Slots stand in ascending column order. A dense row answers membership from `words` and
    // the rank of a member from `ranks` (members before each word); a sparse one from its
    // sorted `columns`.
    struct Row {
        std::vector<Slot> slots;
        std::vector<std::uint32_t> columns;
        std::vector<std::uint64_t> words;
        std::vector<std::uint32_t> ranks;
        std::uint32_t total = 0;
    };

    const Slot* find(const Row& row, int column) const {
        const auto at = std::uint32_t(column);
        if (!row.words.empty()) {
            const std::size_t word = at >> 6;
            if (word >= row.words.size())
                return nullptr;
            const std::uint64_t bits = row.words[word];
            const std::uint64_t bit = std::uint64_t(1) << (at & 63);
            if (!(bits & bit))
                return nullptr;
            return &row.slots[row.ranks[word] + std::uint32_t(std::popcount(bits & (bit - 1)))];
        }
        // Sparse rows are short: a few dozen members at most in a large model.
        std::size_t low = 0;
        std::size_t high = row.columns.size();
        while (low < high) {
            const std::size_t middle = (low + high) / 2;
            if (row.columns[middle] < at)
                low = middle + 1;
            else
                high = middle;
        }
        return low < row.columns.size() && row.columns[low] == at ? &row.slots[low] : nullptr;
    }
    void findHomes(const std::vector<const ICategory*>& categories,
                   const std::vector<const IProperty*>& properties);
    int irregularIndex(int row, int property) const;

    class Closer;

    std::vector<Row> rows_;
    std::vector<Home> homes_;
    // Categories that declare a property that another one declares too.
    std::vector<bool> declaresShared_;
    // Rows that keep their property positions in irregularRows_; most models have none.
    bool anyIrregular_ = false;
    std::vector<std::uint8_t> irregular_;
    std::unordered_map<int, std::unordered_map<int, std::int16_t>> irregularRows_;
    // Rows whose list cannot be told from their slots.
    std::unordered_map<int, std::vector<const ICategory*>> keptLists_;
    // For ListMembers.
    std::vector<const ICategory*> categories_;
};

} // namespace QEL
