#pragma once

#include "metamodel/repository/rowsbyowner.h"
#include "metamodel/stream/metamodelreader.h"
#include "metamodel/textstore.h"

namespace MetaModel {

// Starts a request of the repository's readers: the statement with its table prefix expanded
// in a buffer of 257 bytes, sent on the connection; answers the text sent. A statement that
// does not fit or that the server refuses raises "QEL_DB_REQ_ERR" as a
// CMetaModelReaderException.
String callReaderRequest(void* connection, const String& query);
// Ends it; a fetch that failed half-way looks like the last row, and this tells.
void endReaderRequest(void* connection, const String& request);

// Plays the repository's final tables into a sink as one stream. All tables are loaded first,
// since their order does not suit the stream and the connection runs one statement at a time;
// then the elements go out by ascending id, a category before a type of the same id, each
// with its attributes, inherited categories, properties and trees.
class CDBMetaModelReader : public CMetaModelReader {
public:
    explicit CDBMetaModelReader(void* connection);
    ~CDBMetaModelReader() override;

    bool invariant() const override { return connection_ != nullptr; }
    void UnsafeRead() override;

private:
    // The Status columns are read and left: what the reader tells is always active. The texts
    // of the large tables live in `texts_`.
    struct STypOrCat {
        int id = -1;
        String name;
        String description;
    };
    struct SAttr {
        const String* name;
        std::string_view strValue;
        int type;
        int intValue;
    };
    struct SProp {
        int id = -1;
        int type = -1;
        int cardMin = 0;
        int cardMax = -1;
        std::string_view name;
        std::string_view description;
        std::string_view merge;
    };
    struct STreeCat {
        int idTo;
        int idCat;
    };

    void ReadDB();
    void ReadCategories();
    void ReadTypes();
    void ReadProperties();
    void ReadTreeCat();
    void ReadAttributes(const String& query, RowsByOwner<SAttr>& table);
    // The parents of each child.
    void ReadInheritance(const String& query, RowsByOwner<int>& table);
    void ReadPropCat(const String& query);
    void readElements(const String& query, RowsByOwner<STypOrCat>& table);
    void PrefixAndCallRequest(const String& query);
    void EndRequest();

    void SendEvents();
    void SendCategory(const STypOrCat& category);
    void SendType(const STypOrCat& type);
    void SendAttributes(int id, const RowsByOwner<SAttr>& table);
    void SendInheritedCategories(int id, const RowsByOwner<int>& table);
    void SendProperties(int id);
    void SendTreeCat(int id);

    String GetCatOrTypeName(int id) const;
    String getPrimitiveTypeName(const int& id) const;
    void WipeOut();

    void* connection_;
    // Elements by id, properties by id, everything else by the id of its owner.
    RowsByOwner<STypOrCat> categories_;
    RowsByOwner<SAttr> categoryAttributes_;
    RowsByOwner<int> categoryInheritance_;
    RowsByOwner<STypOrCat> types_;
    RowsByOwner<SAttr> typeAttributes_;
    RowsByOwner<int> typeInheritance_;
    RowsByOwner<SProp> properties_;
    RowsByOwner<SAttr> propertyAttributes_;
    // The property ids of each category or type.
    RowsByOwner<int> propertyLinks_;
    RowsByOwner<STreeCat> trees_;
    TextStore texts_;
    // The last statement sent, as expanded, for the message of a failure.
    String request_;
};

} // namespace MetaModel
