#include "metamodel/repository/dbmetamodelevents.h"

#include "metamodel/metamodelexceptions.h"
#include "platform/database/tablink.h"
#include "platform/messages.h"

namespace MetaModel {

namespace {

using namespace Repository;

constexpr int blockSize = 1000;
// The buffer the statements are expanded into: one byte for the terminating zero.
constexpr int statementBufferSize = 257;
constexpr int integerType = IntegerTypeId;
constexpr int stringType = StringTypeId;
constexpr int inheritedDirectly = 1;

template <class T, class Visit> void forEach(const Collections::List<T>& list, Visit visit) {
    for (Collections::ICursor<T>* cursor = list.first(); cursor; cursor = list.next(cursor))
        visit(static_cast<const Collections::ListNode<T>*>(cursor)->data);
}

std::string linkKey(char list, std::initializer_list<const String*> fields) {
    std::string key(1, list);
    for (const String* field : fields) {
        key += '\0';
        key += *field;
    }
    return key;
}

String expandStatement(void* connection, const String& statement, bool& fits) {
    char buffer[statementBufferSize] = {};
    fits = TABLINK::SQLExecuter::formatQuery(buffer, statementBufferSize, statement.c_str(),
                                             connection) != 0;
    return String(buffer);
}

} // namespace

CDBMetaModelEvents::CDBMetaModelEvents(void* connection, const String& schema)
    : connection_(connection) {
    for (size_t index = 0; index < inserters_.size(); ++index) {
        inserters_[index].reset(RowVault::IBlocInsert::New(connection));
        inserters_[index]->SetSchema(schema);
        inserters_[index]->SetTable(repositoryTables()[index].workName);
        inserters_[index]->SetBlockSize(blockSize);
    }
}

CDBMetaModelEvents::~CDBMetaModelEvents() = default;

bool CDBMetaModelEvents::invariant() const {
    for (const auto& inserter : inserters_)
        if (!inserter)
            return false;
    return true;
}

void CDBMetaModelEvents::OnStart() {
    for (size_t index = 0; index < inserters_.size(); ++index) {
        RowVault::IBlocInsert& inserter = *inserters_[index];
        if (!inserter.IsReady())
            inserter.Prepare();
        inserter.Begin();
        CallRequest(String("delete from \x0F") + repositoryTables()[index].workName);
    }
    switch (TABLINK::dbgetconnectiontype(connection_, nullptr, nullptr)) {
    case 1:
    case 5:
        break;
    case 2:
        CallRequest("commit");
        break;
    case 3:
        if (!TABLINK::dbcommit(connection_))
            CppLanguage::raise<CMetaModelEventsException>(
                ORLO_HERE, "QEL_DB_REQ_ERR",
                {{"QUERY", "commit"}, {"CAUSE", TABLINK::dblasterror(connection_)}});
        break;
    default:
        CppLanguage::raise<CMetaModelEventsException>(ORLO_HERE, "QEL_DB_UNSUPPORTED_SERVER");
    }
}

void CDBMetaModelEvents::startElement(TableIndex table, const String& name, bool partial,
                                      const String& description, int id,
                                      const ElementStatus& status) {
    currentName_ = name;
    currentSlot_ = slotOf(name);
    if (partial)
        return;
    *currentSlot_ = id;
    currentId_ = id;
    const String& shownDescription = description.empty() ? name : description;
    const String statusWord = statusText(status);
    inserters_[table]->AddRow("%d%s%s%s", &id, name.c_str(), shownDescription.c_str(),
                              statusWord.c_str());
    rowAdded();
}

void CDBMetaModelEvents::OnStartCategory(const String& name, bool partial,
                                         const String& description, int id,
                                         const ElementStatus& status) {
    startElement(CatTable, name, partial, description, id, status);
}

void CDBMetaModelEvents::OnStartType(const String& name, bool partial, const String& description,
                                     int id, const ElementStatus& status) {
    startElement(TypTable, name, partial, description, id, status);
}

void CDBMetaModelEvents::OnEndCategory(bool) {
    currentName_.clear();
    currentSlot_ = nullptr;
    currentId_ = NoId;
}

void CDBMetaModelEvents::OnEndType(bool) {
    currentName_.clear();
    currentSlot_ = nullptr;
    currentId_ = NoId;
}

void CDBMetaModelEvents::OnStartProperty(const String& name, const String& description,
                                         const String& type, const int& minimalCardinality,
                                         const int& maximalCardinality, const String& merge, int id,
                                         const ElementStatus& status) {
    currentPropertyId_ = id;
    const String statusWord = statusText(status);
    properties_.addLast({id, keep(name), keep(description.empty() ? name : description), keep(type),
                         mergeCode(merge), minimalCardinality, maximalCardinality, statusWord});
    if (!currentSlot_)
        currentSlot_ = slotOf(currentName_);
    (IsInCategory() ? categoryProperties_ : typeProperties_)
        .addLast({currentSlot_, id, statusWord});
}

void CDBMetaModelEvents::OnEndProperty() {
    currentPropertyId_ = NoId;
}

RowVault::IBlocInsert* CDBMetaModelEvents::GetCurrentAttributeBloc() const {
    if (IsInProperty())
        return inserters_[PropAttrTable].get();
    if (IsInType())
        return inserters_[TypAttrTable].get();
    if (IsInCategory())
        return inserters_[CatAttrTable].get();
    return nullptr;
}

int CDBMetaModelEvents::GetCurrentAttributeIdRef() const {
    if (IsInProperty())
        return currentPropertyId_;
    if (IsInCategory() || IsInType())
        return currentId_;
    return NoId;
}

// An attribute outside any element has no owner and no table: a well-formed stream has none.
void CDBMetaModelEvents::OnAttribute(const String& name, int value, const ElementStatus& status) {
    if (RowVault::IBlocInsert* inserter = GetCurrentAttributeBloc()) {
        const int owner = GetCurrentAttributeIdRef();
        const String statusWord = statusText(status);
        inserter->AddRow("%d%s%d%d%s%s", &owner, name.c_str(), &integerType, &value,
                         static_cast<const char*>(nullptr), statusWord.c_str());
        rowAdded();
    }
}

void CDBMetaModelEvents::OnAttribute(const String& name, const String& value,
                                     const ElementStatus& status) {
    if (RowVault::IBlocInsert* inserter = GetCurrentAttributeBloc()) {
        const int owner = GetCurrentAttributeIdRef();
        const String statusWord = statusText(status);
        inserter->AddRow("%d%s%d%d%s%s", &owner, name.c_str(), &stringType,
                         static_cast<const int*>(nullptr), value.c_str(), statusWord.c_str());
        rowAdded();
    }
}

void CDBMetaModelEvents::OnInheritedCategory(const String& name, const ElementStatus& status) {
    SInheritSuspension link{currentName_, name, statusText(status)};
    const bool inCategory = IsInCategory();
    if (suspendedLinks_
            .insert(linkKey(inCategory ? 'C' : 'T', {&link.name, &link.parent, &link.status}))
            .second)
        (inCategory ? categoryInheritance_ : typeInheritance_).addLast(link);
}

void CDBMetaModelEvents::OnTree(const String& parentType, const String& treeCategory,
                                const ElementStatus& status) {
    STreeSuspension tree{currentName_, parentType, treeCategory, statusText(status)};
    if (suspendedLinks_
            .insert(linkKey('R', {&tree.name, &tree.parent, &tree.category, &tree.status}))
            .second)
        trees_.addLast(tree);
}

void CDBMetaModelEvents::rowAdded() {
    if (++rows_ % blockSize == 0 && rowObserver_)
        rowObserver_(rows_);
}

int* CDBMetaModelEvents::slotOf(const String& name) {
    return &names_.try_emplace(name, NoId).first->second;
}

std::string_view CDBMetaModelEvents::keep(const String& text) {
    const std::string_view kept = texts_.keep({text.c_str(), text.size() + 1});
    return kept.substr(0, text.size());
}

int CDBMetaModelEvents::idOf(std::string_view name) const {
    const auto found = names_.find(name);
    return found == names_.end() ? NoId : found->second;
}

int CDBMetaModelEvents::getPrimitiveTypeId(std::string_view name) const {
    if (const std::optional<int> primitive = primitiveTypeId(name))
        return *primitive;
    return idOf(name);
}

void CDBMetaModelEvents::OnEnd() {
    forEach(categoryProperties_, [&](const SPropSuspension& link) {
        const int owner = *link.owner;
        inserters_[PropCatTable]->AddRow("%d%d%s", &link.id, &owner, link.status.c_str());
        rowAdded();
    });
    forEach(typeProperties_, [&](const SPropSuspension& link) {
        const int owner = *link.owner;
        inserters_[TypPropTable]->AddRow("%d%d%s", &owner, &link.id, link.status.c_str());
        rowAdded();
    });
    forEach(categoryInheritance_, [&](const SInheritSuspension& link) {
        const int child = idOf(link.name);
        const int parent = idOf(link.parent);
        inserters_[CatCatTable]->AddRow("%d%d%s", &child, &parent, link.status.c_str());
        rowAdded();
    });
    forEach(typeInheritance_, [&](const SInheritSuspension& link) {
        const int child = idOf(link.name);
        const int parent = idOf(link.parent);
        inserters_[TypCatTable]->AddRow("%d%d%d%s", &child, &parent, &inheritedDirectly,
                                        link.status.c_str());
        rowAdded();
    });
    forEach(trees_, [&](const STreeSuspension& tree) {
        const int from = idOf(tree.name);
        const int to = idOf(tree.parent);
        const int category = idOf(tree.category);
        inserters_[TreeCatTable]->AddRow("%d%d%d%s", &from, &to, &category, tree.status.c_str());
        rowAdded();
    });
    forEach(properties_, [&](const SPropertySuspension& property) {
        const int type = getPrimitiveTypeId(property.type);
        inserters_[PropTable]->AddRow("%d%s%s%d%s%d%d%s", &property.id, property.name.data(),
                                      property.description.data(), &type, property.merge.c_str(),
                                      &property.cardMin, &property.cardMax,
                                      property.status.c_str());
        rowAdded();
    });
    for (const TableIndex table :
         {CatTable, CatAttrTable, CatCatTable, TypTable, TypAttrTable, TypCatTable, PropTable,
          PropAttrTable, PropCatTable, TypPropTable, TreeCatTable})
        inserters_[table]->Flush();
    if (rowObserver_)
        rowObserver_(rows_);
    CallProcedure("?\x0FMETAMODEL_FLUSHDATA");
    // Called without the "?": this one is asked for no result.
    CallProcedure("\x0F"
                  "CAT_BUILD_DEPENDENCIES");
    CallProcedure("?\x0F"
                  "FINAL_METAMODEL");
    for (auto& [name, id] : names_)
        id = NoId;
}

void CDBMetaModelEvents::CallRequest(const String& statement) {
    bool fits = false;
    const String expanded = expandStatement(connection_, statement, fits);
    if (fits && TABLINK::dbcallrequest(connection_, expanded.c_str())) {
        TABLINK::dbendrequest(connection_);
        return;
    }
    const String cause = fits ? String(TABLINK::dblasterror(connection_))
                              : String("the statement is longer than 256 bytes");
    CppLanguage::raise<CMetaModelEventsException>(ORLO_HERE, "QEL_DB_REQ_ERR",
                                                  {{"QUERY", expanded}, {"CAUSE", cause}});
}

void CDBMetaModelEvents::CallProcedure(const String& call) {
    bool fits = false;
    const String expanded = expandStatement(connection_, call, fits);
    int result = 0;
    if (fits && TABLINK::DBConnectivity::callProc(connection_, expanded.c_str()) &&
        TABLINK::DBConnectivity::endProc(connection_, &result))
        return;
    const String cause = fits ? String(TABLINK::dblasterror(connection_))
                              : String("the call is longer than 256 bytes");
    CppLanguage::raise<CMetaModelEventsException>(ORLO_HERE, "QEL_DB_PROC_ERR",
                                                  {{"CALL", expanded}, {"CAUSE", cause}});
}

} // namespace MetaModel
