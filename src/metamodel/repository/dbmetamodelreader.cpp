#include "metamodel/repository/dbmetamodelreader.h"

#include "cpplanguage/messages.h"
#include "metamodel/metamodelexceptions.h"
#include "metamodel/repository/repositoryformat.h"
#include "platform/database/tablink.h"

namespace MetaModel {

namespace {

constexpr int statementBufferSize = 257;
constexpr int repositoryNameSize = 256;

} // namespace

CDBMetaModelReader::CDBMetaModelReader(void* connection) : connection_(connection) {}

CDBMetaModelReader::~CDBMetaModelReader() = default;

void CDBMetaModelReader::UnsafeRead() {
    if (!events())
        CppLanguage::raise<CMetaModelReaderException>(ORLO_HERE, "QEL_NULL_PTR",
                                                      {{"NULL_ARG", "events"}});
    char name[repositoryNameSize] = {};
    TABLINK::dbgetrepositoryname(connection_, name, nullptr, nullptr);
    events()->SetSource(name);
    ReadDB();
    SendEvents();
    WipeOut();
}

void CDBMetaModelReader::ReadDB() {
    ReadCategories();
    ReadAttributes("select IdCat,AttrNam,AttrTyp,IntVal,StrVal,Status from \x0F"
                   "CatAttr order by IdCat, AttrNam",
                   categoryAttributes_);
    ReadInheritance("select IdCat,IdCatParent,Status from \x0F"
                    "CatCat order by IdCatParent",
                    categoryInheritance_);
    ReadTypes();
    ReadAttributes("select IdTyp,AttrNam,AttrTyp,IntVal,StrVal,Status from \x0FTypAttr order by "
                   "IdTyp, AttrNam",
                   typeAttributes_);
    ReadInheritance("select IdTyp,IdCatParent,Status from \x0FTypCat where IsCatProp = 1 order "
                    "by IdCatParent",
                    typeInheritance_);
    ReadProperties();
    ReadAttributes("select IdProp,AttrNam,AttrTyp,IntVal,StrVal,Status from \x0FPropAttr order "
                   "by IdProp, AttrNam",
                   propertyAttributes_);
    ReadPropCat("select IdProp,IdCat,Status from \x0FPropCat order by IdProp");
    ReadPropCat("select IdProp,IdTyp,Status from \x0FTypProp order by IdProp");
    ReadTreeCat();
}

void CDBMetaModelReader::PrefixAndCallRequest(const String& query) {
    char buffer[statementBufferSize] = {};
    const bool fits = TABLINK::SQLExecuter::formatQuery(buffer, statementBufferSize, query.c_str(),
                                                        connection_) != 0;
    request_ = buffer;
    if (fits && TABLINK::dbcallrequest(connection_, buffer))
        return;
    CppLanguage::raise<CMetaModelReaderException>(
        ORLO_HERE, "QEL_DB_REQ_ERR",
        {{"QUERY", request_},
         {"CAUSE", fits ? String(TABLINK::dblasterror(connection_))
                        : String("the statement is longer than 256 bytes")}});
}

// A fetch that fails half-way looks like the last row; the end of the request tells.
void CDBMetaModelReader::EndRequest() {
    if (TABLINK::dbendrequest(connection_))
        return;
    CppLanguage::raise<CMetaModelReaderException>(
        ORLO_HERE, "QEL_DB_REQ_ERR",
        {{"QUERY", request_}, {"CAUSE", TABLINK::dblasterror(connection_)}});
}

void CDBMetaModelReader::readElements(const String& query,
                                      std::unordered_map<int, STypOrCat>& table,
                                      std::deque<int>& order) {
    PrefixAndCallRequest(query);
    int status = 0;
    int id = 0;
    String name, description, rowStatus;
    while (
        TABLINK::dbscanf(connection_, &status, "%d%S%S%S", &id, &name, &description, &rowStatus)) {
        table[id] = STypOrCat{id, name, description, rowStatus};
        order.push_back(id);
    }
    EndRequest();
}

void CDBMetaModelReader::ReadCategories() {
    readElements("select IdCat,CatNam,CatDsc,Status from \x0F"
                 "Cat order by IdCat",
                 categories_, categoryOrder_);
}

void CDBMetaModelReader::ReadTypes() {
    readElements("select IdTyp,TypNam,TypDsc,Status from \x0FTyp order by IdTyp", types_,
                 typeOrder_);
}

void CDBMetaModelReader::ReadAttributes(const String& query, Table<SAttr>& table) {
    PrefixAndCallRequest(query);
    int status = 0;
    int owner = 0;
    int type = 0;
    int intValue = 0;
    String name, strValue, rowStatus;
    while (TABLINK::dbscanf(connection_, &status, "%d%S%d%d%S%S", &owner, &name, &type, &intValue,
                            &strValue, &rowStatus))
        table[owner].push_back(SAttr{owner, name, type, intValue, strValue, rowStatus});
    EndRequest();
}

void CDBMetaModelReader::ReadInheritance(const String& query, Table<STypOrCatCat>& table) {
    PrefixAndCallRequest(query);
    int status = 0;
    int child = 0;
    int parent = 0;
    String rowStatus;
    while (TABLINK::dbscanf(connection_, &status, "%d%d%S", &child, &parent, &rowStatus))
        table[child].push_back(STypOrCatCat{child, parent, rowStatus});
    EndRequest();
}

void CDBMetaModelReader::ReadProperties() {
    const String query = "select IdProp,PropNam,PropDsc,PropTyp,PropMrg,CardMin,CardMax,Status "
                         "from \x0FProp";
    PrefixAndCallRequest(query);
    int status = 0;
    SProp row;
    while (TABLINK::dbscanf(connection_, &status, "%d%S%S%d%S%d%d%S", &row.id, &row.name,
                            &row.description, &row.type, &row.merge, &row.cardMin, &row.cardMax,
                            &row.status))
        properties_[row.id] = row;
    EndRequest();
}

void CDBMetaModelReader::ReadPropCat(const String& query) {
    PrefixAndCallRequest(query);
    int status = 0;
    int property = 0;
    int owner = 0;
    String rowStatus;
    while (TABLINK::dbscanf(connection_, &status, "%d%d%S", &property, &owner, &rowStatus))
        propertyLinks_[owner].push_back(SPropCat{property, owner, rowStatus});
    EndRequest();
}

void CDBMetaModelReader::ReadTreeCat() {
    const String query = "select IdFrom,IdTo,IdCat,Status from \x0FTreeCat";
    PrefixAndCallRequest(query);
    int status = 0;
    int from = 0;
    int to = 0;
    int category = 0;
    String rowStatus;
    while (TABLINK::dbscanf(connection_, &status, "%d%d%d%S", &from, &to, &category, &rowStatus))
        trees_[from].push_back(STreeCat{from, to, category, rowStatus});
    EndRequest();
}

void CDBMetaModelReader::SendEvents() {
    IMetaModelEvents& sink = *events();
    sink.Start();
    while (!categoryOrder_.empty() && !typeOrder_.empty()) {
        if (categoryOrder_.front() > typeOrder_.front()) {
            SendType(typeOrder_.front());
            typeOrder_.pop_front();
        } else {
            SendCategory(categoryOrder_.front());
            categoryOrder_.pop_front();
        }
    }
    for (; !categoryOrder_.empty(); categoryOrder_.pop_front())
        SendCategory(categoryOrder_.front());
    for (; !typeOrder_.empty(); typeOrder_.pop_front())
        SendType(typeOrder_.front());
    sink.End();
}

void CDBMetaModelReader::SendCategory(int id) {
    const STypOrCat& category = categories_[id];
    events()->StartCategory(category.name, false, category.description, id,
                            IMetaModelEvents::EsActive);
    SendAttributes(id, categoryAttributes_);
    SendInheritedCategories(id, categoryInheritance_);
    SendProperties(id, propertyLinks_);
    SendTreeCat(id);
    events()->EndCategory(false);
}

void CDBMetaModelReader::SendType(int id) {
    const STypOrCat& type = types_[id];
    events()->StartType(type.name, false, type.description, id, IMetaModelEvents::EsActive);
    SendAttributes(id, typeAttributes_);
    SendInheritedCategories(id, typeInheritance_);
    SendProperties(id, propertyLinks_);
    SendTreeCat(id);
    events()->EndType(false);
}

void CDBMetaModelReader::SendAttributes(int id, const Table<SAttr>& table) {
    const auto found = table.find(id);
    if (found == table.end())
        return;
    for (const SAttr& attribute : found->second) {
        if (attribute.type == Repository::IntegerTypeId)
            events()->Attribute(attribute.name, attribute.intValue, IMetaModelEvents::EsActive);
        else
            events()->Attribute(attribute.name, attribute.strValue, IMetaModelEvents::EsActive);
    }
}

void CDBMetaModelReader::SendInheritedCategories(int id, const Table<STypOrCatCat>& table) {
    const auto found = table.find(id);
    if (found == table.end())
        return;
    for (const STypOrCatCat& link : found->second)
        events()->InheritedCategory(GetCatOrTypeName(link.idParent), IMetaModelEvents::EsActive);
}

void CDBMetaModelReader::SendProperties(int id, const Table<SPropCat>& links) {
    const auto found = links.find(id);
    if (found == links.end())
        return;
    static const SProp missing;
    for (const SPropCat& link : found->second) {
        const auto property = properties_.find(link.idProp);
        const SProp& row = property == properties_.end() ? missing : property->second;
        events()->StartProperty(row.name, row.description, getPrimitiveTypeName(row.type),
                                row.cardMin, row.cardMax, Repository::mergeWord(row.merge), row.id,
                                IMetaModelEvents::EsActive);
        SendAttributes(row.id, propertyAttributes_);
        events()->EndProperty();
    }
}

void CDBMetaModelReader::SendTreeCat(int id) {
    const auto found = trees_.find(id);
    if (found == trees_.end())
        return;
    for (const STreeCat& tree : found->second)
        events()->Tree(GetCatOrTypeName(tree.idTo), GetCatOrTypeName(tree.idCat),
                       IMetaModelEvents::EsActive);
}

String CDBMetaModelReader::GetCatOrTypeName(int id) const {
    if (const auto category = categories_.find(id); category != categories_.end())
        return category->second.name;
    if (const auto type = types_.find(id); type != types_.end())
        return type->second.name;
    return String(std::to_string(id));
}

String CDBMetaModelReader::getPrimitiveTypeName(const int& id) const {
    if (const char* primitive = Repository::primitiveTypeName(id))
        return primitive;
    return GetCatOrTypeName(id);
}

void CDBMetaModelReader::WipeOut() {
    categoryOrder_.clear();
    typeOrder_.clear();
    categories_.clear();
    categoryAttributes_.clear();
    categoryInheritance_.clear();
    types_.clear();
    typeAttributes_.clear();
    typeInheritance_.clear();
    properties_.clear();
    propertyAttributes_.clear();
    propertyLinks_.clear();
    trees_.clear();
}

} // namespace MetaModel
