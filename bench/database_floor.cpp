// database_floor insert DATABASE ROWS
// database_floor select DATABASE
//
// The floor of the repository operations: what the database itself needs for the same amount
// of rows, with nothing of the library in between.
//
// insert  makes a table in DATABASE and inserts ROWS rows of six columns, about as wide as the
//         repository's rows (an id, a name, a type, an integer or a text, a status), through
//         one prepared statement in one transaction; the server takes them through COPY, the
//         fastest way it has. A table of that name from an earlier run is dropped first.
// select  reads every row of the eleven final repository tables with a plain SELECT and
//         touches every value. Prints the number of rows read.
//
// DATABASE is a path of an SQLite file (made when missing) or a libpq connection string
// ("postgresql://..." or "key=value ..."). Exit 1 on any failure of the database.

#include <libpq-fe.h>
#include <sqlite3.h>

#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

namespace {

constexpr const char* finalTables[] = {"Cat",      "CatAttr", "CatCat", "TreeCat",
                                       "Typ",      "TypAttr", "TypCat", "Prop",
                                       "PropAttr", "PropCat", "TypProp"};
constexpr const char* floorTable = "floor_rows";

// The values of row `n`: ids and names like the generated sets' ones, every other row with an
// integer value and the others with a text one, as the attribute rows are.
struct Row {
    explicit Row(long n)
        : id(int(n / 3)), name("prop_" + std::to_string(n % 10) + "_" + std::to_string(n)),
          type(n % 2 ? 137475 : 137476), integer(int(n % 1000)),
          text("Synthetic value " + std::to_string(n)) {}
    bool hasInteger() const { return type == 137475; }
    int id;
    std::string name;
    int type;
    int integer;
    std::string text;
};

bool isServer(std::string_view database) {
    return database.starts_with("postgresql://") || database.starts_with("postgres://") ||
           database.find('=') != std::string_view::npos;
}

// SQLite -------------------------------------------------------------------------------------

struct SqliteCloser {
    void operator()(sqlite3* database) const { sqlite3_close_v2(database); }
};
struct StatementFinalizer {
    void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};
using SqliteHandle = std::unique_ptr<sqlite3, SqliteCloser>;
using StatementHandle = std::unique_ptr<sqlite3_stmt, StatementFinalizer>;

void check(sqlite3* database, int outcome, int expected = SQLITE_OK) {
    if (outcome != expected)
        throw std::runtime_error(sqlite3_errmsg(database));
}

SqliteHandle openSqlite(const std::string& path) {
    sqlite3* raw = nullptr;
    const int outcome =
        sqlite3_open_v2(path.c_str(), &raw, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr);
    SqliteHandle database(raw);
    check(database.get(), outcome);
    return database;
}

StatementHandle prepare(sqlite3* database, const std::string& sql) {
    sqlite3_stmt* raw = nullptr;
    check(database, sqlite3_prepare_v2(database, sql.c_str(), -1, &raw, nullptr));
    return StatementHandle(raw);
}

void exec(sqlite3* database, const std::string& sql) {
    check(database, sqlite3_exec(database, sql.c_str(), nullptr, nullptr, nullptr));
}

void sqliteInsert(const std::string& path, long rows) {
    SqliteHandle database = openSqlite(path);
    sqlite3* db = database.get();
    exec(db, std::string("DROP TABLE IF EXISTS ") + floorTable);
    exec(db, std::string("CREATE TABLE ") + floorTable +
                 " (Id integer NOT NULL, Nam text NOT NULL, Typ integer NOT NULL, IntVal integer,"
                 " StrVal text, Status text NOT NULL)");
    exec(db, "BEGIN");
    StatementHandle insert =
        prepare(db, std::string("INSERT INTO ") + floorTable + " VALUES (?1, ?2, ?3, ?4, ?5, ?6)");
    sqlite3_stmt* statement = insert.get();
    for (long n = 0; n < rows; ++n) {
        const Row row(n);
        sqlite3_bind_int(statement, 1, row.id);
        sqlite3_bind_text(statement, 2, row.name.data(), int(row.name.size()), SQLITE_STATIC);
        sqlite3_bind_int(statement, 3, row.type);
        if (row.hasInteger()) {
            sqlite3_bind_int(statement, 4, row.integer);
            sqlite3_bind_null(statement, 5);
        } else {
            sqlite3_bind_null(statement, 4);
            sqlite3_bind_text(statement, 5, row.text.data(), int(row.text.size()), SQLITE_STATIC);
        }
        sqlite3_bind_text(statement, 6, "ACTIVE", 6, SQLITE_STATIC);
        check(db, sqlite3_step(statement), SQLITE_DONE);
        sqlite3_reset(statement);
    }
    exec(db, "COMMIT");
}

long sqliteSelect(const std::string& path) {
    SqliteHandle database = openSqlite(path);
    long rows = 0;
    size_t bytes = 0;
    for (const char* table : finalTables) {
        StatementHandle select = prepare(database.get(), std::string("SELECT * FROM ") + table);
        sqlite3_stmt* statement = select.get();
        const int columns = sqlite3_column_count(statement);
        int outcome;
        while ((outcome = sqlite3_step(statement)) == SQLITE_ROW) {
            ++rows;
            for (int column = 0; column < columns; ++column) {
                if (sqlite3_column_type(statement, column) == SQLITE_INTEGER)
                    bytes += size_t(sqlite3_column_int(statement, column) & 1);
                else
                    bytes += size_t(sqlite3_column_bytes(statement, column)) +
                             (sqlite3_column_text(statement, column) ? 1 : 0);
            }
        }
        check(database.get(), outcome, SQLITE_DONE);
    }
    // Keeps the reads from being optimised away.
    if (bytes == size_t(-1))
        std::cerr << bytes;
    return rows;
}

// PostgreSQL ---------------------------------------------------------------------------------

struct PgCloser {
    void operator()(PGconn* connection) const { PQfinish(connection); }
};
struct PgClearer {
    void operator()(PGresult* result) const { PQclear(result); }
};
using PgHandle = std::unique_ptr<PGconn, PgCloser>;
using PgResult = std::unique_ptr<PGresult, PgClearer>;

PgHandle openPostgres(const std::string& connectionInfo) {
    PgHandle connection(PQconnectdb(connectionInfo.c_str()));
    if (PQstatus(connection.get()) != CONNECTION_OK)
        throw std::runtime_error(PQerrorMessage(connection.get()));
    PQsetNoticeProcessor(
        connection.get(), [](void*, const char*) {}, nullptr);
    return connection;
}

PgResult run(PGconn* connection, const std::string& sql, ExecStatusType expected) {
    PgResult result(PQexec(connection, sql.c_str()));
    if (PQresultStatus(result.get()) != expected)
        throw std::runtime_error(sql + ": " + PQerrorMessage(connection));
    return result;
}

void postgresInsert(const std::string& connectionInfo, long rows) {
    PgHandle connection = openPostgres(connectionInfo);
    PGconn* pg = connection.get();
    run(pg, std::string("DROP TABLE IF EXISTS ") + floorTable, PGRES_COMMAND_OK);
    run(pg,
        std::string("CREATE TABLE ") + floorTable +
            " (Id integer NOT NULL, Nam text NOT NULL, Typ integer NOT NULL, IntVal integer,"
            " StrVal text, Status text NOT NULL)",
        PGRES_COMMAND_OK);
    run(pg, "BEGIN", PGRES_COMMAND_OK);
    run(pg, std::string("COPY ") + floorTable + " FROM STDIN", PGRES_COPY_IN);
    std::string block;
    for (long n = 0; n < rows; ++n) {
        const Row row(n);
        block += std::to_string(row.id) + '\t' + row.name + '\t' + std::to_string(row.type) + '\t';
        block += row.hasInteger() ? std::to_string(row.integer) + "\t\\N" : "\\N\t" + row.text;
        block += "\tACTIVE\n";
        if (block.size() > (1 << 16) || n + 1 == rows) {
            if (PQputCopyData(pg, block.data(), int(block.size())) != 1)
                throw std::runtime_error(PQerrorMessage(pg));
            block.clear();
        }
    }
    if (PQputCopyEnd(pg, nullptr) != 1)
        throw std::runtime_error(PQerrorMessage(pg));
    while (PGresult* raw = PQgetResult(pg)) {
        PgResult result(raw);
        if (PQresultStatus(raw) != PGRES_COMMAND_OK)
            throw std::runtime_error(PQerrorMessage(pg));
    }
    run(pg, "COMMIT", PGRES_COMMAND_OK);
}

long postgresSelect(const std::string& connectionInfo, const std::string& schema) {
    PgHandle connection = openPostgres(connectionInfo);
    const std::string prefix = schema.empty() ? "" : "\"" + schema + "\".";
    long rows = 0;
    size_t bytes = 0;
    for (const char* table : finalTables) {
        PgResult result = run(connection.get(), "SELECT * FROM " + prefix + table, PGRES_TUPLES_OK);
        const int count = PQntuples(result.get());
        const int columns = PQnfields(result.get());
        for (int row = 0; row < count; ++row)
            for (int column = 0; column < columns; ++column)
                bytes += size_t(PQgetlength(result.get(), row, column));
        rows += count;
    }
    if (bytes == size_t(-1))
        std::cerr << bytes;
    return rows;
}

int usage() {
    std::cerr << "usage: database_floor insert DATABASE ROWS\n"
                 "       database_floor select DATABASE [SCHEMA]\n";
    return 2;
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 3)
        return usage();
    const std::string mode = argv[1];
    const std::string database = argv[2];
    try {
        if (mode == "insert" && argc == 4) {
            const long rows = std::atol(argv[3]);
            if (rows < 0)
                return usage();
            if (isServer(database))
                postgresInsert(database, rows);
            else
                sqliteInsert(database, rows);
            return 0;
        }
        if (mode == "select" && argc <= 4) {
            const std::string schema = argc == 4 ? argv[3] : "";
            std::cout << (isServer(database) ? postgresSelect(database, schema)
                                             : sqliteSelect(database))
                      << '\n';
            return 0;
        }
    } catch (const std::exception& failure) {
        std::cerr << "database_floor: " << failure.what() << '\n';
        return 1;
    }
    return usage();
}
