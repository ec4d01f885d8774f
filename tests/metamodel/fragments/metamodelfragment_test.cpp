#include "metamodel/fragments/metamodelfragment.h"

#include "metamodel/builder/metamodelbuilder.h"
#include "metamodel/repository/dbmetamodelevents.h"
#include "metamodel/xml/xmlmetamodelreader.h"

#include "../repository/repositorytesting.h"
#include "support/tempfolder.h"

#include <boost/lexical_cast.hpp>
#include <gtest/gtest.h>
#include <libxml/parser.h>

#include <vector>

namespace {

using MetaModel::MetaModelFragment;

const std::string core = METAMODEL_SOURCE_DIR "/share/metamodel/configuration/Core";
const std::string review = METAMODEL_SOURCE_DIR "/examples/review";

std::string document(const std::string& rootAttributes, const std::string& body) {
    return "<?xml version=\"1.0\"?>\n<metaModel" + rootAttributes + ">" + body + "</metaModel>";
}

// "ids | property ids", each list in ascending order.
std::string idsOf(const MetaModelFragment& fragment) {
    std::string text;
    for (const int id : fragment.getIds())
        text += std::to_string(id) + " ";
    text += "|";
    for (const int id : fragment.getPropertyIds())
        text += " " + std::to_string(id);
    return text;
}

TEST(MetaModelFragment, IdsComeFromTheDocumentsBlockOrStandAsWritten) {
    const std::string tp = "<type name='T' rid='7'><property name='p' rid='8'/></type>";
    const std::pair<std::string, const char*> cases[] = {
        {document(" file_no='3'", tp), "2003007 | 2003008"}, // no level counts as client
        {document(" file_level='builtin' file_no='3'", tp), "1003007 | 1003008"},
        {document(" file_level='prepackaged' file_no='3'", tp), "1503007 | 1503008"},
        {document(" file_level='other' file_no='3'", tp), "3007 | 3008"},
        {document("", tp), "2000007 | 2000008"},
        {document(" file_no='3'", "<category name='C' id='42' rid='1'/>"), "42 |"},
        // An element with neither id nor rid keeps the id of the one before it.
        {document(" file_level='core'", "<category name='A' rid='5'><property name='p' rid='6'/>"
                                        "<property name='q'/></category><type name='B'/>"),
         "5 | 6"},
        {document(" file_no='-1'", "<type name='T' rid='+7' />"), "1999007 |"},
        // Past the range of an id the block wraps around, as in the stream reader.
        {document(" file_no='2147483'", "<type name='T' rid='2147483647'/>"), "1999351 |"},
        // Partial declarations and nested elements are not read.
        {document("", "<partial_type name='P' rid='1'><property name='x' rid='2'/></partial_type>"
                      "<type name='T' rid='3'><type name='U' rid='4'/></type>"),
         "2000003 |"},
        {"<other><type name='T' id='1'/></other>", "|"},
        {"<metaModel><type id='1'>", "|"}, // does not parse
    };
    for (const auto& [content, expected] : cases) {
        MetaModelFragment fragment;
        fragment.readFromContent(content, "f.xml");
        EXPECT_FALSE(fragment.isEmpty()) << content;
        EXPECT_EQ(idsOf(fragment), expected) << content;
    }
    for (const std::string bad : {"7x", " 7", "", "0x10", "99999999999"}) {
        MetaModelFragment fragment;
        fragment.readFromContent(document("", "<type name='A' rid='1'/>"), "a.xml");
        EXPECT_THROW(fragment.readFromContent(document("", "<type rid='" + bad + "'/>"), "b"),
                     boost::bad_lexical_cast)
            << bad;
        EXPECT_EQ(idsOf(fragment), "2000001 |") << bad;
        EXPECT_THROW(fragment.readFromContent(document(" file_no='" + bad + "'", ""), "c"),
                     boost::bad_lexical_cast)
            << bad;
    }
}

int loads = 0;
xmlParserInputPtr recordLoad(const char*, const char*, xmlParserCtxtPtr) {
    ++loads;
    return nullptr;
}

// What a fragment reads comes from the document alone, and an entity bomb stays small.
TEST(MetaModelFragment, HostileDocumentsLoadNothingAndDoNotExpand) {
    TestSupport::TempFolder folder;
    const std::string secret = folder.write("secret.xml", "<type name='Stolen' id='666'/>");
    std::string laughs = "<!DOCTYPE metaModel [<!ENTITY l0 'ha'>";
    for (int level = 1; level < 12; ++level) {
        laughs += "<!ENTITY l" + std::to_string(level) + " '";
        for (int copy = 0; copy < 10; ++copy)
            laughs += "&l" + std::to_string(level - 1) + ";";
        laughs += "'>";
    }
    // The bomb is refused by libxml2's limits: the document gives nothing.
    const std::pair<std::string, const char*> cases[] = {
        {"<!DOCTYPE metaModel [<!ENTITY x SYSTEM 'file://" + secret +
             "'>]><metaModel><type name='T' id='1'>&x;</type>&x;</metaModel>",
         "1 |"},
        {"<!DOCTYPE metaModel SYSTEM 'file://" + secret + "'><metaModel><type id='1'/></metaModel>",
         "1 |"},
        {laughs + "]><metaModel><type name='T' id='1'>&l11;</type></metaModel>", "|"},
    };
    const xmlExternalEntityLoader before = xmlGetExternalEntityLoader();
    xmlSetExternalEntityLoader(recordLoad);
    for (const auto& [content, expected] : cases) {
        MetaModelFragment fragment;
        fragment.readFromContent(content, "hostile.xml");
        EXPECT_EQ(idsOf(fragment), expected) << content;
    }
    EXPECT_EQ(loads, 0);
    EXPECT_EQ(xmlGetExternalEntityLoader(), recordLoad);
    xmlSetExternalEntityLoader(before);
}

// Each document is its own file, "f0", "f1", ...
MetaModelFragment read(const std::vector<std::string>& bodies) {
    MetaModelFragment fragment;
    for (size_t index = 0; index < bodies.size(); ++index)
        fragment.readFromContent("<metaModel>" + bodies[index] + "</metaModel>",
                                 "f" + std::to_string(index));
    return fragment;
}

TEST(MetaModelFragment, CoherenceAndCompatibility) {
    const std::string a = "<category name='A' id='1'><property name='p' id='2'/></category>";
    const struct Case {
        std::vector<std::string> mine, theirs;
        bool coherent, compatible;
    } cases[] = {
        {{}, {}, true, true},
        {{a}, {"<type name='B' id='3'/>"}, true, true},
        {{a}, {"<type name='B' id='3'><property name='q' id='2'/></type>"}, true, false},
        {{a}, {"<type name='B' id='1'/>"}, true, false},
        {{a}, {"<type name='A' id='9'/>"}, true, false},
        {{a, "<type name='A' id='9'/>"}, {}, false, true},
        {{"<type name='X' id='1'/><category name='X' id='2'/>"}, {}, false, true},
        {{a, "<type name='B' id='5'><property name='q' id='2'/></type>"}, {}, false, true},
        {{a, a}, {}, false, true},
        {{a, "<type name='B' id='1'/>"}, {}, false, true},
    };
    for (const Case& c : cases) {
        const std::string name =
            ::testing::PrintToString(c.mine) + " against " + ::testing::PrintToString(c.theirs);
        const MetaModelFragment mine = read(c.mine);
        const MetaModelFragment theirs = read(c.theirs);
        EXPECT_EQ(mine.isCoherent(), c.coherent) << name;
        EXPECT_EQ(mine.isCompatibleWith(theirs), c.compatible) << name;
        EXPECT_EQ(theirs.isCompatibleWith(mine), c.compatible) << name;
    }
    const MetaModelFragment twice = read({a, "<type name='A' id='9'/>"});
    EXPECT_EQ(twice.getNameToId().at("A"), 9);
    EXPECT_EQ(twice.getIdToFile().at(9), "f1");

    // Against a built model: by id, by name and by property id.
    MetaModel::CXMLMetaModelReader documents(false, false);
    documents.AddRootPath(core);
    MetaModel::CMetaModelBuilder builder;
    documents.SetEvents(&builder);
    documents.Read();
    EXPECT_TRUE(read({a}).isCompatibleWith(builder.GetResult()));
    for (const char* clash : {"<type name='Fresh' id='1001'/>", "<type name='Object' id='77'/>",
                              "<type name='Fresh' id='77'><property name='p' id='3'/></type>"})
        EXPECT_FALSE(read({clash}).isCompatibleWith(builder.GetResult())) << clash;
}

TEST(MetaModelFragment, MigrationNamesEveryIdThatWouldChange) {
    const MetaModelFragment installed = read(
        {"<type name='Kept' id='1'/><type name='Moved' id='2'/><category name='Also' id='3'/>"});
    const MetaModelFragment next =
        read({"<type name='Kept' id='1'/><type name='Moved' id='20'/><type name='Added' id='4'/>",
              "<category name='Also' id='30'/>"});
    EXPECT_EQ(next.isMigrationCompatibleWith(installed),
              std::make_pair(false, std::string("type or category Also has original id 3 and "
                                                "trying to change to 30 defined in file : f1\n"
                                                "type or category Moved has original id 2 and "
                                                "trying to change to 20 defined in file : f0\n")));
    EXPECT_EQ(installed.isMigrationCompatibleWith(installed), std::make_pair(true, std::string()));
    EXPECT_EQ(MetaModelFragment().isMigrationCompatibleWith(MetaModelFragment()),
              std::make_pair(true, std::string()));
}

// The repository's side holds the categories and types it was given, without files or
// properties; a name it gives a new id has no file to name.
TEST(MetaModelFragment, ReadFromTheRepositoryHoldsItsCategoriesAndTypes) {
    RepositoryTesting::Repository repository(TestSupport::Backend::Sqlite);
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
    EXPECT_TRUE(!stored.isEmpty() && stored.isCoherent());
    EXPECT_EQ(stored.getIds(), files.getIds());
    EXPECT_EQ(stored.getNameToId(), files.getNameToId());
    EXPECT_TRUE(stored.getPropertyIds().empty() && stored.getIdToFile().empty());
    EXPECT_EQ(stored.isMigrationCompatibleWith(read({"<type name='ReviewNote' id='5'/>"})).second,
              "type or category ReviewNote has original id 5 and trying to change to 2007004 "
              "defined in file : \n");
}

} // namespace
