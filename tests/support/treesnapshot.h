#pragma once

#include <map>
#include <string>
#include <string_view>

namespace TestSupport {

// What a folder holds: each relative path with the content of its file, or "<dir>" for a
// folder. Missing folder: nothing.
using Tree = std::map<std::string, std::string>;

Tree treeOf(const std::string& folder);
// A tree written as "a/b=text c/": blank-separated entries, a folder ending in '/'.
Tree parseTree(std::string_view text);
// Makes what `tree` says under `folder`.
void plantTree(const std::string& folder, const Tree& tree);

} // namespace TestSupport
