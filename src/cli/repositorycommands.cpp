#include "cli/commandline.h"
#include "cli/diagnostics.h"
#include "cli/documentpaths.h"
#include "cli/interruption.h"
#include "cli/progress.h"
#include "cli/repositoryaccess.h"

#include "metamodel/operations/transferoperation.h"
#include "metamodel/repository/concurrentaccess.h"
#include "metamodel/repository/repositoryformat.h"
#include "metamodel/repository/repositoryschema.h"
#include "platform/database/connection.h"
#include "platform/database/tablink.h"
#include "platform/database/uniqueconnection.h"
#include "platform/messages.h"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <memory>
#include <optional>
#include <pthread.h>
#include <stdexcept>
#include <sys/stat.h>
#include <tuple>
#include <unistd.h>
#include <vector>

namespace Cli {

namespace {

constexpr int exitSuccess = 0;
constexpr int exitFailure = 1;

// The database file a run makes, and takes away again when the run fails: a first transfer
// that fails while writing, or an init or transfer refused on opening (a schema the file
// cannot have, say), leaves nothing behind, as one refused before does; so does one that is
// interrupted (SIGINT, SIGTERM) while it writes, or stopped by a failure that unwinds past it
// (memory running out). Only the file this run made goes, by device and inode: one that was
// there when the connection was opened, or that has been put in its place since, stays.
class MadeDatabaseFile {
public:
    explicit MadeDatabaseFile(const std::string& connectionString)
        : path_(TABLINK::embeddedDatabaseFile(connectionString)) {}
    // After the connection is closed, unless kept.
    ~MadeDatabaseFile() { removeIfMade(); }
    MadeDatabaseFile(const MadeDatabaseFile&) = delete;
    MadeDatabaseFile& operator=(const MadeDatabaseFile&) = delete;

    // A file by device and inode.
    struct Identity {
        dev_t device;
        ino_t inode;
        bool operator==(const Identity&) const = default;
    };

