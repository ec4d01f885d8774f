#include "support/runtool.h"

#include "support/tempfolder.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <pty.h>
#include <regex>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

namespace TestSupport {

namespace {

void redirect(const char* path, int flags, int target) {
    const int descriptor = open(path, flags, 0644);
    dup2(descriptor, target);
    if (descriptor != target)
        close(descriptor);
}

// The folders need not exist: the tool only looks into them.
const std::string none = "/nonexistent/metamodel-test-folder";

// Starts the tool with no standard input, its output into `outPath` and its errors into
// `errPath` or onto `errDescriptor`, in an environment that keeps the machine's folders out.
pid_t spawn(const std::vector<std::string>& arguments, const std::string& appDir,
            const std::string& outPath, const std::string& errPath, int errDescriptor = -1,
            const std::string& user = "") {
    const pid_t child = fork();
    if (child < 0)
        throw std::runtime_error("fork failed");
    if (child > 0)
        return child;
    redirect("/dev/null", O_RDONLY, 0);
    redirect(outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 1);
    if (errDescriptor >= 0)
        dup2(errDescriptor, 2);
    else
        redirect(errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 2);
    std::vector<std::string> words{METAMODEL_TOOL_PATH};
    if (!user.empty())
        words.insert(words.begin(), {"/usr/sbin/runuser", "-u", user, "--"});
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<char*> argv;
    for (std::string& word : words)
        argv.push_back(word.data());
    argv.push_back(nullptr);
    setenv("METAMODEL_APP_DIR", (appDir.empty() ? none : appDir).c_str(), 1);
    setenv("METAMODEL_USER_DIR", none.c_str(), 1);
    setenv("METAMODEL_ALL_USERS_DIR", none.c_str(), 1);
    unsetenv("METAMODEL_EXTENSION_DIR");
    execv(argv[0], argv.data());
    _exit(127);
}

} // namespace

int runShell(const std::string& command, std::string& output) {
    std::FILE* pipe = popen(command.c_str(), "r");
    if (!pipe) {
        output = "cannot run " + command;
        return -1;
    }
    char buffer[4096];
    for (size_t count; (count = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;)
        output.append(buffer, count);
    const int status = pclose(pipe);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

int exitCodeOf(pid_t child) {
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

std::vector<std::string> lines(const std::string& text) {
    std::vector<std::string> result;
    size_t start = 0;
    for (size_t end; (end = text.find('\n', start)) != std::string::npos; start = end + 1)
        result.push_back(text.substr(start, end - start));
    if (start < text.size())
        result.push_back(text.substr(start));
    return result;
}

std::vector<std::string> messageIds(const std::string& err) {
    static const std::regex id(R"(\[([A-Z0-9_]+)\]$)");
    std::vector<std::string> ids;
    std::smatch match;
    for (const std::string& line : lines(err))
        if (std::regex_search(line, match, id))
            ids.push_back(match[1]);
    return ids;
}

ToolRun runTool(const std::vector<std::string>& arguments, const std::string& appDir,
                const std::string& standardOutput) {
    return runToolAs("", arguments, appDir, standardOutput);
}

ToolRun runToolAs(const std::string& user, const std::vector<std::string>& arguments,
                  const std::string& appDir, const std::string& standardOutput) {
    TempFolder scratch;
    const std::string outPath = standardOutput.empty() ? scratch.file("stdout") : standardOutput;
    const pid_t child = spawn(arguments, appDir, outPath, scratch.file("stderr"), -1, user);
    ToolRun run;
    run.exitCode = exitCodeOf(child);
    run.out = standardOutput.empty() ? readFile(outPath) : "";
    run.err = readFile(scratch.file("stderr"));
    return run;
}

ToolRun runToolOnTerminal(const std::vector<std::string>& arguments, const std::string& appDir) {
    TempFolder scratch;
    int terminal = -1;
    int side = -1;
    if (openpty(&terminal, &side, nullptr, nullptr, nullptr) != 0)
        throw std::runtime_error("no terminal for the tool");
    // Neither end may stay open in the tool but as its standard error.
    fcntl(terminal, F_SETFD, FD_CLOEXEC);
    fcntl(side, F_SETFD, FD_CLOEXEC);
    const pid_t child = spawn(arguments, appDir, scratch.file("stdout"), "", side);
    close(side);
    // Read while the tool runs: a full terminal buffer would stop it.
    ToolRun run;
    char buffer[4096];
    for (ssize_t count; (count = read(terminal, buffer, sizeof buffer)) != 0;) {
        if (count > 0)
            run.err.append(buffer, size_t(count));
        else if (errno != EINTR)
            break; // the other side is closed once the tool has ended
    }
    close(terminal);
    run.exitCode = exitCodeOf(child);
    run.out = readFile(scratch.file("stdout"));
    return run;
}

pid_t startTool(const std::vector<std::string>& arguments, const std::string& appDir,
                int standardError) {
    return spawn(arguments, appDir, "/dev/null", "/dev/null", standardError);
}

} // namespace TestSupport
