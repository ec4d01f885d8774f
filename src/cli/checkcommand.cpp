#include "cli/commandline.h"
#include "cli/diagnostics.h"
#include "cli/documentpaths.h"
#include "cli/progress.h"
#include "metamodel/operations/checkoperation.h"

#include <cstdio>

namespace Cli {

namespace {

int runCheck(const GlobalOptions& global, const CommandArguments& arguments) {
    if (!documentPathsReadable(arguments.operands))
        return 1;
    ProgressLine progress(global.quiet);
    const bool passed = MetaModel::CheckMetaModelFromXML(
        arguments.operands,
        [&progress](int pass, const ORLO::String&, size_t number, size_t count) {
            progress.show("check: pass " + std::to_string(pass) + " of 2, document " +
                          std::to_string(number) + " of " + std::to_string(count));
        });
    progress.clear();
    if (!global.quiet) {
        const DiagnosticCounts counts = diagnosticCounts();
        // The failure itself states how many faults; warnings are counted here since
        // they do not fail the check.
        writeSummary("check",
                     std::string("the documents ") + (passed ? "pass" : "fail") + " (" +
                         std::to_string(counts.warnings) + " warning" +
                         (counts.warnings == 1 ? "" : "s") + ")",
                     {{"passed", passed}, {"warnings", counts.warnings}});
    }
    return passed ? 0 : 1;
}

const CommandRegistration check({
    "check",
    "check the documents: every fault of the set is reported; warnings do not fail it",
    {},
    "[PATH...]",
    40,
    runCheck,
});

} // namespace

} // namespace Cli
