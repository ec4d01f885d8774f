#pragma once

struct sqlite3;

namespace TABLINK {

// The name of the aggregate that registerRepeatScreen gives a connection: over the columns of
// a table, metamodel_rows_may_repeat(a, b, ...) is 0 when no two rows are equal, and 1 when
// two may be (NULLs counting as equal, as DISTINCT has it). One hashing pass instead of a
// sort: a cheap screen before an exact search for repeated rows.
inline constexpr const char* repeatScreenFunction = "metamodel_rows_may_repeat";

bool registerRepeatScreen(sqlite3* database);

} // namespace TABLINK
