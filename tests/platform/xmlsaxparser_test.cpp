#include "platform/xmlsaxparser.h"

#include "support/tempfolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <libxml/parser.h>
#include <libxml/parserInternals.h>
#include <libxml/xmlerror.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include <sys/stat.h>

namespace {

using ORLO::String;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

// Writes every callback as one line, so a test compares the whole conversation at once.
class Recorder : public ORLO::DefaultXmlHandler {
public:
    std::vector<std::string> events;
    std::vector<std::string> problems;
    String systemId;
    bool recordPositions = false;

    virtual void record(std::string event) { events.push_back(std::move(event)); }

    void setDocumentLocator(ORLO::IXmlLocator* locator) override {
        DefaultXmlHandler::setDocumentLocator(locator);
        record(locator ? "locator" : "locator(null)");
    }
    void startDocument() override { record("startDocument"); }
    void endDocument() override { record("endDocument"); }
    void startDTD(const String& name, const String& publicId, const String& systemId) override {
        record("dtd " + name + " [" + publicId + "] [" + systemId + "]");
    }
    void endDTD() override { record("/dtd"); }
    void startXMLNamespace(const String& prefix, const String& uri) override {
        record("xmlns " + prefix + "=" + uri);
    }
    void endXMLNamespace(const String& prefix) override { record("/xmlns " + prefix); }
    void startElement(const String& nameSpace, const String& localName, const String& qName,
                      const ORLO::IXmlAttributes& attributes) override {
        systemId = getDocumentLocator()->getSystemId();
        std::string line = "<{" + nameSpace + "}" + localName + " " + qName;
        for (int i = 0; i < attributes.getLength(); ++i) {
            String name;
            attributes.getName(i, name);
            line += " " + name + "=" + attributes.getValue(i);
        }
        if (recordPositions)
            line +=
                " @" + std::to_string(getLineNumber()) + ":" + std::to_string(getColumnNumber());
        record(line);
    }
    void endElement(const String& nameSpace, const String& localName,
                    const String& qName) override {
        record("</{" + nameSpace + "}" + localName + " " + qName);
    }
    void characters(const String& text) override { record("text " + text); }
    void startCDATA() override { record("cdata"); }
    void endCDATA() override { record("/cdata"); }
    void comment(const String& text) override { record("comment " + text); }
    void processingInstruction(const String& target, const String& data) override {
        record("pi " + target + " " + data);
    }
    void skippedEntity(const String& name) override { record("skipped " + name); }
    void internalEntityDeclaration(const String& name, const String& value) override {
        record("entity " + name + "=" + value);
    }
    void externalEntityDeclaration(const String& name, const String& publicId,
                                   const String& systemId) override {
        record("external entity " + name + " [" + publicId + "] [" + systemId + "]");
    }
    void unparsedEntityDeclaration(const String& name, const String&, const String& systemId,
                                   const String& notation) override {
        record("unparsed " + name + " " + systemId + " " + notation);
    }
    void notationDeclaration(const String& name, const String&, const String& systemId) override {
        record("notation " + name + " " + systemId);
    }
    void elementDeclaration(const String& name, const String& model) override {
        record("element " + name + " " + model);
    }
    void attributeDeclaration(const String& element, const String& attribute, const String& type,
                              const String& mode, const String& value) override {
        record("attribute " + element + " " + attribute + " " + type + " " + mode + " " + value);
    }
    void warning(const ORLO::XmlException& problem) override { note("warning", problem); }
    void error(const ORLO::XmlException& problem) override { note("error", problem); }
    void fatalError(const ORLO::XmlException& problem) override { note("fatal", problem); }

