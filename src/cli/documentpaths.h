#pragma once

#include "metamodel/xml/xmlmetamodelreader.h"
#include "platform/appdatamanager.h"

#include <string>
#include <vector>

namespace Cli {

// Every command that reads documents reads the set of MetaModel::COperationReader, so that one
// set of arguments means one set of documents whatever the command.

// The PATH as the reader opens it: its placeholder resolved, with the platform's separators.
std::string resolvedPath(const std::string& path);

// Reports every PATH that is neither a document nor an existing folder; answers whether
// there was none.
bool documentPathsExist(const std::vector<std::string>& paths);

// documentPathsExist, then a listing of the whole set ahead of the reader, which passes by
// what it cannot list or open: reports every folder or document that cannot be read and
// every document reached twice, and warns of a PATH folder that holds no document. Answers
// whether the set can be read as named. `withInstallation` false leaves the installation's
// folders out, for a command that reads the PATHs alone.
bool documentPathsReadable(const std::vector<std::string>& paths, bool withInstallation = true);

// Reports every folder option that names no folder; answers whether there was none.
bool folderOptionsExist(const AppDataManager::AppDataOverrides& folders);

} // namespace Cli
