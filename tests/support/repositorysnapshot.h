#pragma once

#include "support/testdatabase.h"

#include <map>
#include <string>
#include <vector>

namespace TestSupport {

// What the repository's tables hold, per table name; each table's rows sorted, so that two
// states compare whatever order the server gives.
using RepositoryState = std::map<std::string, std::vector<std::string>>;

// The eleven final tables, or the eleven work tables, of the repository in `schema` (empty:
// the database's default one).
RepositoryState repositoryState(const TestDatabase& database, const std::string& schema = "",
                                bool workTables = false);

} // namespace TestSupport
