#include "cli/commands.h"

#include "cpplanguage/messages.h"
#include "metamodel/stream/dumpmetamodelevents.h"
#include "metamodel/xml/xmlmetamodelevents.h"
#include "metamodel/xml/xmlmetamodelreader.h"
#include "platform/orlofile.h"

#include <cstdio>
#include <filesystem>
#include <functional>
#include <memory>

namespace Cli {

namespace {

constexpr int exitSuccess = 0;
constexpr int exitFailure = 1;

bool endsWith(const std::string& text, const std::string& tail) {
    return text.size() >= tail.size() &&
           text.compare(text.size() - tail.size(), tail.size(), tail) == 0;
}

// The built-in roots first, then each PATH: a document when it ends in MetaModel.xml, a root
// folder otherwise. A folder that is not there would silently add nothing, so it is refused.
bool addPaths(MetaModel::CXMLMetaModelReader& reader, const std::vector<std::string>& paths) {
    bool allThere = true;
    for (const std::string& path : paths) {
        if (endsWith(path, "MetaModel.xml")) {
            reader.addFile(path);
        } else if (ORLO::File(path).isDirectory()) {
            reader.AddRootPath(path);
        } else {
            CppLanguage::reportAt(ORLO_HERE, {}, "QEL_MM_ROOT_NOT_FOUND", {{"PATH", path}});
            allThere = false;
        }
    }
    return allThere;
}

using SinkFactory = std::function<std::unique_ptr<MetaModel::IMetaModelEvents>(const std::string&)>;

// Plays the documents into the sink that `makeSink` builds on the output path. A failed run
// leaves no half-written output file behind.
int playDocuments(const CommandArguments& arguments, const SinkFactory& makeSink) {
    MetaModel::CXMLMetaModelReader reader;
    if (!addPaths(reader, arguments.operands))
        return exitFailure;
    const std::string output = arguments.value("output", "-");
    try {
        std::unique_ptr<MetaModel::IMetaModelEvents> sink = makeSink(output);
        reader.SetEvents(sink.get());
        reader.Read();
        return exitSuccess;
    } catch (const CppLanguage::CRuntimeException& failure) {
        CppLanguage::reportException(failure);
    }
    if (output != "-") {
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

} // namespace

int runCommand(const CommandLine& line) {
    if (line.command == "dump")
        return playDocuments(line.arguments, OwnedSink<CDumpMetaModelEvents>{});
    if (line.command == "export")
        return playDocuments(line.arguments, OwnedSink<MetaModel::CXMLMetaModelEvents>{});
    throw UsageError("unknown command '" + line.command + "'", "");
}

} // namespace Cli
