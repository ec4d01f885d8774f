#include "metamodel/xml/xmlmetamodelhandler.h"
#include "platform/xmlsaxparser.h"
#include "support/recordingevents.h"
#include "support/tempfolder.h"
#include "support/xmlreading.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <sstream>

namespace {

using TestSupport::readSource;
using TestSupport::SourceReading;
using Lines = std::vector<std::string>;

std::string document(const std::string& body,
                     const std::string& header = R"(file_no="3" file_level="builtin")") {
    return "<metaModel " + header + ">\n" + body + "\n</metaModel>\n";
}

Lines bodyOf(const std::string& text) {
    SourceReading reading;
    readSource(reading, text);
    EXPECT_TRUE(reading.messages.messages().empty())
        << "unexpected message " << reading.messages.ids().front();
    return reading.events.body();
}

struct IdCase {
    const char* header;
    const char* idAttribute;
    int expected;
};

TEST(XmlHandler, IdsFollowTheFileBlocksAndTheBaseDetectingConversion) {
    const IdCase cases[] = {
        {R"(file_no="3" file_level="builtin")", R"(rid="7")", 1003007},
        {R"(file_no="3" file_level="client")", R"(rid="7")", 2003007},
        {R"(file_no="3")", R"(rid="7")", 2003007}, // no level counts as client
        {R"(file_level="prepackaged" file_no="2")", R"(rid="5")", 1502005}, // first of its tag
        {R"(file_no="4" file_level="core")", R"(rid="1")", 4001},
        {R"(file_no="3" file_level="builtin")", R"(id="7")", 7},
        {R"(file_no="3")", R"(id="0x10")", 16},
        {R"(file_no="3")", R"(id="010")", 8},
        {R"(file_no="3")", R"(id="12abc")", 12},
        {R"(file_no="3")", R"(id="-5")", -5},
        {R"(file_no="3")", R"(id="123456789")", 123456789},
        {R"(file_no="3")", R"(id="2147483648")", 2147483647}, // clamped
        {R"(file_no="3")", R"(id="99999999999")", 2147483647},
        {R"(file_no="0x2" file_level="builtin")", R"(rid="1")", 1002001},
    };
    // The id comes first here: elsewhere the name does.
    for (const IdCase& c : cases) {
        const Lines body = bodyOf(document(std::string("<category ") + c.idAttribute +
                                               " name=\"C\"><description/></category>",
                                           c.header));
        ASSERT_FALSE(body.empty()) << c.header << " " << c.idAttribute;
        EXPECT_EQ(body.front(), "StartCategory C full '' " + std::to_string(c.expected) + " active")
            << c.header << " " << c.idAttribute;
    }
}

TEST(XmlHandler, CardinalitiesDefaultFromTheTypeAsWrittenAndListFormsAreStripped) {
    struct Case {
        const char* attributes;
        const char* expected;
    };
    const Case cases[] = {
        {R"(type="integer")", "integer 0..1"},
        {R"(type="stringList")", "string 0..-1"},
        {R"(type="stringList" maximalCardinality="3")", "string 0..3"},
        {R"(type="integer" minimalCardinality="2")", "integer 2..-1"},
        {R"(type="integer" minimalCardinality="1")", "integer 1..1"},
        {R"(type="integer" minimalCardinality="010" maximalCardinality="020")", "integer 10..20"},
        {R"(type="referenceList" maximalCardinality="*")", "reference 0..-1"},
        {R"(type="integer" maximalCardinality="*")", "integer 0..-1"},
        {R"(type="Folder")", "Folder 0..1"},
        {R"(type="dateTimeList" minimalCardinality="1")", "dateTime 1..-1"},
        {R"(type="List")", "List 0..1"},
    };
    for (const Case& c : cases) {
        const Lines body =
            bodyOf(document(std::string("<category name=\"C\" rid=\"1\"><description/>"
                                        "<property name=\"p\" rid=\"2\" ") +
                            c.attributes + "><description/></property></category>"));
        ASSERT_GE(body.size(), 2u) << c.attributes;
        EXPECT_EQ(body[1], std::string("StartProperty p '' ") + c.expected + " no 1003002 active")
            << c.attributes;
    }
}

// Each document under streams/ plays the events its .events file lists, one a line.
TEST(XmlHandler, DocumentsPlayTheirStreams) {
    const std::filesystem::path data = METAMODEL_TEST_DATA_DIR "/xml";
    std::vector<std::filesystem::path> documents = {data / "sample/MetaModel.xml"};
    for (const auto& entry : std::filesystem::directory_iterator(data / "streams"))
        if (entry.path().extension() == ".xml")
            documents.push_back(entry.path());
    ASSERT_GT(documents.size(), 5u);
    for (std::filesystem::path& document : documents) {
        const Lines body = bodyOf(TestSupport::readFile(document));
        std::istringstream expected(TestSupport::readFile(document.replace_extension(".events")));
        Lines lines;
        for (std::string line; std::getline(expected, line);)
            lines.push_back(line);
        EXPECT_EQ(body, lines) << document;
    }
}

TEST(XmlHandler, ShapeFailuresCarryTheirIdArgumentsAndPosition) {
    const struct {
        const char* name;
        std::string text;
        std::string said;
    } failures[] = {
        {"empty id", document("<category name=\"C\"\n id=\"\"><description/></category>"),
         "QEL_MM_EMPTY_ID@3()"},
        {"no id", document("<category name=\"C\"><description/></category>"),
         "QEL_MM_MISSING_BOTH_ATTR@2(TAG=<category name=\"C\">,ATTR2=rid,ATTR1=id,)"},
        {"both ids, id first",
         document("<type id=\"1\" name=\"T\" rid=\"2\"><description/></type>"),
         "QEL_MM_EXCLUSIVE_ATTR@2(TAG=<type id=\"1\" name=\"T\" rid=\"2\">,ATTR2=rid,ATTR1=id,)"},
        {"both ids, rid first",
         document("<type rid=\"2\" id=\"1\" name=\"T\"><description/></type>"),
         "QEL_MM_EXCLUSIVE_ATTR@2(TAG=<type rid=\"2\" id=\"1\" name=\"T\">,ATTR2=rid,ATTR1=id,)"},
        {"id on a partial", document("<partial_category name=\"C\" id=\"4\"/>"),
         "QEL_MM_UNEXPECTED_ATTR@2(TAG=<partial_category name=\"C\" id=\"4\">,ATTR=id,)"},
        {"rid first on a partial", document("<partial_type rid=\"4\" name=\"T\"/>"),
         "QEL_MM_UNEXPECTED_ATTR@2(TAG=<partial_type rid=\"4\" name=\"T\">,ATTR=rid,)"},
        {"description in a partial",
         document("<partial_type name=\"T\">\n<description/></partial_type>"),
         "QEL_MM_UNEXPECTED_TAG@3(PARENT=partial_type,TAG=<description>,)"},
        {"attribute directly in a partial",
         document("<partial_type name=\"T\"><attribute name=\"a\" intValue=\"1\"/></partial_type>"),
         "QEL_MM_UNEXPECTED_TAG@2(PARENT=partial_type,TAG=<attribute name=\"a\" intValue=\"1\">,)"},
        {"nested category",
         document("<category name=\"A\" rid=\"1\"><description/>\n<category name=\"B\" "
                  "rid=\"2\"/></category>"),
         "QEL_MM_UNEXPECTED_TAG@3(PARENT=category,TAG=<category name=\"B\" rid=\"2\">,)"},
        {"unknown tag in a property",
         document("<type name=\"T\" rid=\"1\"><description/><property name=\"p\" rid=\"2\" "
                  "type=\"integer\"><description/><metaModel/></property></type>"),
         "QEL_MM_UNEXPECTED_TAG@2(PARENT=property,TAG=<metaModel>,)"},
        {"comment before the description",
         document("<category name=\"C\" rid=\"1\"><comment/><description/></category>"),
         "QEL_MM_DESC_TAG_NOT_FIRST@2(TAG=category,)"},
        // A full element without one never starts; the next tag fails, in its parent's name.
        {"no description",
         document("<category name=\"A\" rid=\"1\"/>\n<category name=\"B\" rid=\"2\">"
                  "<description/></category>"),
         "QEL_MM_DESC_TAG_NOT_FIRST@3(TAG=metaModel,)"},
        {"child in a description",
         document("<category name=\"C\" rid=\"1\"><description><b/></description></category>"),
         "QEL_MM_DESC_TAG_HAS_CHILD@2()"},
        {"bad level", document("", R"(file_no="1" file_level="kernel")"),
         "QEL_MM_INVALID_FILE_LEVEL@1(LEVEL=kernel,)"},
        {"no file number", document("", R"(file_level="core")"),
         "QEL_MM_MISSING_ATTR@1(TAG=<metaModel file_level=\"core\">,ATTR=file_no,)"},
        {"attribute without a value",
         document("<category name=\"C\" rid=\"1\"><description/><attribute name=\"a\"/>"
                  "</category>"),
         "QEL_MM_MISSING_BOTH_ATTR@2(TAG=<attribute "
         "name=\"a\">,ATTR2=intValue,ATTR1=stringValue,)"},
        {"tree without a category",
         document("<type name=\"T\" rid=\"1\"><description/><tree parent=\"P\"/></type>"),
         "QEL_MM_MISSING_ATTR@2(TAG=<tree parent=\"P\">,ATTR=category,)"},
        {"malformed", document("<category name=\"C\" rid=\"1\">\n<description>\n</category>"),
         "QEL_MM_SAX_PARSE_EXCEPTION@4(CAUSE=Opening and ending tag mismatch: description line 3 "
         "and category,)"},
    };
    for (const auto& failure : failures) {
        SourceReading reading;
        readSource(reading, failure.text, "/docs/bad.xml");
        EXPECT_EQ(reading.messages.summaries(), std::vector<std::string>{failure.said})
            << failure.name;
        ASSERT_FALSE(reading.messages.messages().empty()) << failure.name;
        const auto& message = reading.messages.messages().front();
        EXPECT_STREQ(message.GetDocument(), "/docs/bad.xml") << failure.name;
        EXPECT_GT(message.GetColumn(), 0) << failure.name;
        EXPECT_STREQ(message.GetComponent(), "QEL") << failure.name;
        // A failed source leaves its stream open but the read still ends it.
        EXPECT_EQ(reading.events.events.back(), "End") << failure.name;
    }
}

// Callers may ask the handler for its invariant at any moment, in the middle of a description too.
TEST(XmlHandler, TheInvariantHoldsAtEveryCallback) {
    struct Checked : MetaModel::CXMLMetaModelHandler {
        using CXMLMetaModelHandler::CXMLMetaModelHandler;
        std::vector<bool> answers;
        void startElement(const ORLO::String& n, const ORLO::String& l, const ORLO::String& q,
                          const ORLO::IXmlAttributes& a) override {
            CXMLMetaModelHandler::startElement(n, l, q, a);
            answers.push_back(invariant());
        }
        void characters(const ORLO::String& text) override {
            CXMLMetaModelHandler::characters(text);
            answers.push_back(invariant());
        }
    };
    TestSupport::RecordingEvents events;
    Checked handler(&events);
    handler.StartStream();
    ORLO::XmlSAXParser parser(&handler, ORLO::ParserSax, false);
    EXPECT_TRUE(parser.parseString(
        document("<type name=\"T\" rid=\"1\"><description>t</description><property name=\"p\" "
                 "rid=\"2\" type=\"integer\"><description>p</description></property></type>"),
        false, true));
    handler.EndStream();
    EXPECT_EQ(handler.answers, std::vector<bool>(handler.answers.size(), true));
    EXPECT_GE(handler.answers.size(), 6u);
}

// Found by the fuzzer: an encoding that fails to decode part-way used to crash the parser
// when the failure stopped it from inside the error report.
TEST(XmlHandler, AnInputThatFailsToDecodeEndsInAParseError) {
    TestSupport::SourceReading reading;
    TestSupport::readSource(reading,
                            TestSupport::readFile(METAMODEL_TEST_DATA_DIR
                                                  "/xml/regressions/failed-encoding-switch.xml"));
    EXPECT_EQ(reading.messages.ids(), std::vector<std::string>{"QEL_MM_SAX_PARSE_EXCEPTION"});
}

} // namespace
