#include "cli/modeldiff.h"

#include "cli/modelwords.h"
#include "metamodel/model/category.h"

#include <algorithm>
#include <limits>
#include <map>
#include <optional>
#include <set>
#include <tuple>
#include <unordered_map>
#include <unordered_set>

namespace Cli {

namespace {

using Change = ModelChange;
using Kind = ModelChange::Kind;
using Value = ModelChange::Value;

constexpr int noId = std::numeric_limits<int>::min();

// Says only from which folder a document was read: two copies of one set differ in it, and
// the meta-model does not.
const char* const rootPathAttribute = "ROOT_PATH";

Change::Element elementOf(const QEL::ICategory& category) {
    return category.IsType() ? Change::Element::Type : Change::Element::Category;
}
Change::Element elementOf(const QEL::IProperty&) {
    return Change::Element::Property;
}

bool renamed(const QEL::ICategory& old, const QEL::ICategory& now) {
    return old.GetName() != now.GetName();
}
// The owner's part of the full name is the owner's change.
bool renamed(const QEL::IProperty& old, const QEL::IProperty& now) {
    return old.GetShortName() != now.GetShortName();
}

// Who a change is about.
struct Subject {
    Change::Element element;
    std::string name;
    int id;
};

template <class Element> using Pairs = std::vector<std::pair<const Element*, const Element*>>;

// Installed and proposed elements side by side: by name, then what is left by id; a
// missing side (null) is an element added or removed.
template <class Element, class Set, class ByName, class ById>
Pairs<Element> match(const Set& installed, const Set& proposed, const ByName& byName,
                     const ById& byId) {
    Pairs<Element> pairs;
    std::unordered_set<const Element*> taken;
    std::vector<const Element*> unmatched;
    for (const Element* old : installed) {
        if (const Element* now = byName(old->GetName())) {
            pairs.emplace_back(old, now);
            taken.insert(now);
        } else {
            unmatched.push_back(old);
        }
    }
    for (const Element* old : unmatched) {
        const Element* now = old->GetId() == noId ? nullptr : byId(old->GetId());
        if (now && taken.insert(now).second)
            pairs.emplace_back(old, now);
        else
            pairs.emplace_back(old, nullptr);
    }
    for (const Element* now : proposed)
        if (!taken.count(now))
            pairs.emplace_back(nullptr, now);
    return pairs;
}

std::string nameOf(const QEL::ICategory* category) {
    return category ? std::string(category->GetName()) : std::string();
}

std::map<std::string, const QEL::IAttribute*> latestAttributes(const QEL::IAttributedItem& item) {
    std::map<std::string, const QEL::IAttribute*> latest;
    for (const QEL::IAttribute* attribute : item.GetAttributes())
        if (attribute->GetName() != rootPathAttribute)
            latest.emplace(attribute->GetName(), item.GetAttribute(attribute->GetName()));
    return latest;
}

Value attributeValue(const QEL::IAttribute& attribute) {
    return attribute.IsInteger() ? Value::of(attribute.GetIntegerValue())
                                 : Value::quoted(attribute.GetStringValue());
}

// A maximal cardinality of -1 is unbounded.
bool narrowsMaximum(int from, int to) {
    return to >= 0 && (from < 0 || to < from);
}

class Differ {
public:
    Differ(const QEL::IMetaModel& installed, const QEL::IMetaModel& proposed)
        : installed_(installed), proposed_(proposed) {}

    std::vector<Change> run() {
        const auto categories = match<QEL::ICategory>(
            installed_.GetCategories(), proposed_.GetCategories(),
            [&](const ORLO::String& name) { return proposed_.GetCategory(name, false); },
            [&](int id) { return proposed_.GetCategory(id, false); });
        for (const auto& [old, now] : categories)
            if (old && now)
                counterparts_.emplace(old, now);
        for (const auto& [old, now] : categories)
            compareCategories(old, now);
        const auto properties = match<QEL::IProperty>(
            installed_.GetProperties(), proposed_.GetProperties(),
            [&](const ORLO::String& name) { return proposed_.GetProperty(name, false); },
            [&](int id) { return proposed_.GetProperty(id, false); });
        for (const auto& [old, now] : properties)
            compareProperties(old, now);
        std::stable_sort(changes_.begin(), changes_.end(), [](const Change& a, const Change& b) {
            return std::tie(a.element, a.name, a.kind, a.subject, a.tree) <
                   std::tie(b.element, b.name, b.kind, b.subject, b.tree);
        });
        return std::move(changes_);
    }

private:
    void emit(const Subject& about, Kind kind, bool breaking, Value from = {}, Value to = {},
              std::string subject = {}, std::string tree = {}) {
        changes_.push_back({about.element, about.name, about.id, kind, breaking, std::move(subject),
                            std::move(tree), std::move(from), std::move(to)});
    }

