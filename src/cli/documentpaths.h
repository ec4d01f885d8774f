#pragma once

#include "metamodel/xml/xmlmetamodelreader.h"

#include <string>
#include <vector>

namespace Cli {

// Adds the command line's PATHs to a reader that already holds the built-in roots: a PATH
// ending in MetaModel.xml is one document, any other a root folder. A folder that is not
// there is reported, since reading it would silently add nothing; answers whether all were.
bool addDocumentPaths(MetaModel::CXMLMetaModelReader& reader,
                      const std::vector<std::string>& paths);

// Reports every PATH that is neither a document nor an existing folder; answers whether
// there was none, for commands that hand the PATHs to an operation.
bool documentPathsExist(const std::vector<std::string>& paths);

} // namespace Cli
