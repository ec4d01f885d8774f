#include "cli/wrappersrecord.h"
#include "support/runtool.h"
#include "support/tempfolder.h"
#include "support/testdatabase.h"
#include "support/treesnapshot.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <optional>
#include <ranges>
#include <regex>
#include <sstream>
#include <sys/file.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;
using TestSupport::readFile;
using TestSupport::runTool;
using TestSupport::TempFolder;

const std::string baseInstallation = METAMODEL_SOURCE_DIR "/share/metamodel";
const std::string crafted = METAMODEL_TEST_DATA_DIR "/wrappers_client";
const std::string clientFlags = METAMODEL_CLIENT_FLAGS;

// The runs keep their records in a cache folder of the test program's own.
const TempFolder cacheFolder;
const std::string ownCache = cacheFolder.file("cache");
[[maybe_unused]] const int cacheSet = setenv("XDG_CACHE_HOME", ownCache.c_str(), 1);

// Every file of a tree and its content: the merge leaves emptied folders behind.
TestSupport::Tree treeOf(const std::string& folder) {
    TestSupport::Tree tree = TestSupport::treeOf(folder);
    std::erase_if(tree, [](const auto& entry) { return entry.second == "<dir>"; });
    return tree;
}

// The checks of a client program: for every class that the headers declare, the model
// object that its static lookup finds must carry the class's own id and name. The classes
// are read from the headers, not derived from the model, so a class the generator names
// or nests wrongly shows as a compile failure or a failed check.
std::string checkProgram(const fs::path& output, int& classes) {
    static const std::regex category(
        "\tclass (?:__declspec\\(deprecated\\) )?(\\w+) : public QEL::(Type|Category)Wrapper");
    static const std::regex property(
        "\t\tclass (?:__declspec\\(deprecated\\) )?(\\w+) : public QEL::\\w+PropertyWrapper");
    static const std::regex anyClass("\t{1,2}class .*");
    std::string checks;
    classes = 0;
    for (const auto& [name, text] : treeOf(output.string())) {
        std::istringstream lines(text);
        std::string owner;
        std::smatch match;
        for (std::string line; std::getline(lines, line);) {
            if (std::regex_match(line, match, category)) {
                owner = "Wrappers::" + match[1].str();
                checks += "    failures += check(" + owner + "::getCategory(), " + owner + ");\n";
                if (match[2] == "Type")
                    checks += "    failures += check(" + owner + "::getType(), " + owner +
                              ");\n    failures += constructs<" + owner + ">();\n";
            } else if (std::regex_match(line, match, property)) {
                const std::string nested = owner + "::" + match[1].str();
                checks += "    failures += check(" + nested + "::getProperty(), " + nested + ");\n";
            } else {
                EXPECT_FALSE(std::regex_match(line, anyClass))
                    << "a class the checks miss: " << line;
                continue;
            }
            ++classes;
        }
    }
    return "#include \"AllWrappers.h\"\n#include <cstdio>\n#include <memory>\n"
           "#define check(found, W) expect(found, W::getId(), W::getName(), #W)\n"
           "template <class E> int expect(const E* found, int id, const ORLO::String& name,\n"
           "                              const char* what) {\n"
           "    if (found && found->GetId() == id && found->GetName() == name) return 0;\n"
           "    std::printf(\"%s: %p does not match %d '%s'\\n\", what, (const void*)found, id,\n"
           "                name.c_str());\n"
           "    return 1;\n}\n"
           "template <class W> int constructs() {\n"
           "    std::unique_ptr<QEL::IInstance> instance(W::newInstance());\n"
           "    W wrapper(instance.get());\n"
           "    return wrapper.wrappedCategory() == W::getCategory() &&\n"
           "        wrapper.checkedCategory() == W::getCategory() ? 0 : 1;\n}\n"
           "int main() {\n    int failures = 0;\n" +
           checks + "    std::printf(\"%d failures\\n\", failures);\n    return failures;\n}\n";
}

