#include "platform/database/tablink.h"
#include "platform/database/uniqueconnection.h"
#include "support/runtool.h"
#include "support/tempfolder.h"
#include "support/testdatabase.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <tuple>
#include <vector>

namespace {

using TestSupport::runTool;

const char* const good =
    "<metaModel file_no='9'><type name='Kept' rid='1'><description/></type></metaModel>";
const char* const faulty = "<metaModel file_no='8'><type name='Lost' rid='1'><description/>"
                           "<inheritedCategory name='Nowhere'/></type></metaModel>";

// Run in the folder, so that a target taken for a relative file name would land there; the
// file is made exactly when the call succeeds, and a password is never shown.
TEST(DatabaseTargets, UnknownSchemesAreUsageErrorsAndOtherTargetsSayWhyTheyFail) {
    TestSupport::TempFolder folder;
    const std::filesystem::path previous = std::filesystem::current_path();
    std::filesystem::current_path(folder.path());
    folder.write("faulty/MetaModel.xml", faulty);
    const std::string forms = "sqlite:PATH, PATH, postgresql://";
    const std::tuple<std::vector<std::string>, int, const char*, std::string> cases[] = {
        {{"init", "--db", "sqlite3:repo.db"}, 2, "sqlite3:repo.db", forms},
        {{"transfer", "--db", "postgressql:db"}, 2, "", forms},
        {{"dump", "--db", "http:x"}, 2, "http:x", forms},
        {{"export", "--db", "mysql://h/x"}, 2, "", forms},
        {{"init", "--db", "./sqlite3:repo.db"}, 0, "sqlite3:repo.db", ""},
        {{"init", "--db", "sqlite:plain.db"}, 0, "plain.db", ""},
        {{"transfer", "--db", "fresh.sqlite", "faulty"},
         1,
         "fresh.sqlite",
         "[QEL_MM_UNKNOWN_EXTEND]"},
        {{"dump", "--db", "missing.sqlite"}, 1, "missing.sqlite", "no database file 'missing"},
        {{"init", "--db", "no/r.sqlite"}, 1, "", "folder 'no' of the database file does not exist"},
        {{"init", "--db", "r.sqlite", "--schema", "elsewhere"}, 1, "", "no schema 'elsewhere'"},
        {{"export", "--db", "postgresql://me:s3cret@/db?host=/no-such-folder"},
         1,
         "",
         "[QEL_DB_CONNECT_ERR]"},
    };
    for (const auto& [call, exitCode, file, said] : cases) {
        const auto run = runTool(call);
        EXPECT_EQ(run.exitCode, exitCode) << call[2] << ": " << run.err;
        EXPECT_EQ(std::filesystem::exists(file), *file && exitCode == 0) << call[2];
        EXPECT_NE(run.err.find(said), std::string::npos) << call[2] << ": " << run.err;
        EXPECT_EQ(run.err.find("s3cret"), std::string::npos) << run.err;
    }
    std::filesystem::current_path(previous);
}

// Setting up a ready repository again rewrites nothing: not a byte changed.
TEST(DatabaseTargets, InitAgainWritesNothingAndTheConnectionStaysDurable) {
    TestSupport::TempFolder folder;
    const std::string existing = folder.file("existing.sqlite");
    ASSERT_EQ(runTool({"init", "--db", existing}).exitCode, 0);
    const std::string before = TestSupport::readFile(existing);
    EXPECT_EQ(runTool({"init", "--db", existing}).exitCode, 0);
    EXPECT_TRUE(TestSupport::readFile(existing) == before) << "written by init";

    IUniqueConnection connection(existing);
    int status = 0, level = -1;
    ASSERT_TRUE(TABLINK::dbcallrequest(connection.GetHandle(), "PRAGMA synchronous"));
    TABLINK::dbscanf(connection.GetHandle(), &status, "%d", &level);
    EXPECT_GE(level, 2) << "FULL or stronger";
}

// A schema that is not there is told as such, and a transfer makes one only when asked.
TEST(DatabaseTargets, AMissingSchemaOnTheServerIsNamedAndNotMadeByATypo) {
    TestSupport::TestDatabase database(TestSupport::Backend::Postgres);
    ASSERT_TRUE(database.ready()) << database.problem();
    const std::string uri = database.connectionString();
    TestSupport::TempFolder folder;
    const std::string documents = folder.write("good/MetaModel.xml", good);
    const std::tuple<std::vector<std::string>, int> calls[] = {
        {{"dump", "--db", uri, "--schema", "Typo"}, 1},
        {{"export", "--db", uri, "--schema", "Typo"}, 1},
        {{"describe", "--db", uri, "--schema", "Typo"}, 1},
        {{"transfer", "--db", uri, "--schema", "Typo", documents}, 1},
        {{"transfer", "--create-schema", "--db", uri, "--schema", "Asked", documents}, 0},
        {{"init", "--db", uri, "--schema", "Initialised"}, 0},
        {{"transfer", "--db", uri, "--schema", "Initialised", documents}, 0},
    };
    for (const auto& [call, exitCode] : calls) {
        const auto run = runTool(call);
        EXPECT_EQ(run.exitCode, exitCode) << call[0] << ": " << run.err;
        EXPECT_EQ(run.err.find("has no schema 'Typo'") != std::string::npos, exitCode == 1)
            << run.err;
        EXPECT_EQ(run.err.find("select"), std::string::npos) << "no raw SQL: " << run.err;
    }
    EXPECT_EQ(database.rows("SELECT string_agg(nspname, ',' ORDER BY nspname) FROM pg_namespace "
                            "WHERE nspname IN ('Typo', 'Asked', 'Initialised')"),
              std::vector<std::string>{"Asked,Initialised"});

    // The server would cut a longer name, and two names would reach one schema.
    const std::string kept(63, 'k');
    ASSERT_EQ(runTool({"init", "--db", uri, "--schema", kept}).exitCode, 0);
    for (const char* command : {"init", "dump"}) {
        const auto overlong = runTool({command, "--db", uri, "--schema", kept + "x"});
        EXPECT_EQ(overlong.exitCode, 1) << command;
        EXPECT_NE(overlong.err.find("has 64 bytes, more than the 63 the server keeps"),
                  std::string::npos)
            << overlong.err;
    }
}

} // namespace
