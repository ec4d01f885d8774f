#include "support/runtool.h"
#include "support/tempfolder.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using TestSupport::messageIds;
using TestSupport::runTool;
using TestSupport::TempFolder;

const std::string base = METAMODEL_SOURCE_DIR "/share/metamodel";
const std::string document = "<metaModel file_no=\"4\"><category name=\"Extra\" rid=\"1\">"
                             "<description/></category></metaModel>";

TEST(Inputs, WhatWouldBeReadWronglyIsNamedInOneMessage) {
    TempFolder folder;
    const std::string set = folder.file("set");
    folder.write("set/MetaModel.xml", document);
    folder.write("set/metamodel.xml", document);
    folder.write("empty/metamodel.xml", document);
    folder.write("empty/notes.txt", "");
    std::string deep = "<metaModel file_no=\"1\">";
    for (int level = 0; level < 300; ++level)
        deep += "<a>";
    const std::string overlong = "<metaModel file_no=\"1\"><category name=\"" +
                                 std::string(10'000'001, 'x') + "\"/></metaModel>";
    using Ids = std::vector<std::string>;
    const Ids unparsable = {"QEL_MM_SAX_PARSE_EXCEPTION", "QEL_MM_XML_FILE_ERR"};
    struct Case {
        const char* name;
        std::vector<std::string> arguments;
        int exitCode;
        Ids ids;
        std::string says = "";
    };
    const Case cases[] = {
        {"a folder without a document",
         {"dump", set, folder.file("empty")},
         0,
         Ids{"QEL_MM_ROOT_EMPTY"}},
        {"a folder option naming no folder",
         {"--extension-dir", folder.file("absent"), "dump"},
         1,
         Ids{"QEL_MM_FOLDER_OPTION_NOT_FOUND"}},
        {"a folder and a document in it",
         {"dump", set, set + "/MetaModel.xml"},
         1,
         Ids{"QEL_MM_DOCUMENT_TWICE"}},
        {"one document twice",
         {"check", set + "/MetaModel.xml", set + "//MetaModel.xml"},
         1,
         Ids{"QEL_MM_DOCUMENT_TWICE"}},
        {"a document name in lower case",
         {"export", set + "/metamodel.xml"},
         1,
         Ids{"QEL_MM_NOT_A_DOCUMENT_NAME"}},
        {"elements nested too deep",
         {"dump", folder.write("deep/MetaModel.xml", deep)},
         1,
         unparsable,
         "elements nest deeper than 256 levels, the parser's fixed limit"},
        {"an overlong attribute value",
         {"dump", folder.write("long/MetaModel.xml", overlong)},
         1,
         unparsable,
         "an attribute value is longer than 10000000 bytes"},
    };
    for (const Case& test : cases) {
        const auto run = runTool(test.arguments);
        EXPECT_EQ(run.exitCode, test.exitCode) << test.name << ": " << run.err;
        EXPECT_EQ(messageIds(run.err), test.ids) << test.name << ": " << run.err;
        EXPECT_NE(run.err.find(test.says), std::string::npos) << test.name << ": " << run.err;
    }
}

// Root is never refused a folder, so the tool runs as an ordinary user where the test is root.
TEST(Inputs, AFolderThatCannotBeListedFailsCheckAndTransfer) {
    const bool root = geteuid() == 0;
    if (root && access("/usr/sbin/runuser", X_OK) != 0)
        GTEST_SKIP() << "running as root without runuser: no user is refused the folder";
    TempFolder folder;
    std::filesystem::permissions(folder.path(), std::filesystem::perms::all);
    folder.write("s/ok/MetaModel.xml",
                 TestSupport::readFile(METAMODEL_SOURCE_DIR "/examples/review/MetaModel.xml"));
    folder.write("s/locked/MetaModel.xml",
                 TestSupport::readFile(METAMODEL_SOURCE_DIR "/examples/faulty/MetaModel.xml"));
    ASSERT_EQ(chmod(folder.file("s/locked").c_str(), 0), 0);
    const std::string database = folder.file("repository.db");
    for (const std::vector<std::string>& call :
         {std::vector<std::string>{"check", folder.file("s")},
          std::vector<std::string>{"transfer", "--db", "sqlite:" + database, folder.file("s")}}) {
        const auto run = TestSupport::runToolAs(root ? "nobody" : "", call, base);
        EXPECT_EQ(run.exitCode, 1) << call[0] << ": " << run.err;
        EXPECT_NE(run.err.find("'" + folder.file("s/locked") +
                               "' cannot be read: " + std::strerror(EACCES)),
                  std::string::npos)
            << call[0] << ": " << run.err;
    }
    EXPECT_FALSE(std::filesystem::exists(database));
    chmod(folder.file("s/locked").c_str(), 0700);
}

TEST(Inputs, EveryCommandLeavesOutThePerUserAndPerMachineFolders) {
    TempFolder folder;
    const std::string extra = "<metaModel file_no=\"5\"><category name=\"NotRead\" rid=\"1\">"
                              "<description/></category></metaModel>";
    folder.write("user/configuration/Languages/MetaModel.xml", extra);
    folder.write("machine/configuration/Languages/MetaModel.xml", extra);
    const std::string set = folder.write("set/MetaModel.xml", document);
    for (const char* command : {"dump", "export", "describe"}) {
        const auto run = runTool({"--user-dir", folder.file("user"), "--all-users-dir",
                                  folder.file("machine"), command, set});
        EXPECT_EQ(run.exitCode, 0) << command << ": " << run.err;
        EXPECT_NE(run.out.find("Extra"), std::string::npos) << command << ": " << run.out;
        EXPECT_EQ(run.out.find("NotRead"), std::string::npos) << command << ": " << run.out;
    }
}

} // namespace
