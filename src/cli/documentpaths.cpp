#include "cli/documentpaths.h"

#include "metamodel/operations/documentfiles.h"
#include "metamodel/operations/operationreading.h"
#include "platform/messages.h"
#include "platform/orlofile.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <map>
#include <memory>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace Cli {

namespace {

const std::string documentSuffix = "MetaModel.xml";

// A path whose name ends in the document suffix in another case: on a case-sensitive file
// system the reader passes it by, so it is worth a word of its own.
bool namesDocumentInAnotherCase(const std::string& path) {
    if (path.size() < documentSuffix.size())
        return false;
    return std::equal(documentSuffix.begin(), documentSuffix.end(),
                      path.end() - std::ptrdiff_t(documentSuffix.size()), [](char a, char b) {
                          return std::tolower(static_cast<unsigned char>(a)) ==
                                 std::tolower(static_cast<unsigned char>(b));
                      });
}

using FileIdentity = std::pair<dev_t, ino_t>;

// Lists what the reader will read, the same way it finds it, so that what the reader would
// pass by in silence (a folder it cannot list, a document it cannot open, one document
// reached twice) is said before anything is read.
class InputSurvey {
public:
    bool passed() const { return failures_ == 0; }
    size_t failures() const { return failures_; }

    // Answers how many documents the folder holds; `root` is the folder as named.
    size_t walkRoot(const std::string& folder, const std::string& root) {
        std::vector<FileIdentity> ancestors;
        return walkFolder(AT_FDCWD, folder.c_str(), folder, root, ancestors);
    }

    // `via` is how the document was named: the root folder it lies under or its own path.
    void checkDocument(const std::string& path, const std::string& via) {
        checkDocument(AT_FDCWD, path.c_str(), path, via);
    }

private:
    // Each folder is opened by its name in its parent, held open, so that each step resolves
    // one name instead of the whole path again; `path` is what messages say.
    void checkDocument(int parent, const char* name, const std::string& path,
                       const std::string& via) {
        // Without blocking: a pipe would wait here for a writer.
        const int descriptor = openat(parent, name, O_RDONLY | O_CLOEXEC | O_NONBLOCK);
        if (descriptor < 0) {
            fail(path, errno);
            return;
        }
        struct stat status {};
        fstat(descriptor, &status);
        close(descriptor);
        // A folder named like a document is no document, and the reader reads nothing of it.
        if (S_ISDIR(status.st_mode)) {
            fail(path, EISDIR);
            return;
        }
        // A pipe would wait for a writer and could be read only once, where a transfer reads
        // twice; a device such as /dev/zero would never end.
        if (!S_ISREG(status.st_mode)) {
            fail(path, "not a regular file");
            return;
        }
        const auto [earlier, isNew] =
            seen_.emplace(FileIdentity{status.st_dev, status.st_ino}, via);
        if (!isNew) {
            CppLanguage::reportAt(ORLO_HERE, {}, "QEL_MM_DOCUMENT_TWICE",
                                  {{"FILE", path}, {"FIRST", earlier->second}, {"SECOND", via}});
            ++failures_;
        }
    }

