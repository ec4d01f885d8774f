// wrappers_floor write TREE OUTDIR | compare TREE OTHER
//
// The floors of the wrapper generator. "write" reads every file of a generated TREE into
// memory, then writes the same bytes as the same files under OUTDIR with plain write() calls:
// what a first run cannot go below. "compare" reads both trees and compares them byte by byte,
// which is all that a run over an unchanged output has to do; exit 1 when they differ.

#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <map>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

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

} // namespace

int main(int argc, char** argv) {
    const std::string_view mode = argc == 4 ? argv[1] : "";
    if (mode != "write" && mode != "compare") {
        std::fprintf(stderr, "usage: wrappers_floor write TREE OUTDIR | compare TREE OTHER\n");
        return 2;
    }
    try {
        const auto files = readTree(argv[2]);
        if (mode == "compare")
            return readTree(argv[3]) == files ? 0 : 1;
        for (const auto& [name, content] : files) {
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
