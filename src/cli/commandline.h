#pragma once

#include "cli/diagnostics.h"
#include "platform/appdatamanager.h"

#include <functional>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

namespace Cli {

// A wrong call of the tool: the text says what, the command (empty for the global part)
// whose usage to show.
class UsageError : public std::runtime_error {
public:
    UsageError(const std::string& text, std::string command)
        : std::runtime_error(text), command_(std::move(command)) {}
    const std::string& command() const { return command_; }

private:
    std::string command_;
};

struct OptionSpec {
    const char* longName;
    char shortName;        // 0 when there is none
    const char* valueName; // null for a flag
    const char* help;
    bool repeatable = false;
    bool required = false;
    // Throws UsageError for a value of the wrong form; null when any value will do.
    void (*checkValue)(const std::string& value, const std::string& command) = nullptr;
};

struct GlobalOptions;
struct CommandArguments;

struct CommandSpec {
    const char* name;
    const char* summary;
    std::vector<OptionSpec> options;
    const char* operands; // e.g. "[PATH...]"
    // Where the command stands in the help, smallest first.
    int order = 0;
    // Runs the command; answers the exit status.
    std::function<int(const GlobalOptions&, const CommandArguments&)> run;
    // Whether the installation's documents come before those of its PATHs.
    bool readsInstallation = true;
};

// Each command registers itself from its own source file with a static object of this type.
struct CommandRegistration {
    explicit CommandRegistration(CommandSpec spec);
};

struct GlobalOptions {
    AppDataManager::AppDataOverrides folders;
    DiagnosticFormat format = DiagnosticFormat::Text;
    int jobs = 0; // 0: one per usable core
    bool quiet = false;
    bool help = false;
    bool version = false;
};

struct CommandArguments {
    std::map<std::string, std::vector<std::string>> values; // by long name
    std::vector<std::string> operands;
    bool help = false;

    bool has(const std::string& name) const { return values.count(name) != 0; }
    std::string value(const std::string& name, const std::string& fallback) const;
};

struct CommandLine {
    GlobalOptions global;
    std::string command;
    CommandArguments arguments;
};

// The registered commands in help order.
std::vector<const CommandSpec*> commandSpecs();
const CommandSpec* findCommand(const std::string& name);

// Throws UsageError for anything it cannot take.
CommandLine parseCommandLine(const std::vector<std::string>& words);

std::string usageLine(const std::string& command);
std::string helpText(const std::string& command);

} // namespace Cli
