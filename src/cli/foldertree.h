#pragma once

#include "metamodel/wrappers/wrappergenerator.h"

#include <map>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>

namespace Cli {

// What a folder holds below it: its regular files and its folders, by path relative to it.
// `plain` is false when the walk met anything else (a link, a device, a socket) or could not
// list a folder: such a tree cannot be judged from its listing. A top that does not exist
// gives an empty, plain tree.
struct FolderTree {
    std::set<std::string> files;
    std::set<std::string> folders;
    bool plain = true;
};

FolderTree listFolderTree(const std::string& top);

// Follows the texts of a rendering through the files of a listed folder, piece by piece, and
// tells which files would change. Neither tree is held whole in memory: each file is read once
// into one buffer, and only a file that receives a second piece is kept.
class TreeComparison : public MetaModel::WrapperGenerator::RenderTarget {
public:
    TreeComparison(const std::string& top, const FolderTree& listing);
    ~TreeComparison() override;
    TreeComparison(const TreeComparison&) = delete;
    TreeComparison& operator=(const TreeComparison&) = delete;

    void folder(const std::string& path) override;
    void text(const std::string& path, std::string_view text) override;

    // False when a listed file could not be read: then the answers below say nothing.
    bool complete() const { return complete_; }
    // "new", "changed" or "gone" by path, for each file that a run would change.
    std::map<std::string, const char*> changes() const;
    // Whether every folder of the rendering is there; the generator makes missing ones, even
    // empty ones.
    bool foldersPresent() const;

private:
    struct File {
        bool present = false;
        bool differs = false;
        size_t size = 0;
        size_t length = 0;
        // The file's bytes, once a second piece comes for it.
        std::string kept;
        bool isKept = false;
    };
    bool readFile(const std::string& path, std::string& content);

    const FolderTree& listing_;
    int top_ = -1;
    bool complete_ = true;
    std::string buffer_;
    std::unordered_map<std::string, File> files_;
    std::set<std::string> folders_;
};

} // namespace Cli
