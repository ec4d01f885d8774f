#pragma once

#include "cpplanguage/orlostring.h"

// The database connectivity operations. A connection is an opaque handle (a TABLINK::CConnection
// behind it, see IUniqueConnection); a null handle fails every operation. Answers are C-style:
// non-zero for success. One request is open at a time on a connection.

namespace TABLINK {

// Starts a statement; its rows, if any, wait for dbscanf. A request still open is ended first.
int dbcallrequest(void* connection, const char* statement);
// Fetches the next row into the out variables, one per letter of `format`: "%d" takes an int*,
// "%s" a char* of at least 1024 bytes, "%S" an ORLO::String* (no copy through a buffer);
// either way a longer text is cut at 1023 bytes. A null column gives 0 or the empty text. `status`
// is not inspected. Answers non-zero while a row came.
int dbscanf(void* connection, int* status, const char* format, ...);
// Ends the request; answers zero when it failed on the way (while fetching rows).
int dbendrequest(void* connection);
// The requests up to dbendread see the repository at one moment: a writer's commit shows in
// all of them or in none. `tables` names every table they read (with prefix markers), in the
// order of the final tables. Answers zero when no such moment is held (inside a transaction
// of the caller's, or for a table that is not there): the requests then run each on its own.
// Answers -1, with the reason in dblasterror, when the server would not hold the moment (a
// lock not had in time): requests run on their own could then see a mix.
int dbbeginread(void* connection, const char* const* tables, int count);
int dbendread(void* connection);
// Until dbunlockwriters, any other connection that asks for the lock of the same repository
// waits: two writers would mix their rows in the shared work tables. On the embedded database
// everything in between is one transaction, committed by dbunlockwriters. Locks nest: only the
// outermost pair counts.
int dblockwriters(void* connection);
int dbunlockwriters(void* connection);
// 1 embedded (autocommit), 5 server (autocommit).
int dbgetconnectiontype(void* connection, void* reserved1, void* reserved2);
int dbcommit(void* connection);
// The schema the connection works in, into a buffer of 256 bytes or a string.
int dbgetrepositoryname(void* connection, char* name, void* reserved1, void* reserved2);
int dbgetrepositoryname(void* connection, ORLO::String& name, void* reserved1, void* reserved2);
// `length` -1: the name ends at its zero byte.
int dbsetrepositoryname(void* connection, const char* name, int length, void* reserved);
// Why the last failed operation failed, as the server put it; empty when nothing failed.
const char* dblasterror(void* connection);

class SQLExecuter {
public:
    // Writes the statement with each prefix marker replaced. Answers zero, with the text cut
    // to fit, when the expanded statement does not fit into `size` bytes with its zero byte.
    static int formatQuery(char* out, int size, const char* statement, void* connection);
};

class DBConnectivity {
public:
    // `call` is the procedure's name after the prefix; a leading "?" asks for its result.
    static bool callProc(void* connection, const char* call);
    // Closes the call and gives its result.
    static bool endProc(void* connection, int* result);
    // Creates or replaces a procedure of the connection's schema whose body is `statements`
    // (with prefix markers), so that callProc can run it as one transaction.
    static bool defineProc(void* connection, const char* name, const char* statements);
    // Runs several statements (with prefix markers) as one transaction.
    static bool executeScript(void* connection, const char* statements);
    // Makes the connection's schema when the server has none of that name.
    static bool createRepository(void* connection);
};

} // namespace TABLINK

// The C-style calls answer to their bare names as well, as callers of such an interface write
// them.
using TABLINK::dbcallrequest;
using TABLINK::dbcommit;
using TABLINK::dbendrequest;
using TABLINK::dbgetconnectiontype;
using TABLINK::dbgetrepositoryname;
using TABLINK::dbscanf;
using TABLINK::dbsetrepositoryname;
