#include "platform/database/connection.h"

#include "platform/database/databaseexceptions.h"
#include "platform/messages.h"

#include <regex>

namespace TABLINK {

std::string quoteIdentifier(std::string_view name) {
    std::string quoted = "\"";
    for (const char c : name) {
        quoted += c;
        if (c == '"')
            quoted += '"';
    }
    quoted += '"';
    return quoted;
}

std::string expandPrefixMarker(std::string_view text, std::string_view prefix) {
    std::string expanded;
    expanded.reserve(text.size() + prefix.size());
    for (const char c : text) {
        if (c == TablePrefixMarker)
            expanded += prefix;
        else
            expanded += c;
    }
    return expanded;
}

std::string displayConnectionString(std::string_view connectionString) {
    static const std::regex uriScheme(R"(^postgres(ql)?://)");
    static const std::regex uriPassword(R"(^(postgres(ql)?://[^:/@]*:)[^@]*@)");
    // A URI may also give it among its parameters.
    static const std::regex uriParameterPassword(R"(([?&]password=)[^&#]*)");
    static const std::regex keywordPassword(R"((^|\s)(password\s*=\s*)('([^'\\]|\\.)*'|\S*))");
    std::string shown(connectionString);
    if (std::regex_search(shown, uriScheme)) {
        shown = std::regex_replace(shown, uriPassword, "$1***@");
        return std::regex_replace(shown, uriParameterPassword, "$1***");
    }
    return std::regex_replace(shown, keywordPassword, "$1$2***");
}

CConnection::CConnection(std::unique_ptr<IBackend> backend) : backend_(std::move(backend)) {}

std::string CConnection::repositoryName() {
    return repositoryName_.empty() ? backend_->defaultRepositoryName() : repositoryName_;
}

std::string CConnection::repositoryNameProblem(const std::string& name) {
    const size_t limit = backend_->repositoryNameLimit();
    if (limit == 0 || name.size() <= limit)
        return std::string();
    return "the schema name '" + name + "' has " + std::to_string(name.size()) +
           " bytes, more than the " + std::to_string(limit) + " the server keeps";
}

bool CConnection::setRepositoryName(const std::string& name) {
    if (const std::string problem = repositoryNameProblem(name); !problem.empty()) {
        setError(problem);
        return false;
    }
    if (!name.empty() && !backend_->acceptsRepositoryName(name)) {
        setError("the database has no schema '" + name + "'");
        return false;
    }
    repositoryName_ = name;
    prefix_ = name.empty() ? std::string() : quoteIdentifier(name) + ".";
    return true;
}

const std::string& CConnection::lastError() const {
    return error_;
}

namespace {

bool startsWith(const std::string& text, std::string_view head) {
    return text.compare(0, head.size(), head) == 0;
}

bool isServerConnectionString(const std::string& text) {
    static const std::regex keywordValue(R"(^\s*[A-Za-z_]+\s*=)");
    return startsWith(text, "postgresql://") || startsWith(text, "postgres://") ||
           std::regex_search(text, keywordValue);
}

} // namespace

std::optional<std::string> embeddedDatabaseFile(const std::string& connectionString) {
    if (isServerConnectionString(connectionString))
        return std::nullopt;
    return startsWith(connectionString, "sqlite:")
               ? connectionString.substr(std::string_view("sqlite:").size())
               : connectionString;
}

std::unique_ptr<CConnection> openConnection(const std::string& connectionString, OpenMode mode) {
    std::string error;
    std::unique_ptr<IBackend> backend;
    if (const std::optional<std::string> file = embeddedDatabaseFile(connectionString); !file) {
        backend = openPostgresBackend(connectionString, error);
    } else {
        const std::string& path = *file;
        if (path.empty())
            error = "no database file is named";
        else
            backend = openSqliteBackend(path, mode, error);
    }
    if (!backend)
        CppLanguage::raise<CDatabaseException>(
            ORLO_HERE, "QEL_DB_CONNECT_ERR",
            {{"CONNECTION", displayConnectionString(connectionString)}, {"CAUSE", error}});
    auto connection = std::make_unique<CConnection>(std::move(backend));
    connection->setDescription(displayConnectionString(connectionString));
    return connection;
}

} // namespace TABLINK
