#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <numeric>
#include <vector>

namespace MetaModel {

// The rows of one table grouped by the id of their owner, each group in the order in which
// its rows arrived. Rows are added, `group` is called once, then they are looked up.
//
// A large repository has a hundred thousand owners: a hash map with a list per owner costs
// more to build and to touch than the rows themselves. Here the rows stay where they arrived,
// in blocks that never move (a growing array would copy every row and leave its old copies
// behind as memory touched for nothing), and the grouping is a sorted array of owners beside
// them, with the positions of the rows when they did not arrive sorted by owner.
template <class Row> class RowsByOwner {
public:
    // The rows of one owner, or all of them, by ascending owner.
    class Range {
    public:
        class Iterator {
        public:
            Iterator(const RowsByOwner& table, std::size_t at) : table_(&table), at_(at) {}
            const Row& operator*() const { return table_->row(at_); }
            Iterator& operator++() {
                ++at_;
                return *this;
            }
            bool operator!=(const Iterator& other) const { return at_ != other.at_; }

        private:
            const RowsByOwner* table_;
            std::size_t at_;
        };

        Range(const RowsByOwner& table, std::size_t first, std::size_t last)
            : table_(table), first_(first), last_(last) {}
        Iterator begin() const { return {table_, first_}; }
        Iterator end() const { return {table_, last_}; }
        bool empty() const { return first_ == last_; }
        std::size_t size() const { return last_ - first_; }
        const Row& operator[](std::size_t index) const { return table_.row(first_ + index); }
        const Row& back() const { return table_.row(last_ - 1); }

    private:
        const RowsByOwner& table_;
        std::size_t first_;
        std::size_t last_;
    };

    void add(int owner, Row&& row) {
        owners_.push_back(owner);
        rows_.push_back(std::move(row));
    }

    // The statements that fill most tables sort by owner already: those cost one pass.
    void group() {
        positions_.clear();
        if (std::is_sorted(owners_.begin(), owners_.end()))
            return;
        positions_.resize(owners_.size());
        std::iota(positions_.begin(), positions_.end(), std::uint32_t(0));
        std::stable_sort(positions_.begin(), positions_.end(),
                         [&](std::uint32_t a, std::uint32_t b) { return owners_[a] < owners_[b]; });
        std::vector<int> owners(owners_.size());
        for (std::size_t at = 0; at < positions_.size(); ++at)
            owners[at] = owners_[positions_[at]];
        owners_.swap(owners);
    }

    Range of(int owner) const {
        const auto [first, last] = std::equal_range(owners_.begin(), owners_.end(), owner);
        return {*this, std::size_t(first - owners_.begin()), std::size_t(last - owners_.begin())};
    }
    Range all() const { return {*this, 0, owners_.size()}; }

    void clear() {
        owners_ = {};
        positions_ = {};
        rows_ = {};
    }

private:
    // The row at a place of the grouped order.
    const Row& row(std::size_t at) const { return rows_[positions_.empty() ? at : positions_[at]]; }

    std::vector<int> owners_;
    std::vector<std::uint32_t> positions_;
    std::deque<Row> rows_;
};

} // namespace MetaModel
