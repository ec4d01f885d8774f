#pragma once

#include <string>

namespace TestSupport {

// Writes a valid document set of `documents` documents into `folder`
// (partNNNN/MetaModel.xml), every name starting with `prefix`: per document a category and a
// type with `properties` properties each, two attributes to a property, category and type
// inheritance and a tree link, so that every repository table gets rows from every document.
// Answers the folder.
std::string writeGeneratedSet(const std::string& folder, const std::string& prefix, int documents,
                              int properties);

} // namespace TestSupport
