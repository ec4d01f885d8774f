#include "metamodel/metamodelexceptions.h"
#include "metamodel/model/raisedmessage.h"
#include "metamodel/xml/xmlmetamodelevents.h"
#include "support/tempfolder.h"

#include <gtest/gtest.h>

namespace {

using MetaModel::CXMLMetaModelEvents;
using MetaModel::IMetaModelEvents;

constexpr IMetaModelEvents::ElementStatus active = IMetaModelEvents::EsActive;

TEST(XmlWriter, WritesTheDocumentShapeByteForByte) {
    TestSupport::TempFolder folder;
    const std::string path = folder.file("out.xml");
    {
        CXMLMetaModelEvents writer(path);
        const int zero = 0, one = 1;
        writer.Start();
        writer.StartCategory("C", false, "text", 2000001, active);
        writer.StartProperty("p", "text", "integer", zero, one, "no", 2000002, active);
        writer.EndProperty();
        writer.EndCategory(false);
        writer.StartType("T", false, "text", 2000003, active);
        writer.Tree("P", "C", active);
        writer.EndType(false);
        writer.End();
    }
    EXPECT_EQ(TestSupport::readFile(path),
              "<?xml version=\"1.0\" encoding=\"utf-8\" ?>\r\n"
              "\r\n"
              "<metaModel>\r\n"
              "\t<category name=\"C\" id=\"2000001\" status=\"active\">\r\n"
              "\t\t<description><![CDATA[text]]></description>\r\n"
              "\t\t<property name=\"p\" type=\"integer\" minimalCardinality=\"0\" "
              "maximalCardinality=\"1\" merge=\"no\" status=\"active\" id=\"2000002\">\r\n"
              "\t\t\t<description><![CDATA[text]]></description>\r\n"
              "\t\t</property>\r\n"
              "\t</category>\r\n"
              "\t<type name=\"T\" id=\"2000003\" status=\"active\">\r\n"
              "\t\t<description><![CDATA[text]]></description>\r\n"
              "\t\t<tree parent=\"P\" category=\"C\" status=\"active\"/>\r\n"
              "\t</type>\r\n"
              "</metaModel>\r\n");
}

TEST(XmlWriter, EscapesValuesIndentsPropertyAttributesAndMarksUnboundedMaxima) {
    TestSupport::TempFolder folder;
    const std::string path = folder.file("out.xml");
    {
        CXMLMetaModelEvents writer(path);
        const int two = 2, zero = 0, unbounded = -1;
        writer.Start();
        writer.StartType("T", true, "", IMetaModelEvents::NoId, IMetaModelEvents::EsDeprecated);
        writer.StartProperty("p", "a ]]> b", "string", two, zero, "sum", 7,
                             IMetaModelEvents::EsObsolete);
        writer.Attribute("v", "a<b&\"c\"'", active);
        writer.Attribute("n", 42, IMetaModelEvents::ElementStatus(7));
        writer.EndProperty();
        writer.StartProperty("q", "", "integer", zero, unbounded, "no", 8, active);
        writer.EndProperty();
        writer.Attribute("w", "&lt;", IMetaModelEvents::EsInactive);
        writer.InheritedCategory("", active);
        writer.Tree("", "C", active);
        writer.EndType(true);
        writer.End();
    }
    const std::string text = TestSupport::readFile(path);
    const auto has = [&](const std::string& line) {
        return text.find(line + "\r\n") != std::string::npos;
    };
    EXPECT_TRUE(has("\t<partial_type name=\"T\" status=\"deprecated\">"));
    EXPECT_TRUE(has("\t\t<property name=\"p\" type=\"string\" minimalCardinality=\"2\" "
                    "maximalCardinality=\"*\" merge=\"sum\" status=\"obsolete\" id=\"7\">"));
    EXPECT_TRUE(has("\t\t\t<description><![CDATA[a ]]> b]]></description>"));
    EXPECT_TRUE(has("\t\t\t<attribute name=\"v\" stringValue=\"a&lt;b&amp;&quot;c&quot;'\" "
                    "status=\"active\"/>"));
    EXPECT_TRUE(has("\t\t\t<attribute name=\"n\" intValue=\"42\" status=\"\"/>"));
    EXPECT_TRUE(has("\t\t<property name=\"q\" type=\"integer\" minimalCardinality=\"0\" "
                    "maximalCardinality=\"*\" merge=\"no\" status=\"active\" id=\"8\">"));
    EXPECT_TRUE(has("\t\t<attribute name=\"w\" stringValue=\"&amp;lt;\" status=\"inactive\"/>"));
    EXPECT_TRUE(has("\t\t<inheritedCategory status=\"active\"/>"));
    EXPECT_TRUE(has("\t\t<tree category=\"C\" status=\"active\"/>"));
    EXPECT_TRUE(has("\t</partial_type>"));
}

TEST(XmlWriter, AnUnopenableFileRaisesAtTheStartAndWritesNothing) {
    TestSupport::TempFolder folder;
    const std::string path = folder.file("missing/out.xml");
    CXMLMetaModelEvents writer(path);
    EXPECT_EQ(TestSupport::raisedBy<MetaModel::CMetaModelEventsException>([&] { writer.Start(); }),
              (TestSupport::RaisedMessage{"QEL_MM_XML_OUTPUT_FILE_ERR", {{"FILE", path}}}));
    EXPECT_FALSE(std::filesystem::exists(path));
}

} // namespace
