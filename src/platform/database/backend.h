#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace TABLINK {

// A value of a row waiting in a block. A text is a view: the inserter keeps the bytes of its
// block's texts together until the block is written.
struct BulkValue {
    enum class Kind { Null, Integer, Text };
    Kind kind = Kind::Null;
    int integer = 0;
    std::string_view text;
};

// The destination of a bulk inserter: one table, its statement made once and used for every
// block.
class IBulkTarget {
public:
    virtual ~IBulkTarget() = default;
    virtual int columnCount() const = 0;
    // The statement the rows go through, for messages.
    virtual const std::string& statement() const = 0;
    // Writes the values, columnCount() to a row, all of them or none.
    virtual bool write(const std::vector<BulkValue>& values) = 0;
    virtual const std::string& lastError() const = 0;
};

// What a database server must do for the connectivity operations. Statements reach it with
// the table-prefix marker already expanded. Every operation that answers false leaves the
// server's reason in lastError().
class IBackend {
public:
    virtual ~IBackend() = default;

    // 1: embedded, autocommit; 5: server, autocommit. Other kinds exist only elsewhere.
    virtual int serverKind() const = 0;
    // The schema that unqualified names reach.
    virtual std::string defaultRepositoryName() = 0;
    // Whether statements can address tables of this schema at all.
    virtual bool acceptsRepositoryName(const std::string& name) = 0;
    // The longest schema name, in bytes, that the server keeps whole (it cuts longer ones, so
    // that two names would reach one schema); 0 when there is no limit.
    virtual size_t repositoryNameLimit() { return 0; }

    // One statement. When it yields rows they wait for nextRow; one query is open at a time.
    virtual bool query(const std::string& sql) = 0;
    // Moves to the next row; false at the end and on a failure, which lastError() tells apart.
    virtual bool nextRow() = 0;
    virtual int columnCount() const = 0;
    // A null reads as 0 and as the empty text.
    virtual int integerValue(int column) const = 0;
    virtual std::string_view textValue(int column) const = 0;
    // Answers whether the query went through without a failure.
    virtual bool endQuery() = 0;

    // Several statements as one transaction.
    virtual bool executeScript(const std::string& sql) = 0;
    virtual bool commit() = 0;
    // Makes the schema when it is not there; `quotedSchema` is a quoted identifier.
    virtual bool createSchema(const std::string& quotedSchema) = 0;
    // `body` is a list of statements with the prefix marker still in it; `prefix` is what the
    // marker stands for, and goes in front of the procedure's name.
    virtual bool defineProcedure(const std::string& prefix, const std::string& name,
                                 const std::string& body) = 0;
    // Runs the procedure as one transaction.
    virtual bool callProcedure(const std::string& prefix, const std::string& name, bool wantResult,
                               int& result) = 0;
    // Null when the table is not there or cannot take rows.
    virtual std::unique_ptr<IBulkTarget> openBulkTarget(const std::string& qualifiedTable) = 0;

    // The queries up to endSnapshot see the tables as they were at one moment, whatever other
    // connections commit meanwhile. `qualifiedTables` are all the tables they will read, in the
    // order in which a writer takes them. NotHeld, with nothing begun, inside a transaction of
    // the caller's or for a table that is not there: the queries then run each on its own, as
    // they would without, and tell of the missing table themselves. Refused, with nothing begun
    // and the reason in lastError(), when the server would not hold the moment (a lock that
    // was not had in time, say): queries run each on their own could then see a mix.
    enum class Snapshot { Held, NotHeld, Refused };
    virtual Snapshot beginSnapshot(const std::vector<std::string>& qualifiedTables) = 0;
    virtual void endSnapshot() = 0;
    // Until unlockWriters, every other connection that asks for the repository's writer lock
    // waits. On the embedded database, inside a transaction of the caller's, that transaction
    // stands for it: its first write keeps every other writer out until it ends.
    virtual bool lockWriters(const std::string& repositoryName) = 0;
    virtual bool unlockWriters() = 0;

    virtual const std::string& lastError() const = 0;
};

} // namespace TABLINK
