#include "metamodel/repository/repositoryschema.h"

#include "cpplanguage/messages.h"
#include "metamodel/metamodelexceptions.h"
#include "metamodel/repository/repositoryformat.h"
#include "platform/database/tablink.h"

#include <vector>

namespace MetaModel {

namespace Repository {

namespace {

constexpr char marker = '\x0F';

String prefixed(const char* table) {
    return String(marker, 1) + table;
}

// "IdCat integer NOT NULL, CatNam text" gives "IdCat, CatNam".
String columnNames(const char* definitions) {
    String names;
    String all(definitions);
    for (size_t start = 0; start < all.size();) {
        size_t end = all.find(',', start);
        if (end == String::npos)
            end = all.size();
        size_t first = all.find_first_not_of(' ', start);
        const size_t last = all.find(' ', first);
        if (!names.empty())
            names += ", ";
        names += all.substr(first, std::min(last, end) - first);
        start = end + 1;
    }
    return names;
}

} // namespace

String createTableStatement(int tableIndex, bool workTable) {
    const RepositoryTable& table = repositoryTables()[size_t(tableIndex)];
    return "CREATE TABLE IF NOT EXISTS " + prefixed(workTable ? table.workName : table.finalName) +
           " (" + (workTable ? table.workTableColumns() : table.finalColumns) + ")";
}

// Exact duplicates arise from repeated declarations in the documents; they are dropped here,
// with NULLs counting as equal, which is what DISTINCT does on both servers.
String flushDataBody() {
    String body;
    for (const RepositoryTable& table : repositoryTables()) {
        const String work = prefixed(table.workName);
        body += "CREATE TEMPORARY TABLE flushed_rows AS SELECT DISTINCT * FROM " + work + ";\n";
        body += "DELETE FROM " + work + ";\n";
        body += "INSERT INTO " + work + " SELECT * FROM flushed_rows;\n";
        body += "DROP TABLE flushed_rows;\n";
    }
    return body;
}

// Every category a type reaches through inheritance, as rows with IsCatProp 0 beside the
// direct links; UNION, not UNION ALL, so that a circuit of inheritance still ends.
String buildDependenciesBody() {
    const String typeLinks = prefixed("IN_TYPCAT");
    return "WITH RECURSIVE reached(IdTyp, IdCat) AS (\n"
           "  SELECT IdTyp, IdCatParent FROM " +
           typeLinks +
           " WHERE IsCatProp = 1\n"
           "  UNION\n"
           "  SELECT reached.IdTyp, link.IdCatParent FROM reached JOIN " +
           prefixed("IN_CATCAT") +
           " link ON link.IdCat = reached.IdCat)\n"
           "INSERT INTO " +
           typeLinks +
           " (IdTyp, IdCatParent, IsCatProp, Status)\n"
           "SELECT IdTyp, IdCat, 0, 'ACTIVE' FROM reached WHERE NOT EXISTS (SELECT 1 FROM " +
           typeLinks +
           " known WHERE known.IdTyp = reached.IdTyp AND known.IdCatParent = reached.IdCat);\n";
}

String finalMetaModelBody() {
    String body;
    for (const RepositoryTable& table : repositoryTables()) {
        const String columns = columnNames(table.finalColumns);
        body += "DELETE FROM " + prefixed(table.finalName) + ";\n";
        body += "INSERT INTO " + prefixed(table.finalName) + " (" + columns + ") SELECT " +
                columns + " FROM " + prefixed(table.workName) + ";\n";
    }
    return body;
}

} // namespace Repository

namespace {

// The statement as the connection runs it, for the message.
String expanded(void* connection, const String& statement) {
    std::vector<char> buffer(statement.size() * 2 + 512);
    TABLINK::SQLExecuter::formatQuery(buffer.data(), int(buffer.size()), statement.c_str(),
                                      connection);
    return String(buffer.data());
}

[[noreturn]] void refused(void* connection, const String& statement) {
    CppLanguage::raise<CMetaModelEventsException>(
        ORLO_HERE, "QEL_DB_REQ_ERR",
        {{"QUERY", expanded(connection, statement)}, {"CAUSE", TABLINK::dblasterror(connection)}});
}

} // namespace

void CreateRepository(void* connection) {
    using TABLINK::DBConnectivity;
    if (!DBConnectivity::createRepository(connection)) {
        String schema;
        TABLINK::dbgetrepositoryname(connection, schema, nullptr, nullptr);
        refused(connection, "CREATE SCHEMA IF NOT EXISTS " + schema);
    }
    // All tables in one transaction; only when that is refused, one by one to find the
    // statement to blame (each leaves what is there, so running it again does no harm).
    String script;
    for (int index = 0; index < Repository::TableCount; ++index)
        for (const bool work : {false, true})
            script += Repository::createTableStatement(index, work) + ";\n";
    if (!DBConnectivity::executeScript(connection, script.c_str())) {
        for (int index = 0; index < Repository::TableCount; ++index)
            for (const bool work : {false, true}) {
                const String statement = Repository::createTableStatement(index, work);
                if (!DBConnectivity::executeScript(connection, statement.c_str()))
                    refused(connection, statement);
            }
        refused(connection, script);
    }
    const std::pair<const char*, String> procedures[] = {
        {"METAMODEL_FLUSHDATA", Repository::flushDataBody()},
        {"CAT_BUILD_DEPENDENCIES", Repository::buildDependenciesBody()},
        {"FINAL_METAMODEL", Repository::finalMetaModelBody()},
    };
    for (const auto& [name, body] : procedures)
        if (!DBConnectivity::defineProc(connection, name, body.c_str()))
            refused(connection, "CREATE PROCEDURE \x0F" + String(name));
}

} // namespace MetaModel
