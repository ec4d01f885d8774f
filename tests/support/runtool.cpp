#include "support/runtool.h"

#include "support/tempfolder.h"

#include <fcntl.h>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

namespace TestSupport {

ToolRun runTool(const std::vector<std::string>& arguments, const std::string& appDir) {
    TempFolder scratch;
    const std::string outPath = scratch.file("stdout");
    const std::string errPath = scratch.file("stderr");
    const std::string app = appDir.empty() ? scratch.file("no-app") : appDir;
    const std::string none = scratch.file("none");

    std::vector<std::string> words{METAMODEL_TOOL_PATH};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<char*> argv;
    for (std::string& word : words)
        argv.push_back(word.data());
    argv.push_back(nullptr);

    const pid_t child = fork();
    if (child < 0)
        throw std::runtime_error("fork failed");
    if (child == 0) {
        const int in = open("/dev/null", O_RDONLY);
        const int out = open(outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        const int err = open(errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        dup2(in, 0);
        dup2(out, 1);
        dup2(err, 2);
        setenv("METAMODEL_APP_DIR", app.c_str(), 1);
        setenv("METAMODEL_USER_DIR", none.c_str(), 1);
        setenv("METAMODEL_ALL_USERS_DIR", none.c_str(), 1);
        unsetenv("METAMODEL_EXTENSION_DIR");
        execv(argv[0], argv.data());
        _exit(127);
    }
    int status = 0;
    waitpid(child, &status, 0);
    ToolRun run;
    run.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    run.out = readFile(outPath);
    run.err = readFile(errPath);
    return run;
}

} // namespace TestSupport
