#include "metamodel/repository/concurrentaccess.h"

#include "metamodel/metamodelexceptions.h"
#include "metamodel/repository/repositoryformat.h"
#include "platform/database/tablink.h"
#include "platform/messages.h"

#include <array>
#include <utility>

namespace MetaModel::Repository {

namespace {

[[noreturn]] void refused(void* connection, const char* what) {
    CppLanguage::raise<CMetaModelEventsException>(
        ORLO_HERE, "QEL_DB_REQ_ERR",
        {{"QUERY", what}, {"CAUSE", TABLINK::dblasterror(connection)}});
}

} // namespace

CWriterLock::CWriterLock(void* connection) : connection_(connection) {
    if (!TABLINK::dblockwriters(connection_))
        refused(connection_, "lock the repository against other writers");
}

CWriterLock::~CWriterLock() {
    if (connection_)
        TABLINK::dbunlockwriters(connection_);
}

void CWriterLock::release() {
    void* const connection = std::exchange(connection_, nullptr);
    if (connection && !TABLINK::dbunlockwriters(connection))
        refused(connection, "unlock the repository for other writers");
}

CConsistentRead::CConsistentRead(void* connection) : connection_(connection) {
    std::array<String, TableCount> names;
    std::array<const char*, TableCount> tables{};
    // In the order of the tables, which is the order in which a transfer takes them.
    for (size_t index = 0; index < names.size(); ++index) {
        names[index] = String("\x0F") + repositoryTables()[index].finalName;
        tables[index] = names[index].c_str();
    }
    const int held = TABLINK::dbbeginread(connection_, tables.data(), int(tables.size()));
    if (held < 0)
        CppLanguage::raise<CMetaModelReaderException>(
            ORLO_HERE, "QEL_DB_REQ_ERR",
            {{"QUERY", "hold the repository tables at one moment"},
             {"CAUSE", TABLINK::dblasterror(connection_)}});
    held_ = held > 0;
}

CConsistentRead::~CConsistentRead() {
    if (held_)
        TABLINK::dbendread(connection_);
}

} // namespace MetaModel::Repository
