#include "platform/database/connection.h"
#include "platform/database/dependencyrows.h"

#include <sqlite3.h>

#include <filesystem>
#include <functional>
#include <limits>
#include <new>
#include <stdexcept>
#include <string>
#include <utility>

namespace TABLINK {

namespace {

struct DatabaseCloser {
    void operator()(sqlite3* database) const { sqlite3_close_v2(database); }
};
struct StatementFinalizer {
    void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};
using DatabaseHandle = std::unique_ptr<sqlite3, DatabaseCloser>;
using StatementHandle = std::unique_ptr<sqlite3_stmt, StatementFinalizer>;

// Where the procedures live: SQLite has none of its own, so their bodies are rows of the
// repository and a call runs the body.
constexpr const char* procedureTable = "STORED_PROCEDURES";

bool onlyBlanks(const char* text) {
    for (; text && *text; ++text)
        if (*text != ' ' && *text != '\t' && *text != '\n' && *text != '\r' && *text != ';')
            return false;
    return true;
}

// Answers what `sql` failed with, or an empty text; `row` is called for each row.
template <class Row> std::string eachRow(sqlite3* database, const std::string& sql, Row row) {
    sqlite3_stmt* raw = nullptr;
    if (sqlite3_prepare_v2(database, sql.c_str(), -1, &raw, nullptr) != SQLITE_OK)
        return sqlite3_errmsg(database);
    const StatementHandle statement(raw);
    int step = SQLITE_ROW;
    while ((step = sqlite3_step(raw)) == SQLITE_ROW)
        row(raw);
    return step == SQLITE_DONE ? std::string() : sqlite3_errmsg(database);
}

// An id of a link row: the tables declare their ids integer, but a file's rows may hold
// anything, and the recursive query that this stands for would compare such a value as it is.
bool integerId(sqlite3_stmt* row, int column, CDependencyRows::Id& id, std::string& failure) {
    if (sqlite3_column_type(row, column) == SQLITE_INTEGER) {
        id = sqlite3_column_int64(row, column);
        return true;
    }
    const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(row, column));
    if (failure.empty())
        failure = "the link rows hold an id that is not an integer: " +
                  (text ? "'" + std::string(text) + "'" : std::string("NULL"));
    return false;
}

// The body of CAT_BUILD_DEPENDENCIES on this database, as a function of the connection:
// metamodel_build_dependencies(category links, type links) adds to the type links, with
// IsCatProp 0, every category a type reaches beyond its links, from the categories it
// inherits directly (IsCatProp 1), unless such rows are there already, and answers how many.
// SQLite's recursive queries pay for every step with a table of what they reached so far: on
// a deep schema that costs many times the insert of the rows, which is all this costs. The
// tables are those of the schema whose procedure is running.
void deriveDependencies(sqlite3_context* context, sqlite3_value** arguments) {
    sqlite3* database = sqlite3_context_db_handle(context);
    const std::string& prefix = *static_cast<const std::string*>(sqlite3_user_data(context));
    const auto table = [&](sqlite3_value* name) {
        const auto* text = reinterpret_cast<const char*>(sqlite3_value_text(name));
        return prefix + (text ? text : "");
    };
    const std::string categoryLinks = table(arguments[0]);
    const std::string typeLinks = table(arguments[1]);
    bool done = false;
    std::string failure =
        eachRow(database, "SELECT 1 FROM " + typeLinks + " WHERE IsCatProp = 0 LIMIT 1",
                [&](sqlite3_stmt*) { done = true; });
    CDependencyRows rows;
    // What a row holds that no id can stand for; a failure of the statement comes first.
    std::string badRow;
    if (failure.empty() && !done)
        failure = eachRow(
            database, "SELECT IdCat, IdCatParent FROM " + categoryLinks, [&](sqlite3_stmt* row) {
                CDependencyRows::Id category = 0;
                CDependencyRows::Id parent = 0;
                if (integerId(row, 0, category, badRow) && integerId(row, 1, parent, badRow))
                    rows.AddCategoryLink(category, parent);
            });
    if (failure.empty() && !done)
        failure =
            eachRow(database, "SELECT IdTyp, IdCatParent, IsCatProp = 1 FROM " + typeLinks,
                    [&](sqlite3_stmt* row) {
                        CDependencyRows::Id type = 0;
                        CDependencyRows::Id parent = 0;
                        if (integerId(row, 0, type, badRow) && integerId(row, 1, parent, badRow))
                            rows.AddTypeLink(type, parent, sqlite3_column_int(row, 2) != 0);
                    });
    if (failure.empty())
        failure = badRow;
    sqlite3_int64 added = 0;
    if (failure.empty() && !done) {
        sqlite3_stmt* raw = nullptr;
        if (sqlite3_prepare_v2(database,
                               ("INSERT INTO " + typeLinks +
                                " (IdTyp, IdCatParent, IsCatProp, Status) VALUES (?1, ?2, 0, "
                                "'ACTIVE')")
                                   .c_str(),
                               -1, &raw, nullptr) != SQLITE_OK)
            failure = sqlite3_errmsg(database);
        const StatementHandle insert(raw);
        rows.ForEachRow([&](CDependencyRows::Id type, CDependencyRows::Id category) {
            if (!failure.empty())
                return;
            sqlite3_bind_int64(raw, 1, type);
            sqlite3_bind_int64(raw, 2, category);
            if (sqlite3_step(raw) != SQLITE_DONE)
                failure = sqlite3_errmsg(database);
            sqlite3_reset(raw);
            ++added;
        });
    }
    if (failure.empty())
        sqlite3_result_int64(context, added);
    else
        sqlite3_result_error(context, failure.c_str(), -1);
}

// Nothing may unwind through SQLite's frames.
void buildDependencies(sqlite3_context* context, int, sqlite3_value** arguments) {
    try {
        deriveDependencies(context, arguments);
    } catch (const std::bad_alloc&) {
        sqlite3_result_error_nomem(context);
    } catch (const std::exception& failure) {
        sqlite3_result_error(context, failure.what(), -1);
    }
}

class SqliteBackend;

class SqliteBulkTarget : public IBulkTarget {
public:
    SqliteBulkTarget(SqliteBackend& backend, StatementHandle insert, std::string text, int columns)
        : backend_(backend), insert_(std::move(insert)), statement_(std::move(text)),
          columns_(columns) {}
    int columnCount() const override { return columns_; }
    const std::string& statement() const override { return statement_; }
    bool write(const std::vector<BulkValue>& values) override;
    const std::string& lastError() const override { return error_; }

private:
    bool writeRows(const std::vector<BulkValue>& values);

