#include "platform/database/tablink.h"
#include "platform/database/uniqueconnection.h"

#include "support/generatedset.h"
#include "support/repositorysnapshot.h"
#include "support/runtool.h"
#include "support/tempfolder.h"
#include "support/testdatabase.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
#include <filesystem>
#include <functional>
#include <future>
#include <thread>
#include <utility>

namespace {

using TestSupport::Backend;
using TestSupport::messageIds;
using TestSupport::readFile;
using TestSupport::runTool;
using TestSupport::TempFolder;
using TestSupport::TestDatabase;

const std::string data = METAMODEL_TEST_DATA_DIR "/transfer/";

// A copy of a document of the data folder: what the repository keeps of a document names the
// folder it was read from.
std::string copyDocument(const TempFolder& folder, const std::string& name, const std::string& to) {
    return folder.write(to + "/MetaModel.xml", readFile(data + name + "/MetaModel.xml"));
}

// first and second use names before they declare them and complete each other through partial
// declarations; statuses, empty descriptions, escapes and list types on the way. What the
// repository gives back of them: elements by id, partial declarations folded into what they
// complete, every status active, empty descriptions replaced by the name, attributes by name
// (with those the document reader adds), inherited categories by the parent's id, properties by
// id; the links a type only reaches through a category stay in the repository and out of the
// stream.
std::string expectedExport(const std::string& first, const std::string& second) {
    std::string text = readFile(data + "expected-export.xml");
    for (const auto& [marker, folder] :
         {std::pair{"@FIRST@", first}, std::pair{"@SECOND@", second}})
        for (size_t at = text.find(marker); at != std::string::npos; at = text.find(marker, at))
            text.replace(at, std::strlen(marker), folder);
    return text;
}

class TransferCommand : public TestSupport::OnBothServers {
protected:
    void SetUp() override {
        OnBothServers::SetUp();
        if (!HasFatalFailure() && !schema().empty())
            database_->execute("CREATE SCHEMA \"" + schema() + "\"");
        first_ = copyDocument(folder_, "first", "documents/first");
        second_ = copyDocument(folder_, "second", "documents/second");
    }
    TestSupport::ToolRun transfer(const std::vector<std::string>& paths) const {
        std::vector<std::string> arguments = withSchema({"transfer", "--db", uri_});
        arguments.insert(arguments.end(), paths.begin(), paths.end());
        return runTool(arguments);
    }
    TestSupport::RepositoryState finalTables() const {
        return TestSupport::repositoryState(*database_, schema());
    }
    TestSupport::RepositoryState workTables() const {
        return TestSupport::repositoryState(*database_, schema(), true);
    }
    // The final rows of the two documents in place, and what they are.
    TestSupport::RepositoryState transferTheDocuments() const {
        const auto run = transfer({folder_.file("documents")});
        EXPECT_EQ(run.exitCode, 0) << run.err;
        return finalTables();
    }
    void refuse(const std::string& when, const std::string& table) const {
        if (GetParam() == Backend::Sqlite) {
            database_->execute("CREATE TRIGGER refuse " + when + " ON " + table +
                               " BEGIN SELECT RAISE(ABORT, 'refused by the test'); END");
            return;
        }
        database_->execute("CREATE FUNCTION refuse() RETURNS trigger LANGUAGE plpgsql AS "
                           "$$BEGIN RAISE EXCEPTION 'refused by the test'; END$$;"
                           "CREATE TRIGGER refuse " +
                           when + " ON " + prefix() + table +
                           " FOR EACH ROW EXECUTE FUNCTION refuse()");
    }
    void allow(const std::string& table) const {
        database_->execute(GetParam() == Backend::Sqlite ? "DROP TRIGGER refuse"
                                                         : "DROP TRIGGER refuse ON " + prefix() +
                                                               table + "; DROP FUNCTION refuse()");
    }

