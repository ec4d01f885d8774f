#pragma once

#include "metamodel/stream/metamodelevents.h"

#include <array>
#include <optional>
#include <string_view>

namespace MetaModel::Repository {

// Ids of the primitive property and attribute types in PropTyp and AttrTyp; every other value
// of PropTyp is the id of a category or type.
constexpr int IntegerTypeId = 137475;
constexpr int StringTypeId = 137476;
constexpr int BookmarkTypeId = 137477;
constexpr int DateTimeTypeId = 137478;
constexpr int ReferenceTypeId = 1028;

std::optional<int> primitiveTypeId(std::string_view name);
// Null for an id that is no primitive.
const char* primitiveTypeName(int id);

// The upper-case word of the Status columns; empty for a value outside the enumeration.
String statusText(IMetaModelEvents::ElementStatus status);

// Merge words of the stream against the three-letter codes of PropMrg; anything else
// converts to the empty text both ways.
String mergeCode(const String& word);
String mergeWord(const String& code);

// A final table and the work table the writer fills for it, with their column definitions in
// the order of the selects and of the bulk rows. The work table's columns are the final
// table's unless given; rows move from one to the other by column name.
struct RepositoryTable {
    const char* finalName;
    const char* workName;
    const char* finalColumns;
    const char* workColumns = nullptr;

    const char* workTableColumns() const { return workColumns ? workColumns : finalColumns; }
};

// In the order of the writer's inserters.
enum TableIndex {
    CatTable,
    CatAttrTable,
    CatCatTable,
    TreeCatTable,
    TypTable,
    TypAttrTable,
    TypCatTable,
    PropTable,
    PropAttrTable,
    PropCatTable,
    TypPropTable,
    TableCount
};

const std::array<RepositoryTable, TableCount>& repositoryTables();

} // namespace MetaModel::Repository