struct Command {
    int status;
    std::string output;
};

Command shell(const std::string& command, const TempFolder& scratch) {
    const std::string log = scratch.file("log");
    const int status = std::system((command + " >'" + log + "' 2>&1").c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, readFile(log)};
}

// Compiles the client program over the generated tree with both compilers, runs it on the
// model of `roots`, and answers what each compiler said about `extra` (a source file beside
// the program, when given).
void compileAndRun(const fs::path& output, const std::string& appDir, const std::string& roots,
                   const std::string& extra, std::map<std::string, std::string>& diagnostics) {
    TempFolder scratch;
    int classes = 0;
    const std::string program = scratch.write("main.cpp", checkProgram(output, classes));
    ASSERT_GT(classes, 5);
    const std::string sources = "'" + program + "' " + (extra.empty() ? "" : "'" + extra + "' ") +
                                "'" METAMODEL_CLIENT_DIR "/clientmodel.cpp'";
    for (const std::string compiler : {"g++ -fpermissive", "clang++"}) {
        // Under the sanitizers the library brings the GCC runtime, which clang cannot link.
        const bool linkable = clientFlags.empty() || compiler[0] == 'g';
        const std::string binary = scratch.file("client");
        const Command compiled =
            shell(compiler + " -std=c++20 " + clientFlags + " -DWRAPPER_NPS=Wrappers -I'" +
                      METAMODEL_SOURCE_DIR "/src' -I'" METAMODEL_CLIENT_DIR "' -I'" +
                      output.string() + "' " + sources +
                      (linkable ? " -L'" METAMODEL_LIB_DIR "' -lmetamodel -Wl,-rpath,'" +
                                      std::string(METAMODEL_LIB_DIR) + "' -o '" + binary + "'"
                                : std::string(" -fsyntax-only")),
                  scratch);
        ASSERT_EQ(compiled.status, 0) << compiler << "\n" << compiled.output;
        diagnostics[compiler] = compiled.output;
        if (!linkable)
            continue;
        const Command ran = shell("env METAMODEL_APP_DIR='" + appDir + "' WRAPPERS_CLIENT_ROOTS='" +
                                      roots + "' '" + binary + "'",
                                  scratch);
        EXPECT_EQ(ran.status, 0) << compiler << "\n" << ran.output;
        EXPECT_EQ(ran.output, "0 failures\n") << compiler;
    }
}

TEST(Wrappers, TheInstallationsBaseGivesHeadersThatCompileAndFindTheirModelObjects) {
    TempFolder folder;
    const fs::path output = folder.path() / "out";
    const auto run = runTool({"wrappers", "-o", output.string()}, baseInstallation);
    ASSERT_EQ(run.exitCode, 0) << run.err;
    // The merge's progress, which -q silences.
    EXPECT_NE(run.out.find("Adding new files ..."), std::string::npos) << run.out;
    EXPECT_TRUE(fs::exists(output / "Core" / "Object.h"));
    std::map<std::string, std::string> diagnostics;
    compileAndRun(output, baseInstallation, "", "", diagnostics);
}

TEST(Wrappers, EveryKindOfNameStatusAndFolderCompilesAndADeprecatedClassWarnsItsUser) {
    TempFolder folder;
    const fs::path output = folder.path() / "out";
    const auto run = runTool({"-q", "wrappers", "-o", output.string(), "--root", crafted, crafted});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(run.out, "");
    // The model's folders come back under the root, three deep included.
    EXPECT_TRUE(fs::exists(output / "Base" / "Deeper" / "Nested" / "Leaf_Node.h"));
    const std::string use = folder.write("use.cpp", "#include \"Base/Legacy_Item.h\"\n"
                                                    "int legacyId() {\n"
                                                    "    return Wrappers::Legacy_Item::getId();\n"
                                                    "}\n");
    std::map<std::string, std::string> diagnostics;
    compileAndRun(output, folder.file("no-app"), crafted, use, diagnostics);
    ASSERT_EQ(diagnostics.size(), 2u);
    for (const auto& [compiler, said] : diagnostics)
        EXPECT_TRUE(std::regex_search(said, std::regex("use\\.cpp:3:[^\n]*deprecated")))
            << compiler << "\n"
            << said;
}

