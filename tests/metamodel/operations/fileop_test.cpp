#include "metamodel/operations/fileop.h"
#include "support/messagecapture.h"
#include "support/tempfolder.h"
#include "support/treesnapshot.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <iostream>
#include <sstream>
#include <sys/stat.h>

namespace {

namespace fs = std::filesystem;
using MetaModel::FileOp;
using TestSupport::Tree;

// The reports with the test folder written "~".
std::vector<std::string> reports(const TestSupport::MessageCapture& capture,
                                 const std::string& base) {
    std::vector<std::string> lines = capture.summaries();
    for (std::string& line : lines)
        for (size_t at; (at = line.find(base)) != std::string::npos;)
            line.replace(at, base.size(), "~");
    return lines;
}

TEST(FileOp, CompareFiles) {
    TestSupport::TempFolder root;
    const std::string base = root.path().string();
    Tree files =
        TestSupport::parseTree("empty1= empty2= a=same a2=same longer=same! b=samE folder/");
    files["big"] = std::string(70000, 'x');
    files["bigOther"] = files["big"];
    files["bigOther"].back() = 'y';
    TestSupport::plantTree(base, files);
    struct Case {
        const char* name;
        std::string file1, file2;
        FileOp::fcStatus expected;
        std::vector<std::string> reports = {};
    };
    std::vector<Case> cases = {
        {"a missing path with itself", base + "/none", base + "/none", FileOp::fcSame},
        {"two empty files", base + "/empty1", base + "/empty2", FileOp::fcSame},
        {"equal bytes, either separator", base + "\\a", base + "/a2", FileOp::fcSame},
        {"other length", base + "/a", base + "/longer", FileOp::fcDifferent},
        {"same length, other byte", base + "/a", base + "/b", FileOp::fcDifferent},
        {"differs past the first block", base + "/big", base + "/bigOther", FileOp::fcDifferent},
        {"both missing", base + "/none", base + "/none2", FileOp::fcFile1Missing},
        {"second missing", base + "/a", base + "/none", FileOp::fcFile2Missing},
        {"path through a file", base + "/a", base + "/a/x", FileOp::fcFile2Missing},
        {"a folder",
         base + "/folder",
         base + "/a",
         FileOp::fcError,
         {"FILEOP_CANNOT_COMPARE_FILE@0(FILE2=~/a,FILE1=~/folder,)"}},
    };
    // The kernel lists its files at a size they do not hold: the end comes early.
    const std::string shortFile = "/sys/kernel/profiling";
    if (fs::exists(shortFile))
        cases.push_back({"ends before its size",
                         shortFile,
                         "/sys/kernel//profiling",
                         FileOp::fcError,
                         {"FILEOP_CANNOT_COMPARE_FILE@0(FILE2=/sys/kernel//profiling,FILE1=" +
                          shortFile + ",)"}});
    for (const Case& c : cases) {
        TestSupport::MessageCapture capture;
        EXPECT_EQ(FileOp::compareFiles(c.file1, c.file2), c.expected) << c.name;
        EXPECT_EQ(reports(capture, base), c.reports) << c.name;
    }
}

TEST(FileOp, CreateDirectoryMakesEveryMissingLevelAndReportsEachOneThatFails) {
    TestSupport::TempFolder root;
    const std::string base = root.path().string();
    TestSupport::plantTree(base, {{"there", "<dir>"}, {"file", "x"}});
    struct Case {
        const char* name;
        std::string path;
        int expected;
        std::vector<std::string> reports = {};
    };
    const std::vector<Case> cases = {
        {"existing", base + "/there", 0},
        {"nested, either separator", base + "/a\\b/c", 0},
        {"trailing separator on a folder there", base + "/there/", 0},
        // "t/u" is made on the way back, so the second try at "t/u/" finds it there.
        {"trailing separator on a missing folder",
         base + "/t/u/",
         1,
         {"FILEOP_CANNOT_CREATE_DIR@0(DIR=~/t/u/,)"}},
        {"a file in the way",
         base + "/file/sub/deeper",
         1,
         {"FILEOP_CANNOT_CREATE_DIR@0(DIR=~/file/sub,)",
          "FILEOP_CANNOT_CREATE_DIR@0(DIR=~/file/sub/deeper,)"}},
        {"empty", "", 1, {"FILEOP_CANNOT_CREATE_DIR@0(DIR=,)"}},
    };
    for (const Case& c : cases) {
        TestSupport::MessageCapture capture;
        EXPECT_EQ(FileOp::createDirectory(c.path), c.expected) << c.name;
        EXPECT_EQ(reports(capture, base), c.reports) << c.name;
    }
    EXPECT_TRUE(fs::is_directory(base + "/a/b/c") && fs::is_directory(base + "/t/u"));
}

TEST(FileOp, DeleteMoveAndCopyWithPathsAndPatterns) {
    using Op = std::function<int(const std::string& base)>;
    struct Case {
        const char* name;
        const char* before;
        Op op;
        const char* after;
        std::vector<std::string> reports = {};
    };
    const std::vector<Case> cases = {
        {"delete *.* takes files, dot-names and folders, and leaves the folder",
         "w/a.h=a w/.hidden=h w/sub/x=x keep=k",
         [](const std::string& b) { return FileOp::deleteFiles(b + "/w/*.*"); }, "w/ keep=k"},
        {"delete *.* of an empty folder", "w/",
         [](const std::string& b) { return FileOp::deleteFiles(b + "/w/*.*"); }, "w/"},
        {"move a pattern that matches nothing",
         "s/ t/",
         [](const std::string& b) { return FileOp::moveFiles(b + "/s/*.*", b + "/t"); },
         "s/ t/",
         {"FILEOP_CANNOT_MOVE@0(DST=~/t,SRC=~/s/*.*,)"}},
        {"delete a missing path",
         "",
         [](const std::string& b) { return FileOp::deleteFiles(b + "/none"); },
         "",
         {"FILEOP_CANNOT_DELETE@0(ARG=~/none,)"}},
        {"move a pattern: folders merge, files overwrite",
         "s/a=new s/d/x=x2 s/d/y=y t/a=old t/d/x=x1 t/d/z=z",
         [](const std::string& b) { return FileOp::moveFiles(b + "\\s\\*.*", b + "/t"); },
         "s/ t/ t/a=new t/d/ t/d/x=x2 t/d/y=y t/d/z=z"},
        {"move a file onto a folder: into it", "f=1 t/",
         [](const std::string& b) { return FileOp::moveFiles(b + "/f", b + "/t/"); }, "t/ t/f=1"},
        {"move a file to a new path: renamed, folders made", "f=1",
         [](const std::string& b) { return FileOp::moveFiles(b + "/f", b + "/n/m/g"); },
         "n/ n/m/ n/m/g=1"},
        {"move a folder onto a file",
         "s/d/x=x t/d=file",
         [](const std::string& b) { return FileOp::moveFiles(b + "/s/*", b + "/t"); },
         "s/ s/d/ s/d/x=x t/ t/d=file",
         {"FILEOP_CANNOT_MOVE@0(DST=~/t,SRC=~/s/*,)"}},
        {"copy a pattern: the source stays, in folders old and new at the target",
         "s/a=a s/d/b=b s/e/c=c t/d/c=c",
         [](const std::string& b) { return FileOp::copyFiles(b + "/s/*.*", b + "/t"); },
         "s/ s/a=a s/d/ s/d/b=b s/e/ s/e/c=c t/ t/a=a t/d/ t/d/b=b t/d/c=c t/e/ t/e/c=c"},
        {"copy to a name too long for the file system",
         "f=1",
         [](const std::string& b) {
             return FileOp::copyFiles(b + "/f", b + "/" + std::string(300, 'L'));
         },
         "f=1",
         {"FILEOP_CANNOT_COPY@0(DST=~/" + std::string(300, 'L') + ",SRC=~/f,)"}},
        {"copy a folder into itself",
         "d/a=a",
         [](const std::string& b) { return FileOp::copyFiles(b + "/d", b + "/d/inner"); },
         "d/ d/a=a",
         {"FILEOP_CANNOT_COPY@0(DST=~/d/inner,SRC=~/d,)"}},
    };
    for (const Case& c : cases) {
        TestSupport::TempFolder root;
        const std::string base = root.path().string();
        TestSupport::plantTree(base, TestSupport::parseTree(c.before));
        TestSupport::MessageCapture capture;
        const int result = c.op(base);
        EXPECT_EQ(result == 0, c.reports.empty()) << c.name;
        EXPECT_EQ(reports(capture, base), c.reports) << c.name;
        EXPECT_EQ(TestSupport::treeOf(base), TestSupport::parseTree(c.after)) << c.name;
    }
}

// A bare file name has no folder to make: the copy and the move stay in the working folder.
TEST(FileOp, BareNamesAreTakenInTheWorkingFolder) {
    TestSupport::TempFolder root;
    TestSupport::plantTree(root.path().string(), TestSupport::parseTree("f=1"));
    const fs::path before = fs::current_path();
    fs::current_path(root.path());
    TestSupport::MessageCapture capture;
    const int copied = FileOp::copyFiles("f", "g");
    const int moved = FileOp::moveFiles("g", "h");
    fs::current_path(before);
    EXPECT_EQ(copied, 0);
    EXPECT_EQ(moved, 0);
    EXPECT_EQ(capture.summaries(), std::vector<std::string>{});
    EXPECT_EQ(TestSupport::treeOf(root.path().string()), TestSupport::parseTree("f=1 h=1"));
}

// Between two file systems nothing can be renamed: a folder and a file arrive whole as copies,
// and their sources go.
TEST(FileOp, MovesReachAnotherFileSystemWhole) {
    TestSupport::TempFolder here;
    const char* saved = std::getenv("TMPDIR");
    const std::string savedValue = saved ? saved : "";
    setenv("TMPDIR", "/dev/shm", 1);
    const TestSupport::TempFolder there;
    saved ? setenv("TMPDIR", savedValue.c_str(), 1) : unsetenv("TMPDIR");
    struct stat hereStatus {
    }, thereStatus{};
    ASSERT_EQ(stat(here.path().c_str(), &hereStatus), 0);
    ASSERT_EQ(stat(there.path().c_str(), &thereStatus), 0);
    if (hereStatus.st_dev == thereStatus.st_dev)
        GTEST_SKIP() << "/dev/shm is on the temporary folder's file system here";
    TestSupport::plantTree(here.path().string(), TestSupport::parseTree("s/a=1 s/d/b=2 f=3"));
    EXPECT_EQ(FileOp::moveFiles(here.file("s"), there.file("s")), 0);
    EXPECT_EQ(FileOp::moveFiles(here.file("f"), there.file("g")), 0);
    EXPECT_EQ(TestSupport::treeOf(here.path().string()), TestSupport::parseTree(""));
    EXPECT_EQ(TestSupport::treeOf(there.path().string()),
              TestSupport::parseTree("g=3 s/ s/a=1 s/d/ s/d/b=2"));
}

TEST(FileOp, MergeKeepsIdenticalFilesWithTheirDatesAndTellsWhatItDoes) {
    TestSupport::TempFolder root;
    const std::string target = root.file("target"), source = root.file("source");
    TestSupport::plantTree(
        target,
        TestSupport::parseTree("changed.h=old gone.h=g same.h=s sub/gone2.h=g2 sub/keep.h=k"));
    TestSupport::plantTree(
        source,
        TestSupport::parseTree("added.h=n changed.h=new same.h=s sub/keep.h=k newsub/n.h=n2"));
    const auto old = fs::file_time_type::clock::now() - std::chrono::hours(24 * 400);
    fs::last_write_time(target + "/same.h", old);
    fs::last_write_time(source + "/added.h", old);
    const Tree merged = TestSupport::parseTree(
        "added.h=n changed.h=new same.h=s sub/ sub/keep.h=k newsub/ newsub/n.h=n2");

    std::ostringstream out;
    std::streambuf* const saved = std::cout.rdbuf(out.rdbuf());
    TestSupport::MessageCapture capture;
    const int result = FileOp::mergeDirectories(target, source);
    const Tree afterFirst = TestSupport::treeOf(target);
    const bool datesKept = fs::last_write_time(target + "/same.h") == old &&
                           fs::last_write_time(target + "/added.h") == old;
    FileOp::verboseMode = false;
    const int again = FileOp::mergeDirectories(target, source); // from an empty source
    FileOp::verboseMode = true;
    std::cout.rdbuf(saved);

    EXPECT_EQ(result, 0);
    EXPECT_EQ(afterFirst, merged);
    // One line per entry of the folder being compared.
    const std::string comparing = "Comparing " + target + " ...\n";
    const std::string comparingSub = "Comparing " + target + "/sub ...\n";
    EXPECT_EQ(out.str(), "Merging results ...\n" + comparing + "Updating changed.h\n" + comparing +
                             "Purging gone.h\n" + comparing + comparing + comparingSub +
                             "Purging gone2.h\n" + comparingSub + "Adding new files ...\n");
    EXPECT_TRUE(datesKept);
    EXPECT_TRUE(TestSupport::treeOf(source).empty());
    // The empty source purges every file, only the folders stay, and the final move, which
    // finds nothing, fails the merge.
    EXPECT_EQ(again, 1);
    EXPECT_EQ(TestSupport::treeOf(target), (Tree{{"sub", "<dir>"}, {"newsub", "<dir>"}}));
    EXPECT_EQ(reports(capture, root.path().string()),
              (std::vector<std::string>{"FILEOP_CANNOT_MOVE@0(DST=~/target,SRC=~/source/*.*,)"}));
}

} // namespace
