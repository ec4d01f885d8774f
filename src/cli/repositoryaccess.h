#pragma once

#include "cli/commandline.h"

#include <string>

namespace Cli {

// "--db URI" and "--schema NAME", the same for every command that reaches the repository.
inline constexpr OptionSpec databaseOption{
    "db", 0, "URI", "repository: sqlite:PATH, PATH, postgresql://... or key=value ..."};
// The same for the commands that cannot do without a repository.
inline constexpr OptionSpec requiredDatabaseOption{
    "db",  0,   "URI", "repository: sqlite:PATH, PATH, postgresql://... or key=value ...",
    false, true};
inline constexpr OptionSpec schemaOption{"schema", 0, "NAME",
                                         "schema of the repository tables (default: the usual)"};

} // namespace Cli