    std::vector<std::string> texts() const {
        std::vector<std::string> result;
        for (const std::string& event : events)
            if (event.starts_with("text "))
                result.push_back(event.substr(5));
        return result;
    }

private:
    void note(const char* level, const ORLO::XmlException& problem) {
        problems.push_back(std::string(level) + " " + std::to_string(problem.getLineNumber()) +
                           ":" + std::to_string(problem.getColumnNumber()) + " " + problem.what());
        record(level);
    }
};

bool parse(Recorder& recorder, const std::string& text) {
    ORLO::XmlSAXParser parser(&recorder, ORLO::ParserSax, false);
    return parser.parseString(text, false, true);
}

using TestSupport::TempFolder;

// Documents whose whole conversation with the handler is compared at once.
TEST(XmlSAXParser, ReportsNamesTextsAndDeclarationsInDocumentOrder) {
    const std::string longRun(5000, 'x');
    const std::pair<std::string, std::vector<std::string>> cases[] = {
        // Names, namespaces and unescaped attributes.
        {"<?xml version='1.0'?>\n"
         "<m:root xmlns:m='urn:m' xmlns='urn:d' plain='a &amp; b &lt;c&gt;'>"
         "<child m:id='&#38;&#x41;&quot;' other=\"it's\"/></m:root>",
         {"locator", "startDocument", "xmlns m=urn:m", "xmlns =urn:d",
          "<{urn:m}root m:root plain=a & b <c>", "<{urn:d}child child m:id=&A\" other=it's",
          "</{urn:d}child child", "</{urn:m}root m:root", "/xmlns ", "/xmlns m", "endDocument"}},
        // Text is coalesced between markup events, however long.
        {"<r>a &amp; b&#65;\n c<e/>x<![CDATA[y <&> ]]>z<!--note-->p<?tgt some data?>q<![CDATA[]]>" +
             longRun + "&lt;" + longRun + "</r>",
         {"locator",     "startDocument",
          "<{}r r",      "text a & bA\n c",
          "<{}e e",      "</{}e e",
          "text x",      "cdata",
          "text y <&> ", "/cdata",
          "text z",      "comment note",
          "text p",      "pi tgt some data",
          "text q",      "cdata",
          "/cdata",      "text " + longRun + "<" + longRun,
          "</{}r r",     "endDocument"}},
        // The declarations of the internal subset.
        {"<!DOCTYPE r PUBLIC '-//x//y' 'nowhere.dtd' [\n<!ELEMENT r (a|b)*>\n<!ELEMENT e EMPTY>\n"
         "<!ATTLIST r kind (one|two) 'one' id ID #IMPLIED>\n<!NOTATION gif SYSTEM 'viewer'>\n"
         "<!ENTITY pic SYSTEM 'pic.gif' NDATA gif>\n<!ENTITY % pe 'x'>\n"
         "<!ENTITY ext SYSTEM 'ext.xml'>\n]><r/>",
         {"locator", "startDocument", "dtd r [-//x//y] [nowhere.dtd]", "element r (a | b)*",
          "element e EMPTY", "attribute r kind (one|two)  one", "attribute r id ID #IMPLIED ",
          "notation gif viewer", "unparsed pic pic.gif gif", "entity %pe=x",
          "external entity ext [] [ext.xml]", "/dtd", "<{}r r kind=one", "</{}r r", "endDocument"}},
    };
    for (const auto& [document, events] : cases) {
        Recorder r;
        EXPECT_TRUE(parse(r, document));
        EXPECT_EQ(r.events, events);
        EXPECT_THAT(r.problems, IsEmpty());
    }
}

TEST(XmlSAXParser, AttributeListAnswersByNameAndIndex) {
    struct Probe : ORLO::DefaultXmlHandler {
        std::string seen;
        void startElement(const String&, const String&, const String&,
                          const ORLO::IXmlAttributes& a) override {
            String first, below = "x", above = "x";
            a.getName(0, first);
            a.getName(-1, below);
            a.getName(2, above);
            seen = std::to_string(a.getLength()) + "|" + std::to_string(a.getIndex("p:b")) + "|" +
                   std::to_string(a.getIndex("b")) + "|" + std::to_string(a.getIndex("nope")) +
                   std::to_string(a.getIndex("q:c")) + std::to_string(a.getIndex("p:x")) +
                   std::to_string(a.getIndex("")) + "|" + a.getValue(String("a")) + "|" +
                   a.getValue(String("p:b")) + "|" + a.getValue(String("nope")) + "|" +
                   a.getValue(7) + "|" + std::string(a.getValueView(0)) + "|" +
                   std::string(a.getValueView(1)) + "|" + std::string(a.getValueView(2)) + "|" +
                   first + "|" + below + above + "|" + std::string(a.getPlainName(0)) + "[" +
                   std::string(a.getPlainName(1)) + std::string(a.getPlainName(2)) + "]";
        }
    } probe;
    ORLO::XmlSAXParser parser(&probe, ORLO::ParserSax, false);
    EXPECT_TRUE(parser.parseString("<e xmlns:p='urn:p' a='1 &amp; 2' p:b='two'/>", false, true));
    EXPECT_EQ(probe.seen, "2|1|-1|-1-1-1-1|1 & 2|two|||1 & 2|two||a||a[]");
}

// Names are kept from one element to the next; many distinct names, and one local name
// under two prefixes, must still each come out as written.
TEST(XmlSAXParser, ManyDistinctElementNamesKeepTheirOwnSpelling) {
    const char* const prefixes[] = {"a:", "b:", ""};
    const char* const spaces[] = {"urn:a", "urn:b", ""};
    std::string document = "<root xmlns:a='urn:a' xmlns:b='urn:b'>";
    std::vector<std::string> expected = {"locator", "startDocument", "xmlns a=urn:a",
                                         "xmlns b=urn:b", "<{}root root"};
    for (int i = 0; i < 120; ++i) {
        const std::string name = "e" + std::to_string(i % 20), qualified = prefixes[i % 3] + name;
        document += "<" + qualified + "><x/></" + qualified + ">";
        const std::string space = spaces[i % 3];
        expected.insert(expected.end(), {"<{" + space + "}" + name + " " + qualified, "<{}x x",
                                         "</{}x x", "</{" + space + "}" + name + " " + qualified});
    }
    Recorder r;
    ASSERT_TRUE(parse(r, document + "</root>"));
    expected.insert(expected.end(), {"</{}root root", "/xmlns b", "/xmlns a", "endDocument"});
    EXPECT_EQ(r.events, expected);
}

TEST(XmlSAXParser, InternalEntitiesExpandInTextAndAttributes) {
    Recorder r;
    EXPECT_TRUE(parse(r, "<!DOCTYPE d [\n"
                         "<!ENTITY who 'World &amp; co'>\n"
                         "<!ENTITY amp2 '&#38;#38;'>\n"
                         "<!ENTITY nested 'Hello &who;'>\n"
                         "]>\n"
                         "<d a='&nested;!' b='x&amp2;y'>[&nested;] [&nested;]</d>"));
    EXPECT_THAT(r.events, ::testing::Contains("<{}d d a=Hello World & co! b=x&y"));
    EXPECT_THAT(r.texts(), ElementsAre("[Hello World & co] [Hello World & co]"));
    EXPECT_THAT(r.problems, IsEmpty());
}

TEST(XmlSAXParser, LocatorFollowsThePosition) {
    Recorder r;
    r.recordPositions = true;
    EXPECT_TRUE(parse(r, "<a>\n  <b/>\n    <c\n x='1'/></a>"));
    EXPECT_THAT(r.events, ::testing::Contains("<{}a a @1:3"));
    EXPECT_THAT(r.events, ::testing::Contains("<{}b b @2:5"));
    EXPECT_THAT(r.events, ::testing::Contains("<{}c c x=1 @4:7"));
    // Handlers keep the locator after the document; asking it then must be harmless.
    EXPECT_EQ(r.getLineNumber(), 0);
    EXPECT_EQ(r.getColumnNumber(), 0);
}

TEST(XmlSAXParser, ProblemsReachTheHandlerAndNotStandardError) {
    Recorder broken;
    ::testing::internal::CaptureStderr();
    EXPECT_FALSE(parse(broken, "<a>\n<b>text</c>\n</a>"));
    Recorder nsProblems;
    EXPECT_TRUE(parse(nsProblems, "<?xml version='1.1'?><a><q:b/></a>"));
    Recorder empty;
    EXPECT_FALSE(parse(empty, ""));
    Recorder badBytes;
    EXPECT_FALSE(parse(badBytes, "<a>caf\xE9 </a>"));
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");

    // The library's text runs over two lines here; a diagnostic is one.
    ASSERT_EQ(badBytes.problems.size(), 1u) << ::testing::PrintToString(badBytes.problems);
    EXPECT_THAT(badBytes.problems[0],
                HasSubstr("not proper UTF-8, indicate encoding ! Bytes: 0xE9"));

    EXPECT_THAT(empty.events, ElementsAre("locator", "fatal"));
    ASSERT_FALSE(broken.problems.empty());
    EXPECT_EQ(broken.problems.front(),
              "fatal 2:12 Opening and ending tag mismatch: b line 2 and c");
    // A broken document has no end, and nothing of it arrives after the fatal error.
    EXPECT_THAT(broken.events, ElementsAre("locator", "startDocument", "<{}a a", "text \n",
                                           "<{}b b", "text text", "fatal"));

    ASSERT_EQ(nsProblems.problems.size(), 2u) << ::testing::PrintToString(nsProblems.problems);
    EXPECT_THAT(nsProblems.problems[0], HasSubstr("warning 1:"));
    EXPECT_THAT(nsProblems.problems[0], HasSubstr("Unsupported version '1.1'"));
    EXPECT_THAT(nsProblems.problems[1], HasSubstr("error 1:"));
    EXPECT_THAT(nsProblems.problems[1], HasSubstr("Namespace prefix q"));
}

TEST(XmlSAXParser, UnstructuredLibraryMessagesReachTheHandlerAsOneError) {
    struct Probe : Recorder {
        void startElement(const String&, const String&, const String&,
                          const ORLO::IXmlAttributes&) override {
            xmlGenericError(xmlGenericErrorContext, "stray %s ", "library");
            xmlGenericError(xmlGenericErrorContext, "message\n");
        }
    } probe;
    const xmlGenericErrorFunc before = xmlGenericError;
    ::testing::internal::CaptureStderr();
    EXPECT_TRUE(parse(probe, "<a>\n\n<b/></a>"));
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
    EXPECT_THAT(probe.problems,
                ElementsAre("error 1:3 stray library message", "error 3:3 stray library message"));
    EXPECT_EQ(xmlGenericError, before);
}

TEST(XmlSAXParser, ReadsFilesByEitherSeparatorOrAPipeAndNamesTheFileInProblems) {
    TempFolder folder;
    const std::string path = folder.write("sub/doc.xml", "<doc>file</doc>");
    std::string backslashed = path;
    std::replace(backslashed.begin(), backslashed.end(), '/', '\\');
    Recorder r;
    ORLO::XmlSAXParser parser(&r, ORLO::ParserSax, false);
    EXPECT_TRUE(parser.parseFile(path, false, true));
    EXPECT_EQ(r.systemId, path);
    EXPECT_TRUE(parser.parseFile(backslashed, false, true));
    EXPECT_THAT(r.texts(), ElementsAre("file", "file"));

    // A pipe has no size to read ahead by: what the writer sends arrives whole all the same.
    const std::string fifo = (folder.path() / "pipe.xml").string();
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    const std::string piped = "<doc>" + std::string(100000, 'p') + "</doc>";
    std::thread writer([&] { std::ofstream(fifo, std::ios::binary) << piped; });
    r.events.clear();
    EXPECT_TRUE(parser.parseFile(fifo, false, true));
    writer.join();
    EXPECT_THAT(r.texts(), ElementsAre(std::string(100000, 'p')));

    // Broken, missing, or a folder: fatal, at the place in the file or at 0:0 naming it.
    const std::string broken = folder.write("named.xml", "<doc>\n<x></doc>");
    const std::string missing = (folder.path() / "missing.xml").string();
    for (const auto& [file, where] : {std::pair{broken, "fatal 2:"},
                                      {missing, "fatal 0:0"},
                                      {folder.path().string(), "fatal 0:0"}}) {
        r.problems.clear();
        EXPECT_FALSE(parser.parseFile(file, false, true)) << file;
        ASSERT_FALSE(r.problems.empty()) << file;
        EXPECT_THAT(r.problems.front(), HasSubstr(where));
        if (file != broken) {
            EXPECT_THAT(r.problems, ElementsAre(HasSubstr(file)));
        }
    }
    EXPECT_EQ(r.systemId, broken);
}

// ---- nothing from outside the document ---------------------------------------------------------

TEST(XmlSAXParser, NeverReadsExternalEntitiesOrSubsets) {
    TempFolder folder;
    const std::string secret = folder.write("secret.txt", "SECRET-CONTENT");
    const std::string dtd = folder.write("ext.dtd", "<!ATTLIST doc leaked CDATA 'SECRET-DEFAULT'>"
                                                    "<!ENTITY inner 'SECRET-INNER'>");
    const std::string doc =
        folder.write("doc.xml", "<!DOCTYPE doc SYSTEM 'file://" + dtd +
                                    "' [\n"
                                    "<!ENTITY e SYSTEM 'file://" +
                                    secret +
                                    "'>\n"
                                    "<!ENTITY passwd SYSTEM 'file:///etc/passwd'>\n"
                                    "<!ENTITY % p SYSTEM 'file://" +
                                    dtd + "'>\n%p;\n]>\n<doc>[&e;][&passwd;][&inner;]</doc>");
    Recorder r;
    ORLO::XmlSAXParser parser(&r, ORLO::ParserSax, false);
    EXPECT_TRUE(parser.parseFile(doc, false, true));
    for (const std::string& event : r.events) {
        EXPECT_THAT(event, ::testing::Not(HasSubstr("SECRET")));
        EXPECT_THAT(event, ::testing::Not(HasSubstr("root:")));
    }
    EXPECT_THAT(r.events, ::testing::Contains("<{}doc doc"));
    EXPECT_THAT(r.events, ::testing::Contains("skipped e"));
    EXPECT_THAT(r.events, ::testing::Contains("skipped passwd"));
}

TEST(XmlSAXParser, RefusingLoaderLastsForTheParseOnly) {
    TempFolder folder;
    const std::string readable = folder.write("plain.xml", "<x/>");
    struct Probe : ORLO::DefaultXmlHandler {
        std::string url;
        xmlExternalEntityLoader during = nullptr;
        bool loaded = true;
        void startElement(const String&, const String&, const String&,
                          const ORLO::IXmlAttributes&) override {
            during = xmlGetExternalEntityLoader();
            loaded = loads(during, url);
        }
        // With a context of its own, as the library would ask while parsing.
        static bool loads(xmlExternalEntityLoader loader, const std::string& url) {
            const xmlParserCtxtPtr context = xmlNewParserCtxt();
            const xmlParserInputPtr input = loader(url.c_str(), nullptr, context);
            if (input)
                xmlFreeInputStream(input);
            xmlFreeParserCtxt(context);
            return input != nullptr;
        }
    } probe;
    probe.url = readable;
    const xmlExternalEntityLoader before = xmlGetExternalEntityLoader();
    ORLO::XmlSAXParser parser(&probe, ORLO::ParserSax, false);
    EXPECT_TRUE(parser.parseString("<a/>", false, true));
    EXPECT_NE(probe.during, before);
    EXPECT_FALSE(probe.loaded);
    EXPECT_EQ(xmlGetExternalEntityLoader(), before);
    EXPECT_TRUE(Probe::loads(before, readable)) << "only the refusal keeps the file out";
}

TEST(XmlSAXParser, EntityExpansionBombEndsInAnError) {
    std::string bomb = "<!DOCTYPE b [\n<!ENTITY l0 'lol'>\n";
    for (int i = 1; i <= 12; ++i) {
        bomb += "<!ENTITY l" + std::to_string(i) + " '";
        for (int k = 0; k < 10; ++k)
            bomb += "&l" + std::to_string(i - 1) + ";";
        bomb += "'>\n";
    }
    bomb += "]>\n<b a='&l12;'>&l12;</b>";
    for (const std::string& document :
         {bomb, bomb.substr(0, bomb.find("<b a=")) + "<b>&l12;</b>"}) {
        Recorder r;
        const auto start = std::chrono::steady_clock::now();
        EXPECT_FALSE(parse(r, document));
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
        EXPECT_THAT(r.events, ::testing::Contains("fatal"));
    }
}

// ---- exceptions out of the handler ----------------------------------------------------------

struct Stop {};

// Throws once the parse reaches line `line`, from the callback whose event starts with `where`.
class Thrower : public Recorder {
public:
    Thrower(std::string where, int line) : where_(std::move(where)), line_(line) {}
    void record(std::string event) override {
        const bool stop = event.starts_with(where_) && getLineNumber() >= line_;
        Recorder::record(std::move(event));
        if (stop)
            throw Stop{};
    }

private:
    std::string where_;
    int line_;
};

// Out of any callback, however deep in the library, the exception comes out unchanged, stops
// the parse, restores the library's global hooks, and leaves the parser usable.
TEST(XmlSAXParser, HandlerExceptionsComeOutUnchangedAndStopTheParseCleanly) {
    const xmlStructuredErrorFunc channelBefore = xmlStructuredError;
    const xmlExternalEntityLoader loaderBefore = xmlGetExternalEntityLoader();
    std::string big = "<root>\n";
    for (int i = 0; i < 2000; ++i)
        big += "<item n='" + std::to_string(i) + "'>v &amp; w</item>\n";
    TempFolder folder;
    const std::string bigFile = folder.write("big.xml", big + "</root>");
    struct Case {
        const char* where;
        int line;
        std::string document; // a file when empty
        std::string lastEvent;
    };
    const Case cases[] = {
        {"<{", 3, "<a>\n<b>one</b>\n<c x='1'>two</c>\n<d/>\n</a>", "<{}c c x=1"},
        {"text ", 3, "<a>x<b>\n\ntext <!--c--> more</b></a>", "text \n\ntext "},
        {"fatal", 3, "<a>\n\n<b></a>", "fatal"},
        // The element comes out of an entity's replacement text, parsed in a context of its own.
        {"<{", 3, "<!DOCTYPE a [<!ENTITY e '<in>x</in><after/>'>]>\n<a>\n&e;<z/></a>", "<{}in in"},
        {"<{", 1500, "", "<{}item item n=1498"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.where) + " " + c.lastEvent);
        Thrower t(c.where, c.line);
        ORLO::XmlSAXParser parser(&t, ORLO::ParserSax, false);
        EXPECT_THROW(c.document.empty() ? parser.parseFile(bigFile, false, true)
                                        : parser.parseString(c.document, false, true),
                     Stop);
        ASSERT_FALSE(t.events.empty());
        EXPECT_EQ(t.events.back(), c.lastEvent);
        EXPECT_EQ(xmlStructuredError, channelBefore);
        EXPECT_EQ(xmlGetExternalEntityLoader(), loaderBefore);
        t.events.clear();
        EXPECT_TRUE(parser.parseString("<a><b/></a>", false, true));
        EXPECT_THAT(t.events, ElementsAre("locator", "startDocument", "<{}a a", "<{}b b", "</{}b b",
                                          "</{}a a", "endDocument"));
    }
}

} // namespace
