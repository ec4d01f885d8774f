#pragma once

namespace MetaModel::Repository {

// Holds the repository's writer lock on a connection for as long as it lives: two writers
// would mix their rows in the work tables that they share. A second writer waits until the
// first lets go. On the embedded database what is written meanwhile is one transaction.
class CWriterLock {
public:
    // Raises "QEL_DB_REQ_ERR" when the lock cannot be had.
    explicit CWriterLock(void* connection);
    // Lets go of a lock that `release` did not, quietly: the failure under way is the one to
    // tell.
    ~CWriterLock();
    CWriterLock(const CWriterLock&) = delete;
    CWriterLock& operator=(const CWriterLock&) = delete;

    // Lets go; on the embedded database, commits. Raises "QEL_DB_REQ_ERR" when that fails.
    void release();

private:
    void* connection_;
};

// Holds one moment of the final tables on a connection for as long as it lives: the tables are
// read one statement after the other, and a transfer that hands them over in between would
// leave the reading half old and half new. Where there is no moment to hold (inside a
// transaction of the caller's, or a table that is not there), the statements run each on its
// own.
class CConsistentRead {
public:
    // Raises "QEL_DB_REQ_ERR" when the server would not hold the moment (a lock not had in
    // time, say).
    explicit CConsistentRead(void* connection);
    ~CConsistentRead();
    CConsistentRead(const CConsistentRead&) = delete;
    CConsistentRead& operator=(const CConsistentRead&) = delete;

private:
    void* connection_;
    bool held_ = false;
};

} // namespace MetaModel::Repository
