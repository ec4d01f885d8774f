#pragma once

#include "interfaces/idset.h"
#include "metamodel/stream/metamodelevents.h"
#include "metamodel/textstore.h"
#include "metamodel/validation/wordvalidators.h"
#include "platform/messages.h"

#include <functional>
#include <memory>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace MetaModel {

// Judges a stream while it runs and at its end, without building anything: conflicts of names
// and ids, name rules, cardinalities, duplicate attributes and inheritance links; at the end
// the references that only the whole stream can resolve. Every breach is reported and the
// run goes on, so one run shows every fault of a document set. Errors make the stream
// invalid; warnings are only said.
class CValidationMetaModelEvents : public CMetaModelEvents {
public:
    // With throwAtEnd a faulty stream ends in CSemanticMetaModelException at its End.
    explicit CValidationMetaModelEvents(bool throwAtEnd = true);
    ~CValidationMetaModelEvents() override;

    bool isValid() const { return valid_; }
    int errorCount() const { return errorCount_; }

    static bool checkCategoryName(const String& name);
    static bool checkUserPropertyName(const String& name);
    static bool checkUserCategoryName(const String& name);
    static bool checkPropertyReservedName(const String& name, const int& id);

protected:
    void OnStart() override;
    void OnEnd() override;
    void OnStartCategory(const String& name, bool partial, const String& description, int id,
                         const ElementStatus& status) override;
    void OnStartType(const String& name, bool partial, const String& description, int id,
                     const ElementStatus& status) override;
    void OnStartProperty(const String& name, const String& description, const String& type,
                         const int& minimalCardinality, const int& maximalCardinality,
                         const String& merge, int id, const ElementStatus& status) override;
    void OnEndProperty() override;
    void OnAttribute(const String& name, int value, const ElementStatus& status) override;
    void OnAttribute(const String& name, const String& value, const ElementStatus& status) override;
    void OnInheritedCategory(const String& name, const ElementStatus& status) override;
    void OnTree(const String& parent, const String& category, const ElementStatus& status) override;

private:
    // Where in the stream something stood; kept small since every property has one.
    // Where a message points (the document and position being read), and the stream
    // location its LOCATION argument names: what GetSource answered then.
    struct Location {
        int document = -1; // index into documents_, -1 for none
        int source = -1;   // likewise
        int line = 0;
        int column = 0;
    };

    struct InheritanceRecord {
        String name;
        Location location;
    };

    struct TreeRecord {
        String parent;
        String category;
        Location location;
    };

    // The attribute names of one property or element form a chain through attributeNames_,
    // newest first, so that a property costs no list of its own.
    static constexpr int noAttribute = -1;
    struct AttributeName {
        const String* name;
        int next;
    };

    // Only what a rule looks at is kept: descriptions and attribute values never are. A set
    // has a record per property, so the texts live in texts_, the repeating ones once.
    struct PropertyRecord {
        int id = 0;
        int attributes = noAttribute;
        Location location;
        std::string_view name;
        const String* type = nullptr;
        const String* merge = nullptr;
    };

    struct TypeOrCategory {
        int id = 0;
        bool declared = false;
        bool partiallyDeclared = false;
        Location location;
        String name;
        std::vector<InheritanceRecord> inherited;
        std::vector<TreeRecord> trees;
        int attributes = noAttribute;
        // In arrival order, one per id; the end-of-stream checks go by ascending id.
        std::vector<PropertyRecord> properties;
    };

    struct NameHash {
        size_t operator()(const String& name) const { return std::hash<std::string_view>()(name); }
    };
    using Records = std::unordered_map<String, TypeOrCategory, NameHash>;
    // Whether a type or merge text is known. The texts are interned, so each distinct one is
    // judged once per end of stream, however many properties name it.
    using Verdicts = std::unordered_map<const String*, bool>;

    // Answers whether the declaration was accepted.
    bool startElement(Records& own, const Records& other, const char* nameConflict,
                      const char* idConflict, const String& name, bool partial, int id);
    void attribute(const String& name);
    // Forgets every record of the stream and gives back its memory; the id sets stay.
    void dropRecords();
    // The records of a map in ascending name order, as the end-of-stream checks report.
    static std::vector<const TypeOrCategory*> byName(const Records& records);
    void checkInheritance(const TypeOrCategory& item);
    void checkProperties(const TypeOrCategory& item, Verdicts& types, Verdicts& merges);
    void checkTrees(const TypeOrCategory& item);
    void checkCategory(const TypeOrCategory& item);

    Location currentLocation();
    CppLanguage::DocumentPosition positionOf(const Location& location) const;
    int documentIndex(std::string_view document);
    String sourceOf(const Location& location) const;
    void error(const Location& location, const char* id,
               std::initializer_list<CppLanguage::MsgArg> args);
    void warning(const Location& location, const char* id,
                 std::initializer_list<CppLanguage::MsgArg> args);

    Records types_;
    Records categories_;
    QEL::IdSet declaredIds_;
    QEL::IdSet propertyIds_;
    std::vector<AttributeName> attributeNames_;
    TextStore texts_;
    TypeOrCategory* currentItem_ = nullptr;
    std::unique_ptr<TypeOrCategory> currentDeclaration_;
    PropertyRecord* currentProperty_ = nullptr;
    bool valid_ = true;
    const bool throwAtEnd_;
    int errorCount_ = 0;
    std::vector<String> documents_;
};

} // namespace MetaModel
