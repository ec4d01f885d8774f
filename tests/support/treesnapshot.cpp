#include "support/treesnapshot.h"

#include "support/tempfolder.h"

#include <filesystem>
#include <fstream>
#include <sstream>

namespace TestSupport {

namespace fs = std::filesystem;

Tree treeOf(const std::string& folder) {
    Tree tree;
    std::error_code error;
    for (fs::recursive_directory_iterator it(folder, error), end; !error && it != end;
         it.increment(error)) {
        const std::string relative = fs::relative(it->path(), folder).string();
        tree[relative] = it->is_directory() ? "<dir>" : readFile(it->path().string());
    }
    return tree;
}

Tree parseTree(std::string_view text) {
    Tree tree;
    std::istringstream entries{std::string(text)};
    for (std::string entry; entries >> entry;) {
        const size_t equals = entry.find('=');
        if (equals != std::string::npos)
            tree[entry.substr(0, equals)] = entry.substr(equals + 1);
        else
            tree[entry.substr(0, entry.size() - 1)] = "<dir>";
    }
    return tree;
}

void plantTree(const std::string& folder, const Tree& tree) {
    for (const auto& [relative, content] : tree) {
        const fs::path target = fs::path(folder) / relative;
        if (content == "<dir>") {
            fs::create_directories(target);
            continue;
        }
        fs::create_directories(target.parent_path());
        std::ofstream(target, std::ios::binary) << content;
    }
}

} // namespace TestSupport
