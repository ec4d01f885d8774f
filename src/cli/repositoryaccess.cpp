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

bool readsRepository(const CommandArguments& arguments, const std::string& command) {
    const bool fromRepository = arguments.has("db");
    if (fromRepository && !arguments.operands.empty())
        throw UsageError("--db reads the repository instead of documents: no PATH", command);
    if (!fromRepository && arguments.has("schema"))
        throw UsageError("--schema needs --db", command);
    return fromRepository;
}

SourceReader::SourceReader(const CommandArguments& arguments, bool fromRepository,
                           MetaModel::IMetaModelReader& documents)
    : chosen_(&documents) {
    if (!fromRepository)
        return;
    connection_ = std::make_unique<IUniqueConnection>(arguments.value("db", ""),
                                                      arguments.value("schema", ""));
    repository_ = std::make_unique<MetaModel::CDBMetaModelReader>(connection_->GetHandle());
    chosen_ = repository_.get();
}

} // namespace Cli
