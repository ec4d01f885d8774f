#include "metamodel/repository/repositoryformat.h"

#include "metamodel/model/propertyclassifiers.h"

namespace MetaModel::Repository {

namespace {

struct PrimitiveType {
    const char* name;
    int id;
};

constexpr PrimitiveType primitiveTypes[] = {
    {"integer", IntegerTypeId},   {"string", StringTypeId},       {"dateTime", DateTimeTypeId},
    {"bookmark", BookmarkTypeId}, {"reference", ReferenceTypeId},
};

} // namespace

std::optional<int> primitiveTypeId(std::string_view name) {
    for (const PrimitiveType& type : primitiveTypes)
        if (name == type.name)
            return type.id;
    return std::nullopt;
}

const char* primitiveTypeName(int id) {
    for (const PrimitiveType& type : primitiveTypes)
        if (id == type.id)
            return type.name;
    return nullptr;
}

String statusText(IMetaModelEvents::ElementStatus status) {
    switch (status) {
    case IMetaModelEvents::EsActive:
        return "ACTIVE";
    case IMetaModelEvents::EsDeprecated:
        return "DEPRECATED";
    case IMetaModelEvents::EsObsolete:
        return "OBSOLETE";
    case IMetaModelEvents::EsInactive:
        return "INACTIVE";
    }
    return String();
}

// The two dialects of merge words live with the classifiers; the repository only converts.
String mergeCode(const String& word) {
    QEL::CXmlToDBMergeConverter converter;
    converter.Classify(word);
    return converter.GetResult();
}

String mergeWord(const String& code) {
    QEL::CDBToXmlMergeConverter converter;
    converter.Classify(code);
    return converter.GetResult();
}

const std::array<RepositoryTable, TableCount>& repositoryTables() {
    static const std::array<RepositoryTable, TableCount> tables = {{
        {"Cat", "IN_CAT",
         "IdCat integer NOT NULL, CatNam text NOT NULL, CatDsc text NOT NULL, "
         "Status text NOT NULL"},
        {"CatAttr", "IN_CATATTR",
         "IdCat integer NOT NULL, AttrNam text NOT NULL, AttrTyp integer NOT NULL, "
         "IntVal integer, StrVal text, Status text NOT NULL"},
        {"CatCat", "IN_CATCAT",
         "IdCat integer NOT NULL, IdCatParent integer NOT NULL, Status text NOT NULL"},
        {"TreeCat", "IN_TREECAT",
         "IdFrom integer NOT NULL, IdTo integer NOT NULL, IdCat integer NOT NULL, "
         "Status text NOT NULL"},
        {"Typ", "IN_TYP",
         "IdTyp integer NOT NULL, TypNam text NOT NULL, TypDsc text NOT NULL, "
         "Status text NOT NULL"},
        {"TypAttr", "IN_TYPATTR",
         "IdTyp integer NOT NULL, AttrNam text NOT NULL, AttrTyp integer NOT NULL, "
         "IntVal integer, StrVal text, Status text NOT NULL"},
        {"TypCat", "IN_TYPCAT",
         "IdTyp integer NOT NULL, IdCatParent integer NOT NULL, IsCatProp integer NOT NULL, "
         "Status text NOT NULL"},
        {"Prop", "IN_PROP",
         "IdProp integer NOT NULL, PropNam text NOT NULL, PropDsc text NOT NULL, "
         "PropTyp integer NOT NULL, PropMrg text NOT NULL, CardMin integer NOT NULL, "
         "CardMax integer NOT NULL, Status text NOT NULL"},
        {"PropAttr", "IN_PROPATTR",
         "IdProp integer NOT NULL, AttrNam text NOT NULL, AttrTyp integer NOT NULL, "
         "IntVal integer, StrVal text, Status text NOT NULL"},
        {"PropCat", "IN_PROPCAT",
         "IdProp integer NOT NULL, IdCat integer NOT NULL, Status text NOT NULL"},
        // The work table takes the type first; TypProp is only ever read by column name.
        {"TypProp", "IN_TYPPROP",
         "IdProp integer NOT NULL, IdTyp integer NOT NULL, Status text NOT NULL",
         "IdTyp integer NOT NULL, IdProp integer NOT NULL, Status text NOT NULL"},
    }};
    return tables;
}

} // namespace MetaModel::Repository
