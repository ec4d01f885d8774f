#include "metamodel/services/serviceexport.h"

#include "support/runtool.h"
#include "support/tempfolder.h"
#include "support/testdatabase.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <regex>

namespace {

using TestSupport::Backend;
using TestSupport::runTool;
using TestSupport::TempFolder;
using Ids = std::vector<std::string>;

const std::string baseInstallation = METAMODEL_SOURCE_DIR "/share/metamodel";
const std::string review = METAMODEL_SOURCE_DIR "/examples/review";

// The message ids of JSON diagnostics, in their order.
Ids messageIds(const std::string& err) {
    static const std::regex idField("\"id\":\"([A-Z_]+)\"");
    Ids ids;
    for (std::sregex_iterator it(err.begin(), err.end(), idField), end; it != end; ++it)
        ids.push_back((*it)[1]);
    return ids;
}

TEST(ServicesCommand, WritesTheLibrarysExportDocumentWholeOrNotAtAll) {
    TempFolder folder;
    const std::string expected = folder.file("expected.xml");
    ASSERT_TRUE(BuildExportFile(expected.c_str(), "libhost.so"));
    auto run = runTool({"services", "--library", "libhost.so", "-o", folder.file("out.xml")});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(TestSupport::readFile(folder.file("out.xml")), TestSupport::readFile(expected));

    run = runTool({"services"});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_NE(run.out.find("\t\t<dll>libmetamodel.so</dll>\n"), std::string::npos) << run.out;

    run = runTool({"services", "-o", folder.file("missing/out.xml")});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_NE(run.err.find("QEL_MM_XML_OUTPUT_FILE_ERR"), std::string::npos) << run.err;
    EXPECT_FALSE(std::filesystem::exists(folder.file("missing")));
}

// Installed: category A (2001001) with property 2001002 in one document, type B (2002001) in
// another. Each case asks about documents of its own.
class CompatCommand : public testing::Test {
protected:
    void SetUp() override {
        installedA_ = folder_.write("installed/a/MetaModel.xml",
                                    "<metaModel file_no='1'><category name='A' rid='1'>"
                                    "<property name='p' rid='2'/></category></metaModel>");
        installedB_ = folder_.write("installed/b/MetaModel.xml",
                                    "<metaModel file_no='2'><type name='B' rid='1'/></metaModel>");
    }
    std::string write(const std::string& name, const std::string& body) {
        return folder_.write(name + "/MetaModel.xml", "<metaModel>" + body + "</metaModel>");
    }

