#include "metamodel/model/indextables.h"

#include "interfaces/icategory.h"

#include <algorithm>
#include <unordered_set>

namespace QEL {

namespace {

// The column of a category of this model; foreign ones, which only a hand-made model can
// hold, have none.
int columnOf(const std::vector<const ICategory*>& categories, const ICategory* category) {
    const int column = category->LocalId();
    if (unsigned(column) >= categories.size() || categories[std::size_t(column)] != category)
        return -1;
    return column;
}

int columnOf(const std::vector<const IProperty*>& properties, const IProperty* property) {
    const int column = property->LocalId();
    if (unsigned(column) >= properties.size() || properties[std::size_t(column)] != property)
        return -1;
    return column;
}

// Positions are told by 16 bits; a longer list cannot be laid out again from them.
constexpr std::size_t longestScatteredList = 32767;

} // namespace

// Closes the categories one by one, each parent before it is read, in the order of the
// recursion that a category's own closing would follow, so that even a circuit in the
// inheritance, which only whole-model validation rejects, gives the same sets: a category
// still being closed lends the part of its set that it has so far.
class CIndexTables::Closer {
public:
    Closer(CIndexTables& tables, const std::vector<const ICategory*>& categories,
           const std::vector<const IProperty*>& properties)
        : tables_(tables), categories_(categories), properties_(properties),
          state_(categories.size(), open), marks_(categories.size(), 0),
          scratch_(categories.size()), propertyMarks_(properties.size(), 0) {}

    void close(int row) {
        if (state_[std::size_t(row)] != open)
            return;
        state_[std::size_t(row)] = closing;
        std::vector<const ICategory*>& list = pending_[row];
        list.push_back(categories_[std::size_t(row)]);
        for (const ICategory* parent : categories_[std::size_t(row)]->GetLocalCategories()) {
            const int column = columnOf(categories_, parent);
            if (column >= 0)
                close(column);
            append(list, membersOf(parent, column));
        }
        store(row, list);
        pending_.erase(row);
        state_[std::size_t(row)] = closed;
    }

private:
    static constexpr std::uint8_t open = 0;
    static constexpr std::uint8_t closing = 1;
    static constexpr std::uint8_t closed = 2;

    std::vector<const ICategory*> membersOf(const ICategory* parent, int column) const {
        if (column < 0) {
            const CategorySet& members = parent->GetAllCategories();
            return {members.begin(), members.end()};
        }
        if (state_[std::size_t(column)] == closing)
            return pending_.at(column);
        return tables_.ListMembers(column);
    }

    // Marks are renewed for every parent: the closing of the parent may have used them.
    void append(std::vector<const ICategory*>& list, const std::vector<const ICategory*>& more) {
        ++stamp_;
        std::vector<const ICategory*> foreign;
        for (const ICategory* member : list) {
            const int column = columnOf(categories_, member);
            if (column >= 0)
                marks_[std::size_t(column)] = stamp_;
            else
                foreign.push_back(member);
        }
        for (const ICategory* member : more) {
            const int column = columnOf(categories_, member);
            if (column >= 0) {
                if (marks_[std::size_t(column)] == stamp_)
                    continue;
                marks_[std::size_t(column)] = stamp_;
            } else {
                if (std::find(foreign.begin(), foreign.end(), member) != foreign.end())
                    continue;
                foreign.push_back(member);
            }
            list.push_back(member);
        }
    }

    void store(int row, const std::vector<const ICategory*>& list) {
        Row& stored = tables_.rows_[std::size_t(row)];
        stored.total = std::uint32_t(list.size());
        bool keep = list.size() > longestScatteredList;
        bool irregular = false;
        std::vector<std::uint32_t> columns;
        columns.reserve(list.size());
        std::uint32_t blockStart = 0;
        for (std::size_t position = 0; position < list.size(); ++position) {
            const ICategory* member = list[position];
            const int column = columnOf(categories_, member);
            if (column >= 0) {
                scratch_[std::size_t(column)] =
                    Slot{std::int16_t(position), std::uint16_t(blockStart)};
                columns.push_back(std::uint32_t(column));
                irregular = irregular || tables_.declaresShared_[std::size_t(column)];
            } else {
                keep = true;
            }
            blockStart += std::uint32_t(member->GetLocalProperties().size());
        }
        if (keep)
            tables_.keptLists_.emplace(row, list);

        // A bitset with the ranks of its words costs 3/16 byte per category of the model, a
        // sorted column with its slot 4 bytes per member.
        const std::size_t width = categories_.size();
        stored.slots.reserve(columns.size());
        if (columns.size() * 64 > width * 3) {
            stored.words.assign((width + 63) / 64, 0);
            for (const std::uint32_t column : columns)
                stored.words[column >> 6] |= std::uint64_t(1) << (column & 63);
            stored.ranks.resize(stored.words.size());
            std::uint32_t rank = 0;
            for (std::size_t word = 0; word < stored.words.size(); ++word) {
                stored.ranks[word] = rank;
                for (std::uint64_t bits = stored.words[word]; bits; bits &= bits - 1) {
                    const std::size_t column = word * 64 + std::size_t(std::countr_zero(bits));
                    stored.slots.push_back(scratch_[column]);
                    ++rank;
                }
            }
        } else {
            std::sort(columns.begin(), columns.end());
            for (const std::uint32_t column : columns)
                stored.slots.push_back(scratch_[column]);
            stored.columns = std::move(columns);
        }
        if (irregular)
            storeIrregular(row, list);
    }

