#pragma once

#include "interfaces/imetamodel.h"
#include "metamodel/model/arena.h"
#include "metamodel/model/category.h"
#include "metamodel/model/ids.h"
#include "metamodel/model/indextables.h"
#include "metamodel/model/nametable.h"
#include "metamodel/model/property.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace QEL {

// The container of one schema. While it is built only the model builder touches it; once
// FinishBuilding has run it never changes again and answers every lookup. It owns every
// category, type and property in it, and through them their attributes and types.
class CMetaModel : public IMetaModel, public CIds {
public:
    CMetaModel();
    // Shallow: the copy shares the elements with its source and keeps its version.
    CMetaModel(const CMetaModel& other);
    CMetaModel& operator=(const CMetaModel&) = delete;
    ~CMetaModel() override;

    bool invariant() const override { return true; }
    void Release() override { delete this; }

    const ICategory* GetCategory(int id, bool mandatory) const override;
    const ICategory* GetCategory(const ORLO::String& name, bool mandatory) const override;
    const ICategory* GetCategorystd(const std::string& name, bool mandatory) const override;
    bool HasCategory(int id) const override;
    bool HasCategory(const ORLO::String& name) const override;
    bool HasCategorystd(const std::string& name) const override;
    const CategorySet& GetCategories() const override { return categories_; }

    const IMetaType* GetMetaType(int id, bool mandatory) const override;
    const IMetaType* GetMetaType(const ORLO::String& name, bool mandatory) const override;
    const IMetaType* GetMetaTypestd(const std::string& name, bool mandatory) const override;
    bool HasMetaType(int id) const override;
    bool HasMetaType(const ORLO::String& name) const override;
    const MetaTypeSet& GetMetaTypes() const override { return types_; }

    const IProperty* GetProperty(int id, bool mandatory) const override;
    const IProperty* GetProperty(const ORLO::String& name, bool mandatory) const override;
    const IProperty* GetPropertystd(const std::string& name, bool mandatory) const override;
    bool HasProperty(int id) const override;
    bool HasProperty(const ORLO::String& name) const override;
    bool HasPropertystd(const std::string& name) const override;
    const PropertySet& GetProperties() const override { return properties_; }

    std::uint64_t GetVersion() const override { return version_; }

    // Not part of the view: its callers have no such call.
    virtual bool HasMetaTypestd(const std::string& name) const;

    // The add operations check nothing: a second element of a name is a second element, and
    // the name table points at the newest. Uniqueness is validation's business. An element
    // keeps the name it was added with.
    CCategory* AddCategory(const ORLO::String& name);
    CMetaType* AddType(const ORLO::String& name);
    // Throws CMetaModelException for a type or merge word it does not know, and is then
    // unchanged.
    CProperty* AddProperty(const ORLO::String& shortName, ORLO::String fullName,
                           const ORLO::String& description, const ORLO::String& type,
                           const ORLO::String& merge, int id, int minimalCardinality,
                           int maximalCardinality);
    // Closes every category over its ancestors and builds the index tables. Called once.
    void FinishBuilding();

    // Position of `other` among the categories of `category`, of `property` among its
    // properties; -1 for a non-member. Valid on a finished model.
    int GetCategoryIndex(const ICategory* category, const ICategory* other) const {
        return tables_.CategoryIndex(category->LocalId(), other->LocalId());
    }
    int GetPropertyIndex(const ICategory* category, const IProperty* property) const {
        return tables_.PropertyIndex(category->LocalId(), property->LocalId());
    }

    // The objects behind the names, for the builder; null when there is none.
    CCategory* FindCategory(const std::string& name) const;
    CMetaType* FindMetaType(const std::string& name) const;

    const CIndexTables& Tables() const { return tables_; }
    // The category itself when it belongs to this model, else null.
    CCategory* OwnCategory(const ICategory* category) const;
    // Whether some category declares a property that names another category as its own: only
    // then can a category meet a property twice among its ancestors.
    bool PropertiesMayRepeat() const { return propertiesMayRepeat_; }
    void NoteDeclarationElsewhere() const { propertiesMayRepeat_ = true; }
    bool IsFinished() const { return buildingFinished_; }
    // Bytes held by the tables and indexes of the model, without the elements themselves.
    std::size_t IndexMemoryUsed() const;

    // A plain counter to read; models made on two threads at once take their numbers through
    // an atomic view of it.
    static std::uint64_t next_version;

private:
    bool IsBuildingFinished() const { return buildingFinished_; }

    // Everything the model owns. Shared with shallow copies, so that whichever goes last frees
    // it.
    struct Elements {
        // The properties with their types and attributes; goes last.
        CArena arena;
        std::vector<std::unique_ptr<CCategory>> categories; // by local id
        std::vector<CProperty*> properties;                 // by local id, in the arena
        ~Elements();
    };

    template <class Found>
    const Found* lookUp(const CNameTable<Found>& table, const std::string& name, bool mandatory,
                        const char* id, const char* argument) const;
    void addCategoryObject(std::unique_ptr<CCategory> category);

    CIndexTables tables_;
    bool buildingFinished_ = false;
    // Noted by the categories while they are filled.
    mutable bool propertiesMayRepeat_ = false;
    CategorySet categories_;
    PropertySet properties_;
    MetaTypeSet types_;
    CNameTable<CCategory> categoryNames_;
    CNameTable<CMetaType> typeNames_;
    CNameTable<CProperty> propertyNames_;
    std::uint64_t version_;
    std::shared_ptr<Elements> elements_;
};

} // namespace QEL
