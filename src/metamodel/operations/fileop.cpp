#include "metamodel/operations/fileop.h"

#include "platform/messages.h"
#include "platform/orlofile.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <iostream>
#include <string_view>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <vector>

namespace MetaModel {

bool FileOp::verboseMode = true;

namespace {

namespace fs = std::filesystem;

enum Operation : unsigned int { OpMove = 1, OpCopy = 2, OpDelete = 3 };

std::string nativeText(std::string_view text) {
    return ORLO::withPlatformSeparators(std::string(text));
}

// "dir/" names the folder "dir"; its empty last piece would name nothing.
fs::path nativePath(std::string_view text) {
    std::string native = nativeText(text);
    while (native.size() > 1 && native.back() == ORLO::PathSeparator)
        native.pop_back();
    return fs::path(native);
}

bool isPattern(const fs::path& source) {
    const std::string last = source.filename().string();
    return last == "*.*" || last == "*";
}

void keepFirst(std::error_code& first, const std::error_code& next) {
    if (!first && next)
        first = next;
}

// The entries that a source names: every entry of the folder for a pattern, else the path
// itself, which must be there. Sorted, so that a partial failure is the same on every run.
std::vector<fs::path> expandSource(const fs::path& source, std::error_code& error) {
    std::vector<fs::path> entries;
    if (!isPattern(source)) {
        if (fs::exists(fs::symlink_status(source, error)))
            entries.push_back(source);
        else if (!error)
            error = std::make_error_code(std::errc::no_such_file_or_directory);
        return entries;
    }
    const fs::path folder = source.has_parent_path() ? source.parent_path() : fs::path(".");
    for (fs::directory_iterator it(folder, error), end; !error && it != end; it.increment(error))
        entries.push_back(it->path());
    std::sort(entries.begin(), entries.end());
    return entries;
}

// A copied file keeps its date, as a moved one does.
void copyFile(const fs::path& entry, const fs::path& target, std::error_code& error) {
    const fs::file_time_type time = fs::last_write_time(entry, error);
    if (!error)
        fs::copy_file(entry, target, fs::copy_options::overwrite_existing, error);
    if (!error)
        fs::last_write_time(target, time, error);
}

bool isWithin(const fs::path& inner, const fs::path& outer) {
    std::error_code ignored;
    const fs::path a = fs::weakly_canonical(inner, ignored);
    const fs::path b = fs::weakly_canonical(outer, ignored);
    auto [end, rest] = std::mismatch(b.begin(), b.end(), a.begin(), a.end());
    return end == b.end();
}

void transfer(const fs::path& entry, const fs::path& target, bool move, std::error_code& error);

// Every child of the folder `entry` into the folder `target`; a moved folder goes when empty.
void mergeFolder(const fs::path& entry, const fs::path& target, bool move, std::error_code& error) {
    std::error_code local;
    std::vector<fs::path> children;
    for (fs::directory_iterator it(entry, local), end; !local && it != end; it.increment(local))
        children.push_back(it->path());
    std::sort(children.begin(), children.end());
    for (const fs::path& child : children) {
        std::error_code childError;
        transfer(child, target / child.filename(), move, childError);
        keepFirst(local, childError);
    }
    if (move && !local)
        fs::remove(entry, local);
    keepFirst(error, local);
}

void transfer(const fs::path& entry, const fs::path& target, bool move, std::error_code& error) {
    std::error_code local;
    const fs::file_status from = fs::symlink_status(entry, local);
    const fs::file_status to = fs::status(target, local);
    local.clear();
    if (fs::exists(to) && fs::equivalent(entry, target, local))
        return;
    if (fs::is_directory(from)) {
        if (isWithin(target, entry))
            local = std::make_error_code(std::errc::invalid_argument);
        else if (fs::is_directory(to))
            mergeFolder(entry, target, move, local);
        else if (fs::exists(to))
            local = std::make_error_code(std::errc::file_exists);
        else if (!move) {
            fs::create_directory(target, local);
            if (!local)
                mergeFolder(entry, target, false, local);
        } else {
            fs::rename(entry, target, local);
            // Across file systems a rename cannot work: the tree is copied, then removed.
            if (local == std::errc::cross_device_link) {
                local.clear();
                transfer(entry, target, false, local);
                if (!local)
                    fs::remove_all(entry, local);
            }
        }
    } else if (fs::is_directory(to)) {
        local = std::make_error_code(std::errc::is_a_directory);
    } else if (move) {
        fs::rename(entry, target, local);
        if (local == std::errc::cross_device_link) {
            local.clear();
            copyFile(entry, target, local);
            if (!local)
                fs::remove(entry, local);
        }
    } else {
        copyFile(entry, target, local);
    }
    keepFirst(error, local);
}

// The whole file, or nothing; false with errno set.
bool readFully(int descriptor, char* buffer, size_t length) {
    while (length > 0) {
        const ssize_t got = ::read(descriptor, buffer, length);
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0) {
            if (got == 0)
                errno = EIO;
            return false;
        }
        buffer += got;
        length -= size_t(got);
    }
    return true;
}

class OpenFile {
public:
    explicit OpenFile(const ORLO::String& path) {
        descriptor_ = ::open(nativeText(path).c_str(), O_RDONLY | O_CLOEXEC);
        struct stat status {};
        if (descriptor_ >= 0 && ::fstat(descriptor_, &status) == 0) {
            // A folder opens for reading here, but it is no file to compare.
            if (S_ISDIR(status.st_mode)) {
                close();
                errno = EISDIR;
            }
            size_ = status.st_size;
        } else {
            close();
        }
        error_ = descriptor_ < 0 ? errno : 0;
    }
    ~OpenFile() { close(); }
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;

