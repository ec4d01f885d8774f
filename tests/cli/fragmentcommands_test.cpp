#include "support/runtool.h"
#include "support/tempfolder.h"
#include "support/testdatabase.h"

#include <gtest/gtest.h>

namespace {

using TestSupport::runTool;
using TestSupport::TempFolder;

const std::string baseInstallation = METAMODEL_SOURCE_DIR "/share/metamodel";
const std::string review = METAMODEL_SOURCE_DIR "/examples/review";

// The message ids of the diagnostics, in their order, each followed by a blank.
std::string messageIds(const std::string& err) {
    std::string ids;
    for (const std::string& id : TestSupport::messageIds(err))
        ids += id + " ";
    return ids;
}

// The export document names every service in the order of their ids.
TEST(ServicesCommand, WritesTheLibrarysExportDocument) {
    TempFolder folder;
    auto run = runTool({"services", "--library", "libhost.so", "-o", folder.file("out.xml")});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(TestSupport::readFile(folder.file("out.xml")),
              TestSupport::readFile(METAMODEL_TEST_DATA_DIR "/services/libhost.xml"));

    run = runTool({"services"});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_NE(run.out.find("\t\t<dll>libmetamodel.so</dll>\n"), std::string::npos) << run.out;
}

// Installed (tests/data/compat): category A (2001001) with property 2001002 in one document,
// type B (2002001) in another. Each case asks about documents of its own.
TEST(CompatCommand, AnswersAndListsEveryClashWithTheFilesOnBothSides) {
    const std::string data = METAMODEL_TEST_DATA_DIR "/compat/", installed = data + "installed";
    const std::string installedA = installed + "/a/MetaModel.xml";
    const std::string installedB = installed + "/b/MetaModel.xml";
    const std::string fresh = data + "fresh/MetaModel.xml", twice = data + "twice";
    const std::string clashing = data + "clashing/MetaModel.xml";
    const std::string moved = data + "moved/MetaModel.xml", bad = data + "bad/MetaModel.xml";
    const std::string absent = data + "absent";
    // A usage error (exit 2) shows no diagnostic, only the usage.
    struct Case {
        std::vector<std::string> arguments;
        int exitCode;
        std::string diagnostics; // message ids, in order
    } cases[] = {
        {{"--against", installed, fresh}, 0, ""},
        {{"--against", installedA, "--against", installedB, clashing},
         1,
         "QEL_MM_FRAGMENT_ID_CLASH QEL_MM_FRAGMENT_NAME_CLASH QEL_MM_FRAGMENT_PROP_ID_CLASH "},
        {{"--migrate", "--against", installed, installed}, 0, ""},
        {{"--migrate", "--against", installed, moved}, 1, "QEL_MM_FRAGMENT_ID_CHANGED "},
        {{"--against", installed, twice}, 1, "QEL_MM_FRAGMENT_DUPLICATE "},
        {{"--against", installed, bad}, 1, "QEL_MM_FRAGMENT_NOT_A_NUMBER "},
        {{"--against", absent, fresh}, 1, "QEL_MM_ROOT_NOT_FOUND "},
        // PATHs as every command reads them: placeholders resolved.
        {{"--app-dir", data, "--against", "<app dir>/installed/a/MetaModel.xml", "--against",
          "<app dir>/installed/b", clashing},
         1,
         "QEL_MM_FRAGMENT_ID_CLASH QEL_MM_FRAGMENT_NAME_CLASH QEL_MM_FRAGMENT_PROP_ID_CLASH "},
        {{installed}, 2, ""},
        {{"--against", installed}, 2, ""},
        {{"--against", installed, "--db", data + "r.sqlite", installed}, 2, ""},
        {{"--against", installed, "--schema", "s", installed}, 2, ""},
    };
    for (const Case& c : cases) {
        std::vector<std::string> arguments = {"-q", "compat"};
        arguments.insert(arguments.end(), c.arguments.begin(), c.arguments.end());
        const auto run = runTool(arguments);
        const std::string name = arguments.back() + " after " + c.arguments.front();
        EXPECT_EQ(run.exitCode, c.exitCode) << name << ": " << run.err;
        EXPECT_EQ(messageIds(run.err), c.diagnostics) << name << ": " << run.err;
        EXPECT_EQ(run.out.empty(), c.arguments[0] != "--migrate" || c.exitCode != 1) << name;
    }
    // A folder named like a document is refused, not walked.
    TempFolder folder;
    folder.write("named/OldMetaModel.xml/MetaModel.xml", TestSupport::readFile(fresh));
    const auto named =
        runTool({"compat", "--against", installed, folder.file("named/OldMetaModel.xml")});
    EXPECT_EQ(named.exitCode, 1);
    EXPECT_EQ(messageIds(named.err), "QEL_MM_INPUT_UNREADABLE ") << named.err;

    EXPECT_EQ(runTool({"compat", "--migrate", "--against", installed, moved}).out,
              "type or category A has original id 2001001 and trying to change to 2001005 "
              "defined in file : " +
                  moved + "\n");

    // Each clash names the document that brings it and the installed one it meets.
    std::string clashes = TestSupport::readFile(data + "clashes.txt");
    for (size_t at; (at = clashes.find("@DATA@")) != std::string::npos;)
        clashes.replace(at, 6, data);
    EXPECT_EQ(runTool({"-q", "compat", "--against", installed, clashing}).err, clashes);
}

using CompatOnRepository = TestSupport::OnBothServers;

// The installation and the example extension in a repository: the extension cannot be
// installed again but may replace itself, a new type can join, and a moved id is named
// with the document that moves it.
TEST_P(CompatOnRepository, AnswersAgainstTheRepositorysTables) {
    const std::vector<std::string> repository = withSchema({"--db", uri_});
    std::vector<std::string> transfer = {"-q", "transfer", "--create-schema"};
    transfer.insert(transfer.end(), repository.begin(), repository.end());
    transfer.push_back(review);
    const auto loaded = runTool(transfer, baseInstallation);
    ASSERT_EQ(loaded.exitCode, 0) << loaded.err;

    const std::string data = METAMODEL_TEST_DATA_DIR "/compat/repository/";
    const std::string fresh = data + "fresh/MetaModel.xml", moved = data + "moved/MetaModel.xml";
    const std::string idClash = "QEL_MM_FRAGMENT_ID_CLASH ";
    const std::string nameClash = "QEL_MM_FRAGMENT_NAME_CLASH ";
    struct Case {
        bool migrate;
        std::string path;
        int exitCode;
        std::string diagnostics, out;
    } cases[] = {
        {false, review, 1, idClash + idClash + nameClash + nameClash, ""},
        {true, review, 0, "", ""},
        {false, fresh, 0, "", ""},
        {true, moved, 1, "QEL_MM_FRAGMENT_ID_CHANGED ",
         "type or category ReviewNote has original id 2007004 and trying to change to 2009001 "
         "defined in file : " +
             moved + "\n"},
    };
    for (const Case& c : cases) {
        std::vector<std::string> arguments = {"-q", "compat"};
        if (c.migrate)
            arguments.push_back("--migrate");
        arguments.insert(arguments.end(), repository.begin(), repository.end());
        arguments.push_back(c.path);
        const auto run = runTool(arguments);
        EXPECT_EQ(run.exitCode, c.exitCode) << c.path << ": " << run.err;
        EXPECT_EQ(messageIds(run.err), c.diagnostics) << c.path;
        EXPECT_EQ(run.out, c.out) << c.path;
    }
}

INSTANTIATE_ON_BOTH_SERVERS(CompatOnRepository);

} // namespace
