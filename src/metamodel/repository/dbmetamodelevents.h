#pragma once

#include "collections/list.h"
#include "metamodel/repository/repositoryformat.h"
#include "metamodel/stream/metamodelevents.h"
#include "metamodel/textstore.h"
#include "platform/database/rowvault.h"

#include <array>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

namespace MetaModel {

// Stores a stream in the repository: empties the work tables at the start, fills them while
// the stream runs, and at its end resolves what was told by name and calls the procedures
// that carry the rows into the final tables. Rows that name something wait until the end,
// since a name may be declared after its first use.
class CDBMetaModelEvents : public CMetaModelEvents {
public:
    // `schema` names the schema of the work tables; empty: the connection's.
    CDBMetaModelEvents(void* connection, const String& schema);
    ~CDBMetaModelEvents() override;
    CDBMetaModelEvents(const CDBMetaModelEvents&) = delete;
    CDBMetaModelEvents& operator=(const CDBMetaModelEvents&) = delete;

    bool invariant() const override;

    // Told the number of rows handed to the inserters so far, once per block and once when
    // the last row is out, before the procedures run.
    void SetRowObserver(std::function<void(size_t rows)> observer) {
        rowObserver_ = std::move(observer);
    }

protected:
    void OnStart() override;
    void OnEnd() override;
    void OnStartCategory(const String& name, bool partial, const String& description, int id,
                         const ElementStatus& status) override;
    void OnEndCategory(bool partial) override;
    void OnStartType(const String& name, bool partial, const String& description, int id,
                     const ElementStatus& status) override;
    void OnEndType(bool partial) override;
    void OnStartProperty(const String& name, const String& description, const String& type,
                         const int& minimalCardinality, const int& maximalCardinality,
                         const String& merge, int id, const ElementStatus& status) override;
    void OnEndProperty() override;
    void OnAttribute(const String& name, int value, const ElementStatus& status) override;
    void OnAttribute(const String& name, const String& value, const ElementStatus& status) override;
    void OnInheritedCategory(const String& name, const ElementStatus& status) override;
    void OnTree(const String& parentType, const String& treeCategory,
                const ElementStatus& status) override;

private:
    struct SInheritSuspension {
        String name;
        String parent;
        String status;
        bool operator==(const SInheritSuspension&) const = default;
    };
    struct STreeSuspension {
        String name;
        String parent;
        String category;
        String status;
        bool operator==(const STreeSuspension&) const = default;
    };
    // The owner by the entry of its name in the name table: that entry holds, at the end,
    // the id of the last full declaration of the name, as a lookup by name would give.
    struct SPropSuspension {
        const int* owner;
        int id;
        String status;
        bool operator==(const SPropSuspension&) const = default;
    };
    // The texts are kept in `texts_`, each followed by its terminating zero: a large schema
    // suspends hundreds of thousands of properties, and a string object for each text would
    // cost an allocation apiece.
    struct SPropertySuspension {
        int id;
        std::string_view name;
        std::string_view description;
        std::string_view type;
        String merge;
        int cardMin;
        int cardMax;
        String status;
        bool operator==(const SPropertySuspension&) const = default;
    };

    RowVault::IBlocInsert* GetCurrentAttributeBloc() const;
    int GetCurrentAttributeIdRef() const;
    // The entry of a name in the name table; one that no full declaration has reached (yet)
    // holds the id of an unknown name.
    int* slotOf(const String& name);
    void CallRequest(const String& statement);
    void CallProcedure(const String& call);
    int getPrimitiveTypeId(std::string_view name) const;
    void startElement(Repository::TableIndex table, const String& name, bool partial,
                      const String& description, int id, const ElementStatus& status);
    int idOf(std::string_view name) const;
    // A view of a kept copy of `text`, with the zero behind it that the inserters' "%s" wants.
    std::string_view keep(const String& text);
    void rowAdded();

    void* connection_;
    std::array<std::unique_ptr<RowVault::IBlocInsert>, Repository::TableCount> inserters_;
    int currentId_ = NoId;
    String currentName_;
    // The entry of the current element's name, while there is one.
    int* currentSlot_ = nullptr;
    int currentPropertyId_ = NoId;
    // Full categories and types by name. A hash map rather than the fixed-bucket table: at the
    // end of a large stream every link is resolved through it. Its entries stay in place, so
    // that the suspended properties can point at their owner's; emptying it at the end resets
    // their ids instead of removing them.
    struct NameHash {
        using is_transparent = void;
        size_t operator()(std::string_view name) const {
            return std::hash<std::string_view>()(name);
        }
    };
    std::unordered_map<std::string, int, NameHash, std::equal_to<>> names_;
    Collections::List<SInheritSuspension> typeInheritance_;
    Collections::List<SInheritSuspension> categoryInheritance_;
    Collections::List<STreeSuspension> trees_;
    Collections::List<SPropSuspension> categoryProperties_;
    Collections::List<SPropSuspension> typeProperties_;
    Collections::List<SPropertySuspension> properties_;
    TextStore texts_;
    // What the two link lists and the tree list hold, so that a repeated link is dropped
    // without a scan of the list.
    std::unordered_set<std::string> suspendedLinks_;
    std::function<void(size_t)> rowObserver_;
    size_t rows_ = 0;
};

} // namespace MetaModel
