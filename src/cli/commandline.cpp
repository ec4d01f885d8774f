#include "cli/commandline.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <iterator>
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

// `command`: the command named on the line, whose usage a refused value shows; empty when
// there is none.
void applyGlobal(GlobalOptions& global, const std::string& name, const std::string& value,
                 const std::string& command) {
    AppDataManager::AppDataOverrides& folders = global.folders;
    // An empty folder would silently stand for the default one.
    if (name.ends_with("-dir") && value.empty())
        throw UsageError("--" + name + " needs a value", command);
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

namespace {

// CLI11's names of an option: "-j,--jobs", "--app-dir".
std::string optionNames(const OptionSpec& spec) {
    std::string names;
    if (spec.shortName)
        names = std::string("-") + spec.shortName + ",";
    return names + "--" + spec.longName;
}

// The options of `specs` on `app`, each value kept in `values` under its long name in the
// order given; flags keep one empty value per use.
void declareOptions(CLI::App& app, const std::vector<OptionSpec>& specs,
                    std::map<std::string, std::vector<std::string>>& values) {
    for (const OptionSpec& spec : specs) {
        std::vector<std::string>& kept = values[spec.longName];
        if (!spec.valueName) {
            // "--json=yes" is a mistake, not a way of saying yes.
            app.add_flag_callback(optionNames(spec), [&kept] { kept.emplace_back(); })
                ->disable_flag_override();
            continue;
        }
        app.add_option(optionNames(spec), kept)
            ->type_name(spec.valueName)
            ->expected(1)
            ->allow_extra_args(false)
            ->multi_option_policy(spec.repeatable ? CLI::MultiOptionPolicy::TakeAll
                                                  : CLI::MultiOptionPolicy::Throw);
    }
}

// Leaves out the options that were not given.
void dropUnused(std::map<std::string, std::vector<std::string>>& values) {
    for (auto it = values.begin(); it != values.end();)
        it = it->second.empty() ? values.erase(it) : std::next(it);
}

} // namespace

CommandLine parseCommandLine(const std::vector<std::string>& words) {
    CommandLine line;
    CLI::App app("metamodel");
    // Help is the tool's own text; the parser only takes the flags.
    app.set_help_flag();
    app.require_subcommand(0, 1);
    std::map<std::string, std::vector<std::string>> globals;
    declareOptions(app, globalOptionSpecs(), globals);

    struct Command {
        std::map<std::string, std::vector<std::string>> values;
        std::vector<std::string> operands;
    };
    std::map<std::string, Command> commands;
    for (const CommandSpec* spec : commandSpecs()) {
        Command& command = commands[spec->name];
        CLI::App* sub = app.add_subcommand(spec->name);
        sub->set_help_flag();
        // Global options may follow the command too (`metamodel check -q DIR`); the command's
        // own options come first where a name is both.
        sub->fallthrough();
        std::vector<OptionSpec> specs = spec->options;
        specs.push_back(helpOption);
        declareOptions(*sub, specs, command.values);
        sub->add_option("operands", command.operands)->expected(0, -1);
    }

    // The command the words name, for the usage a refusal shows.
    std::string named;
    for (const std::string& word : words)
        if (named.empty() && commands.count(word) != 0)
            named = word;
    // After "--" every word is an operand, even one that starts with "-": those are kept out
    // of the parse and added after it. CLI11 takes a vector of words last word first.
    const auto separator = std::find(words.begin(), words.end(), "--");
    // The parser would take the word after "--output=" as the value: the empty value is
    // handed over as one, as `--output ""` hands it over, and judged below.
    std::vector<std::string> reversed;
    for (auto word = std::make_reverse_iterator(separator); word != words.rend(); ++word) {
        const bool emptyValue = word->size() > 3 && word->rfind("--", 0) == 0 &&
                                word->back() == '=' && word->find('=') == word->size() - 1;
        if (emptyValue)
            reversed.emplace_back();
        reversed.push_back(emptyValue ? word->substr(0, word->size() - 1) : *word);
    }
    try {
        app.parse(reversed);
    } catch (const CLI::ParseError& refused) {
        throw UsageError(refused.what(), named);
    }

    dropUnused(globals);
    for (const auto& [name, values] : globals)
        for (const std::string& value : values)
            applyGlobal(line.global, name, value, named);
    const std::vector<CLI::App*> chosen = app.get_subcommands();
    // "metamodel --help dump" asks for dump's help as "metamodel dump --help" does.
    if (line.global.help || line.global.version) {
        if (!chosen.empty())
            line.command = chosen.front()->get_name();
        return line;
    }
    if (chosen.empty())
        throw UsageError("no command given", "");
    line.command = chosen.front()->get_name();
    Command& command = commands[line.command];
    dropUnused(command.values);
    line.arguments.operands = command.operands;
    if (separator != words.end())
        line.arguments.operands.insert(line.arguments.operands.end(), std::next(separator),
                                       words.end());
    line.arguments.help = command.values.erase("help") != 0;
    const CommandSpec* spec = findCommand(line.command);
    for (const OptionSpec& option : spec->options) {
        const auto given = command.values.find(option.longName);
        if (given == command.values.end()) {
            if (option.required && !line.arguments.help)
                throw UsageError(line.command + " needs --" + option.longName +
                                     (option.valueName ? std::string(" ") + option.valueName : ""),
                                 line.command);
            continue;
        }
        for (const std::string& value : given->second) {
            // A file, a folder or a repository needs a name; an empty NAME (a schema) means
            // none.
            if (option.valueName && value.empty() && std::string_view(option.valueName) != "NAME")
                throw UsageError("--" + std::string(option.longName) + " needs a value",
                                 line.command);
            if (option.checkValue)
                option.checkValue(value, line.command);
        }
    }
    line.arguments.values = std::move(command.values);
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
                   "documents are all read. "
                << (spec->readsInstallation ? "The installation's own documents are read first.\n\n"
                                            : "Only the documents of the PATHs are read.\n\n");
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
