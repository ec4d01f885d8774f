#include "metamodel/metamodelexceptions.h"
#include "metamodel/model/raisedmessage.h"
#include "metamodel/repository/dbmetamodelevents.h"
#include "metamodel/repository/dbmetamodelreader.h"
#include "metamodel/xml/xmlmetamodelreader.h"

#include "repositorytesting.h"
#include "support/recordingevents.h"
#include "support/repositorysnapshot.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

using MetaModel::CDBMetaModelReader;
using RepositoryTesting::Backend;
using RepositoryTesting::Repository;
using TestSupport::RecordingEvents;
using Lines = std::vector<std::string>;

Lines readBack(void* handle) {
    RecordingEvents events;
    CDBMetaModelReader reader(handle);
    EXPECT_TRUE(reader.invariant());
    reader.SetEvents(&events);
    reader.Read();
    return events.events;
}

class RepositoryReader : public testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(repository_.database.ready()); }
    void insert(const std::string& values) { repository_.database.execute(values); }

    Repository repository_{Backend::Sqlite};
};

TEST_F(RepositoryReader, EmptyTablesGiveAStartAndAnEndNamedAfterTheSchema) {
    RecordingEvents events;
    CDBMetaModelReader reader(repository_.handle());
    reader.SetEvents(&events);
    reader.Read();
    EXPECT_EQ(events.events, (Lines{"Start", "End"}));
    EXPECT_EQ(events.GetSource(), "main");
    EXPECT_FALSE(CDBMetaModelReader(nullptr).invariant());
}

TEST_F(RepositoryReader, ElementsComeByIdCategoryFirstAndRowsOfOneIdEachAsTheLastOfThem) {
    insert("INSERT INTO Cat VALUES (5, 'C5', 'c', 'ACTIVE'), (1, 'C1', 'c', 'ACTIVE'),"
           "(4, 'First', 'one', 'ACTIVE'), (4, 'Second', 'two', 'ACTIVE');"
           "INSERT INTO Typ VALUES (5, 'T5', 't', 'ACTIVE'), (3, 'T3', 't', 'ACTIVE'),"
           "(4, 'TFirst', 'x', 'ACTIVE'), (4, 'TSecond', 'y', 'ACTIVE');"
           "INSERT INTO CatAttr VALUES (4, 'A', 137475, 1, NULL, 'ACTIVE')");
    // Rows that share an id are all sent, each as the row that came last, body included.
    const Lines second{"StartCategory Second full 'two' 4 active", "Attribute A int 1 active",
                       "EndCategory full"};
    const Lines type{"StartType TSecond full 'y' 4 active", "EndType full"};
    Lines expected{"Start",
                   "Source main",
                   "StartCategory C1 full 'c' 1 active",
                   "EndCategory full",
                   "StartType T3 full 't' 3 active",
                   "EndType full"};
    for (const Lines* part : {&second, &second, &type, &type})
        expected.insert(expected.end(), part->begin(), part->end());
    for (const char* line : {"StartCategory C5 full 'c' 5 active", "EndCategory full",
                             "StartType T5 full 't' 5 active", "EndType full", "End"})
        expected.push_back(line);
    EXPECT_EQ(readBack(repository_.handle()), expected);
}