    SqliteBackend& backend_;
    StatementHandle insert_;
    std::string statement_;
    int columns_;
    std::string error_;
};

class SqliteBackend : public IBackend {
public:
    explicit SqliteBackend(DatabaseHandle database) : database_(std::move(database)) {
        // Only a statement of the database's own may call it, not a view or a trigger that
        // a file brings along.
        sqlite3_create_function_v2(database_.get(), "metamodel_build_dependencies", 2,
                                   SQLITE_UTF8 | SQLITE_DIRECTONLY, &procedurePrefix_,
                                   buildDependencies, nullptr, nullptr, nullptr);
    }
    ~SqliteBackend() override {
        current_.reset();
        endSnapshot();
        unlockWriters();
        finishBulk();
    }

    int serverKind() const override { return 1; }
    std::string defaultRepositoryName() override { return "main"; }
    bool acceptsRepositoryName(const std::string& name) override {
        bool found = false;
        StatementHandle list = prepare("PRAGMA database_list");
        while (list && sqlite3_step(list.get()) == SQLITE_ROW)
            found =
                found || name == reinterpret_cast<const char*>(sqlite3_column_text(list.get(), 1));
        return found;
    }

    bool query(const std::string& sql) override {
        endQuery();
        if (!finishBulk())
            return false;
        const char* tail = nullptr;
        current_ = prepare(sql, &tail);
        if (!current_)
            return false;
        if (!onlyBlanks(tail)) {
            current_.reset();
            error_ = "one statement at a time: '" + std::string(tail) + "' follows";
            return false;
        }
        const int step = sqlite3_step(current_.get());
        if (step != SQLITE_ROW && step != SQLITE_DONE) {
            error_ = sqlite3_errmsg(database_.get());
            current_.reset();
            return false;
        }
        rowWaiting_ = step == SQLITE_ROW;
        finished_ = step == SQLITE_DONE;
        failed_ = false;
        return true;
    }
    bool nextRow() override {
        if (!current_ || finished_)
            return false;
        if (rowWaiting_) {
            rowWaiting_ = false;
            return true;
        }
        const int step = sqlite3_step(current_.get());
        if (step == SQLITE_ROW)
            return true;
        finished_ = true;
        if (step != SQLITE_DONE) {
            failed_ = true;
            error_ = sqlite3_errmsg(database_.get());
        }
        return false;
    }
    int columnCount() const override { return current_ ? sqlite3_column_count(current_.get()) : 0; }
    int integerValue(int column) const override {
        return sqlite3_column_int(current_.get(), column);
    }
    std::string_view textValue(int column) const override {
        const auto* text =
            reinterpret_cast<const char*>(sqlite3_column_text(current_.get(), column));
        return text ? std::string_view(text, size_t(sqlite3_column_bytes(current_.get(), column)))
                    : std::string_view();
    }
    bool endQuery() override {
        current_.reset();
        const bool succeeded = !failed_;
        failed_ = false;
        return succeeded;
    }

