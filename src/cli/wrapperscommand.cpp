#include "cli/commandline.h"
#include "cli/diagnostics.h"
#include "cli/foldertree.h"
#include "cli/modelsource.h"
#include "cli/repositoryaccess.h"
#include "cli/wrappersrecord.h"

#include "metamodel/builder/metamodelbuilder.h"
#include "metamodel/operations/fileop.h"
#include "metamodel/wrappers/wrappergenerator.h"
#include "metamodel/xml/xmlmetamodelreader.h"
#include "platform/appdatamanager.h"
#include "platform/messages.h"
#include "platform/orlofile.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <future>
#include <map>
#include <optional>
#include <set>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace Cli {

namespace {

namespace fs = std::filesystem;

constexpr int exitSuccess = 0;
constexpr int exitFailure = 1;
// Categories from this id on get no header.
constexpr int firstUnwrappedId = 1001000;
const ORLO::String rootPathAttribute = "ROOT_PATH";

// The generator cuts the root off every "ROOT_PATH" as text, so each must be a real, absolute
// folder: the installation's documents carry the "<app dir>" form, a document named by a
// relative path a relative folder, and a repository whatever the transfer stored.
class RealRootPathBuilder : public MetaModel::CMetaModelBuilder {
protected:
    using CMetaModelBuilder::OnAttribute;
    void OnAttribute(const ORLO::String& name, const ORLO::String& value,
                     const ElementStatus& status) override {
        if (name != rootPathAttribute) {
            CMetaModelBuilder::OnAttribute(name, value, status);
            return;
        }
        ORLO::String folder(value);
        MetaModel::CXMLMetaModelReader::ResolvePlaceholders(folder);
        // A document named without a folder ("MetaModel.xml") lies in the current one.
        std::error_code noCurrentFolder;
        const ORLO::String absolute = folder.empty()
                                          ? ORLO::String(fs::current_path(noCurrentFolder).string())
                                          : ORLO::File(folder).getAbsolutePath();
        CMetaModelBuilder::OnAttribute(name, absolute, status);
    }
};

std::string defaultRoot() {
    char buffer[1024] = {};
    if (const AppDataManager::IPaths* paths = AppDataManager::LoadAppDataManager()->GetPaths())
        paths->GetApplicationFolder(buffer, sizeof buffer - 1, false);
    return std::string(buffer) + "/configuration";
}

// The generator's work folder has one fixed name per temporary folder, and it empties that
// folder first: two runs at once would destroy each other's files. The lock lies beside it,
// since inside it the lock file would be deleted from under its holder.
class WorkFolderLock {
public:
    WorkFolderLock() {
        path_ = AppDataManager::TemporaryFolder() + "MetamodelWrapperGeneratedFiles.lock";
        descriptor_ = open(path_.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
        if (descriptor_ < 0 || flock(descriptor_, LOCK_EX) != 0) {
            error_ = errno;
            if (descriptor_ >= 0)
                close(descriptor_);
            descriptor_ = -1;
        }
    }
    ~WorkFolderLock() {
        if (descriptor_ >= 0)
            close(descriptor_);
    }
    WorkFolderLock(const WorkFolderLock&) = delete;
    WorkFolderLock& operator=(const WorkFolderLock&) = delete;
    bool held() const { return descriptor_ >= 0; }
    // Why the lock is not held.
    void reportFailure() const {
        CppLanguage::report(ORLO_HERE, "FILEOP_CANNOT_WRITE",
                            {{"FILE", path_}, {"REASON", std::strerror(error_)}});
    }

private:
    std::string path_;
    int descriptor_ = -1;
    int error_ = 0;
};

bool liesUnder(const std::string& folder, const std::string& root) {
    return folder == root ||
           (folder.size() > root.size() && folder.compare(0, root.size(), root) == 0 &&
            folder[root.size()] == '/');
}

// Every category that gets a header must lie under the root: the generator would cut
// another folder's path at the root's length and scatter headers anywhere.
bool categoriesUnderRoot(const QEL::IMetaModel& model, const std::string& root) {
    bool allUnder = true;
    for (const QEL::ICategory* category : model.GetCategories()) {
        const QEL::IAttribute* folder = category->GetAttribute(rootPathAttribute);
        if (category->GetId() >= firstUnwrappedId || !folder || !folder->IsString() ||
            liesUnder(folder->GetStringValue(), root))
            continue;
        CppLanguage::reportAt(
            ORLO_HERE, {}, "MM_WRP_ROOT_OUTSIDE",
            {{"CAT_NAM", category->GetName()}, {"PATH", folder->GetStringValue()}, {"ROOT", root}});
        allUnder = false;
    }
    return allUnder;
}

std::string absoluteRoot(const std::string& root) {
    ORLO::String absolute = ORLO::File(root).getAbsolutePath();
    absolute.trimRight('/');
    return absolute;
}

// Regular files under the folder, by path relative to it.
std::map<std::string, fs::path> filesUnder(const fs::path& folder) {
    std::map<std::string, fs::path> files;
    std::error_code ignored;
    for (auto entry = fs::recursive_directory_iterator(folder, ignored);
         entry != fs::recursive_directory_iterator(); entry.increment(ignored))
        if (entry->is_regular_file(ignored))
            files.emplace(entry->path().lexically_relative(folder).string(), entry->path());
    return files;
}

// What a run would do to each file of the output, by path relative to it.
using Changes = std::map<std::string, const char*>;

// The generated tree written aside, against the output on disk.
Changes changesOnDisk(const fs::path& generated, const fs::path& output) {
    const auto fresh = filesUnder(generated);
    const auto current = filesUnder(output);
    Changes changes;
    for (const auto& [name, path] : fresh) {
        const auto found = current.find(name);
        if (found == current.end())
            changes.emplace(name, "new");
        else if (MetaModel::FileOp::compareFiles(path.string(), found->second.string()) !=
                 MetaModel::FileOp::fcSame)
            changes.emplace(name, "changed");
    }
    for (const auto& [name, path] : current)
        if (!fresh.count(name))
            changes.emplace(name, "gone");
    return changes;
}

void printChanges(const Changes& changes, const fs::path& output) {
    for (const auto& [name, change] : changes)
        std::printf("%s %s\n", change, (output / name).c_str());
}

int reportCheck(const GlobalOptions& global, const Changes& changes, const fs::path& output) {
    printChanges(changes, output);
    if (!global.quiet)
        writeSummary("wrappers", changes.empty()
                                     ? std::string("up to date")
                                     : std::to_string(changes.size()) + " file(s) out of date");
    return changes.empty() ? exitSuccess : exitFailure;
}

// A folder of its own under the temporary folder, removed with everything in it.
class ScratchFolder {
public:
    ScratchFolder() {
        std::string pattern = AppDataManager::TemporaryFolder() + "metamodel-wrappers-XXXXXX";
        if (mkdtemp(pattern.data()))
            path_ = pattern;
    }
    ~ScratchFolder() {
        std::error_code ignored;
        if (!path_.empty())
            fs::remove_all(path_, ignored);
    }
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;
    const std::string& path() const { return path_; }

private:
    std::string path_;
};

// Whether `path` lies below `folder`; both absolute and without links.
bool liesInside(const fs::path& path, const fs::path& folder) {
    const auto [inFolder, inPath] =
        std::mismatch(folder.begin(), folder.end(), path.begin(), path.end());
    return inFolder == folder.end() && inPath != path.end();
}

// The first document that the merge into `folder` would reach: one that lies inside it, or,
// where the folder holds links (`links`), one that a walk through them reaches, as the merge
// walks.
std::optional<std::string> inputInOutput(const std::vector<std::string>& documents,
                                         const fs::path& folder, bool links) {
    std::error_code ignored;
    if (folder.empty())
        return std::nullopt;
    for (const std::string& document : documents)
        if (liesInside(fs::weakly_canonical(fs::absolute(document, ignored), ignored), folder))
            return document;
    if (!links)
        return std::nullopt;
    std::set<std::pair<dev_t, ino_t>> reached;
    const auto options = fs::directory_options::follow_directory_symlink |
                         fs::directory_options::skip_permission_denied;
    for (auto entry = fs::recursive_directory_iterator(folder, options, ignored);
         entry != fs::recursive_directory_iterator(); entry.increment(ignored)) {
        // A link that leads back up would be walked for ever.
        if (entry.depth() > 64) {
            entry.disable_recursion_pending();
            continue;
        }
        struct stat status {};
        if (::stat(entry->path().c_str(), &status) == 0 && S_ISREG(status.st_mode))
            reached.emplace(status.st_dev, status.st_ino);
    }
    for (const std::string& document : documents) {
        struct stat status {};
        if (::stat(document.c_str(), &status) == 0 && reached.count({status.st_dev, status.st_ino}))
            return document;
    }
    return std::nullopt;
}

// A file the tool holds open (the repository it reads) that lies inside `folder`, where the
// merge would purge it as a file the generator did not make.
std::optional<std::string> openFileInside(const fs::path& folder) {
    std::error_code ignored;
    for (const auto& entry : fs::directory_iterator("/proc/self/fd", ignored)) {
        const fs::path file = fs::read_symlink(entry.path(), ignored);
        struct stat status {};
        if (!ignored && file.is_absolute() && ::stat(entry.path().c_str(), &status) == 0 &&
            S_ISREG(status.st_mode) && liesInside(fs::weakly_canonical(file, ignored), folder))
            return file.string();
    }
    return std::nullopt;
}

// The answer of a run from the output on disk and the tree rendered in memory, where these can
// vouch for it; nothing where the generator must run.
std::optional<int> settleInMemory(const GlobalOptions& global, bool check,
                                  MetaModel::WrapperGenerator& renderer, const FolderTree& current,
                                  const std::string& output) {
    // A first run into an empty folder has nothing to compare.
    if (!current.plain || (!check && current.files.empty()))
        return std::nullopt;
    TreeComparison comparison(output, current);
    if (!renderer.Render(comparison) || !comparison.complete())
        return std::nullopt;
    const Changes changes = comparison.changes();
    if (check)
        return reportCheck(global, changes, output);
    if (!comparison.foldersPresent())
        return std::nullopt;
    // Files that are only to go are taken away here: the generator's merge would purge them
    // too, but then find nothing new to move in and fail a run whose output is right.
    if (std::any_of(changes.begin(), changes.end(),
                    [](const auto& change) { return std::string_view(change.second) != "gone"; }))
        return std::nullopt;
    for (const auto& [name, change] : changes) {
        if (!global.quiet)
            std::printf("Purging %s\n", fs::path(name).filename().c_str());
        // The file itself: a name such as "*.*" is no pattern here.
        const fs::path gone = fs::path(output) / name;
        std::error_code failed;
        if (!fs::remove(gone, failed) || failed) {
            CppLanguage::report(ORLO_HERE, "FILEOP_CANNOT_DELETE", {{"ARG", gone.string()}});
            return exitFailure;
        }
    }
    if (!global.quiet)
        writeSummary("wrappers", changes.empty()
                                     ? std::string("up to date, nothing written")
                                     : "removed " + std::to_string(changes.size()) +
                                           " file(s) no longer generated; the rest is up to date");
    return exitSuccess;
}

// The record of the last successful run into the output folder. It settles a run only when
// it proves the answer: the same inputs, digested now, and an output that still holds exactly
// what the run left. Everything else goes the whole way.
class RecordKeeper {
public:
    RecordKeeper(const CommandArguments& arguments, const std::string& root,
                 const std::string& output)
        : paths_(arguments.operands), root_(absoluteRoot(root)) {
        std::error_code failed;
        output_ = fs::weakly_canonical(fs::absolute(output, failed), failed).string();
        if (failed)
            return;
        path_ = recordPath(output_);
        inputs_ = wrappersInputs(paths_, root_, output_);
    }

