#pragma once

#include <cstdint>
#include <unordered_map>
#include <vector>

namespace QEL {

class CCategory;
class IProperty;

// The two membership tables of a finished model: for each category (a row), the position of
// every ancestor among its categories and of every property among its properties, -1 for a
// non-member. Positions are 16 bits wide and wrap there, as the numbering of a dense table
// would.
//
// Dense rows would cost two bytes per pair of categories and per category and property, which
// is gigabytes for a large schema. So each row is cut into pages of 32 category columns, and
// only pages that hold an ancestor are allocated; the others share one page of -1. Properties
// need no columns of their own: a category's properties come as one block per ancestor, in the
// order of its categories, so a property's position is where the block of its declaring
// category starts in that row plus its place among that category's own properties. Beside the
// position of each ancestor, its page therefore holds where its block starts. Either lookup is
// three array reads. The rare rows that the block rule cannot describe, those that reach a
// property declared by two categories, keep their property positions in a hash map.
class CIndexTables {
public:
    CIndexTables() = default;
    // Both by local id; the categories must be finished.
    CIndexTables(const std::vector<CCategory*>& categories,
                 const std::vector<const IProperty*>& properties);

    int CategoryIndex(int row, int column) const {
        if (unsigned(row) >= unsigned(rows_) || unsigned(column) >= unsigned(rows_))
            return -1;
        return categoryPages_[slot(row, column)];
    }

    int PropertyIndex(int row, int property) const {
        if (unsigned(row) >= unsigned(rows_) || unsigned(property) >= unsigned(homes_.size()))
            return -1;
        if (anyIrregular_ && irregular_[std::size_t(row)])
            return irregularIndex(row, property);
        const Home home = homes_[std::size_t(property)];
        if (unsigned(home.category) >= unsigned(rows_))
            return -1;
        const std::int32_t start = blockStartPages_[slot(row, home.category)];
        return start < 0 ? -1 : std::int16_t(start + home.offset);
    }

    // Bytes held, for the benchmarks.
    std::size_t MemoryUsed() const;

private:
    static constexpr int pageBits = 5;
    static constexpr int pageSize = 1 << pageBits;
    static constexpr int pageMask = pageSize - 1;
    // Home categories of a property that no category declares, or that several do.
    static constexpr int noHome = -1;
    static constexpr int sharedHome = -2;

    struct Home {
        int category = noHome;
        int offset = 0;
    };

    std::size_t slot(int row, int column) const {
        const std::uint32_t page =
            directory_[std::size_t(row) * pagesPerRow_ + std::size_t(column >> pageBits)];
        return (std::size_t(page) << pageBits) | std::size_t(column & pageMask);
    }
    void findHomes(const std::vector<CCategory*>& categories,
                   const std::vector<const IProperty*>& properties);
    void buildRows(const std::vector<CCategory*>& categories,
                   const std::vector<const IProperty*>& properties);
    int irregularIndex(int row, int property) const;

    int rows_ = 0;
    std::size_t pagesPerRow_ = 0;
    // Row by row, the page of each run of 32 columns; 0 is the shared page of non-members.
    std::vector<std::uint32_t> directory_;
    std::vector<std::int16_t> categoryPages_;
    std::vector<std::int32_t> blockStartPages_;
    std::vector<Home> homes_;
    // Categories that declare a property that another one declares too.
    std::vector<bool> declaresShared_;
    bool anyIrregular_ = false;
    std::vector<bool> irregular_;
    std::unordered_map<int, std::unordered_map<int, std::int16_t>> irregularRows_;
};

} // namespace QEL
