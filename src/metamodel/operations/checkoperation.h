#pragma once

#include "platform/orlostring.h"

#include <functional>
#include <string>
#include <vector>

namespace MetaModel {

// Told before each document of each reading of an operation: the pass (1, 2, ...), the path,
// the document's number counted from 1 and how many the pass reads.
using PassObserver =
    std::function<void(int pass, const ORLO::String& path, size_t number, size_t count)>;

// Checks the installation's and extension roots plus `paths` (documents ending in
// "MetaModel.xml", other paths root folders): the stream validation, then the model built in
// a second reading and judged as a whole. Every fault is reported; answers whether none was
// found.
bool CheckMetaModelFromXML(const std::vector<std::string>& paths);
bool CheckMetaModelFromXML(const std::vector<std::string>& paths, const PassObserver& observer);

} // namespace MetaModel
