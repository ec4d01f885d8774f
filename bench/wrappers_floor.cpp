// wrappers_floor write TREE OUTDIR | compare TREE OTHER
//
// The floors of the wrapper generator. "write" reads every file of a generated TREE into
// memory, then writes the same bytes as the same files under OUTDIR with plain write() calls:
// what a first run cannot go below. "compare" walks both trees side by side and compares them
// byte by byte, which is all that a run over an unchanged output has to do; exit 1 when they
// differ. It is as lean as a plain comparison goes: entries by descriptor, never a path looked
// up from the top, two reused buffers, and a stop at the first difference.

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <filesystem>
#include <map>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

namespace fs = std::filesystem;

bool readWhole(const fs::path& path, std::string& content) {
    const int file = open(path.c_str(), O_RDONLY);
    if (file < 0)
        return false;
    struct stat status {};
    fstat(file, &status);
    content.resize(size_t(status.st_size));
    size_t done = 0;
    while (done < content.size()) {
        const ssize_t count = read(file, content.data() + done, content.size() - done);
        if (count <= 0)
            break;
        done += size_t(count);
    }
    close(file);
    return done == content.size();
}

bool writeWhole(const fs::path& path, const std::string& content) {
    const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0666);
    if (file < 0)
        return false;
    size_t done = 0;
    while (done < content.size()) {
        const ssize_t count = write(file, content.data() + done, content.size() - done);
        if (count <= 0)
            break;
        done += size_t(count);
    }
    return close(file) == 0 && done == content.size();
}

// Every file of the tree by relative path, with its bytes.
std::map<std::string, std::string> readTree(const fs::path& root) {
    std::map<std::string, std::string> files;
    for (const auto& entry : fs::recursive_directory_iterator(root))
        if (entry.is_regular_file() &&
            !readWhole(entry.path(), files[entry.path().lexically_relative(root)]))
            throw fs::filesystem_error("cannot read", entry.path(), std::error_code());
    return files;
}

struct Entry {
    std::string name;
    unsigned char type;
    bool operator==(const Entry&) const = default;
    bool operator<(const Entry& other) const { return name < other.name; }
};

// The entries of the folder, sorted by name.
bool listFolder(int descriptor, std::vector<Entry>& entries) {
    const int own = dup(descriptor);
    DIR* folder = own < 0 ? nullptr : fdopendir(own);
    if (!folder) {
        if (own >= 0)
            close(own);
        return false;
    }
    while (const dirent* entry = readdir(folder))
        if (std::strcmp(entry->d_name, ".") != 0 && std::strcmp(entry->d_name, "..") != 0)
            entries.push_back({entry->d_name, entry->d_type});
    closedir(folder);
    std::sort(entries.begin(), entries.end());
    return true;
}

bool readFile(int folder, const char* name, std::vector<char>& buffer, size_t& size) {
    const int file = openat(folder, name, O_RDONLY | O_CLOEXEC);
    struct stat status {};
    if (file < 0 || fstat(file, &status) != 0) {
        if (file >= 0)
            close(file);
        return false;
    }
    size = size_t(status.st_size);
    if (buffer.size() < size)
        buffer.resize(size);
    size_t done = 0;
    while (done < size) {
        const ssize_t count = read(file, buffer.data() + done, size - done);
        if (count <= 0)
            break;
        done += size_t(count);
    }
    close(file);
    return done == size;
}

class TreeComparison {
public:
    // Both descriptors are folders, and are closed here.
    bool same(int one, int two) {
        std::vector<Entry> first, second;
        const bool result = listFolder(one, first) && listFolder(two, second) && first == second &&
                            sameEntries(one, two, first);
        close(one);
        close(two);
        return result;
    }

private:
    bool sameEntries(int one, int two, const std::vector<Entry>& entries) {
        for (const Entry& entry : entries) {
            const char* name = entry.name.c_str();
            if (entry.type == DT_DIR) {
                const int innerOne = openat(one, name, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
                const int innerTwo = openat(two, name, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
                if (innerOne < 0 || innerTwo < 0) {
                    close(innerOne);
                    close(innerTwo);
                    return false;
                }
                if (!same(innerOne, innerTwo))
                    return false;
            } else {
                size_t sizeOne = 0, sizeTwo = 0;
                if (!readFile(one, name, bufferOne_, sizeOne) ||
                    !readFile(two, name, bufferTwo_, sizeTwo) || sizeOne != sizeTwo ||
                    std::memcmp(bufferOne_.data(), bufferTwo_.data(), sizeOne) != 0)
                    return false;
            }
        }
        return true;
    }

    std::vector<char> bufferOne_, bufferTwo_;
};

} // namespace

int main(int argc, char** argv) {
    const std::string_view mode = argc == 4 ? argv[1] : "";
    if (mode != "write" && mode != "compare") {
        std::fprintf(stderr, "usage: wrappers_floor write TREE OUTDIR | compare TREE OTHER\n");
        return 2;
    }
    if (mode == "compare") {
        const int one = open(argv[2], O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        const int two = open(argv[3], O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        if (one < 0 || two < 0) {
            std::perror(one < 0 ? argv[2] : argv[3]);
            return 1;
        }
        return TreeComparison().same(one, two) ? 0 : 1;
    }
    try {
        for (const auto& [name, content] : readTree(argv[2])) {
            const fs::path target = fs::path(argv[3]) / name;
            fs::create_directories(target.parent_path());
            if (!writeWhole(target, content)) {
                std::perror(target.c_str());
                return 1;
            }
        }
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "wrappers_floor: %s\n", failure.what());
        return 1;
    }
    return 0;
}
