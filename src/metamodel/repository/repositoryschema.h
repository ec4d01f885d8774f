#pragma once

#include "cpplanguage/orlostring.h"

namespace MetaModel {

// Creates, in the connection's schema, what the repository writer and reader need: the schema
// itself when the connection names one, the eleven final and eleven work tables, and the
// procedures METAMODEL_FLUSHDATA, CAT_BUILD_DEPENDENCIES and FINAL_METAMODEL. What is there
// already stays (tables and their rows) or is replaced by the same (procedures), so it can run
// any number of times. A refusal of the server throws CMetaModelEventsException.
void CreateRepository(void* connection);

namespace Repository {

// The texts behind CreateRepository, with the table-prefix marker in them.
// `renameWorkTables` lets the last procedure hand the work tables over as the final ones where
// the server can rename tables inside a transaction.
ORLO::String createTableStatement(int tableIndex, bool workTable);
ORLO::String flushDataBody();
// The derivation of CAT_BUILD_DEPENDENCIES as a query, which any server runs, and as the
// embedded database runs it.
ORLO::String buildDependenciesBody(bool procedural);
ORLO::String embeddedBuildDependenciesBody();
ORLO::String finalMetaModelBody(bool renameWorkTables);

} // namespace Repository

} // namespace MetaModel
