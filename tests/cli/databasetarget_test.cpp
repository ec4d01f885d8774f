#include "platform/database/tablink.h"
#include "platform/database/uniqueconnection.h"
#include "support/runtool.h"
#include "support/tempfolder.h"
#include "support/testdatabase.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace {

using TestSupport::Backend;
using TestSupport::readFile;
using TestSupport::runTool;
using TestSupport::TempFolder;
using TestSupport::TestDatabase;

const char* const goodDocument = "<metaModel file_no='9'><type name='Kept' rid='1'>"
                                 "<description>Kept</description></type></metaModel>";
const char* const faultyDocument = "<metaModel file_no='8'><type name='Lost' rid='1'>"
                                   "<description>Lost</description>"
                                   "<inheritedCategory name='Nowhere'/></type></metaModel>";

// The tool runs in the folder, so that a target taken for a relative file name lands there.
TEST(DatabaseTargets, AnUnknownSchemeIsAUsageErrorAndMakesNoFile) {
    TempFolder folder;
    const std::filesystem::path previous = std::filesystem::current_path();
    std::filesystem::current_path(folder.path());
    struct Case {
        std::vector<std::string> call;
        int exitCode;
        std::string file; // made exactly when the call succeeds; empty: none to look for
    };
    const Case cases[] = {
        {{"init", "--db", "sqlite3:repo.db"}, 2, "sqlite3:repo.db"},
        {{"transfer", "--db", "postgressql:mydb"}, 2, "postgressql:mydb"},
        {{"dump", "--db", "http:x"}, 2, "http:x"},
        {{"export", "--db", "mysql://h/x"}, 2, ""},
        {{"transfer", "--db", "SQLite:x.db"}, 2, "SQLite:x.db"},
        {{"init", "--db", "./sqlite3:repo.db"}, 0, "sqlite3:repo.db"},
        {{"init", "--db", "sqlite:plain.db"}, 0, "plain.db"},
        {{"init", "--db", "bare.db"}, 0, "bare.db"},
        {{"dump", "--db", "host=/no-such-folder dbname=x"}, 1, ""},
    };
    for (const Case& c : cases) {
        const auto run = runTool(c.call);
        const std::string named = testing::PrintToString(c.call);
        EXPECT_EQ(run.exitCode, c.exitCode) << named << ": " << run.err;
        if (!c.file.empty()) {
            EXPECT_EQ(std::filesystem::exists(c.file), c.exitCode == 0) << named;
        }
        if (c.exitCode == 2) {
            EXPECT_NE(run.err.find("sqlite:PATH, PATH, postgresql://"), std::string::npos)
                << named << ": " << run.err;
        }
    }
    std::filesystem::current_path(previous);
}

// A set that fails is read before the database is opened: no file for a new path, not a
// byte changed in an old one; setting up a ready repository again changes nothing either.
TEST(DatabaseTargets, ARefusedSetNeverWritesAndTheConnectionStaysDurable) {
    TempFolder folder;
    const std::string good = folder.write("good/MetaModel.xml", goodDocument);
    const std::string faulty = folder.write("faulty/MetaModel.xml", faultyDocument);
    const std::string fresh = folder.file("fresh.sqlite");
    auto run = runTool({"transfer", "--db", fresh, faulty});
    EXPECT_EQ(run.exitCode, 1) << run.err;
    EXPECT_NE(run.err.find("[QEL_MM_UNKNOWN_EXTEND]"), std::string::npos) << run.err;
    EXPECT_FALSE(std::filesystem::exists(fresh));

    const std::string existing = folder.file("existing.sqlite");
    run = runTool({"-q", "transfer", "--db", existing, good});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    const std::string before = readFile(existing);
    for (const std::vector<std::string>& call :
         {std::vector<std::string>{"transfer", "--db", existing, faulty},
          std::vector<std::string>{"-q", "init", "--db", existing}}) {
        runTool(call);
        EXPECT_TRUE(readFile(existing) == before) << testing::PrintToString(call);
    }

    // The synchronous level the tool's connection works with: FULL or stronger.
    IUniqueConnection connection(existing);
    int status = 0;
    int level = -1;
    ASSERT_TRUE(TABLINK::dbcallrequest(connection.GetHandle(), "PRAGMA synchronous"));
    TABLINK::dbscanf(connection.GetHandle(), &status, "%d", &level);
    TABLINK::dbendrequest(connection.GetHandle());
    EXPECT_GE(level, 2);
}

// A schema that is not there is told as such, and a transfer makes one only when asked.
TEST(DatabaseTargets, AMissingSchemaOnTheServerIsNamedAndNotMadeByATypo) {
    TestDatabase database(Backend::Postgres);
    ASSERT_TRUE(database.ready()) << database.problem();
    const std::string uri = database.connectionString();
    TempFolder folder;
    const std::string good = folder.write("good/MetaModel.xml", goodDocument);
    for (const char* command : {"dump", "export", "describe"}) {
        const auto run = runTool({command, "--db", uri, "--schema", "Typo"});
        EXPECT_EQ(run.exitCode, 1) << command;
        EXPECT_NE(run.err.find("has no schema 'Typo'"), std::string::npos) << run.err;
        EXPECT_EQ(run.err.find("select"), std::string::npos) << "no raw SQL: " << run.err;
    }
    const auto schemas = [&] {
        return database.rows("SELECT nspname FROM pg_namespace WHERE nspname IN "
                             "('Typo', 'Asked', 'Initialised') ORDER BY 1");
    };
    auto run = runTool({"-q", "transfer", "--db", uri, "--schema", "Typo", good});
    EXPECT_EQ(run.exitCode, 1) << run.err;
    EXPECT_NE(run.err.find("has no schema 'Typo'"), std::string::npos) << run.err;
    EXPECT_EQ(schemas(), std::vector<std::string>{});

    run = runTool({"-q", "transfer", "--create-schema", "--db", uri, "--schema", "Asked", good});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    run = runTool({"-q", "init", "--db", uri, "--schema", "Initialised"});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    run = runTool({"-q", "transfer", "--db", uri, "--schema", "Initialised", good});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(schemas(), (std::vector<std::string>{"Asked", "Initialised"}));
    EXPECT_EQ(database.rows("SELECT TypNam FROM \"Initialised\".Typ"),
              std::vector<std::string>{"Kept"});
}

} // namespace
