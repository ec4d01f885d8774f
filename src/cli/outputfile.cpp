#include "cli/outputfile.h"

#include <cstdio>
#include <filesystem>
#include <optional>
#include <sys/stat.h>
#include <unistd.h>

namespace Cli {

namespace {

constexpr int exitSuccess = 0;
constexpr int exitFailure = 1;

// A temporary file in a folder that goes away with this object unless it was moved.
class ScratchFile {
public:
    explicit ScratchFile(const std::filesystem::path& folder) {
        std::string pattern = (folder / ".metamodel-XXXXXX");
        const int descriptor = mkstemp(pattern.data());
        if (descriptor >= 0) {
            // It may become the output: give it the mode a plain new file would get.
            const mode_t mask = umask(0);
            umask(mask);
            fchmod(descriptor, 0666 & ~mask);
            close(descriptor);
            path_ = pattern;
        }
    }
    ~ScratchFile() {
        if (!path_.empty())
            std::remove(path_.c_str());
    }
    const std::string& path() const { return path_; }

private:
    std::string path_;
};

bool copyToStandardOutput(const std::string& path) {
    std::FILE* in = std::fopen(path.c_str(), "rb");
    if (!in)
        return false;
    char buffer[1 << 16];
    size_t count;
    while ((count = std::fread(buffer, 1, sizeof buffer, in)) > 0)
        std::fwrite(buffer, 1, count, stdout);
    std::fclose(in);
    return std::fflush(stdout) == 0;
}

} // namespace

int writeOutputWhole(const std::string& output,
                     const std::function<bool(const std::string& target)>& write) {
    const bool toStandardOutput = output == "-";
    // Where no scratch file can be made, the writer writes the output itself and says why it
    // could not. Only a plain file may be replaced by a rename: a device such as /dev/null, a
    // pipe or a link is written to in place, as the user named it.
    std::error_code ignored;
    const std::filesystem::file_status existing = std::filesystem::symlink_status(output, ignored);
    const bool replaceable =
        !std::filesystem::exists(existing) || std::filesystem::is_regular_file(existing);
    std::filesystem::path folder = std::filesystem::temp_directory_path();
    if (!toStandardOutput) {
        folder = std::filesystem::path(output).parent_path();
        if (folder.empty())
            folder = ".";
    }
    std::optional<ScratchFile> scratch;
    if (toStandardOutput || replaceable)
        scratch.emplace(folder);
    const std::string target = scratch && !scratch->path().empty() ? scratch->path() : output;
    if (!write(target))
        return exitFailure;
    if (target == output)
        return exitSuccess;
    if (toStandardOutput)
        return copyToStandardOutput(target) ? exitSuccess : exitFailure;
    std::error_code moved;
    std::filesystem::rename(target, output, moved);
    if (moved) {
        std::fprintf(stderr, "metamodel: error: cannot write '%s': %s\n", output.c_str(),
                     moved.message().c_str());
        return exitFailure;
    }
    return exitSuccess;
}

} // namespace Cli
