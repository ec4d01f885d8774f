#include "cli/commandline.h"
#include "cli/diagnostics.h"
#include "cli/modelsource.h"
#include "cli/modelwords.h"
#include "cli/repositoryaccess.h"

#include "metamodel/builder/metamodelbuilder.h"
#include "metamodel/model/metamodel.h"
#include "metamodel/model/propertyclassifiers.h"
#include "metamodel/model/propertytype.h"
#include "platform/messages.h"

#include <algorithm>
#include <cstdio>
#include <set>
#include <string>
#include <tuple>
#include <vector>

namespace Cli {

namespace {

constexpr int exitSuccess = 0;
constexpr int exitFailure = 1;

template <class Set> std::vector<std::string> sortedNames(const Set& members) {
    std::vector<std::string> names;
    names.reserve(members.size());
    for (const auto* member : members)
        names.push_back(member->GetName());
    std::sort(names.begin(), names.end());
    return names;
}

// Attributes by name, then value; an integer before a string of the same name.
std::vector<const QEL::IAttribute*> sortedAttributes(const QEL::IAttributedItem& item) {
    std::vector<const QEL::IAttribute*> attributes(item.GetAttributes().begin(),
                                                   item.GetAttributes().end());
    const auto key = [](const QEL::IAttribute* attribute) {
        const bool integer = attribute->IsInteger();
        return std::make_tuple(std::string_view(attribute->GetName()), !integer,
                               integer ? attribute->GetIntegerValue() : 0,
                               integer ? std::string_view()
                                       : std::string_view(attribute->GetStringValue()));
    };
    std::stable_sort(attributes.begin(), attributes.end(),
                     [&key](const auto* a, const auto* b) { return key(a) < key(b); });
    return attributes;
}

using TreeLinks = std::vector<std::pair<std::string, std::vector<std::string>>>;

// The trees in which the type has members on that side, by tree name.
TreeLinks treeLinks(const QEL::CMetaType::TreeMap& trees) {
    TreeLinks links;
    for (const auto& [tree, members] : trees)
        if (!members.empty())
            links.emplace_back(tree->GetName(), sortedNames(members));
    std::sort(links.begin(), links.end());
    return links;
}

const QEL::CMetaType::TreeMap& noTrees() {
    static const QEL::CMetaType::TreeMap none;
    return none;
}

// One JSON object, written key by key in the order of the calls.
class JsonObject {
public:
    JsonObject& key(const char* name) {
        text_ += text_.size() > 1 ? "," : "";
        appendJsonString(text_, name);
        text_ += ':';
        return *this;
    }
    JsonObject& string(const char* name, const std::string& value) {
        key(name);
        appendJsonString(text_, value.c_str());
        return *this;
    }
    JsonObject& nameOrNull(const char* name, const QEL::ICategory* category) {
        return category ? string(name, category->GetName()) : raw(name, "null");
    }
    JsonObject& number(const char* name, long long value) {
        return raw(name, std::to_string(value));
    }
    JsonObject& boolean(const char* name, bool value) {
        return raw(name, value ? "true" : "false");
    }
    JsonObject& names(const char* name, const std::vector<std::string>& values) {
        key(name);
        appendList(values);
        return *this;
    }
    JsonObject& attributes(const QEL::IAttributedItem& item) {
        key("attributes");
        text_ += '[';
        bool first = true;
        for (const QEL::IAttribute* attribute : sortedAttributes(item)) {
            text_ += first ? "" : ",";
            first = false;
            JsonObject entry;
            entry.string("name", attribute->GetName());
            if (attribute->IsInteger())
                entry.string("type", "integer").number("value", attribute->GetIntegerValue());
            else
                entry.string("type", "string").string("value", attribute->GetStringValue());
            entry.string("status", statusWord(attribute->GetStatus()));
            text_ += entry.finished();
        }
        text_ += ']';
        return *this;
    }
    JsonObject& trees(const char* name, const TreeLinks& links) {
        key(name);
        text_ += '{';
        bool first = true;
        for (const auto& [tree, members] : links) {
            text_ += first ? "" : ",";
            first = false;
            appendJsonString(text_, tree.c_str());
            text_ += ':';
            appendList(members);
        }
        text_ += '}';
        return *this;
    }
    std::string finished() const { return text_ + "}"; }

private:
    JsonObject& raw(const char* name, const std::string& value) {
        key(name);
        text_ += value;
        return *this;
    }
    void appendList(const std::vector<std::string>& values) {
        text_ += '[';
        for (size_t i = 0; i < values.size(); ++i) {
            text_ += i ? "," : "";
            appendJsonString(text_, values[i].c_str());
        }
        text_ += ']';
    }

