#include "metamodel/operations/transferoperation.h"

#include "metamodel/operations/advancereading.h"
#include "metamodel/repository/dbmetamodelevents.h"
#include "metamodel/stream/eventlog.h"
#include "platform/database/uniqueconnection.h"
#include "platform/messages.h"

namespace MetaModel {

namespace {

void transfer(const ConnectionOpener& openConnection, const std::vector<std::string>& paths,
              const PassObserver& passObserver, const RowObserver& rowObserver) {
    // The second reading is only kept, as it goes, while the first one validates the set: it
    // runs beside it, and the repository hears it, documents and all, once the set has
    // passed. Declared before the reading that fills it, so that it is gone after it.
    CEventLog secondReading;
    AdvanceReading reading(paths, secondReading, 2, {},
                           [&secondReading](const String& path, size_t number, size_t count) {
                               secondReading.Mark(path, number, count);
                           });

    // A faulty set throws at the End of this pass, before the repository sink exists: not a
    // single row of the repository is touched then.
    readValidating(paths, passObserver);
    reading.Finish();

    IUniqueConnection& connection = openConnection();
    String schema;
    connection.GetSettings()->GetValue(IUniqueConnection::SchemaSetting, schema, 0, false);
    CDBMetaModelEvents repository(connection.GetHandle(), schema);
    repository.SetRowObserver(rowObserver);
    secondReading.Replay(repository, [&](const String& path, size_t number, size_t count) {
        if (passObserver)
            passObserver(2, path, number, count);
    });
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