// Each case edits an output that a run made. --check names the edit and touches nothing; the run
// brings the generated tree back and leaves the date of every file it had no need to change.
// An unchanged output is settled without the generator: no merge progress, nothing written.
TEST(Wrappers, ARunOverItsOwnOutputChangesOnlyWhatDiffersAndCheckNamesIt) {
    TempFolder folder;
    const std::string reference = folder.file("reference"), output = folder.file("out");
    const auto made = runTool({"-q", "wrappers", "-o", reference}, baseInstallation);
    ASSERT_EQ(made.exitCode, 0) << made.err;
    const auto old = fs::file_time_type::clock::now() - std::chrono::hours(24 * 400);
    // The summary is compared piece by piece as it is rendered, a header in one piece.
    const auto flipOneByte = [&](const std::string& name) {
        return [&folder, &output, name] {
            std::string text = readFile(output + "/" + name);
            text[text.size() / 2] ^= 1;
            folder.write("out/" + name, text);
        };
    };
    const struct {
        const char* name;
        std::function<void()> edit;
        // What --check lists: the change and the file, or nothing.
        std::string listed;
    } cases[] = {
        {"unchanged", [] {}, ""},
        {"one byte", flipOneByte("Core/Folder.h"), "changed Core/Folder.h"},
        {"one byte of the summary", flipOneByte("AllWrappers.h"), "changed AllWrappers.h"},
        {"missing", [&] { fs::remove(output + "/Core/Source.h"); }, "new Core/Source.h"},
        {"extra", [&] { folder.write("out/Core/Stray.h", "left over\n"); }, "gone Core/Stray.h"},
        // A link is no plain file: the merge, not the comparison in memory, decides.
        {"extra link",
         [&] {
             fs::create_symlink(folder.write("elsewhere.h", "kept\n"), output + "/Core/Link.h");
         },
         "gone Core/Link.h"},
    };
    for (const auto& test : cases) {
        fs::remove_all(output);
        fs::copy(reference, output, fs::copy_options::recursive);
        for (const auto& entry : fs::recursive_directory_iterator(output))
            fs::last_write_time(entry.path(), old);
        test.edit();
        const auto before = treeOf(output);

        const auto check = runTool({"wrappers", "--check", "-o", output}, baseInstallation);
        EXPECT_EQ(check.exitCode, test.listed.empty() ? 0 : 1) << test.name << check.err;
        const size_t blank = test.listed.find(' ');
        EXPECT_EQ(check.out, test.listed.empty() ? ""
                                                 : test.listed.substr(0, blank + 1) + output + "/" +
                                                       test.listed.substr(blank + 1) + "\n")
            << test.name;
        EXPECT_EQ(treeOf(output), before) << test.name;

        const auto run = runTool({"wrappers", "-o", output}, baseInstallation);
        EXPECT_EQ(run.exitCode, 0) << test.name << run.err;
        EXPECT_EQ(treeOf(output), treeOf(reference)) << test.name;
        for (const auto& [name, text] : treeOf(output)) {
            const auto was = before.find(name);
            if (was != before.end() && was->second == text) {
                EXPECT_EQ(fs::last_write_time(output + "/" + name), old) << test.name << name;
            }
        }
        EXPECT_EQ(run.out.empty(), test.listed.empty()) << test.name << run.out;
        if (test.listed.empty()) {
            EXPECT_NE(run.err.find("up to date, nothing written"), std::string::npos) << run.err;
        }
    }
    EXPECT_EQ(readFile(folder.file("elsewhere.h")), "kept\n");
}