    // Right before the connection is opened.
    void opening() {
        makeIfMissing();
        opened_ = currentFile();
    }
    // The file that the path named as the connection was opened: the connection may wait for
    // its first lock, and so find another file, or none, by the time it is open.
    const std::optional<Identity>& openedFile() const { return opened_; }
    // Which file the path names now: nothing for a server, or when there is none.
    std::optional<Identity> currentFile() const {
        struct stat status {};
        if (!path_ || stat(path_->c_str(), &status) != 0)
            return std::nullopt;
        return Identity{status.st_dev, status.st_ino};
    }
    // Once the run has succeeded: the file is the user's.
    void keep() {
        made_.reset();
        forgetRemoval();
    }
    // After the connection is closed.
    void removeIfMade() {
        if (made_ && currentFile() == made_) {
            unlink(path_->c_str());
            unlink((*path_ + "-journal").c_str());
        }
        made_.reset();
        forgetRemoval();
    }

private:
    // The file is made here, exclusively, so that of two first runs at once only the one that
    // made it ever takes it away: SQLite takes an empty file for an empty database.
    void makeIfMissing() {
        struct stat status {};
        if (!path_ || lstat(path_->c_str(), &status) == 0)
            return;
        // Made and named for removal with interruptions held back, which the run has no other
        // thread to take: one that came between the two would leave the file, or, named
        // first, take another run's file away. Held back, it takes this run's file.
        interruption_.emplace(false);
        sigset_t interruptions;
        sigset_t previous;
        sigemptyset(&interruptions);
        for (const int signal : {SIGINT, SIGTERM, SIGPIPE})
            sigaddset(&interruptions, signal);
        pthread_sigmask(SIG_BLOCK, &interruptions, &previous);
        const int made = open(path_->c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
        if (made >= 0 && fstat(made, &status) == 0)
            made_ = Identity{status.st_dev, status.st_ino};
        if (made >= 0)
            close(made);
        if (made_) {
            database_.name(*path_);
            journal_.name(*path_ + "-journal");
        } else {
            // Another's file, or none (a missing folder, say), which the opening reports.
            interruption_.reset();
        }
        pthread_sigmask(SIG_SETMASK, &previous, nullptr);
    }

    void forgetRemoval() {
        database_.forget();
        journal_.forget();
        interruption_.reset();
    }

    std::optional<std::string> path_;
    std::optional<Identity> made_;
    std::optional<Identity> opened_;
    std::optional<InterruptionGuard> interruption_;
    RemoveOnInterruption database_;
    RemoveOnInterruption journal_;
};

// Opens the connection, having made the database file when there was none.
std::unique_ptr<IUniqueConnection>
openNoting(MadeDatabaseFile& madeFile, const CommandArguments& arguments, TABLINK::OpenMode mode) {
    madeFile.opening();
    return std::make_unique<IUniqueConnection>(arguments.value("db", ""),
                                               arguments.value("schema", ""), mode);
}

int initialise(const GlobalOptions& global, const CommandArguments& arguments) {
    if (!arguments.operands.empty())
        throw UsageError("init takes no PATH", "init");
    const std::string schema = arguments.value("schema", "");
    MadeDatabaseFile madeFile(arguments.value("db", ""));
    try {
        const auto connection = openNoting(madeFile, arguments, TABLINK::OpenMode::Create);
        MetaModel::CreateRepository(connection->GetHandle());
    } catch (const CppLanguage::CRuntimeException& failure) {
        CppLanguage::reportException(failure);
        madeFile.removeIfMade();
        return exitFailure;
    }
    madeFile.keep();
    if (!global.quiet)
        writeSummary("init",
                     "the repository tables and procedures are ready" +
                         (schema.empty() ? "" : " in schema '" + schema + "'"),
                     {{"schema", schema}});
    return exitSuccess;
}

const CommandRegistration init({
    "init",
    "create the repository's tables and procedures in a database; what is there stays",
    {requiredDatabaseOption, schemaOption},
    "",
    50,
    initialise,
});

// "Cat 12, CatAttr 30, ...": what the final tables hold now; empty when a count is refused,
// since the summary is no place for a second failure.
std::string finalTableCounts(void* connection) {
    // Counted at one moment: another transfer may hand its tables over meanwhile.
    std::optional<MetaModel::Repository::CConsistentRead> oneMoment;
    try {
        oneMoment.emplace(connection);
    } catch (const CppLanguage::CRuntimeException&) {
        return "";
    }
    std::string counts;
    for (const MetaModel::Repository::RepositoryTable& table :
         MetaModel::Repository::repositoryTables()) {
        const std::string query = std::string("select count(*) from \x0F") + table.finalName;
        char expanded[512];
        int status = 0;
        int rows = 0;
        if (!TABLINK::SQLExecuter::formatQuery(expanded, sizeof expanded, query.c_str(),
                                               connection) ||
            !TABLINK::dbcallrequest(connection, expanded))
            return "";
        const bool fetched = TABLINK::dbscanf(connection, &status, "%d", &rows) != 0;
        if (!TABLINK::dbendrequest(connection) || !fetched)
            return "";
        counts += (counts.empty() ? "" : ", ") + std::string(table.finalName) + " " +
                  std::to_string(rows);
    }
    return counts;
}

// A transfer reads its documents twice, and only the first reading is checked: a document
// replaced, added or taken away between the two (while the run waits for the repository, say)
// would reach it unchecked. Each document's file is noted when the first reading comes to it,
// and the second reading may only go on over the same documents, each as it was.
class FirstReadingStamps {
public:
    // Throws, once it has said so, when the second reading meets other documents.
    void observe(int pass, const std::string& path, size_t number, size_t count) {
        if (pass == 1) {
            first_.push_back({path, stampOf(path)});
            return;
        }
        secondStarted_ = true;
        if (const std::optional<std::string> changed = differenceAt(path, number, count))
            stop(*changed);
    }
    // Rows are told only while the second reading writes, the last time before the tables are
    // handed over: a second reading that has met no document then found none at all.
    void observeRows() const {
        if (!secondStarted_ && !first_.empty())
            stop(first_.front().path);
    }

private:
    [[noreturn]] static void stop(const std::string& changed) {
        CppLanguage::report(ORLO_HERE, "MM_DOCUMENT_CHANGED", {{"FILE", changed}});
        throw std::runtime_error("the documents changed between the readings of a transfer");
    }

    // The document by which the second reading's `number`th differs from the first's: the one
    // added, the one taken away, or the one changed; nothing while they agree. Each is told
    // before its document is played, and the last before the stream's end, which hands the
    // tables over.
    std::optional<std::string> differenceAt(const std::string& path, size_t number,
                                            size_t count) const {
        if (number > first_.size())
            return path;
        const Document& first = first_[number - 1];
        if (first.path != path) {
            const bool known = std::any_of(first_.begin(), first_.end(),
                                           [&](const Document& seen) { return seen.path == path; });
            return known ? first.path : path;
        }
        if (first.stamp != stampOf(path))
            return path;
        if (number == count && count < first_.size())
            return first_[count].path;
        return std::nullopt;
    }

