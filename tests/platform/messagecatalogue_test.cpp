#include "cpplanguage/appmsg.h"
#include "cpplanguage/exceptions.h"
#include "platform/appmsgmanager.h"
#include "platform/messagecatalogue.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <fstream>
#include <map>
#include <memory>
#include <regex>
#include <set>
#include <span>
#include <sstream>
#include <string>
#include <vector>

namespace {

using AppMsgManager::allMessageDefinitions;
using AppMsgManager::findMessageDefinition;
using AppMsgManager::LoadAppMsgManager;
using CppLanguage::CAppMsg;
using CppLanguage::CBindArgNameToVal;

// Every message the library raises or reports, with the arguments its sites bind, as the data
// file lists them.
const std::map<std::string, std::set<std::string>>& expectedArguments() {
    static const std::map<std::string, std::set<std::string>> table = [] {
        std::map<std::string, std::set<std::string>> read;
        std::ifstream in(METAMODEL_TEST_DATA_DIR "/messages/arguments.txt");
        for (std::string line; std::getline(in, line);) {
            std::istringstream words(line);
            std::string id, name;
            if (words >> id && id[0] != '#')
                for (auto& names = read[id]; words >> name;)
                    names.insert(name);
        }
        return read;
    }();
    return table;
}

// Placeholders of a catalogue text, or a description of what is malformed in it.
struct ParsedText {
    std::set<std::string> placeholders;
    std::string fault;
};

ParsedText parseText(const std::string& text) {
    static const std::regex placeholder(R"(\{([A-Z][A-Z0-9_]*)\})");
    ParsedText parsed;
    for (auto it = std::sregex_iterator(text.begin(), text.end(), placeholder);
         it != std::sregex_iterator(); ++it)
        parsed.placeholders.insert((*it)[1]);
    // With the well-formed placeholders gone, no brace may remain.
    const std::string rest = std::regex_replace(text, placeholder, "P");
    if (rest.find_first_of("{}") != std::string::npos)
        parsed.fault = "stray or malformed brace";
    // Optional parts: not nested, closed, and each with a placeholder to decide on.
    for (size_t open = rest.find('['); open != std::string::npos; open = rest.find('[', open + 1)) {
        const size_t close = rest.find(']', open + 1);
        if (close == std::string::npos || rest.find('[', open + 1) < close)
            parsed.fault = "unbalanced or nested brackets";
        else if (rest.substr(open, close - open).find('P') == std::string::npos)
            parsed.fault = "optional part without a placeholder";
    }
    if (std::count(rest.begin(), rest.end(), '[') != std::count(rest.begin(), rest.end(), ']'))
        parsed.fault = "unbalanced brackets";
    return parsed;
}

// Holds bound arguments for the typed Fill; the names outlive them.
class Arguments {
public:
    Arguments(std::initializer_list<std::pair<const char*, std::string>> values) {
        for (const auto& [name, value] : values)
            add(name, value);
    }
    void add(const std::string& name, const std::string& value) {
        bound_.emplace_back(names_.emplace_back(name).c_str(), value);
        pointers_.push_back(&bound_.back());
    }
    std::span<const CBindArgNameToVal* const> span() const { return pointers_; }

private:
    std::deque<std::string> names_;
    std::deque<CBindArgNameToVal> bound_;
    std::vector<const CBindArgNameToVal*> pointers_;
};

CAppMsg fill(const char* id, const Arguments& arguments,
             const AppMsgManager::MessageOrigin& origin = {}) {
    CAppMsg record;
    LoadAppMsgManager()->Fill(record, id, origin, arguments.span());
    return record;
}

// One walk over the catalogue: ids, placeholders, severities, lookup and a complete expansion.
TEST(MessageCatalogue, ListsTheLibrarysMessagesWellFormedAndExpandingWithTheirSitesArguments) {
    static const std::regex wellFormed("(QEL_[A-Z0-9_]+|MM_[A-Z0-9_]+|FILEOP_[A-Z0-9_]+)");
    const std::set<std::string> warnings = {"QEL_MM_INVALID_CHARCNAME", "QEL_MM_RESERVED_CNAME",
                                            "QEL_MM_INVALID_CHARPNAME",
                                            "QEL_MM_INVALID_ATTR_TYP_USAGE", "QEL_MM_ROOT_EMPTY"};
    ASSERT_GT(expectedArguments().size(), 70u) << "the data file was not read";
    std::set<std::string> ids;
    for (const auto& definition : allMessageDefinitions()) {
        ASSERT_NE(definition.id, nullptr);
        ASSERT_NE(definition.text, nullptr) << definition.id;
        const std::string id = definition.id, text = definition.text;
        SCOPED_TRACE(id + ": " + text);
        EXPECT_TRUE(std::regex_match(id, wellFormed));
        EXPECT_TRUE(ids.insert(id).second) << "duplicate";
        const ParsedText parsed = parseText(text);
        EXPECT_FALSE(text.empty());
        EXPECT_EQ(parsed.fault, "");
        const int severity = warnings.count(id)                ? CppLanguage::SeverityWarning
                             : id == "QEL_MM_DEFAULT_TREE_DEF" ? CppLanguage::SeverityInfo
                                                               : CppLanguage::SeverityError;
        EXPECT_EQ(definition.severity, severity);
        EXPECT_EQ(findMessageDefinition(id), &definition);
        EXPECT_EQ(findMessageDefinition(id + "X"), nullptr);
        EXPECT_EQ(findMessageDefinition(id.substr(0, id.size() - 1)), nullptr);

        const auto expected = expectedArguments().find(id);
        if (expected == expectedArguments().end())
            continue;
        EXPECT_EQ(parsed.placeholders, expected->second);
        Arguments arguments{};
        for (const auto& name : expected->second)
            arguments.add(name, "<" + name + ">");
        const CAppMsg record = fill(id.c_str(), arguments);
        const std::string filled = record.GetText();
        EXPECT_EQ(filled.find_first_of("{}[]"), std::string::npos) << filled;
        for (const auto& name : expected->second)
            EXPECT_NE(filled.find("<" + name + ">"), std::string::npos) << filled;
        EXPECT_EQ(record.GetArguments().size(), expected->second.size());
    }
    std::set<std::string> listed;
    for (const auto& entry : expectedArguments())
        listed.insert(entry.first);
    EXPECT_EQ(ids, listed);
    for (const char* absent : {"", "qel_mm_empty_id", "AAA", "ZZZ"})
        EXPECT_EQ(findMessageDefinition(absent), nullptr) << absent;
}

TEST(MessageManager, FillsTextSeverityArgumentsAndOriginAndTheLineLeavesOutWhatIsUnknown) {
    const AppMsgManager::MessageOrigin origin{"QEL", "/models/MetaModel.xml", 12, 7, "reader.cpp",
                                              99};
    CAppMsg record =
        fill("QEL_MM_INVALID_PROP_CARD",
             {{"MAX_CARD", "1"}, {"MIN_CARD", "2"}, {"CTXT", "Cat"}, {"NAME", "p"}}, origin);
    const std::string text =
        "error: Property 'p' in 'Cat' has invalid cardinalities: minimum 2, maximum 1. "
        "[QEL_MM_INVALID_PROP_CARD]";
    EXPECT_EQ(AppMsgManager::formatMessageLine(record), "/models/MetaModel.xml:12:7: " + text);
    EXPECT_STREQ(record.GetComponent(), "QEL");
    EXPECT_STREQ(record.GetLibraryFile(), "reader.cpp");
    EXPECT_EQ(record.GetLibraryLine(), 99);
    const CppLanguage::MsgArguments expected = {
        {"MAX_CARD", "1"}, {"MIN_CARD", "2"}, {"CTXT", "Cat"}, {"NAME", "p"}};
    EXPECT_EQ(record.GetArguments(), expected);
    record.SetLine(0);
    EXPECT_EQ(AppMsgManager::formatMessageLine(record), "/models/MetaModel.xml: " + text);
    record.SetDocument(nullptr);
    EXPECT_EQ(AppMsgManager::formatMessageLine(record), text);
    CAppMsg plain;
    plain.SetSeverity(CppLanguage::SeverityInfo);
    plain.SetText("text");
    EXPECT_EQ(AppMsgManager::formatMessageLine(plain), "info: text");
    // A line break in a path would split the diagnostic in two.
    plain.SetDocument("a\nb\r/MetaModel.xml");
    plain.SetText("'a\nb' cannot be read");
    EXPECT_EQ(AppMsgManager::formatMessageLine(plain),
              "a\\nb\\r/MetaModel.xml: info: 'a\\nb' cannot be read");

    // An empty origin leaves the optional fields absent rather than empty.
    const CAppMsg bare = fill("QEL_MM_EMPTY_ID", {});
    EXPECT_EQ(bare.GetDocument(), nullptr);
    EXPECT_EQ(bare.GetComponent(), nullptr);
    EXPECT_EQ(bare.GetLine(), 0);
}

TEST(MessageManager, OptionalPartsFollowTheirArgumentsAndOnlyTheTemplateIsMarkup) {
    struct Case {
        const char* id;
        Arguments arguments;
        const char* text;
    };
    const Case cases[] = {
        // The validator gives the owner and the short name, the model's own check the full name.
        {"QEL_MM_INVALID_PROP_TYP",
         {{"CTXT", "Cat"}, {"PROP_NAM", "p"}},
         "Property 'Cat.p' has an unknown type: neither a property type word nor the name of a "
         "category or type."},
        {"QEL_MM_INVALID_PROP_MERGE",
         {{"PROP_MRG", "max"}, {"PROP_NAM", "Cat.p"}},
         "Property 'Cat.p' has the unknown merge 'max'."},
        {"QEL_MM_INVALID_PROP_MERGE",
         {{"CTXT", ""}, {"PROP_MRG", "max"}, {"PROP_NAM", "Cat.p"}},
         "Property 'Cat.p' has the unknown merge 'max'."},
        {"QEL_MM_ONLY_PARTIAL_DECL",
         {{"UNKNOWN", "Half"}, {"LOCATION", ""}},
         "Category 'Half' has partial declarations only and no full declaration."},
        {"QEL_MM_UNKNOWN_EXTEND",
         {{"CTXT", "A"}, {"UNKNOWN", "B"}, {"LOCATION", "m.xml"}},
         "'A' inherits 'B', which is not a declared category (link in 'm.xml')."},
        // Braces and brackets inside values are text, not markup.
        {"QEL_MM_UNDEF_CAT_NAM",
         {{"CAT_NAM", "{TYP_NAM}[x]"}},
         "Category '{TYP_NAM}[x]' is not defined."},
        // A cause that ends its own sentence is not given a second full stop.
        {"QEL_DB_CONNECT_ERR",
         {{"CONNECTION", "host=db"}, {"CAUSE", "is the server running?"}},
         "The repository database 'host=db' cannot be used: is the server running?"},
        // An unbound placeholder stays visible.
        {"QEL_MM_UNDEF_CAT_NAM", {{"TYP_NAM", "X"}}, "Category '{CAT_NAM}' is not defined."},
        {"QEL_MM_INVALID_PROP_CARD",
         {{"CTXT", "Cat"}, {"NAME", "p"}},
         "Property 'p' in 'Cat' has invalid cardinalities: minimum {MIN_CARD}, maximum "
         "{MAX_CARD}."},
        // An unknown id is an error that still shows its arguments.
        {"QEL_NO_SUCH_MESSAGE",
         {{"A", "1"}, {"B", "two"}},
         "Unknown message QEL_NO_SUCH_MESSAGE A='1' B='two'"},
    };
    for (const Case& c : cases) {
        const CAppMsg record = fill(c.id, c.arguments);
        EXPECT_STREQ(record.GetText(), c.text) << c.id;
        EXPECT_STREQ(record.GetId(), c.id);
        EXPECT_EQ(record.GetSeverity(), CppLanguage::SeverityError) << c.id;
    }
}

TEST(MessageManager, TaggedFormsReadEveryTagAndStopAtTheNullArgument) {
    using namespace AppMsgManager;
    const CBindArgNameToVal catName("CAT_NAM", "Foo");
    const CBindArgNameToVal unused("OTHER", "x");
    CAppMsg record;
    LoadAppMsgManager()->FormatMsg("QEL_MM_UNDEF_CAT_NAM", TagOutMessage, 0ULL, &record,
                                   TagComponent, "QEL", TagLibraryFile, "model.cpp", TagLibraryLine,
                                   321, &catName, static_cast<const CBindArgNameToVal*>(nullptr),
                                   &unused);
    EXPECT_STREQ(record.GetText(), "Category 'Foo' is not defined.");
    EXPECT_STREQ(record.GetComponent(), "QEL");
    EXPECT_STREQ(record.GetLibraryFile(), "model.cpp");
    EXPECT_EQ(record.GetLibraryLine(), 321);
    EXPECT_EQ(record.GetArguments().size(), 1u);

    std::unique_ptr<CAppMsg> created(LoadAppMsgManager()->CreateMsg(
        "QEL_MM_EMPTY_ID", TagDocument, "/x/MetaModel.xml", TagPosition, 3, 41, TagComponent, "QEL",
        static_cast<const CBindArgNameToVal*>(nullptr)));
    ASSERT_NE(created, nullptr);
    EXPECT_STREQ(created->GetDocument(), "/x/MetaModel.xml");
    EXPECT_EQ(created->GetLine(), 3);
    EXPECT_EQ(created->GetColumn(), 41);
    EXPECT_EQ(AppMsgManager::formatMessageLine(*created),
              "/x/MetaModel.xml:3:41: error: An element has an empty 'id' or 'rid' attribute. "
              "[QEL_MM_EMPTY_ID]");
}

} // namespace
