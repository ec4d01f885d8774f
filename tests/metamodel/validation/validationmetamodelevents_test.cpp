#include "metamodel/metamodelexceptions.h"
#include "metamodel/model/raisedmessage.h"
#include "metamodel/validation/validationmetamodelevents.h"
#include "metamodel/xml/xmlmetamodelreader.h"
#include "support/messagecapture.h"

#include <gtest/gtest.h>

namespace {

using MetaModel::CValidationMetaModelEvents;
using Ids = std::vector<std::string>;

// Documents held in memory, validated in one stream without the exception at the end.
struct Validation {
    explicit Validation(const std::vector<std::string>& documents) : events(false) {
        MetaModel::CXMLMetaModelReader reader(false, false);
        int number = 0;
        for (const std::string& document : documents)
            reader.addSource(document, "doc" + std::to_string(++number) + ".xml");
        reader.SetEvents(&events);
        reader.readSources();
    }
    TestSupport::MessageCapture messages;
    CValidationMetaModelEvents events;

    std::string document(size_t index) const {
        const char* text = messages.messages().at(index).GetDocument();
        return text ? text : "";
    }
};

std::string document(const std::string& body, int fileNumber = 1,
                     const std::string& level = "builtin") {
    return "<metaModel file_no=\"" + std::to_string(fileNumber) + "\" file_level=\"" + level +
           "\">\n" + body + "\n</metaModel>";
}

std::string category(const std::string& name, int rid, const std::string& body = "") {
    return "<category name=\"" + name + "\" rid=\"" + std::to_string(rid) + "\"><description/>" +
           body + "</category>";
}

std::string type(const std::string& name, const std::string& idAttribute,
                 const std::string& body = "") {
    return "<type name=\"" + name + "\" " + idAttribute + "><description/>" + body + "</type>";
}

std::string property(const std::string& name, int rid, const std::string& attributes = "",
                     const std::string& body = "") {
    return "<property name=\"" + name + "\" rid=\"" + std::to_string(rid) + "\" " +
           (attributes.empty() ? "type=\"integer\"" : attributes) + "><description/>" + body +
           "</property>";
}

TEST(StreamValidation, PartialAndFullDeclarationsCombineInAnyOrderAcrossDocuments) {
    const Validation v({
        document("<partial_category name=\"C\">" + property("p", 1) + "</partial_category>", 1),
        document(category("C", 1, "<inheritedCategory name=\"Base\"/>") + category("Base", 2), 2),
        document("<partial_category name=\"C\"><inheritedCategory name=\"Base\"/>"
                 "</partial_category>",
                 3),
    });
    EXPECT_EQ(v.messages.ids(), Ids{});
    EXPECT_TRUE(v.events.isValid());
}

TEST(StreamValidation, NameAndIdConflictsAreErrorsAtTheDeclaration) {
    const Validation v({
        document(category("C", 1) + "\n" + "<partial_category name=\"T\"/>\n" +
                     type("T", "rid=\"1\"") + "\n" + category("C", 5) + "\n" + category("D", 6) +
                     "\n" + type("U", "id=\"1002006\"") + "\n" + "<partial_type name=\"U\"/>" +
                     "\n" + "<partial_category name=\"U\"/>",
                 2),
    });
    // The type T meets the category T and is dropped, so its derived attributes land on the
    // partial category T; so does the ROOT_PATH of the second C, which collides there.
    EXPECT_EQ(v.messages.summaries(), (Ids{"QEL_MM_CONFLICT_TYP_NAM@4(ID=1002001,NAM=T,)",
                                           "QEL_MM_CONFLICT_CAT_NAM@5(ID=1002005,NAM=C,)",
                                           "QEL_MM_DUPLICATE_ATTRIBUTE@5(CTXT=T,NAME=ROOT_PATH,)",
                                           "QEL_MM_CONFLICT_TYP_ID@7(ID=1002006,NAM=U,)",
                                           "QEL_MM_CONFLICT_CAT_NAM@9(ID=-2147483648,NAM=U,)",
                                           "QEL_MM_ONLY_PARTIAL_DECL@0(UNKNOWN=T,LOCATION=,)"}));
    EXPECT_EQ(v.document(0), "doc1.xml");
    EXPECT_FALSE(v.events.isValid());
    EXPECT_EQ(v.events.errorCount(), 6);
}

TEST(StreamValidation, UserTypeNamesDrawWarningsThatLeaveTheSetValid) {
    const Validation v(
        {document(type("ORLO_Kept", "id=\"2000000\"") + type("ORLO_Reserved", "id=\"2000001\"") +
                      type("has-hyphen", "id=\"2000002\"") + type("orlo_lower", "id=\"2000003\"") +
                      type("ORLO_bad-too", "id=\"2000004\"") + type("AZ_az_09", "id=\"2000005\"") +
                      "<partial_type name=\"ORLO_partial\"/>",
                  1, "client")});
    // ORLO_partial is only partial: a type draws no message for that.
    EXPECT_EQ(v.messages.summaries(), (Ids{"QEL_MM_RESERVED_CNAME@2(NAME=ORLO_Reserved,)",
                                           "QEL_MM_INVALID_CHARCNAME@2(NAME=has-hyphen,)",
                                           "QEL_MM_INVALID_CHARCNAME@2(NAME=ORLO_bad-too,)",
                                           "QEL_MM_RESERVED_CNAME@2(NAME=ORLO_bad-too,)"}));
    EXPECT_STREQ(v.messages.messages()[0].GetSeverityText(), "warning");
    EXPECT_TRUE(v.events.isValid());
    EXPECT_EQ(v.events.errorCount(), 0);

    // A declaration dropped for its name draws no name warning of its own; its derived
    // attributes land on the first one.
    const Validation twice({document(
        type("has-hyphen", "id=\"2000002\"") + type("has-hyphen", "id=\"2000003\""), 1, "client")});
    EXPECT_EQ(twice.messages.summaries(),
              (Ids{"QEL_MM_INVALID_CHARCNAME@2(NAME=has-hyphen,)",
                   "QEL_MM_CONFLICT_TYP_NAM@2(ID=2000003,NAM=has-hyphen,)",
                   "QEL_MM_DUPLICATE_ATTRIBUTE@2(CTXT=has-hyphen,NAME=KEY_CLASS,)",
                   "QEL_MM_DUPLICATE_ATTRIBUTE@2(CTXT=has-hyphen,NAME=ROOT_PATH,)"}));
}

TEST(StreamValidation, PropertyRulesNameReservedNamesCardinalitiesAndIds) {
    const std::string cardinalities[][2] = {{"0", "1"},  {"1", "1"}, {"0", "*"},
                                            {"7", "*"},  {"0", "0"}, {"-1", "*"},
                                            {"-1", "5"}, {"2", "1"}, {"0", "-2"}};
    std::string body;
    int rid = 10;
    for (const auto& [minimal, maximal] : cardinalities) {
        body += property("c" + std::to_string(rid), rid,
                         "type=\"integer\" minimalCardinality=\"" + minimal +
                             "\" maximalCardinality=\"" + maximal + "\"");
        ++rid;
    }
    const Validation v(
        {document("<category name=\"Reserved\" id=\"2000500\"><description/>"
                  "<property name=\"name\" id=\"3\" type=\"string\"><description/></property>"
                  "<property name=\"fullName\" id=\"4\" type=\"string\"><description/></property>"
                  "<property name=\"x-y\" id=\"5\" type=\"string\"><description/></property>"
                  "<property name=\"other\" id=\"3\" type=\"string\"><description/></property>"
                  "</category>" +
                      category("Cards", 1, body),
                  1, "client")});
    EXPECT_EQ(v.messages.summaries(),
              (Ids{"QEL_MM_RESERVED_PNAME@2(CTXT=Reserved,NAME=fullName,)",
                   "QEL_MM_INVALID_CHARPNAME@2(CTXT=Reserved,NAME=x-y,)",
                   "QEL_MM_CONFLICT_PROP_ID@2(ID=3,NAM=other,)",
                   "QEL_MM_INVALID_PROP_CARD@2(MAX_CARD=0,MIN_CARD=0,CTXT=Cards,NAME=c14,)",
                   "QEL_MM_INVALID_PROP_CARD@2(MAX_CARD=-1,MIN_CARD=-1,CTXT=Cards,NAME=c15,)",
                   "QEL_MM_INVALID_PROP_CARD@2(MAX_CARD=5,MIN_CARD=-1,CTXT=Cards,NAME=c16,)",
                   "QEL_MM_INVALID_PROP_CARD@2(MAX_CARD=1,MIN_CARD=2,CTXT=Cards,NAME=c17,)",
                   "QEL_MM_INVALID_PROP_CARD@2(MAX_CARD=-2,MIN_CARD=0,CTXT=Cards,NAME=c18,)"}));
    EXPECT_EQ(v.events.errorCount(), 7);
}

TEST(StreamValidation, ARejectedPropertyHandsItsAttributesToTheOwner) {
    const Validation v({document(category(
        "C", 1,
        "<attribute name=\"A\" intValue=\"1\"/>" + property("p", 2) +
            property("p", 3, "", "<attribute name=\"A\" stringValue=\"x\"/>") +
            property(
                "q", 4, "",
                "<attribute name=\"B\" intValue=\"1\"/><attribute name=\"B\" intValue=\"2\"/>")))});
    EXPECT_EQ(v.messages.summaries(), (Ids{"QEL_MM_CONFLICT_PROP_NAM@2(ID=1001003,NAM=p,)",
                                           "QEL_MM_DUPLICATE_ATTRIBUTE@2(CTXT=C,NAME=A,)",
                                           "QEL_MM_DUPLICATE_ATTRIBUTE@2(CTXT=q,NAME=B,)"}));
}

TEST(StreamValidation, InheritanceRepeatsCountPerBlockAndUnknownParentsAtTheEnd) {
    const Validation v({document(
        category("C", 1,
                 "<inheritedCategory name=\"Ghost\"/>\n<inheritedCategory name=\"Ghost\"/>") +
        "\n<partial_category name=\"C\"><inheritedCategory name=\"Base\"/></partial_category>" +
        "\n" + category("Base", 2, "<inheritedCategory name=\"T\"/>") + "\n" +
        type("T", "rid=\"3\"", "<inheritedCategory name=\"Base\"/>"))});
    // Unknown parents by category name: Base (which inherits a type) before C.
    EXPECT_EQ(v.messages.summaries(),
              (Ids{"QEL_MM_TWICE_INHERITANCE@3(CATEGORY=C,INHERITED=Ghost,)",
                   "QEL_MM_UNKNOWN_EXTEND@5(CTXT=Base,UNKNOWN=T,LOCATION=doc1.xml,)",
                   "QEL_MM_UNKNOWN_EXTEND@2(CTXT=C,UNKNOWN=Ghost,LOCATION=doc1.xml,)",
                   "QEL_MM_UNKNOWN_EXTEND@3(CTXT=C,UNKNOWN=Ghost,LOCATION=doc1.xml,)"}));
}

TEST(StreamValidation, PropertyTypesAndMergesResolveAgainstTheWholeStream) {
    const Validation v(
        {document(category("C", 1,
                           "\n" + property("later", 2, "type=\"Later\"") + "\n" +
                               property("caps", 3, "type=\"Integer\"") + "\n" +
                               property("list", 4, "type=\"stringList\" merge=\"bitor\"") + "\n" +
                               property("bad", 5, "type=\"nothing\" merge=\"average\"") + "\n" +
                               property("empty", 6, "type=\"integer\" merge=\"\"")) +
                  "\n" + type("Later", "rid=\"7\""))});
    EXPECT_EQ(v.messages.summaries(),
              (Ids{"QEL_MM_INVALID_PROP_TYP@4(CTXT=C,PROP_NAM=caps,)",
                   "QEL_MM_INVALID_PROP_TYP@6(CTXT=C,PROP_NAM=bad,)",
                   "QEL_MM_INVALID_PROP_MERGE@6(CTXT=C,PROP_MRG=average,PROP_NAM=bad,)",
                   "QEL_MM_INVALID_PROP_MERGE@7(CTXT=C,PROP_MRG=,PROP_NAM=empty,)"}));
}

TEST(StreamValidation, TreesAreJudgedOnTypesOnly) {
    const Validation v(
        {document(category("Tree", 1, "<tree parent=\"Nope\" category=\"Nope\"/>") +
                  type("Folder", "rid=\"2\"", "<tree parent=\"Folder\" category=\"Tree\"/>") +
                  type("File", "rid=\"3\"", "<tree parent=\"Tree\" category=\"Folder\"/>"))});
    EXPECT_EQ(v.messages.summaries(),
              (Ids{"QEL_MM_UNKNOWN_TREE_CAT@2(CTXT=File,UNKNOWN=Folder,LOCATION=doc1.xml,)",
                   "QEL_MM_UNKNOWN_TREE_PARENT@2(CTXT=File,UNKNOWN=Tree,LOCATION=doc1.xml,)"}));
}

TEST(StreamValidation, AFaultyStreamEndsInTheCountOfItsErrorsWarningsLeftOut) {
    MetaModel::CXMLMetaModelReader reader(false, false);
    reader.addSource(
        document(type("ORLO_T", "id=\"2000001\"",
                      "<inheritedCategory name=\"A\"/><inheritedCategory name=\"A\"/>"),
                 1, "client"),
        "one.xml");
    CValidationMetaModelEvents events;
    TestSupport::MessageCapture messages;
    reader.SetEvents(&events);
    EXPECT_EQ(TestSupport::raisedBy<MetaModel::CSemanticMetaModelException>(
                  [&] { reader.readSources(); }),
              (TestSupport::RaisedMessage{"QEL_MM_EXIST_ERR", {{"NUMBER", "3"}}}));
    EXPECT_EQ(messages.ids(), (Ids{"QEL_MM_RESERVED_CNAME", "QEL_MM_TWICE_INHERITANCE",
                                   "QEL_MM_UNKNOWN_EXTEND", "QEL_MM_UNKNOWN_EXTEND"}));
    // The records outlive the end: a second one judges them again and counts on.
    EXPECT_EQ(TestSupport::raisedBy<MetaModel::CSemanticMetaModelException>([&] { events.End(); }),
              (TestSupport::RaisedMessage{"QEL_MM_EXIST_ERR", {{"NUMBER", "5"}}}));
    EXPECT_EQ(messages.ids().size(), 6u);

    CValidationMetaModelEvents empty;
    empty.Start();
    EXPECT_NO_THROW(empty.End());
    EXPECT_TRUE(empty.isValid());
}

TEST(StreamValidation, NameChecksGoByteForByte) {
    EXPECT_TRUE(CValidationMetaModelEvents::checkCategoryName(""));
    EXPECT_TRUE(CValidationMetaModelEvents::checkCategoryName("Az_09"));
    EXPECT_FALSE(CValidationMetaModelEvents::checkCategoryName("a b"));
    EXPECT_FALSE(CValidationMetaModelEvents::checkUserPropertyName("caf\xc3\xa9"));
    EXPECT_TRUE(CValidationMetaModelEvents::checkUserCategoryName("ORLO"));
    EXPECT_FALSE(CValidationMetaModelEvents::checkUserCategoryName("ORLO_"));
    EXPECT_TRUE(CValidationMetaModelEvents::checkUserCategoryName("Orlo_x"));
    EXPECT_TRUE(CValidationMetaModelEvents::checkPropertyReservedName("name", 3));
    EXPECT_FALSE(CValidationMetaModelEvents::checkPropertyReservedName("source", 3));
    EXPECT_TRUE(CValidationMetaModelEvents::checkPropertyReservedName("other", 113));
}

} // namespace
