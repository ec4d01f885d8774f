#include "metamodel/model/indextables.h"

#include "metamodel/model/category.h"

namespace QEL {

namespace {

// The column of a category of this model; foreign ones, which only a hand-made model can
// hold, have none.
int columnOf(const std::vector<CCategory*>& categories, const ICategory* category) {
    const int column = category->LocalId();
    if (unsigned(column) >= categories.size() ||
        static_cast<const ICategory*>(categories[std::size_t(column)]) != category)
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

CIndexTables::CIndexTables(const std::vector<CCategory*>& categories,
                           const std::vector<const IProperty*>& properties) {
    findHomes(categories, properties);
    buildRows(categories, properties);
}

void CIndexTables::findHomes(const std::vector<CCategory*>& categories,
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

void CIndexTables::buildRows(const std::vector<CCategory*>& categories,
                             const std::vector<const IProperty*>& properties) {
    rows_ = int(categories.size());
    pagesPerRow_ = (categories.size() + pageSize - 1) >> pageBits;
    directory_.assign(categories.size() * pagesPerRow_, 0);
    categoryPages_.assign(pageSize, -1);
    blockStartPages_.assign(pageSize, -1);
    irregular_.assign(categories.size(), false);
    for (std::size_t row = 0; row < categories.size(); ++row) {
        std::int16_t position = 0;
        std::int32_t blockStart = 0;
        for (const ICategory* member : categories[row]->GetAllCategories()) {
            const int column = columnOf(categories, member);
            if (column >= 0) {
                std::uint32_t& page = directory_[row * pagesPerRow_ + (column >> pageBits)];
                if (page == 0) {
                    page = std::uint32_t(categoryPages_.size() >> pageBits);
                    categoryPages_.resize(categoryPages_.size() + pageSize, -1);
                    blockStartPages_.resize(blockStartPages_.size() + pageSize, -1);
                }
                const std::size_t at = slot(int(row), column);
                categoryPages_[at] = position;
                blockStartPages_[at] = blockStart;
                if (declaresShared_[std::size_t(column)])
                    irregular_[row] = true;
            }
            position = std::int16_t(position + 1);
            blockStart += std::int32_t(member->GetLocalProperties().size());
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
    std::size_t bytes = directory_.capacity() * sizeof(std::uint32_t) +
                        categoryPages_.capacity() * sizeof(std::int16_t) +
                        blockStartPages_.capacity() * sizeof(std::int32_t) +
                        homes_.capacity() * sizeof(Home) +
                        (declaresShared_.size() + irregular_.size()) / 8;
    for (const auto& [row, positions] : irregularRows_)
        bytes += positions.size() * (sizeof(int) + sizeof(std::int16_t) + 2 * sizeof(void*));
    return bytes;
}

} // namespace QEL