// The record of the last run settles an unchanged run, and nothing else. Each case makes a run's
// output, edits one header and forges the record to vouch for the edit: a run that trusts the
// record keeps the edit, which a run that built the model would have undone. Anything the record
// does not prove sends the run the whole way, which gives the tree of a run without records.
TEST(Wrappers, TheRecordOfTheLastRunSettlesOnlyWhatItProves) {
    TempFolder folder;
    const std::string documents = folder.file("docs"), output = folder.file("out");
    fs::copy(crafted, documents, fs::copy_options::recursive);
    const std::vector<std::string> made = {"--root", documents, documents + "/Base"};
    const std::string edited = "Base/Deeper/Nested/Leaf_Node.h";
    const std::string record = Cli::recordPath(fs::weakly_canonical(output).string());
    const auto old = fs::file_time_type::clock::now() - std::chrono::hours(24 * 400);
    // The folders the placeholders stand for count among the inputs: the same ones every run.
    const std::string none = folder.file("none");
    fs::create_directory(none);
    const auto run = [&](std::vector<std::string> arguments, const std::string& into) {
        arguments.insert(arguments.begin(), {"--app-dir", none, "--user-dir", none,
                                             "--all-users-dir", none, "wrappers", "-o", into});
        return runTool(arguments);
    };
    const struct {
        const char* name;
        std::function<void()> edit;
        std::vector<std::string> arguments;
        bool trusted = false;
    } cases[] = {
        {"nothing else", [] {}, made, true},
        {"one more byte", [&] { folder.write("out/Base/Thing_Two.h", "changed\n"); }, made},
        {"a file added", [&] { folder.write("out/Base/Stray.h", "left over\n"); }, made},
        {"a file removed", [&] { fs::remove(output + "/AllWrappers.h"); }, made},
        // A comment gives the same headers, yet the record vouches for other bytes.
        {"a document",
         [&] { std::ofstream(documents + "/Base/MetaModel.xml", std::ios::app) << "<!-- -->\n"; },
         made},
        {"another root", [] {}, {"--root", documents + "/Base", documents + "/Base"}},
        {"no cache", [] {}, {"--no-cache", "--root", documents, documents + "/Base"}},
        {"a truncated record", [&] { fs::resize_file(record, fs::file_size(record) - 3); }, made},
        {"a corrupt record",
         [&] {
             std::string text = readFile(record);
             text[text.size() / 2] ^= 1;
             std::ofstream(record, std::ios::binary | std::ios::trunc) << text;
         },
         made},
    };
    for (const auto& test : cases) {
        fs::remove_all(output);
        fs::remove_all(folder.file("docs"));
        fs::copy(crafted, documents, fs::copy_options::recursive);
        ASSERT_EQ(run(made, output).exitCode, 0) << test.name;
        folder.write("out/" + edited, "forged\n");
        std::optional<Cli::WrappersRecord> forged = Cli::readRecord(record);
        ASSERT_TRUE(forged) << test.name;
        forged->tree = *Cli::hashTree(output);
        ASSERT_TRUE(Cli::writeRecord(record, *forged)) << test.name;
        for (const auto& entry : fs::recursive_directory_iterator(output))
            fs::last_write_time(entry.path(), old);
        test.edit();
        const auto before = treeOf(output);

        std::vector<std::string> checking = test.arguments;
        checking.push_back("--check");
        const auto check = run(checking, output);
        const auto again = run(test.arguments, output);
        EXPECT_EQ(again.exitCode, 0) << test.name << again.err;
        if (test.trusted) {
            EXPECT_EQ(check.exitCode, 0) << test.name << check.out;
            EXPECT_EQ(check.out, "") << test.name;
            EXPECT_EQ(treeOf(output), before) << test.name;
            EXPECT_NE(again.err.find("up to date, nothing written"), std::string::npos)
                << again.err;
            for (const auto& entry : fs::recursive_directory_iterator(output))
                EXPECT_EQ(fs::last_write_time(entry.path()), old) << entry.path();
            continue;
        }
        EXPECT_EQ(check.exitCode, 1) << test.name << check.out;
        const std::string reference = folder.file("reference");
        fs::remove_all(reference);
        std::vector<std::string> arguments = test.arguments;
        if (arguments.front() != "--no-cache")
            arguments.insert(arguments.begin(), "--no-cache");
        ASSERT_EQ(run(arguments, reference).exitCode, 0) << test.name;
        EXPECT_EQ(treeOf(output), treeOf(reference)) << test.name;
        EXPECT_NE(readFile(output + "/" + edited), "forged\n") << test.name;
    }
}

