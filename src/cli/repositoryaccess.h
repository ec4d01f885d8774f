#pragma once

#include "cli/commandline.h"
#include "metamodel/repository/dbmetamodelreader.h"
#include "platform/database/uniqueconnection.h"

#include <memory>
#include <string>

namespace Cli {

// The forms of a repository target the tool takes, for its help and its refusals.
inline constexpr const char* databaseForms =
    "sqlite:PATH, PATH, postgresql://..., postgres://... or key=value ...";

// Refuses, as a usage error, a target whose scheme the tool does not know ("sqlite3:x",
// "postgressql:x", "mysql://h/x"): taken for a file name, a typo would make a new database of
// that name.
void checkDatabaseTarget(const std::string& target, const std::string& command);

// "--db URI" and "--schema NAME", the same for every command that reaches the repository.
inline constexpr OptionSpec databaseOption{
    "db", 0, "URI", databaseForms, false, false, checkDatabaseTarget};
// The same for the commands that cannot do without a repository.
inline constexpr OptionSpec requiredDatabaseOption{
    "db", 0, "URI", databaseForms, false, true, checkDatabaseTarget};
inline constexpr OptionSpec schemaOption{"schema", 0, "NAME",
                                         "schema of the repository tables (default: the usual)"};

} // namespace Cli