    std::string text_ = "{";
};

std::string categoryJson(const QEL::ICategory& category) {
    const auto* type = dynamic_cast<const QEL::CMetaType*>(&category);
    JsonObject json;
    json.string("kind", type ? "type" : "category")
        .string("name", category.GetName())
        .number("id", category.GetId())
        .number("localId", category.GetLocalId())
        .string("status", statusWord(category.GetStatus()))
        .string("description", category.GetDescription())
        .boolean("isLanguage", category.isLanguage())
        .boolean("hasIndex", category.hasIndex());
    if (type)
        json.nameOrNull("language", type->getLanguage());
    json.names("parents", sortedNames(category.GetLocalCategories()))
        .names("allCategories", sortedNames(category.GetAllCategories()))
        .names("properties", sortedNames(category.GetLocalProperties()))
        .names("allProperties", sortedNames(category.GetAllProperties()))
        .attributes(category)
        .trees("treeParents", treeLinks(type ? type->GetTreeParentMap() : noTrees()))
        .trees("treeChildren", treeLinks(type ? type->GetTreeChildMap() : noTrees()));
    return json.finished();
}

std::string propertyJson(const QEL::IProperty& property) {
    const QEL::IPropertyType& type = *property.GetPropertyType();
    JsonObject json;
    json.string("kind", "property")
        .string("name", property.GetName())
        .string("shortName", property.GetShortName())
        .number("id", property.GetId())
        .number("localId", property.GetLocalId())
        .string("status", statusWord(property.GetStatus()))
        .string("description", property.GetDescription())
        .string("type", typeWord(type))
        .number("minimalCardinality", type.GetMinimalCardinality())
        .number("maximalCardinality", type.GetMaximalCardinality())
        .number("merge", property.GetMerge())
        .nameOrNull("category", property.GetCategory())
        .nameOrNull("referencedCategory", type.GetReferencedCategory())
        .boolean("transient", property.IsTransient())
        .boolean("indexed", property.IsIndexed())
        .attributes(property);
    return json.finished();
}

std::string nameOrDash(const QEL::ICategory* category) {
    return category ? std::string(category->GetName()) : std::string("-");
}

std::string joined(const std::vector<std::string>& names) {
    std::string text;
    for (const std::string& name : names)
        text += (text.empty() ? "" : ", ") + name;
    return text.empty() ? "-" : text;
}

std::string attributeLines(const QEL::IAttributedItem& item) {
    std::string text;
    for (const QEL::IAttribute* attribute : sortedAttributes(item)) {
        text += "    " + attribute->GetName() + " = ";
        text += attribute->IsInteger() ? std::to_string(attribute->GetIntegerValue())
                                       : "\"" + attribute->GetStringValue() + "\"";
        text += std::string(" (") + statusWord(attribute->GetStatus()) + ")\n";
    }
    return text;
}

std::string treeLines(const char* label, const TreeLinks& links) {
    std::string text;
    for (const auto& [tree, members] : links)
        text += std::string("  ") + label + " in " + tree + ": " + joined(members) + "\n";
    return text;
}

std::string categoryText(const QEL::ICategory& category) {
    const auto* type = dynamic_cast<const QEL::CMetaType*>(&category);
    std::string text = std::string(type ? "type " : "category ") + category.GetName() + "\n";
    text += "  id " + std::to_string(category.GetId()) + ", local id " +
            std::to_string(category.GetLocalId()) + ", " + statusWord(category.GetStatus()) +
            (category.isLanguage() ? ", a language" : "") +
            (category.hasIndex() ? ", indexed" : "") + "\n";
    text += "  description: " + category.GetDescription() + "\n";
    if (type) {
        const QEL::ICategory* language = type->getLanguage();
        text += "  language: " + nameOrDash(language) + "\n";
    }
    text += "  parents: " + joined(sortedNames(category.GetLocalCategories())) + "\n";
    text += "  all categories: " + joined(sortedNames(category.GetAllCategories())) + "\n";
    text += "  properties: " + joined(sortedNames(category.GetLocalProperties())) + "\n";
    text += "  all properties: " + joined(sortedNames(category.GetAllProperties())) + "\n";
    const std::string attributes = attributeLines(category);
    text += "  attributes:" + std::string(attributes.empty() ? " -\n" : "\n" + attributes);
    if (type) {
        text += treeLines("parents", treeLinks(type->GetTreeParentMap()));
        text += treeLines("children", treeLinks(type->GetTreeChildMap()));
    }
    return text;
}

std::string propertyText(const QEL::IProperty& property) {
    const QEL::IPropertyType& type = *property.GetPropertyType();
    const int maximal = type.GetMaximalCardinality();
    std::string text = "property " + property.GetName() + "\n";
    text += "  id " + std::to_string(property.GetId()) + ", local id " +
            std::to_string(property.GetLocalId()) + ", " + statusWord(property.GetStatus()) +
            (property.IsTransient() ? ", transient" : "") +
            (property.IsIndexed() ? ", indexed" : "") + "\n";
    text += "  description: " + property.GetDescription() + "\n";
    text += "  type " + typeWord(type) + " [" + std::to_string(type.GetMinimalCardinality()) +
            ".." + (maximal < 0 ? std::string("*") : std::to_string(maximal)) + "], merge " +
            std::to_string(property.GetMerge()) + "\n";
    const QEL::ICategory* target = type.GetReferencedCategory();
    if (target)
        text += "  references: " + target->GetName() + "\n";
    const QEL::ICategory* owner = property.GetCategory();
    text += "  category: " + nameOrDash(owner) + "\n";
    const std::string attributes = attributeLines(property);
    text += "  attributes:" + std::string(attributes.empty() ? " -\n" : "\n" + attributes);
    return text;
}

template <class Element> bool byName(const Element* a, const Element* b) {
    return std::make_pair(std::string_view(a->GetName()), a->GetLocalId()) <
           std::make_pair(std::string_view(b->GetName()), b->GetLocalId());
}

struct Selection {
    std::vector<const QEL::ICategory*> categories;
    std::vector<const QEL::IProperty*> properties;
};

// The named elements, or every element; false when a name is neither a category nor a
// property. Every such name is reported.
bool select(const QEL::IMetaModel& model, const std::vector<std::string>& names,
            Selection& selection) {
    if (names.empty()) {
        selection.categories.assign(model.GetCategories().begin(), model.GetCategories().end());
        selection.properties.assign(model.GetProperties().begin(), model.GetProperties().end());
    }
    bool allKnown = true;
    std::set<const QEL::ICategory*> categories;
    std::set<const QEL::IProperty*> properties;
    for (const std::string& name : names) {
        const QEL::ICategory* category = model.GetCategorystd(name, false);
        const QEL::IProperty* property = model.GetPropertystd(name, false);
        if (!category && !property) {
            // The model's own failure says what is missing.
            try {
                if (name.find('.') != std::string::npos)
                    model.GetPropertystd(name, true);
                else
                    model.GetCategorystd(name, true);
            } catch (const QEL::CMetaModelException& missing) {
                CppLanguage::reportException(missing);
            }
            allKnown = false;
        }
        if (category && categories.insert(category).second)
            selection.categories.push_back(category);
        if (property && properties.insert(property).second)
            selection.properties.push_back(property);
    }
    std::sort(selection.categories.begin(), selection.categories.end(), byName<QEL::ICategory>);
    std::sort(selection.properties.begin(), selection.properties.end(), byName<QEL::IProperty>);
    return allKnown;
}

void print(const std::string& text) {
    std::fwrite(text.data(), 1, text.size(), stdout);
}

int describe(const CommandArguments& arguments) {
    ModelSource source("describe", arguments);
    MetaModel::CMetaModelBuilder builder;
    if (!buildModel(source, builder))
        return exitFailure;
    const QEL::IMetaModel& model = keepUntilExit(builder);
    const auto found = arguments.values.find("element");
    Selection selection;
    // The elements that are there are printed all the same; an unknown name fails the run.
    const bool allKnown =
        select(model, found == arguments.values.end() ? std::vector<std::string>{} : found->second,
               selection);

    const bool json = arguments.has("json");
    bool first = true;
    const auto emit = [&](const std::string& jsonLine, const auto& textOf, const auto& element) {
        if (json) {
            print(jsonLine + "\n");
            return;
        }
        print((first ? "" : "\n") + textOf(element));
        first = false;
    };
    for (const QEL::ICategory* category : selection.categories)
        emit(json ? categoryJson(*category) : "", categoryText, *category);
    for (const QEL::IProperty* property : selection.properties)
        emit(json ? propertyJson(*property) : "", propertyText, *property);
    return std::fflush(stdout) == 0 && allKnown ? exitSuccess : exitFailure;
}

const CommandRegistration describeCommand({
    "describe",
    "build the model of the documents, unchecked, and print the named elements or all of them",
    {
        {"json", 0, nullptr, "one JSON object per element and line"},
        {"element", 'e', "NAME", "a category, type or property (by full name) to print", true},
        databaseOption,
        schemaOption,
    },
    "[PATH...]",
    30,
    [](const GlobalOptions&, const CommandArguments& arguments) { return describe(arguments); },
});

} // namespace

} // namespace Cli
