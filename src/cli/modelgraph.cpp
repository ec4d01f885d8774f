#include "cli/modelgraph.h"

#include "cli/modelwords.h"
#include "metamodel/model/category.h"

#include <algorithm>
#include <deque>
#include <map>
#include <set>
#include <tuple>
#include <vector>

namespace Cli {

namespace {

using Category = const QEL::ICategory*;

bool byName(Category a, Category b) {
    return std::make_pair(std::string_view(a->GetName()), a->GetLocalId()) <
           std::make_pair(std::string_view(b->GetName()), b->GetLocalId());
}

template <class Set> std::vector<Category> sorted(const Set& members) {
    std::vector<Category> list(members.begin(), members.end());
    std::sort(list.begin(), list.end(), byName);
    return list;
}

// A DOT identifier. Inside quotes only the quote itself needs a backslash, but a backslash
// before the closing quote would swallow it, so backslashes are doubled too.
std::string quoted(std::string_view text) {
    std::string result = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\')
            result += '\\';
        result += c;
    }
    return result + '"';
}

// A label is shown through Graphviz's escapes ("\n", "\N") and its character entities, so
// both kinds of introducer are written so that they show as themselves.
std::string labelText(std::string_view text) {
    std::string result;
    for (const char c : text) {
        if (c == '&')
            result += "&amp;";
        else if (c == '"' || c == '\\')
            result += std::string("\\") + c;
        else
            result += c;
    }
    return result;
}

// Every category within `levels` steps of `start` along `next`; all of them when `levels` is
// negative.
template <class Next>
void reach(Category start, int levels, const Next& next, std::set<Category>& found) {
    std::deque<std::pair<Category, int>> queue{{start, 0}};
    found.insert(start);
    while (!queue.empty()) {
        const auto [category, depth] = queue.front();
        queue.pop_front();
        if (levels >= 0 && depth >= levels)
            continue;
        for (Category neighbour : next(category))
            if (found.insert(neighbour).second)
                queue.emplace_back(neighbour, depth + 1);
    }
}

std::set<Category> neighbourhood(const QEL::IMetaModel& model, const GraphOptions& options) {
    const Category focus = model.GetCategorystd(options.focus, true);
    std::map<Category, std::vector<Category>> children;
    for (Category category : model.GetCategories())
        for (Category parent : category->GetLocalCategories())
            children[parent].push_back(category);
    std::set<Category> kept;
    reach(
        focus, options.up, [](Category c) { return sorted(c->GetLocalCategories()); }, kept);
    const std::vector<Category> none;
    reach(
        focus, options.down,
        [&](Category c) {
            const auto found = children.find(c);
            return found == children.end() ? none : found->second;
        },
        kept);
    return kept;
}

std::string nodeLine(const QEL::ICategory& category) {
    std::vector<std::string> styles;
    std::string attributes;
    if (category.IsType()) {
        attributes += "shape=box, fillcolor=\"#dce6f2\", ";
        styles.push_back("filled");
    }
    std::string label = labelText(category.GetName());
    switch (category.GetStatus()) {
    case QEL::EsActive:
        break;
    case QEL::EsDeprecated:
        styles.push_back("dashed");
        break;
    default:
        styles.push_back("dotted");
        attributes += "fontcolor=gray40, color=gray40, ";
        break;
    }
    if (category.GetStatus() != QEL::EsActive)
        label += std::string("\\n(") + statusWord(category.GetStatus()) + ")";
    std::string style;
    for (const std::string& word : styles)
        style += (style.empty() ? "" : ",") + word;
    if (!style.empty())
        attributes += "style=\"" + style + "\", ";
    return "\t" + quoted(category.GetName()) + " [" + attributes + "label=\"" + label + "\"];\n";
}

} // namespace

std::string dotGraph(const QEL::IMetaModel& model, const GraphOptions& options) {
    std::vector<Category> nodes;
    if (options.focus.empty()) {
        nodes = sorted(model.GetCategories());
    } else {
        const std::set<Category> kept = neighbourhood(model, options);
        nodes.assign(kept.begin(), kept.end());
        std::sort(nodes.begin(), nodes.end(), byName);
    }
    const std::set<Category> drawn(nodes.begin(), nodes.end());

    std::string text = "digraph metamodel {\n"
                       "\tgraph [rankdir=BT, charset=\"UTF-8\"];\n"
                       "\tnode [shape=ellipse];\n";
    for (Category category : nodes)
        text += nodeLine(*category);
    for (Category child : nodes)
        for (Category parent : sorted(child->GetLocalCategories()))
            if (drawn.count(parent))
                text +=
                    "\t" + quoted(child->GetName()) + " -> " + quoted(parent->GetName()) + ";\n";
    if (!options.trees)
        return text + "}\n";

    // A tree link goes from the child type to its parent type, named by the tree's category.
    std::vector<std::tuple<Category, Category, Category>> links;
    for (Category child : nodes) {
        const auto* type = dynamic_cast<const QEL::CMetaType*>(child);
        if (!type)
            continue;
        for (const auto& [tree, parents] : type->GetTreeParentMap())
            for (const QEL::IMetaType* parent : parents)
                if (drawn.count(parent))
                    links.emplace_back(child, tree, parent);
    }
    std::sort(links.begin(), links.end(), [](const auto& a, const auto& b) {
        const auto key = [](const auto& link) {
            return std::make_tuple(std::string_view(std::get<0>(link)->GetName()),
                                   std::string_view(std::get<1>(link)->GetName()),
                                   std::string_view(std::get<2>(link)->GetName()));
        };
        return key(a) < key(b);
    });
    for (const auto& [child, tree, parent] : links)
        text +=
            "\t" + quoted(child->GetName()) + " -> " + quoted(parent->GetName()) +
            " [style=dashed, constraint=false, color=\"#9a5b00\", fontcolor=\"#9a5b00\", label=\"" +
            labelText(tree->GetName()) + "\"];\n";
    return text + "}\n";
}

} // namespace Cli
