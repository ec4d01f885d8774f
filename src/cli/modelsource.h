#pragma once

#include "cli/commandline.h"

#include "metamodel/builder/metamodelbuilder.h"

#include "metamodel/operations/operationreading.h"
#include "metamodel/stream/metamodelevents.h"

#include <functional>
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
    // Hears of each document before it is read.
    void observeDocuments(MetaModel::CXMLMetaModelReader::DocumentObserver observer) {
        documents_.SetDocumentObserver(std::move(observer));
    }
    // Plays the whole source into the sink; the library's failures pass through. With --db,
    // `repositoryOpened` is asked once the connection is open and may stop the run before a
    // row is read by answering false; so does play.
    bool play(MetaModel::IMetaModelEvents& sink,
              const std::function<bool()>& repositoryOpened = {});

private:
    std::string database_;
    std::string schema_;
    std::vector<std::string> paths_;
    MetaModel::COperationReader documents_;
};

// Builds the model of the source, unchecked, as describe shows it; reports what fails and
// answers whether the builder holds a model. `repositoryOpened` as for play.
bool buildModel(ModelSource& source, MetaModel::CMetaModelBuilder& builder,
                const std::function<bool()>& repositoryOpened = {});

// Takes the builder's model for the rest of the process, for a command that ends the process
// with it: freeing a large model object by object costs more than the process's exit, which
// gives its memory back whole. It stays reachable, so leak checkers find nothing lost.
const QEL::IMetaModel& keepUntilExit(MetaModel::CMetaModelBuilder& builder);

} // namespace Cli
