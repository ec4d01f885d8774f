#include "platform/database/tablink.h"

#include "platform/database/connection.h"

#include <algorithm>
#include <cstdarg>
#include <cstring>
#include <string>
#include <vector>

namespace TABLINK {

namespace {

constexpr int textBufferSize = 1024;
constexpr int repositoryNameSize = 256;

CConnection* connectionOf(void* handle) {
    return static_cast<CConnection*>(handle);
}

// Ends the open request, if any; answers whether it went through.
bool closeRequest(CConnection& connection) {
    if (!connection.requestOpen)
        return true;
    connection.requestOpen = false;
    if (connection.backend().endQuery())
        return true;
    connection.setError(connection.backend().lastError());
    return false;
}

// The readers' texts are at most 1023 bytes long, as if each came through its buffer.
std::string_view fitted(std::string_view text) {
    return text.substr(0, size_t(textBufferSize - 1));
}

void copyText(char* out, std::string_view text) {
    const size_t length = fitted(text).size();
    if (length > 0)
        std::memcpy(out, text.data(), length);
    out[length] = '\0';
}

bool isProcedureName(std::string_view name) {
    return !name.empty() && std::all_of(name.begin(), name.end(), [](char c) {
        return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') ||
               c == '_';
    });
}

} // namespace

int dbcallrequest(void* handle, const char* statement) {
    CConnection* connection = connectionOf(handle);
    if (!connection || !statement)
        return 0;
    closeRequest(*connection);
    connection->clearError();
    if (!connection->backend().query(statement)) {
        connection->setError(connection->backend().lastError());
        return 0;
    }
    connection->requestOpen = true;
    return 1;
}

int dbscanf(void* handle, int*, const char* format, ...) {
    CConnection* connection = connectionOf(handle);
    if (!connection || !format || !connection->requestOpen)
        return 0;
    IBackend& backend = connection->backend();
    if (!backend.nextRow())
        return 0;
    va_list arguments;
    va_start(arguments, format);
    const int columns = backend.columnCount();
    int column = 0;
    bool wellFormed = true;
    for (const char* letter = format; *letter && wellFormed; ++letter) {
        if (*letter != '%')
            continue;
        ++letter;
        if (*letter == 'd') {
            int* out = va_arg(arguments, int*);
            if (out)
                *out = column < columns ? backend.integerValue(column) : 0;
        } else if (*letter == 's') {
            char* out = va_arg(arguments, char*);
            if (out)
                copyText(out, column < columns ? backend.textValue(column) : std::string_view());
        } else if (*letter == 'S') {
            ORLO::String* out = va_arg(arguments, ORLO::String*);
            if (out)
                out->assign(column < columns ? fitted(backend.textValue(column))
                                             : std::string_view());
        } else {
            wellFormed = false;
            continue;
        }
        ++column;
    }
    va_end(arguments);
    if (!wellFormed) {
        connection->setError(std::string("the fetch format '") + format +
                             "' is not made of %d, %s and %S");
        return 0;
    }
    return 1;
}

int dbendrequest(void* handle) {
    CConnection* connection = connectionOf(handle);
    if (!connection)
        return 0;
    return closeRequest(*connection) ? 1 : 0;
}

int dbbeginread(void* handle, const char* const* tables, int count) {
    CConnection* connection = connectionOf(handle);
    if (!connection || count < 0 || (count > 0 && !tables))
        return 0;
    closeRequest(*connection);
    std::vector<std::string> qualified;
    for (int index = 0; index < count; ++index)
        qualified.push_back(expandPrefixMarker(tables[index], connection->prefix()));
    connection->clearError();
    switch (connection->backend().beginSnapshot(qualified)) {
    case IBackend::Snapshot::Held:
        return 1;
    case IBackend::Snapshot::NotHeld:
        return 0;
    case IBackend::Snapshot::Refused:
        break;
    }
    connection->setError(connection->backend().lastError());
    return -1;
}

int dbendread(void* handle) {
    CConnection* connection = connectionOf(handle);
    if (!connection)
        return 0;
    closeRequest(*connection);
    connection->backend().endSnapshot();
    return 1;
}

int dblockwriters(void* handle) {
    CConnection* connection = connectionOf(handle);
    if (!connection)
        return 0;
    closeRequest(*connection);
    if (connection->writerLocks > 0 ||
        connection->backend().lockWriters(connection->repositoryName())) {
        ++connection->writerLocks;
        return 1;
    }
    connection->setError(connection->backend().lastError());
    return 0;
}

int dbunlockwriters(void* handle) {
    CConnection* connection = connectionOf(handle);
    if (!connection)
        return 0;
    closeRequest(*connection);
    if (connection->writerLocks == 0 || --connection->writerLocks > 0 ||
        connection->backend().unlockWriters())
        return 1;
    connection->setError(connection->backend().lastError());
    return 0;
}

int dbgetconnectiontype(void* handle, void*, void*) {
    CConnection* connection = connectionOf(handle);
    return connection ? connection->backend().serverKind() : 0;
}

int dbcommit(void* handle) {
    CConnection* connection = connectionOf(handle);
    if (!connection)
        return 0;
    closeRequest(*connection);
    if (connection->backend().commit())
        return 1;
    connection->setError(connection->backend().lastError());
    return 0;
}

int dbgetrepositoryname(void* handle, char* name, void*, void*) {
    CConnection* connection = connectionOf(handle);
    if (!connection || !name)
        return 0;
    const std::string current = connection->repositoryName();
    const size_t length = std::min(current.size(), size_t(repositoryNameSize - 1));
    std::memcpy(name, current.data(), length);
    name[length] = '\0';
    return 1;
}

int dbgetrepositoryname(void* handle, ORLO::String& name, void*, void*) {
    CConnection* connection = connectionOf(handle);
    if (!connection)
        return 0;
    name = connection->repositoryName();
    return 1;
}

int dbsetrepositoryname(void* handle, const char* name, int length, void*) {
    CConnection* connection = connectionOf(handle);
    if (!connection || !name)
        return 0;
    const std::string text = length < 0 ? std::string(name) : std::string(name, size_t(length));
    return connection->setRepositoryName(text) ? 1 : 0;
}

const char* dblasterror(void* handle) {
    CConnection* connection = connectionOf(handle);
    return connection ? connection->lastError().c_str() : "no connection";
}

int SQLExecuter::formatQuery(char* out, int size, const char* statement, void* handle) {
    CConnection* connection = connectionOf(handle);
    if (!out || size <= 0)
        return 0;
    const std::string expanded =
        expandPrefixMarker(statement ? statement : "", connection ? connection->prefix() : "");
    const size_t length = std::min(expanded.size(), size_t(size - 1));
    std::memcpy(out, expanded.data(), length);
    out[length] = '\0';
    return connection && statement && length == expanded.size() ? 1 : 0;
}

bool DBConnectivity::callProc(void* handle, const char* call) {
    CConnection* connection = connectionOf(handle);
    if (!connection || !call)
        return false;
    closeRequest(*connection);
    connection->clearError();
    connection->callPending = false;
    std::string_view name(call);
    const bool wantResult = !name.empty() && name.front() == '?';
    if (wantResult)
        name.remove_prefix(1);
    const std::string& prefix = connection->prefix();
    if (name.substr(0, prefix.size()) == prefix)
        name.remove_prefix(prefix.size());
    if (!isProcedureName(name)) {
        connection->setError("'" + std::string(call) +
                             "' does not name a procedure of the connection's schema");
        return false;
    }
    int result = 0;
    if (!connection->backend().callProcedure(prefix, std::string(name), wantResult, result)) {
        connection->setError(connection->backend().lastError());
        return false;
    }
    connection->callPending = true;
    connection->callResult = result;
    return true;
}

bool DBConnectivity::endProc(void* handle, int* result) {
    CConnection* connection = connectionOf(handle);
    if (!connection || !connection->callPending) {
        if (connection)
            connection->setError("no procedure call is open");
        return false;
    }
    connection->callPending = false;
    if (result)
        *result = connection->callResult;
    return true;
}

bool DBConnectivity::defineProc(void* handle, const char* name, const char* statements) {
    CConnection* connection = connectionOf(handle);
    if (!connection || !name || !statements)
        return false;
    closeRequest(*connection);
    connection->clearError();
    if (!isProcedureName(name)) {
        connection->setError("'" + std::string(name) + "' is not a procedure name");
        return false;
    }
    if (connection->backend().defineProcedure(connection->prefix(), name, statements))
        return true;
    connection->setError(connection->backend().lastError());
    return false;
}

bool DBConnectivity::executeScript(void* handle, const char* statements) {
    CConnection* connection = connectionOf(handle);
    if (!connection || !statements)
        return false;
    closeRequest(*connection);
    connection->clearError();
    if (connection->backend().executeScript(expandPrefixMarker(statements, connection->prefix())))
        return true;
    connection->setError(connection->backend().lastError());
    return false;
}

bool DBConnectivity::createRepository(void* handle) {
    CConnection* connection = connectionOf(handle);
    if (!connection)
        return false;
    closeRequest(*connection);
    connection->clearError();
    if (connection->prefix().empty())
        return true;
    const std::string schema = connection->prefix().substr(0, connection->prefix().size() - 1);
    if (connection->backend().createSchema(schema))
        return true;
    connection->setError(connection->backend().lastError());
    return false;
}

} // namespace TABLINK
