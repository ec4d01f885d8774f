#pragma once

#include <string>
#include <sys/types.h>
#include <vector>

namespace TestSupport {

struct ToolRun {
    int exitCode = -1;
    std::string out;
    std::string err;
};

// Runs the built metamodel tool with the arguments, no standard input, and the installation
// folders pointed at `appDir` (empty: a folder that does not exist) so that runs do not depend
// on the machine.
// `standardOutput`, when given, is the file the tool writes its standard output to, and `out`
// stays empty.
ToolRun runTool(const std::vector<std::string>& arguments, const std::string& appDir = "",
                const std::string& standardOutput = "");

// The same as `user` (through runuser; empty: as the caller), for what root is never refused.
ToolRun runToolAs(const std::string& user, const std::vector<std::string>& arguments,
                  const std::string& appDir = "", const std::string& standardOutput = "");

// The lines of a text, without their ends; a last line without an end counts too.
std::vector<std::string> lines(const std::string& text);

// The message ids of the diagnostic lines of `err`, in order.
std::vector<std::string> messageIds(const std::string& err);

// The same with standard error on a terminal of its own: `err` is all that the terminal
// received, progress lines included.
ToolRun runToolOnTerminal(const std::vector<std::string>& arguments,
                          const std::string& appDir = "");

// Starts the tool as runTool does, with its output thrown away and its standard error too
// unless a descriptor is given, and returns at once; the caller waits for it (exitCodeOf) or
// kills it.
pid_t startTool(const std::vector<std::string>& arguments, const std::string& appDir = "",
                int standardError = -1);

// Runs a shell command; answers its exit status (-1 when it did not end normally) and adds
// what it wrote on standard output to `output`.
int runShell(const std::string& command, std::string& output);

// Waits for a started tool; its exit status, or 128 + the signal that ended it.
int exitCodeOf(pid_t child);

} // namespace TestSupport
