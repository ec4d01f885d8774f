#include "cpplanguage/appmsg.h"
#include "cpplanguage/exceptions.h"
#include "platform/appmsgmanager.h"
#include "platform/messagecatalogue.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <memory>
#include <regex>
#include <set>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using AppMsgManager::allMessageDefinitions;
using AppMsgManager::findMessageDefinition;
using AppMsgManager::LoadAppMsgManager;
using CppLanguage::CAppMsg;
using CppLanguage::CBindArgNameToVal;

// Every message the library raises or reports, with the arguments its sites bind. Written out
// independently of the catalogue so that a missing id or a misspelt placeholder shows.
const std::map<std::string, std::set<std::string>>& expectedArguments() {
    static const std::map<std::string, std::set<std::string>> table = {
        {"QEL_DB_CONNECT_ERR", {"CONNECTION", "CAUSE"}},
        {"QEL_DB_REQ_ERR", {"QUERY", "CAUSE"}},
        {"QEL_DB_PROC_ERR", {"CALL", "CAUSE"}},
        {"QEL_DB_UNSUPPORTED_SERVER", {}},
        {"QEL_NULL_PTR", {"NULL_ARG"}},
        {"QEL_MM_XML2DB_ERR", {}},
        {"QEL_MM_XML_FILE_ERR", {"FILE"}},
        {"QEL_MM_ROOT_NOT_FOUND", {"PATH"}},
        {"QEL_MM_ROOT_EMPTY", {"PATH"}},
        {"QEL_MM_NOT_A_DOCUMENT_NAME", {"PATH"}},
        {"QEL_MM_INPUT_UNREADABLE", {"PATH", "CAUSE"}},
        {"QEL_MM_DOCUMENT_TWICE", {"FILE", "FIRST", "SECOND"}},
        {"QEL_MM_FOLDER_OPTION_NOT_FOUND", {"PATH", "OPTION"}},
        {"QEL_MM_XML_OUTPUT_FILE_ERR", {"FILE"}},
        {"QEL_MM_DUMP_FILE_ERR", {"FILE"}},
        {"QEL_MM_EXIST_ERR", {"NUMBER"}},
        {"QEL_MM_FRAGMENT_DUPLICATE", {"WHAT", "KEY", "OTHER_FILE"}},
        {"QEL_MM_FRAGMENT_ID_CHANGED", {"NAME", "INSTALLED_ID", "NEW_ID", "INSTALLED"}},
        {"QEL_MM_FRAGMENT_ID_CLASH", {"ID", "NAME", "INSTALLED_NAME", "INSTALLED"}},
        {"QEL_MM_FRAGMENT_INCOHERENT", {}},
        {"QEL_MM_FRAGMENT_NAME_CLASH", {"NAME", "INSTALLED_ID", "INSTALLED"}},
        {"QEL_MM_FRAGMENT_NOT_A_NUMBER", {}},
        {"QEL_MM_FRAGMENT_PROP_ID_CLASH", {"PROP_ID", "INSTALLED"}},
        {"QEL_MM_CONFLICT_CAT_NAM", {"ID", "NAM"}},
        {"QEL_MM_CONFLICT_CAT_ID", {"ID", "NAM"}},
        {"QEL_MM_CONFLICT_TYP_NAM", {"ID", "NAM"}},
        {"QEL_MM_CONFLICT_TYP_ID", {"ID", "NAM"}},
        {"QEL_MM_INVALID_CHARCNAME", {"NAME"}},
        {"QEL_MM_RESERVED_CNAME", {"NAME"}},
        {"QEL_MM_CONFLICT_PROP_NAM", {"ID", "NAM"}},
        {"QEL_MM_CONFLICT_PROP_ID", {"ID", "NAM"}},
        {"QEL_MM_INVALID_CHARPNAME", {"CTXT", "NAME"}},
        {"QEL_MM_RESERVED_PNAME", {"CTXT", "NAME"}},
        {"QEL_MM_INVALID_PROP_CARD", {"MAX_CARD", "MIN_CARD", "CTXT", "NAME"}},
        {"QEL_MM_DUPLICATE_ATTRIBUTE", {"CTXT", "NAME"}},
        {"QEL_MM_TWICE_INHERITANCE", {"CATEGORY", "INHERITED"}},
        {"QEL_MM_UNKNOWN_EXTEND", {"CTXT", "UNKNOWN", "LOCATION"}},
        {"QEL_MM_INVALID_PROP_TYP", {"CTXT", "PROP_NAM"}},
        {"QEL_MM_INVALID_PROP_MERGE", {"CTXT", "PROP_MRG", "PROP_NAM"}},
        {"QEL_MM_UNKNOWN_TREE_CAT", {"CTXT", "UNKNOWN", "LOCATION"}},
        {"QEL_MM_UNKNOWN_TREE_PARENT", {"CTXT", "UNKNOWN", "LOCATION"}},
        {"QEL_MM_ONLY_PARTIAL_DECL", {"UNKNOWN", "LOCATION"}},
        {"QEL_MM_DESC_TAG_HAS_CHILD", {}},
        {"QEL_MM_DESC_TAG_NOT_FIRST", {"TAG"}},
        {"QEL_MM_SAX_PARSE_EXCEPTION", {"CAUSE"}},
        {"QEL_MM_EMPTY_ID", {}},
        {"QEL_MM_INVALID_FILE_LEVEL", {"LEVEL"}},
        {"QEL_MM_UNEXPECTED_ATTR", {"TAG", "ATTR"}},
        {"QEL_MM_MISSING_ATTR", {"TAG", "ATTR"}},
        {"QEL_MM_EXCLUSIVE_ATTR", {"TAG", "ATTR2", "ATTR1"}},
        {"QEL_MM_MISSING_BOTH_ATTR", {"TAG", "ATTR2", "ATTR1"}},
        {"QEL_MM_UNEXPECTED_TAG", {"PARENT", "TAG"}},
        {"QEL_MM_INVALID_ATTR_TYP_USAGE", {"ATTR_NAM"}},
        {"QEL_MM_INVALID_TREE_ITEM", {"ITEM", "TREE_NAM", "CAT_NAM"}},
        {"QEL_MM_DEFAULT_TREE_DEF", {"TREE_NAM", "CAT_NAM"}},
        {"QEL_MM_TREE_CIRCUIT", {"CATEGORY_NAME", "TYPE_NAME"}},
        {"QEL_MM_NOINFSUBTOGETHER", {"PROPERTY_NAME"}},
        {"QEL_MM_INFSUBDUPLICATE", {"FIRST_PROPERTY_NAME", "PROPERTY_NAME"}},
        {"QEL_MM_INFSUBNOINTEGER", {"PROPERTY_NAME"}},
        {"MM_SEVERAL_LANGUAGES", {"LANGUAGES_CATEGORIES", "CATEGORY_NAME"}},
        {"QEL_MM_CIRCULAR_INHERITANCE", {"CATEGORY_NAME"}},
        {"QEL_MM_UNDEF_CAT_NAM", {"CAT_NAM"}},
        {"QEL_MM_UNDEF_CAT_ID", {"CAT_ID"}},
        {"QEL_MM_UNDEF_TYP_NAM", {"TYP_NAM"}},
        {"QEL_MM_UNDEF_TYP_ID", {"TYP_ID"}},
        {"QEL_MM_UNDEF_PROP_NAM", {"PROP_NAM"}},
        {"QEL_MM_UNDEF_PROP_ID", {"PROP_ID"}},
        {"MM_WRP_GEN_FAILED", {}},
        {"MM_WRP_ROOT_OUTSIDE", {"CAT_NAM", "PATH", "ROOT"}},
        {"MM_GRAPH_DOT_MISSING", {"CAUSE"}},
        {"MM_GRAPH_DOT_FAILED", {"CAUSE"}},
        {"FILEOP_INVALID_PATH", {"PATH"}},
        {"FILEOP_CANNOT_COMPARE_FILE", {"FILE2", "FILE1"}},
        {"FILEOP_CANNOT_DELETE", {"ARG"}},
        {"FILEOP_CANNOT_MOVE", {"DST", "SRC"}},
        {"FILEOP_CANNOT_COPY", {"DST", "SRC"}},
        {"FILEOP_CANNOT_CREATE_DIR", {"DIR"}},
        // The tool's own outputs.
        {"FILEOP_CANNOT_WRITE", {"FILE", "REASON"}},
        {"FILEOP_OUTPUT_IS_INPUT", {"FILE", "INPUT"}},
    };
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

// Holds bound arguments for the typed Fill.
class Arguments {
public:
    Arguments(std::initializer_list<std::pair<const char*, std::string>> values) {
        for (const auto& [name, value] : values)
            bound_.push_back(std::make_unique<CBindArgNameToVal>(name, value));
        for (const auto& argument : bound_)
            pointers_.push_back(argument.get());
    }
    void add(const std::string& name, const std::string& value) {
        names_.push_back(std::make_unique<std::string>(name));
        bound_.push_back(std::make_unique<CBindArgNameToVal>(names_.back()->c_str(), value));
        pointers_.push_back(bound_.back().get());
    }
    std::span<const CBindArgNameToVal* const> span() const { return pointers_; }

private:
    std::vector<std::unique_ptr<std::string>> names_;
    std::vector<std::unique_ptr<CBindArgNameToVal>> bound_;
    std::vector<const CBindArgNameToVal*> pointers_;
};

CAppMsg fill(const char* id, const Arguments& arguments,
             const AppMsgManager::MessageOrigin& origin = {}) {
    CAppMsg record;
    LoadAppMsgManager()->Fill(record, id, origin, arguments.span());
    return record;
}

TEST(MessageCatalogue, ListsExactlyTheMessagesOfTheLibraryWithWellFormedIds) {
    static const std::regex wellFormed("(QEL_[A-Z0-9_]+|MM_[A-Z0-9_]+|FILEOP_[A-Z0-9_]+)");
    std::set<std::string> ids;
    for (const auto& definition : allMessageDefinitions()) {
        ASSERT_NE(definition.id, nullptr);
        EXPECT_TRUE(std::regex_match(definition.id, wellFormed)) << definition.id;
        EXPECT_TRUE(ids.insert(definition.id).second) << "duplicate " << definition.id;
    }
    std::set<std::string> expected;
    for (const auto& entry : expectedArguments())
        expected.insert(entry.first);
    EXPECT_EQ(ids, expected);
}

TEST(MessageCatalogue, PlaceholdersAreWellFormedAndAreTheArgumentsOfTheirSites) {
    for (const auto& definition : allMessageDefinitions()) {
        ASSERT_NE(definition.text, nullptr) << definition.id;
        const std::string text = definition.text;
        EXPECT_FALSE(text.empty()) << definition.id;
        const ParsedText parsed = parseText(text);
        EXPECT_EQ(parsed.fault, "") << definition.id << ": " << text;
        const auto expected = expectedArguments().find(definition.id);
        if (expected != expectedArguments().end()) {
            EXPECT_EQ(parsed.placeholders, expected->second) << definition.id << ": " << text;
        }
    }
}

TEST(MessageCatalogue, SeveritiesAreErrorsExceptTheNameWarningsAndTheDefaultWalk) {
    const std::set<std::string> warnings = {"QEL_MM_INVALID_CHARCNAME", "QEL_MM_RESERVED_CNAME",
                                            "QEL_MM_INVALID_CHARPNAME",
                                            "QEL_MM_INVALID_ATTR_TYP_USAGE", "QEL_MM_ROOT_EMPTY"};
    for (const auto& definition : allMessageDefinitions()) {
        const std::string id = definition.id;
        const int expected = warnings.count(id)                ? CppLanguage::SeverityWarning
                             : id == "QEL_MM_DEFAULT_TREE_DEF" ? CppLanguage::SeverityInfo
                                                               : CppLanguage::SeverityError;
        EXPECT_EQ(definition.severity, expected) << id;
    }
}

TEST(MessageCatalogue, LookupFindsEveryIdAndNothingElse) {
    for (const auto& definition : allMessageDefinitions()) {
        const std::string id = definition.id;
        EXPECT_EQ(findMessageDefinition(id), &definition) << id;
        EXPECT_EQ(findMessageDefinition(id + "X"), nullptr) << id;
        EXPECT_EQ(findMessageDefinition(id.substr(0, id.size() - 1)), nullptr) << id;
    }
    EXPECT_EQ(findMessageDefinition(""), nullptr);
    EXPECT_EQ(findMessageDefinition("qel_mm_empty_id"), nullptr);
    EXPECT_EQ(findMessageDefinition("AAA"), nullptr);
    EXPECT_EQ(findMessageDefinition("ZZZ"), nullptr);
}

TEST(MessageCatalogue, EveryTextExpandsCompletelyWithTheArgumentsOfItsSites) {
    for (const auto& [id, names] : expectedArguments()) {
        Arguments arguments{};
        for (const auto& name : names)
            arguments.add(name, "<" + name + ">");
        const CAppMsg record = fill(id.c_str(), arguments);
        const std::string text = record.GetText();
        EXPECT_EQ(text.find_first_of("{}[]"), std::string::npos) << id << ": " << text;
        for (const auto& name : names)
            EXPECT_NE(text.find("<" + name + ">"), std::string::npos) << id << ": " << text;
        EXPECT_EQ(record.GetArguments().size(), names.size()) << id;
    }
}

TEST(MessageManager, FillsTextSeverityArgumentsAndOrigin) {
    AppMsgManager::MessageOrigin origin;
    origin.component = "QEL";
    origin.document = "/models/MetaModel.xml";
    origin.line = 12;
    origin.column = 7;
    origin.libraryFile = "reader.cpp";
    origin.libraryLine = 99;
    const CAppMsg record =
        fill("QEL_MM_INVALID_PROP_CARD",
             {{"MAX_CARD", "1"}, {"MIN_CARD", "2"}, {"CTXT", "Cat"}, {"NAME", "p"}}, origin);
    EXPECT_STREQ(record.GetId(), "QEL_MM_INVALID_PROP_CARD");
    EXPECT_EQ(record.GetSeverity(), CppLanguage::SeverityError);
    EXPECT_STREQ(record.GetText(),
                 "Property 'p' in 'Cat' has invalid cardinalities: minimum 2, maximum 1.");
    EXPECT_STREQ(record.GetComponent(), "QEL");
    EXPECT_STREQ(record.GetDocument(), "/models/MetaModel.xml");
    EXPECT_EQ(record.GetLine(), 12);
    EXPECT_EQ(record.GetColumn(), 7);
    EXPECT_STREQ(record.GetLibraryFile(), "reader.cpp");
    EXPECT_EQ(record.GetLibraryLine(), 99);
    const CppLanguage::MsgArguments expected = {
        {"MAX_CARD", "1"}, {"MIN_CARD", "2"}, {"CTXT", "Cat"}, {"NAME", "p"}};
    EXPECT_EQ(record.GetArguments(), expected);

    // An empty origin leaves the optional fields absent rather than empty.
    const CAppMsg bare = fill("QEL_MM_EMPTY_ID", {});
    EXPECT_EQ(bare.GetDocument(), nullptr);
    EXPECT_EQ(bare.GetComponent(), nullptr);
    EXPECT_EQ(bare.GetLine(), 0);
}

TEST(MessageManager, OptionalPartsFollowTheirArgumentsAndValuesAreNotReparsed) {
    // The validator gives the owner and the short name, the model's own check the full name.
    EXPECT_STREQ(fill("QEL_MM_INVALID_PROP_TYP", {{"CTXT", "Cat"}, {"PROP_NAM", "p"}}).GetText(),
                 "Property 'Cat.p' has an unknown type: neither a property type word nor the name "
                 "of a category or type.");
    EXPECT_STREQ(
        fill("QEL_MM_INVALID_PROP_MERGE", {{"PROP_MRG", "max"}, {"PROP_NAM", "Cat.p"}}).GetText(),
        "Property 'Cat.p' has the unknown merge 'max'.");
    EXPECT_STREQ(fill("QEL_MM_INVALID_PROP_MERGE",
                      {{"CTXT", ""}, {"PROP_MRG", "max"}, {"PROP_NAM", "Cat.p"}})
                     .GetText(),
                 "Property 'Cat.p' has the unknown merge 'max'.");
    EXPECT_STREQ(
        fill("QEL_MM_ONLY_PARTIAL_DECL", {{"UNKNOWN", "Half"}, {"LOCATION", ""}}).GetText(),
        "Category 'Half' has partial declarations only and no full declaration.");
    EXPECT_STREQ(
        fill("QEL_MM_UNKNOWN_EXTEND", {{"CTXT", "A"}, {"UNKNOWN", "B"}, {"LOCATION", "m.xml"}})
            .GetText(),
        "'A' inherits 'B', which is not a declared category (link in 'm.xml').");
    // Braces and brackets inside values are text, not markup.
    EXPECT_STREQ(fill("QEL_MM_UNDEF_CAT_NAM", {{"CAT_NAM", "{TYP_NAM}[x]"}}).GetText(),
                 "Category '{TYP_NAM}[x]' is not defined.");
}

TEST(MessageManager, AnUnboundPlaceholderStaysVisible) {
    EXPECT_STREQ(fill("QEL_MM_UNDEF_CAT_NAM", {{"TYP_NAM", "X"}}).GetText(),
                 "Category '{CAT_NAM}' is not defined.");
    EXPECT_STREQ(fill("QEL_MM_INVALID_PROP_CARD", {{"CTXT", "Cat"}, {"NAME", "p"}}).GetText(),
                 "Property 'p' in 'Cat' has invalid cardinalities: minimum {MIN_CARD}, maximum "
                 "{MAX_CARD}.");
}

TEST(MessageManager, AnUnknownIdIsAnErrorThatStillShowsItsArguments) {
    const CAppMsg record = fill("QEL_NO_SUCH_MESSAGE", {{"A", "1"}, {"B", "two"}});
    EXPECT_EQ(record.GetSeverity(), CppLanguage::SeverityError);
    EXPECT_STREQ(record.GetText(), "Unknown message QEL_NO_SUCH_MESSAGE A='1' B='two'");
    EXPECT_STREQ(record.GetId(), "QEL_NO_SUCH_MESSAGE");
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

TEST(MessageManager, MessageLinesLeaveOutWhatIsUnknown) {
    AppMsgManager::MessageOrigin origin;
    origin.document = "repo";
    CAppMsg record = fill("QEL_MM_RESERVED_CNAME", {{"NAME", "ORLO_X"}}, origin);
    EXPECT_EQ(AppMsgManager::formatMessageLine(record),
              "repo: warning: Type name 'ORLO_X' begins with the reserved prefix 'ORLO_'. "
              "[QEL_MM_RESERVED_CNAME]");
    record.SetDocument(nullptr);
    EXPECT_EQ(AppMsgManager::formatMessageLine(record),
              "warning: Type name 'ORLO_X' begins with the reserved prefix 'ORLO_'. "
              "[QEL_MM_RESERVED_CNAME]");
    CAppMsg plain;
    plain.SetSeverity(CppLanguage::SeverityInfo);
    plain.SetText("text");
    EXPECT_EQ(AppMsgManager::formatMessageLine(plain), "info: text");
}

TEST(MessageManager, ExceptionToMsgCopiesTheRecordOrWrapsTheText) {
    auto* manager = LoadAppMsgManager();
    const CAppMsg raised = fill("QEL_MM_UNDEF_TYP_ID", {{"TYP_ID", "42"}});
    const CppLanguage::CRuntimeException withRecord("f.cpp", 1, "d", "t", raised.GetText(),
                                                    &raised);
    std::unique_ptr<CAppMsg> fromRecord(manager->ExceptionToMsg(&withRecord));
    ASSERT_NE(fromRecord, nullptr);
    EXPECT_STREQ(fromRecord->GetId(), "QEL_MM_UNDEF_TYP_ID");
    EXPECT_STREQ(fromRecord->GetText(), "No type has the id 42.");
    EXPECT_NE(fromRecord.get(), withRecord.GetAppMsg());

    const CppLanguage::CRuntimeException bare("f.cpp", 1, "d", "t", "plain failure");
    std::unique_ptr<CAppMsg> fromText(manager->ExceptionToMsg(&bare));
    ASSERT_NE(fromText, nullptr);
    EXPECT_STREQ(fromText->GetText(), "plain failure");
    EXPECT_EQ(fromText->GetSeverity(), CppLanguage::SeverityError);
    EXPECT_STREQ(fromText->GetComponent(), "QEL");

    const std::runtime_error foreign("not ours");
    EXPECT_EQ(manager->ExceptionToMsg(&foreign), nullptr);
    EXPECT_EQ(manager->ExceptionToMsg(nullptr), nullptr);
}

} // namespace
