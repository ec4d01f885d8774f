#include "metamodel/repository/dbmetamodelevents.h"
#include "metamodel/repository/repositoryschema.h"
#include "metamodel/xml/xmlmetamodelreader.h"
#include "platform/database/uniqueconnection.h"

#include "support/runtool.h"
#include "support/tempfolder.h"
#include "support/testdatabase.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace {

using TestSupport::Backend;
using TestSupport::lines;
using TestSupport::runTool;
using TestSupport::TempFolder;
using TestSupport::TestDatabase;
using Lines = std::vector<std::string>;

const std::string baseInstallation = METAMODEL_SOURCE_DIR "/share/metamodel";
// The valid one of the examples; a faulty set is what validation keeps out of a repository.
const std::string extension = METAMODEL_SOURCE_DIR "/examples/review";

// Writes the installation's base meta-model and the example extension into the repository
// through the library, the way a transfer does.
void loadExamples(const std::string& connectionString, const std::string& schema) {
    IUniqueConnection connection(connectionString, schema);
    MetaModel::CXMLMetaModelReader documents(false, false);
    documents.AddRootPath(baseInstallation + "/configuration/Core");
    documents.AddRootPath(baseInstallation + "/configuration/Languages");
    documents.AddRootPath(extension);
    MetaModel::CDBMetaModelEvents sink(connection.GetHandle(), "");
    documents.SetEvents(&sink);
    documents.Read();
}

class ToolOnRepository : public testing::TestWithParam<Backend> {
protected:
    void SetUp() override {
        database_ = std::make_unique<TestDatabase>(GetParam());
        ASSERT_TRUE(database_->ready()) << database_->problem();
        uri_ = database_->connectionString();
    }
    // The schema on the server shows that it is quoted everywhere; the embedded database
    // has none but its own.
    std::string schema() const { return GetParam() == Backend::Postgres ? "Meta Model" : ""; }
    std::vector<std::string> withSchema(std::vector<std::string> arguments) const {
        if (!schema().empty()) {
            arguments.push_back("--schema");
            arguments.push_back(schema());
        }
        return arguments;
    }

    std::unique_ptr<TestDatabase> database_;
    std::string uri_;
};

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
    ASSERT_EQ(runTool(withSchema({"init", "--db", uri_})).exitCode, 0);
    loadExamples(uri_, schema());
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

INSTANTIATE_ON_BOTH_SERVERS(ToolOnRepository);

} // namespace
