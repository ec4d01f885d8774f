#include "support/generatedset.h"
#include "support/repositorysnapshot.h"
#include "support/runtool.h"
#include "support/tempfolder.h"
#include "support/testdatabase.h"

#include "platform/database/tablink.h"
#include "platform/database/uniqueconnection.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <thread>
#include <unistd.h>

namespace {

using TestSupport::Backend;
using TestSupport::RepositoryState;
using TestSupport::TempFolder;
using TestSupport::TestDatabase;
using Clock = std::chrono::steady_clock;

// Large enough that a transfer takes a while, so that kills land in every phase: both
// readings, the loading of the work tables, and each procedure.
constexpr int documents = 100;
constexpr int properties = 30;

// A transfer killed or interrupted at any moment leaves the final tables holding the old meta-model
// or the new one as a whole, and the next transfer goes through. The child is the real tool on a
// real database file, killed without warning after a growing share of the time a whole
// transfer takes.
TEST(TransferKilled, LeavesTheOldOrTheNewMetaModelNeverAMix) {
    TempFolder folder;
    const std::string oldSet =
        TestSupport::writeGeneratedSet(folder.file("old"), "Old", documents, properties);
    const std::string newSet =
        TestSupport::writeGeneratedSet(folder.file("new"), "New", documents + 10, properties);

    // The two states, each from a transfer that was left alone, and how long the new one took.
    TestDatabase reference(Backend::Sqlite);
    ASSERT_TRUE(reference.ready()) << reference.problem();
    const auto start = Clock::now();
    const auto newRun =
        TestSupport::runTool({"-q", "transfer", "--db", reference.connectionString(), newSet});
    const auto whole = Clock::now() - start;
    ASSERT_EQ(newRun.exitCode, 0) << newRun.err;
    const RepositoryState newState = TestSupport::repositoryState(reference);

    TestDatabase database(Backend::Sqlite);
    ASSERT_TRUE(database.ready()) << database.problem();
    const std::string uri = database.connectionString();
    const auto loadOld = [&] {
        return TestSupport::runTool({"-q", "transfer", "--db", uri, oldSet});
    };
    const auto oldRun = loadOld();
    ASSERT_EQ(oldRun.exitCode, 0) << oldRun.err;
    const RepositoryState oldState = TestSupport::repositoryState(database);
    for (const auto& [table, rows] : oldState) {
        ASSERT_FALSE(rows.empty()) << table << " must hold rows for the test to see a mix";
        ASSERT_NE(rows, newState.at(table)) << table;
    }

    // Files beside the database other than itself: a hot journal the next opening did not
    // roll back, or a scratch file of the tool.
    const auto strayFiles = [&] {
        std::string stray;
        for (const auto& entry :
             std::filesystem::directory_iterator(std::filesystem::path(uri).parent_path()))
            if (entry.path() != std::filesystem::path(uri))
                stray += entry.path().filename().string() + " ";
        return stray;
    };
    int killedWithTheOld = 0;
    int killedWithTheNew = 0;
    // SIGKILL gives the tool no chance at all; SIGINT is what a person's Ctrl-C sends. Denser
    // towards the end, where the final tables are replaced.
    const struct {
        int signal;
        std::vector<double> shares;
    } series[] = {
        {SIGKILL, {0.05, 0.3, 0.6, 0.8, 0.88, 0.93, 0.97, 1.0, 1.03}},
        {SIGINT, {0.03, 0.2, 0.45, 0.7, 0.84, 0.9, 0.95, 0.98, 1.02}},
    };
    for (const auto& [signal, shares] : series)
        for (const double share : shares) {
            const std::string moment =
                std::string(strsignal(signal)) + " after " + std::to_string(share);
            const pid_t child = TestSupport::startTool({"-q", "transfer", "--db", uri, newSet});
            std::this_thread::sleep_for(std::chrono::duration_cast<Clock::duration>(whole * share));
            kill(child, signal);
            const bool interrupted = TestSupport::exitCodeOf(child) != 0;

            const RepositoryState state = TestSupport::repositoryState(database);
            if (state == oldState) {
                EXPECT_TRUE(interrupted) << moment << ": a transfer that ended left the old set";
                ++killedWithTheOld;
            } else {
                EXPECT_TRUE(state == newState) << moment << ": a mix of the old and the new";
                killedWithTheNew += interrupted ? 1 : 0;
            }
            // The next transfer must go through whatever the kill left behind, and leave
            // nothing beside the database.
            const auto next = loadOld();
            ASSERT_EQ(next.exitCode, 0) << moment << ": " << next.err;
            ASSERT_TRUE(TestSupport::repositoryState(database) == oldState);
            EXPECT_EQ(strayFiles(), "") << moment;
        }
    // Otherwise the kills all came too early or too late to prove anything.
    EXPECT_GE(killedWithTheOld, 3);
    RecordProperty("killedWithTheOld", killedWithTheOld);
    RecordProperty("killedWithTheNew", killedWithTheNew);
}

// A first transfer interrupted while it writes leaves no database file behind, as a failed one
// does: the database file and its journal go, from the moment the file is made.
TEST(TransferKilled, AnInterruptedFirstTransferLeavesNoDatabaseFile) {
    TempFolder folder;
    const std::string set =
        TestSupport::writeGeneratedSet(folder.file("set"), "Set", documents, properties);
    std::filesystem::create_directory(folder.file("repository"));
    const std::string database = folder.file("repository/new.sqlite");
    for (const auto& [signal, code] : {std::pair{SIGINT, 130}, {SIGTERM, 143}}) {
        const int errors = open(folder.file("stderr").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        const pid_t child = TestSupport::startTool({"transfer", "--db", database, set}, "", errors);
        close(errors);
        const auto deadline = Clock::now() + std::chrono::seconds(20);
        while (!std::filesystem::exists(database) && Clock::now() < deadline)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        ASSERT_TRUE(std::filesystem::exists(database)) << "no database file appeared";
        kill(child, signal);
        EXPECT_EQ(TestSupport::exitCodeOf(child), code) << strsignal(signal);
        EXPECT_EQ(TestSupport::readFile(folder.file("stderr")), "metamodel: interrupted\n");
        EXPECT_TRUE(std::filesystem::is_empty(folder.file("repository"))) << strsignal(signal);
    }
}

// Interrupted while the server hands the tables over, the tool has the server cancel the
// statement: the old meta-model stays, and the new one does not arrive after the tool has gone.
// An open reading holds the handover back, so that the interruption lands inside it.
TEST(TransferKilled, AnInterruptedServerTransferIsCancelledNotCommittedLater) {
    TempFolder folder;
    TestDatabase database(Backend::Postgres);
    ASSERT_TRUE(database.ready()) << database.problem();
    const std::string uri = database.connectionString();
    const auto transferOf = [&](const std::string& name, int count) {
        return std::vector<std::string>{
            "transfer", "--db", uri,
            TestSupport::writeGeneratedSet(folder.file(name), name, count, 3)};
    };
    ASSERT_EQ(TestSupport::runTool(transferOf("Old", 3)).exitCode, 0);
    const RepositoryState oldState = TestSupport::repositoryState(database);

    auto reader = std::make_unique<IUniqueConnection>(uri, "");
    const auto run = [&](const char* statement) {
        const bool done = TABLINK::dbcallrequest(reader->GetHandle(), statement) == 1;
        TABLINK::dbendrequest(reader->GetHandle());
        return done ? "" : std::string(TABLINK::dblasterror(reader->GetHandle()));
    };
    ASSERT_EQ(run("BEGIN"), "");
    ASSERT_EQ(run("LOCK TABLE Cat IN SHARE MODE"), "");
    const std::vector<std::string> arguments = transferOf("New", 4);
    const int errors = open(folder.file("stderr").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    const pid_t child = TestSupport::startTool(arguments, "", errors);
    close(errors);
    const auto waitingStatements = [&] {
        // The server is shared with other tests: only this database's sessions count.
        return database.rows("SELECT query FROM pg_stat_activity WHERE datname = "
                             "current_database() AND wait_event_type = 'Lock'");
    };
    const auto deadline = Clock::now() + std::chrono::seconds(30);
    while (waitingStatements().empty() && Clock::now() < deadline)
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    const std::vector<std::string> waiting = waitingStatements();
    ASSERT_EQ(waiting.size(), 1u);
    ASSERT_NE(waiting[0].find("FINAL_METAMODEL"), std::string::npos) << waiting[0];
    kill(child, SIGINT);
    EXPECT_EQ(TestSupport::exitCodeOf(child), 130);
    EXPECT_EQ(TestSupport::readFile(folder.file("stderr")), "metamodel: interrupted\n");

    ASSERT_EQ(run("ROLLBACK"), "");
    reader.reset();
    // The tool's session ends on the server once nothing holds it back any more.
    const auto otherSessions = [&] {
        return database.rows("SELECT pid FROM pg_stat_activity WHERE datname = "
                             "current_database() AND pid <> pg_backend_pid()");
    };
    while (!otherSessions().empty() && Clock::now() < deadline + std::chrono::seconds(30))
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    ASSERT_TRUE(otherSessions().empty());
    EXPECT_TRUE(TestSupport::repositoryState(database) == oldState);
}

} // namespace