// Bodies come attributes first, then inherited categories, properties with their attributes,
// and trees; each group in the order of its select; every status is sent as active.
TEST_F(RepositoryReader, BodiesComeInTheFixedOrderAndStatusesAreNotPassedOn) {
    insert("INSERT INTO Cat VALUES (5, 'Base', 'Root', 'DEPRECATED'), (7, 'Tree', 'T', 'ACTIVE');"
           "INSERT INTO Typ VALUES (5, 'Twin', 'same id', 'ACTIVE'),"
           "(20, 'File', 'F', 'OBSOLETE');"
           "INSERT INTO TypAttr VALUES (20, 'zeta', 137475, 3, NULL, 'ACTIVE'),"
           "(20, 'alpha', 137476, NULL, 'text', 'INACTIVE'),"
           "(20, 'stray', 4242, 99, 'as text', 'ACTIVE');"
           "INSERT INTO TypCat VALUES (20, 7, 1, 'ACTIVE'), (20, 5, 1, 'DEPRECATED'),"
           "(20, 99, 1, 'ACTIVE'), (20, 1, 0, 'ACTIVE');"
           "INSERT INTO Prop VALUES (101, 'b', 'B', 5, 'CDA', 0, -1, 'ACTIVE'),"
           "(100, 'a', 'A', 137475, 'SUM', 0, 1, 'ACTIVE'),"
           "(102, 'c', 'C', -2147483648, 'XYZ', 1, 1, 'ACTIVE'),"
           "(103, 'd', 'D', 1028, 'BOR', 0, 1, 'ACTIVE');"
           "INSERT INTO PropAttr VALUES (100, 'UNIT', 137476, NULL, 'byte', 'ACTIVE');"
           "INSERT INTO TypProp VALUES (101, 20, 'ACTIVE'), (100, 20, 'ACTIVE'),"
           "(102, 20, 'ACTIVE'), (404, 20, 'ACTIVE');"
           "INSERT INTO PropCat VALUES (100, 5, 'ACTIVE'), (103, 5, 'ACTIVE');"
           "INSERT INTO TreeCat VALUES (20, 20, 7, 'ACTIVE'), (20, 5, 77, 'ACTIVE')");
    EXPECT_EQ(
        readBack(repository_.handle()),
        (Lines{"Start", "Source main", "StartCategory Base full 'Root' 5 active",
               "StartProperty a 'A' integer 0..1 sum 100 active", "Attribute UNIT 'byte' active",
               "EndProperty", "StartProperty d 'D' reference 0..1 bitor 103 active", "EndProperty",
               "EndCategory full",
               // Categories and types share their ids: links of owner 5 go to both.
               "StartType Twin full 'same id' 5 active",
               "StartProperty a 'A' integer 0..1 sum 100 active", "Attribute UNIT 'byte' active",
               "EndProperty", "StartProperty d 'D' reference 0..1 bitor 103 active", "EndProperty",
               "EndType full", "StartCategory Tree full 'T' 7 active", "EndCategory full",
               "StartType File full 'F' 20 active", "Attribute alpha 'text' active",
               "Attribute stray 'as text' active", "Attribute zeta int 3 active",
               // By parent id; an unknown parent comes as its digits; IsCatProp 0 is not read.
               "InheritedCategory Base active", "InheritedCategory Tree active",
               "InheritedCategory 99 active", "StartProperty a 'A' integer 0..1 sum 100 active",
               "Attribute UNIT 'byte' active", "EndProperty",
               // A type id shared by a category and a type names the category.
               "StartProperty b 'B' Base 0..-1 cct_dist_alpha 101 active", "EndProperty",
               "StartProperty c 'C' -2147483648 1..1  102 active", "EndProperty",
               // A link to a property that is not there plays the empty default.
               "StartProperty  '' -1 0..-1  -1 active", "EndProperty", "Tree File Tree active",
               "Tree Base 77 active", "EndType full", "End"}));
}

TEST_F(RepositoryReader, AMissingTableIsARequestFailureBeforeTheStreamStarts) {
    repository_.database.execute("DROP TABLE TypCat");
    RecordingEvents events;
    CDBMetaModelReader reader(repository_.handle());
    reader.SetEvents(&events);
    auto raised =
        TestSupport::raisedBy<MetaModel::CMetaModelReaderException>([&] { reader.Read(); });
    EXPECT_NE(raised.arguments["CAUSE"].find("TypCat"), std::string::npos);
    raised.arguments.erase("CAUSE");
    EXPECT_EQ(
        raised,
        (TestSupport::RaisedMessage{
            "QEL_DB_REQ_ERR",
            {{"QUERY", "select IdTyp,IdCatParent,Status from TypCat where IsCatProp = 1 order by "
                       "IdCatParent"}}}));
    EXPECT_EQ(events.events, Lines{});
}

