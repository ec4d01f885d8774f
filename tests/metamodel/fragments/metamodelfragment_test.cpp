#include "metamodel/fragments/metamodelfragment.h"

#include "metamodel/builder/metamodelbuilder.h"
#include "metamodel/repository/dbmetamodelevents.h"
#include "metamodel/xml/xmlmetamodelreader.h"

#include "../repository/repositorytesting.h"
#include "support/tempfolder.h"

#include <boost/lexical_cast.hpp>
#include <gtest/gtest.h>
#include <libxml/parser.h>

#include <set>
#include <vector>

namespace {

using MetaModel::MetaModelFragment;
using TestSupport::TempFolder;
using Ids = std::set<int>;

const std::string core = METAMODEL_SOURCE_DIR "/share/metamodel/configuration/Core";
const std::string languages = METAMODEL_SOURCE_DIR "/share/metamodel/configuration/Languages";
const std::string review = METAMODEL_SOURCE_DIR "/examples/review";

std::string document(const std::string& rootAttributes, const std::string& body) {
    return "<?xml version=\"1.0\"?>\n<metaModel" + rootAttributes + ">" + body + "</metaModel>";
}

TEST(MetaModelFragment, IdsComeFromTheDocumentsBlockOrStandAsWritten) {
    const std::string typeAndProperty =
        "<type name='T' rid='7'><property name='p' rid='8' type='string'/></type>";
    struct Case {
        const char* name;
        std::string content;
        Ids ids;
        Ids propertyIds;
    } cases[] = {
        {"no level counts as client",
         document(" file_no='3'", typeAndProperty),
         {2003007},
         {2003008}},
        {"builtin",
         document(" file_level='builtin' file_no='3'", typeAndProperty),
         {1003007},
         {1003008}},
        {"prepackaged",
         document(" file_level='prepackaged' file_no='3'", typeAndProperty),
         {1503007},
         {1503008}},
        {"an unknown level has no block",
         document(" file_level='other' file_no='3'", typeAndProperty),
         {3007},
         {3008}},
        {"no number is file 0", document("", typeAndProperty), {2000007}, {2000008}},
        {"an id wins over a rid",
         document(" file_no='3'", "<category name='C' id='42' rid='1'/>"),
         {42},
         {}},
        {"an element without either keeps the id before it",
         document(" file_level='core'", "<category name='A' rid='5'><property name='p' rid='6'/>"
                                        "<property name='q'/></category><type name='B'/>"),
         {5},
         {6}},
        {"signed numbers", document(" file_no='-1'", "<type name='T' rid='+7' />"), {1999007}, {}},
        {"partial declarations and nested elements are not read",
         document("", "<partial_type name='P' rid='1'><property name='x' rid='2'/></partial_type>"
                      "<type name='T' rid='3'><type name='U' rid='4'/></type>"),
         {2000003},
         {}},
        {"another root gives nothing", "<other><type name='T' id='1'/></other>", {}, {}},
        {"a document that does not parse gives nothing", "<metaModel><type id='1'>", {}, {}},
    };
    for (const Case& c : cases) {
        MetaModelFragment fragment;
        fragment.readFromContent(c.content, "f.xml");
        EXPECT_FALSE(fragment.isEmpty()) << c.name;
        EXPECT_EQ(fragment.getIds(), c.ids) << c.name;
        EXPECT_EQ(fragment.getPropertyIds(), c.propertyIds) << c.name;
    }
    for (const char* bad : {"7x", " 7", "", "0x10", "99999999999"}) {
        MetaModelFragment fragment;
        fragment.readFromContent(document("", "<type name='A' rid='1'/>"), "a.xml");
        EXPECT_THROW(fragment.readFromContent(
                         document("", "<type name='B' rid='" + std::string(bad) + "'/>"), "b.xml"),
                     boost::bad_lexical_cast)
            << bad;
        EXPECT_EQ(fragment.getIds(), Ids{2000001}) << bad;
        EXPECT_THROW(
            fragment.readFromContent(document(" file_no='" + std::string(bad) + "'", ""), "c.xml"),
            boost::bad_lexical_cast)
            << bad;
    }
}

xmlParserInputPtr recordLoad(const char*, const char*, xmlParserCtxtPtr);
int loads = 0;
xmlParserInputPtr recordLoad(const char*, const char*, xmlParserCtxtPtr) {
    ++loads;
    return nullptr;
}

// What a fragment reads comes from the document alone, and an entity bomb stays small.
TEST(MetaModelFragment, HostileDocumentsLoadNothingAndDoNotExpand) {
    TempFolder folder;
    const std::string secret = folder.write("secret.xml", "<type name='Stolen' id='666'/>");
    std::string laughs = "<!DOCTYPE metaModel [<!ENTITY l0 'ha'>";
    for (int level = 1; level < 12; ++level) {
        laughs += "<!ENTITY l" + std::to_string(level) + " '";
        for (int copy = 0; copy < 10; ++copy)
            laughs += "&l" + std::to_string(level - 1) + ";";
        laughs += "'>";
    }
    laughs += "]>";
    const std::string documents[] = {
        "<!DOCTYPE metaModel [<!ENTITY x SYSTEM 'file://" + secret +
            "'>]><metaModel><type name='T' id='1'>&x;</type>&x;</metaModel>",
        "<!DOCTYPE metaModel SYSTEM 'file://" + secret +
            "'><metaModel><type name='T' id='1'/></metaModel>",
        laughs + "<metaModel><type name='T' id='1'>&l11;</type></metaModel>",
    };
    const xmlExternalEntityLoader before = xmlGetExternalEntityLoader();
    xmlSetExternalEntityLoader(recordLoad);
    for (const std::string& content : documents) {
        MetaModelFragment fragment;
        fragment.readFromContent(content, "hostile.xml");
        EXPECT_EQ(fragment.getIds().count(666), 0u) << content;
        EXPECT_LE(fragment.getIds().size(), 1u) << content;
    }
    EXPECT_EQ(loads, 0);
    EXPECT_EQ(xmlGetExternalEntityLoader(), recordLoad);
    xmlSetExternalEntityLoader(before);
}

struct Side {
    std::vector<std::pair<std::string, std::string>> documents; // file, content
    MetaModelFragment read() const {
        MetaModelFragment fragment;
        for (const auto& [file, content] : documents)
            fragment.readFromContent(content, file);
        return fragment;
    }
};

TEST(MetaModelFragment, CoherenceAndCompatibility) {
    const std::string a = document("", "<category name='A' rid='1'><property name='p' rid='2'/>"
                                       "</category>");
    struct Case {
        const char* name;
        Side mine, theirs;
        bool coherent, compatible;
    } cases[] = {
        {"two empty sides", {}, {}, true, true},
        {"disjoint",
         {{{"a", a}}},
         {{{"b", document(" file_no='1'", "<type name='B' rid='1'/>")}}},
         true,
         true},
        {"one property id in common",
         {{{"a", a}}},
         {{{"b", document(" file_no='1'", "<type name='B' rid='1'><property name='q' "
                                          "id='2000002'/></type>")}}},
         true,
         false},
        {"one id in common",
         {{{"a", a}}},
         {{{"b", "<metaModel><type name='B' id='2000001'/>"
                 "</metaModel>"}}},
         true,
         false},
        {"one name in common",
         {{{"a", a}}},
         {{{"b", "<metaModel><type name='A' id='9'/>"
                 "</metaModel>"}}},
         true,
         false},
        {"the same name in two files",
         {{{"a", a}, {"b", "<metaModel><type name='A' id='9'/></metaModel>"}}},
         {},
         false,
         true},
        {"a type and a category share one name",
         {{{"a", "<metaModel><type name='X' id='1'/><category name='X' id='2'/></metaModel>"}}},
         {},
         false,
         true},
        {"a property id twice",
         {{{"a", a},
           {"b", "<metaModel><type name='B' id='5'><property name='q' id='2000002'/>"
                 "</type></metaModel>"}}},
         {},
         false,
         true},
        {"the same file read twice", {{{"a", a}, {"a", a}}}, {}, false, true},
    };
    for (const Case& c : cases) {
        const MetaModelFragment mine = c.mine.read();
        const MetaModelFragment theirs = c.theirs.read();
        EXPECT_EQ(mine.isCoherent(), c.coherent) << c.name;
        EXPECT_EQ(mine.isCompatibleWith(theirs), c.compatible) << c.name;
        EXPECT_EQ(theirs.isCompatibleWith(mine), c.compatible) << c.name;
    }
    const MetaModelFragment twice =
        Side{{{"a", a}, {"b", "<metaModel><type name='A' id='9'/></metaModel>"}}}.read();
    EXPECT_EQ(twice.getNameToId().at("A"), 9);
    EXPECT_EQ(twice.getIdToFile().at(9), "b");
}

// Against a built model: the installation's own documents clash with it by id, name and
// property id, the example extension does not.
TEST(MetaModelFragment, CompatibilityWithABuiltModel) {
    MetaModel::CXMLMetaModelReader documents(false, false);
    documents.AddRootPath(core);
    documents.AddRootPath(languages);
    MetaModel::CMetaModelBuilder builder;
    documents.SetEvents(&builder);
    documents.Read();
    const QEL::IMetaModel* model = builder.GetResult();

    MetaModelFragment extension;
    extension.readFromPath(review);
    EXPECT_TRUE(extension.isCompatibleWith(model));
    MetaModelFragment installed;
    installed.readFromPath(core);
    EXPECT_FALSE(installed.isCompatibleWith(model));
    for (const char* clash : {"<metaModel><type name='Fresh' id='1001'/></metaModel>",
                              "<metaModel><type name='Object' id='77777'/></metaModel>",
                              "<metaModel><type name='Fresh' id='77777'><property name='p' "
                              "id='3'/></type></metaModel>"}) {
        MetaModelFragment fragment;
        fragment.readFromContent(clash, "x.xml");
        EXPECT_FALSE(fragment.isCompatibleWith(model)) << clash;
    }
}

TEST(MetaModelFragment, MigrationNamesEveryIdThatWouldChange) {
    const MetaModelFragment installed =
        Side{{{"old.xml", "<metaModel><type name='Kept' id='1'/><type name='Moved' id='2'/>"
                          "<category name='Alsomoved' id='3'/></metaModel>"}}}
            .read();
    const MetaModelFragment next = Side{
        {{"/new/MetaModel.xml", "<metaModel><type name='Kept' id='1'/>"
                                "<type name='Moved' id='20'/><type name='Added' id='4'/>"
                                "</metaModel>"},
         {"/new/b/MetaModel.xml",
          "<metaModel><category name='Alsomoved' id='30'/>"
          "</metaModel>"}}}.read();
    const auto [compatible, text] = next.isMigrationCompatibleWith(installed);
    EXPECT_FALSE(compatible);
    EXPECT_EQ(text, "type or category Alsomoved has original id 3 and trying to change to 30 "
                    "defined in file : /new/b/MetaModel.xml\n"
                    "type or category Moved has original id 2 and trying to change to 20 defined "
                    "in file : /new/MetaModel.xml\n");
    EXPECT_EQ(installed.isMigrationCompatibleWith(installed), std::make_pair(true, std::string()));
    EXPECT_EQ(MetaModelFragment().isMigrationCompatibleWith(MetaModelFragment()),
              std::make_pair(true, std::string()));
}

class FragmentOfSchema : public testing::TestWithParam<TestSupport::Backend> {};

// The repository's side holds the categories and types it was given, without files or
// properties, whatever schema the tables live in.
TEST_P(FragmentOfSchema, HoldsTheRepositorysCategoriesAndTypes) {
    const bool server = GetParam() == TestSupport::Backend::Postgres;
    RepositoryTesting::Repository repository(GetParam(), server ? "Meta Model" : "");
    ASSERT_TRUE(repository.database.ready()) << repository.database.problem();
    MetaModel::CXMLMetaModelReader documents(false, false);
    documents.AddRootPath(core);
    documents.AddRootPath(review);
    {
        MetaModel::CDBMetaModelEvents rows(repository.handle(), "");
        documents.SetEvents(&rows);
        documents.Read();
    }
    MetaModelFragment files;
    files.readFromPath(core);
    files.readFromPath(review);
    MetaModelFragment stored;
    stored.readFromSchema(repository.connection.get());
    EXPECT_FALSE(stored.isEmpty());
    EXPECT_TRUE(stored.isCoherent());
    EXPECT_EQ(stored.getIds(), files.getIds());
    EXPECT_EQ(stored.getNameToId(), files.getNameToId());
    EXPECT_TRUE(stored.getPropertyIds().empty());
    EXPECT_TRUE(stored.getIdToFile().empty());

    MetaModelFragment moved;
    moved.readFromContent("<metaModel><type name='ReviewNote' id='5'/></metaModel>", "n.xml");
    EXPECT_EQ(moved.isMigrationCompatibleWith(stored).second,
              "type or category ReviewNote has original id 2007004 and trying to change to 5 "
              "defined in file : n.xml\n");
    EXPECT_EQ(stored.isMigrationCompatibleWith(moved).second,
              "type or category ReviewNote has original id 5 and trying to change to 2007004 "
              "defined in file : \n");
}

INSTANTIATE_TEST_SUITE_P(Backends, FragmentOfSchema,
                         testing::Values(TestSupport::Backend::Sqlite,
                                         TestSupport::Backend::Postgres),
                         RepositoryTesting::backendLabel);

} // namespace
