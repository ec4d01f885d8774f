#pragma once

#include "cli/commandline.h"

#include "metamodel/stream/metamodelevents.h"
#include "metamodel/operations/operationreading.h"

#include <string>

namespace Cli {

// What a command reads: the documents of its PATHs after the installation's roots, or the
// repository with "--db URI [--schema NAME]".
class ModelSource {
public:
    // Throws UsageError for --db beside PATHs or --schema without --db.
    ModelSource(const std::string& command, const CommandArguments& arguments);

    bool fromRepository() const { return !database_.empty(); }
    // Reports what of the PATHs cannot be read as named (documentPathsReadable); answers
    // whether all can. Call before play.
    bool prepare();
    // Plays the whole source into the sink; the library's failures pass through.
    void play(MetaModel::IMetaModelEvents& sink);

private:
    std::string database_;
    std::string schema_;
    std::vector<std::string> paths_;
    MetaModel::COperationReader documents_;
};

} // namespace Cli
