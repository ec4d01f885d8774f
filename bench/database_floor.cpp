// database_floor count DATABASE [SCHEMA]
// database_floor insert DATABASE COUNTS [SCHEMA]
// database_floor select DATABASE [SCHEMA]
//
// The floors of the repository operations: what the database itself needs for the same rows,
// with nothing of the library in between.
//
// count   prints the number of rows of each of the eleven final repository tables, in the
//         order of the library's table list, on one line.
// insert  makes the eleven final tables, with the library's very column definitions, in
//         DATABASE (a new SQLite file, or a new SCHEMA on the server) and fills each with as
//         many rows as COUNTS (the line `count` prints) gives it, of the same shape as the
//         repository's rows: ids, names and descriptions about as long as the generated sets'
//         ones, one of IntVal and StrVal null. SQLite takes them through one prepared statement
//         per table (for TypCat with the two ids bound and the rest written in the statement,
//         as the dependency procedure inserts the links that types reach through their
//         categories, nearly all of that table on a deep schema: with every value bound the
//         floor of the deep set came out no lower than the tool's whole transfer) in one
//         transaction, committed with the tool's synchronous FULL, on a
//         connection without SQLite's own locks, without its count of the memory it takes
//         (a lock on every allocation: a tenth of this floor) and with texts bound where they
//         lie, as the tool does (with locks and copied texts this floor cost a third more on
//         the deep set, and the tool's transfer came out below it); the server through COPY in
//         large blocks, its fastest way in. The values are made in place, row after row, at
//         next to no cost.
//         Making the tables is part of it: the tool makes its own as well.
// select  runs the reader's eleven statements (their columns, filter and order) and touches
//         every value: rows the tool does not read are not read here either. Prints the number
//         of rows read.
//
// DATABASE is a path of an SQLite file or a libpq connection string ("postgresql://..." or
// "key=value ..."). Exit 1 on any failure of the database.
//
// Built twice: `database_floor` knows the embedded database only, so that its floor does not
// pay for loading the server's client library (and the two dozen libraries behind it), which
// the tool loads only when it meets a server; `database_floor_server` knows both.

#include "metamodel/repository/repositoryformat.h"

#ifdef DATABASE_FLOOR_SERVER
#include <libpq-fe.h>
#endif
#include <sqlite3.h>

#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace {

using MetaModel::Repository::repositoryTables;
using MetaModel::Repository::TableCount;

// The reader's statements, in the order of the library's table list.
constexpr const char* readerStatements[TableCount] = {
    "select IdCat,CatNam,CatDsc,Status from {}Cat order by IdCat",
    "select IdCat,AttrNam,AttrTyp,IntVal,StrVal,Status from {}CatAttr order by IdCat, AttrNam",
    "select IdCat,IdCatParent,Status from {}CatCat order by IdCatParent",
    "select IdFrom,IdTo,IdCat,Status from {}TreeCat",
    "select IdTyp,TypNam,TypDsc,Status from {}Typ order by IdTyp",
    "select IdTyp,AttrNam,AttrTyp,IntVal,StrVal,Status from {}TypAttr order by IdTyp, AttrNam",
    "select IdTyp,IdCatParent,Status from {}TypCat where IsCatProp = 1 order by IdCatParent",
    "select IdProp,PropNam,PropDsc,PropTyp,PropMrg,CardMin,CardMax,Status from {}Prop",
    "select IdProp,AttrNam,AttrTyp,IntVal,StrVal,Status from {}PropAttr order by IdProp, AttrNam",
    "select IdProp,IdCat,Status from {}PropCat order by IdProp",
    "select IdProp,IdTyp,Status from {}TypProp order by IdProp",
};

std::string withPrefix(const char* statement, const std::string& prefix) {
    std::string text = statement;
    text.replace(text.find("{}"), 2, prefix);
    return text;
}

// What a column holds, from its name: the values are made by kind, row after row.
enum class Kind { Integer, Status, Description, Merge, Name };

struct Column {
    std::string name;
    bool integer;
    bool nullable;
    Kind kind;
    size_t nullableBefore; // nullable columns to the left of this one
};

// "IdCat integer NOT NULL, StrVal text" as columns.
std::vector<Column> columnsOf(const char* definitions) {
    std::vector<Column> columns;
    std::stringstream all(definitions);
    std::string definition;
    while (std::getline(all, definition, ',')) {
        std::stringstream words(definition);
        Column column;
        std::string type;
        words >> column.name >> type;
        column.integer = type == "integer";
        column.nullable = definition.find("NOT NULL") == std::string::npos;
        column.kind = column.integer                 ? Kind::Integer
                      : column.name == "Status"      ? Kind::Status
                      : column.name.ends_with("Dsc") ? Kind::Description
                      : column.name.ends_with("Mrg") ? Kind::Merge
                                                     : Kind::Name;
        column.nullableBefore = 0;
        for (const Column& before : columns)
            column.nullableBefore += before.nullable ? 1 : 0;
        columns.push_back(column);
    }
    return columns;
}

