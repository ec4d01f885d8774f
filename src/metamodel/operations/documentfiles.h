#pragma once

#include <string>
#include <vector>

namespace MetaModel {

// Whether a path names a single document: its text ends in "MetaModel.xml", byte for byte,
// placeholders and all.
bool namesDocument(const std::string& path);

// All documents at or under a path: absolute paths for what a folder holds, the path as
// given for a single document (which need not exist), nothing otherwise.
std::vector<std::string> getMetaModelFiles(const std::string& path);

} // namespace MetaModel
