#include "metamodel/operations/transferoperation.h"

#include "metamodel/operations/operationreading.h"
#include "metamodel/repository/concurrentaccess.h"
#include "metamodel/repository/dbmetamodelevents.h"
#include "platform/database/uniqueconnection.h"
#include "platform/messages.h"

namespace MetaModel {

namespace {

void transfer(const ConnectionOpener& openConnection, const std::vector<std::string>& paths,
              const PassObserver& passObserver, const RowObserver& rowObserver) {
    // A faulty set throws at the End of this pass, before the repository sink exists: not a
    // single row of the repository is touched then.
    readValidating(paths, passObserver);

    IUniqueConnection& connection = openConnection();
    String schema;
    connection.GetSettings()->GetValue(IUniqueConnection::SchemaSetting, schema, 0, false);
    // A second transfer into the same repository waits until this one has handed its work
    // tables over.
    Repository::CWriterLock lock(connection.GetHandle());
    {
        CDBMetaModelEvents repository(connection.GetHandle(), schema);
        repository.SetRowObserver(rowObserver);
        // Parsed again only now, beside the repository's work rather than beside the checks:
        // the parsing runs ahead on the other cores while this thread writes the rows, and the
        // checks had every core to themselves.
        COperationReader reader(paths);
        reader.SetEvents(&repository);
        observePass(reader, 2, passObserver);
        reader.Read();
    }
    lock.release();
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
    return TransferMetaModelFromXmlToDb(
        [connection]() -> IUniqueConnection& { return *connection; }, paths, passObserver,
        rowObserver);
}

int TransferMetaModelFromXmlToDb(const ConnectionOpener& openConnection,
                                 const std::vector<std::string>& paths,
                                 const PassObserver& passObserver, const RowObserver& rowObserver) {
    try {
        transfer(openConnection, paths, passObserver, rowObserver);
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
