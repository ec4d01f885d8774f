#include "support/runtool.h"
#include "support/tempfolder.h"
#include "support/testdatabase.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace {

using TestSupport::lines;
using TestSupport::runTool;
using TestSupport::TempFolder;
using Lines = std::vector<std::string>;

const std::string baseInstallation = METAMODEL_SOURCE_DIR "/share/metamodel";
// The valid one of the examples; a faulty set is what validation keeps out of a repository.
const std::string extension = METAMODEL_SOURCE_DIR "/examples/review";

using ToolOnRepository = TestSupport::OnBothServers;

TEST_P(ToolOnRepository, InitMakesAnEmptyRepositoryAndCanRunAgain) {
    for (int run = 0; run < 2; ++run) {
        const auto init = runTool(withSchema({"init", "--db", uri_}));
        ASSERT_EQ(init.exitCode, 0) << init.err;
        EXPECT_EQ(init.out, "");
        EXPECT_EQ(init.err.rfind("init: the repository tables and procedures are ready", 0), 0u)
            << init.err;
    }
    EXPECT_EQ(runTool(withSchema({"-q", "init", "--db", uri_})).err, "");
    const auto dump = runTool(withSchema({"dump", "--db", uri_}));
    EXPECT_EQ(dump.exitCode, 0) << dump.err;
    EXPECT_EQ(dump.out, "");
    const auto xml = runTool(withSchema({"export", "--db", uri_}));
    EXPECT_EQ(xml.exitCode, 0) << xml.err;
    EXPECT_EQ(xml.out, "<?xml version=\"1.0\" encoding=\"utf-8\" ?>\r\n\r\n<metaModel>\r\n"
                       "</metaModel>\r\n");
}

TEST_P(ToolOnRepository, DescribeBuildsTheSameModelFromTheRepository) {
    const auto transfer =
        runTool(withSchema({"-q", "transfer", "--create-schema", "--db", uri_, extension}),
                baseInstallation);
    ASSERT_EQ(transfer.exitCode, 0) << transfer.err;
    const auto fromDocuments =
        runTool({"describe", "--json", baseInstallation + "/configuration", extension});
    ASSERT_EQ(fromDocuments.exitCode, 0) << fromDocuments.err;
    const auto fromRepository = runTool(withSchema({"describe", "--json", "--db", uri_}));
    ASSERT_EQ(fromRepository.exitCode, 0) << fromRepository.err;
    // Kind, name and id of each element; local ids follow the order of reading, and the
    // repository has folded partial declarations in an order of its own.
    const auto identities = [](const std::string& out) {
        Lines result = lines(out);
        for (std::string& line : result)
            line.resize(line.find(",\"localId\""));
        return result;
    };
    const Lines expected = identities(fromDocuments.out);
    EXPECT_GT(expected.size(), 20u);
    EXPECT_EQ(identities(fromRepository.out), expected);
}

TEST_P(ToolOnRepository, ADatabaseWithoutTheTablesIsAClearFailure) {
    if (!schema().empty())
        database_->execute("CREATE SCHEMA \"" + schema() + "\"");
    TempFolder folder;
    const std::string output = folder.file("out.dump");
    const auto run = runTool(withSchema({"dump", "--db", uri_, "-o", output}));
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_NE(run.err.find("[QEL_DB_REQ_ERR]"), std::string::npos) << run.err;
    EXPECT_NE(run.err.find("from "), std::string::npos) << "the statement is named: " << run.err;
    EXPECT_NE(run.err.find("Cat"), std::string::npos) << run.err;
    EXPECT_FALSE(std::filesystem::exists(output));
}

// A refused script is tried statement by statement, so that the failure names the one refused:
// a work table's name held by an index (which only the embedded server refuses).
TEST_P(ToolOnRepository, InitNamesWhatTheServerRefuses) {
    if (GetParam() != TestSupport::Backend::Sqlite) {
        // A role that may not make schemas is refused a new one, and gets through to one that
        // is there for it.
        database_->execute("DO $$BEGIN CREATE ROLE metamodel_limited LOGIN; "
                           "EXCEPTION WHEN duplicate_object THEN NULL; END$$");
        database_->execute("CREATE SCHEMA \"Given\"; "
                           "GRANT USAGE, CREATE ON SCHEMA \"Given\" TO metamodel_limited");
        const std::string limited = uri_ + " user=metamodel_limited";
        const auto refused = runTool({"init", "--db", limited, "--schema", "Not Given"});
        EXPECT_EQ(refused.exitCode, 1);
        EXPECT_NE(refused.err.find("permission denied"), std::string::npos) << refused.err;
        const auto given = runTool({"init", "--db", limited, "--schema", "Given"});
        EXPECT_EQ(given.exitCode, 0) << given.err;
        return;
    }
    // A final table first: the tables before a refused statement are made on the way.
    for (const auto& [refused, next] : {std::pair{"Cat", "CatAttr"}, {"IN_CAT", "IN_CATATTR"}}) {
        database_->execute(std::string("CREATE TABLE other(a); CREATE INDEX ") + refused +
                           " ON other(a)");
        const auto run = runTool(withSchema({"init", "--db", uri_}));
        EXPECT_EQ(run.exitCode, 1);
        EXPECT_NE(run.err.find(std::string("CREATE TABLE IF NOT EXISTS ") + refused + " ("),
                  std::string::npos)
            << run.err;
        EXPECT_EQ(run.err.find(next), std::string::npos) << "one statement: " << run.err;
        database_->execute("DROP TABLE other");
    }
}

INSTANTIATE_ON_BOTH_SERVERS(ToolOnRepository);

} // namespace
