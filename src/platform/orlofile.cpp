#include "platform/orlofile.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace ORLO {

namespace {

class MatchAllFilter : public IFileFilter {
public:
    bool accept(const File&) const override { return true; }
};

class ByteCollator : public ICollator {
public:
    bool equals(const String& a, const String& b) const override { return a == b; }
};

// Input paths may use either separator; the file system wants ours.
fs::path toNativePath(const String& path) {
    return fs::path(withPlatformSeparators(path));
}

class StreamWriter : public IFileWriter {
public:
    explicit StreamWriter(String path) : path_(std::move(path)) {}
    ~StreamWriter() override { close(); }

    bool open() override {
        close();
        file_ = std::fopen(toNativePath(path_).c_str(), "wb");
        // Outputs run to megabytes; stdio's few kilobytes would make a write call of every
        // handful of lines.
        if (file_) {
            if (!buffer_)
                buffer_ = std::make_unique<char[]>(bufferSize);
            std::setvbuf(file_, buffer_.get(), _IOFBF, bufferSize);
        }
        return file_ != nullptr;
    }
    void close() override {
        if (!file_)
            return;
        std::fclose(file_);
        file_ = nullptr;
    }
    bool isOpen() const override { return file_ != nullptr; }
    bool write(const String& text, int length) override {
        if (!file_)
            return false;
        const size_t count = length < 0 ? text.size() : std::min(text.size(), size_t(length));
        return std::fwrite(text.data(), 1, count, file_) == count;
    }

private:
    static constexpr size_t bufferSize = 1 << 18;
    String path_;
    std::FILE* file_ = nullptr;
    std::unique_ptr<char[]> buffer_;
};

// Answers every failure, a folder or a read error included, rather than throwing it.
class StreamReader : public IFileReader {
public:
    explicit StreamReader(String path) : path_(std::move(path)) {}
    ~StreamReader() override { close(); }
    bool open() override {
        close();
        descriptor_ = ::open(toNativePath(path_).c_str(), O_RDONLY | O_CLOEXEC);
        struct stat status {};
        if (descriptor_ >= 0 && (::fstat(descriptor_, &status) != 0 || S_ISDIR(status.st_mode)))
            close();
        return descriptor_ >= 0;
    }
    bool readAll(String& content) override {
        if (descriptor_ < 0)
            return false;
        content.clear();
        char block[1 << 16];
        for (;;) {
            const ssize_t got = ::read(descriptor_, block, sizeof block);
            if (got < 0 && errno == EINTR)
                continue;
            if (got <= 0)
                return got == 0;
            content.append(block, size_t(got));
        }
    }

private:
    void close() {
        if (descriptor_ >= 0)
            ::close(descriptor_);
        descriptor_ = -1;
    }
    String path_;
    int descriptor_ = -1;
};

// "a/b/" names the folder "a/b": its last piece is "b" and its parent "a".
fs::path withoutTrailingSeparators(const String& path) {
    fs::path native = toNativePath(path);
    std::string text = native.string();
    while (text.size() > 1 && text.back() == PathSeparator)
        text.pop_back();
    return fs::path(text);
}

} // namespace

IFileFilter& IFileFilter::getMatchAllFileFilter() {
    static MatchAllFilter filter;
    return filter;
}

File::File(const String& path) : path_(path) {}

bool File::exists() const {
    std::error_code ec;
    return fs::exists(toNativePath(path_), ec);
}

bool File::isFile() const {
    if (kind_ != Kind::Unknown)
        return kind_ == Kind::Regular;
    std::error_code ec;
    return fs::is_regular_file(toNativePath(path_), ec);
}

bool File::isDirectory() const {
    if (kind_ != Kind::Unknown)
        return kind_ == Kind::Directory;
    std::error_code ec;
    return fs::is_directory(toNativePath(path_), ec);
}

String File::getAbsolutePath() const {
    std::error_code ec;
    fs::path absolute = fs::absolute(toNativePath(path_), ec);
    if (ec)
        return String(toNativePath(path_).string());
    return String(absolute.lexically_normal().string());
}

String File::getParent() const {
    return String(withoutTrailingSeparators(path_).parent_path().string());
}

String File::getBaseName() const {
    return String(withoutTrailingSeparators(path_).filename().string());
}

bool File::listFiles(std::vector<File>& entries, IFileFilter& filter, bool recursive) const {
    // Directory order on Linux is whatever the file system hashes to; sorting by name makes
    // every read of the same tree play the same stream. The listing's own entry types spare
    // a status query per entry; a link is followed, as isFile and isDirectory follow it.
    std::error_code ec;
    std::vector<std::pair<fs::path, Kind>> listed;
    for (fs::directory_iterator it(toNativePath(path_), ec), end; !ec && it != end;
         it.increment(ec)) {
        std::error_code typeError;
        const Kind kind = it->is_directory(typeError)      ? Kind::Directory
                          : it->is_regular_file(typeError) ? Kind::Regular
                                                           : Kind::Other;
        listed.emplace_back(it->path(), kind);
    }
    if (ec)
        return false;
    std::sort(listed.begin(), listed.end(),
              [](const auto& a, const auto& b) { return a.first < b.first; });
    for (const auto& [path, kind] : listed) {
        const File entry(String(path.string()), kind);
        if (filter.accept(entry))
            entries.push_back(entry);
        if (recursive && entry.isDirectory())
            entry.listFiles(entries, filter, true);
    }
    return true;
}

std::unique_ptr<IFileWriter> FileIOHelper::getWriter(const String& path) {
    return std::make_unique<StreamWriter>(path);
}

std::unique_ptr<IFileReader> FileIOHelper::getReader(const String& path) {
    return std::make_unique<StreamReader>(path);
}

ICollator& CollatorFactory::getFileSystemCollator(bool) {
    static ByteCollator collator;
    return collator;
}

} // namespace ORLO

int ORLO_mkdir(const char* path) {
    return ::mkdir(path, 0777);
}