    // An installed category by the name of its proposed counterpart, so that a rename is
    // told once, on the category itself.
    std::string installedName(const QEL::ICategory* category) const {
        const auto found = counterparts_.find(category);
        return nameOf(found == counterparts_.end() ? category : found->second);
    }

    // Added and removed members of two sets of names, as changes `added` and `removed`; a
    // removal breaks.
    template <class Member, class Describe>
    void compareSets(const Subject& about, const std::set<Member>& before,
                     const std::set<Member>& after, Kind added, Kind removed,
                     const Describe& emitOne) {
        for (const Member& member : after)
            if (!before.count(member))
                emitOne(about, added, false, member);
        for (const Member& member : before)
            if (!after.count(member))
                emitOne(about, removed, true, member);
    }

    // Added, removed, renamed, given a new id; answers who the further changes are about,
    // or nothing when one side is missing.
    template <class Element>
    std::optional<Subject> compareIdentity(const Element* old, const Element* now) {
        if (!now) {
            emit({elementOf(*old), old->GetName(), old->GetId()}, Kind::Removed, true);
            return {};
        }
        const Subject about{elementOf(*now), now->GetName(), now->GetId()};
        if (!old) {
            emit(about, Kind::Added, false);
            return {};
        }
        if (renamed(*old, *now))
            emit(about, Kind::Renamed, true, Value::word(old->GetName()),
                 Value::word(now->GetName()));
        if (old->GetId() != now->GetId())
            emit(about, Kind::NewId, true, Value::of(old->GetId()), Value::of(now->GetId()));
        return about;
    }

    void compareCategories(const QEL::ICategory* old, const QEL::ICategory* now) {
        const std::optional<Subject> identity = compareIdentity(old, now);
        if (!identity)
            return;
        const Subject& about = *identity;
        // Instances of a type have nothing to be once it is a mere category.
        if (old->IsType() != now->IsType())
            emit(about, Kind::KindChanged, old->IsType(), Value::word(elementWord(elementOf(*old))),
                 Value::word(elementWord(about.element)));

        std::set<std::string> parentsBefore, parentsAfter;
        for (const QEL::ICategory* parent : old->GetLocalCategories())
            parentsBefore.insert(installedName(parent));
        for (const QEL::ICategory* parent : now->GetLocalCategories())
            parentsAfter.insert(nameOf(parent));
        compareSets(about, parentsBefore, parentsAfter, Kind::ParentAdded, Kind::ParentRemoved,
                    [&](const Subject& s, Kind kind, bool breaking, const std::string& parent) {
                        emit(s, kind, breaking, {}, {}, parent);
                    });

        using Link = std::pair<std::string, std::string>; // tree, parent
        std::set<Link> treesBefore, treesAfter;
        if (const auto* type = dynamic_cast<const QEL::CMetaType*>(old))
            for (const auto& [tree, parents] : type->GetTreeParentMap())
                for (const QEL::IMetaType* parent : parents)
                    treesBefore.emplace(installedName(tree), installedName(parent));
        if (const auto* type = dynamic_cast<const QEL::CMetaType*>(now))
            for (const auto& [tree, parents] : type->GetTreeParentMap())
                for (const QEL::IMetaType* parent : parents)
                    treesAfter.emplace(nameOf(tree), nameOf(parent));
        compareSets(about, treesBefore, treesAfter, Kind::TreeParentAdded, Kind::TreeParentRemoved,
                    [&](const Subject& s, Kind kind, bool breaking, const Link& link) {
                        emit(s, kind, breaking, {}, {}, link.second, link.first);
                    });
        compareCommon(about, *old, *now);
    }

