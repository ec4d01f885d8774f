#include "cli/commandline.h"
#include "cli/modelgraph.h"
#include "cli/modelsource.h"
#include "cli/outputfile.h"
#include "cli/repositoryaccess.h"

#include "platform/messages.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace Cli {

namespace {

constexpr int exitFailure = 1;

void checkFormat(const std::string& value, const std::string& command) {
    if (value != "dot" && value != "svg")
        throw UsageError("--format takes dot or svg, not '" + value + "'", command);
}

void checkLevels(const std::string& value, const std::string& command) {
    if (value.empty() || value.size() > 9 || value.find_first_not_of("0123456789") != value.npos)
        throw UsageError("a number of levels is a whole number, not '" + value + "'", command);
}

bool writeAllTo(int descriptor, std::string_view text) {
    while (!text.empty()) {
        const ssize_t written = write(descriptor, text.data(), text.size());
        if (written < 0 && errno == EINTR)
            continue;
        if (written < 0)
            return false;
        text.remove_prefix(size_t(written));
    }
    return true;
}

// Runs `dot -Tsvg` with the DOT text as its input and `target` as its output. The input is a
// file in memory rather than a pipe, so that a dot that dies early cannot stop the tool with
// SIGPIPE.
bool drawSvg(const std::string& dot, const std::string& target) {
    const auto failed = [](const char* id, const std::string& cause) {
        CppLanguage::report(ORLO_HERE, id, {{"CAUSE", cause}});
        return false;
    };
    const int input = memfd_create("graph.dot", MFD_CLOEXEC);
    if (input < 0 || !writeAllTo(input, dot) || lseek(input, 0, SEEK_SET) != 0) {
        const int error = errno;
        if (input >= 0)
            close(input);
        return failed("MM_GRAPH_DOT_FAILED", std::strerror(error));
    }
    const int output = open(target.c_str(), O_WRONLY | O_CLOEXEC);
    if (output < 0) {
        const int error = errno;
        close(input);
        return failed("MM_GRAPH_DOT_FAILED", std::strerror(error));
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, input, STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    char program[] = "dot";
    char format[] = "-Tsvg";
    char* arguments[] = {program, format, nullptr};
    pid_t child = -1;
    const int spawned = posix_spawnp(&child, program, &actions, nullptr, arguments, environ);
    posix_spawn_file_actions_destroy(&actions);
    close(input);
    close(output);
    if (spawned != 0)
        return failed("MM_GRAPH_DOT_MISSING", std::strerror(spawned));
    int status = 0;
    while (waitpid(child, &status, 0) < 0)
        if (errno != EINTR)
            return failed("MM_GRAPH_DOT_FAILED", std::strerror(errno));
    if (WIFEXITED(status) && WEXITSTATUS(status) == 0)
        return true;
    return failed("MM_GRAPH_DOT_FAILED", WIFEXITED(status)
                                             ? "exit status " + std::to_string(WEXITSTATUS(status))
                                             : "signal " + std::to_string(WTERMSIG(status)));
}

int levels(const CommandArguments& arguments, const char* name, int fallback) {
    return arguments.has(name) ? std::stoi(arguments.value(name, "")) : fallback;
}

int graph(const CommandArguments& arguments) {
    GraphOptions options;
    options.trees = arguments.has("trees");
    options.focus = arguments.value("focus", "");
    if (options.focus.empty() &&
        (arguments.has("up") || arguments.has("down") || arguments.has("focus")))
        throw UsageError("--up and --down count levels from a --focus NAME", "graph");
    options.up = levels(arguments, "up", options.up);
    options.down = levels(arguments, "down", options.down);
    const bool svg = arguments.value("format", "dot") == "svg";

    const std::string output = arguments.value("output", "-");
    // The picture must not take the place of a document or the database it is drawn from.
    const OutputIdentity outputFile(output);
    bool outputIsDocument = false;
    ModelSource source("graph", arguments);
    source.observeDocuments([&](const ORLO::String& path, size_t, size_t) {
        outputIsDocument = outputFile.isInput(path) || outputIsDocument;
    });
    MetaModel::CMetaModelBuilder builder;
    if (!buildModel(source, builder, [&] { return !outputFile.isOpenInput(); }) || outputIsDocument)
        return exitFailure;
    std::string dot;
    try {
        dot = dotGraph(*builder.GetResult(), options);
    } catch (const QEL::CMetaModelException& unknown) {
        CppLanguage::reportException(unknown);
        return exitFailure;
    }
    if (!svg)
        return writeTextWhole(output, dot);
    return writeOutputWhole(output,
                            [&](const std::string& target) { return drawSvg(dot, target); });
}

const CommandRegistration graphCommand({
    "graph",
    "draw the model's inheritance, and its trees, as a DOT graph or an SVG picture",
    {
        {"format", 0, "dot|svg", "DOT text (the default), or SVG drawn by Graphviz's dot", false,
         false, checkFormat},
        {"focus", 0, "NAME", "only this category or type and its neighbourhood"},
        {"up", 0, "N", "with --focus: ancestors up to N levels (default: all)", false, false,
         checkLevels},
        {"down", 0, "N", "with --focus: descendants down to N levels (default: 1)", false, false,
         checkLevels},
        {"trees", 0, nullptr, "draw the tree links too, from child type to parent type"},
        outputOption,
        databaseOption,
        schemaOption,
    },
    "[PATH...]",
    35,
    [](const GlobalOptions&, const CommandArguments& arguments) { return graph(arguments); },
});

} // namespace

} // namespace Cli