    // Positions follow the set of all properties itself, where a property declared twice
    // stands once.
    void storeIrregular(int row, const std::vector<const ICategory*>& list) {
        tables_.anyIrregular_ = true;
        tables_.irregular_[std::size_t(row)] = 1;
        auto& positions = tables_.irregularRows_[row];
        ++propertyStamp_;
        std::unordered_set<const IProperty*> foreign;
        std::int16_t position = 0;
        for (const ICategory* member : list)
            for (const IProperty* property : member->GetLocalProperties()) {
                const int column = columnOf(properties_, property);
                if (column >= 0) {
                    if (propertyMarks_[std::size_t(column)] == propertyStamp_)
                        continue;
                    propertyMarks_[std::size_t(column)] = propertyStamp_;
                    positions.emplace(column, position);
                } else if (!foreign.insert(property).second) {
                    continue;
                }
                position = std::int16_t(position + 1);
            }
    }

    CIndexTables& tables_;
    const std::vector<const ICategory*>& categories_;
    const std::vector<const IProperty*>& properties_;
    std::vector<std::uint8_t> state_;
    // The sets of the categories being closed.
    std::unordered_map<int, std::vector<const ICategory*>> pending_;
    std::vector<std::uint32_t> marks_;
    std::uint32_t stamp_ = 0;
    // By column, the slot of a member of the row being stored.
    std::vector<Slot> scratch_;
    std::vector<std::uint32_t> propertyMarks_;
    std::uint32_t propertyStamp_ = 0;
};

CIndexTables::CIndexTables(const std::vector<const ICategory*>& categories,
                           const std::vector<const IProperty*>& properties)
    : categories_(categories) {
    findHomes(categories, properties);
    rows_.resize(categories.size());
    irregular_.assign(categories.size(), 0);
    Closer closer(*this, categories, properties);
    for (std::size_t row = 0; row < categories.size(); ++row)
        closer.close(int(row));
}

void CIndexTables::findHomes(const std::vector<const ICategory*>& categories,
                             const std::vector<const IProperty*>& properties) {
    homes_.assign(properties.size(), Home{});
    bool anyShared = false;
    for (std::size_t row = 0; row < categories.size(); ++row) {
        int offset = 0;
        for (const IProperty* property : categories[row]->GetLocalProperties()) {
            const int column = columnOf(properties, property);
            if (column >= 0) {
                Home& home = homes_[std::size_t(column)];
                anyShared = anyShared || home.category != noHome;
                home = home.category == noHome ? Home{int(row), offset} : Home{sharedHome, 0};
            }
            ++offset;
        }
    }
    declaresShared_.assign(categories.size(), false);
    if (!anyShared)
        return;
    for (std::size_t row = 0; row < categories.size(); ++row)
        for (const IProperty* property : categories[row]->GetLocalProperties()) {
            const int column = columnOf(properties, property);
            if (column >= 0 && homes_[std::size_t(column)].category == sharedHome)
                declaresShared_[row] = true;
        }
}

std::vector<const ICategory*> CIndexTables::ListMembers(int row) const {
    const auto kept = keptLists_.find(row);
    if (kept != keptLists_.end())
        return kept->second;
    const Row& stored = rows_[std::size_t(row)];
    std::vector<const ICategory*> members(stored.total);
    if (stored.words.empty()) {
        for (std::size_t rank = 0; rank < stored.columns.size(); ++rank)
            members[std::size_t(stored.slots[rank].position)] = categories_[stored.columns[rank]];
        return members;
    }
    std::size_t rank = 0;
    for (std::size_t word = 0; word < stored.words.size(); ++word)
        for (std::uint64_t bits = stored.words[word]; bits; bits &= bits - 1) {
            const std::size_t column = word * 64 + std::size_t(std::countr_zero(bits));
            members[std::size_t(stored.slots[rank++].position)] = categories_[column];
        }
    return members;
}

int CIndexTables::irregularIndex(int row, int property) const {
    const auto& positions = irregularRows_.at(row);
    const auto found = positions.find(property);
    return found == positions.end() ? -1 : found->second;
}

std::size_t CIndexTables::MemoryUsed() const {
    std::size_t bytes = rows_.capacity() * sizeof(Row) + homes_.capacity() * sizeof(Home) +
                        declaresShared_.size() / 8 + irregular_.capacity() +
                        categories_.capacity() * sizeof(const ICategory*);
    for (const Row& row : rows_)
        bytes += row.slots.capacity() * sizeof(Slot) +
                 row.columns.capacity() * sizeof(std::uint32_t) +
                 row.words.capacity() * sizeof(std::uint64_t) +
                 row.ranks.capacity() * sizeof(std::uint32_t);
    for (const auto& [row, positions] : irregularRows_)
        bytes += positions.size() * (sizeof(int) + sizeof(std::int16_t) + 2 * sizeof(void*));
    for (const auto& [row, list] : keptLists_)
        bytes += list.capacity() * sizeof(const ICategory*);
    return bytes;
}

} // namespace QEL
