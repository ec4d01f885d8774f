#include "cli/outputfile.h"

#include "cli/diagnostics.h"
#include "cli/interruption.h"
#include "platform/messages.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <sys/mman.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace Cli {

namespace {

constexpr int exitSuccess = 0;
constexpr int exitFailure = 1;

int writeAll(int descriptor, const char* data, size_t size) {
    while (size > 0) {
        const ssize_t written = write(descriptor, data, size);
        if (written < 0) {
            if (errno == EINTR)
                continue;
            return errno;
        }
        data += written;
        size -= size_t(written);
    }
    return 0;
}

// A scratch file: named beside the file it is to replace, nameless otherwise, so that not even
// a killed run leaves it behind.
class ScratchFile {
public:
    // `mode`: the permissions the output is to have, or -1 for those of a plain new file.
    ScratchFile(const std::filesystem::path& folder, bool named, int mode) {
        // Content held for standard output, a device or a pipe lives in memory: a file in the
        // temporary folder would be written to disk only to be read back and dropped.
        if (!named) {
            descriptor_ = memfd_create("metamodel-output", MFD_CLOEXEC);
            if (descriptor_ >= 0)
                return;
        }
        const std::string pattern = (folder / ".metamodel-XXXXXX").string();
        char* const kept = removal_.name(pattern);
        if (!kept) {
            error_ = ENAMETOOLONG;
            return;
        }
        descriptor_ = mkostemp(kept, O_CLOEXEC);
        if (descriptor_ < 0) {
            error_ = errno;
            removal_.forget();
            return;
        }
        path_ = kept;
        if (!named) {
            unlink(path_.c_str());
            removal_.forget();
            return;
        }
        ours_ = true;
        // It becomes the output: give it the mode of the file it replaces, or the one a plain
        // new file would get.
        if (mode < 0) {
            const mode_t mask = umask(0);
            umask(mask);
            mode = int(0666 & ~mask);
        }
        fchmod(descriptor_, mode_t(mode));
    }
    ~ScratchFile() {
        if (descriptor_ >= 0)
            close(descriptor_);
        if (ours_) {
            unlink(path_.c_str());
            removal_.forget();
        }
    }
    ScratchFile(const ScratchFile&) = delete;
    ScratchFile& operator=(const ScratchFile&) = delete;

    int error() const { return error_; }
    int descriptor() const { return descriptor_; }
    const std::string& path() const { return path_; }
    // Syncs and closes it; answers 0 or the system's error.
    int commit() {
        int error = fsync(descriptor_) == 0 ? 0 : errno;
        if (close(descriptor_) != 0 && error == 0)
            error = errno;
        descriptor_ = -1;
        return error;
    }
    // Once renamed, the name is the output's and no longer ours to remove.
    void renamed() {
        removal_.forget();
        ours_ = false;
    }

private:
    RemoveOnInterruption removal_;
    // A named scratch file that is still ours to remove.
    bool ours_ = false;
    int descriptor_ = -1;
    int error_ = 0;
    std::string path_;
};

// The library's sinks write through stdio and do not look at the outcome, so they are given
// a pipe, and this copies from it to the real destination with every write checked.
class CheckedCopy {
public:
    explicit CheckedCopy(int destination) : destination_(destination) {
        if (pipe2(pipe_, O_CLOEXEC) != 0) {
            error_ = errno;
            return;
        }
        // A roomy pipe lets the writer run on without waking the copy for every few pages;
        // where the system grants less, the default serves as well, only slower.
        fcntl(pipe_[1], F_SETPIPE_SZ, int(bufferSize));
        worker_ = std::thread([this] { run(); });
    }
    ~CheckedCopy() { finish(); }
    CheckedCopy(const CheckedCopy&) = delete;
    CheckedCopy& operator=(const CheckedCopy&) = delete;

