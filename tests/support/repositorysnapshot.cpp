#include "support/repositorysnapshot.h"

#include "metamodel/repository/repositoryformat.h"
#include "platform/database/connection.h"

#include <algorithm>

namespace TestSupport {

RepositoryState repositoryState(const TestDatabase& database, const std::string& schema,
                                bool workTables) {
    const std::string prefix = schema.empty() ? "" : TABLINK::quoteIdentifier(schema) + ".";
    RepositoryState state;
    for (const auto& table : MetaModel::Repository::repositoryTables()) {
        const std::string name = workTables ? table.workName : table.finalName;
        std::vector<std::string> rows = database.rows("select * from " + prefix + name);
        std::sort(rows.begin(), rows.end());
        state[name] = std::move(rows);
    }
    return state;
}

} // namespace TestSupport
