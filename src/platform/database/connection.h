#pragma once

#include "platform/database/backend.h"

#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace TABLINK {

// Stands in statement texts directly before a table or procedure name; the connection puts
// its prefix there.
constexpr char TablePrefixMarker = '\x0F';

// A double-quoted identifier, inner quotes doubled: whatever the name holds, it stays a name.
std::string quoteIdentifier(std::string_view name);
std::string expandPrefixMarker(std::string_view text, std::string_view prefix);
// The connection string with any password blanked out, fit for a message.
std::string displayConnectionString(std::string_view connectionString);

enum class OpenMode {
    Existing,   // the embedded database file and the schema must be there already
    CreateFile, // an embedded database file is made when missing; the schema must be there
    Create,     // the embedded database file and the schema are made when missing
};

// What the opaque handle of the connectivity operations points at: the server, the schema
// the connection works in, and the state of the open request and procedure call.
class CConnection {
public:
    explicit CConnection(std::unique_ptr<IBackend> backend);
    CConnection(const CConnection&) = delete;
    CConnection& operator=(const CConnection&) = delete;

    IBackend& backend() { return *backend_; }
    // The connection string as messages may show it.
    const std::string& description() const { return description_; }
    void setDescription(std::string text) { description_ = std::move(text); }

    // The quoted schema and a point, or nothing when no schema is set.
    const std::string& prefix() const { return prefix_; }
    // The schema set, or else the one the server uses by default.
    std::string repositoryName();
    // An empty name returns to the server's default; answers false for a schema that the
    // server cannot address.
    bool setRepositoryName(const std::string& name);
    // Why the server could not keep `name` as it is, or the empty text.
    std::string repositoryNameProblem(const std::string& name);

    bool requestOpen = false;
    bool callPending = false;
    // How deep the writer lock is taken: only the outermost lock and unlock reach the server.
    int writerLocks = 0;
    int callResult = 0;

    // Failures found before the server is reached; otherwise the server's text.
    const std::string& lastError() const;
    void setError(std::string text) { error_ = std::move(text); }
    void clearError() { error_.clear(); }

private:
    std::unique_ptr<IBackend> backend_;
    std::string description_;
    std::string repositoryName_;
    std::string prefix_;
    std::string error_;
};

// Picks the server by the form of the connection string: "sqlite:PATH" or a bare path for
// the embedded database; "postgresql://...", "postgres://..." or "key=value ..." for the
// server. Throws CDatabaseException with the reason when it cannot be opened.
std::unique_ptr<CConnection> openConnection(const std::string& connectionString, OpenMode mode);

// The file of an embedded database that a connection string names; nothing for a server.
std::optional<std::string> embeddedDatabaseFile(const std::string& connectionString);

// The two servers; null with the reason in `error` when they cannot be reached.
std::unique_ptr<IBackend> openSqliteBackend(const std::string& path, OpenMode mode,
                                            std::string& error);
std::unique_ptr<IBackend> openPostgresBackend(const std::string& connectionInfo,
                                              std::string& error);

// Asks the server of every open connection to stop the statement it runs, which then fails
// and takes its transaction back. Safe in a signal handler: a run that is being interrupted
// leaves no statement behind to commit on its own. The embedded database needs none: its
// transaction ends with the process, and the journal undoes it.
void cancelRunningStatements() noexcept;

} // namespace TABLINK
