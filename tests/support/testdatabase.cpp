#include "support/testdatabase.h"

#include "support/pgtestserver.h"

#include <libpq-fe.h>
#include <sqlite3.h>

#include <stdexcept>

namespace TestSupport {

namespace {

struct SqliteCloser {
    void operator()(sqlite3* database) const { sqlite3_close(database); }
};
struct PgConnectionCloser {
    void operator()(PGconn* connection) const { PQfinish(connection); }
};
struct PgResultClearer {
    void operator()(PGresult* result) const { PQclear(result); }
};

using SqliteHandle = std::unique_ptr<sqlite3, SqliteCloser>;
using PgHandle = std::unique_ptr<PGconn, PgConnectionCloser>;
using PgResult = std::unique_ptr<PGresult, PgResultClearer>;

SqliteHandle openSqlite(const std::string& path) {
    sqlite3* database = nullptr;
    const int outcome = sqlite3_open_v2(path.c_str(), &database, SQLITE_OPEN_READWRITE, nullptr);
    SqliteHandle handle(database);
    if (outcome != SQLITE_OK)
        throw std::runtime_error("cannot open " + path);
    return handle;
}

PgHandle openPostgres(const std::string& connectionString) {
    PgHandle connection(PQconnectdb(connectionString.c_str()));
    if (PQstatus(connection.get()) != CONNECTION_OK)
        throw std::runtime_error(PQerrorMessage(connection.get()));
    return connection;
}

} // namespace

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
    std::vector<std::string> lines;
    if (backend_ == Backend::Sqlite) {
        SqliteHandle database = openSqlite(connectionString_);
        sqlite3_stmt* raw = nullptr;
        if (sqlite3_prepare_v2(database.get(), sql.c_str(), -1, &raw, nullptr) != SQLITE_OK)
            throw std::runtime_error(sqlite3_errmsg(database.get()));
        std::unique_ptr<sqlite3_stmt, int (*)(sqlite3_stmt*)> statement(raw, sqlite3_finalize);
        while (sqlite3_step(statement.get()) == SQLITE_ROW) {
            std::string line;
            for (int column = 0; column < sqlite3_column_count(statement.get()); ++column) {
                if (column > 0)
                    line += '|';
                const auto* text =
                    reinterpret_cast<const char*>(sqlite3_column_text(statement.get(), column));
                line += text ? text : "NULL";
            }
            lines.push_back(line);
        }
        return lines;
    }
    PgHandle connection = openPostgres(connectionString_);
    PgResult result(PQexec(connection.get(), sql.c_str()));
    if (PQresultStatus(result.get()) != PGRES_TUPLES_OK)
        throw std::runtime_error(PQresultErrorMessage(result.get()));
    for (int row = 0; row < PQntuples(result.get()); ++row) {
        std::string line;
        for (int column = 0; column < PQnfields(result.get()); ++column) {
            if (column > 0)
                line += '|';
            line += PQgetisnull(result.get(), row, column) ? "NULL"
                                                           : PQgetvalue(result.get(), row, column);
        }
        lines.push_back(line);
    }
    return lines;
}

void TestDatabase::execute(const std::string& sql) const {
    if (backend_ == Backend::Sqlite) {
        SqliteHandle database = openSqlite(connectionString_);
        char* message = nullptr;
        if (sqlite3_exec(database.get(), sql.c_str(), nullptr, nullptr, &message) != SQLITE_OK) {
            const std::string reason = message ? message : "refused";
            sqlite3_free(message);
            throw std::runtime_error(reason);
        }
        return;
    }
    PgHandle connection = openPostgres(connectionString_);
    PgResult result(PQexec(connection.get(), sql.c_str()));
    const ExecStatusType status = PQresultStatus(result.get());
    if (status != PGRES_COMMAND_OK && status != PGRES_TUPLES_OK)
        throw std::runtime_error(PQresultErrorMessage(result.get()));
}

} // namespace TestSupport
