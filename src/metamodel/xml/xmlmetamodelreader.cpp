#include "metamodel/xml/xmlmetamodelreader.h"

#include "metamodel/metamodelexceptions.h"
#include "metamodel/xml/documentsahead.h"
#include "metamodel/xml/xmlmetamodelhandler.h"
#include "platform/appdatamanager.h"
#include "platform/messages.h"
#include "platform/orlofile.h"
#include "platform/xmlsaxparser.h"

#include <optional>

namespace MetaModel {

namespace {

constexpr int folderBufferSize = 1025;
const String documentName = "MetaModel.xml";

String configurationRoot(const String& base, const char* leaf) {
    String root(base);
    root += ORLO::PathSeparator;
    root += "configuration";
    root += ORLO::PathSeparator;
    root += leaf;
    return root;
}

using FolderQuery = int (AppDataManager::IPaths::*)(char*, int, bool) const;

bool replaceFromFolder(String& path, const char* placeholder, FolderQuery query) {
    const AppDataManager::IAppDataManager* manager = AppDataManager::LoadAppDataManager();
    const AppDataManager::IPaths* paths = manager ? manager->GetPaths() : nullptr;
    if (!paths)
        return false;
    char buffer[folderBufferSize] = {};
    if (!(paths->*query)(buffer, folderBufferSize - 1, false))
        return false;
    int count = 0;
    path.replace(placeholder, String(buffer), count);
    return count > 0;
}

bool replacePluginFolder(String& path) {
    const AppDataManager::IAppDataManager* manager = AppDataManager::LoadAppDataManager();
    const AppDataManager::IPaths* paths = manager ? manager->GetPaths() : nullptr;
    if (!paths)
        return false;
    String folder;
    paths->GetPluginFolder(folder);
    // No plug-in folder is set: the placeholder stays, rather than naming the root's folders.
    if (folder.empty())
        return false;
    int count = 0;
    path.replace("<plugins path>", folder, count);
    return count > 0;
}

String extensionFolder() {
    const AppDataManager::IAppDataManager* manager = AppDataManager::LoadAppDataManager();
    const AppDataManager::IPaths* paths = manager ? manager->GetPaths() : nullptr;
    String folder;
    if (paths)
        paths->GetExtensionFolder(folder);
    return folder;
}

// The document's folder as the path splitter sees it, without a trailing separator.
String documentFolder(const String& path) {
    const AppDataManager::IAppDataManager* manager = AppDataManager::LoadAppDataManager();
    const AppDataManager::IPaths* paths = manager ? manager->GetPaths() : nullptr;
    String folder;
    if (paths) {
        char drive[folderBufferSize] = {};
        char directory[folderBufferSize] = {};
        paths->SplitPath(path.c_str(), drive, directory, nullptr, nullptr, folderBufferSize);
        folder = String(drive) + directory;
    }
    String directoryPart(folder);
    directoryPart.trimRight('/');
    directoryPart.trimRight('\\');
    return directoryPart;
}

} // namespace

CXMLMetaModelReader::CXMLMetaModelReader(bool installationRoots, bool userRoots) {
    if (installationRoots) {
        AddRootPath(configurationRoot("<app dir>", "Core"));
        AddRootPath(configurationRoot("<app dir>", "Languages"));
    }
    if (userRoots) {
        AddRootPath(configurationRoot("<all users dir>", "Languages"));
        AddRootPath(configurationRoot("<user dir>", "Languages"));
    }
    const String extension = extensionFolder();
    if (!extension.empty()) {
        AddRootPath(configurationRoot(extension, "Core"));
        AddRootPath(configurationRoot(extension, "Languages"));
    }
}

void CXMLMetaModelReader::AddRootPath(const String& rootPath) {
    rootPaths_.push_back(rootPath);
}

void CXMLMetaModelReader::addFile(const String& path) {
    files_.push_back(path);
}

void CXMLMetaModelReader::addSource(const String& text, const String& sourceName) {
    sources_.emplace_back(text, sourceName);
}

bool CXMLMetaModelReader::invariant() const {
    return CMetaModelReader::invariant();
}

bool CXMLMetaModelReader::ResolvePlaceholders(String& path) {
    return replaceFromFolder(path, "<all users dir>",
                             &AppDataManager::IPaths::GetCommonDataFolder) ||
           replaceFromFolder(path, "<app dir>", &AppDataManager::IPaths::GetApplicationFolder) ||
           replaceFromFolder(path, "<user dir>", &AppDataManager::IPaths::GetUserFolder) ||
           replacePluginFolder(path);
}

void CXMLMetaModelReader::CollectMetaModels(const String& folder, std::list<String>& documents) {
    std::vector<ORLO::File> entries;
    ORLO::File(folder).listFiles(entries, ORLO::IFileFilter::getMatchAllFileFilter(), false);
    const ORLO::ICollator& collator = ORLO::CollatorFactory::getFileSystemCollator(true);
    for (const ORLO::File& entry : entries) {
        const bool isDirectory = entry.isDirectory();
        if (!isDirectory && !entry.isFile())
            continue;
        const String path = entry.getAbsolutePath();
        if (isDirectory)
            CollectMetaModels(path, documents);
        // The tail of the path counts, not the file name, so "OldMetaModel.xml" is read too.
        else if (collator.equals(path.right(int(documentName.size())), documentName))
            documents.push_back(path);
    }
}

void CXMLMetaModelReader::SetDefaultJobs(int jobs) {
    setDefaultJobs(jobs);
}

int CXMLMetaModelReader::DefaultJobs() {
    return defaultJobs();
}

void CXMLMetaModelReader::readDocument(CXMLMetaModelHandler& handler, ORLO::XmlSAXParser& parser,
                                       CDocumentsAhead* ahead, std::size_t index,
                                       const String& path, const String& rootPath) {
    handler.SetRootPath(rootPath);
    handler.SetSourceName(path);
    try {
        if (!ahead || !ahead->Play(index, handler, *events())) {
            CppLanguage::DocumentPositionScope position(handler);
            parser.parseFile(path, false, true);
        }
    } catch (const CXMLMetaModelException& failure) {
        CppLanguage::reportException(failure);
        CppLanguage::raiseAt<CXMLMetaModelException>(ORLO_HERE,
                                                     CppLanguage::DocumentPosition{path, 0, 0},
                                                     "QEL_MM_XML_FILE_ERR", {{"FILE", path}});
    }
}

std::vector<PlannedDocument> CXMLMetaModelReader::plan() const {
    std::vector<PlannedDocument> plan;
    const auto planDocument = [&plan](String path, const String& resolvedRoot,
                                      const String& symbolicRoot) {
        String rootPath = documentFolder(path);
        if (!resolvedRoot.empty() && resolvedRoot != symbolicRoot)
            rootPath.replace(resolvedRoot, symbolicRoot);
        plan.push_back({std::move(path), std::move(rootPath)});
    };
    // Paths are cut and compared below with the platform's separator, whichever one the
    // caller used.
    for (const String& listedRoot : rootPaths_) {
        const String rootPath = ORLO::withPlatformSeparators(listedRoot);
        String resolved(rootPath);
        const bool symbolic = ResolvePlaceholders(resolved);
        // Documents come back as absolute paths; the root must match them textually for
        // the symbolic form to be put back in "ROOT_PATH".
        resolved = ORLO::File(resolved).getAbsolutePath();
        const String symbolicRoot = symbolic ? rootPath : resolved;
        std::list<String> documents;
        CollectMetaModels(resolved, documents);
        for (String& document : documents)
            planDocument(std::move(document), resolved, symbolicRoot);
    }
    for (const String& listedFile : files_) {
        const String file = ORLO::withPlatformSeparators(listedFile);
        String resolved(file);
        ResolvePlaceholders(resolved);
        const String resolvedRoot = ORLO::File(resolved).getParent();
        planDocument(resolved, resolvedRoot, ORLO::File(file).getParent());
    }
    return plan;
}

void CXMLMetaModelReader::PlanRead() {
    planned_ = plan();
}

void CXMLMetaModelReader::UnsafeRead() {
    // Every document is found before the first is read, so that an observer knows the count.
    const std::vector<PlannedDocument> plan = planned_ ? std::move(*planned_) : this->plan();
    planned_.reset();

    const int jobs = jobs_ > 0 ? jobs_ : DefaultJobs();
    std::optional<CDocumentsAhead> ahead;
    if (jobs > 1 && plan.size() > 1)
        ahead.emplace(plan, jobs);

    CXMLMetaModelHandler handler(events());
    ORLO::XmlSAXParser parser(&handler, ORLO::ParserSax, false);
    handler.StartStream();
    for (size_t index = 0; index < plan.size(); ++index) {
        const PlannedDocument& document = plan[index];
        if (observer_)
            observer_(document.path, index + 1, plan.size());
        events()->SetSource(document.path);
        readDocument(handler, parser, ahead ? &*ahead : nullptr, index, document.path,
                     document.rootPath);
    }
    handler.EndStream();
}

void CXMLMetaModelReader::readSources() {
    CXMLMetaModelHandler handler(events());
    ORLO::XmlSAXParser parser(&handler, ORLO::ParserSax, false);
    handler.StartStream();
    for (const auto& [text, sourceName] : sources_) {
        handler.SetSourceName(sourceName);
        events()->SetSource(sourceName);
        try {
            CppLanguage::DocumentPositionScope position(handler);
            parser.parseString(text, false, true);
        } catch (const CXMLMetaModelException& failure) {
            CppLanguage::reportException(failure);
        }
    }
    handler.EndStream();
}

} // namespace MetaModel
