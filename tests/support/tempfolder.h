#pragma once

#include <filesystem>
#include <string>

namespace TestSupport {

// A fresh folder under the temporary directory, removed with everything in it at the end.
class TempFolder {
public:
    TempFolder();
    ~TempFolder();
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    const std::filesystem::path& path() const { return path_; }
    // Writes `content` to the relative path, creating folders; answers the full path.
    std::string write(const std::string& relative, const std::string& content) const;
    std::string file(const std::string& relative) const { return (path_ / relative).string(); }

private:
    std::filesystem::path path_;
};

std::string readFile(const std::string& path);

} // namespace TestSupport
