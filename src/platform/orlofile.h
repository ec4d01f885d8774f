#pragma once

#include "cpplanguage/orlostring.h"

#include <memory>
#include <vector>

namespace ORLO {

class File;

class IFileFilter {
public:
    virtual ~IFileFilter() = default;
    virtual bool accept(const File& entry) const = 0;
    static IFileFilter& getMatchAllFileFilter();
};

// A path; it never holds the file open.
class File {
public:
    File(const String& path);
    ~File() = default;

    bool exists() const;
    bool isFile() const;
    bool isDirectory() const;
    String getAbsolutePath() const;
    String getParent() const;
    String getBaseName() const;
    const String& getPath() const { return path_; }

    // Appends the direct children that pass the filter, in name order; a folder that cannot
    // be listed adds nothing. A listed entry answers isFile and isDirectory as the listing
    // found it, without asking the disk again.
    bool listFiles(std::vector<File>& entries, IFileFilter& filter, bool recursive) const;

private:
    enum class Kind : unsigned char { Unknown, Regular, Directory, Other };
    File(const String& path, Kind kind) : path_(path), kind_(kind) {}

    String path_;
    Kind kind_ = Kind::Unknown;
};

class IFileWriter {
public:
    virtual ~IFileWriter() = default;
    virtual bool open() = 0;
    virtual void close() = 0;
    virtual bool isOpen() const = 0;
    virtual bool write(const String& text, int length = -1) = 0;
};

class IFileReader {
public:
    virtual ~IFileReader() = default;
    virtual bool open() = 0;
    virtual bool readAll(String& content) = 0;
};

class FileIOHelper {
public:
    // Neither touches the disk before open(). A writer's open truncates.
    static std::unique_ptr<IFileWriter> getWriter(const String& path);
    static std::unique_ptr<IFileReader> getReader(const String& path);
};

class ICollator {
public:
    virtual ~ICollator() = default;
    virtual bool equals(const String& a, const String& b) const = 0;
};

class CollatorFactory {
public:
    // Linux file systems compare names byte for byte, so the flag changes nothing here.
    static ICollator& getFileSystemCollator(bool);
};

// The platform's path separator, and whether a character separates path pieces on input.
constexpr char PathSeparator = '/';
inline bool isPathSeparator(char c) {
    return c == '/' || c == '\\';
}
// The path with the platform's separator wherever the input used either.
inline std::string withPlatformSeparators(std::string path) {
    for (char& c : path)
        if (isPathSeparator(c))
            c = PathSeparator;
    return path;
}

} // namespace ORLO

int ORLO_mkdir(const char* path);
