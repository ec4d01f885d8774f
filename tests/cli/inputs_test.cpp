#include "support/runtool.h"
#include "support/tempfolder.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using TestSupport::TempFolder;

// The exit code and the message ids of a run, as one line.
std::string outcome(const TestSupport::ToolRun& run) {
    std::string line = std::to_string(run.exitCode);
    for (const std::string& id : TestSupport::messageIds(run.err))
        line += " " + id;
    return line;
}

// Root is never refused a folder, so the tool runs as an ordinary user where the test is root.
TEST(Inputs, WhatWouldBeReadWronglyIsSaidInOneMessage) {
    const bool root = geteuid() == 0;
    if (root && access("/usr/sbin/runuser", X_OK) != 0)
        GTEST_SKIP() << "running as root without runuser: no user is refused a folder";
    TempFolder folder;
    std::filesystem::permissions(folder.path(), std::filesystem::perms::all);
    const std::string set = folder.write("set/MetaModel.xml", "<metaModel file_no=\"4\"/>");
    folder.write("set/metamodel.xml", "");
    folder.write("empty/metamodel.xml", "");
    // Unreadable, so that reading them shows.
    folder.write("s/locked/MetaModel.xml", "<metaModel");
    folder.write("s/ok/MetaModel.xml", "<metaModel file_no=\"4\"/>");
    const std::string user = folder.file("user"), machine = folder.file("machine");
    folder.write("user/configuration/Languages/MetaModel.xml", "<metaModel");
    folder.write("machine/configuration/Languages/MetaModel.xml", "<metaModel");
    ASSERT_EQ(chmod(folder.file("s/locked").c_str(), 0), 0);
    const std::string locked =
        "'" + folder.file("s/locked") + "' cannot be read: " + std::strerror(EACCES);
    const std::string database = folder.file("repository.db");
    // A repository the user may read but not write: a faulty set fails on its documents, before
    // the database is opened for writing.
    const std::string readOnly = folder.file("read-only.db");
    ASSERT_EQ(TestSupport::runTool({"init", "--db", "sqlite:" + readOnly}).exitCode, 0);
    const std::string readOnlyBytes = TestSupport::readFile(readOnly);
    const std::string faulty = folder.write(
        "faulty/MetaModel.xml", "<metaModel file_no=\"1\"><category name=\"A\" rid=\"1\"><oops/>"
                                "</category></metaModel>");
    // The root and 256 levels below it are the most the parser takes.
    const auto nested = [](int levels) {
        std::string text = "<metaModel file_no=\"1\">";
        for (int level = 0; level < levels; ++level)
            text += "<a>";
        for (int level = 0; level < levels; ++level)
            text += "</a>";
        return text + "</metaModel>";
    };
    const std::string overlong = "<metaModel file_no=\"1\"><category name=\"" +
                                 std::string(10'000'001, 'x') + "\"/></metaModel>";
    // A link to nothing is passed over, as the reader passes over it; a link that cannot be
    // followed at all could hide documents.
    folder.write("links/MetaModel.xml", "<metaModel file_no=\"4\"/>");
    std::filesystem::create_symlink(folder.file("nowhere"), folder.file("links/gone"));
    folder.write("loops/MetaModel.xml", "<metaModel file_no=\"4\"/>");
    std::filesystem::create_symlink(folder.file("loops/self"), folder.file("loops/self"));
    // A pipe would block the run, a device never end.
    std::filesystem::create_directory(folder.file("pipe"));
    ASSERT_EQ(mkfifo(folder.file("pipe/MetaModel.xml").c_str(), 0644), 0);
    std::filesystem::create_directory(folder.file("device"));
    std::filesystem::create_symlink("/dev/zero", folder.file("device/MetaModel.xml"));
    const std::string installed =
        folder.write("configuration/Core/MetaModel.xml", "<metaModel file_no=\"9\"/>");
    // An installation whose folders cannot even be looked into.
    const std::string closed = folder.file("closed");
    folder.write("closed/configuration/Core/MetaModel.xml", "<metaModel file_no=\"9\"/>");
    ASSERT_EQ(chmod(folder.file("closed/configuration").c_str(), 0), 0);
    const std::string unparsable = "1 QEL_MM_SAX_PARSE_EXCEPTION QEL_MM_XML_FILE_ERR";
    const std::string unreadable = "1 QEL_MM_INPUT_UNREADABLE", s = folder.file("s");
    struct Case {
        std::vector<std::string> arguments;
        std::string outcome;
        std::string says = "";
    };
    const Case cases[] = {
        {{"check", s}, unreadable, locked},
        {{"transfer", "--db", "sqlite:" + database, s}, unreadable, locked},
        {{"compat", "--against", set, s}, unreadable, locked},
        // compat reads its PATHs alone: an installation's document named as one is no repeat.
        {{"--app-dir", folder.path().string(), "compat", "--against", set, installed}, "0"},
        // Both folders of the installation, since neither can be told to be missing.
        {{"--app-dir", closed, "check", set},
         unreadable + " QEL_MM_INPUT_UNREADABLE",
         "'" + closed + "/configuration/Core' cannot be read: " + std::strerror(EACCES)},
        {{"transfer", "--db", "sqlite:" + readOnly, faulty},
         "1 QEL_MM_DESC_TAG_NOT_FIRST QEL_MM_XML_FILE_ERR QEL_MM_XML2DB_ERR"},
        {{"dump", set, folder.file("empty")}, "0 QEL_MM_ROOT_EMPTY", folder.file("empty")},
        {{"dump", folder.file("nowhere/MetaModel.xml")}, unreadable},
        {{"--app-dir", folder.path().string(), "dump", "<app dir>/nowhere"},
         "1 QEL_MM_ROOT_NOT_FOUND"},
        {{"--extension-dir", folder.file("absent"), "dump"}, "1 QEL_MM_FOLDER_OPTION_NOT_FOUND"},
        {{"dump", "--", "-nowhere"}, "1 QEL_MM_ROOT_NOT_FOUND"}, // after "--" no option
        {{"dump", folder.file("links")}, "0"},
        {{"dump", folder.file("loops")}, unreadable, std::strerror(ELOOP)},
        {{"check", folder.file("pipe/MetaModel.xml")}, unreadable, "not a regular file"},
        {{"dump", folder.file("device/MetaModel.xml")}, unreadable, "not a regular file"},
        {{"dump", folder.file("set"), set}, "1 QEL_MM_DOCUMENT_TWICE"},
        {{"check", set, folder.file("set//MetaModel.xml")}, "1 QEL_MM_DOCUMENT_TWICE"},
        {{"export", folder.file("set/metamodel.xml")}, "1 QEL_MM_NOT_A_DOCUMENT_NAME"},
        // Either separator in a PATH.
        {{"check", folder.path().string() + "\\set\\MetaModel.xml"}, "0"},
        {{"--app-dir", folder.path().string(), "check", "<app dir>\\set"}, "0"},
        {{"dump", folder.write("deep/MetaModel.xml", nested(257))},
         unparsable,
         "elements nest deeper than 257 levels, the parser's fixed limit"},
        {{"dump", folder.write("deepest/MetaModel.xml", nested(256))}, "0"},
        {{"dump", folder.write("long/MetaModel.xml", overlong)},
         unparsable,
         "an attribute value is longer than 10000000 bytes"},
        {{"--user-dir", user, "--all-users-dir", machine, "dump", set}, "0"},
        {{"--user-dir", user, "--all-users-dir", machine, "export", set}, "0"},
        {{"--user-dir", user, "--all-users-dir", machine, "describe", set}, "0"},
    };
    for (const Case& test : cases) {
        const auto run = TestSupport::runToolAs(root ? "nobody" : "", test.arguments);
        const std::string call = testing::PrintToString(test.arguments).substr(0, 200);
        EXPECT_EQ(outcome(run), test.outcome) << call << "\n" << run.err;
        EXPECT_NE(run.err.find(test.says), std::string::npos) << call << "\n" << run.err;
    }
    EXPECT_FALSE(std::filesystem::exists(database));
    EXPECT_EQ(TestSupport::readFile(readOnly), readOnlyBytes);
    chmod(folder.file("s/locked").c_str(), 0700);
    chmod(folder.file("closed/configuration").c_str(), 0700);
}

} // namespace
