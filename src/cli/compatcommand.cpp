#include "cli/commandline.h"
#include "cli/diagnostics.h"
#include "cli/documentpaths.h"
#include "cli/repositoryaccess.h"

#include "metamodel/fragments/metamodelfragment.h"
#include "metamodel/operations/advancereading.h"
#include "metamodel/operations/documentfiles.h"
#include "platform/database/uniqueconnection.h"
#include "platform/messages.h"
#include "platform/orlofile.h"

#include <boost/lexical_cast.hpp>

#include <cstdio>
#include <exception>
#include <map>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace Cli {

namespace {

constexpr int exitCompatible = 0;
constexpr int exitIncompatible = 1;

std::string keyText(int key) {
    return std::to_string(key);
}
const std::string& keyText(const std::string& key) {
    return key;
}

// One side of the question: its documents (none for the repository) and their fragment.
struct Side {
    std::vector<std::string> files;
    MetaModel::MetaModelFragment fragment;
};

// Where each key of a side comes from: the first document that brings it. Kept by the tool,
// only when there is something to show, since the fragment knows files of categories and
// types alone.
struct Origins {
    std::map<int, std::string> ids;
    std::map<std::string, std::string> names;
    std::map<int, std::string> propertyIds;
};

void reportIn(const std::string& file, const char* id,
              std::initializer_list<CppLanguage::MsgArg> args = {}) {
    CppLanguage::reportAt(ORLO_HERE, {file, 0, 0}, id, args);
}

// A reading that fails on a number is told with its document; the fragment keeps what came
// before it.
bool readDocument(MetaModel::MetaModelFragment& fragment, const std::string& file) {
    try {
        fragment.readFromFile(file);
        return true;
    } catch (const boost::bad_lexical_cast&) {
        reportIn(file, "QEL_MM_FRAGMENT_NOT_A_NUMBER");
        return false;
    }
}

bool readDocuments(Side& side, const std::vector<std::string>& paths) {
    // Each PATH as the other commands read it: a name ending in the document name is one
    // document, anything else a folder; placeholders resolved.
    for (const std::string& path : paths) {
        const std::string resolved = resolvedPath(path);
        if (MetaModel::namesDocument(resolved)) {
            side.files.push_back(resolved);
            continue;
        }
        for (std::string& file : MetaModel::getMetaModelFiles(resolved))
            side.files.push_back(std::move(file));
    }
    bool read = true;
    for (const std::string& file : side.files)
        read = readDocument(side.fragment, file) && read;
    return read;
}

// The two sides are independent readings: where another core is free the installed side is
// read on it while the new one is read here. Its messages wait for the new side's and are
// dropped with it when the new side fails, as readings one after the other would show them.
// Answers whether both sides were read, or nothing where the sides are to be read in turn.
std::optional<bool> readBesideNext(Side& next, const std::vector<std::string>& nextPaths,
                                   Side& installed,
                                   const std::vector<std::string>& installedPaths) {
    if (!MetaModel::hasAnotherCore())
        return std::nullopt;
    std::vector<CppLanguage::CAppMsg> held;
    bool installedRead = false;
    std::exception_ptr failure;
    std::thread ahead([&] {
        const CppLanguage::HeldMessagesScope holding(held);
        try {
            installedRead = readDocuments(installed, installedPaths);
        } catch (...) {
            failure = std::current_exception();
        }
    });
    bool nextRead = false;
    try {
        nextRead = readDocuments(next, nextPaths);
    } catch (...) {
        ahead.join();
        throw;
    }
    ahead.join();
    if (!nextRead)
        return false;
    if (failure)
        std::rethrow_exception(failure);
    CppLanguage::postHeld(held);
    return installedRead;
}

template <class Key>
void noteOrigins(std::map<Key, std::string>& origins, const std::set<Key>& keys,
                 const std::string& file, const char* what) {
    for (const Key& key : keys) {
        const auto [first, added] = origins.emplace(key, file);
        if (!added)
            reportIn(file, "QEL_MM_FRAGMENT_DUPLICATE",
                     {{"WHAT", what}, {"KEY", keyText(key)}, {"OTHER_FILE", first->second}});
    }
}

// Reads each document of the side on its own, reporting what one document or two of them
// define twice.
Origins traceOrigins(const Side& side) {
    Origins origins;
    for (const std::string& file : side.files) {
        MetaModel::MetaModelFragment own;
        if (!readDocument(own, file))
            continue;
        if (!own.isCoherent())
            reportIn(file, "QEL_MM_FRAGMENT_INCOHERENT");
        noteOrigins(origins.ids, own.getIds(), file, "category or type id");
        noteOrigins(origins.names, own.getNames(), file, "category or type name");
        noteOrigins(origins.propertyIds, own.getPropertyIds(), file, "property id");
    }
    return origins;
}

template <class Key> std::string originOf(const std::map<Key, std::string>& origins, Key key) {
    const auto found = origins.find(key);
    return found == origins.end() ? std::string() : found->second;
}

std::map<int, std::string> namesById(const MetaModel::MetaModelFragment& fragment) {
    std::map<int, std::string> names;
    for (const auto& [name, id] : fragment.getNameToId())
        names.emplace(id, name);
    return names;
}

// Everything of the new side that the installed side has already; answers how many.
int reportClashes(const Side& next, const Origins& nextOrigins, const Side& installed,
                  const Origins& installedOrigins) {
    int clashes = 0;
    const std::map<int, std::string> nextNames = namesById(next.fragment);
    const std::map<int, std::string> installedNames = namesById(installed.fragment);
    for (const int id : next.fragment.getIds())
        if (installed.fragment.getIds().count(id)) {
            ++clashes;
            reportIn(originOf(nextOrigins.ids, id), "QEL_MM_FRAGMENT_ID_CLASH",
                     {{"ID", id},
                      {"NAME", originOf(nextNames, id)},
                      {"INSTALLED_NAME", originOf(installedNames, id)},
                      {"INSTALLED", originOf(installedOrigins.ids, id)}});
        }
    for (const std::string& name : next.fragment.getNames())
        if (installed.fragment.getNames().count(name)) {
            ++clashes;
            const auto installedId = installed.fragment.getNameToId().find(name);
            reportIn(originOf(nextOrigins.names, name), "QEL_MM_FRAGMENT_NAME_CLASH",
                     {{"NAME", name},
                      {"INSTALLED_ID", installedId == installed.fragment.getNameToId().end()
                                           ? std::string()
                                           : std::to_string(installedId->second)},
                      {"INSTALLED", originOf(installedOrigins.names, name)}});
        }
    for (const int id : next.fragment.getPropertyIds())
        if (installed.fragment.getPropertyIds().count(id)) {
            ++clashes;
            reportIn(originOf(nextOrigins.propertyIds, id), "QEL_MM_FRAGMENT_PROP_ID_CLASH",
                     {{"PROP_ID", id}, {"INSTALLED", originOf(installedOrigins.propertyIds, id)}});
        }
    return clashes;
}

// Every name whose id would change, one diagnostic each; answers how many.
int reportIdChanges(const Side& next, const Origins& nextOrigins, const Side& installed,
                    const Origins& installedOrigins) {
    int changes = 0;
    const std::map<std::string, int>& installedIds = installed.fragment.getNameToId();
    for (const auto& [name, id] : next.fragment.getNameToId()) {
        const auto old = installedIds.find(name);
        if (old == installedIds.end() || old->second == id)
            continue;
        ++changes;
        reportIn(originOf(nextOrigins.ids, id), "QEL_MM_FRAGMENT_ID_CHANGED",
                 {{"NAME", name},
                  {"INSTALLED_ID", old->second},
                  {"NEW_ID", id},
                  {"INSTALLED", originOf(installedOrigins.ids, old->second)}});
    }
    return changes;
}

int runCompat(const GlobalOptions& global, const CommandArguments& arguments) {
    const bool fromRepository = arguments.has("db");
    if (arguments.operands.empty())
        throw UsageError("compat needs the documents to compare: PATH...", "compat");
    if (fromRepository == arguments.has("against"))
        throw UsageError("compat needs one installed side: --against PATH... or --db URI",
                         "compat");
    if (!fromRepository && arguments.has("schema"))
        throw UsageError("--schema needs --db", "compat");
    const auto against = arguments.values.find("against");
    // The sides are listed ahead of their reading, which passes by what it cannot read.
    if (!documentPathsReadable(arguments.operands, false) ||
        (against != arguments.values.end() && !documentPathsReadable(against->second, false)))
        return exitIncompatible;

    Side next, installed;
    if (const std::optional<bool> bothRead =
            fromRepository ? std::nullopt
                           : readBesideNext(next, arguments.operands, installed, against->second)) {
        if (!*bothRead)
            return exitIncompatible;
    } else {
        if (!readDocuments(next, arguments.operands))
            return exitIncompatible;
        if (fromRepository) {
            try {
                IUniqueConnection connection(arguments.value("db", ""),
                                             arguments.value("schema", ""));
                installed.fragment.readFromSchema(&connection);
            } catch (const CppLanguage::CRuntimeException& failure) {
                CppLanguage::reportException(failure);
                return exitIncompatible;
            }
        } else if (!readDocuments(installed, against->second)) {
            return exitIncompatible;
        }
    }

    const bool migrate = arguments.has("migrate");
    const auto [compatible, changedIds] =
        migrate ? next.fragment.isMigrationCompatibleWith(installed.fragment)
                : std::pair(next.fragment.isCompatibleWith(installed.fragment), std::string());
    const bool coherent = next.fragment.isCoherent() && installed.fragment.isCoherent();
    // The library's own text is the command's output: the scripts of a migration read it.
    std::fputs(changedIds.c_str(), stdout);
    if (compatible && coherent) {
        if (!global.quiet)
            writeSummary("compat",
                         std::string("the documents can ") +
                             (migrate ? "replace the installed side"
                                      : "be installed beside the installed side"),
                         {{"compatible", true}});
        return exitCompatible;
    }

    const Origins nextOrigins = traceOrigins(next);
    const Origins installedOrigins = traceOrigins(installed);
    const int found = migrate ? reportIdChanges(next, nextOrigins, installed, installedOrigins)
                              : reportClashes(next, nextOrigins, installed, installedOrigins);
    if (!global.quiet) {
        std::string summary = "the documents cannot ";
        summary += migrate ? "replace the installed side" : "be installed beside it";
        if (!compatible)
            summary += ": " + std::to_string(found) +
                       (migrate ? (found == 1 ? " id would change" : " ids would change")
                                : (found == 1 ? " clash" : " clashes"));
        if (!coherent)
            summary += std::string(compatible ? ": " : "; ") + "a side defines something twice";
        writeSummary("compat", summary,
                     {{"compatible", false}, {migrate ? "idChanges" : "clashes", found}});
    }
    return exitIncompatible;
}

const CommandRegistration compat({
    "compat",
    "whether documents can be installed beside the installed side, or with --migrate replace "
    "it keeping every id",
    {{"migrate", 0, nullptr, "ask whether the documents may replace the installed side"},
     {"against", 0, "PATH", "a document or folder of the installed side", true},
     databaseOption,
     schemaOption},
    "PATH...",
    70,
    runCompat,
    false,
});

} // namespace

} // namespace Cli