    bool isOpen() const { return descriptor_ >= 0; }
    bool missing() const { return error_ == ENOENT || error_ == ENOTDIR; }
    off_t size() const { return size_; }
    int descriptor() const { return descriptor_; }

private:
    void close() {
        if (descriptor_ >= 0)
            ::close(descriptor_);
        descriptor_ = -1;
    }
    int descriptor_ = -1;
    int error_ = 0;
    off_t size_ = 0;
};

void tell(std::string_view first, std::string_view second = {}) {
    if (FileOp::verboseMode)
        std::cout << first << second << std::endl;
}

} // namespace

int FileOp::performOp(unsigned int code, const char* from, const char* to) {
    if (!from || (code != OpDelete && !to) || code < OpMove || code > OpDelete)
        return EINVAL;
    std::error_code error;
    const fs::path source = nativePath(from);
    const std::vector<fs::path> entries = expandSource(source, error);
    if (error)
        return error.value();
    // Moving or copying what a pattern does not match fails, as the shell's operation does;
    // deleting it leaves what was wanted, an empty folder.
    if (code != OpDelete && entries.empty())
        return ENOENT;
    if (code == OpDelete) {
        for (const fs::path& entry : entries) {
            std::error_code next;
            fs::remove_all(entry, next);
            keepFirst(error, next);
        }
        return error.value();
    }
    const fs::path destination = nativePath(to);
    // A destination that cannot even be looked at (a name too long, a loop of links) counts as
    // no folder: the transfer into it then fails with the system's reason.
    std::error_code unseen;
    const bool intoFolder = isPattern(source) || fs::is_directory(destination, unseen);
    const fs::path folder = intoFolder ? destination : destination.parent_path();
    if (!folder.empty() && !fs::is_directory(folder, unseen))
        fs::create_directories(folder, error);
    if (error)
        return error.value();
    for (const fs::path& entry : entries) {
        std::error_code next;
        transfer(entry, intoFolder ? destination / entry.filename() : destination, code == OpMove,
                 next);
        keepFirst(error, next);
    }
    return error.value();
}

int FileOp::deleteFiles(const ORLO::String& path) {
    const int result = performOp(OpDelete, path.c_str(), nullptr);
    if (result != 0)
        CppLanguage::report(ORLO_HERE, "FILEOP_CANNOT_DELETE", {{"ARG", path}});
    return result;
}

int FileOp::moveFiles(const ORLO::String& source, const ORLO::String& destination) {
    const int result = performOp(OpMove, source.c_str(), destination.c_str());
    if (result != 0)
        CppLanguage::report(ORLO_HERE, "FILEOP_CANNOT_MOVE",
                            {{"DST", destination}, {"SRC", source}});
    return result;
}

