#pragma once

#include "metamodel/repository/repositoryschema.h"
#include "platform/database/uniqueconnection.h"

#include "support/testdatabase.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace RepositoryTesting {

using TestSupport::Backend;

// A fresh database of one backend with the repository tables and procedures made through
// the code under test, and a connection to it.
struct Repository {
    explicit Repository(Backend backend, const std::string& schema = "")
        : database(backend), schema(schema) {
        if (!database.ready())
            return;
        connection = std::make_unique<IUniqueConnection>(database.connectionString(), schema,
                                                         TABLINK::OpenMode::Create);
        MetaModel::CreateRepository(connection->GetHandle());
    }
    void* handle() const { return connection->GetHandle(); }
    // The rows of a table of the repository's schema, ordered by all its columns.
    std::vector<std::string> rows(const std::string& table, const std::string& columns,
                                  const std::string& condition = "") const {
        return database.rows("select " + columns + " from " + qualified(table) +
                             (condition.empty() ? "" : " where " + condition) + " order by " +
                             columns);
    }
    std::string qualified(const std::string& table) const {
        if (schema.empty())
            return table;
        std::string quoted = "\"";
        for (const char c : schema)
            quoted += c == '"' ? std::string("\"\"") : std::string(1, c);
        return quoted + "\"." + table;
    }

    TestSupport::TestDatabase database;
    std::string schema;
    std::unique_ptr<IUniqueConnection> connection;
};

} // namespace RepositoryTesting
