#include "support/generatedset.h"
#include "support/runtool.h"
#include "support/tempfolder.h"

#include <gtest/gtest.h>

namespace {

using TestSupport::lines;
using TestSupport::runTool;
using TestSupport::TempFolder;

const std::string sample = METAMODEL_TEST_DATA_DIR "/xml/sample/MetaModel.xml";
const std::string sampleDump = "Cat \t1003001\tBase\r\nProp\t1003002\tBase.size\r\n";

// A folder named through a placeholder is found through the folder it stands for, and its
// documents keep the symbolic form as their root.
TEST(Tool, FoldersGivenWithAPlaceholderAreReadAndKeepIt) {
    TempFolder folder;
    const std::string document = "<metaModel file_no=\"4\"><category name=\"Extra\" rid=\"1\"/>"
                                 "</metaModel>";
    folder.write("app/extra/MetaModel.xml", document);
    folder.write("user/x/MetaModel.xml", document);
    for (const std::string placeholder : {"<app dir>/extra", "<user dir>/x"}) {
        // A four-digit number of jobs as well, its value joined to the letter.
        const auto run = runTool({"-j1000", "--app-dir", folder.file("app"), "--user-dir",
                                  folder.file("user"), "export", placeholder},
                                 folder.file("app"));
        EXPECT_EQ(run.exitCode, 0) << placeholder << ": " << run.err;
        std::string escaped = placeholder;
        escaped.replace(escaped.find('>'), 1, "&gt;").replace(0, 1, "&lt;");
        EXPECT_NE(run.out.find("stringValue=\"" + escaped + "\""), std::string::npos)
            << placeholder << ": " << run.out;
    }
}

TEST(Tool, AnEmptyIdIsReportedAtItsLineThenTheFileFailureAndExitOne) {
    TempFolder folder;
    const std::string bad = METAMODEL_TEST_DATA_DIR "/xml/emptyid/MetaModel.xml";
    auto run = runTool({"dump", "-o", folder.file("out.dump"), bad});
    EXPECT_EQ(run.exitCode, 1);
    const auto text = lines(run.err);
    ASSERT_EQ(text.size(), 2u) << run.err;
    EXPECT_EQ(text[0].rfind(bad + ":2:", 0), 0u) << text[0];
    EXPECT_NE(text[0].find(": error: "), std::string::npos);
    EXPECT_NE(text[0].find("[QEL_MM_EMPTY_ID]"), std::string::npos);
    EXPECT_EQ(text[1].rfind(bad + ": error: ", 0), 0u) << text[1];
    EXPECT_NE(text[1].find("[QEL_MM_XML_FILE_ERR]"), std::string::npos);
    EXPECT_FALSE(std::filesystem::exists(folder.file("out.dump")))
        << "a failed run leaves no half-written output";

    run = runTool({"--format", "json", "dump", bad});
    EXPECT_EQ(run.exitCode, 1);
    const auto json = lines(run.err);
    ASSERT_EQ(json.size(), 2u) << run.err;
    const std::string head = R"({"severity":"error","id":")";
    EXPECT_TRUE(json[0].starts_with(head + R"(QEL_MM_EMPTY_ID","component":"QEL","source":")" +
                                    bad + R"(","line":2,"column":)"))
        << json[0];
    EXPECT_EQ(json[0].find("\"args\""), std::string::npos);
    EXPECT_TRUE(json[1].starts_with(head + R"(QEL_MM_XML_FILE_ERR","component":"QEL","source":")" +
                                    bad + R"(","args":{"FILE":")" + bad + R"("},"text":")"))
        << json[1];
}

TEST(Tool, UsageErrorsExitTwoWithTheUsageLine) {
    const std::vector<std::vector<std::string>> wrongCalls = {
        {},
        {"frobnicate"},
        {"--bogus", "dump"},
        {"dump", "--bogus"},
        {"dump", "-o"},
        {"--format", "xml", "dump"},
        {"--production-mode", "2", "dump"},
        {"--jobs", "x1", "dump"},
        {"--jobs", "0", "dump"},
        {"--jobs", "12345", "dump"},
        {"dump", "-o", "a", "-o", "b"},
        {"init"},
        {"init", "--db", "x.sqlite", "extra"},
        {"dump", "--db", "x.sqlite", METAMODEL_SOURCE_DIR "/examples"},
        {"export", "--schema", "s"},
        {"describe", "--schema", "s"},
        {"describe", "--json=yes", METAMODEL_SOURCE_DIR "/examples"},
        // An empty value, not the PATH after it.
        {"dump", "--output=", METAMODEL_SOURCE_DIR "/examples"},
        {"dump", "-o", "", METAMODEL_SOURCE_DIR "/examples"},
        {"--app-dir=", "dump", METAMODEL_SOURCE_DIR "/examples"},
        {"describe", "--db", "x.sqlite", METAMODEL_SOURCE_DIR "/examples"},
        {"dump", "--db", "a", "--db", "b"},
        {"transfer", METAMODEL_SOURCE_DIR "/examples"},
        {"diff", "--against", METAMODEL_SOURCE_DIR "/examples"},
    };
    for (const auto& call : wrongCalls) {
        const auto run = runTool(call);
        EXPECT_EQ(run.exitCode, 2) << testing::PrintToString(call);
        EXPECT_EQ(run.out, "");
        // One line that says what is wrong, then the usage.
        const auto said = lines(run.err);
        ASSERT_EQ(said.size(), 2u) << run.err;
        EXPECT_TRUE(said[0].starts_with("metamodel: ")) << run.err;
        EXPECT_TRUE(said[1].starts_with("usage: metamodel")) << run.err;
    }
    // A global option's refused value after the command shows that command's usage, also
    // when a PATH is named like another command.
    const auto run = runTool({"check", "--format", "xml", "dump"});
    EXPECT_NE(run.err.find("usage: metamodel [GLOBAL OPTIONS] check"), std::string::npos)
        << run.err;
}

TEST(Tool, HelpDescribesEveryOption) {
    auto run = runTool({"--help"});
    EXPECT_EQ(run.exitCode, 0);
    for (const char* option :
         {"--app-dir", "--user-dir", "--all-users-dir", "--plugins-dir", "--extension-dir",
          "--production-mode", "--format", "-q", "--version", "dump", "export", "init"})
        EXPECT_NE(run.out.find(option), std::string::npos) << option;

    run = runTool({"dump", "--help"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_NE(run.out.find("-o, --output FILE"), std::string::npos) << run.out;
    EXPECT_NE(run.out.find("--db URI"), std::string::npos) << run.out;
    // The global option before the command asks for the same help.
    EXPECT_EQ(runTool({"--help", "dump"}).out, run.out);
    EXPECT_NE(run.out.find("installation's own documents are read first"), std::string::npos);
    // compat compares what it is given, never the installation.
    run = runTool({"compat", "--help"});
    EXPECT_NE(run.out.find("Only the documents of the PATHs are read"), std::string::npos)
        << run.out;

    run = runTool({"--version"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.out.rfind("metamodel ", 0), 0u);

    // The libraries come from beside the tool, never from the folder it runs in.
    TempFolder folder;
    folder.write("libxxhash.so.0", "not a library");
    std::string out;
    EXPECT_EQ(TestSupport::runShell("cd '" + folder.path().string() +
                                        "' && '" METAMODEL_TOOL_PATH "' --version 2>&1",
                                    out),
              0)
        << out;
}

// A successful run replaces an output, with a new file's mode rather than the scratch file's
// private one, and writes through a link (a rename into place would replace the link instead).
TEST(Tool, ASuccessfulRunReplacesAnOutputAndALinkIsWrittenThrough) {
    TempFolder folder;
    const std::string output = folder.write("out.dump", "the old dump\n");
    const std::string real = folder.write("real.dump", "");
    const std::string link = folder.file("link.dump");
    std::filesystem::create_symlink(real, link);
    EXPECT_EQ(runTool({"-q", "dump", "-o", output, sample}).err, "");
    EXPECT_EQ(runTool({"-q", "dump", "-o" + link, sample}).err, "");
    const auto quiet = runTool({"dump", sample}); // says nothing besides
    EXPECT_EQ(quiet.out + quiet.err, sampleDump);
    EXPECT_EQ(TestSupport::readFile(output), sampleDump);
    EXPECT_EQ(TestSupport::readFile(real), sampleDump);
    EXPECT_TRUE(std::filesystem::is_symlink(link));
    const std::string plain = folder.write("plain", "");
    EXPECT_EQ(std::filesystem::status(output).permissions(),
              std::filesystem::status(plain).permissions());
    // No scratch file is left beside them.
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path()), {}), 4);
    // Read from a database, only the database itself is an input the output may not be.
    const std::string database = "sqlite:" + folder.file("repository.db");
    ASSERT_EQ(runTool({"-q", "transfer", "--db", database, sample}).exitCode, 0);
    const std::string fromDatabase = folder.write("db.dump", "the old dump\n");
    const auto overwrite = runTool({"-q", "dump", "--db", database, "-o", fromDatabase});
    EXPECT_EQ(overwrite.exitCode, 0) << overwrite.err;
    EXPECT_EQ(TestSupport::readFile(fromDatabase), runTool({"dump", "--db", database}).out);
}

// In the JSON form every line on standard error is one object: the messages, then the
// summary, init's report included.
TEST(Tool, InJsonFormSummariesAndMessagesAreObjectsOnStandardError) {
    TempFolder folder;
    const std::string bad = folder.write("bad/MetaModel.xml", "<metaModel file_no=\"1\"><oops>");
    const std::string database = "sqlite:" + folder.file("repository.db");
    const struct {
        std::vector<std::string> arguments;
        std::string summary;
    } cases[] = {
        {{"--format", "json", "init", "--db", database},
         R"j({"summary":{"command":"init","schema":"","text":"the repository tables and )j"
         R"j(procedures are ready"}})j"},
        // Global options may follow the command.
        {{"check", "--format", "json", bad},
         R"j({"summary":{"command":"check","passed":false,"warnings":0,"text":"the )j"
         R"j(documents fail (0 warnings)"}})j"},
        {{"--format", "json", "diff", "--against", sample, sample},
         R"j({"summary":{"command":"diff","changes":0,"breaking":0,"text":"0 changes, 0 )j"
         R"j(breaking"}})j"},
    };
    for (const auto& test : cases) {
        const auto run = runTool(test.arguments);
        const std::string name = test.arguments[test.arguments[0] == "--format" ? 2 : 0];
        EXPECT_EQ(run.out, "") << name;
        const std::vector<std::string> err = lines(run.err);
        ASSERT_FALSE(err.empty()) << name;
        EXPECT_EQ(err.back(), test.summary) << name;
        for (const std::string& line : err)
            EXPECT_TRUE(line.front() == '{' && line.back() == '}') << name << ": " << line;
    }
    // Arguments are the members of one object, in the order the message gives them.
    const std::string twice = folder.write(
        "twice/MetaModel.xml",
        "<metaModel file_no=\"1\"><category name=\"A\" rid=\"1\"><description>a</description>"
        "<property name=\"p\" rid=\"2\" type=\"string\"><description>x</description></property>"
        "<property name=\"p\" rid=\"3\" type=\"string\"><description>x</description></property>"
        "</category></metaModel>");
    const auto run = runTool({"--format", "json", "check", twice});
    EXPECT_NE(run.err.find(R"("args":{"ID":"2001003","NAM":"p"},"text":)"), std::string::npos)
        << run.err;
}

