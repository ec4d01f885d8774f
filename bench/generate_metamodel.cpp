// metamodel_generate S|M|L|W|D OUTDIR
//
// Writes a synthetic meta-model set for the benchmarks: S, M and L hold 200, 2,000 and 10,000
// categories and types, 50 to a document, each with 10 properties of 2 attributes. W is L at
// "core" level, whose ids stay below 1001000: every element of it gets a wrapper header. D is L
// with deep inheritance: every parent is one of the 40 latest categories and no bound on paths
// holds, so that each element reaches a large share of all categories. Documents
// go to OUTDIR/configuration/Core/partNNNN/MetaModel.xml. The output depends on nothing but the
// size: a fixed seed and our own random generator (the standard distributions differ between
// library vendors), so every machine measures the same set.
//
// The set has to pass the check operation, otherwise the benchmarks would time the error path.
// Rules it keeps, and why:
// - Every document is "client" level (W: "core") with its own file_no and gives ids by "rid" below
// 1000,
//   so ids of one document never run into the block of another and no two ids clash.
// - Names use only letters, digits and "_", never start with the reserved prefix, and no
//   property is called after a reserved property name: all types of a client document are
//   user types, whose names draw warnings otherwise.
// - Only categories are inherited (a type cannot be), each element inherits 1 to 3 distinct
//   categories of a lower index, so the inheritance graph has no circuit. The root category and
//   the language root are the only elements without parents; something has to come first.
// - The number of upward inheritance paths from an element is bounded (kMaxPaths), except in D:
//   the sets made before D keep the shape they were measured with.
// - A language is a category whose parent is the language root; an element reaches at most one
//   language, so no category inherits from two of them.
// - The tree category is the one the tree circuit check looks at, and each type has at most one
//   tree parent, an earlier type: a second parent whose path meets the first again would count
//   as a circuit there.
// - Property types are the ten primitive words or the name of a declared category, merges are
//   the four merge words, cardinalities are pairs that the stream check accepts.
// - The two integer attributes "INF_TYPE" and "INF_SUB_TYPE" of every property form a pair that
//   no other property has.
// - Partial declarations name an element declared in full in another document, of the same kind,
//   and carry properties with names of their own. An inheritance or tree link moved into a
//   partial block is taken out of the full declaration, so the totals above still hold.
// - Category attributes that the reader derives itself ("ROOT_PATH", "KEY_CLASS") are never
//   written, since they would arrive twice.
// - The set declares its own root, language root and tree category: it is read with empty
//   installation folders. Read beside the installation's base meta-model, these names clash.

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace {

constexpr int kElementsPerDocument = 50;
constexpr int kPropertiesPerElement = 10;
constexpr int kPropertiesPerPartial = 2;
constexpr long long kMaxPaths = 64;
constexpr int kMaxRid = 999;
constexpr std::size_t kDeepRecent = 40;
// How far a category of D reaches turns on where the first links to each language fall, which
// the seed decides: this one gives 12.3 million ancestor entries and 124 million inherited
// property entries, a third of the categories per element.
constexpr std::uint64_t kDeepSalt = 10;
constexpr std::uint64_t kSeed = 0x5eed2024c0ffeeULL;

// Fixed elements at the start of the first document.
constexpr int kRootIndex = 0;
constexpr int kLanguageRootIndex = 1;
constexpr int kTreeIndex = 2;
constexpr int kFirstFreeIndex = 3;

// splitmix64: small, fast, and its output is fixed by its definition.
class Random {
public:
    explicit Random(std::uint64_t seed) : state_(seed) {}

    std::uint64_t next() {
        std::uint64_t z = (state_ += 0x9e3779b97f4a7c15ULL);
        z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9ULL;
        z = (z ^ (z >> 27)) * 0x94d049bb133111ebULL;
        return z ^ (z >> 31);
    }
    // The modulo bias is irrelevant for bounds of a few thousand.
    int below(int bound) { return static_cast<int>(next() % static_cast<std::uint64_t>(bound)); }
    bool percent(int chance) { return below(100) < chance; }

private:
    std::uint64_t state_;
};

struct Element {
    std::string name;
    bool isType = false;
    int document = 0; // file_no, from 1
    std::vector<int> parents;
    int treeParent = -1;
    int language = -1; // the one language it reaches, if any
    long long paths = 1;
    bool fixed = false;
    bool isLanguage = false;
    bool hasPartial = false;
};

struct Partial {
    int target = 0;
    int document = 0;
    int sequence = 0;
    std::vector<int> parents;
    int treeParent = -1;
};

struct Plan {
    std::vector<Element> elements;
    std::vector<int> categories; // indices of all categories, in order
    std::vector<Partial> partials;
    int documents = 0;
    bool deep = false;
};

int documentOf(int index) {
    return index / kElementsPerDocument + 1;
}

std::string numbered(std::string_view prefix, int number) {
    char buffer[32];
    std::snprintf(buffer, sizeof buffer, "%05d", number);
    return std::string(prefix) + buffer;
}

bool canInherit(const Element& child, const Element& parent, long long paths, bool deep) {
    if (parent.language >= 0 && child.language >= 0 && parent.language != child.language)
        return false;
    return deep || paths + parent.paths <= kMaxPaths;
}

void addParent(Element& child, const Element& parent, int parentIndex) {
    child.parents.push_back(parentIndex);
    // Only compared with kMaxPaths, so it may stop growing there; in D it would overflow.
    child.paths = std::min(child.paths + parent.paths, kMaxPaths + 1);
    if (parent.language >= 0)
        child.language = parent.language;
}

// Half of the picks come from the most recent categories, so that chains get some depth; the
// rest from anywhere before, so that links cross many documents.
int pickCategory(Random& random, const std::vector<int>& categories, std::size_t available,
                 bool deep) {
    if (deep) {
        const std::size_t recent = std::min(available, kDeepRecent);
        return categories[available - recent + std::size_t(random.below(int(recent)))];
    }
    constexpr std::size_t kRecent = 3 * kElementsPerDocument;
    if (available > kRecent && random.percent(50))
        return categories[available - kRecent + std::size_t(random.below(int(kRecent)))];
    return categories[std::size_t(random.below(int(available)))];
}

void chooseParents(Random& random, Plan& plan, int index) {
    Element& element = plan.elements[std::size_t(index)];
    const std::size_t available = plan.categories.size();
    const int wanted = 1 + random.below(3);
    for (int slot = 0; slot < wanted; ++slot) {
        for (int attempt = 0; attempt < 8; ++attempt) {
            const int candidate = pickCategory(random, plan.categories, available, plan.deep);
            if (candidate == kLanguageRootIndex || candidate == kTreeIndex)
                continue;
            const Element& parent = plan.elements[std::size_t(candidate)];
            bool repeated = false;
            for (int taken : element.parents)
                repeated = repeated || taken == candidate;
            if (repeated || !canInherit(element, parent, element.paths, plan.deep))
                continue;
            addParent(element, parent, candidate);
            break;
        }
    }
    // The root reaches no language and adds a single path, so it always fits.
    if (element.parents.empty())
        addParent(element, plan.elements[kRootIndex], kRootIndex);
}

Plan makePlan(int total, bool deep) {
    Random random(kSeed ^ std::uint64_t(total) ^ (deep ? kDeepSalt : 0));
    Plan plan;
    plan.deep = deep;
    plan.documents = total / kElementsPerDocument;
    plan.elements.resize(std::size_t(total));

    const int languages = total >= 4000 ? total / 1000 : 2;
    std::vector<bool> languageSlot(std::size_t(total), false);
    for (int j = 0; j < languages; ++j)
        languageSlot[std::size_t(kFirstFreeIndex + j * (total - kFirstFreeIndex) / languages)] =
            true;

    std::vector<int> types;
    int languageCount = 0;
    for (int index = 0; index < total; ++index) {
        Element& element = plan.elements[std::size_t(index)];
        element.document = documentOf(index);
        if (index == kRootIndex) {
            element.name = "Bench_Root";
            element.fixed = true;
        } else if (index == kLanguageRootIndex) {
            element.name = "CsvLanguage";
            element.fixed = true;
        } else if (index == kTreeIndex) {
            element.name = "LanternTree";
            element.fixed = true;
            addParent(element, plan.elements[kRootIndex], kRootIndex);
        } else if (languageSlot[std::size_t(index)]) {
            element.name = numbered("Bench_Language_", languageCount);
            element.isLanguage = true;
            addParent(element, plan.elements[kLanguageRootIndex], kLanguageRootIndex);
            if (random.percent(50))
                addParent(element, plan.elements[kRootIndex], kRootIndex);
            element.language = languageCount++;
        } else {
            element.isType = random.percent(60);
            element.name = numbered(element.isType ? "Bench_Type_" : "Bench_Category_", index);
            chooseParents(random, plan, index);
            if (element.isType && !types.empty() && random.percent(60))
                element.treeParent = types[std::size_t(random.below(int(types.size())))];
        }
        if (element.isType)
            types.push_back(index);
        else
            plan.categories.push_back(index);
    }
    return plan;
}

// One partial block in every document but the first, each extending an element of another
// document, before or after it in the set.
void planPartials(Plan& plan) {
    Random random(kSeed * 3 + plan.elements.size());
    const int total = int(plan.elements.size());
    for (int document = 2; document <= plan.documents; ++document) {
        int target = -1;
        for (int attempt = 0; attempt < 32 && target < 0; ++attempt) {
            const int candidate = kFirstFreeIndex + random.below(total - kFirstFreeIndex);
            const Element& element = plan.elements[std::size_t(candidate)];
            if (element.fixed || element.isLanguage || element.hasPartial ||
                element.document == document)
                continue;
            // Prefer elements that have a link to hand over to the partial block.
            if (element.parents.size() < 2 && element.treeParent < 0 && attempt < 16)
                continue;
            target = candidate;
        }
        if (target < 0)
            continue;
        Element& element = plan.elements[std::size_t(target)];
        element.hasPartial = true;
        Partial partial;
        partial.target = target;
        partial.document = document;
        partial.sequence = int(plan.partials.size());
        if (element.parents.size() >= 2) {
            partial.parents.push_back(element.parents.back());
            element.parents.pop_back();
        }
        if (element.treeParent >= 0 && random.percent(50)) {
            partial.treeParent = element.treeParent;
            element.treeParent = -1;
        }
        plan.partials.push_back(std::move(partial));
    }
}

class DocumentWriter {
public:
    DocumentWriter(const Plan& plan, int document, Random& random, const char* level)
        : plan_(plan), document_(document), random_(random), level_(level) {}

    std::string write() {
        text_ += "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
        text_ += "<!-- Synthetic benchmark document, generated by metamodel_generate. -->\n";
        text_ += "<metaModel file_no=\"" + std::to_string(document_) + "\" file_level=\"" + level_ +
                 "\">\n";
        const int total = int(plan_.elements.size());
        const int first = (document_ - 1) * kElementsPerDocument;
        for (int index = first; index < first + kElementsPerDocument && index < total; ++index)
            writeElement(index);
        for (const Partial& partial : plan_.partials)
            if (partial.document == document_)
                writePartial(partial);
        text_ += "</metaModel>\n";
        return std::move(text_);
    }

private:
    int nextRid() {
        if (rid_ >= kMaxRid)
            throw std::logic_error("document " + std::to_string(document_) + " ran out of rids");
        return ++rid_;
    }

    void writeDescription(std::string_view indent, std::string_view what, int number) {
        text_ += indent;
        switch (number % 7) {
        case 3:
            text_ += "<description>Synthetic " + std::string(what) + " " + std::to_string(number) +
                     ": size &amp; weight &lt;generated&gt;</description>\n";
            break;
        case 5:
            text_ += "<description><![CDATA[Synthetic " + std::string(what) + " " +
                     std::to_string(number) + " <raw & unescaped>]]></description>\n";
            break;
        case 6:
            text_ += "<description/>\n";
            break;
        default:
            text_ += "<description>Synthetic " + std::string(what) + " " + std::to_string(number) +
                     " of the benchmark set.</description>\n";
        }
    }

    void writeLinks(const std::vector<int>& parents, int treeParent) {
        for (int parent : parents)
            text_ += "    <inheritedCategory name=\"" + plan_.elements[std::size_t(parent)].name +
                     "\"/>\n";
        if (treeParent >= 0)
            text_ += "    <tree parent=\"" + plan_.elements[std::size_t(treeParent)].name +
                     "\" category=\"" + plan_.elements[kTreeIndex].name + "\"/>\n";
    }

    std::string propertyType() {
        static constexpr const char* primitives[] = {
            "integer",     "string",     "dateTime",     "bookmark",     "reference",
            "integerList", "stringList", "dateTimeList", "bookmarkList", "referenceList"};
        const int pick = random_.below(11);
        if (pick < 10)
            return primitives[pick];
        const auto& categories = plan_.categories;
        return plan_
            .elements[std::size_t(categories[std::size_t(random_.below(int(categories.size())))])]
            .name;
    }

    void writeProperty(const std::string& name, int infType, int infSubType) {
        const int rid = nextRid();
        text_ += "    <property name=\"" + name + "\" rid=\"" + std::to_string(rid) + "\" type=\"" +
                 propertyType() + "\"";
        switch (random_.below(10)) {
        case 6:
            text_ += " minimalCardinality=\"1\"";
            break;
        case 7:
            text_ += " maximalCardinality=\"*\"";
            break;
        case 8:
            text_ += " minimalCardinality=\"1\" maximalCardinality=\"4\"";
            break;
        case 9:
            text_ += " minimalCardinality=\"2\"";
            break;
        default:
            break;
        }
        static constexpr const char* merges[] = {"no", "sum", "bitor", "cct_dist_alpha"};
        if (random_.percent(30))
            text_ += std::string(" merge=\"") + merges[random_.below(4)] + "\"";
        if (random_.percent(7))
            text_ += " status=\"deprecated\"";
        text_ += ">\n";
        writeDescription("      ", "property", infType * kPropertiesPerElement + infSubType);
        text_ +=
            "      <attribute name=\"INF_TYPE\" intValue=\"" + std::to_string(infType) + "\"/>\n";
        text_ += "      <attribute name=\"INF_SUB_TYPE\" intValue=\"" + std::to_string(infSubType) +
                 "\"/>\n";
        text_ += "    </property>\n";
    }

    void writeElement(int index) {
        const Element& element = plan_.elements[std::size_t(index)];
        const char* tag = element.isType ? "type" : "category";
        text_ += std::string("  <") + tag + " name=\"" + element.name + "\" rid=\"" +
                 std::to_string(nextRid()) + "\"";
        if (index % 29 == 17)
            text_ += " status=\"obsolete\"";
        text_ += ">\n";
        writeDescription("    ", tag, index);
        if (index % 11 == 4)
            text_ += "    <comment>generated element</comment>\n";
        writeLinks(element.parents, element.treeParent);
        for (int property = 0; property < kPropertiesPerElement; ++property)
            writeProperty("prop_" + std::to_string(property), 100 + index, property);
        text_ += std::string("  </") + tag + ">\n";
    }

    void writePartial(const Partial& partial) {
        const Element& element = plan_.elements[std::size_t(partial.target)];
        // The camel-case spelling is accepted on input too; use both.
        const bool camel = partial.sequence % 2 == 1;
        const char* tag = element.isType ? (camel ? "partialType" : "partial_type")
                                         : (camel ? "partialCategory" : "partial_category");
        text_ += std::string("  <") + tag + " name=\"" + element.name + "\">\n";
        writeLinks(partial.parents, partial.treeParent);
        const int infType = 100 + int(plan_.elements.size()) + partial.sequence;
        for (int property = 0; property < kPropertiesPerPartial; ++property)
            writeProperty("ext_" + std::to_string(document_) + "_" + std::to_string(property),
                          infType, property);
        text_ += std::string("  </") + tag + ">\n";
    }

    const Plan& plan_;
    int document_;
    Random& random_;
    const char* level_;
    int rid_ = 0;
    std::string text_;
};

int sizeOf(std::string_view letter) {
    if (letter == "S")
        return 200;
    if (letter == "M")
        return 2000;
    if (letter == "L" || letter == "W" || letter == "D")
        return 10000;
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    const int total = argc == 3 ? sizeOf(argv[1]) : 0;
    if (total == 0) {
        std::cerr << "usage: metamodel_generate S|M|L|W|D OUTDIR\n";
        return 2;
    }
    namespace fs = std::filesystem;
    const fs::path root = fs::path(argv[2]) / "configuration" / "Core";
    const char* level = std::string_view(argv[1]) == "W" ? "core" : "client";
    try {
        if (fs::exists(root)) {
            std::cerr << "metamodel_generate: " << root.string()
                      << " exists already; remove it first\n";
            return 1;
        }
        Plan plan = makePlan(total, std::string_view(argv[1]) == "D");
        planPartials(plan);
        Random random(kSeed + 7);
        for (int document = 1; document <= plan.documents; ++document) {
            char folder[32];
            std::snprintf(folder, sizeof folder, "part%04d", document);
            const fs::path directory = root / folder;
            fs::create_directories(directory);
            const std::string text = DocumentWriter(plan, document, random, level).write();
            std::ofstream out(directory / "MetaModel.xml", std::ios::binary);
            out.write(text.data(), std::streamsize(text.size()));
            out.close();
            if (!out)
                throw std::runtime_error("cannot write " + (directory / "MetaModel.xml").string());
        }
        std::cout << argv[1] << ": " << total << " categories and types, " << plan.documents
                  << " documents, " << plan.partials.size() << " partial declarations\n";
    } catch (const std::exception& failure) {
        std::cerr << "metamodel_generate: " << failure.what() << '\n';
        return 1;
    }
    return 0;
}