    bool executeScript(const std::string& sql) override {
        return finishBulk() && inTransaction([&] { return execute(sql); });
    }
    bool commit() override {
        // Autocommit has nothing to commit; an explicit transaction is finished.
        return finishBulk() && (sqlite3_get_autocommit(database_.get()) != 0 || execute("COMMIT"));
    }
    // Schemas of an embedded database are its attached files; setRepositoryName has already
    // refused a name that is not one of them.
    bool createSchema(const std::string&) override { return true; }
    bool defineProcedure(const std::string& prefix, const std::string& name,
                         const std::string& body) override {
        const std::string table = prefix + procedureTable;
        if (!finishBulk())
            return false;
        return inTransaction([&] {
            if (!execute("CREATE TABLE IF NOT EXISTS " + table +
                         " (ProcName text PRIMARY KEY, ProcBody text NOT NULL)"))
                return false;
            // The same body stays as it is: setting up a repository that is ready already
            // must not change a byte of it.
            StatementHandle stored =
                prepare("SELECT ProcBody = ?2 FROM " + table + " WHERE ProcName = ?1");
            if (!stored)
                return false;
            sqlite3_bind_text(stored.get(), 1, name.data(), int(name.size()), SQLITE_TRANSIENT);
            sqlite3_bind_text(stored.get(), 2, body.data(), int(body.size()), SQLITE_TRANSIENT);
            if (sqlite3_step(stored.get()) == SQLITE_ROW && sqlite3_column_int(stored.get(), 0))
                return true;
            StatementHandle store = prepare("INSERT OR REPLACE INTO " + table +
                                            " (ProcName, ProcBody) VALUES (?1, ?2)");
            if (!store)
                return false;
            sqlite3_bind_text(store.get(), 1, name.data(), int(name.size()), SQLITE_TRANSIENT);
            sqlite3_bind_text(store.get(), 2, body.data(), int(body.size()), SQLITE_TRANSIENT);
            return step(store.get());
        });
    }
    bool callProcedure(const std::string& prefix, const std::string& name, bool,
                       int& result) override {
        if (!finishBulk())
            return false;
        StatementHandle find =
            prepare("SELECT ProcBody FROM " + prefix + procedureTable + " WHERE ProcName = ?1");
        if (!find)
            return false;
        sqlite3_bind_text(find.get(), 1, name.data(), int(name.size()), SQLITE_TRANSIENT);
        const int found = sqlite3_step(find.get());
        if (found != SQLITE_ROW) {
            error_ = found == SQLITE_DONE ? "the repository holds no procedure " + name
                                          : sqlite3_errmsg(database_.get());
            return false;
        }
        const std::string body = expandPrefixMarker(
            reinterpret_cast<const char*>(sqlite3_column_text(find.get(), 0)), prefix);
        find.reset();
        result = 0;
        procedurePrefix_ = prefix;
        const bool succeeded = inTransaction([&] { return execute(body); });
        procedurePrefix_.clear();
        return succeeded;
    }
    std::unique_ptr<IBulkTarget> openBulkTarget(const std::string& table) override {
        StatementHandle probe = prepare("SELECT * FROM " + table);
        if (!probe)
            return nullptr;
        const int columns = sqlite3_column_count(probe.get());
        std::string text = "INSERT INTO " + table + " VALUES (";
        for (int column = 1; column <= columns; ++column)
            text += (column > 1 ? ", ?" : "?") + std::to_string(column);
        text += ")";
        StatementHandle insert = prepare(text);
        if (!insert)
            return nullptr;
        return std::make_unique<SqliteBulkTarget>(*this, std::move(insert), text, columns);
    }

