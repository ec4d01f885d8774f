#include "metamodel/repository/dbmetamodelreader.h"

#include "metamodel/metamodelexceptions.h"
#include "metamodel/repository/concurrentaccess.h"
#include "metamodel/repository/repositoryformat.h"
#include "platform/database/tablink.h"
#include "platform/messages.h"

namespace MetaModel {

namespace {

constexpr int statementBufferSize = 257;
constexpr int repositoryNameSize = 256;

} // namespace

String callReaderRequest(void* connection, const String& query) {
    char buffer[statementBufferSize] = {};
    const bool fits = TABLINK::SQLExecuter::formatQuery(buffer, statementBufferSize, query.c_str(),
                                                        connection) != 0;
    String request = buffer;
    if (fits && TABLINK::dbcallrequest(connection, buffer))
        return request;
    CppLanguage::raise<CMetaModelReaderException>(
        ORLO_HERE, "QEL_DB_REQ_ERR",
        {{"QUERY", request},
         {"CAUSE", fits ? String(TABLINK::dblasterror(connection))
                        : String("the statement is longer than 256 bytes")}});
}

void endReaderRequest(void* connection, const String& request) {
    if (TABLINK::dbendrequest(connection))
        return;
    CppLanguage::raise<CMetaModelReaderException>(
        ORLO_HERE, "QEL_DB_REQ_ERR",
        {{"QUERY", request}, {"CAUSE", TABLINK::dblasterror(connection)}});
}

CDBMetaModelReader::CDBMetaModelReader(void* connection) : connection_(connection) {}

CDBMetaModelReader::~CDBMetaModelReader() = default;

void CDBMetaModelReader::UnsafeRead() {
    if (!events())
        CppLanguage::raise<CMetaModelReaderException>(ORLO_HERE, "QEL_NULL_PTR",
                                                      {{"NULL_ARG", "events"}});
    char name[repositoryNameSize] = {};
    TABLINK::dbgetrepositoryname(connection_, name, nullptr, nullptr);
    events()->SetSource(name);
    // What a read that failed half-way left behind.
    WipeOut();
    ReadDB();
    SendEvents();
    WipeOut();
}

void CDBMetaModelReader::ReadDB() {
    const Repository::CConsistentRead oneMoment(connection_);
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
    propertyLinks_.group();
    ReadTreeCat();
}

void CDBMetaModelReader::PrefixAndCallRequest(const String& query) {
    request_ = callReaderRequest(connection_, query);
}

void CDBMetaModelReader::EndRequest() {
    endReaderRequest(connection_, request_);
}

void CDBMetaModelReader::readElements(const String& query, RowsByOwner<STypOrCat>& table) {
    PrefixAndCallRequest(query);
    int status = 0;
    int id = 0;
    String name, description, rowStatus;
    while (TABLINK::dbscanf(connection_, &status, "%d%S%S%S", &id, &name, &description, &rowStatus))
        table.add(id, STypOrCat{id, std::move(name), std::move(description)});
    EndRequest();
    table.group();
}

void CDBMetaModelReader::ReadCategories() {
    readElements("select IdCat,CatNam,CatDsc,Status from \x0F"
                 "Cat order by IdCat",
                 categories_);
}

void CDBMetaModelReader::ReadTypes() {
    readElements("select IdTyp,TypNam,TypDsc,Status from \x0FTyp order by IdTyp", types_);
}

void CDBMetaModelReader::ReadAttributes(const String& query, RowsByOwner<SAttr>& table) {
    PrefixAndCallRequest(query);
    int status = 0;
    int owner = 0;
    int type = 0;
    int intValue = 0;
    String name, strValue, rowStatus;
    while (TABLINK::dbscanf(connection_, &status, "%d%S%d%d%S%S", &owner, &name, &type, &intValue,
                            &strValue, &rowStatus))
        table.add(owner, SAttr{&texts_.intern(name), texts_.keep(strValue), type, intValue});
    EndRequest();
    table.group();
}

void CDBMetaModelReader::ReadInheritance(const String& query, RowsByOwner<int>& table) {
    PrefixAndCallRequest(query);
    int status = 0;
    int child = 0;
    int parent = 0;
    String rowStatus;
    while (TABLINK::dbscanf(connection_, &status, "%d%d%S", &child, &parent, &rowStatus))
        table.add(child, int(parent));
    EndRequest();
    table.group();
}

void CDBMetaModelReader::ReadProperties() {
    const String query = "select IdProp,PropNam,PropDsc,PropTyp,PropMrg,CardMin,CardMax,Status "
                         "from \x0FProp";
    PrefixAndCallRequest(query);
    int status = 0;
    SProp row;
    String name, description, merge, rowStatus;
    while (TABLINK::dbscanf(connection_, &status, "%d%S%S%d%S%d%d%S", &row.id, &name, &description,
                            &row.type, &merge, &row.cardMin, &row.cardMax, &rowStatus)) {
        row.name = texts_.keep(name);
        row.description = texts_.keep(description);
        row.merge = texts_.intern(merge);
        properties_.add(row.id, SProp(row));
    }
    EndRequest();
    properties_.group();
}

// Both link tables go into one list per owner: PropCat's rows, then TypProp's.
void CDBMetaModelReader::ReadPropCat(const String& query) {
    PrefixAndCallRequest(query);
    int status = 0;
    int property = 0;
    int owner = 0;
    String rowStatus;
    while (TABLINK::dbscanf(connection_, &status, "%d%d%S", &property, &owner, &rowStatus))
        propertyLinks_.add(owner, int(property));
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
        trees_.add(from, STreeCat{to, category});
    EndRequest();
    trees_.group();
}

namespace {

// The elements of one table in id order, where rows that share an id each stand for the one
// of them that came last: a table keyed by id keeps the last row, while its queue of ids
// still holds every row.
template <class Rows> class LatestById {
public:
    explicit LatestById(const Rows& rows) : rows_(rows) {}
    bool done() const { return at_ == rows_.size(); }
    int id() const { return rows_[at_].id; }
    // The row to send for the current place, and a step to the next.
    const auto& take() {
        if (runEnd_ <= at_) {
            runEnd_ = at_ + 1;
            while (runEnd_ < rows_.size() && rows_[runEnd_].id == rows_[at_].id)
                ++runEnd_;
        }
        ++at_;
        return rows_[runEnd_ - 1];
    }

private:
    const Rows& rows_;
    size_t at_ = 0;
    size_t runEnd_ = 0;
};

} // namespace

// By ascending id, a category before a type of the same id.
void CDBMetaModelReader::SendEvents() {
    IMetaModelEvents& sink = *events();
    sink.Start();
    const auto allCategories = categories_.all();
    const auto allTypes = types_.all();
    LatestById categories(allCategories);
    LatestById types(allTypes);
    while (!categories.done() || !types.done()) {
        if (types.done() || (!categories.done() && categories.id() <= types.id()))
            SendCategory(categories.take());
        else
            SendType(types.take());
    }
    sink.End();
}

void CDBMetaModelReader::SendCategory(const STypOrCat& category) {
    events()->StartCategory(category.name, false, category.description, category.id,
                            IMetaModelEvents::EsActive);
    SendAttributes(category.id, categoryAttributes_);
    SendInheritedCategories(category.id, categoryInheritance_);
    SendProperties(category.id);
    SendTreeCat(category.id);
    events()->EndCategory(false);
}

void CDBMetaModelReader::SendType(const STypOrCat& type) {
    events()->StartType(type.name, false, type.description, type.id, IMetaModelEvents::EsActive);
    SendAttributes(type.id, typeAttributes_);
    SendInheritedCategories(type.id, typeInheritance_);
    SendProperties(type.id);
    SendTreeCat(type.id);
    events()->EndType(false);
}

void CDBMetaModelReader::SendAttributes(int id, const RowsByOwner<SAttr>& table) {
    for (const SAttr& attribute : table.of(id)) {
        if (attribute.type == Repository::IntegerTypeId)
            events()->Attribute(*attribute.name, attribute.intValue, IMetaModelEvents::EsActive);
        else
            events()->Attribute(*attribute.name, String(attribute.strValue),
                                IMetaModelEvents::EsActive);
    }
}

void CDBMetaModelReader::SendInheritedCategories(int id, const RowsByOwner<int>& table) {
    for (const int parent : table.of(id))
        events()->InheritedCategory(GetCatOrTypeName(parent), IMetaModelEvents::EsActive);
}

// A link to a property that is not there tells a property with no name; of two rows of one id,
// the later one counts.
void CDBMetaModelReader::SendProperties(int id) {
    static const SProp missing;
    for (const int property : propertyLinks_.of(id)) {
        const auto found = properties_.of(property);
        const SProp& row = found.empty() ? missing : found.back();
        events()->StartProperty(String(row.name), String(row.description),
                                getPrimitiveTypeName(row.type), row.cardMin, row.cardMax,
                                Repository::mergeWord(String(row.merge)), row.id,
                                IMetaModelEvents::EsActive);
        SendAttributes(row.id, propertyAttributes_);
        events()->EndProperty();
    }
}

void CDBMetaModelReader::SendTreeCat(int id) {
    for (const STreeCat& tree : trees_.of(id))
        events()->Tree(GetCatOrTypeName(tree.idTo), GetCatOrTypeName(tree.idCat),
                       IMetaModelEvents::EsActive);
}

String CDBMetaModelReader::GetCatOrTypeName(int id) const {
    if (const auto category = categories_.of(id); !category.empty())
        return category.back().name;
    if (const auto type = types_.of(id); !type.empty())
        return type.back().name;
    return String(std::to_string(id));
}

String CDBMetaModelReader::getPrimitiveTypeName(const int& id) const {
    if (const char* primitive = Repository::primitiveTypeName(id))
        return primitive;
    return GetCatOrTypeName(id);
}

void CDBMetaModelReader::WipeOut() {
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
    texts_.clear();
}

} // namespace MetaModel
