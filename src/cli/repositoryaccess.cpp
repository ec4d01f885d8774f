#include "cli/repositoryaccess.h"

#include <regex>

namespace Cli {

void checkDatabaseTarget(const std::string& target, const std::string& command) {
    // A key=value string may hold colons in its values; it is the server's to judge.
    static const std::regex keywordValue(R"(^\s*[A-Za-z_]+\s*=)");
    static const std::regex scheme(R"(^([A-Za-z][A-Za-z0-9+.-]*):)");
    static const std::regex known(R"(^(sqlite:|postgresql://|postgres://))");
    std::smatch found;
    if (std::regex_search(target, keywordValue) || !std::regex_search(target, found, scheme) ||
        std::regex_search(target, known))
        return;
    // Only the scheme is shown: the rest may hold a password.
    throw UsageError("--db: '" + found[1].str() +
                         ":' is no kind of repository the tool knows; give " + databaseForms +
                         " (a file whose name starts so: put ./ before it)",
                     command);
}

} // namespace Cli
