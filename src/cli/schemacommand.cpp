#include "cli/commandline.h"
#include "cli/outputfile.h"

#include <cstddef>
#include <string_view>

namespace Cli {

// share/metamodel/MetaModel.xsd, built into the tool.
extern const char metaModelSchema[];
extern const std::size_t metaModelSchemaSize;

namespace {

const CommandRegistration schemaCommand({
    "schema",
    "write the XML Schema of the meta-model document format, for XML editors",
    {outputOption},
    "",
    85,
    [](const GlobalOptions&, const CommandArguments& arguments) {
        if (!arguments.operands.empty())
            throw UsageError("schema takes no PATH", "schema");
        return writeTextWhole(arguments.value("output", "-"),
                              std::string_view(metaModelSchema, metaModelSchemaSize));
    },
});

} // namespace

} // namespace Cli
