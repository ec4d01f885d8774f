#pragma once

#include "metamodel/xml/xmlmetamodelreader.h"

#include <functional>
#include <string>
#include <vector>

namespace MetaModel {

// Told before each document of each reading of an operation: the pass (1, 2, ...), the path,
// the document's number counted from 1 and how many the pass reads.
using PassObserver =
    std::function<void(int pass, const ORLO::String& path, size_t number, size_t count)>;

// Adds an operation's mixed list to a reader: a path ending in "MetaModel.xml" is one
// document, any other a root folder. Given roots come after the built-in ones and given
// documents after all roots, whatever their order here.
void addOperationPaths(CXMLMetaModelReader& reader, const std::vector<std::string>& paths);

// The reader of an operation's set: the installation's roots and the extension's, then
// `paths`; the per-machine and per-user roots are no part of an operation.
class COperationReader : public CXMLMetaModelReader {
public:
    explicit COperationReader(const std::vector<std::string>& paths);
};

// Makes the reader tell `observer` of each document, as pass `pass`; an empty observer
// silences it.
void observePass(CXMLMetaModelReader& reader, int pass, const PassObserver& observer);

// The first reading of an operation: the stream checks over the installation's roots and
// `paths`, told to `observer` as pass 1. A set that fails them throws at its End.
void readValidating(const std::vector<std::string>& paths, const PassObserver& observer);

} // namespace MetaModel