// The value of column `index` in row `n`, or nothing for a null: the nullable columns take
// turns, so that a row has one of IntVal and StrVal, as an attribute row has. Texts are as
// long as the generated sets' ones: short names, descriptions of a sentence.
struct Value {
    bool null = false;
    bool integer = false;
    int number = 0;
    std::string text;
};

void appendNumber(std::string& text, long number) {
    char digits[24];
    const auto end = std::to_chars(digits, digits + sizeof digits, number).ptr;
    text.append(digits, end);
}

// Fills `value` in place, its text keeping its room from row to row: making the values must
// cost next to nothing beside the database's work.
void fillValue(const std::vector<Column>& columns, size_t index, long n, Value& value) {
    const Column& column = columns[index];
    value.null = column.nullable && (size_t(n) + column.nullableBefore) % 2 == 0;
    if (value.null)
        return;
    value.integer = column.integer;
    switch (column.kind) {
    case Kind::Integer:
        value.number = int(index == 0 ? n / 2 + 1000 : (n * 7919 + long(index)) % 1000000);
        break;
    case Kind::Status:
        value.text = "ACTIVE";
        break;
    case Kind::Description:
        value.text = "Synthetic element ";
        appendNumber(value.text, n);
        value.text += " of the benchmark set.";
        break;
    case Kind::Merge:
        value.text = "NON";
        break;
    case Kind::Name:
        value.text = "v_";
        appendNumber(value.text, n);
        break;
    }
}

std::vector<long> parseCounts(const std::string& line) {
    std::vector<long> counts;
    std::stringstream words(line);
    long count;
    while (words >> count)
        counts.push_back(count);
    if (counts.size() != size_t(TableCount))
        throw std::runtime_error("COUNTS must give " + std::to_string(TableCount) + " numbers");
    return counts;
}

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

void exec(sqlite3* database, const std::string& sql) {
    check(database, sqlite3_exec(database, sql.c_str(), nullptr, nullptr, nullptr));
}

// Without SQLite's own locks, as the tool opens it: one thread uses the connection.
SqliteHandle openSqlite(const std::string& path, int flags) {
    sqlite3* raw = nullptr;
    const int outcome = sqlite3_open_v2(path.c_str(), &raw, flags | SQLITE_OPEN_NOMUTEX, nullptr);
    SqliteHandle database(raw);
    check(database.get(), outcome);
    // What the tool asks for: a committed transfer outlives a power cut.
    exec(database.get(), "PRAGMA synchronous = FULL");
    return database;
}

StatementHandle prepare(sqlite3* database, const std::string& sql) {
    sqlite3_stmt* raw = nullptr;
    check(database, sqlite3_prepare_v2(database, sql.c_str(), -1, &raw, nullptr));
    return StatementHandle(raw);
}

void sqliteInsert(const std::string& path, const std::vector<long>& counts) {
    SqliteHandle database = openSqlite(path, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE);
    sqlite3* db = database.get();
    exec(db, "BEGIN");
    for (int index = 0; index < TableCount; ++index) {
        const auto& table = repositoryTables()[size_t(index)];
        const std::vector<Column> columns = columnsOf(table.finalColumns);
        exec(db, std::string("CREATE TABLE ") + table.finalName + " (" + table.finalColumns + ")");
        // Nearly all TypCat rows are the links that types reach through their categories, which
        // the dependency procedure inserts with two values bound and the rest written into its
        // statement: the floor inserts its TypCat rows so too.
        const bool reachedLinks = std::string_view(table.finalName) == "TypCat";
        const size_t bound = reachedLinks ? 2 : columns.size();
        std::string text = std::string("INSERT INTO ") + table.finalName + " VALUES (";
        for (size_t column = 0; column < bound; ++column)
            text += column ? ", ?" : "?";
        if (reachedLinks)
            text += ", 0, 'ACTIVE'";
        StatementHandle insert = prepare(db, text + ")");
        sqlite3_stmt* statement = insert.get();
        // One value per column, alive until the row is stepped: texts are bound without a copy,
        // as the tool binds them.
        std::vector<Value> values(columns.size());
        for (long n = 0; n < counts[size_t(index)]; ++n) {
            for (size_t column = 0; column < bound; ++column) {
                Value& value = values[column];
                fillValue(columns, column, n, value);
                const int slot = int(column) + 1;
                if (value.null)
                    sqlite3_bind_null(statement, slot);
                else if (value.integer)
                    sqlite3_bind_int(statement, slot, value.number);
                else
                    sqlite3_bind_text(statement, slot, value.text.data(), int(value.text.size()),
                                      SQLITE_STATIC);
            }
            check(db, sqlite3_step(statement), SQLITE_DONE);
            sqlite3_reset(statement);
        }
    }
    exec(db, "COMMIT");
}

std::vector<long> sqliteCount(const std::string& path) {
    SqliteHandle database = openSqlite(path, SQLITE_OPEN_READONLY);
    std::vector<long> counts;
    for (const auto& table : repositoryTables()) {
        StatementHandle count =
            prepare(database.get(), std::string("SELECT count(*) FROM ") + table.finalName);
        check(database.get(), sqlite3_step(count.get()), SQLITE_ROW);
        counts.push_back(sqlite3_column_int64(count.get(), 0));
    }
    return counts;
}

