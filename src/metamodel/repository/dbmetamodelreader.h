#pragma once

#include "metamodel/stream/metamodelreader.h"

#include <deque>
#include <string>
#include <unordered_map>
#include <vector>

namespace MetaModel {

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
    struct STypOrCat {
        int id = -1;
        String name;
        String description;
        String status;
    };
    struct SAttr {
        int idRef;
        String name;
        int type;
        int intValue;
        String strValue;
        String status;
    };
    struct STypOrCatCat {
        int id;
        int idParent;
        String status;
    };
    struct SProp {
        int id = -1;
        String name;
        String description;
        int type = -1;
        int cardMin = 0;
        int cardMax = -1;
        String merge;
        String status;
    };
    struct SPropCat {
        int idProp;
        int idOwner;
        String status;
    };
    struct STreeCat {
        int idFrom;
        int idTo;
        int idCat;
        String status;
    };
    // Lists keyed by their owner's id, in select order within each list. Hash maps rather than
    // the fixed-bucket tables: a large repository would make their chains long.
    template <class T> using Table = std::unordered_map<int, std::vector<T>>;

    void ReadDB();
    void ReadCategories();
    void ReadTypes();
    void ReadProperties();
    void ReadTreeCat();
    void ReadAttributes(const String& query, Table<SAttr>& table);
    void ReadInheritance(const String& query, Table<STypOrCatCat>& table);
    void ReadPropCat(const String& query);
    void readElements(const String& query, std::unordered_map<int, STypOrCat>& table,
                      std::deque<int>& order);
    void PrefixAndCallRequest(const String& query);
    void EndRequest();

    void SendEvents();
    void SendCategory(int id);
    void SendType(int id);
    void SendAttributes(int id, const Table<SAttr>& table);
    void SendInheritedCategories(int id, const Table<STypOrCatCat>& table);
    void SendProperties(int id, const Table<SPropCat>& links);
    void SendTreeCat(int id);

    String GetCatOrTypeName(int id) const;
    String getPrimitiveTypeName(const int& id) const;
    void WipeOut();

    void* connection_;
    std::deque<int> categoryOrder_;
    std::deque<int> typeOrder_;
    std::unordered_map<int, STypOrCat> categories_;
    Table<SAttr> categoryAttributes_;
    Table<STypOrCatCat> categoryInheritance_;
    std::unordered_map<int, STypOrCat> types_;
    Table<SAttr> typeAttributes_;
    Table<STypOrCatCat> typeInheritance_;
    std::unordered_map<int, SProp> properties_;
    Table<SAttr> propertyAttributes_;
    Table<SPropCat> propertyLinks_;
    Table<STreeCat> trees_;
    // The last statement sent, as expanded, for the message of a failure.
    String request_;
};

} // namespace MetaModel
