#include "metamodel/model/indextables.h"

#include "interfaces/icategory.h"

#include <algorithm>
#include <bit>

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

} // namespace

CIndexTables::CIndexTables(const std::vector<const ICategory*>& categories,
                           const std::vector<const IProperty*>& properties) {
    findHomes(categories, properties);
    buildRows(categories, properties);
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

void CIndexTables::buildRows(const std::vector<const ICategory*>& categories,
                             const std::vector<const IProperty*>& properties) {
    // Sizes first, so that all rows share one allocation.
    rows_.assign(categories.size(), Row{});
    std::size_t total = 0;
    for (std::size_t row = 0; row < categories.size(); ++row) {
        std::size_t members = 0;
        for (const ICategory* member : categories[row]->GetAllCategories())
            members += columnOf(categories, member) >= 0 ? 1 : 0;
        const std::size_t size = std::bit_ceil(std::max<std::size_t>(1, members * 2));
        rows_[row] = Row{std::uint32_t(total), std::uint32_t(size - 1)};
        total += size;
    }
    entries_.assign(total, Entry{});
    irregular_.assign(categories.size(), 0);
    for (std::size_t row = 0; row < categories.size(); ++row) {
        const Row range = rows_[row];
        std::int16_t position = 0;
        std::uint32_t blockStart = 0;
        for (const ICategory* member : categories[row]->GetAllCategories()) {
            const int column = columnOf(categories, member);
            if (column >= 0) {
                std::uint32_t at = hashColumn(std::uint32_t(column)) & range.mask;
                while (entries_[range.first + at].column != freeSlot)
                    at = (at + 1) & range.mask;
                entries_[range.first + at] =
                    Entry{std::uint32_t(column), position, std::uint16_t(blockStart)};
                if (declaresShared_[std::size_t(column)])
                    irregular_[row] = 1;
            }
            position = std::int16_t(position + 1);
            blockStart += std::uint32_t(member->GetLocalProperties().size());
        }
        if (!irregular_[row])
            continue;
        // Positions follow the set itself, where a property declared twice stands once.
        anyIrregular_ = true;
        auto& positions = irregularRows_[int(row)];
        std::int16_t propertyPosition = 0;
        for (const IProperty* property : categories[row]->GetAllProperties()) {
            const int column = columnOf(properties, property);
            if (column >= 0)
                positions.emplace(column, propertyPosition);
            propertyPosition = std::int16_t(propertyPosition + 1);
        }
    }
}

int CIndexTables::irregularIndex(int row, int property) const {
    const auto& positions = irregularRows_.at(row);
    const auto found = positions.find(property);
    return found == positions.end() ? -1 : found->second;
}

std::size_t CIndexTables::MemoryUsed() const {
    std::size_t bytes = rows_.capacity() * sizeof(Row) + entries_.capacity() * sizeof(Entry) +
                        homes_.capacity() * sizeof(Home) + declaresShared_.size() / 8 +
                        irregular_.capacity();
    for (const auto& [row, positions] : irregularRows_)
        bytes += positions.size() * (sizeof(int) + sizeof(std::int16_t) + 2 * sizeof(void*));
    return bytes;
}

} // namespace QEL
