#include "cli/commandline.h"
#include "cli/modelsource.h"
#include "cli/outputfile.h"
#include "cli/repositoryaccess.h"

#include "metamodel/stream/dumpmetamodelevents.h"
#include "metamodel/xml/xmlmetamodelevents.h"
#include "platform/messages.h"
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
                  const SinkFactory& makeSink, const char* openFailureId) {
    ModelSource source(command, arguments);
    if (!source.prepare())
        return exitFailure;
    // The output replaces its old content only at the end, so an input it names is caught
    // before any harm: a document as it comes to be read, the database once it is open.
    const std::string output = arguments.value("output", "-");
    const OutputIdentity outputFile(output);
    bool outputIsDocument = false;
    source.observeDocuments([&](const ORLO::String& path, size_t, size_t) {
        outputIsDocument = outputFile.isInput(path) || outputIsDocument;
    });
    return writeOutputWhole(
        output,
        [&](const std::string& target) {
            try {
                std::unique_ptr<MetaModel::IMetaModelEvents> sink = makeSink(target);
                if (!source.play(*sink, [&] { return !outputFile.isOpenInput(); }) ||
                    outputIsDocument)
                    return false;
            } catch (const CppLanguage::CRuntimeException& failure) {
                CppLanguage::reportException(failure);
                return false;
            }
            return true;
        },
        openFailureId);
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
        return playDocuments("dump", arguments, OwnedSink<CDumpMetaModelEvents>{},
                             "QEL_MM_DUMP_FILE_ERR");
    },
});

const CommandRegistration exportDocument({
    "export",
    "write the documents back as one meta-model document",
    {outputOption, databaseOption, schemaOption},
    "[PATH...]",
    20,
    [](const GlobalOptions&, const CommandArguments& arguments) {
        return playDocuments("export", arguments, OwnedSink<MetaModel::CXMLMetaModelEvents>{},
                             "QEL_MM_XML_OUTPUT_FILE_ERR");
    },
});

} // namespace

} // namespace Cli
