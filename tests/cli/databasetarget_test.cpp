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
// file is made exactly when the call succeeds.
TEST(DatabaseTargets, AnUnknownSchemeIsAUsageErrorAndMakesNoFile) {
    TestSupport::TempFolder folder;
    const std::filesystem::path previous = std::filesystem::current_path();
    std::filesystem::current_path(folder.path());
    const std::tuple<const char*, const char*, int, const char*> cases[] = {
        {"init", "sqlite3:repo.db", 2, "sqlite3:repo.db"},
        {"transfer", "postgressql:db", 2, ""},
        {"dump", "http:x", 2, "http:x"},
        {"export", "mysql://h/x", 2, ""},
        {"init", "./sqlite3:repo.db", 0, "sqlite3:repo.db"},
        {"init", "sqlite:plain.db", 0, "plain.db"},
        {"dump", "host=/no-such-folder dbname=x", 1, ""},
    };
    for (const auto& [command, target, exitCode, file] : cases) {
        const auto run = runTool({command, "--db", target});
        EXPECT_EQ(run.exitCode, exitCode) << target << ": " << run.err;
        EXPECT_EQ(std::filesystem::exists(file), *file && exitCode == 0) << target;
        EXPECT_EQ(run.err.find("sqlite:PATH, PATH, postgresql://") != std::string::npos,
                  exitCode == 2)
            << target << ": " << run.err;
    }
    std::filesystem::current_path(previous);
}

// A set that fails is read before the database is opened, and setting up a ready repository
// again rewrites nothing: no new file, not a byte changed in an old one.
TEST(DatabaseTargets, ARefusedSetNeverWritesAndTheConnectionStaysDurable) {
    TestSupport::TempFolder folder;
    const std::string fresh = folder.file("fresh.sqlite");
    const std::string existing = folder.file("existing.sqlite");
    const std::string bad = folder.write("faulty/MetaModel.xml", faulty);
    EXPECT_EQ(runTool({"transfer", "--db", fresh, bad}).exitCode, 1);
    EXPECT_FALSE(std::filesystem::exists(fresh));
    const auto run =
        runTool({"-q", "transfer", "--db", existing, folder.write("good/MetaModel.xml", good)});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    const std::string before = TestSupport::readFile(existing);
    EXPECT_EQ(runTool({"transfer", "--db", existing, bad}).exitCode, 1);
    EXPECT_TRUE(TestSupport::readFile(existing) == before) << "written by a refused set";
    EXPECT_EQ(runTool({"init", "--db", existing}).exitCode, 0);
    EXPECT_TRUE(TestSupport::readFile(existing) == before) << "written by init";

    IUniqueConnection connection(existing);
    int status = 0;
    int level = -1;
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
}

} // namespace
