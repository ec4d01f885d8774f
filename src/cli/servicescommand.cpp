#include "cli/commandline.h"
#include "cli/outputfile.h"

#include "metamodel/services/serviceexport.h"
#include "platform/messages.h"

#include <dlfcn.h>
#include <filesystem>

namespace Cli {

namespace {

// The file name the library was loaded from, which is what a host loads it by.
std::string ownLibraryName() {
    Dl_info where{};
    if (dladdr(reinterpret_cast<void*>(&GetNewService), &where) && where.dli_fname)
        return std::filesystem::path(where.dli_fname).filename().string();
    return "libmetamodel.so";
}

int writeServices(const CommandArguments& arguments) {
    if (!arguments.operands.empty())
        throw UsageError("services takes no PATH", "services");
    const std::string library = arguments.value("library", ownLibraryName());
    const std::string output = arguments.value("output", "-");
    return writeOutputWhole(
        output,
        [&](const std::string& target) {
            if (BuildExportFile(target.c_str(), library.c_str()))
                return true;
            CppLanguage::report(ORLO_HERE, "QEL_MM_XML_OUTPUT_FILE_ERR", {{"FILE", output}});
            return false;
        },
        "QEL_MM_XML_OUTPUT_FILE_ERR");
}

const CommandRegistration services({
    "services",
    "write the document that names the library's services for a host",
    {outputOption,
     {"library", 0, "NAME",
      "library name the document pairs with each service (default: the "
      "library's own file name)"}},
    "",
    80,
    [](const GlobalOptions&, const CommandArguments& arguments) {
        return writeServices(arguments);
    },
});

} // namespace

} // namespace Cli
