#include "metamodel/repository/dbmetamodelreader.h"

#include "cpplanguage/messages.h"
#include "metamodel/metamodelexceptions.h"
#include "metamodel/repository/repositoryformat.h"
#include "platform/database/tablink.h"

#include <cstring>

namespace MetaModel {

namespace {

constexpr int statementBufferSize = 257;
constexpr int textBufferSize = 1024;
constexpr int repositoryNameSize = 256;

// Column buffers of one select, zeroed once before its first row: a null column leaves what
// the server puts there, and only the column that the row's kind selects is looked at.
struct TextColumns {
    explicit TextColumns(int count) : buffers(size_t(count) * textBufferSize, '\0') {}
    char* operator[](int index) { return &buffers[size_t(index) * textBufferSize]; }
    std::vector<char> buffers;
};

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
    TextColumns text(3);
    while (TABLINK::dbscanf(connection_, &status, "%d%s%s%s", &id, text[0], text[1], text[2])) {
        table[id] = STypOrCat{id, text[0], text[1], text[2]};
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
    TextColumns text(3);
    while (TABLINK::dbscanf(connection_, &status, "%d%s%d%d%s%s", &owner, text[0], &type, &intValue,
                            text[1], text[2]))
        table[owner].push_back(SAttr{owner, text[0], type, intValue, text[1], text[2]});
    EndRequest();
}

void CDBMetaModelReader::ReadInheritance(const String& query, Table<STypOrCatCat>& table) {
    PrefixAndCallRequest(query);
    int status = 0;
    int child = 0;
    int parent = 0;
    TextColumns text(1);
    while (TABLINK::dbscanf(connection_, &status, "%d%d%s", &child, &parent, text[0]))
        table[child].push_back(STypOrCatCat{child, parent, text[0]});
    EndRequest();
}

void CDBMetaModelReader::ReadProperties() {
    const String query = "select IdProp,PropNam,PropDsc,PropTyp,PropMrg,CardMin,CardMax,Status "
                         "from \x0FProp";
    PrefixAndCallRequest(query);
    int status = 0;
    SProp row;
    TextColumns text(4);
    while (TABLINK::dbscanf(connection_, &status, "%d%s%s%d%s%d%d%s", &row.id, text[0], text[1],
                            &row.type, text[2], &row.cardMin, &row.cardMax, text[3])) {
        row.name = text[0];
        row.description = text[1];
        row.merge = text[2];
        row.status = text[3];
        properties_[row.id] = row;
    }
    EndRequest();
}

void CDBMetaModelReader::ReadPropCat(const String& query) {
    PrefixAndCallRequest(query);
    int status = 0;
    int property = 0;
    int owner = 0;
    TextColumns text(1);
    while (TABLINK::dbscanf(connection_, &status, "%d%d%s", &property, &owner, text[0]))
        propertyLinks_[owner].push_back(SPropCat{property, owner, text[0]});
    EndRequest();
}

void CDBMetaModelReader::ReadTreeCat() {
    const String query = "select IdFrom,IdTo,IdCat,Status from \x0FTreeCat";
    PrefixAndCallRequest(query);
    int status = 0;
    int from = 0;
    int to = 0;
    int category = 0;
    TextColumns text(1);
    while (TABLINK::dbscanf(connection_, &status, "%d%d%d%s", &from, &to, &category, text[0]))
        trees_[from].push_back(STreeCat{from, to, category, text[0]});
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
