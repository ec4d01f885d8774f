#include "metamodel/repository/repositoryschema.h"

#include "metamodel/metamodelexceptions.h"
#include "metamodel/repository/concurrentaccess.h"
#include "metamodel/repository/repositoryformat.h"
#include "platform/database/tablink.h"
#include "platform/messages.h"

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

// Every row of the work tables goes to the final tables as it is, repeats included: the rows
// stay in their tables until FINAL_METAMODEL hands the tables over, so there is nothing to
// flush first.
String flushDataBody() {
    return String();
}

// Every category a type reaches through inheritance, as rows with IsCatProp 0 beside the
// direct links, unless such rows are there already (the procedure ran, or the rows came by
// other means). The test for them stands as a one-row table joined first, so that when they
// are there nothing else is even looked at: as a condition beside the others it was tested
// only after the server had gathered every link of the table (a second or more on a large
// set). The ancestors of each category that a type inherits directly are found first, over
// the category links alone and with an index on them, so that the recursion never scans a
// table per step and starts from no category that no type inherits; UNION, not UNION ALL, so
// that a circuit of inheritance still ends. EXCEPT drops what a type already has, whatever
// its IsCatProp. A server whose procedures have a language of their own (`procedural`) skips
// the whole body when the rows are there: making and dropping its scratch tables alone costs
// it tens of milliseconds.
String buildDependenciesBody(bool procedural) {
    const String typeLinks = prefixed("IN_TYPCAT");
    const String derived = "SELECT 1 FROM " + typeLinks + " WHERE IsCatProp = 0";
    const String needed = "(SELECT 1 WHERE NOT EXISTS (" + derived + ")) needed CROSS JOIN ";
    const String body =
        "CREATE TEMPORARY TABLE category_links AS SELECT DISTINCT IdCat, IdCatParent FROM " +
        prefixed("IN_CATCAT") +
        ";\n"
        "CREATE INDEX category_links_by_category ON category_links (IdCat);\n"
        "CREATE TEMPORARY TABLE category_ancestors AS WITH RECURSIVE ancestors(IdCat, "
        "IdAncestor) AS (\n"
        "  SELECT IdCat, IdCatParent FROM " +
        needed + "category_links WHERE IdCat IN (SELECT IdCatParent FROM " + typeLinks +
        " WHERE IsCatProp = 1)\n"
        "  UNION\n"
        "  SELECT ancestors.IdCat, link.IdCatParent FROM ancestors JOIN category_links link ON "
        "link.IdCat = ancestors.IdAncestor)\n"
        "SELECT IdCat, IdAncestor FROM ancestors;\n"
        "CREATE INDEX category_ancestors_by_category ON category_ancestors (IdCat);\n"
        "INSERT INTO " +
        typeLinks +
        " (IdTyp, IdCatParent, IsCatProp, Status)\n"
        "SELECT IdTyp, IdCat, 0, 'ACTIVE' FROM " +
        needed +
        "(\n"
        "  SELECT direct.IdTyp, ancestor.IdAncestor AS IdCat FROM " +
        typeLinks +
        " direct JOIN category_ancestors ancestor ON ancestor.IdCat = direct.IdCatParent "
        "WHERE direct.IsCatProp = 1\n"
        "  EXCEPT\n"
        "  SELECT IdTyp, IdCatParent FROM " +
        typeLinks +
        ") reached;\n"
        "DROP TABLE category_ancestors;\n"
        "DROP TABLE category_links;\n";
    // The work tables were filled a moment ago and have no statistics yet: the planner takes
    // them for large and compiles the query to machine code first, which costs a fifth of the
    // query on a large set.
    const String settings = "SET LOCAL jit = off;\n";
    return procedural ? "IF NOT EXISTS (" + derived + ") THEN\n" + settings + body + "END IF;\n"
                      : body;
}

// The embedded database derives the rows in the program, through a function its connections
// define, with the same outcome as the query above at a fraction of the cost on a deep schema.
String embeddedBuildDependenciesBody() {
    return "SELECT metamodel_build_dependencies('IN_CATCAT', 'IN_TYPCAT');\n";
}

// Where a work table has the final table's very columns, its rows go across whole: with
// `renameWorkTables` the final table is dropped and the work table takes its name, which moves
// no row at all, and an empty work table is made again; otherwise they are copied ("SELECT *",
// which the embedded server copies without decoding them). The other one is matched by column
// name. The server runs the body as one transaction, so a reader sees the old tables or the new.
String finalMetaModelBody(bool renameWorkTables) {
    String body;
    for (size_t index = 0; index < repositoryTables().size(); ++index) {
        const RepositoryTable& table = repositoryTables()[index];
        if (!table.workColumns && renameWorkTables) {
            body += "DROP TABLE " + prefixed(table.finalName) + ";\n";
            body +=
                "ALTER TABLE " + prefixed(table.workName) + " RENAME TO " + table.finalName + ";\n";
            body += createTableStatement(int(index), true) + ";\n";
            continue;
        }
        body += "DELETE FROM " + prefixed(table.finalName) + ";\n";
        if (!table.workColumns) {
            body += "INSERT INTO " + prefixed(table.finalName) + " SELECT * FROM " +
                    prefixed(table.workName) + ";\n";
            continue;
        }
        const String columns = columnNames(table.finalColumns);
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
    // Two set-ups at once, or a set-up beside a transfer, would each make what the other
    // makes: one at a time.
    Repository::CWriterLock lock(connection);
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
    const int serverKind = TABLINK::dbgetconnectiontype(connection, nullptr, nullptr);
    // Both servers rename in one transaction; the others copy.
    const bool renameWorkTables = serverKind == 1 || serverKind == 5;
    const std::pair<const char*, String> procedures[] = {
        {"METAMODEL_FLUSHDATA", Repository::flushDataBody()},
        {"CAT_BUILD_DEPENDENCIES", serverKind == 1
                                       ? Repository::embeddedBuildDependenciesBody()
                                       : Repository::buildDependenciesBody(serverKind == 5)},
        {"FINAL_METAMODEL", Repository::finalMetaModelBody(renameWorkTables)},
    };
    for (const auto& [name, body] : procedures)
        if (!DBConnectivity::defineProc(connection, name, body.c_str()))
            refused(connection, "CREATE PROCEDURE \x0F" + String(name));
    lock.release();
}

} // namespace MetaModel
