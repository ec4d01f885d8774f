#pragma once

#include "interfaces/imetamodel.h"

#include <string>
#include <vector>

namespace Cli {

// One difference between an installed meta-model and a proposed one.
struct ModelChange {
    enum class Element { Category, Type, Property };
    // In the order in which the changes of one element are listed.
    enum class Kind {
        Added,
        Removed,
        Renamed,
        NewId,
        KindChanged,
        Owner,
        Type,
        ReferencedCategory,
        MinimalCardinality,
        MaximalCardinality,
        Merge,
        ParentAdded,
        ParentRemoved,
        TreeParentAdded,
        TreeParentRemoved,
        Status,
        Description,
        AttributeAdded,
        AttributeRemoved,
        AttributeValue,
        AttributeStatus,
    };
    // A value as it was or became: a number, a word, or a free text that printing quotes.
    struct Value {
        enum class Form { None, Number, Word, Text };
        Form form = Form::None;
        long long number = 0;
        std::string text;

        static Value of(long long number) { return {Form::Number, number, {}}; }
        static Value word(std::string text) { return {Form::Word, 0, std::move(text)}; }
        static Value quoted(std::string text) { return {Form::Text, 0, std::move(text)}; }
        bool operator==(const Value&) const = default;
    };

    // The element as the proposed model has it; as the installed one had it when removed.
    Element element;
    std::string name;
    int id;
    Kind kind;
    bool breaking;
    // The attribute, parent or tree parent that the change is about.
    std::string subject;
    // The tree of a tree link.
    std::string tree;
    Value from;
    Value to;
};

// The changes that turn `installed` into `proposed`, by element kind, name, then change.
// Elements are matched by name, then an unmatched one by id (a rename); categories and types
// share both. A property's owner and referenced category are compared through that matching,
// so a renamed category does not make its properties look moved.
std::vector<ModelChange> diffModels(const QEL::IMetaModel& installed,
                                    const QEL::IMetaModel& proposed);

// The word of each change kind, as the JSON form names it ("added", "type", ...).
const char* changeWord(ModelChange::Kind kind);
const char* elementWord(ModelChange::Element element);

} // namespace Cli
