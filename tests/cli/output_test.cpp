#include "support/generatedset.h"
#include "support/runtool.h"
#include "support/tempfolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sys/mount.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace {

using TestSupport::readFile;
using TestSupport::runTool;
using TestSupport::TempFolder;

const std::string sample = METAMODEL_TEST_DATA_DIR "/xml/sample/MetaModel.xml";

using TestSupport::exitCodeOf;

// How many scratch files the tool left in a folder.
long scratchFiles(const std::filesystem::path& folder) {
    return std::ranges::count_if(
        std::filesystem::directory_iterator(folder), [](const auto& entry) {
            return entry.path().filename().string().starts_with(".metamodel-");
        });
}

// A file system of 64 KiB, where the test may mount one, so that a big output runs out of room.
struct SmallFileSystem {
    explicit SmallFileSystem(const std::string& folder) : path(folder) {
        std::filesystem::create_directory(path);
        mounted = mount("tmpfs", path.c_str(), "tmpfs", 0, "size=64k") == 0;
    }
    ~SmallFileSystem() {
        if (mounted)
            umount2(path.c_str(), MNT_DETACH);
    }
    std::string path;
    bool mounted;
};

// Every way an output fails or is refused: the run exits 1 and says why, an existing output
// (or the input it would have overwritten) keeps its content, and no scratch file stays.
TEST(Output, AFailedOrRefusedOutputIsAnErrorAndLeavesTheOldContent) {
    TempFolder folder;
    const SmallFileSystem small(folder.file("small"));
    const std::string big = TestSupport::writeGeneratedSet(folder.file("big"), "Big", 80, 20);
    const std::string document = folder.write("set/MetaModel.xml", readFile(sample));
    const std::string database = folder.file("repository.db");
    ASSERT_EQ(runTool({"transfer", "--db", "sqlite:" + database, sample}).exitCode, 0);
    const std::string noRoom = "cannot be written: No space left on device";
    const std::string isInput = "[FILEOP_OUTPUT_IS_INPUT]";
    struct Case {
        std::string name;
        std::vector<std::string> arguments;
        std::string expected;
        std::string standardOutput = "";
        std::string kept = ""; // a file that must keep its content
    };
    const std::string set = folder.file("set"), db = "sqlite:" + database;
    std::vector<Case> cases = {
        {"dump to a full device", {"dump", "-o", "/dev/full", sample}, noRoom},
        {"export to a full standard output", {"export", sample}, noRoom, "/dev/full"},
        {"services to a full device", {"services", "-o", "/dev/full"}, noRoom},
        {"describe to a full output", {"describe", sample}, "cannot be written", "/dev/full"},
        // An output that cannot be opened is told as its sink tells it.
        {"dump into a missing folder",
         {"dump", "-o", set + "/missing/out", sample},
         "[QEL_MM_DUMP_FILE_ERR]"},
        {"export into a missing folder",
         {"export", "-o", set + "/missing/out", sample},
         "[QEL_MM_XML_OUTPUT_FILE_ERR]"},
        {"services into a missing folder",
         {"services", "-o", set + "/missing/out"},
         "[QEL_MM_XML_OUTPUT_FILE_ERR]"},
        {"export over a document read", {"export", "-o", document, set}, isInput, "", document},
        {"dump over a document named", {"dump", "-o", document, document}, isInput, "", document},
        {"dump over its database", {"dump", "--db", db, "-o", database}, isInput, "", database},
    };
    // A folder so deep that the scratch file's name beside the output is one byte too long.
    const std::size_t deepLength = PATH_MAX - std::string("/.metamodel-XXXXXX").size();
    std::string deep = folder.file("deep");
    while (deep.size() < deepLength)
        deep += "/" + std::string(std::min<std::size_t>(200, deepLength - deep.size() - 1), 'd');
    std::filesystem::create_directories(deep);
    const std::string atLimit = deep + "/out";
    std::ofstream(atLimit) << "the old output\n";
    cases.push_back({"dump beside a name at the length limit",
                     {"dump", "-o", atLimit, sample},
                     "File name too long. [QEL_MM_DUMP_FILE_ERR]",
                     "",
                     atLimit});
    for (const std::string command : {"dump", "export"}) {
        if (!small.mounted)
            break;
        const std::string output = small.path + "/" + command + ".out";
        std::ofstream(output) << "the old output\n";
        cases.push_back(
            {command + " on a full disk", {command, "-o", output, big}, noRoom, "", output});
    }
    if (!small.mounted)
        std::cerr << "no tmpfs can be mounted here: a full file system is only /dev/full\n";
    for (const Case& test : cases) {
        const std::string before = test.kept.empty() ? "" : readFile(test.kept);
        const auto run = runTool(test.arguments, "", test.standardOutput);
        EXPECT_EQ(run.exitCode, 1) << test.name << ": " << run.err;
        EXPECT_NE(run.err.find(test.expected), std::string::npos) << test.name << ": " << run.err;
        if (test.kept.empty())
            continue;
        EXPECT_TRUE(readFile(test.kept) == before) << test.name;
        EXPECT_EQ(scratchFiles(std::filesystem::path(test.kept).parent_path()), 0) << test.name;
    }
}