    TempFolder folder_;
    std::string installedA_, installedB_;
};

TEST_F(CompatCommand, AnswersAndListsEveryClashWithTheFilesOnBothSides) {
    const std::string installed = folder_.file("installed");
    const std::string fresh = write("fresh", "<type name='C' id='2003001'/>");
    const std::string clashing =
        write("clashing", "<type name='Z' id='2001001'/><type name='B' id='2009001'/>"
                          "<type name='D' id='2009002'><property name='q' id='2001002'/></type>");
    const std::string moved = write("moved", "<category name='A' id='2001005'/>");
    write("twice/one", "<type name='E' id='2005001'/>");
    write("twice/two", "<type name='E' id='2005002'/>");
    const std::string twice = folder_.file("twice");
    const std::string badNumber = write("bad", "<type name='F' rid='x1'/>");
    struct Case {
        const char* name;
        std::vector<std::string> arguments;
        int exitCode;
        Ids diagnostics;
        std::string out;
    } cases[] = {
        {"nothing in common", {"--against", installed, fresh}, 0, {}, ""},
        {"each --against adds to the installed side",
         {"--against", installedA_, "--against", installedB_, clashing},
         1,
         {"QEL_MM_FRAGMENT_ID_CLASH", "QEL_MM_FRAGMENT_NAME_CLASH",
          "QEL_MM_FRAGMENT_PROP_ID_CLASH"},
         ""},
        {"a set against itself may replace it",
         {"--migrate", "--against", installed, installed},
         0,
         {},
         ""},
        {"an id that would change",
         {"--migrate", "--against", installed, moved},
         1,
         {"QEL_MM_FRAGMENT_ID_CHANGED"},
         "type or category A has original id 2001001 and trying to change to 2001005 defined in "
         "file : " +
             moved + "\n"},
        {"one name twice on the new side",
         {"--against", installed, twice},
         1,
         {"QEL_MM_FRAGMENT_DUPLICATE"},
         ""},
        {"a number that is none",
         {"--against", installed, badNumber},
         1,
         {"QEL_MM_FRAGMENT_NOT_A_NUMBER"},
         ""},
        {"a path that is not there",
         {"--against", folder_.file("absent"), fresh},
         1,
         {"QEL_MM_ROOT_NOT_FOUND"},
         ""},
    };
    for (const Case& c : cases) {
        std::vector<std::string> arguments = {"--format", "json", "-q", "compat"};
        arguments.insert(arguments.end(), c.arguments.begin(), c.arguments.end());
        const auto run = runTool(arguments);
        EXPECT_EQ(run.exitCode, c.exitCode) << c.name << ": " << run.err;
        EXPECT_EQ(messageIds(run.err), c.diagnostics) << c.name << ": " << run.err;
        EXPECT_EQ(run.out, c.out) << c.name;
    }

    // Each clash names the document that brings it and the installed one it meets.
    const auto run = runTool({"-q", "compat", "--against", installed, clashing});
    EXPECT_EQ(run.err,
              clashing +
                  ": error: The category or type id 2001001 of 'Z' is already installed "
                  "for 'A' by '" +
                  installedA_ + "'. [QEL_MM_FRAGMENT_ID_CLASH]\n" + clashing +
                  ": error: The category or type 'B' is already installed with the id 2002001 by "
                  "'" +
                  installedB_ + "'. [QEL_MM_FRAGMENT_NAME_CLASH]\n" + clashing +
                  ": error: The property id 2001002 is already installed by '" + installedA_ +
                  "'. [QEL_MM_FRAGMENT_PROP_ID_CLASH]\n");
}

TEST_F(CompatCommand, RefusesCallsWithoutExactlyOneInstalledSide) {
    const std::string installed = folder_.file("installed");
    for (const std::vector<std::string>& arguments : std::vector<std::vector<std::string>>{
             {"compat", installed},
             {"compat", "--against", installed},
             {"compat", "--against", installed, "--db", folder_.file("r.sqlite"), installed},
             {"compat", "--against", installed, "--schema", "s", installed}}) {
        const auto run = runTool(arguments);
        EXPECT_EQ(run.exitCode, 2) << arguments.size() << ": " << run.err;
        EXPECT_NE(run.err.find("usage: metamodel"), std::string::npos) << run.err;
    }
}

class CompatOnRepository : public testing::TestWithParam<Backend> {};

// The installation and the example extension in a repository: the extension cannot be
// installed again but may replace itself, a new type can join, and a moved id is named
// with the document that moves it.
TEST_P(CompatOnRepository, AnswersAgainstTheRepositorysTables) {
    TestSupport::TestDatabase database(GetParam());
    ASSERT_TRUE(database.ready()) << database.problem();
    std::vector<std::string> repository = {"--db", database.connectionString()};
    if (GetParam() == Backend::Postgres)
        repository.insert(repository.end(), {"--schema", "Meta Model"});
    std::vector<std::string> transfer = {"-q", "transfer"};
    transfer.insert(transfer.end(), repository.begin(), repository.end());
    transfer.push_back(review);
    const auto loaded = runTool(transfer, baseInstallation);
    ASSERT_EQ(loaded.exitCode, 0) << loaded.err;

    TempFolder folder;
    const std::string fresh = folder.write(
        "fresh/MetaModel.xml", "<metaModel file_no='9'><type name='Fresh' rid='1'/></metaModel>");
    const std::string moved = folder.write(
        "moved/MetaModel.xml", "<metaModel><type name='ReviewNote' id='2009001'/></metaModel>");
    struct Case {
        const char* name;
        bool migrate;
        std::string path;
        int exitCode;
        std::string out;
        size_t diagnostics;
    } cases[] = {
        {"the extension again", false, review, 1, "", 4},
        {"the extension replacing itself", true, review, 0, "", 0},
        {"a new type", false, fresh, 0, "", 0},
        {"a moved id", true, moved, 1,
         "type or category ReviewNote has original id 2007004 and trying to change to 2009001 "
         "defined in file : " +
             moved + "\n",
         1},
    };
    for (const Case& c : cases) {
        std::vector<std::string> arguments = {"--format", "json", "-q", "compat"};
        if (c.migrate)
            arguments.push_back("--migrate");
        arguments.insert(arguments.end(), repository.begin(), repository.end());
        arguments.push_back(c.path);
        const auto run = runTool(arguments);
        EXPECT_EQ(run.exitCode, c.exitCode) << c.name << ": " << run.err;
        EXPECT_EQ(run.out, c.out) << c.name;
        EXPECT_EQ(messageIds(run.err).size(), c.diagnostics) << c.name << ": " << run.err;
    }
}

INSTANTIATE_TEST_SUITE_P(Backends, CompatOnRepository,
                         testing::Values(Backend::Sqlite, Backend::Postgres),
                         [](const testing::TestParamInfo<Backend>& info) {
                             return info.param == Backend::Sqlite ? "SQLite" : "PostgreSQL";
                         });

} // namespace
