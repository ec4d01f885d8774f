#include "cli/commandline.h"

#include <algorithm>
#include <optional>
#include <sstream>

namespace Cli {

namespace {

const std::vector<OptionSpec>& globalOptionSpecs() {
    static const std::vector<OptionSpec> specs = {
        {"app-dir", 0, "DIR", "folder of the installation (\"<app dir>\")"},
        {"user-dir", 0, "DIR", "the user's data folder (\"<user dir>\")"},
        {"all-users-dir", 0, "DIR", "the machine's common data folder (\"<all users dir>\")"},
        {"plugins-dir", 0, "DIR", "the plug-in folder (\"<plugins path>\")"},
        {"extension-dir", 0, "DIR", "a folder whose configuration/Core and Languages are read too"},
        {"production-mode", 0, "0|1", "the \"global\"/\"ProductionMode\" setting (default 1)"},
        {"jobs", 'j', "N", "documents parsed at once (default: one per usable core)"},
        {"format", 0, "text|json", "form of the diagnostics on standard error (default text)"},
        {"quiet", 'q', nullptr, "no progress or summary lines"},
        {"version", 0, nullptr, "print the version and exit"},
        {"help", 'h', nullptr, "print this help and exit"},
    };
    return specs;
}

const OptionSpec helpOption{"help", 'h', nullptr, "describe this command and exit"};

const OptionSpec* findOption(const std::vector<OptionSpec>& specs, const std::string& word) {
    for (const OptionSpec& spec : specs) {
        if (word.size() > 2 && word.compare(0, 2, "--") == 0 && word.substr(2) == spec.longName)
            return &spec;
        if (word.size() == 2 && word[0] == '-' && spec.shortName && word[1] == spec.shortName)
            return &spec;
    }
    return nullptr;
}

// Reads one option at `index` (with "--name=value", "-xvalue" or a following word as its
// value) and moves index past it. Answers null when the word is no option of `specs`.
const OptionSpec* takeOption(const std::vector<OptionSpec>& specs,
                             const std::vector<std::string>& words, size_t& index,
                             std::string& value, const std::string& command) {
    std::string word = words[index];
    std::optional<std::string> inlineValue;
    if (const size_t equals = word.find('='); word.rfind("--", 0) == 0 && equals != word.npos) {
        inlineValue = word.substr(equals + 1);
        word.resize(equals);
    }
    if (!inlineValue && word.size() > 2 && word[0] == '-' && word[1] != '-') {
        // "-j2", "-oFILE": a short option with its value joined to it, as getopt takes them.
        const std::string letter = word.substr(0, 2);
        if (const OptionSpec* joined = findOption(specs, letter); joined && joined->valueName) {
            inlineValue = word.substr(2);
            word = letter;
        }
    }
    const OptionSpec* spec = findOption(specs, word);
    if (!spec)
        return nullptr;
    ++index;
    if (!spec->valueName) {
        if (inlineValue)
            throw UsageError("option '" + word + "' takes no value", command);
        return spec;
    }
    if (inlineValue) {
        value = *inlineValue;
    } else {
        if (index >= words.size())
            throw UsageError("option '" + word + "' needs a value " + spec->valueName, command);
        value = words[index++];
    }
    return spec;
}

// `command`: the command the option came after, whose usage a refused value shows; empty
// before the command.
void applyGlobal(GlobalOptions& global, const std::string& name, const std::string& value,
                 const std::string& command) {
    AppDataManager::AppDataOverrides& folders = global.folders;
    if (name == "app-dir")
        folders.appDir = value;
    else if (name == "user-dir")
        folders.userDir = value;
    else if (name == "all-users-dir")
        folders.allUsersDir = value;
    else if (name == "plugins-dir")
        folders.pluginsDir = value;
    else if (name == "extension-dir")
        folders.extensionDir = value;
    else if (name == "production-mode") {
        if (value != "0" && value != "1")
            throw UsageError("--production-mode takes 0 or 1, not '" + value + "'", command);
        folders.hasProductionMode = true;
        folders.productionMode = value == "1";
    } else if (name == "format") {
        if (value == "text")
            global.format = DiagnosticFormat::Text;
        else if (value == "json")
            global.format = DiagnosticFormat::Json;
        else
            throw UsageError("--format takes text or json, not '" + value + "'", command);
    } else if (name == "jobs") {
        const bool digits =
            !value.empty() && value.size() <= 4 &&
            std::all_of(value.begin(), value.end(), [](char c) { return c >= '0' && c <= '9'; });
        if (!digits || std::stoi(value) < 1)
            throw UsageError("--jobs takes a number from 1 to 9999, not '" + value + "'", command);
        global.jobs = std::stoi(value);
    } else if (name == "quiet")
        global.quiet = true;
    else if (name == "version")
        global.version = true;
    else if (name == "help")
        global.help = true;
}

void describeOptions(std::ostringstream& out, const std::vector<OptionSpec>& specs) {
    for (const OptionSpec& spec : specs) {
        std::string left = "  ";
        left += spec.shortName ? std::string("-") + spec.shortName + ", " : "    ";
        left += std::string("--") + spec.longName;
        if (spec.valueName)
            left += std::string(" ") + spec.valueName;
        if (left.size() < 30)
            left.resize(30, ' ');
        else
            left += "  ";
        out << left << spec.help << '\n';
    }
}

} // namespace

std::string CommandArguments::value(const std::string& name, const std::string& fallback) const {
    const auto found = values.find(name);
    return found == values.end() || found->second.empty() ? fallback : found->second.back();
}

namespace {

std::vector<CommandSpec>& registry() {
    static std::vector<CommandSpec> commands;
    return commands;
}

} // namespace

CommandRegistration::CommandRegistration(CommandSpec spec) {
    registry().push_back(std::move(spec));
}

std::vector<const CommandSpec*> commandSpecs() {
    std::vector<const CommandSpec*> specs;
    for (const CommandSpec& spec : registry())
        specs.push_back(&spec);
    std::stable_sort(specs.begin(), specs.end(), [](const CommandSpec* a, const CommandSpec* b) {
        return a->order < b->order;
    });
    return specs;
}

const CommandSpec* findCommand(const std::string& name) {
    for (const CommandSpec& spec : registry())
        if (name == spec.name)
            return &spec;
    return nullptr;
}

CommandLine parseCommandLine(const std::vector<std::string>& words) {
    CommandLine line;
    size_t index = 0;
    while (index < words.size() && words[index].size() > 1 && words[index][0] == '-') {
        std::string value;
        const OptionSpec* spec = takeOption(globalOptionSpecs(), words, index, value, "");
        if (!spec)
            throw UsageError("unknown option '" + words[index] + "'", "");
        applyGlobal(line.global, spec->longName, value, "");
    }
    if (line.global.help || line.global.version)
        return line;
    if (index >= words.size())
        throw UsageError("no command given", "");
    line.command = words[index++];
    const CommandSpec* command = findCommand(line.command);
    if (!command)
        throw UsageError("unknown command '" + line.command + "'", "");

    std::vector<OptionSpec> specs = command->options;
    specs.push_back(helpOption);
    bool operandsOnly = false;
    while (index < words.size()) {
        const std::string& word = words[index];
        if (operandsOnly || word == "-" || word.empty() || word[0] != '-') {
            line.arguments.operands.push_back(word);
            ++index;
            continue;
        }
        if (word == "--") {
            operandsOnly = true;
            ++index;
            continue;
        }
        std::string value;
        const OptionSpec* spec = takeOption(specs, words, index, value, line.command);
        if (!spec) {
            // Global options may follow the command too (`metamodel check -q DIR`); the
            // command's own options come first where a name is both.
            const OptionSpec* global =
                takeOption(globalOptionSpecs(), words, index, value, line.command);
            if (!global)
                throw UsageError("unknown option '" + word + "'", line.command);
            applyGlobal(line.global, global->longName, value, line.command);
            continue;
        }
        if (std::string(spec->longName) == "help") {
            line.arguments.help = true;
            continue;
        }
        auto& values = line.arguments.values[spec->longName];
        if (!values.empty() && !spec->repeatable)
            throw UsageError("option '--" + std::string(spec->longName) + "' given twice",
                             line.command);
        if (spec->checkValue)
            spec->checkValue(value, line.command);
        values.push_back(value);
    }
    for (const OptionSpec& option : command->options)
        if (option.required && !line.arguments.help && !line.arguments.has(option.longName))
            throw UsageError(line.command + " needs --" + option.longName +
                                 (option.valueName ? std::string(" ") + option.valueName : ""),
                             line.command);
    return line;
}

std::string usageLine(const std::string& command) {
    const CommandSpec* spec = findCommand(command);
    if (!spec)
        return "usage: metamodel [GLOBAL OPTIONS] COMMAND [OPTIONS] [PATH...]";
    std::string usage = std::string("usage: metamodel [GLOBAL OPTIONS] ") + spec->name;
    for (const OptionSpec& option : spec->options) {
        usage += option.required ? " " : " [";
        usage += option.shortName ? std::string("-") + option.shortName
                                  : std::string("--") + option.longName;
        if (option.valueName)
            usage += std::string(" ") + option.valueName;
        if (!option.required)
            usage += option.repeatable ? "]..." : "]";
    }
    if (*spec->operands)
        usage += std::string(" ") + spec->operands;
    return usage;
}

std::string helpText(const std::string& command) {
    std::ostringstream out;
    out << usageLine(command) << "\n\n";
    if (const CommandSpec* spec = findCommand(command)) {
        out << spec->summary << ".\n\n";
        if (std::string(spec->operands).find("PATH") != std::string::npos)
            out << "A PATH ending in MetaModel.xml is one document, any other PATH a folder whose\n"
                   "documents are all read. The installation's own documents are read first.\n\n";
        out << "Options:\n";
        std::vector<OptionSpec> specs = spec->options;
        specs.push_back(helpOption);
        describeOptions(out, specs);
        out << "\nExit status: 0 on success, 1 on failure, 2 on a usage error.\n";
        return out.str();
    }
    out << "Reads, checks and writes meta-model documents.\n\nCommands:\n";
    for (const CommandSpec* spec : commandSpecs()) {
        std::string name = std::string("  ") + spec->name;
        name.resize(12, ' ');
        out << name << spec->summary << '\n';
    }
    out << "\nGlobal options:\n";
    describeOptions(out, globalOptionSpecs());
    out << "\n'metamodel COMMAND --help' describes a command.\n";
    return out.str();
}

} // namespace Cli
