#pragma once

#include "metamodel/operations/operationreading.h"

#include <string>
#include <vector>

namespace MetaModel {

// Checks the installation's and extension roots plus `paths` (documents ending in
// "MetaModel.xml", other paths root folders): the stream validation, then the model built in
// a second reading and judged as a whole. Every fault is reported; answers whether none was
// found.
bool CheckMetaModelFromXML(const std::vector<std::string>& paths);
bool CheckMetaModelFromXML(const std::vector<std::string>& paths, const PassObserver& observer);

} // namespace MetaModel
