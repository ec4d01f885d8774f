#pragma once

#include "support/tempfolder.h"

#include <gtest/gtest.h>

#include <memory>
#include <ostream>
#include <string>
#include <vector>

namespace TestSupport {

enum class Backend { Sqlite, Postgres };

std::string backendName(Backend backend);
inline std::ostream& operator<<(std::ostream& out, Backend backend) {
    return out << backendName(backend);
}

// Runs statements on a database of the backend; the rows they give, one "value|value|NULL"
// line each. Throws std::runtime_error with the server's reason when refused.
std::vector<std::string> runSql(Backend backend, const std::string& connectionString,
                                const std::string& sql);

// A new, empty database of one backend for one test: a file in a temporary folder, or a
// database of the PostgreSQL test server. Tests look at it through the server's own client
// library, beside the code under test. A database that cannot be made is no reason to skip:
// `ready()` is false and `problem()` tells why.
class TestDatabase {
public:
    explicit TestDatabase(Backend backend);
    ~TestDatabase();
    TestDatabase(const TestDatabase&) = delete;
    TestDatabase& operator=(const TestDatabase&) = delete;

    Backend backend() const { return backend_; }
    bool ready() const { return problem_.empty(); }
    const std::string& problem() const { return problem_; }
    const std::string& connectionString() const { return connectionString_; }

    // The rows of a query, one "value|value|NULL" line each, in the order the server gives.
    std::vector<std::string> rows(const std::string& sql) const;
    // Runs statements; throws std::runtime_error with the server's reason when refused.
    void execute(const std::string& sql) const;

private:
    Backend backend_;
    std::unique_ptr<TempFolder> folder_;
    std::string connectionString_;
    std::string problem_;
};

// A test run on a fresh database of each server; on the server under a schema whose name must
// be quoted everywhere, the embedded database having none but its own.
class OnBothServers : public testing::TestWithParam<Backend> {
protected:
    void SetUp() override;
    std::string schema() const { return GetParam() == Backend::Postgres ? "Meta Model" : ""; }
    // How a table of the schema is named in a statement.
    std::string prefix() const { return schema().empty() ? "" : "\"" + schema() + "\"."; }
    // The arguments, with the schema option when there is a schema.
    std::vector<std::string> withSchema(std::vector<std::string> arguments) const;

    std::unique_ptr<TestDatabase> database_;
    std::string uri_;
};

} // namespace TestSupport

// Runs the parameterised suite once on each server, named after it.
#define INSTANTIATE_ON_BOTH_SERVERS(Suite)                                                         \
    INSTANTIATE_TEST_SUITE_P(                                                                      \
        Servers, Suite,                                                                            \
        testing::Values(TestSupport::Backend::Sqlite, TestSupport::Backend::Postgres),             \
        [](const testing::TestParamInfo<TestSupport::Backend>& info) {                             \
            return TestSupport::backendName(info.param);                                           \
        })
