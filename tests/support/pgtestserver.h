#pragma once

#include <string>

namespace TestSupport {

// The PostgreSQL server of this test process. On first use it is started by
// scripts/pg-test-server in a temporary folder, on a Unix socket only; it is stopped when the
// process ends, and a watchdog process stops it as well when the process dies without ending
// cleanly. When METAMODEL_TEST_PG holds the connection string of a running server, that one
// is used instead and left running.
class PostgresTestServer {
public:
    static PostgresTestServer& instance();
    ~PostgresTestServer();
    PostgresTestServer(const PostgresTestServer&) = delete;
    PostgresTestServer& operator=(const PostgresTestServer&) = delete;

    bool running() const { return problem_.empty(); }
    // Why the server is not there: what the start script said.
    const std::string& problem() const { return problem_; }

    // A new, empty database of the server; its connection string. Empty, with the reason in
    // `problem`, when it cannot be made.
    std::string createDatabase(std::string& problem);
    void dropDatabase(const std::string& connectionString);

private:
    PostgresTestServer();
    void start();

    std::string base_; // connection string without a database
    std::string folder_;
    int watchdogPipe_ = -1;
    int stoppedPipe_ = -1;
    std::string problem_;
    int databases_ = 0;
};

} // namespace TestSupport