// A replaced output keeps the permissions its owner gave it, not those of a new file.
TEST(Output, AReplacedOutputKeepsItsPermissions) {
    TempFolder folder;
    const std::string output = folder.write("private.txt", "the old output\n");
    ASSERT_EQ(chmod(output.c_str(), 0640), 0);
    ASSERT_EQ(runTool({"dump", "-o", output, sample}).exitCode, 0);
    struct stat status {};
    ASSERT_EQ(stat(output.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0640u);
    EXPECT_FALSE(readFile(output) == "the old output\n");
}

// A pipe cannot be synced, which is no failure: its reader gets the whole dump. A reader that
// is gone before the first byte ends the run without a word, and the content kept aside for
// standard output does not stay in the temporary folder.
TEST(Output, StandardOutputIntoAPipeIsWholeOrEndsQuietlyWhenClosed) {
    TempFolder folder;
    int open[2];
    ASSERT_EQ(pipe(open), 0);
    std::string piped;
    std::thread drain([&] {
        char buffer[4096];
        for (ssize_t count; (count = read(open[0], buffer, sizeof buffer)) > 0;)
            piped.append(buffer, size_t(count));
    });
    const auto whole = runTool({"dump", sample}, "", "/dev/fd/" + std::to_string(open[1]));
    close(open[1]);
    drain.join();
    close(open[0]);
    EXPECT_EQ(whole.exitCode, 0) << whole.err;
    EXPECT_EQ(runTool({"dump", sample}).out, piped);
    EXPECT_NE(piped, "");

    const std::string temporary = folder.file("tmp");
    std::filesystem::create_directory(temporary);
    int reader[2];
    ASSERT_EQ(pipe(reader), 0);
    close(reader[0]);
    const std::string saved = std::getenv("TMPDIR") ? std::getenv("TMPDIR") : "";
    setenv("TMPDIR", temporary.c_str(), 1);
    const auto run = runTool({"dump", sample}, "", "/dev/fd/" + std::to_string(reader[1]));
    saved.empty() ? unsetenv("TMPDIR") : setenv("TMPDIR", saved.c_str(), 1);
    close(reader[1]);
    EXPECT_EQ(run.exitCode, 128 + SIGPIPE);
    EXPECT_EQ(run.err, "");
    EXPECT_TRUE(std::filesystem::is_empty(temporary));
}

// Standard output closed by the caller (`>&-`) takes no output: the run fails and says so,
// rather than writing into whatever file would take the descriptor.
TEST(Output, AClosedStandardOutputFailsTheRunAndSaysSo) {
    std::string said;
    const int status = TestSupport::runShell(
        "METAMODEL_APP_DIR=/nonexistent METAMODEL_USER_DIR=/nonexistent "
        "METAMODEL_ALL_USERS_DIR=/nonexistent '" METAMODEL_TOOL_PATH "' dump '" +
            sample + "' 2>&1 >&-",
        said);
    EXPECT_EQ(status, 1);
    EXPECT_EQ(TestSupport::messageIds(said), std::vector<std::string>{"FILEOP_CANNOT_WRITE"})
        << said;
}

// An interrupted `dump -o FILE` removes its scratch file, says so and keeps the old output.
TEST(Output, AnInterruptionRemovesTheScratchFileAndKeepsTheOldOutput) {
    TempFolder folder;
    const std::string big = TestSupport::writeGeneratedSet(folder.file("big"), "Big", 400, 30);
    const std::string output = folder.write("out/dump.txt", "the old output\n");
    for (const auto& [signal, code] : {std::pair{SIGINT, 130}, {SIGTERM, 143}}) {
        const int errors = open(folder.file("stderr").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        const pid_t child = TestSupport::startTool({"dump", "-o", output, big}, "", errors);
        close(errors);
        // The run is interrupted once its scratch file is there, while it reads.
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (scratchFiles(folder.file("out")) == 0 && std::chrono::steady_clock::now() < deadline)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        ASSERT_EQ(scratchFiles(folder.file("out")), 1) << "no scratch file appeared";
        kill(child, signal);
        EXPECT_EQ(exitCodeOf(child), code) << strsignal(signal);
        EXPECT_EQ(readFile(folder.file("stderr")), "metamodel: interrupted\n");
        EXPECT_EQ(scratchFiles(folder.file("out")), 0);
        EXPECT_TRUE(readFile(output) == "the old output\n") << strsignal(signal);
    }

    // A signal that the caller ignores (nohup, a background job) stays ignored: the run ends
    // as if nothing had come.
    struct sigaction ignore {};
    ignore.sa_handler = SIG_IGN;
    struct sigaction before {};
    sigaction(SIGTERM, &ignore, &before);
    const pid_t child = TestSupport::startTool({"dump", "-o", output, big});
    sigaction(SIGTERM, &before, nullptr);
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (scratchFiles(folder.file("out")) == 0 && std::chrono::steady_clock::now() < deadline)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    kill(child, SIGTERM);
    EXPECT_EQ(exitCodeOf(child), 0);
    EXPECT_FALSE(readFile(output) == "the old output\n");
}

} // namespace
