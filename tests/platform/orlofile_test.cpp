#include "platform/orlofile.h"

#include "support/tempfolder.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace {

namespace fs = std::filesystem;

// A path's last piece and its folder, whichever separator it uses and whether or not it ends
// in one.
TEST(File, ParentAndBaseNameIgnoreATrailingSeparator) {
    for (const char* path : {"/opt/app/Core", "/opt/app/Core/", "\\opt\\app\\Core\\\\"}) {
        const ORLO::File file{ORLO::String(path)};
        EXPECT_EQ(file.getParent(), "/opt/app") << path;
        EXPECT_EQ(file.getBaseName(), "Core") << path;
    }
    EXPECT_EQ(ORLO::File(ORLO::String("/")).getBaseName(), "");
    EXPECT_EQ(ORLO::File(ORLO::String("/")).getParent(), "/");
}

// A listing gives the direct children in name order, and with recursion what lies under each
// child folder right after it, however deep; a missing folder lists nothing and says so.
TEST(File, ListingsGoAsDeepAsAsked) {
    TestSupport::TempFolder folder;
    folder.write("top/b/c/d/MetaModel.xml", "");
    folder.write("top/a.txt", "");
    const auto listed = [&](const std::string& path, bool recursive, bool& done) {
        std::vector<ORLO::File> entries;
        done = ORLO::File(ORLO::String(path))
                   .listFiles(entries, ORLO::IFileFilter::getMatchAllFileFilter(), recursive);
        std::string names;
        for (const ORLO::File& entry : entries)
            names += entry.getBaseName() + " ";
        return names;
    };
    bool done = false;
    EXPECT_EQ(listed(folder.file("top"), false, done), "a.txt b ");
    EXPECT_TRUE(done);
    EXPECT_EQ(listed(folder.file("top"), true, done), "a.txt b c d MetaModel.xml ");
    EXPECT_EQ(listed(folder.file("missing"), true, done), "");
    EXPECT_FALSE(done);
}

// Readers and writers answer their failures; "-" is a file like any other.
TEST(FileIOHelper, ReadersAnswerEveryFailureAndWritersMakeTheFileNamed) {
    TestSupport::TempFolder folder;
    const std::string text = std::string(100000, 'x') + "\nend";
    const std::string path = folder.write("f.txt", text);
    ORLO::String content = "stale";
    auto reader = ORLO::FileIOHelper::getReader(path);
    ASSERT_TRUE(reader->open());
    EXPECT_TRUE(reader->readAll(content));
    EXPECT_EQ(content, text);
    for (const std::string& unreadable : {folder.path().string(), folder.file("missing")}) {
        auto failing = ORLO::FileIOHelper::getReader(unreadable);
        EXPECT_FALSE(failing->open()) << unreadable;
        EXPECT_FALSE(failing->readAll(content)) << unreadable;
    }

    const fs::path before = fs::current_path();
    fs::current_path(folder.path());
    auto writer = ORLO::FileIOHelper::getWriter("-");
    const bool written = writer->open() && writer->write("dash", -1);
    writer->close();
    fs::current_path(before);
    EXPECT_TRUE(written);
    EXPECT_EQ(TestSupport::readFile(folder.file("-")), "dash");
}

} // namespace
