#include "cli/commandline.h"
#include "cli/repositoryaccess.h"

#include "cpplanguage/messages.h"
#include "metamodel/repository/repositoryschema.h"
#include "platform/database/uniqueconnection.h"

#include <cstdio>

namespace Cli {

int usageFailure(const std::string& command, const std::string& text) {
    std::fprintf(stderr, "metamodel: %s\n%s\nTry 'metamodel %s --help' for more.\n", text.c_str(),
                 usageLine(command).c_str(), command.c_str());
    return 2;
}

namespace {

constexpr int exitSuccess = 0;
constexpr int exitFailure = 1;

int initialise(const GlobalOptions& global, const CommandArguments& arguments) {
    if (!arguments.has("db"))
        return usageFailure("init", "init needs the repository: --db URI");
    if (!arguments.operands.empty())
        return usageFailure("init", "init takes no PATH");
    const std::string schema = arguments.value("schema", "");
    try {
        IUniqueConnection connection(arguments.value("db", ""), schema, TABLINK::OpenMode::Create);
        MetaModel::CreateRepository(connection.GetHandle());
    } catch (const CppLanguage::CRuntimeException& failure) {
        CppLanguage::reportException(failure);
        return exitFailure;
    }
    if (!global.quiet)
        std::printf("The repository tables and procedures are ready%s.\n",
                    schema.empty() ? "" : (" in schema '" + schema + "'").c_str());
    return exitSuccess;
}

const CommandRegistration init({
    "init",
    "create the repository's tables and procedures in a database; what is there stays",
    {databaseOption, schemaOption},
    "",
    50,
    initialise,
});

} // namespace

} // namespace Cli
