#include "cli/commandline.h"
#include "cli/documentpaths.h"
#include "cli/repositoryaccess.h"

#include "cpplanguage/messages.h"
#include "metamodel/repository/dbmetamodelreader.h"
#include "metamodel/stream/dumpmetamodelevents.h"
#include "metamodel/xml/xmlmetamodelevents.h"
#include "metamodel/xml/xmlmetamodelreader.h"
#include "platform/database/uniqueconnection.h"
#include "platform/orlofile.h"

#include <cstdio>
#include <filesystem>
#include <functional>
#include <memory>
#include <unistd.h>

namespace Cli {

namespace {

constexpr int exitSuccess = 0;
constexpr int exitFailure = 1;

using SinkFactory = std::function<std::unique_ptr<MetaModel::IMetaModelEvents>(const std::string&)>;

// A temporary file that goes away with this object.
class ScratchFile {
public:
    ScratchFile() {
        std::string pattern = (std::filesystem::temp_directory_path() / "metamodel-XXXXXX");
        const int descriptor = mkstemp(pattern.data());
        if (descriptor >= 0) {
            close(descriptor);
            path_ = pattern;
        }
    }
    ~ScratchFile() {
        if (!path_.empty())
            std::remove(path_.c_str());
    }
    const std::string& path() const { return path_; }

private:
    std::string path_;
};

bool copyToStandardOutput(const std::string& path) {
    std::FILE* in = std::fopen(path.c_str(), "rb");
    if (!in)
        return false;
    char buffer[1 << 16];
    size_t count;
    while ((count = std::fread(buffer, 1, sizeof buffer, in)) > 0)
        std::fwrite(buffer, 1, count, stdout);
    std::fclose(in);
    return std::fflush(stdout) == 0;
}

// Plays the documents, or the repository with --db, into the sink that `makeSink` builds on
// the output path. A failed run leaves nothing half-written: a file output is removed, and
// standard output is only written once the whole stream went through.
int playDocuments(const std::string& command, const CommandArguments& arguments,
                  const SinkFactory& makeSink) {
    const bool fromRepository = arguments.has("db");
    if (fromRepository && !arguments.operands.empty())
        throw UsageError("--db reads the repository instead of documents: no PATH", command);
    if (!fromRepository && arguments.has("schema"))
        throw UsageError("--schema needs --db", command);
    MetaModel::CXMLMetaModelReader documents;
    if (!fromRepository && !addDocumentPaths(documents, arguments.operands))
        return exitFailure;
    const std::string output = arguments.value("output", "-");
    const bool toStandardOutput = output == "-";
    ScratchFile scratch;
    const std::string target =
        toStandardOutput && !scratch.path().empty() ? scratch.path() : output;
    try {
        std::unique_ptr<IUniqueConnection> connection;
        std::unique_ptr<MetaModel::CDBMetaModelReader> repository;
        MetaModel::IMetaModelReader* reader = &documents;
        if (fromRepository) {
            connection = std::make_unique<IUniqueConnection>(arguments.value("db", ""),
                                                             arguments.value("schema", ""));
            repository = std::make_unique<MetaModel::CDBMetaModelReader>(connection->GetHandle());
            reader = repository.get();
        }
        {
            std::unique_ptr<MetaModel::IMetaModelEvents> sink = makeSink(target);
            reader->SetEvents(sink.get());
            reader->Read();
        }
        if (target != output && !copyToStandardOutput(target))
            return exitFailure;
        return exitSuccess;
    } catch (const CppLanguage::CRuntimeException& failure) {
        CppLanguage::reportException(failure);
    }
    if (!toStandardOutput) {
        std::error_code ignored;
        std::filesystem::remove(output, ignored);
    }
    return exitFailure;
}

template <class Sink> struct OwnedSink {
    std::unique_ptr<MetaModel::IMetaModelEvents> operator()(const std::string& output) const {
        return std::unique_ptr<MetaModel::IMetaModelEvents>(new Sink(ORLO::String(output)));
    }
};

const OptionSpec outputOption{"output", 'o', "FILE",
                              "write to FILE instead of standard output (\"-\")"};

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
