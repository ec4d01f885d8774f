#pragma once

#include "cli/commandline.h"

#include <string>

namespace Cli {

// "--db URI" and "--schema NAME", the same for every command that reaches the repository.
inline constexpr OptionSpec databaseOption{
    "db", 0, "URI", "repository: sqlite:PATH, PATH, postgresql://... or key=value ..."};
inline constexpr OptionSpec schemaOption{"schema", 0, "NAME",
                                         "schema of the repository tables (default: the usual)"};

// A wrong combination of options found while a command runs: written as a usage error is;
// answers the usage exit status.
int usageFailure(const std::string& command, const std::string& text);

} // namespace Cli