    size_t walkFolder(int parent, const char* name, const std::string& folder,
                      const std::string& root, std::vector<FileIdentity>& ancestors) {
        const int descriptor = openat(parent, name, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        if (descriptor < 0)
            return fail(folder, errno);
        DIR* const opened = fdopendir(descriptor);
        if (!opened) {
            const int error = errno;
            close(descriptor);
            return fail(folder, error);
        }
        const std::unique_ptr<DIR, int (*)(DIR*)> listing(opened, closedir);
        struct stat folderStatus {};
        if (fstat(descriptor, &folderStatus) != 0)
            return fail(folder, errno);
        const FileIdentity identity{folderStatus.st_dev, folderStatus.st_ino};
        if (std::find(ancestors.begin(), ancestors.end(), identity) != ancestors.end())
            return fail(folder, ELOOP);
        // Each name with the type the listing gives, where it gives one.
        std::vector<std::pair<std::string, unsigned char>> entries;
        errno = 0;
        while (const dirent* entry = readdir(listing.get())) {
            const std::string_view entryName = entry->d_name;
            if (entryName != "." && entryName != "..")
                entries.emplace_back(entryName, entry->d_type);
        }
        if (errno != 0)
            return fail(folder, errno);
        std::sort(entries.begin(), entries.end());

        ancestors.push_back(identity);
        size_t documents = 0;
        for (const auto& [entryName, type] : entries) {
            const std::string path = folder + "/" + entryName;
            bool isFolder = type == DT_DIR;
            bool isFile = type == DT_REG;
            // A link is followed; a file system that does not say is asked.
            if (!isFolder && !isFile) {
                struct stat status {};
                if (fstatat(descriptor, entryName.c_str(), &status, 0) != 0) {
                    // The reader skips a link to nothing as well; anything else could hide
                    // documents.
                    if (errno != ENOENT)
                        fail(path, errno);
                    continue;
                }
                isFolder = S_ISDIR(status.st_mode);
                isFile = S_ISREG(status.st_mode);
            }
            if (isFolder)
                documents += walkFolder(descriptor, entryName.c_str(), path, root, ancestors);
            else if (isFile && MetaModel::namesDocument(path)) {
                ++documents;
                checkDocument(descriptor, entryName.c_str(), path, root);
            }
        }
        ancestors.pop_back();
        return documents;
    }

    // Answers the documents found: none.
    size_t fail(const std::string& path, int error) { return fail(path, std::strerror(error)); }
    size_t fail(const std::string& path, const char* cause) {
        CppLanguage::reportAt(ORLO_HERE, {}, "QEL_MM_INPUT_UNREADABLE",
                              {{"PATH", path}, {"CAUSE", cause}});
        ++failures_;
        return 0;
    }

    std::map<FileIdentity, std::string> seen_;
    size_t failures_ = 0;
};

} // namespace

std::string resolvedPath(const std::string& path) {
    ORLO::String folder(path);
    MetaModel::CXMLMetaModelReader::ResolvePlaceholders(folder);
    return ORLO::withPlatformSeparators(folder);
}

bool documentPathsExist(const std::vector<std::string>& paths) {
    bool allThere = true;
    for (const std::string& path : paths) {
        // The folder a placeholder stands for is tested; the reader still gets the symbolic
        // form, which its documents keep as their root.
        if (MetaModel::namesDocument(path) || ORLO::File(resolvedPath(path)).isDirectory())
            continue;
        CppLanguage::reportAt(ORLO_HERE, {},
                              namesDocumentInAnotherCase(path) ? "QEL_MM_NOT_A_DOCUMENT_NAME"
                                                               : "QEL_MM_ROOT_NOT_FOUND",
                              {{"PATH", path}});
        allThere = false;
    }
    return allThere;
}

bool documentPathsReadable(const std::vector<std::string>& paths, bool withInstallation) {
    if (!documentPathsExist(paths))
        return false;
    InputSurvey survey;
    // A built-in root that is not there is no fault: an installation need not have every one.
    if (withInstallation) {
        const MetaModel::COperationReader builtIn({});
        for (const ORLO::String& root : builtIn.GetRootPaths()) {
            const std::string folder = resolvedPath(root);
            if (access(folder.c_str(), F_OK) == 0 || (errno != ENOENT && errno != ENOTDIR))
                survey.walkRoot(folder, root);
        }
    }
    for (const std::string& path : paths) {
        if (MetaModel::namesDocument(path)) {
            survey.checkDocument(resolvedPath(path), path);
            continue;
        }
        const size_t failuresBefore = survey.failures();
        if (survey.walkRoot(resolvedPath(path), path) == 0 && survey.failures() == failuresBefore)
            CppLanguage::reportAt(ORLO_HERE, {}, "QEL_MM_ROOT_EMPTY", {{"PATH", path}});
    }
    return survey.passed();
}

bool folderOptionsExist(const AppDataManager::AppDataOverrides& folders) {
    const std::pair<const char*, const ORLO::String*> options[] = {
        {"app-dir", &folders.appDir},
        {"user-dir", &folders.userDir},
        {"all-users-dir", &folders.allUsersDir},
        {"plugins-dir", &folders.pluginsDir},
        {"extension-dir", &folders.extensionDir},
    };
    bool allThere = true;
    for (const auto& [option, folder] : options) {
        if (folder->empty() || ORLO::File(*folder).isDirectory())
            continue;
        CppLanguage::reportAt(ORLO_HERE, {}, "QEL_MM_FOLDER_OPTION_NOT_FOUND",
                              {{"OPTION", std::string("--") + option}, {"PATH", *folder}});
        allThere = false;
    }
    return allThere;
}

} // namespace Cli