long sqliteSelect(const std::string& path) {
    SqliteHandle database = openSqlite(path, SQLITE_OPEN_READONLY);
    long rows = 0;
    size_t bytes = 0;
    for (const char* text : readerStatements) {
        StatementHandle select = prepare(database.get(), withPrefix(text, ""));
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

#ifdef DATABASE_FLOOR_SERVER

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

std::string schemaPrefix(const std::string& schema) {
    return schema.empty() ? "" : "\"" + schema + "\".";
}

void postgresInsert(const std::string& connectionInfo, const std::vector<long>& counts,
                    const std::string& schema) {
    PgHandle connection = openPostgres(connectionInfo);
    PGconn* pg = connection.get();
    const std::string prefix = schemaPrefix(schema);
    run(pg, "BEGIN", PGRES_COMMAND_OK);
    if (!schema.empty())
        run(pg, "CREATE SCHEMA \"" + schema + "\"", PGRES_COMMAND_OK);
    std::string block;
    Value value;
    for (int index = 0; index < TableCount; ++index) {
        const auto& table = repositoryTables()[size_t(index)];
        const std::vector<Column> columns = columnsOf(table.finalColumns);
        run(pg, "CREATE TABLE " + prefix + table.finalName + " (" + table.finalColumns + ")",
            PGRES_COMMAND_OK);
        run(pg, "COPY " + prefix + table.finalName + " FROM STDIN", PGRES_COPY_IN);
        const long rows = counts[size_t(index)];
        for (long n = 0; n < rows; ++n) {
            for (size_t column = 0; column < columns.size(); ++column) {
                fillValue(columns, column, n, value);
                if (column)
                    block += '\t';
                if (value.null)
                    block += "\\N";
                else if (value.integer)
                    appendNumber(block, value.number);
                else
                    block += value.text;
            }
            block += '\n';
            if (block.size() > (1 << 20) || n + 1 == rows) {
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
    }
    run(pg, "COMMIT", PGRES_COMMAND_OK);
}

std::vector<long> postgresCount(const std::string& connectionInfo, const std::string& schema) {
    PgHandle connection = openPostgres(connectionInfo);
    std::vector<long> counts;
    for (const auto& table : repositoryTables()) {
        PgResult result =
            run(connection.get(), "SELECT count(*) FROM " + schemaPrefix(schema) + table.finalName,
                PGRES_TUPLES_OK);
        counts.push_back(std::atol(PQgetvalue(result.get(), 0, 0)));
    }
    return counts;
}

long postgresSelect(const std::string& connectionInfo, const std::string& schema) {
    PgHandle connection = openPostgres(connectionInfo);
    long rows = 0;
    size_t bytes = 0;
    for (const char* text : readerStatements) {
        PgResult result =
            run(connection.get(), withPrefix(text, schemaPrefix(schema)), PGRES_TUPLES_OK);
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

#else

[[noreturn]] void serverUnknown() {
    throw std::runtime_error(
        "this build knows the embedded database only; run database_floor_server");
}
void postgresInsert(const std::string&, const std::vector<long>&, const std::string&) {
    serverUnknown();
}
std::vector<long> postgresCount(const std::string&, const std::string&) {
    serverUnknown();
}
long postgresSelect(const std::string&, const std::string&) {
    serverUnknown();
}

#endif

int usage() {
    std::cerr << "usage: database_floor count DATABASE [SCHEMA]\n"
                 "       database_floor insert DATABASE COUNTS [SCHEMA]\n"
                 "       database_floor select DATABASE [SCHEMA]\n";
    return 2;
}

} // namespace

int main(int argc, char** argv) {
    // As the tool does: no count of SQLite's memory, kept under a lock on every allocation.
    sqlite3_config(SQLITE_CONFIG_MEMSTATUS, 0);
    if (argc < 3)
        return usage();
    const std::string mode = argv[1];
    const std::string database = argv[2];
    const bool server = isServer(database);
    try {
        if (mode == "insert" && (argc == 4 || argc == 5)) {
            const std::vector<long> counts = parseCounts(argv[3]);
            const std::string schema = argc == 5 ? argv[4] : "";
            if (server)
                postgresInsert(database, counts, schema);
            else
                sqliteInsert(database, counts);
            return 0;
        }
        const std::string schema = argc == 4 ? argv[3] : "";
        if (mode == "count" && argc <= 4) {
            const std::vector<long> counts =
                server ? postgresCount(database, schema) : sqliteCount(database);
            for (size_t index = 0; index < counts.size(); ++index)
                std::cout << (index ? " " : "") << counts[index];
            std::cout << '\n';
            return 0;
        }
        if (mode == "select" && argc <= 4) {
            std::cout << (server ? postgresSelect(database, schema) : sqliteSelect(database))
                      << '\n';
            return 0;
        }
    } catch (const std::exception& failure) {
        std::cerr << "database_floor: " << failure.what() << '\n';
        return 1;
    }
    return usage();
}