// The record is a convenience: a cache folder that cannot be made costs the run nothing.
TEST(Wrappers, TheRecordLiesInTheCacheFolderAndARunWithoutOneStillSucceeds) {
    TempFolder folder;
    const std::string output = folder.file("out");
    setenv("XDG_CACHE_HOME", folder.write("cache", "a file, no folder\n").c_str(), 1);
    const auto first = runTool({"wrappers", "-o", output, "--root", crafted, crafted});
    const auto second = runTool({"wrappers", "-o", output, "--root", crafted, crafted});
    // A relative XDG_CACHE_HOME would move with the working folder: the record lies in the home
    // folder's cache, as it does without one.
    setenv("XDG_CACHE_HOME", "relative/cache", 1);
    const std::string home = std::getenv("HOME") ? std::getenv("HOME") : "";
    setenv("HOME", folder.file("home").c_str(), 1);
    fs::remove_all(output);
    const auto homeFirst = runTool({"wrappers", "-o", output, "--root", crafted, crafted});
    const auto homeSecond = runTool({"wrappers", "-o", output, "--root", crafted, crafted});
    // Without any cache folder there is no record, and the run goes the whole way.
    unsetenv("HOME");
    fs::remove_all(output);
    const auto homeless = runTool({"wrappers", "-o", output, "--root", crafted, crafted});
    setenv("HOME", home.c_str(), 1);
    setenv("XDG_CACHE_HOME", ownCache.c_str(), 1);
    EXPECT_EQ(first.exitCode, 0) << first.err;
    EXPECT_EQ(second.exitCode, 0) << second.err;
    EXPECT_NE(second.err.find("up to date, nothing written"), std::string::npos) << second.err;
    EXPECT_EQ(readFile(folder.file("cache")), "a file, no folder\n");
    EXPECT_EQ(homeFirst.exitCode, 0) << homeFirst.err;
    EXPECT_NE(homeSecond.err.find("up to date, nothing written"), std::string::npos)
        << homeSecond.err;
    EXPECT_TRUE(fs::is_directory(folder.file("home/.cache/metamodel/wrappers")));
    EXPECT_EQ(homeless.exitCode, 0) << homeless.err;
    EXPECT_TRUE(fs::is_regular_file(output + "/AllWrappers.h"));
}

// A write that fails in the work folder (the temporary folder full, here its files held to
// one block) fails the run, which keeps no record: the next run writes the headers whole.
TEST(Wrappers, AHeaderLeftShortInTheWorkFolderFailsTheRunAndIsNotRecorded) {
    TempFolder folder;
    const std::string output = folder.file("out");
    const std::string temporary = folder.file("tmp");
    fs::create_directory(temporary);
    std::string said;
    const int limited = TestSupport::runShell(
        "trap '' XFSZ; ulimit -f 1; TMPDIR='" + temporary +
            "' METAMODEL_APP_DIR=/nonexistent METAMODEL_USER_DIR=/nonexistent "
            "METAMODEL_ALL_USERS_DIR=/nonexistent exec '" METAMODEL_TOOL_PATH "' -q wrappers -o '" +
            output + "' --root '" + crafted + "' '" + crafted + "' 2>&1",
        said);
    EXPECT_EQ(limited, 1);
    EXPECT_EQ(TestSupport::messageIds(said), std::vector<std::string>{"FILEOP_CANNOT_WRITE"})
        << said;
    const auto whole = runTool({"-q", "wrappers", "-o", output, "--root", crafted, crafted});
    EXPECT_EQ(whole.exitCode, 0) << whole.err;
    const auto check =
        runTool({"wrappers", "--check", "--no-cache", "-o", output, "--root", crafted, crafted});
    EXPECT_EQ(check.exitCode, 0) << check.out;
}

