#pragma once

#include <cstdint>
#include <unordered_map>
#include <vector>

namespace QEL {

class ICategory;
class IProperty;

// The two membership tables of a finished model: for each category (a row), the position of
// every ancestor among its categories and of every property among its properties, -1 for a
// non-member. Positions are 16 bits wide and wrap there, as the numbering of a dense table
// would.
//
// Dense rows would cost two bytes per pair of categories and per category and property, which
// is gigabytes for a large schema, and even pages of columns stay mostly empty, since a
// category has a few dozen ancestors scattered among thousands. So each row is a small
// open-addressing hash table of its ancestors, at most half full, all rows in one array.
// Properties need no entries of their own: a category's properties come as one block per
// ancestor, in the order of its categories, so a property's position is where the block of its
// declaring category starts in that row plus its place among that category's own properties.
// Beside the position of each ancestor, its entry therefore holds where its block starts.
// Either lookup is a read of the row, then of one or two neighbouring entries. The rare rows
// that the block rule cannot describe, those that reach a property declared by two categories,
// keep their property positions in a hash map.
class CIndexTables {
public:
    CIndexTables() = default;
    // Both by local id; the categories must be finished.
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
        if (unsigned(column) >= unsigned(rows_.size()))
            return -1;
        const Entry* entry = find(rows_[std::size_t(row)], column);
        return entry ? entry->position : -1;
    }
    int OwnPropertyIndex(int row, int property) const {
        if (unsigned(property) >= unsigned(homes_.size()))
            return -1;
        if (anyIrregular_ && irregular_[std::size_t(row)])
            return irregularIndex(row, property);
        const Row range = rows_[std::size_t(row)];
        const Home home = homes_[std::size_t(property)];
        if (home.category < 0)
            return -1;
        const Entry* entry = find(range, home.category);
        return entry ? std::int16_t(entry->blockStart + home.offset) : -1;
    }

    // Bytes held, for the benchmarks.
    std::size_t MemoryUsed() const;

private:
    // Home categories of a property that no category declares, or that several do.
    static constexpr int noHome = -1;
    static constexpr int sharedHome = -2;
    static constexpr std::uint32_t freeSlot = ~std::uint32_t(0);

    struct Home {
        int category = noHome;
        int offset = 0;
    };
    // One ancestor in a row. The block start is kept modulo 2^16, which is all that the
    // wrapped positions need.
    struct Entry {
        std::uint32_t column = freeSlot;
        std::int16_t position = -1;
        std::uint16_t blockStart = 0;
    };
    // The entries of a row are entries_[first, first + mask].
    struct Row {
        std::uint32_t first = 0;
        std::uint32_t mask = 0;
    };

    static std::uint32_t hashColumn(std::uint32_t column) {
        return std::uint32_t((std::uint64_t(column) * 0x9E3779B97F4A7C15ULL) >> 32);
    }
    const Entry* find(Row row, int column) const {
        const Entry* slots = entries_.data() + row.first;
        for (std::uint32_t at = hashColumn(std::uint32_t(column)) & row.mask;;
             at = (at + 1) & row.mask) {
            const Entry& entry = slots[at];
            if (entry.column == std::uint32_t(column))
                return &entry;
            if (entry.column == freeSlot)
                return nullptr;
        }
    }
    void findHomes(const std::vector<const ICategory*>& categories,
                   const std::vector<const IProperty*>& properties);
    void buildRows(const std::vector<const ICategory*>& categories,
                   const std::vector<const IProperty*>& properties);
    int irregularIndex(int row, int property) const;

    std::vector<Row> rows_;
    std::vector<Entry> entries_;
    std::vector<Home> homes_;
    // Categories that declare a property that another one declares too.
    std::vector<bool> declaresShared_;
    // Rows that keep their property positions in irregularRows_; most models have none.
    bool anyIrregular_ = false;
    std::vector<std::uint8_t> irregular_;
    std::unordered_map<int, std::unordered_map<int, std::int16_t>> irregularRows_;
};

} // namespace QEL