    bool provesUpToDate() const {
        std::error_code ignored;
        // The generator refuses a root that is not there, whatever the record says.
        if (!inputs_ || path_.empty() || !fs::is_directory(root_, ignored))
            return false;
        const std::optional<WrappersRecord> record = readRecord(path_);
        return record && record->output == output_ && record->inputs == *inputs_ &&
               treeMatches(output_, record->tree);
    }

    // After a successful run. The inputs are digested again, so that a document changed while
    // the run read it leaves no record that the output would not bear out.
    void keep() const {
        if (!inputs_ || path_.empty() || wrappersInputs(paths_, root_, output_) != inputs_)
            return;
        if (std::optional<OutputTree> tree = hashTree(output_))
            writeRecord(path_, {output_, *inputs_, std::move(*tree)});
    }

private:
    std::vector<std::string> paths_;
    std::string root_;
    std::string output_;
    std::string path_;
    std::optional<Digest> inputs_;
};

// The generator does not report a write that failed in its work folder (a full temporary
// folder): what it left in `written` is compared with the tree rendered in memory, and a file
// missing or different fails the run, which then keeps no record that would call it up to
// date. A tree that its listing cannot judge is taken as written.
bool writtenAsRendered(const QEL::IMetaModel& model, const std::string& root,
                       const std::string& written, const std::string& shown) {
    // A generator renders once: it remembers what it has done.
    MetaModel::WrapperGenerator renderer(&model, root, shown);
    const FolderTree listing = listFolderTree(written);
    TreeComparison comparison(written, listing);
    if (!listing.plain || !renderer.Render(comparison) || !comparison.complete())
        return true;
    std::vector<std::string> wrong;
    for (const auto& [name, change] : comparison.changes())
        if (std::string_view(change) != "gone")
            wrong.push_back(name);
    if (wrong.empty())
        return true;
    CppLanguage::report(
        ORLO_HERE, "FILEOP_CANNOT_WRITE",
        {{"FILE", (fs::path(shown) / wrong.front()).string()},
         {"REASON",
          "it does not hold what was generated, a write in the temporary folder "
          "having failed (is it full?)" +
              (wrong.size() > 1 ? "; nor do " + std::to_string(wrong.size() - 1) + " other file(s)"
                                : "")}});
    return false;
}

int generate(const GlobalOptions& global, const CommandArguments& arguments) {
    ModelSource source("wrappers", arguments);
    if (!source.prepare())
        return exitFailure;
    // "out/" names the folder "out": the library would make "out" on the way to "out/" and
    // then fail to make the latter.
    std::string output = arguments.value("output", "");
    while (output.size() > 1 && output.back() == '/')
        output.pop_back();
    const bool check = arguments.has("check");
    WorkFolderLock lock;
    if (!lock.held()) {
        lock.reportFailure();
        return exitFailure;
    }
    const std::string root = arguments.value("root", defaultRoot());
    std::optional<RecordKeeper> record;
    if (!source.fromRepository() && !arguments.has("no-cache")) {
        record.emplace(arguments, root, output);
        if (record->provesUpToDate()) {
            if (check)
                return reportCheck(global, {}, output);
            if (!global.quiet)
                writeSummary("wrappers", "up to date, nothing written");
            return exitSuccess;
        }
    }
    const auto succeeded = [&record](int exitCode) {
        if (record && exitCode == exitSuccess)
            record->keep();
        return exitCode;
    };
    // Listed while the model builds, on the second core.
    std::future<FolderTree> listing = std::async(std::launch::async, listFolderTree, output);
    RealRootPathBuilder builder;
    std::error_code ignored;
    // The merge takes out of DIR whatever the generator did not make: a document read from
    // inside DIR would go with it.
    const fs::path outputFolder = fs::weakly_canonical(fs::absolute(output, ignored), ignored);
    std::vector<std::string> documents;
    source.observeDocuments(
        [&](const ORLO::String& path, size_t, size_t) { documents.push_back(path); });
    const bool outputExisted = fs::exists(output, ignored);
    std::optional<ScratchFolder> scratch;
    try {
        const bool read = source.play(builder, [&] {
            // The listing opens the files of the output folder too: it is let finish first.
            listing.wait();
            const std::optional<std::string> repository = openFileInside(outputFolder);
            if (repository)
                CppLanguage::report(ORLO_HERE, "FILEOP_OUTPUT_HOLDS_INPUT",
                                    {{"FOLDER", output}, {"INPUT", *repository}});
            return !repository;
        });
        if (!read)
            return exitFailure;
        const FolderTree current = listing.get();
        if (const std::optional<std::string> input =
                inputInOutput(documents, outputFolder, !current.plain)) {
            CppLanguage::report(ORLO_HERE, "FILEOP_OUTPUT_HOLDS_INPUT",
                                {{"FOLDER", output}, {"INPUT", *input}});
            return exitFailure;
        }
        const QEL::IMetaModel& model = *builder.GetResult();
        // The generator checks the root before the categories can be held against it.
        MetaModel::WrapperGenerator renderer(&model, root, output);
        if (!categoriesUnderRoot(model, absoluteRoot(root)))
            return exitFailure;
        if (const auto settled = settleInMemory(global, check, renderer, current, output))
            return succeeded(*settled);
        // Whatever the comparison cannot vouch for is the generator's, as it stands.
        if (check) {
            scratch.emplace();
            if (scratch->path().empty()) {
                CppLanguage::report(
                    ORLO_HERE, "FILEOP_CANNOT_CREATE_DIR",
                    {{"DIR", AppDataManager::TemporaryFolder() + "metamodel-wrappers-XXXXXX"}});
                return exitFailure;
            }
        }
        MetaModel::WrapperGenerator generator(&model, root, check ? scratch->path() : output);
        // The merge into a scratch folder tells nothing worth reading.
        MetaModel::FileOp::verboseMode = !global.quiet && !check;
        generator.Build();
        if (!writtenAsRendered(model, root, check ? scratch->path() : output, output))
            return exitFailure;
    } catch (const std::exception& failure) {
        // The library's failures carry an id; anything else (a folder that cannot be walked,
        // memory) is said as it stands.
        if (!CppLanguage::reportException(failure))
            std::fprintf(stderr, "metamodel: error: %s\n", failure.what());
        // The generator makes the output folder before it fails; one that was not there
        // before goes again.
        if (!check && !outputExisted)
            fs::remove_all(output, ignored);
        return exitFailure;
    }
    if (!check)
        return succeeded(exitSuccess);
    return succeeded(reportCheck(global, changesOnDisk(scratch->path(), output), output));
}

const CommandRegistration wrappers({
    "wrappers",
    "generate the wrapper headers of the model, one per category and type below id 1001000, "
    "into a folder; unchanged files keep their dates",
    {
        {"output", 'o', "DIR", "the folder of the generated tree", false, true},
        {"root", 0, "DIR",
         "the folder whose sub-folders the tree repeats (default: <app dir>/configuration)"},
        databaseOption,
        schemaOption,
        {"check", 0, nullptr,
         "write nothing; list the files a run would change, add or remove, exit 1 if any"},
        {"no-cache", 0, nullptr,
         "neither use nor keep the record of the last run (kept under "
         "$XDG_CACHE_HOME/metamodel/wrappers, or ~/.cache/metamodel/wrappers)"},
    },
    "[PATH...]",
    65,
    generate,
});

} // namespace

} // namespace Cli