// Failures leave no output folder behind, and name what went wrong.
TEST(Wrappers, RefusedRunsExitOneAndCreateNothing) {
    TempFolder folder;
    const std::string output = folder.file("out");
    // A folder where the lock beside the work folder would be.
    fs::create_directories(folder.file("tmp/MetamodelWrapperGeneratedFiles.lock"));
    const struct {
        std::vector<std::string> arguments;
        std::string expected;
        std::string temporary = "";
    } cases[] = {
        // "Thing" lies at the top of the crafted set, above this root.
        {{"--root", crafted + "/Base", crafted},
         "Category 'Thing' lies in '" + crafted + "', outside the wrapper root '" + crafted +
             "/Base'"},
        {{"--root", folder.file("nowhere"), crafted}, "[FILEOP_INVALID_PATH]"},
        {{crafted + "/missing"}, "[QEL_MM_ROOT_NOT_FOUND]"},
        {{"--root", crafted, crafted}, "[FILEOP_CANNOT_WRITE]", folder.file("tmp")},
    };
    const std::string temporary = std::getenv("TMPDIR") ? std::getenv("TMPDIR") : "";
    for (const auto& test : cases) {
        std::vector<std::string> arguments = {"wrappers", "-o", output};
        arguments.insert(arguments.end(), test.arguments.begin(), test.arguments.end());
        if (!test.temporary.empty())
            setenv("TMPDIR", test.temporary.c_str(), 1);
        const auto run = runTool(arguments);
        temporary.empty() ? unsetenv("TMPDIR") : setenv("TMPDIR", temporary.c_str(), 1);
        EXPECT_EQ(run.exitCode, 1) << test.expected;
        EXPECT_NE(run.err.find(test.expected), std::string::npos) << run.err;
        EXPECT_FALSE(fs::exists(output)) << test.expected;
    }
}

// The repository holds the installation's folders as "<app dir>" text; the headers land where
// the documents' own do.
TEST(Wrappers, TheRepositoryGivesTheSameTreeAsTheDocuments) {
    TempFolder folder;
    const std::string database = folder.file("repository.sqlite");
    const auto transfer = runTool({"-q", "transfer", "--db", database}, baseInstallation);
    ASSERT_EQ(transfer.exitCode, 0) << transfer.err;
    const auto fromDocuments =
        runTool({"-q", "wrappers", "-o", folder.file("a")}, baseInstallation);
    const auto fromRepository =
        runTool({"-q", "wrappers", "-o", folder.file("b"), "--db", database}, baseInstallation);
    ASSERT_EQ(fromRepository.exitCode, 0) << fromRepository.err;
    // The texts may differ where the repository folded partial declarations in its own order.
    const auto a = treeOf(folder.file("a")), b = treeOf(folder.file("b"));
    EXPECT_GT(a.size(), 5u);
    EXPECT_TRUE(std::ranges::equal(std::views::keys(a), std::views::keys(b)));
}

