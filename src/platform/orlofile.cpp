#include "platform/orlofile.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <sys/stat.h>

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
    std::string native(path);
    for (char& c : native)
        if (isPathSeparator(c))
            c = PathSeparator;
    return fs::path(native);
}

class StreamWriter : public IFileWriter {
public:
    explicit StreamWriter(String path) : path_(std::move(path)) {}
    ~StreamWriter() override { close(); }

    bool open() override {
        close();
        if (path_ == "-") {
            file_ = stdout;
            borrowed_ = true;
        } else {
            file_ = std::fopen(toNativePath(path_).c_str(), "wb");
            borrowed_ = false;
            // Outputs run to megabytes; stdio's few kilobytes would make a write call of every
            // handful of lines.
            if (file_) {
                if (!buffer_)
                    buffer_ = std::make_unique<char[]>(bufferSize);
                std::setvbuf(file_, buffer_.get(), _IOFBF, bufferSize);
            }
        }
        return file_ != nullptr;
    }
    void close() override {
        if (!file_)
            return;
        if (borrowed_)
            std::fflush(file_);
        else
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
    bool borrowed_ = false;
    std::unique_ptr<char[]> buffer_;
};

class StreamReader : public IFileReader {
public:
    explicit StreamReader(String path) : path_(std::move(path)) {}
    bool open() override {
        stream_.open(toNativePath(path_), std::ios::binary);
        return stream_.is_open();
    }
    bool readAll(String& content) override {
        if (!stream_.is_open())
            return false;
        content.assign(std::istreambuf_iterator<char>(stream_), std::istreambuf_iterator<char>());
        return !stream_.bad();
    }

private:
    String path_;
    std::ifstream stream_;
};

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
    std::error_code ec;
    return fs::is_regular_file(toNativePath(path_), ec);
}

bool File::isDirectory() const {
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
    return String(toNativePath(path_).parent_path().string());
}

String File::getBaseName() const {
    return String(toNativePath(path_).filename().string());
}

bool File::listFiles(std::vector<File>& entries, IFileFilter& filter, bool recursive) const {
    // Directory order on Linux is whatever the file system hashes to; sorting by name makes
    // every read of the same tree play the same stream.
    std::error_code ec;
    std::vector<fs::path> children;
    for (fs::directory_iterator it(toNativePath(path_), ec), end; !ec && it != end;
         it.increment(ec))
        children.push_back(it->path());
    if (ec)
        return false;
    std::sort(children.begin(), children.end());
    for (const fs::path& child : children) {
        File entry{String(child.string())};
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