// Memory that runs out ends the run with a message and exit 1, never by the allocator's abort
// without a word. The address space is limited to a little more than a run on one small
// document needs, found first; the sanitizers' allocator reserves more than any such limit.
TEST(Tool, MemoryThatRunsOutEndsTheRunWithAMessage) {
    if (std::string(METAMODEL_CLIENT_FLAGS).find("sanitize") != std::string::npos)
        GTEST_SKIP() << "the sanitizers' allocator cannot run under an address-space limit";
    TempFolder folder;
    const std::string large = TestSupport::writeGeneratedSet(folder.file("set"), "Big", 300, 40);
    const auto describeWithin = [](long kilobytes, const std::string& documents) {
        TestSupport::ToolRun run;
        run.exitCode = TestSupport::runShell(
            "ulimit -v " + std::to_string(kilobytes) +
                "; METAMODEL_APP_DIR=/nonexistent METAMODEL_USER_DIR=/nonexistent "
                "METAMODEL_ALL_USERS_DIR=/nonexistent exec '" METAMODEL_TOOL_PATH
                "' -q describe '" +
                documents + "' 2>&1 >/dev/null",
            run.err);
        return run;
    };
    long enough = 32 * 1024;
    while (describeWithin(enough, sample).exitCode != 0 && enough < 1024 * 1024)
        enough += 4 * 1024;
    ASSERT_LT(enough, 1024 * 1024) << "the tool did not run within 1 GB";
    const auto run = describeWithin(enough + 8 * 1024, large);
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(TestSupport::messageIds(run.err), std::vector<std::string>{"MM_OUT_OF_MEMORY"})
        << run.err;
}

} // namespace
