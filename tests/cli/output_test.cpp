#include "support/generatedset.h"
#include "support/runtool.h"
#include "support/tempfolder.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sys/mount.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

using TestSupport::readFile;
using TestSupport::runTool;
using TestSupport::TempFolder;

const std::string sample = METAMODEL_TEST_DATA_DIR "/xml/sample/MetaModel.xml";
const std::string oldContent = "the old output\n";

// The scratch files the tool left in a folder.
std::vector<std::string> scratchFiles(const std::filesystem::path& folder) {
    std::vector<std::string> left;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
        if (entry.path().filename().string().rfind(".metamodel-", 0) == 0)
            left.push_back(entry.path().string());
    return left;
}

int exitCodeOf(pid_t child) {
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

// A file system of 64 KiB, so that a big enough output runs out of room; only where the test
// may mount one.
class SmallFileSystem {
public:
    SmallFileSystem() : mountPoint_(folder_.file("small")) {
        std::filesystem::create_directory(mountPoint_);
        mounted_ = mount("tmpfs", mountPoint_.c_str(), "tmpfs", 0, "size=64k") == 0;
    }
    ~SmallFileSystem() {
        if (mounted_)
            umount2(mountPoint_.c_str(), MNT_DETACH);
    }
    bool mounted() const { return mounted_; }
    std::string file(const std::string& name) const { return mountPoint_ + "/" + name; }

private:
    TempFolder folder_;
    std::string mountPoint_;
    bool mounted_ = false;
};

// Every way an output can fail: the run exits 1 with the system's reason, an existing output
// keeps its old content, and no scratch file stays beside it.
TEST(Output, AWriteThatFailsIsAnErrorWithTheSystemsReasonAndTheOldOutputStays) {
    TempFolder folder;
    SmallFileSystem small;
    const std::string big = TestSupport::writeGeneratedSet(folder.file("big"), "Big", 80, 20);
    struct Case {
        std::string name;
        std::vector<std::string> arguments;
        std::string standardOutput;
        std::string keptOutput; // an existing output that must keep its content
        std::string reason;
    };
    std::vector<Case> cases = {
        {"dump to a full device", {"dump", "-o", "/dev/full", sample}, "", "", "No space left"},
        {"export to a full standard output", {"export", sample}, "/dev/full", "", "No space left"},
        {"services to a full device", {"services", "-o", "/dev/full"}, "", "", "No space left"},
        {"describe to a full standard output", {"describe", sample}, "/dev/full", "", ""},
        {"dump into a missing folder",
         {"dump", "-o", folder.file("missing/out"), sample},
         "",
         "",
         "No such file or directory"},
    };
    if (small.mounted()) {
        for (const std::string command : {"dump", "export"}) {
            const std::string output = small.file(command + ".out");
            std::ofstream(output) << oldContent;
            cases.push_back({command + " into a full file system",
                             {command, "-o", output, big},
                             "",
                             output,
                             "No space left"});
        }
    } else {
        std::cerr << "no tmpfs can be mounted here (not root?): the full file system is only "
                     "/dev/full\n";
    }
    for (const Case& test : cases) {
        const auto run = runTool(test.arguments, "", test.standardOutput);
        EXPECT_EQ(run.exitCode, 1) << test.name << ": " << run.err;
        EXPECT_NE(run.err.find("cannot be written: " + test.reason), std::string::npos)
            << test.name << ": " << run.err;
        if (!test.keptOutput.empty()) {
            EXPECT_TRUE(readFile(test.keptOutput) == oldContent) << test.name;
            EXPECT_EQ(scratchFiles(std::filesystem::path(test.keptOutput).parent_path()),
                      std::vector<std::string>{})
                << test.name;
        }
    }
}

// The output is never one of the inputs: the run is refused before the input is touched.
TEST(Output, AnOutputThatIsAnInputIsRefusedAndTheInputStays) {
    TempFolder folder;
    const std::string document = folder.write("set/MetaModel.xml", readFile(sample));
    const std::string database = folder.file("repository.db");
    const auto transfer = runTool({"-q", "transfer", "--db", "sqlite:" + database, sample});
    ASSERT_EQ(transfer.exitCode, 0) << transfer.err;
    const std::string storedDatabase = readFile(database);
    const struct {
        const char* name;
        std::vector<std::string> arguments;
        std::string input;
        std::string content;
    } cases[] = {
        {"the document of a folder read",
         {"export", "-o", document, folder.file("set")},
         document,
         readFile(sample)},
        {"a document named", {"dump", "-o", document, document}, document, readFile(sample)},
        {"the database read",
         {"dump", "--db", "sqlite:" + database, "-o", database},
         database,
         storedDatabase},
    };
    for (const auto& test : cases) {
        const auto run = runTool(test.arguments);
        EXPECT_EQ(run.exitCode, 1) << test.name << ": " << run.err;
        EXPECT_NE(run.err.find("[FILEOP_OUTPUT_IS_INPUT]"), std::string::npos)
            << test.name << ": " << run.err;
        EXPECT_TRUE(readFile(test.input) == test.content) << test.name;
    }
}

// A reader that is gone before the first byte ends the run without a word, and the content
// kept aside for standard output does not stay in the temporary folder.
TEST(Output, StandardOutputClosedEarlyEndsTheRunQuietlyWithNothingLeft) {
    TempFolder folder;
    const std::string temporary = folder.file("tmp");
    std::filesystem::create_directory(temporary);
    int reader[2];
    ASSERT_EQ(pipe(reader), 0);
    close(reader[0]);
    const int errors = open(folder.file("stderr").c_str(), O_WRONLY | O_CREAT, 0644);
    const char* previous = std::getenv("TMPDIR");
    const std::string saved = previous ? previous : "";
    setenv("TMPDIR", temporary.c_str(), 1);
    const pid_t child = TestSupport::startTool({"dump", sample}, "", reader[1], errors);
    previous ? setenv("TMPDIR", saved.c_str(), 1) : unsetenv("TMPDIR");
    close(reader[1]);
    close(errors);
    EXPECT_EQ(exitCodeOf(child), 128 + SIGPIPE);
    EXPECT_EQ(readFile(folder.file("stderr")), "");
    EXPECT_TRUE(std::filesystem::is_empty(temporary));
}

// An interrupted `dump -o FILE` removes its scratch file, says so and keeps the old output.
TEST(Output, AnInterruptionRemovesTheScratchFileAndKeepsTheOldOutput) {
    TempFolder folder;
    const std::string big = TestSupport::writeGeneratedSet(folder.file("big"), "Big", 400, 30);
    const std::string output = folder.write("out/dump.txt", oldContent);
    for (const auto& [signal, code] : {std::pair{SIGINT, 130}, {SIGTERM, 143}}) {
        const int errors = open(folder.file("stderr").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        const pid_t child = TestSupport::startTool({"dump", "-o", output, big}, "", -1, errors);
        close(errors);
        // The run is interrupted once its scratch file is there, while it reads.
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (scratchFiles(folder.file("out")).empty() &&
               std::chrono::steady_clock::now() < deadline)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        ASSERT_FALSE(scratchFiles(folder.file("out")).empty()) << "no scratch file appeared";
        kill(child, signal);
        EXPECT_EQ(exitCodeOf(child), code) << strsignal(signal);
        EXPECT_EQ(readFile(folder.file("stderr")), "metamodel: interrupted\n");
        EXPECT_EQ(scratchFiles(folder.file("out")), std::vector<std::string>{});
        EXPECT_TRUE(readFile(output) == oldContent) << strsignal(signal);
    }
}

} // namespace
