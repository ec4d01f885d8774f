#pragma once

#include "metamodel/operations/checkoperation.h"

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

class IUniqueConnection;

namespace MetaModel {

// Told, now and then while the documents are written, how many rows have been handed to the
// repository so far.
using RowObserver = std::function<void(size_t rows)>;

// Loads the installation's and extension roots plus `paths` (documents ending in
// "MetaModel.xml", other paths root folders) into the repository behind the connection, in
// the schema of its setting "27". The documents are read twice: once through the stream
// validation, and only when that passed, into the repository. Answers 0 on success and 1 on
// failure; every failure is posted as a message, none leaves as an exception.
int TransferMetaModelFromXmlToDb(IUniqueConnection* connection,
                                 const std::vector<std::string>& paths);
int TransferMetaModelFromXmlToDb(IUniqueConnection* connection,
                                 const std::vector<std::string>& paths,
                                 const PassObserver& passObserver, const RowObserver& rowObserver);

// Gives the connection to write into; called once the set has passed, so that a set that
// fails leaves the database unopened. May throw as the connection's constructor does.
using ConnectionOpener = std::function<IUniqueConnection&()>;
// The same with the connection opened only after the check.
int TransferMetaModelFromXmlToDb(const ConnectionOpener& openConnection,
                                 const std::vector<std::string>& paths,
                                 const PassObserver& passObserver, const RowObserver& rowObserver);

} // namespace MetaModel
