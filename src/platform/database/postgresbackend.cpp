#include "platform/database/connection.h"

#include <dlfcn.h>
#include <libpq-fe.h>

#include <array>
#include <atomic>
#include <cctype>
#include <charconv>
#include <cstring>
#include <initializer_list>
#include <utility>

namespace TABLINK {

namespace {

// The client library and the two dozen libraries it pulls in (TLS, Kerberos, LDAP...) cost
// every run several milliseconds of start-up, yet most runs never meet a server: they are
// loaded when a server repository is first opened. The header stays, so that each pointer
// keeps the declared signature and a mismatch fails to compile.
#define METAMODEL_CLIENT_FUNCTIONS(X)                                                              \
    X(PQconnectdb)                                                                                 \
    X(PQstatus)                                                                                    \
    X(PQerrorMessage)                                                                              \
    X(PQfinish)                                                                                    \
    X(PQsetNoticeProcessor)                                                                        \
    X(PQexec)                                                                                      \
    X(PQexecParams)                                                                                \
    X(PQresultStatus)                                                                              \
    X(PQresultErrorField)                                                                          \
    X(PQclear)                                                                                     \
    X(PQntuples)                                                                                   \
    X(PQnfields)                                                                                   \
    X(PQgetvalue)                                                                                  \
    X(PQgetlength)                                                                                 \
    X(PQgetisnull)                                                                                 \
    X(PQputCopyData)                                                                               \
    X(PQputCopyEnd)                                                                                \
    X(PQgetResult)                                                                                 \
    X(PQserverVersion)                                                                             \
    X(PQtransactionStatus)                                                                         \
    X(PQgetCancel)                                                                                 \
    X(PQfreeCancel)                                                                                \
    X(PQcancel)

struct ClientLibrary {
#define METAMODEL_CLIENT_POINTER(name) decltype(&::name) name = nullptr;
    METAMODEL_CLIENT_FUNCTIONS(METAMODEL_CLIENT_POINTER)
#undef METAMODEL_CLIENT_POINTER
    // Empty once every function is resolved.
    std::string error;
};

ClientLibrary loadClientLibrary() {
    ClientLibrary library;
    // Never closed: a connection or a result may be freed as late as the process's exit.
    void* handle = dlopen("libpq.so.5", RTLD_NOW | RTLD_LOCAL);
    if (!handle) {
        const char* reason = dlerror();
        library.error = reason ? reason : "libpq.so.5 could not be loaded";
        return library;
    }
#define METAMODEL_CLIENT_RESOLVE(name)                                                             \
    if (library.error.empty()) {                                                                   \
        library.name = reinterpret_cast<decltype(&::name)>(dlsym(handle, #name));                  \
        if (!library.name) {                                                                       \
            const char* reason = dlerror();                                                        \
            library.error = reason ? reason : "libpq.so.5 has no " #name;                          \
        }                                                                                          \
    }
    METAMODEL_CLIENT_FUNCTIONS(METAMODEL_CLIENT_RESOLVE)
#undef METAMODEL_CLIENT_RESOLVE
    return library;
}
#undef METAMODEL_CLIENT_FUNCTIONS

// Loaded once per process, under the guard of a local static, whichever thread comes first.
const ClientLibrary& pq() {
    static const ClientLibrary library = loadClientLibrary();
    return library;
}

struct ConnectionCloser {
    void operator()(PGconn* connection) const { pq().PQfinish(connection); }
};
struct ResultClearer {
    void operator()(PGresult* result) const { pq().PQclear(result); }
};
using ConnectionHandle = std::unique_ptr<PGconn, ConnectionCloser>;
using ResultHandle = std::unique_ptr<PGresult, ResultClearer>;

// Notices ("relation already exists, skipping", "there is no transaction in progress") are
// not failures and must not reach the terminal.
void ignoreNotice(void*, const char*) {}

// The client library's own texts run over several indented lines and end in a full stop; a
// diagnostic is one line, and the message that carries the text ends it itself.
std::string oneLine(const char* text) {
    std::string result;
    bool gap = false;
    for (const char* at = text ? text : ""; *at; ++at) {
        if (std::isspace(static_cast<unsigned char>(*at))) {
            gap = !result.empty();
            continue;
        }
        if (gap)
            result += ' ';
        gap = false;
        result += *at;
    }
    if (!result.empty() && result.back() == '.')
        result.pop_back();
    return result;
}

std::string errorOf(PGconn* connection, const PGresult* result) {
    if (result)
        if (const char* primary = pq().PQresultErrorField(result, PG_DIAG_MESSAGE_PRIMARY))
            return primary;
    return oneLine(pq().PQerrorMessage(connection));
}

bool succeeded(const PGresult* result) {
    const ExecStatusType status = pq().PQresultStatus(result);
    return result && (status == PGRES_COMMAND_OK || status == PGRES_TUPLES_OK);
}

// COPY's text format: tab between values, \N for null, backslash escapes for the characters
// that would end a value or a row.
void appendCopyValue(std::string& line, const BulkValue& value) {
    switch (value.kind) {
    case BulkValue::Kind::Null:
        line += "\\N";
        return;
    case BulkValue::Kind::Integer:
        line += std::to_string(value.integer);
        return;
    case BulkValue::Kind::Text:
        for (const char c : value.text) {
            switch (c) {
            case '\\':
                line += "\\\\";
                break;
            case '\t':
                line += "\\t";
                break;
            case '\n':
                line += "\\n";
                break;
            case '\r':
                line += "\\r";
                break;
            default:
                line += c;
            }
        }
        return;
    }
}

// How a block is copied in. Servers before 17 batch the rows of a COPY and pay, for each
// statement, a cost that grows about with the square of the batch (in a profile: the
// bookkeeping of the slots that hold the batched rows, released one by one at the end):
// measured on 15, about 1 ms for a block of 1000 rows, twice the work of inserting them one by
// one, against 0.03 ms for 250. A volatile condition makes the server take the rows one at a
// time. COPY takes a condition from 12 on; 17 reworked that bookkeeping.
std::string copyStatement(PGconn* connection, const std::string& table) {
    const int version = pq().PQserverVersion(connection);
    const bool rowByRow = version >= 120000 && version < 170000;
    return "COPY " + table + " FROM STDIN" + (rowByRow ? " WHERE pg_catalog.random() >= 0" : "");
}

// Each block is a transaction of its own. Its commit need not wait for the server's disk: the
// procedure that hands the work tables over commits as usual, and since the server's log is
// written in order, that commit makes every block before it as durable as itself. A crash
// before it loses blocks of the work tables only, and the transfer has failed then anyway,
// its final tables as they were. (A server without syncs, as in the benchmarks, shows no
// difference; on one with them, set L went from 0.71 s to 0.59 s, best of ten on this machine.)
constexpr const char* withoutWaitingForTheDisk = "SET LOCAL synchronous_commit TO off; ";

class PostgresBulkTarget : public IBulkTarget {
public:
    PostgresBulkTarget(PGconn* connection, const std::string& table, int columns)
        : connection_(connection), statement_(copyStatement(connection, table)),
          request_(withoutWaitingForTheDisk + statement_), columns_(columns) {}
    int columnCount() const override { return columns_; }
    const std::string& statement() const override { return statement_; }
    const std::string& lastError() const override { return error_; }

    bool write(const std::vector<BulkValue>& values) override {
        error_.clear();
        // Several statements in one query run as one transaction: the setting is the block's.
        ResultHandle start(pq().PQexec(connection_, request_.c_str()));
        if (pq().PQresultStatus(start.get()) != PGRES_COPY_IN) {
            error_ = errorOf(connection_, start.get());
            return false;
        }
        std::string data;
        for (size_t index = 0; index < values.size(); ++index) {
            appendCopyValue(data, values[index]);
            data += (index + 1) % size_t(columns_) == 0 ? '\n' : '\t';
        }
        const bool sent = pq().PQputCopyData(connection_, data.data(), int(data.size())) == 1;
        if (!sent)
            error_ = errorOf(connection_, nullptr);
        // Ending with an error text makes the server drop the whole block.
        pq().PQputCopyEnd(connection_, sent ? nullptr : "the rows could not be sent");
        bool written = sent;
        while (PGresult* raw = pq().PQgetResult(connection_)) {
            ResultHandle result(raw);
            if (!succeeded(result.get())) {
                if (written)
                    error_ = errorOf(connection_, result.get());
                written = false;
            }
        }
        return written;
    }

private:
    PGconn* connection_;
    std::string statement_;
    std::string request_;
    int columns_;
    std::string error_;
};

// Takes the writer lock of the schema named by $1 and answers its key. The key's high half
// keeps it apart from the advisory locks of other programs on the same database; the low half
// is the schema's oid.
constexpr const char* writerLockQuery =
    "SELECT key, pg_catalog.pg_advisory_lock(key) FROM (SELECT (1296913490::bigint << 32) | "
    "coalesce((SELECT oid FROM pg_catalog.pg_namespace WHERE nspname = $1), 0)::bigint) AS "
    "lock(key)";

// Whether the procedure $2 of the schema that the prefix $1 names (the current one when it is
// empty) has the body $3.
constexpr const char* sameProcedureQuery =
    "SELECT prosrc = $3 FROM pg_catalog.pg_proc WHERE oid = pg_catalog.to_regprocedure(CASE WHEN "
    "$1 = '' THEN pg_catalog.quote_ident(pg_catalog.current_schema()) || '.' ELSE $1 END || $2 "
    "|| '(integer)')";

// The connections a signal handler may ask the server to stop working for. A handler may
// neither allocate nor lock: the cancel requests are made while a connection opens and lie in
// fixed slots, and the client library sends one from a handler safely. Connections beyond the
// slots run without.
constexpr size_t cancelSlotCount = 8;
std::array<std::atomic<PGcancel*>, cancelSlotCount> cancelSlots{};
std::atomic<decltype(&::PQcancel)> sendCancel{nullptr};

class CancelRegistration {
public:
    explicit CancelRegistration(PGconn* connection) {
        PGcancel* request = pq().PQgetCancel(connection);
        if (!request)
            return;
        sendCancel.store(pq().PQcancel);
        for (std::atomic<PGcancel*>& slot : cancelSlots) {
            PGcancel* empty = nullptr;
            if (slot.compare_exchange_strong(empty, request)) {
                slot_ = &slot;
                return;
            }
        }
        pq().PQfreeCancel(request);
    }
    ~CancelRegistration() {
        // Out of the handler's reach before it is freed.
        if (slot_)
            pq().PQfreeCancel(slot_->exchange(nullptr));
    }
    CancelRegistration(const CancelRegistration&) = delete;
    CancelRegistration& operator=(const CancelRegistration&) = delete;

private:
    std::atomic<PGcancel*>* slot_ = nullptr;
};

class PostgresBackend : public IBackend {
public:
    explicit PostgresBackend(ConnectionHandle connection)
        : connection_(std::move(connection)), cancel_(connection_.get()) {}

    int serverKind() const override { return 5; }
    std::string defaultRepositoryName() override {
        ResultHandle result(run("SELECT current_schema()"));
        return result && pq().PQntuples(result.get()) == 1 ? pq().PQgetvalue(result.get(), 0, 0)
                                                           : "";
    }
    // Only a schema that is there: a mistyped name must be told as such, not as a statement
    // on tables that cannot be found.
    bool acceptsRepositoryName(const std::string& name) override {
        const char* values[] = {name.c_str()};
        ResultHandle found(pq().PQexecParams(connection_.get(),
                                             "SELECT 1 FROM pg_namespace WHERE nspname = $1", 1,
                                             nullptr, values, nullptr, nullptr, 0));
        return succeeded(found.get()) && pq().PQntuples(found.get()) == 1;
    }

    size_t repositoryNameLimit() override {
        if (nameLimit_ == 0) {
            ResultHandle limit(run("SHOW max_identifier_length"));
            if (succeeded(limit.get()) && pq().PQntuples(limit.get()) == 1) {
                const char* text = pq().PQgetvalue(limit.get(), 0, 0);
                std::from_chars(text, text + std::strlen(text), nameLimit_);
            }
        }
        return nameLimit_;
    }

    bool query(const std::string& sql) override {
        endQuery();
        // The extended protocol takes exactly one statement.
        current_.reset(pq().PQexecParams(connection_.get(), sql.c_str(), 0, nullptr, nullptr,
                                         nullptr, nullptr, 0));
        if (!succeeded(current_.get())) {
            error_ = errorOf(connection_.get(), current_.get());
            current_.reset();
            return false;
        }
        row_ = -1;
        return true;
    }
    bool nextRow() override {
        if (!current_ || row_ + 1 >= pq().PQntuples(current_.get()))
            return false;
        ++row_;
        return true;
    }
    int columnCount() const override { return current_ ? pq().PQnfields(current_.get()) : 0; }
    int integerValue(int column) const override {
        const std::string_view text = textValue(column);
        int value = 0;
        std::from_chars(text.data(), text.data() + text.size(), value);
        return value;
    }
    std::string_view textValue(int column) const override {
        return std::string_view(pq().PQgetvalue(current_.get(), row_, column),
                                size_t(pq().PQgetlength(current_.get(), row_, column)));
    }
    // All rows arrive with the request, so a failure shows there and not here.
    bool endQuery() override {
        current_.reset();
        return true;
    }

    // Several statements in one simple query run as one transaction.
    bool executeScript(const std::string& sql) override { return runChecked(sql); }
    bool commit() override { return true; }
    // CREATE SCHEMA asks for the right to make schemas even when the schema is there already:
    // a role that may only use an existing one must still get through.
    bool createSchema(const std::string& quotedSchema) override {
        const auto exists = [&] {
            return answersTrue("SELECT to_regnamespace($1) IS NOT NULL", {quotedSchema.c_str()});
        };
        if (exists() || runChecked("CREATE SCHEMA IF NOT EXISTS " + quotedSchema))
            return true;
        // Another connection made it in the meantime: IF NOT EXISTS does not cover a schema
        // that is being made.
        const std::string cause = error_;
        if (exists())
            return true;
        error_ = cause;
        return false;
    }
    bool defineProcedure(const std::string& prefix, const std::string& name,
                         const std::string& body) override {
        static const std::string quote = "$procedure_body$";
        const std::string statements = expandPrefixMarker(body, prefix);
        if (statements.find(quote) != std::string::npos) {
            error_ = "the body of " + name + " holds " + quote;
            return false;
        }
        const std::string source = "\nBEGIN\n" + statements + "\nresult := 0;\nEND\n";
        // The same body stays as it is: replacing it would take the right to own the
        // procedure, and two set-ups on other connections would collide in the catalogue.
        if (answersTrue(sameProcedureQuery, {prefix.c_str(), name.c_str(), source.c_str()}))
            return true;
        return runChecked("CREATE OR REPLACE PROCEDURE " + prefix + name +
                          "(INOUT result integer DEFAULT 0) LANGUAGE plpgsql AS " + quote + source +
                          quote);
    }
    // A procedure call is a statement of its own, and so one transaction.
    bool callProcedure(const std::string& prefix, const std::string& name, bool wantResult,
                       int& result) override {
        ResultHandle outcome(run("CALL " + prefix + name + (wantResult ? "(NULL)" : "()")));
        if (!succeeded(outcome.get())) {
            error_ = errorOf(connection_.get(), outcome.get());
            return false;
        }
        result = 0;
        if (pq().PQntuples(outcome.get()) > 0 && pq().PQnfields(outcome.get()) > 0 &&
            !pq().PQgetisnull(outcome.get(), 0, 0)) {
            const char* text = pq().PQgetvalue(outcome.get(), 0, 0);
            std::from_chars(text, text + pq().PQgetlength(outcome.get(), 0, 0), result);
        }
        return true;
    }
    std::unique_ptr<IBulkTarget> openBulkTarget(const std::string& table) override {
        ResultHandle probe(run("SELECT * FROM " + table + " LIMIT 0"));
        if (!succeeded(probe.get())) {
            error_ = errorOf(connection_.get(), probe.get());
            return nullptr;
        }
        return std::make_unique<PostgresBulkTarget>(connection_.get(), table,
                                                    pq().PQnfields(probe.get()));
    }

    // A repeatable read holds one snapshot of the rows, but the tables themselves are looked
    // up afresh: a transfer that replaces them after the snapshot was taken would show its new,
    // and to the snapshot empty, tables. The locks keep the transfer's replacement waiting, or
    // wait for it to end; both sides take the tables in the same order, so neither waits for
    // the other in a circle.
    Snapshot beginSnapshot(const std::vector<std::string>& tables) override {
        endQuery();
        if (pq().PQtransactionStatus(connection_.get()) != PQTRANS_IDLE)
            return Snapshot::NotHeld;
        if (!runChecked("BEGIN ISOLATION LEVEL REPEATABLE READ, READ ONLY"))
            return Snapshot::Refused;
        std::string lock;
        for (const std::string& table : tables)
            lock += (lock.empty() ? "LOCK TABLE " : ", ") + table;
        if (lock.empty()) {
            snapshot_ = true;
            return Snapshot::Held;
        }
        ResultHandle locked(run(lock + " IN ACCESS SHARE MODE"));
        if (succeeded(locked.get())) {
            snapshot_ = true;
            return Snapshot::Held;
        }
        const std::string cause = errorOf(connection_.get(), locked.get());
        const char* state = pq().PQresultErrorField(locked.get(), PG_DIAG_SQLSTATE);
        const std::string_view code = state ? state : "";
        runChecked("ROLLBACK");
        error_ = cause;
        // Undefined table, undefined schema.
        return code == "42P01" || code == "3F000" ? Snapshot::NotHeld : Snapshot::Refused;
    }
    void endSnapshot() override {
        if (std::exchange(snapshot_, false))
            runChecked("ROLLBACK");
    }
    // A lock of the session, not of a transaction: the writer's blocks and procedures are
    // transactions of their own, and a caller's transaction keeps no other writer out. The
    // server lets it go with the connection, however that ends.
    bool lockWriters(const std::string& repositoryName) override {
        endQuery();
        const char* values[] = {repositoryName.c_str()};
        ResultHandle locked(pq().PQexecParams(connection_.get(), writerLockQuery, 1, nullptr,
                                              values, nullptr, nullptr, 0));
        if (!succeeded(locked.get()) || pq().PQntuples(locked.get()) != 1) {
            error_ = errorOf(connection_.get(), locked.get());
            return false;
        }
        writerLock_ = pq().PQgetvalue(locked.get(), 0, 0);
        return true;
    }
    bool unlockWriters() override {
        if (writerLock_.empty())
            return true;
        const std::string key = std::exchange(writerLock_, std::string());
        return runChecked("SELECT pg_catalog.pg_advisory_unlock(" + key + ")");
    }

    const std::string& lastError() const override { return error_; }

private:
    // Whether the query, given the parameters, answers one row whose first value is true.
    bool answersTrue(const char* query, std::initializer_list<const char*> parameters) {
        const std::vector<const char*> values(parameters);
        ResultHandle answer(pq().PQexecParams(connection_.get(), query, int(values.size()), nullptr,
                                              values.data(), nullptr, nullptr, 0));
        return succeeded(answer.get()) && pq().PQntuples(answer.get()) == 1 &&
               std::string_view(pq().PQgetvalue(answer.get(), 0, 0)) == "t";
    }
    ResultHandle run(const std::string& sql) {
        return ResultHandle(pq().PQexec(connection_.get(), sql.c_str()));
    }
    bool runChecked(const std::string& sql) {
        endQuery();
        ResultHandle result(run(sql));
        if (succeeded(result.get()))
            return true;
        error_ = errorOf(connection_.get(), result.get());
        return false;
    }

    ConnectionHandle connection_;
    CancelRegistration cancel_;
    // Asked once, on first need.
    size_t nameLimit_ = 0;
    ResultHandle current_;
    int row_ = -1;
    std::string error_;
    bool snapshot_ = false;
    // The key of the writer lock held, in decimal; empty when none is.
    std::string writerLock_;
};

} // namespace

void cancelRunningStatements() noexcept {
    const auto send = sendCancel.load();
    if (!send)
        return;
    for (std::atomic<PGcancel*>& slot : cancelSlots)
        if (PGcancel* request = slot.load()) {
            char reason[256];
            send(request, reason, sizeof reason);
        }
}

std::unique_ptr<IBackend> openPostgresBackend(const std::string& connectionInfo,
                                              std::string& error) {
    if (const std::string& failure = pq().error; !failure.empty()) {
        error = "the PostgreSQL client library could not be loaded: " + failure;
        return nullptr;
    }
    ConnectionHandle connection(pq().PQconnectdb(connectionInfo.c_str()));
    if (!connection) {
        error = "out of memory";
        return nullptr;
    }
    if (pq().PQstatus(connection.get()) != CONNECTION_OK) {
        error = oneLine(pq().PQerrorMessage(connection.get()));
        return nullptr;
    }
    pq().PQsetNoticeProcessor(connection.get(), ignoreNotice, nullptr);
    return std::make_unique<PostgresBackend>(std::move(connection));
}

} // namespace TABLINK