    int error() const { return error_; }
    std::string path() const { return "/dev/fd/" + std::to_string(pipe_[1]); }
    // Waits until all that was written has arrived; answers 0 or the first error.
    int finish() {
        if (pipe_[1] >= 0)
            close(pipe_[1]);
        pipe_[1] = -1;
        if (worker_.joinable())
            worker_.join();
        if (pipe_[0] >= 0)
            close(pipe_[0]);
        pipe_[0] = -1;
        return error_;
    }

private:
    static constexpr size_t bufferSize = 1 << 20;

    void run() {
        std::vector<char> buffer(bufferSize);
        for (;;) {
            const ssize_t count = read(pipe_[0], buffer.data(), buffer.size());
            if (count < 0 && errno == EINTR)
                continue;
            if (count <= 0) {
                if (count < 0 && error_ == 0)
                    error_ = errno;
                return;
            }
            // After a failure the rest is drained all the same, so that the writer never blocks.
            if (error_ == 0)
                error_ = writeAll(destination_, buffer.data(), size_t(count));
        }
    }

    int destination_;
    int pipe_[2] = {-1, -1};
    int error_ = 0;
    std::thread worker_;
};

int failed(const std::string& what, int error) {
    return reportWriteFailure(what, std::strerror(error));
}

// Syncing a pipe, a terminal or a device means nothing; only a real failure counts.
int syncError(int descriptor) {
    return fsync(descriptor) == 0 || errno == EINVAL ? 0 : errno;
}

int replaceFile(ScratchFile& scratch, const std::filesystem::path& destination,
                const std::string& shown) {
    if (const int error = scratch.commit())
        return failed(shown, error);
    if (rename(scratch.path().c_str(), destination.c_str()) != 0)
        return failed(shown, errno);
    scratch.renamed();
    // The rename survives a power cut only once the folder is synced.
    const std::string folder = destination.parent_path().string();
    const int descriptor = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0)
        return failed(folder, errno);
    const int error = syncError(descriptor);
    close(descriptor);
    return error ? failed(folder, error) : exitSuccess;
}

// An output that cannot be opened is told with the id of the sink that writes it, where it
// has one; a failure on the way, with the system's reason.
int cannotOpen(const char* openFailureId, const std::string& output, int error) {
    if (!openFailureId)
        return failed(output, error);
    CppLanguage::report(ORLO_HERE, openFailureId,
                        {{"FILE", output}, {"REASON", std::strerror(error)}});
    return exitFailure;
}

int copyOut(int from, const std::string& output, const std::string& shown,
            const char* openFailureId) {
    const bool toStandardOutput = output == "-";
    if (toStandardOutput && std::fflush(stdout) != 0)
        return failed(shown, errno);
    const int target = toStandardOutput
                           ? dup(STDOUT_FILENO)
                           : open(output.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (target < 0)
        return toStandardOutput ? failed(shown, errno) : cannotOpen(openFailureId, output, errno);
    int error = lseek(from, 0, SEEK_SET) == 0 ? 0 : errno;
    std::vector<char> buffer(1 << 16);
    while (error == 0) {
        const ssize_t count = read(from, buffer.data(), buffer.size());
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0) {
            error = count < 0 ? errno : 0;
            break;
        }
        error = writeAll(target, buffer.data(), size_t(count));
    }
    if (error == 0)
        error = syncError(target);
    // Some file systems report a failed write only when the file is closed.
    if (close(target) != 0 && error == 0)
        error = errno;
    return error ? failed(shown, error) : exitSuccess;
}

} // namespace

int reportWriteFailure(const std::string& what, const char* reason) {
    CppLanguage::report(ORLO_HERE, "FILEOP_CANNOT_WRITE", {{"FILE", what}, {"REASON", reason}});
    return exitFailure;
}