    void compareProperties(const QEL::IProperty* old, const QEL::IProperty* now) {
        const std::optional<Subject> identity = compareIdentity(old, now);
        if (!identity)
            return;
        const Subject& about = *identity;
        if (const std::string before = installedName(old->GetCategory()),
            after = nameOf(now->GetCategory());
            before != after)
            emit(about, Kind::Owner, true, Value::word(before), Value::word(after));

        const QEL::IPropertyType& oldType = *old->GetPropertyType();
        const QEL::IPropertyType& newType = *now->GetPropertyType();
        if (oldType.GetKind() != newType.GetKind()) {
            emit(about, Kind::Type, true, Value::word(typeWord(oldType)),
                 Value::word(typeWord(newType)));
        } else if (const std::string before = installedName(oldType.GetReferencedCategory()),
                   after = nameOf(newType.GetReferencedCategory());
                   before != after) {
            emit(about, Kind::ReferencedCategory, true, Value::word(before), Value::word(after));
        }
        const int minimal = oldType.GetMinimalCardinality();
        if (minimal != newType.GetMinimalCardinality())
            emit(about, Kind::MinimalCardinality, newType.GetMinimalCardinality() > minimal,
                 Value::of(minimal), Value::of(newType.GetMinimalCardinality()));
        const int maximal = oldType.GetMaximalCardinality();
        if (maximal != newType.GetMaximalCardinality())
            emit(about, Kind::MaximalCardinality,
                 narrowsMaximum(maximal, newType.GetMaximalCardinality()), Value::of(maximal),
                 Value::of(newType.GetMaximalCardinality()));
        if (old->GetMerge() != now->GetMerge())
            emit(about, Kind::Merge, false, Value::word(mergeWord(old->GetMerge())),
                 Value::word(mergeWord(now->GetMerge())));
        compareCommon(about, *old, *now);
    }

    // Status, description and attributes: they describe an element, its data stay valid.
    template <class Element>
    void compareCommon(const Subject& about, const Element& old, const Element& now) {
        if (old.GetStatus() != now.GetStatus())
            emit(about, Kind::Status, false, Value::word(statusWord(old.GetStatus())),
                 Value::word(statusWord(now.GetStatus())));
        if (old.GetDescription() != now.GetDescription())
            emit(about, Kind::Description, false, Value::quoted(old.GetDescription()),
                 Value::quoted(now.GetDescription()));
        const auto before = latestAttributes(old);
        const auto after = latestAttributes(now);
        for (const auto& [name, attribute] : after) {
            const auto found = before.find(name);
            if (found == before.end()) {
                emit(about, Kind::AttributeAdded, false, {}, attributeValue(*attribute), name);
                continue;
            }
            const Value from = attributeValue(*found->second);
            const Value to = attributeValue(*attribute);
            if (!(from == to))
                emit(about, Kind::AttributeValue, false, from, to, name);
            if (found->second->GetStatus() != attribute->GetStatus())
                emit(about, Kind::AttributeStatus, false,
                     Value::word(statusWord(found->second->GetStatus())),
                     Value::word(statusWord(attribute->GetStatus())), name);
        }
        for (const auto& [name, attribute] : before)
            if (!after.count(name))
                emit(about, Kind::AttributeRemoved, false, attributeValue(*attribute), {}, name);
    }

    const QEL::IMetaModel& installed_;
    const QEL::IMetaModel& proposed_;
    std::unordered_map<const QEL::ICategory*, const QEL::ICategory*> counterparts_;
    std::vector<Change> changes_;
};

} // namespace

std::vector<ModelChange> diffModels(const QEL::IMetaModel& installed,
                                    const QEL::IMetaModel& proposed) {
    return Differ(installed, proposed).run();
}

const char* changeWord(ModelChange::Kind kind) {
    static const char* const words[] = {"added",
                                        "removed",
                                        "renamed",
                                        "id",
                                        "kind",
                                        "category",
                                        "type",
                                        "referencedCategory",
                                        "minimalCardinality",
                                        "maximalCardinality",
                                        "merge",
                                        "parentAdded",
                                        "parentRemoved",
                                        "treeParentAdded",
                                        "treeParentRemoved",
                                        "status",
                                        "description",
                                        "attributeAdded",
                                        "attributeRemoved",
                                        "attributeValue",
                                        "attributeStatus"};
    static_assert(std::size(words) == size_t(ModelChange::Kind::AttributeStatus) + 1);
    return words[size_t(kind)];
}

const char* elementWord(ModelChange::Element element) {
    static const char* const words[] = {"category", "type", "property"};
    return words[size_t(element)];
}

} // namespace Cli
