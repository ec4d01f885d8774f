#include "cli/commandline.h"
#include "cli/diagnostics.h"
#include "cli/documentpaths.h"
#include "cli/modeldiff.h"
#include "cli/repositoryaccess.h"

#include "metamodel/builder/metamodelbuilder.h"
#include "metamodel/operations/advancereading.h"
#include "metamodel/operations/operationreading.h"
#include "metamodel/repository/dbmetamodelevents.h"
#include "metamodel/repository/dbmetamodelreader.h"
#include "metamodel/repository/repositoryschema.h"
#include "metamodel/xml/xmlmetamodelreader.h"
#include "platform/database/uniqueconnection.h"
#include "platform/messages.h"

#include <cstdio>
#include <string>

namespace Cli {

namespace {

constexpr int exitSuccess = 0;
constexpr int exitFailure = 1;

using Kind = ModelChange::Kind;
using Value = ModelChange::Value;

void build(MetaModel::IMetaModelReader& reader, MetaModel::CMetaModelBuilder& builder) {
    reader.SetEvents(&builder);
    reader.Read();
}

// The set that the check reads: the installation's roots, then the PATHs.
void buildFromDocuments(const std::vector<std::string>& paths,
                        MetaModel::CMetaModelBuilder& builder) {
    MetaModel::COperationReader reader(paths);
    build(reader, builder);
}

// The documents as the repository holds them once transferred: the tables keep less than
// the documents say (statuses, empty descriptions, pieces of one category), so the set goes
// through a scratch repository in memory, of the same tables, and is read back the way the
// installed side is.
void buildAsStored(const std::vector<std::string>& paths, MetaModel::CMetaModelBuilder& builder) {
    IUniqueConnection connection("sqlite::memory:", "", TABLINK::OpenMode::Create);
    MetaModel::CreateRepository(connection.GetHandle());
    {
        MetaModel::COperationReader documents(paths);
        MetaModel::CDBMetaModelEvents sink(connection.GetHandle(), "");
        documents.SetEvents(&sink);
        documents.Read();
    }
    MetaModel::CDBMetaModelReader stored(connection.GetHandle());
    build(stored, builder);
}

std::string valueText(const ModelChange& change, const Value& value) {
    switch (value.form) {
    case Value::Form::Number:
        return change.kind == Kind::MaximalCardinality && value.number < 0
                   ? "*"
                   : std::to_string(value.number);
    case Value::Form::Text: {
        std::string quoted;
        appendJsonString(quoted, value.text.c_str());
        return quoted;
    }
    default:
        return value.text;
    }
}

const char* fieldLabel(Kind kind) {
    switch (kind) {
    case Kind::Renamed:
        return "name";
    case Kind::NewId:
        return "id";
    case Kind::KindChanged:
        return "kind";
    case Kind::Owner:
        return "category";
    case Kind::Type:
        return "type";
    case Kind::ReferencedCategory:
        return "referenced category";
    case Kind::MinimalCardinality:
        return "minimal cardinality";
    case Kind::MaximalCardinality:
        return "maximal cardinality";
    case Kind::Merge:
        return "merge";
    case Kind::Status:
        return "status";
    case Kind::Description:
        return "description";
    default:
        return "";
    }
}

// What changed about the element, e.g. "type integer -> string" or "parent Base added".
std::string changeDetail(const ModelChange& change) {
    std::string detail;
    switch (change.kind) {
    case Kind::ParentAdded:
    case Kind::ParentRemoved:
        detail = "parent " + change.subject;
        break;
    case Kind::TreeParentAdded:
    case Kind::TreeParentRemoved:
        detail = "tree parent " + change.subject + " in " + change.tree;
        break;
    case Kind::AttributeAdded:
    case Kind::AttributeRemoved:
        detail = "attribute " + change.subject;
        break;
    case Kind::AttributeValue:
        detail = "attribute " + change.subject + " value";
        break;
    case Kind::AttributeStatus:
        detail = "attribute " + change.subject + " status";
        break;
    default:
        detail = fieldLabel(change.kind);
    }
    const bool from = change.from.form != Value::Form::None;
    const bool to = change.to.form != Value::Form::None;
    if (from && to)
        detail += " " + valueText(change, change.from) + " -> " + valueText(change, change.to);
    else if (from || to)
        detail += " = " + valueText(change, from ? change.from : change.to);
    if (change.kind == Kind::ParentAdded || change.kind == Kind::TreeParentAdded ||
        change.kind == Kind::AttributeAdded)
        detail += " added";
    if (change.kind == Kind::ParentRemoved || change.kind == Kind::TreeParentRemoved ||
        change.kind == Kind::AttributeRemoved)
        detail += " removed";
    return detail;
}

std::string changeText(const ModelChange& change) {
    std::string line = std::string(change.breaking ? "breaking: " : "compatible: ") +
                       elementWord(change.element) + " " + change.name;
    if (change.kind == Kind::Added || change.kind == Kind::Removed)
        return line + " " + changeWord(change.kind);
    return line + ": " + changeDetail(change);
}

void appendJsonField(std::string& out, const char* key, const std::string& value) {
    out += ',';
    appendJsonString(out, key);
    out += ':';
    out += value;
}

std::string jsonString(const std::string& text) {
    std::string quoted;
    appendJsonString(quoted, text.c_str());
    return quoted;
}

std::string changeJson(const ModelChange& change) {
    std::string line = "{\"change\":" + jsonString(changeWord(change.kind));
    appendJsonField(line, "kind", jsonString(elementWord(change.element)));
    appendJsonField(line, "name", jsonString(change.name));
    appendJsonField(line, "id", std::to_string(change.id));
    appendJsonField(line, "breaking", change.breaking ? "true" : "false");
    if (!change.subject.empty()) {
        const bool attribute = change.kind >= Kind::AttributeAdded;
        appendJsonField(line, attribute ? "attribute" : "parent", jsonString(change.subject));
    }
    if (!change.tree.empty())
        appendJsonField(line, "tree", jsonString(change.tree));
    for (const auto& [key, value] : {std::pair{"from", &change.from}, {"to", &change.to}})
        if (value->form != Value::Form::None)
            appendJsonField(line, key,
                            value->form == Value::Form::Number ? std::to_string(value->number)
                                                               : jsonString(value->text));
    return line + "}";
}

int diff(const GlobalOptions& global, const CommandArguments& arguments) {
    const bool fromRepository = arguments.has("db");
    if (arguments.operands.empty())
        throw UsageError("diff needs the documents to compare: PATH...", "diff");
    if (fromRepository == arguments.has("against"))
        throw UsageError("give either --against PATH or --db URI", "diff");
    if (!fromRepository && arguments.has("schema"))
        throw UsageError("--schema needs --db", "diff");
    const auto againstPaths =
        fromRepository ? std::vector<std::string>{} : arguments.values.find("against")->second;
    if (!documentPathsReadable(arguments.operands) || !documentPathsReadable(againstPaths))
        return exitFailure;

    MetaModel::CMetaModelBuilder installed;
    MetaModel::CMetaModelBuilder proposed;
    try {
        if (fromRepository) {
            IUniqueConnection connection(arguments.value("db", ""), arguments.value("schema", ""));
            MetaModel::CDBMetaModelReader repository(connection.GetHandle());
            build(repository, installed);
            buildAsStored(arguments.operands, proposed);
        } else {
            // The two builds share nothing: the new one runs beside, where a core is free.
            MetaModel::AdvanceReading proposedReading(arguments.operands, proposed, 2, {});
            buildFromDocuments(againstPaths, installed);
            proposedReading.Finish();
        }
    } catch (const CppLanguage::CRuntimeException& failure) {
        CppLanguage::reportException(failure);
        return exitFailure;
    }

    const std::vector<ModelChange> changes =
        diffModels(*installed.GetResult(), *proposed.GetResult());
    const bool json = arguments.has("json");
    size_t breaking = 0;
    for (const ModelChange& change : changes) {
        const std::string line = (json ? changeJson(change) : changeText(change)) + "\n";
        std::fwrite(line.data(), 1, line.size(), stdout);
        breaking += change.breaking;
    }
    if (std::fflush(stdout) != 0)
        return exitFailure;
    if (!global.quiet)
        writeSummary("diff",
                     std::to_string(changes.size()) + " change" + (changes.size() == 1 ? "" : "s") +
                         ", " + std::to_string(breaking) + " breaking",
                     {{"changes", changes.size()}, {"breaking", breaking}});
    return arguments.has("fail-on-breaking") && breaking ? exitFailure : exitSuccess;
}

const CommandRegistration diffCommand({
    "diff",
    "print what changes from the installed meta-model (--against documents, or the "
    "repository) to the one of the PATHs, and whether each change breaks stored data",
    {
        {"json", 0, nullptr, "one JSON object per change and line"},
        {"fail-on-breaking", 0, nullptr, "exit 1 when a change breaks"},
        {"against", 0, "PATH", "a document or root folder of the installed meta-model", true},
        databaseOption,
        schemaOption,
    },
    "PATH...",
    75,
    [](const GlobalOptions& global, const CommandArguments& arguments) {
        return diff(global, arguments);
    },
});

} // namespace

} // namespace Cli