    // One read transaction: from its first query on it holds the database's shared lock, and no
    // writer can commit until it ends.
    // The moment is taken by the first query, whose failure to get the file tells itself.
    Snapshot beginSnapshot(const std::vector<std::string>&) override {
        current_.reset();
        if (!finishBulk())
            return Snapshot::Refused;
        if (sqlite3_get_autocommit(database_.get()) == 0)
            return Snapshot::NotHeld;
        if (!execute("BEGIN"))
            return Snapshot::Refused;
        snapshot_ = true;
        return Snapshot::Held;
    }
    void endSnapshot() override {
        if (!std::exchange(snapshot_, false))
            return;
        current_.reset();
        if (sqlite3_get_autocommit(database_.get()) == 0)
            execute("COMMIT");
    }
    // The writer's whole work is one transaction that holds the reserved lock from its start:
    // a second writer waits for it. Readers go on reading what was committed before until the
    // changes outgrow the page cache and the writer takes the file whole; then they wait for
    // its commit. What runs inside nests as savepoints.
    bool lockWriters(const std::string&) override {
        current_.reset();
        if (!finishBulk())
            return false;
        if (sqlite3_get_autocommit(database_.get()) == 0)
            return true;
        // A first transfer that made the file and then failed, or was interrupted, takes it
        // away again. SQLite refuses to fill a file that nobody can find, as a read-only
        // database, at the lock or only at the first write: a writer that waited for it
        // meanwhile says what happened, before it writes anything.
        const bool locked = execute("BEGIN IMMEDIATE");
        if (fileMoved()) {
            if (locked)
                execute("ROLLBACK");
            error_ = "the database file was removed or replaced while this connection waited "
                     "for it";
            return false;
        }
        writersLocked_ = locked;
        return locked;
    }
    bool unlockWriters() override {
        if (!std::exchange(writersLocked_, false))
            return true;
        current_.reset();
        return commitOrRollBack();
    }

    const std::string& lastError() const override { return error_; }

    // Blocks of rows share one transaction, opened by the first of them: a commit per block
    // would cost a sync of the journal per thousand rows. Anything else that runs on the
    // connection commits them first, and so does closing it; each block is still whole or
    // absent, under a savepoint of its own.
    bool beginBulk() {
        if (bulkOpen_ || sqlite3_get_autocommit(database_.get()) == 0)
            return true;
        if (!execute("BEGIN IMMEDIATE"))
            return false;
        bulkOpen_ = true;
        return true;
    }
    bool finishBulk() {
        if (!bulkOpen_)
            return true;
        bulkOpen_ = false;
        return commitOrRollBack();
    }
    // Ends the open transaction, undone when its commit fails. A failure that SQLite answers
    // by rolling back has ended it already.
    bool commitOrRollBack() {
        if (sqlite3_get_autocommit(database_.get()) != 0 || execute("COMMIT"))
            return true;
        const std::string cause = error_;
        execute("ROLLBACK");
        error_ = cause;
        return false;
    }

    // Runs the work inside a transaction of its own, or inside a savepoint when one is
    // already open, and undoes all of it when the work fails.
    bool inTransaction(const std::function<bool()>& work) {
        const bool outermost = sqlite3_get_autocommit(database_.get()) != 0;
        if (!execute(outermost ? "BEGIN IMMEDIATE" : "SAVEPOINT unit_of_work"))
            return false;
        if (work() && execute(outermost ? "COMMIT" : "RELEASE unit_of_work"))
            return true;
        const std::string cause = error_;
        execute(outermost ? "ROLLBACK" : "ROLLBACK TO unit_of_work; RELEASE unit_of_work");
        error_ = cause;
        return false;
    }

    bool execute(const std::string& sql) {
        char* message = nullptr;
        if (sqlite3_exec(database_.get(), sql.c_str(), nullptr, nullptr, &message) == SQLITE_OK)
            return true;
        error_ = message ? message : sqlite3_errmsg(database_.get());
        sqlite3_free(message);
        return false;
    }
    bool step(sqlite3_stmt* statement) {
        const int outcome = sqlite3_step(statement);
        if (outcome == SQLITE_DONE || outcome == SQLITE_ROW)
            return true;
        error_ = sqlite3_errmsg(database_.get());
        return false;
    }
    StatementHandle prepare(const std::string& sql, const char** tail = nullptr) {
        sqlite3_stmt* statement = nullptr;
        if (sqlite3_prepare_v2(database_.get(), sql.c_str(), int(sql.size()), &statement, tail) !=
            SQLITE_OK) {
            error_ = sqlite3_errmsg(database_.get());
            sqlite3_finalize(statement);
            return nullptr;
        }
        if (!statement)
            error_ = "the statement is empty";
        return StatementHandle(statement);
    }
    sqlite3* database() const { return database_.get(); }

private:
    // Whether the file was unlinked or renamed since it was opened.
    bool fileMoved() {
        int moved = 0;
        return sqlite3_file_control(database_.get(), "main", SQLITE_FCNTL_HAS_MOVED, &moved) ==
                   SQLITE_OK &&
               moved;
    }

