#pragma once

#include <map>
#include <string>

namespace TestSupport {

// What a folder holds: each relative path with the content of its file, or "<dir>" for a
// folder. Missing folder: nothing.
using Tree = std::map<std::string, std::string>;

Tree treeOf(const std::string& folder);
// Makes what `tree` says under `folder`.
void plantTree(const std::string& folder, const Tree& tree);

} // namespace TestSupport
