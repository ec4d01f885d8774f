#include "cli/foldertree.h"

#include <algorithm>
#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Cli {

namespace {

// Entries by descriptor, relative to their folder: no path is looked up twice, and a link is
// met as a link, never followed.
void walk(int descriptor, const std::string& prefix, FolderTree& tree) {
    DIR* folder = ::fdopendir(descriptor);
    if (!folder) {
        ::close(descriptor);
        tree.plain = false;
        return;
    }
    const int folderDescriptor = ::dirfd(folder);
    errno = 0;
    while (const dirent* entry = ::readdir(folder)) {
        const std::string_view name = entry->d_name;
        if (name == "." || name == "..")
            continue;
        unsigned char type = entry->d_type;
        if (type == DT_UNKNOWN) {
            struct stat status {};
            if (::fstatat(folderDescriptor, entry->d_name, &status, AT_SYMLINK_NOFOLLOW) == 0)
                type = S_ISREG(status.st_mode) ? DT_REG : S_ISDIR(status.st_mode) ? DT_DIR : 0;
        }
        std::string path = prefix + entry->d_name;
        if (type == DT_REG) {
            tree.files.insert(std::move(path));
        } else if (type == DT_DIR) {
            const int inner = ::openat(folderDescriptor, entry->d_name,
                                       O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NOFOLLOW);
            if (inner < 0) {
                tree.plain = false;
            } else {
                walk(inner, path + '/', tree);
                tree.folders.insert(std::move(path));
            }
        } else {
            tree.plain = false;
        }
        errno = 0;
    }
    if (errno != 0)
        tree.plain = false;
    ::closedir(folder);
}

} // namespace

FolderTree listFolderTree(const std::string& top) {
    FolderTree tree;
    const int descriptor = ::open(top.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0) {
        // Only nothing at all is an empty tree: a file in the way, or a folder that cannot be
        // opened, is none that a listing can judge.
        struct stat status {};
        tree.plain = ::stat(top.c_str(), &status) != 0 && errno == ENOENT;
        return tree;
    }
    walk(descriptor, "", tree);
    return tree;
}

TreeComparison::TreeComparison(const std::string& top, const FolderTree& listing)
    : listing_(listing) {
    if (!listing.files.empty()) {
        top_ = ::open(top.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        complete_ = top_ >= 0;
    }
}

TreeComparison::~TreeComparison() {
    if (top_ >= 0)
        ::close(top_);
}

bool TreeComparison::readFile(const std::string& path, std::string& content) {
    const int file = ::openat(top_, path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW);
    struct stat status {};
    bool read = file >= 0 && ::fstat(file, &status) == 0 && S_ISREG(status.st_mode);
    if (read) {
        content.resize(size_t(status.st_size));
        for (size_t done = 0; read && done < content.size();) {
            const ssize_t got = ::read(file, content.data() + done, content.size() - done);
            if (got < 0 && errno == EINTR)
                continue;
            read = got > 0;
            done += read ? size_t(got) : 0;
        }
    }
    if (file >= 0)
        ::close(file);
    complete_ = complete_ && read;
    return read;
}

void TreeComparison::folder(const std::string& path) {
    folders_.insert(path);
}

void TreeComparison::text(const std::string& path, std::string_view text) {
    auto [found, first] = files_.try_emplace(path);
    File& file = found->second;
    const size_t at = file.length;
    file.length += text.size();
    if (first) {
        file.present = listing_.files.count(path) && readFile(path, buffer_);
        file.size = buffer_.size();
        file.differs = file.present && std::string_view(buffer_).substr(0, text.size()) != text;
        return;
    }
    if (!file.present || file.differs)
        return;
    if (!file.isKept)
        file.isKept = readFile(path, file.kept);
    file.differs = !file.isKept || std::string_view(file.kept).substr(
                                       std::min(at, file.kept.size()), text.size()) != text;
}

std::map<std::string, const char*> TreeComparison::changes() const {
    std::map<std::string, const char*> changes;
    for (const auto& [name, file] : files_)
        if (!file.present)
            changes.emplace(name, "new");
        else if (file.differs || file.length != file.size)
            changes.emplace(name, "changed");
    for (const std::string& name : listing_.files)
        if (!files_.count(name))
            changes.emplace(name, "gone");
    return changes;
}

bool TreeComparison::foldersPresent() const {
    return std::includes(listing_.folders.begin(), listing_.folders.end(), folders_.begin(),
                         folders_.end());
}

} // namespace Cli