int writeOutputWhole(const std::string& output,
                     const std::function<bool(const std::string& target)>& write,
                     const char* openFailureId) {
    const bool toStandardOutput = output == "-";
    const std::string shown = toStandardOutput ? "standard output" : output;
    // Only a plain file, or one still to be made, is replaced by a rename; through a link the
    // file it names is, and the link stays. A device or a pipe gets the content once complete,
    // as standard output does.
    std::filesystem::path destination = std::filesystem::absolute(output);
    bool replaced = false;
    int mode = -1;
    if (!toStandardOutput) {
        std::error_code ignored;
        const auto status = std::filesystem::status(output, ignored);
        if (std::filesystem::is_regular_file(status)) {
            // A rename would replace a file that its owner keeps from being written, and give
            // it the permissions of a new one.
            if (access(output.c_str(), W_OK) != 0)
                return cannotOpen(openFailureId, shown, errno);
            struct stat existing {};
            if (stat(output.c_str(), &existing) == 0)
                mode = int(existing.st_mode & 07777);
            replaced = true;
            if (auto resolved = std::filesystem::canonical(output, ignored); !ignored)
                destination = resolved;
        } else {
            replaced =
                !std::filesystem::exists(status) &&
                !std::filesystem::is_symlink(std::filesystem::symlink_status(output, ignored));
        }
    }
    std::error_code noTemporaryFolder;
    std::filesystem::path folder = replaced
                                       ? destination.parent_path()
                                       : std::filesystem::temp_directory_path(noTemporaryFolder);
    if (noTemporaryFolder)
        folder = "/tmp";
    // Until the content is complete, a failure lies with the folder that holds it.
    const std::string holder = replaced ? shown : folder.string();
    const InterruptionGuard signals(true);
    ScratchFile scratch(folder, replaced, mode);
    // The scratch file beside the output stands for it: where it cannot be made, the output
    // cannot be opened.
    if (scratch.error())
        return replaced ? cannotOpen(openFailureId, shown, scratch.error())
                        : failed(holder, scratch.error());
    CheckedCopy copy(scratch.descriptor());
    if (copy.error())
        return failed(holder, copy.error());
    const bool written = write(copy.path());
    const int copyError = copy.finish();
    if (!written)
        return exitFailure;
    if (copyError)
        return failed(holder, copyError);
    return replaced ? replaceFile(scratch, destination, shown)
                    : copyOut(scratch.descriptor(), output, shown, openFailureId);
}

int writeTextWhole(const std::string& output, std::string_view text) {
    return writeOutputWhole(output, [&](const std::string& target) {
        const int descriptor = open(target.c_str(), O_WRONLY | O_CLOEXEC);
        int error = descriptor < 0 ? errno : writeAll(descriptor, text.data(), text.size());
        if (descriptor >= 0 && close(descriptor) != 0 && error == 0)
            error = errno;
        if (error)
            failed(output == "-" ? "standard output" : output, error);
        return error == 0;
    });
}

OutputIdentity::OutputIdentity(const std::string& output) : output_(output) {
    // Only a plain file can be an input; a device such as /dev/null may be both at no harm.
    struct stat status {};
    if (output != "-" && stat(output.c_str(), &status) == 0 && S_ISREG(status.st_mode)) {
        exists_ = true;
        device_ = status.st_dev;
        inode_ = status.st_ino;
    }
}

bool OutputIdentity::isInput(const std::string& input) const {
    struct stat status {};
    if (!exists_ || stat(input.c_str(), &status) != 0 || status.st_dev != device_ ||
        status.st_ino != inode_)
        return false;
    CppLanguage::report(ORLO_HERE, "FILEOP_OUTPUT_IS_INPUT", {{"FILE", output_}, {"INPUT", input}});
    return true;
}

bool OutputIdentity::isOpenInput() const {
    if (!exists_)
        return false;
    // Standard input, output and error are the caller's redirections, not inputs read.
    std::error_code ignored;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd", ignored)) {
        const std::string name = entry.path().filename().string();
        if (name == "0" || name == "1" || name == "2")
            continue;
        const std::filesystem::path file = std::filesystem::read_symlink(entry.path(), ignored);
        if (!ignored && isInput(file.string()))
            return true;
    }
    return false;
}

} // namespace Cli