int FileOp::copyFiles(const ORLO::String& source, const ORLO::String& destination) {
    const int result = performOp(OpCopy, source.c_str(), destination.c_str());
    if (result != 0)
        CppLanguage::report(ORLO_HERE, "FILEOP_CANNOT_COPY",
                            {{"DST", destination}, {"SRC", source}});
    return result;
}

// Each level that cannot be made is reported on the way back, so the report names the
// deepest folder that stood in the way as well as the one asked for.
int FileOp::createDirectory(const ORLO::String& path) {
    const std::string native = nativeText(path);
    if (!path.empty()) {
        if (ORLO_mkdir(native.c_str()) == 0 || errno == EEXIST)
            return 0;
        const size_t cut = native.rfind(ORLO::PathSeparator);
        const ORLO::String above(cut == std::string::npos ? std::string() : native.substr(0, cut));
        // Only a folder made now counts on the way back: "a/b/" makes "a/b" first and then
        // finds it there, which is a failure.
        if (createDirectory(above) == 0 && ORLO_mkdir(native.c_str()) == 0)
            return 0;
    }
    CppLanguage::report(ORLO_HERE, "FILEOP_CANNOT_CREATE_DIR", {{"DIR", path}});
    return 1;
}

FileOp::fcStatus FileOp::compareFiles(const ORLO::String& file1, const ORLO::String& file2) {
    if (file1 == file2)
        return fcSame;
    const auto cannotCompare = [&] {
        CppLanguage::report(ORLO_HERE, "FILEOP_CANNOT_COMPARE_FILE",
                            {{"FILE2", file2}, {"FILE1", file1}});
        return fcError;
    };
    const OpenFile first(file1);
    if (!first.isOpen())
        return first.missing() ? fcFile1Missing : cannotCompare();
    const OpenFile second(file2);
    if (!second.isOpen())
        return second.missing() ? fcFile2Missing : cannotCompare();
    if (first.size() != second.size())
        return fcDifferent;
    // Block by block: a large file needs no buffer of its size.
    constexpr size_t block = 64 * 1024;
    std::vector<char> one(block), two(block);
    for (off_t left = first.size(); left > 0;) {
        const size_t length = size_t(std::min<off_t>(left, off_t(block)));
        if (!readFully(first.descriptor(), one.data(), length) ||
            !readFully(second.descriptor(), two.data(), length))
            return cannotCompare();
        if (std::memcmp(one.data(), two.data(), length) != 0)
            return fcDifferent;
        left -= off_t(length);
    }
    return fcSame;
}

int FileOp::compareDirectories(const ORLO::String& target, const ORLO::String& source) {
    int result = 0;
    std::vector<ORLO::File> entries;
    ORLO::File(target).listFiles(entries, ORLO::IFileFilter::getMatchAllFileFilter(), false);
    for (const ORLO::File& entry : entries) {
        const bool isDirectory = entry.isDirectory();
        if (!isDirectory && !entry.isFile())
            continue;
        tell("Comparing ", target + " ...");
        const ORLO::String name = entry.getBaseName();
        const ORLO::String path1 = entry.getAbsolutePath();
        const ORLO::String path2 = source + ORLO::PathSeparator + name;
        if (isDirectory) {
            if (compareDirectories(path1, path2) != 0)
                result = 1;
            continue;
        }
        switch (compareFiles(path1, path2)) {
        case fcSame:
            // The target's copy is kept, with its date; the source's is not needed.
            if (deleteFiles(path2) != 0)
                result = 1;
            break;
        case fcDifferent:
            tell("Updating ", name);
            break;
        case fcFile2Missing:
            tell("Purging ", name);
            if (deleteFiles(path1) != 0)
                result = 1;
            break;
        default:
            result = 1;
            break;
        }
    }
    return result;
}

int FileOp::mergeDirectories(const ORLO::String& target, const ORLO::String& source) {
    tell("Merging results ...");
    const int result = compareDirectories(target, source);
    tell("Adding new files ...");
    if (moveFiles(source + ORLO::PathSeparator + "*.*", target) != 0)
        return 1;
    return result;
}

} // namespace MetaModel