// The generator's work folder is one per temporary folder: a second run waits for the first.
TEST(Wrappers, ARunWaitsWhileAnotherHoldsTheWorkFolder) {
    TempFolder folder;
    const char* temporary = std::getenv("TMPDIR");
    const std::string lockPath = std::string(temporary && *temporary ? temporary : "/tmp") +
                                 "/MetamodelWrapperGeneratedFiles.lock";
    const int lock = open(lockPath.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
    ASSERT_GE(lock, 0);
    ASSERT_EQ(flock(lock, LOCK_EX), 0);
    const pid_t run =
        TestSupport::startTool({"wrappers", "-o", folder.file("out")}, baseInstallation);
    usleep(500000);
    int status = 0;
    EXPECT_EQ(waitpid(run, &status, WNOHANG), 0);
    EXPECT_FALSE(fs::exists(folder.file("out")));
    close(lock);
    ASSERT_EQ(waitpid(run, &status, 0), run);
    EXPECT_EQ(WEXITSTATUS(status), 0);
    EXPECT_TRUE(fs::exists(folder.file("out/AllWrappers.h")));
}

// A document named without a folder lies in the current one, and an output named with a
// trailing separator is the folder itself, made with those above it.
TEST(Wrappers, ABareDocumentNameAndAnOutputEndingInASeparatorWork) {
    TempFolder folder;
    folder.write("set/MetaModel.xml", "<metaModel file_no=\"1\" file_level=\"core\">"
                                      "<category name=\"K\" rid=\"1\"><description>k"
                                      "</description></category></metaModel>\n");
    const fs::path before = fs::current_path();
    fs::current_path(folder.file("set"));
    const auto run = runTool({"wrappers", "-o", "new/out/", "--root", ".", "MetaModel.xml"});
    // A header no longer generated, in a tree without sub-folders: the merge alone would find
    // nothing left to move in once it had purged it, and fail the run.
    folder.write("set/new/out/Old.h", "left over\n");
    // A name that would be a pattern to the merge's file operations is only a name.
    folder.write("set/new/out/*.*", "left over\n");
    const auto again =
        runTool({"wrappers", "--no-cache", "-o", "new/out", "--root", ".", "MetaModel.xml"});
    // Whatever the generator did not make goes from the output folder, its documents too.
    const auto intoItsInputs = runTool({"wrappers", "-o", ".", "--root", ".", "MetaModel.xml"});
    // Also through a link in the output folder, which the merge follows.
    fs::create_directory(folder.file("linked"));
    fs::create_directory_symlink(folder.file("set"), folder.file("linked/set"));
    const auto throughALink =
        runTool({"wrappers", "-o", "../linked", "--root", ".", "MetaModel.xml"});
    // And the repository that the model is read from.
    fs::create_directory("kept");
    const auto transferred = runTool({"transfer", "--db", "kept/r.db", "MetaModel.xml"});
    const auto intoItsRepository =
        runTool({"wrappers", "-o", "kept", "--db", "kept/r.db", "--root", "."});
    fs::current_path(before);
    ASSERT_EQ(transferred.exitCode, 0) << transferred.err;
    EXPECT_EQ(intoItsRepository.exitCode, 1);
    EXPECT_NE(intoItsRepository.err.find("[FILEOP_OUTPUT_HOLDS_INPUT]"), std::string::npos)
        << intoItsRepository.err;
    EXPECT_TRUE(fs::is_regular_file(folder.file("set/kept/r.db")));
    EXPECT_EQ(intoItsInputs.exitCode, 1);
    EXPECT_NE(intoItsInputs.err.find("[FILEOP_OUTPUT_HOLDS_INPUT]"), std::string::npos)
        << intoItsInputs.err;
    EXPECT_EQ(throughALink.exitCode, 1);
    EXPECT_NE(throughALink.err.find("[FILEOP_OUTPUT_HOLDS_INPUT]"), std::string::npos)
        << throughALink.err;
    EXPECT_TRUE(fs::is_regular_file(folder.file("set/MetaModel.xml")));
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_TRUE(fs::is_regular_file(folder.file("set/new/out/K.h")));
    EXPECT_EQ(again.exitCode, 0) << again.err;
    EXPECT_EQ(again.out, "Purging *.*\nPurging Old.h\n");
    EXPECT_FALSE(fs::exists(folder.file("set/new/out/Old.h")));
    EXPECT_TRUE(fs::is_regular_file(folder.file("set/new/out/K.h")));
}

} // namespace