    TempFolder folder_;
    std::string first_;
    std::string second_;
};

TEST_P(TransferCommand, MakesTheRepositoryAndReadsBackWhatTheDesignPredicts) {
    const auto run = transfer({folder_.file("documents")});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(run.out, "");
    // Not a terminal: the summary alone, counted from the final tables; the derived link of
    // Report to Named is a row of TypCat too, which the repository's procedures add.
    EXPECT_EQ(run.err, "transfer: 2 documents, 30 rows written; now Cat 3, CatAttr 3, CatCat 1, "
                       "TreeCat 1, Typ 2, TypAttr 6, TypCat 4, Prop 5, PropAttr 1, PropCat 1, "
                       "TypProp 4\n");

    const std::string firstFolder = std::filesystem::path(first_).parent_path().string();
    const std::string secondFolder = std::filesystem::path(second_).parent_path().string();
    const auto exported = runTool(withSchema({"export", "--db", uri_}));
    ASSERT_EQ(exported.exitCode, 0) << exported.err;
    EXPECT_EQ(exported.out, expectedExport(firstFolder, secondFolder));
    const auto dumped = runTool(withSchema({"dump", "--db", uri_}));
    ASSERT_EQ(dumped.exitCode, 0) << dumped.err;
    EXPECT_EQ(dumped.out, readFile(data + "expected-dump.txt"));

    // Once more, and with -q: the same content, nothing said.
    const auto before = finalTables();
    const auto again = runTool(withSchema({"-q", "transfer", "--db", uri_, first_, second_}));
    EXPECT_EQ(again.exitCode, 0) << again.err;
    EXPECT_EQ(again.err, "");
    EXPECT_EQ(finalTables(), before);
}

// A set that fails validation touches no row, not even of the work tables; a refused
// statement or procedure is named; both leave the old meta-model.
TEST_P(TransferCommand, RefusedSetsStatementsAndProceduresLeaveTheOldMetaModel) {
    const auto before = transferTheDocuments();
    const auto workBefore = workTables();
    ASSERT_EQ(before.at("Typ").size(), 2u);
    // An unknown parent and an unknown property type.
    const std::string faulty = copyDocument(folder_, "faulty", "faulty");
    auto run = transfer({folder_.file("documents"), faulty});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(messageIds(run.err),
              (std::vector<std::string>{"QEL_MM_UNKNOWN_EXTEND", "QEL_MM_INVALID_PROP_TYP",
                                        "QEL_MM_EXIST_ERR", "QEL_MM_XML2DB_ERR"}))
        << run.err;
    EXPECT_NE(run.err.find(faulty + ":5:"), std::string::npos) << "where: " << run.err;
    EXPECT_NE(run.err.find("transfer: failed"), std::string::npos) << run.err;
    EXPECT_EQ(finalTables(), before);
    EXPECT_EQ(workTables(), workBefore) << "the work tables were not even emptied";

    const std::string other = copyDocument(folder_, "single", "other");
    // Each refusal names the statement or procedure and the server's reason.
    const auto refused = [&](const std::string& id, const std::string& statement) {
        const auto failed = transfer({other});
        EXPECT_EQ(failed.exitCode, 1);
        EXPECT_EQ(messageIds(failed.err), (std::vector<std::string>{id, "QEL_MM_XML2DB_ERR"}))
            << failed.err;
        EXPECT_NE(failed.err.find("'" + statement + "' failed"), std::string::npos) << failed.err;
        EXPECT_NE(failed.err.find("refused by the test"), std::string::npos) << failed.err;
        EXPECT_EQ(finalTables(), before);
    };
    // A row that an interrupted transfer left behind: the next one deletes it first.
    database_->execute("INSERT INTO " + prefix() + "IN_CAT VALUES (1, 'left', 'left', 'ACTIVE')");
    refuse("BEFORE DELETE", "IN_CAT");
    refused("QEL_DB_REQ_ERR", "delete from " + prefix() + "IN_CAT");
    allow("IN_CAT");

    // The last table that the final step fills refuses its rows: the whole step is undone.
    refuse("BEFORE INSERT", "TypProp");
    refused("QEL_DB_PROC_ERR", "?" + prefix() + "FINAL_METAMODEL");
    allow("TypProp");

    run = transfer({other});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(finalTables().at("Typ"), std::vector<std::string>{"2009002|Single|Single|ACTIVE"});
}

// Two transfers at once would mix their rows in the work tables that they share: a second
// writer waits for the first, and then writes its set whole. On the embedded database a writer
// whose changes outgrow memory holds the whole file: a reading waits for it too.
TEST_P(TransferCommand, ASecondWriterWaitsForTheFirstAndThenWritesItsWholeSet) {
    const auto before = transferTheDocuments();
    const std::string other = copyDocument(folder_, "single", "other");
    IUniqueConnection first(uri_, schema());
    const bool embedded = GetParam() == Backend::Sqlite;
    const auto onFirst = [&](const char* statement) {
        ASSERT_EQ(TABLINK::dbcallrequest(first.GetHandle(), statement), 1)
            << TABLINK::dblasterror(first.GetHandle());
        TABLINK::dbendrequest(first.GetHandle());
    };
    if (embedded)
        onFirst("BEGIN EXCLUSIVE");
    else
        ASSERT_EQ(TABLINK::dblockwriters(first.GetHandle()), 1);
    auto second = std::async(std::launch::async, [&] { return transfer({other}); });
    auto reading = std::async(std::launch::async, [&] {
        return runTool(withSchema({"-q", "dump", "--db", uri_}));
    });
    if (embedded) {
        // The embedded database does not show who waits: longer than a lock was ever waited
        // for before.
        std::this_thread::sleep_for(std::chrono::milliseconds(5500));
        EXPECT_EQ(second.wait_for(std::chrono::seconds(0)), std::future_status::timeout);
        EXPECT_EQ(reading.wait_for(std::chrono::seconds(0)), std::future_status::timeout);
        onFirst("COMMIT");
    } else {
        // Until the server shows the second one waiting for the lock.
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (database_->rows("SELECT count(*) FROM pg_locks WHERE locktype = 'advisory' "
                               "AND NOT granted AND database = (SELECT oid FROM pg_database "
                               "WHERE datname = current_database())") !=
                   std::vector<std::string>{"1"} &&
               std::chrono::steady_clock::now() < deadline)
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        EXPECT_EQ(finalTables(), before) << "nothing is handed over while the first one writes";
        ASSERT_EQ(TABLINK::dbunlockwriters(first.GetHandle()), 1);
    }
    const auto run = second.get();
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(finalTables().at("Typ"), std::vector<std::string>{"2009002|Single|Single|ACTIVE"});
    const auto read = reading.get();
    EXPECT_EQ(read.exitCode, 0) << read.err;
}

INSTANTIATE_ON_BOTH_SERVERS(TransferCommand);

TEST(TransferCommandOnSqlite, MissingTablesAreMadeAndMissingInputsAreFailures) {
    TempFolder folder;
    const std::string documents = folder.file("documents");
    copyDocument(folder, "single", "documents/one");

    // A folder that is not there is a failure before the database is even made.
    const std::string unmade = folder.file("unmade.sqlite");
    auto run = runTool({"transfer", "--db", unmade, folder.file("no-such-folder")});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(messageIds(run.err), std::vector<std::string>{"QEL_MM_ROOT_NOT_FOUND"}) << run.err;
    EXPECT_FALSE(std::filesystem::exists(unmade));

    TestDatabase database(Backend::Sqlite);
    ASSERT_TRUE(database.ready()) << database.problem();
    const std::string repository = database.connectionString();
    run = runTool({"-q", "transfer", "--db", "sqlite:" + repository, documents});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(database.rows("select TypNam from Typ"), std::vector<std::string>{"Single"});

    // Tables dropped since are made again; the rest stays.
    database.execute("DROP TABLE TypProp; DROP TABLE IN_PROP");
    run = runTool({"-q", "transfer", "--db", repository, documents});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(database.rows("select IdProp from TypProp"), std::vector<std::string>{"2009003"});

    const std::string notADatabase = folder.write("text.sqlite", "not a database, only text\n");
    run = runTool({"transfer", "--db", notADatabase, documents});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(messageIds(run.err),
              (std::vector<std::string>{"QEL_DB_CONNECT_ERR", "QEL_MM_XML2DB_ERR"}))
        << run.err;

    // A first transfer that fails while it writes (here: files may not grow past 400 KB) takes
    // the file it made away again.
    const std::string big = TestSupport::writeGeneratedSet(folder.file("big"), "Big", 40, 20);
    const std::string none = folder.file("none");
    std::string output;
    EXPECT_EQ(TestSupport::runShell("trap '' XFSZ; ulimit -f 400; METAMODEL_APP_DIR='" + none +
                                        "' METAMODEL_USER_DIR='" + none +
                                        "' METAMODEL_ALL_USERS_DIR='" + none +
                                        "' '" METAMODEL_TOOL_PATH "' -q transfer --db '" + unmade +
                                        "' '" + big + "' 2>&1",
                                    output),
              1)
        << output;
    EXPECT_NE(output.find("QEL_MM_XML2DB_ERR"), std::string::npos) << output;
    EXPECT_FALSE(std::filesystem::exists(unmade));
    EXPECT_FALSE(std::filesystem::exists(unmade + "-journal"));

    // A schema a new file cannot have: init and transfer fail and take the file away again.
    for (const std::vector<std::string>& call :
         {std::vector<std::string>{"init", "--db", unmade, "--schema", "s"},
          {"transfer", "--db", unmade, "--schema", "s", "--create-schema", documents}}) {
        run = runTool(call);
        EXPECT_EQ(run.exitCode, 1) << run.err;
        EXPECT_EQ(messageIds(run.err).at(0), "QEL_DB_CONNECT_ERR") << run.err;
        EXPECT_FALSE(std::filesystem::exists(unmade)) << call[0];
    }
}

TEST(TransferCommandOnATerminal, ShowsItsProgressUnlessQuiet) {
    TempFolder folder;
    const std::string documents =
        TestSupport::writeGeneratedSet(folder.file("set"), "Shown", 3, 400);
    const std::string repository = folder.file("repository.sqlite");
    auto run = TestSupport::runToolOnTerminal({"transfer", "--db", repository, documents});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    for (const char* shown :
         {"\rtransfer: pass 1 of 2 (checking), document 1 of 3",
          "\rtransfer: pass 1 of 2 (checking), document 3 of 3",
          "\rtransfer: pass 2 of 2 (writing), document 1 of 3, 0 rows written",
          "\rtransfer: pass 2 of 2 (writing), document 1 of 3, 1000 rows written",
          "rows written; now Cat 4,"})
        EXPECT_NE(run.err.find(shown), std::string::npos) << shown << " in " << run.err;
    // The progress line is blanked out before the summary takes its place.
    EXPECT_NE(run.err.find(" \rtransfer: 3 documents"), std::string::npos) << run.err;

    run = TestSupport::runToolOnTerminal({"-q", "transfer", "--db", repository, documents});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(run.err, "");
}

// A document replaced, added or taken away after the check, while the transfer waits for the
// repository, would reach it unchecked: the transfer stops on it and leaves the repository as
// it was.
TEST(TransferOnTheServer, DocumentsChangedBetweenTheReadingsStopTheTransfer) {
    TempFolder folder;
    TestDatabase database(Backend::Postgres);
    ASSERT_TRUE(database.ready()) << database.problem();
    const std::string uri = database.connectionString();
    copyDocument(folder, "first", "documents/first");
    copyDocument(folder, "second", "documents/second");
    const std::string documents = folder.file("documents");
    ASSERT_EQ(runTool({"transfer", "--db", uri, documents}).exitCode, 0);
    const TestSupport::RepositoryState before = TestSupport::repositoryState(database);

    const struct {
        std::string name;
        std::function<void()> change;
    } changes[] = {
        // Alone, the second document names categories of the first that it never declares.
        {"first", [&] { folder.write("documents/first/MetaModel.xml", "<metaModel/>"); }},
        {"first", [&] { std::filesystem::remove_all(folder.file("documents/first")); }},
        {"first",
         [&] {
             std::filesystem::remove_all(folder.file("documents/first"));
             std::filesystem::remove_all(folder.file("documents/second"));
         }},
        {"a", [&] { folder.write("documents/a/MetaModel.xml", "<metaModel file_no=\"7\"/>"); }},
    };
    for (const auto& [name, change] : changes) {
        copyDocument(folder, "first", "documents/first");
        copyDocument(folder, "second", "documents/second");
        std::filesystem::remove_all(folder.file("documents/a"));
        IUniqueConnection other(uri);
        ASSERT_EQ(TABLINK::dblockwriters(other.GetHandle()), 1);
        auto run = std::async(std::launch::async, [&] {
            return runTool({"transfer", "--db", uri, documents});
        });
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
        // The server is shared with other tests: only this database's sessions count.
        while (database.rows("SELECT count(*) FROM pg_stat_activity WHERE datname = "
                             "current_database() AND wait_event_type = 'Lock'") ==
                   std::vector<std::string>{"0"} &&
               std::chrono::steady_clock::now() < deadline)
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        change();
        ASSERT_EQ(TABLINK::dbunlockwriters(other.GetHandle()), 1);
        const auto stopped = run.get();
        EXPECT_EQ(stopped.exitCode, 1);
        EXPECT_EQ(messageIds(stopped.err),
                  (std::vector<std::string>{"MM_DOCUMENT_CHANGED", "QEL_MM_XML2DB_ERR"}))
            << stopped.err;
        EXPECT_NE(stopped.err.find("documents/" + name + "/MetaModel.xml"), std::string::npos)
            << stopped.err;
        EXPECT_TRUE(TestSupport::repositoryState(database) == before) << name;
    }
}

// The first transfer into a new file takes the file away when it fails or is interrupted; a
// second one that waited for it meanwhile makes the file anew and writes its set there.
TEST(TransferOnSqlite, AFileTakenAwayWhileTheTransferWaitedIsMadeAnew) {
    TempFolder folder;
    copyDocument(folder, "first", "documents/first");
    copyDocument(folder, "second", "documents/second");
    const std::string database = folder.file("repository.sqlite");
    auto first = std::make_unique<IUniqueConnection>(database, "", TABLINK::OpenMode::Create);
    ASSERT_EQ(TABLINK::dbcallrequest(first->GetHandle(), "BEGIN EXCLUSIVE"), 1);
    TABLINK::dbendrequest(first->GetHandle());
    auto second = std::async(std::launch::async, [&] {
        return runTool({"-q", "transfer", "--db", database, folder.file("documents")});
    });
    // The embedded database does not show who waits: long enough for the checks to pass.
    std::this_thread::sleep_for(std::chrono::milliseconds(1500));
    ASSERT_EQ(unlink(database.c_str()), 0);
    first.reset();
    const auto run = second.get();
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_NE(TestSupport::runSql(Backend::Sqlite, database, "SELECT count(*) FROM Cat"),
              std::vector<std::string>{"0"});
}

} // namespace