    // Which file and which of its states: a replaced file has another inode, a rewritten one
    // another change time. Nothing for a file that cannot be looked at.
    using Stamp = std::tuple<dev_t, ino_t, off_t, time_t, long, time_t, long>;
    static std::optional<Stamp> stampOf(const std::string& path) {
        struct stat status {};
        if (stat(path.c_str(), &status) != 0)
            return std::nullopt;
        return Stamp{status.st_dev,         status.st_ino,          status.st_size,
                     status.st_mtim.tv_sec, status.st_mtim.tv_nsec, status.st_ctim.tv_sec,
                     status.st_ctim.tv_nsec};
    }

    struct Document {
        std::string path;
        std::optional<Stamp> stamp;
    };
    std::vector<Document> first_;
    bool secondStarted_ = false;
};

int transfer(const GlobalOptions& global, const CommandArguments& arguments) {
    // Before the database is opened: a mistyped folder must not leave a new, empty one behind.
    if (!documentPathsReadable(arguments.operands))
        return exitFailure;
    // Opened, and its tables made, only once the documents have passed: a refused set leaves
    // no new file and not a byte changed in an old one. A missing schema is a typo unless
    // asked for.
    MadeDatabaseFile madeFile(arguments.value("db", ""));
    // Closed before the file it may have made is taken away.
    std::unique_ptr<IUniqueConnection> connection;
    const auto open = [&]() -> IUniqueConnection& {
        const TABLINK::OpenMode mode = arguments.has("create-schema")
                                           ? TABLINK::OpenMode::Create
                                           : TABLINK::OpenMode::CreateFile;
        // Once more when the file was taken away while this run waited for its lock (the
        // first transfer that made it failed or was interrupted): it is made anew, as by a
        // first transfer, rather than the run failing on a file that nobody can find.
        for (bool again = true;; again = false) {
            try {
                connection = openNoting(madeFile, arguments, mode);
                MetaModel::CreateRepository(connection->GetHandle());
                return *connection;
            } catch (const CppLanguage::CRuntimeException&) {
                const auto opened = madeFile.openedFile();
                if (!again || !opened || madeFile.currentFile() == opened)
                    throw;
                connection.reset();
            }
        }
    };

    ProgressLine progress(global.quiet);
    FirstReadingStamps stamps;
    int pass = 0;
    size_t document = 0;
    size_t documents = 0;
    size_t rows = 0;
    const auto show = [&] {
        std::string text = "transfer: pass " + std::to_string(pass) + " of 2 (" +
                           (pass == 1 ? "checking" : "writing") + "), document " +
                           std::to_string(document) + " of " + std::to_string(documents);
        if (pass == 2)
            text += ", " + std::to_string(rows) + " rows written";
        progress.show(text);
    };
    const int result = MetaModel::TransferMetaModelFromXmlToDb(
        open, arguments.operands,
        [&](int currentPass, const ORLO::String& path, size_t number, size_t count) {
            stamps.observe(currentPass, path, number, count);
            pass = currentPass;
            document = number;
            documents = count;
            show();
        },
        [&](size_t written) {
            stamps.observeRows();
            rows = written;
            show();
        });
    progress.clear();
    if (result != 0) {
        connection.reset();
        madeFile.removeIfMade();
    } else {
        madeFile.keep();
    }
    if (!global.quiet) {
        if (result != 0) {
            writeSummary("transfer", "failed; the messages above say why", {{"passed", false}});
        } else {
            const std::string counts = finalTableCounts(connection->GetHandle());
            writeSummary("transfer",
                         std::to_string(documents) + " document" + (documents == 1 ? "" : "s") +
                             ", " + std::to_string(rows) + " rows written" +
                             (counts.empty() ? "" : "; now " + counts),
                         {{"passed", true}, {"documents", documents}, {"rows", rows}});
        }
    }
    return result;
}

const CommandRegistration transferCommand({
    "transfer",
    "check the documents, then replace the meta-model in the repository with them; the tables "
    "are made when missing",
    {requiredDatabaseOption,
     schemaOption,
     {"create-schema", 0, nullptr, "make the schema when the database has none of that name"}},
    "[PATH...]",
    60,
    transfer,
});

} // namespace

} // namespace Cli