    DatabaseHandle database_;
    // The schema, as a prefix of its tables, of the procedure that is running.
    std::string procedurePrefix_;
    StatementHandle current_;
    bool bulkOpen_ = false;
    bool snapshot_ = false;
    bool writersLocked_ = false;
    bool rowWaiting_ = false;
    bool finished_ = true;
    bool failed_ = false;
    std::string error_;
};

bool SqliteBulkTarget::write(const std::vector<BulkValue>& values) {
    const bool written =
        backend_.beginBulk() && backend_.inTransaction([&] { return writeRows(values); });
    if (!written && error_.empty())
        error_ = backend_.lastError();
    return written;
}

bool SqliteBulkTarget::writeRows(const std::vector<BulkValue>& values) {
    error_.clear();
    sqlite3_stmt* insert = insert_.get();
    for (size_t start = 0; start + size_t(columns_) <= values.size(); start += size_t(columns_)) {
        sqlite3_reset(insert);
        for (int column = 0; column < columns_; ++column) {
            const BulkValue& value = values[start + size_t(column)];
            switch (value.kind) {
            case BulkValue::Kind::Null:
                sqlite3_bind_null(insert, column + 1);
                break;
            case BulkValue::Kind::Integer:
                sqlite3_bind_int(insert, column + 1, value.integer);
                break;
            case BulkValue::Kind::Text:
                sqlite3_bind_text(insert, column + 1, value.text.data(), int(value.text.size()),
                                  SQLITE_STATIC);
                break;
            }
        }
        if (sqlite3_step(insert) != SQLITE_DONE) {
            error_ = sqlite3_errmsg(backend_.database());
            sqlite3_reset(insert);
            sqlite3_clear_bindings(insert);
            return false;
        }
    }
    sqlite3_reset(insert);
    sqlite3_clear_bindings(insert);
    return true;
}

} // namespace

std::unique_ptr<IBackend> openSqliteBackend(const std::string& path, OpenMode mode,
                                            std::string& error) {
    std::error_code ignored;
    if (!std::filesystem::exists(path, ignored)) {
        const std::filesystem::path folder = std::filesystem::path(path).parent_path();
        if (!folder.empty() && !std::filesystem::is_directory(folder, ignored)) {
            error = "the folder '" + folder.string() + "' of the database file does not exist";
            return nullptr;
        }
        if (mode == OpenMode::Existing) {
            error = "there is no database file '" + path + "'";
            return nullptr;
        }
    }
    sqlite3* opened = nullptr;
    // A connection belongs to one thread at a time: SQLite's own locking of every call would
    // only cost time.
    const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX |
                      (mode != OpenMode::Existing ? SQLITE_OPEN_CREATE : 0);
    const int outcome = sqlite3_open_v2(path.c_str(), &opened, flags, nullptr);
    DatabaseHandle database(opened);
    if (outcome != SQLITE_OK) {
        error = opened ? sqlite3_errmsg(opened) : "out of memory";
        return nullptr;
    }
    // A lock is waited for as long as another connection holds it, as on a server: a transfer
    // keeps other writers out from its start, and readers too once its changes outgrow the
    // page cache, until it commits. A caller may set a limit with PRAGMA busy_timeout.
    sqlite3_busy_timeout(database.get(), std::numeric_limits<int>::max());
    sqlite3_extended_result_codes(database.get(), 1);
    // Opening succeeds on any file; the first read tells whether it is a database.
    char* message = nullptr;
    if (sqlite3_exec(database.get(), "SELECT count(*) FROM sqlite_schema", nullptr, nullptr,
                     &message) != SQLITE_OK) {
        error = "'" + path + "': " + (message ? message : sqlite3_errmsg(database.get()));
        sqlite3_free(message);
        return nullptr;
    }
    // A committed transfer must outlive a power cut, whatever default this SQLite was built
    // with: the journal is synced before and after each commit.
    if (sqlite3_exec(database.get(), "PRAGMA synchronous = FULL", nullptr, nullptr, nullptr) !=
        SQLITE_OK) {
        error = sqlite3_errmsg(database.get());
        return nullptr;
    }
    return std::make_unique<SqliteBackend>(std::move(database));
}

} // namespace TABLINK
