#include "metamodel/fragments/metamodelfragment.h"

#include "metamodel/operations/documentfiles.h"
#include "metamodel/repository/dbmetamodelreader.h"
#include "platform/database/tablink.h"
#include "platform/database/uniqueconnection.h"
#include "platform/orlofile.h"
#include "platform/xmlguards.h"

#include <boost/lexical_cast.hpp>
#include <libxml/parser.h>
#include <libxml/tree.h>
#include <libxml/xpath.h>

#include <cstdint>
#include <limits>
#include <memory>
#include <optional>

namespace MetaModel {

namespace {

constexpr int repositoryNameSize = 256;
// What the connectivity layer fetches a "%s" column into.
constexpr int fetchedTextSize = 1024;

struct DocumentDeleter {
    void operator()(xmlDocPtr document) const { xmlFreeDoc(document); }
};
struct XPathContextDeleter {
    void operator()(xmlXPathContextPtr context) const { xmlXPathFreeContext(context); }
};
struct XPathObjectDeleter {
    void operator()(xmlXPathObjectPtr object) const { xmlXPathFreeObject(object); }
};
using XPathObjectPtr = std::unique_ptr<xmlXPathObject, XPathObjectDeleter>;

// A fragment's reading reports nothing: a document that does not parse just adds nothing.
void ignoreStructuredError(void*, xmlErrorPtr) {}
void ignoreGenericError(void*, const char*, ...) {}

std::optional<std::string> attribute(xmlNodePtr node, const char* name) {
    xmlChar* value = xmlGetProp(node, BAD_CAST name);
    if (!value)
        return std::nullopt;
    std::string text(reinterpret_cast<const char*>(value));
    xmlFree(value);
    return text;
}

// The nodes of an expression, in document order; none for a failed evaluation.
template <class Visit> void forEachNode(xmlXPathContextPtr context, const char* path, Visit visit) {
    const XPathObjectPtr found(xmlXPathEvalExpression(BAD_CAST path, context));
    if (!found || !found->nodesetval)
        return;
    for (int index = 0; index < found->nodesetval->nodeNr; ++index)
        visit(found->nodesetval->nodeTab[index]);
}

// Ids are 32-bit: a block or a "rid" beyond their range wraps around, as the stream reader's
// ids do, rather than overflowing.
int wrapped(long long id) {
    return int(std::uint32_t(id));
}

// An absolute "id" wins; a "rid" counts from the document's block; an element with neither
// keeps the id of the element before it.
void advanceId(xmlNodePtr node, int base, int& id) {
    if (const std::optional<std::string> absolute = attribute(node, "id"))
        id = boost::lexical_cast<int>(*absolute);
    else if (const std::optional<std::string> relative = attribute(node, "rid"))
        id = wrapped((long long)boost::lexical_cast<int>(*relative) + base);
}

int levelBase(const std::string& level) {
    if (level == "builtin")
        return 1000000;
    if (level == "prepackaged")
        return 1500000;
    if (level == "client")
        return 2000000;
    return 0;
}

} // namespace

void MetaModelFragment::readFromPath(std::string const& path) {
    for (const std::string& file : getMetaModelFiles(path))
        readFromFile(file);
}

void MetaModelFragment::readFromFile(std::string const& file) {
    if (!ORLO::File(ORLO::String(file)).isFile())
        return;
    ORLO::String content;
    const std::unique_ptr<ORLO::IFileReader> reader =
        ORLO::FileIOHelper::getReader(ORLO::String(file));
    if (reader->open())
        reader->readAll(content);
    readFromContent(content, file);
}

void MetaModelFragment::readFromContent(std::string const& content, std::string const& file) {
    empty = false;
    std::unique_ptr<xmlDoc, DocumentDeleter> document;
    {
        // The same shelter as the stream's parser: nothing is loaded from outside the document
        // and libxml2's limits on entity expansion stay on.
        ORLO::ScopedEntityRefusal refusal;
        ORLO::ScopedXmlErrorChannels silent(nullptr, ignoreStructuredError, ignoreGenericError);
        document.reset(
            xmlReadMemory(content.data(), int(content.size()), "", "UTF8", XML_PARSE_NONET));
    }
    if (!document)
        return;
    const std::unique_ptr<xmlXPathContext, XPathContextDeleter> context(
        xmlXPathNewContext(document.get()));
    if (!context)
        return;

    std::string level;
    int number = 0;
    bool rootSeen = false;
    forEachNode(context.get(), "/metaModel", [&](xmlNodePtr root) {
        if (rootSeen)
            return;
        rootSeen = true;
        level = attribute(root, "file_level").value_or("client");
        if (const std::optional<std::string> fileNumber = attribute(root, "file_no"))
            number = boost::lexical_cast<int>(*fileNumber);
    });
    const int base = wrapped(1000LL * number + levelBase(level));

    int id = std::numeric_limits<int>::min();
    forEachNode(context.get(), "/metaModel/type|/metaModel/category", [&](xmlNodePtr element) {
        advanceId(element, base, id);
        if (!ids.insert(id).second)
            coherent = false;
        if (const std::optional<std::string> name = attribute(element, "name")) {
            if (!names.insert(*name).second)
                coherent = false;
            nameToId[*name] = id;
        }
        idToFile[id] = file;
    });
    forEachNode(context.get(), "/metaModel/type/property|/metaModel/category/property",
                [&](xmlNodePtr property) {
                    advanceId(property, base, id);
                    if (!propertyIds.insert(id).second)
                        coherent = false;
                });
}

void MetaModelFragment::readFromSchema(IUniqueConnection* connection) {
    ORLO::String schema;
    connection->GetSettings()->GetValue(ORLO::String(IUniqueConnection::SchemaSetting), schema, 0,
                                        false);
    void* handle = connection->GetHandle();
    char saved[repositoryNameSize] = {};
    TABLINK::dbgetrepositoryname(handle, saved, nullptr, nullptr);
    TABLINK::dbsetrepositoryname(handle, schema.c_str(), -1, nullptr);
    const String request = callReaderRequest(handle, "select IdCat,CatNam from \x0F"
                                                     "Cat union select IdTyp,TypNam from \x0FTyp");
    int status = 0;
    int id = 0;
    char name[fetchedTextSize] = {};
    while (TABLINK::dbscanf(handle, &status, "%d%s", &id, name)) {
        ids.insert(id);
        names.insert(name);
        nameToId[name] = id;
    }
    endReaderRequest(handle, request);
    TABLINK::dbsetrepositoryname(handle, saved, -1, nullptr);
    empty = false;
}

bool MetaModelFragment::isCompatibleWith(QEL::IMetaModel const* model) const {
    bool compatible = true;
    for (const int id : ids)
        if (model->GetCategory(id, false))
            compatible = false;
    for (const std::string& name : names)
        if (model->GetCategory(ORLO::String(name), false))
            compatible = false;
    for (const int id : propertyIds)
        if (model->GetProperty(id, false))
            compatible = false;
    return compatible;
}

namespace {

template <class Key> bool sharesAny(const std::set<Key>& mine, const std::set<Key>& theirs) {
    for (const Key& key : mine)
        if (theirs.count(key))
            return true;
    return false;
}

} // namespace

bool MetaModelFragment::isCompatibleWith(MetaModelFragment const& other) const {
    return !sharesAny(ids, other.ids) && !sharesAny(names, other.names) &&
           !sharesAny(propertyIds, other.propertyIds);
}

std::pair<bool, std::string>
MetaModelFragment::isMigrationCompatibleWith(MetaModelFragment const& other) const {
    std::pair<bool, std::string> answer{true, std::string()};
    for (const auto& [name, id] : nameToId) {
        const auto installed = other.nameToId.find(name);
        if (installed == other.nameToId.end() || installed->second == id)
            continue;
        // A fragment read from the repository knows no files: the text after the colon stays
        // empty then.
        const auto file = idToFile.find(id);
        answer.first = false;
        answer.second +=
            "type or category " + name + " has original id " + std::to_string(installed->second) +
            " and trying to change to " + std::to_string(id) +
            " defined in file : " + (file == idToFile.end() ? std::string() : file->second) + "\n";
    }
    return answer;
}

} // namespace MetaModel
