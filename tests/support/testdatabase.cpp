#include "support/testdatabase.h"

#include "support/pgtestserver.h"

#include <libpq-fe.h>
#include <sqlite3.h>

#include <stdexcept>

namespace TestSupport {

namespace {

int addRow(void* lines, int columns, char** values, char**) {
    std::string line;
    for (int column = 0; column < columns; ++column)
        line += (column > 0 ? "|" : "") + std::string(values[column] ? values[column] : "NULL");
    static_cast<std::vector<std::string>*>(lines)->push_back(line);
    return 0;
}

} // namespace

std::vector<std::string> runSql(Backend backend, const std::string& connectionString,
                                const std::string& sql) {
    std::vector<std::string> lines;
    if (backend == Backend::Sqlite) {
        sqlite3* raw = nullptr;
        const int opened =
            sqlite3_open_v2(connectionString.c_str(), &raw, SQLITE_OPEN_READWRITE, nullptr);
        const std::unique_ptr<sqlite3, decltype(&sqlite3_close)> database(raw, sqlite3_close);
        if (opened != SQLITE_OK)
            throw std::runtime_error("cannot open " + connectionString);
        char* message = nullptr;
        if (sqlite3_exec(database.get(), sql.c_str(), addRow, &lines, &message) != SQLITE_OK) {
            const std::string reason = message ? message : "refused";
            sqlite3_free(message);
            throw std::runtime_error(reason);
        }
        return lines;
    }
    const std::unique_ptr<PGconn, decltype(&PQfinish)> connection(
        PQconnectdb(connectionString.c_str()), PQfinish);
    if (PQstatus(connection.get()) != CONNECTION_OK)
        throw std::runtime_error(PQerrorMessage(connection.get()));
    const std::unique_ptr<PGresult, decltype(&PQclear)> result(
        PQexec(connection.get(), sql.c_str()), PQclear);
    const ExecStatusType status = PQresultStatus(result.get());
    if (status != PGRES_COMMAND_OK && status != PGRES_TUPLES_OK)
        throw std::runtime_error(PQresultErrorMessage(result.get()));
    for (int row = 0; row < PQntuples(result.get()); ++row) {
        std::string line;
        for (int column = 0; column < PQnfields(result.get()); ++column)
            line +=
                (column > 0 ? "|" : "") + std::string(PQgetisnull(result.get(), row, column)
                                                          ? "NULL"
                                                          : PQgetvalue(result.get(), row, column));
        lines.push_back(line);
    }
    return lines;
}

std::string backendName(Backend backend) {
    return backend == Backend::Sqlite ? "SQLite" : "PostgreSQL";
}

TestDatabase::TestDatabase(Backend backend) : backend_(backend) {
    if (backend == Backend::Sqlite) {
        folder_ = std::make_unique<TempFolder>();
        connectionString_ = folder_->file("repository.sqlite");
        sqlite3* database = nullptr;
        if (sqlite3_open(connectionString_.c_str(), &database) != SQLITE_OK)
            problem_ = "cannot make " + connectionString_;
        sqlite3_close(database);
        return;
    }
    connectionString_ = PostgresTestServer::instance().createDatabase(problem_);
    if (connectionString_.empty() && problem_.empty())
        problem_ = "no PostgreSQL database";
}

TestDatabase::~TestDatabase() {
    if (backend_ == Backend::Postgres && ready())
        PostgresTestServer::instance().dropDatabase(connectionString_);
}

std::vector<std::string> TestDatabase::rows(const std::string& sql) const {
    return runSql(backend_, connectionString_, sql);
}

void TestDatabase::execute(const std::string& sql) const {
    runSql(backend_, connectionString_, sql);
}

void OnBothServers::SetUp() {
    database_ = std::make_unique<TestDatabase>(GetParam());
    ASSERT_TRUE(database_->ready()) << database_->problem();
    uri_ = database_->connectionString();
}

std::vector<std::string> OnBothServers::withSchema(std::vector<std::string> arguments) const {
    if (!schema().empty())
        arguments.insert(arguments.end(), {"--schema", schema()});
    return arguments;
}

} // namespace TestSupport
