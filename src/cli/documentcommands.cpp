#include "cli/commandline.h"
#include "cli/documentpaths.h"
#include "cli/outputfile.h"
#include "cli/repositoryaccess.h"

#include "cpplanguage/messages.h"
#include "metamodel/repository/dbmetamodelreader.h"
#include "metamodel/stream/dumpmetamodelevents.h"
#include "metamodel/xml/xmlmetamodelevents.h"
#include "metamodel/xml/xmlmetamodelreader.h"
#include "platform/database/uniqueconnection.h"
#include "platform/orlofile.h"

#include <functional>
#include <memory>

namespace Cli {

namespace {

constexpr int exitFailure = 1;

using SinkFactory = std::function<std::unique_ptr<MetaModel::IMetaModelEvents>(const std::string&)>;

// Plays the documents, or the repository with --db, into the sink that `makeSink` builds on
// the output path. A failed run leaves nothing half-written.
int playDocuments(const std::string& command, const CommandArguments& arguments,
                  const SinkFactory& makeSink) {
    const bool fromRepository = readsRepository(arguments, command);
    MetaModel::CXMLMetaModelReader documents;
    if (!fromRepository && !addDocumentPaths(documents, arguments.operands))
        return exitFailure;
    // The stream goes to a scratch file first, so that a failed run leaves the output as it
    // was, standard output untouched included.
    return writeOutputWhole(arguments.value("output", "-"), [&](const std::string& target) {
        try {
            SourceReader source(arguments, fromRepository, documents);
            {
                std::unique_ptr<MetaModel::IMetaModelEvents> sink = makeSink(target);
                source.get().SetEvents(sink.get());
                source.get().Read();
            }
        } catch (const CppLanguage::CRuntimeException& failure) {
            CppLanguage::reportException(failure);
            return false;
        }
        return true;
    });
}

template <class Sink> struct OwnedSink {
    std::unique_ptr<MetaModel::IMetaModelEvents> operator()(const std::string& output) const {
        return std::unique_ptr<MetaModel::IMetaModelEvents>(new Sink(ORLO::String(output)));
    }
};

const CommandRegistration dump({
    "dump",
    "write the flat index of the documents: one line per category, type and property",
    {outputOption, databaseOption, schemaOption},
    "[PATH...]",
    10,
    [](const GlobalOptions&, const CommandArguments& arguments) {
        return playDocuments("dump", arguments, OwnedSink<CDumpMetaModelEvents>{});
    },
});

const CommandRegistration exportDocument({
    "export",
    "write the documents back as one meta-model document",
    {outputOption, databaseOption, schemaOption},
    "[PATH...]",
    20,
    [](const GlobalOptions&, const CommandArguments& arguments) {
        return playDocuments("export", arguments, OwnedSink<MetaModel::CXMLMetaModelEvents>{});
    },
});

} // namespace

} // namespace Cli
