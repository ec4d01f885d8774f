#include "metamodel/operations/transferoperation.h"

#include "cpplanguage/messages.h"
#include "metamodel/repository/dbmetamodelevents.h"
#include "metamodel/validation/validationmetamodelevents.h"
#include "metamodel/xml/xmlmetamodelreader.h"
#include "platform/database/uniqueconnection.h"

namespace MetaModel {

namespace {

void transfer(IUniqueConnection& connection, const std::vector<std::string>& paths,
              const PassObserver& passObserver, const RowObserver& rowObserver) {
    String schema;
    connection.GetSettings()->GetValue(IUniqueConnection::SchemaSetting, schema, 0, false);
    // Declared in this order so that they go in the reverse one: the repository sink first,
    // the reader last.
    CXMLMetaModelReader reader(true, false);
    addOperationPaths(reader, paths);
    CValidationMetaModelEvents validation(true);
    reader.SetEvents(&validation);
    observePass(reader, 1, passObserver);
    // A faulty set throws at the End of this pass, before the repository sink exists: not a
    // single row of the repository is touched then.
    reader.Read();

    CDBMetaModelEvents repository(connection.GetHandle(), schema);
    repository.SetRowObserver(rowObserver);
    reader.SetEvents(&repository);
    observePass(reader, 2, passObserver);
    reader.Read();
}

} // namespace

int TransferMetaModelFromXmlToDb(IUniqueConnection* connection,
                                 const std::vector<std::string>& paths) {
    return TransferMetaModelFromXmlToDb(connection, paths, {}, {});
}

int TransferMetaModelFromXmlToDb(IUniqueConnection* connection,
                                 const std::vector<std::string>& paths,
                                 const PassObserver& passObserver, const RowObserver& rowObserver) {
    if (!connection) {
        CppLanguage::report(ORLO_HERE, "QEL_NULL_PTR", {{"NULL_ARG", "connection"}});
        return 1;
    }
    try {
        transfer(*connection, paths, passObserver, rowObserver);
        return 0;
    } catch (const CppLanguage::CRuntimeException& failure) {
        CppLanguage::reportException(failure);
        CppLanguage::report(ORLO_HERE, "QEL_MM_XML2DB_ERR");
    } catch (...) {
        CppLanguage::report(ORLO_HERE, "QEL_MM_XML2DB_ERR");
    }
    return 1;
}

} // namespace MetaModel