// What the repository gives back of documents is compared with a fixed export through the
// tool, on both servers. Here, in a schema whose name holds a quote: the rows land in that
// schema alone, and a reading written again changes no row but the statuses and reads back
// the same.
class RepositoryRoundTrip : public testing::TestWithParam<Backend> {};

TEST_P(RepositoryRoundTrip, AReadingWrittenAgainChangesOnlyTheStatuses) {
    const std::string schema = GetParam() == Backend::Postgres ? "Meta \"Model\"" : "";
    Repository repository(GetParam(), schema);
    ASSERT_TRUE(repository.database.ready()) << repository.database.problem();
    MetaModel::CXMLMetaModelReader documents(false, false);
    documents.AddRootPath(METAMODEL_TEST_DATA_DIR "/transfer/first");
    documents.AddRootPath(METAMODEL_TEST_DATA_DIR "/transfer/second");
    {
        MetaModel::CDBMetaModelEvents sink(repository.handle(), "");
        documents.SetEvents(&sink);
        documents.Read();
    }
    const Lines read = readBack(repository.handle());
    ASSERT_GT(read.size(), 20u);
    EXPECT_EQ(read[1], "Source " + (schema.empty() ? std::string("main") : schema));
    const auto before = TestSupport::repositoryState(repository.database, schema);
    EXPECT_EQ(before.at("Typ").size(), 2u);
    if (!schema.empty()) {
        EXPECT_EQ(repository.database.rows("select count(*) from information_schema.tables "
                                           "where table_name = 'typ' or table_name = 'Typ'"),
                  Lines{"1"});
    }
    {
        MetaModel::CDBMetaModelEvents sink(repository.handle(), "");
        CDBMetaModelReader reader(repository.handle());
        reader.SetEvents(&sink);
        reader.Read();
    }
    // Every status comes back active; nothing else changes.
    auto active = before;
    for (auto& [table, rows] : active) {
        for (std::string& row : rows)
            row = row.substr(0, row.rfind('|')) + "|ACTIVE";
        std::sort(rows.begin(), rows.end());
    }
    EXPECT_EQ(TestSupport::repositoryState(repository.database, schema), active);
    EXPECT_EQ(readBack(repository.handle()), read);
}

// Texts far beyond any fixed buffer, multi-byte characters across every 1024-byte boundary,
// come back byte for byte from every text column the reader fetches.
TEST_P(RepositoryRoundTrip, LongTextsComeBackWhole) {
    Repository repository(GetParam());
    ASSERT_TRUE(repository.database.ready()) << repository.database.problem();
    std::string longText;
    while (longText.size() < 5000)
        longText += "caf\xc3\xa9 " + std::to_string(longText.size()) + " ";
    longText.resize(5000, '.');
    const std::string longName = "N" + std::string(1500, 'x');
    {
        MetaModel::CDBMetaModelEvents sink(repository.handle(), "");
        sink.Start();
        sink.StartCategory(longName, false, longText, 1, MetaModel::IMetaModelEvents::EsActive);
        sink.Attribute("NOTE", longText, MetaModel::IMetaModelEvents::EsActive);
        sink.StartProperty("p", longText + "!", "string", 0, 1, "no", 2,
                           MetaModel::IMetaModelEvents::EsActive);
        sink.Attribute("LABEL", longText + "?", MetaModel::IMetaModelEvents::EsActive);
        sink.EndProperty();
        sink.EndCategory(false);
        sink.End();
    }
    EXPECT_EQ(readBack(repository.handle()),
              (Lines{"Start",
                     "Source " + std::string(GetParam() == Backend::Postgres ? "public" : "main"),
                     "StartCategory " + longName + " full '" + longText + "' 1 active",
                     "Attribute NOTE '" + longText + "' active",
                     "StartProperty p '" + longText + "!' string 0..1 no 2 active",
                     "Attribute LABEL '" + longText + "?' active", "EndProperty",
                     "EndCategory full", "End"}));
}

INSTANTIATE_ON_BOTH_SERVERS(RepositoryRoundTrip);

} // namespace
