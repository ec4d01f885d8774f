#include "metamodel/metamodelexceptions.h"
#include "metamodel/model/raisedmessage.h"
#include "metamodel/repository/dbmetamodelevents.h"
#include "metamodel/repository/dbmetamodelreader.h"
#include "metamodel/xml/xmlmetamodelreader.h"
#include "platform/database/tablink.h"

#include "repositorytesting.h"
#include "support/recordingevents.h"
#include "support/repositorysnapshot.h"
#include "support/tempfolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <future>
#include <sstream>
#include <thread>

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

// Each SQL file under reading/ fills the empty tables; the reading plays the events its .events
// file lists, one a line.
TEST(RepositoryReading, RowsPlayTheStreamsOfTheirGoldenFiles) {
    const std::filesystem::path data = METAMODEL_TEST_DATA_DIR "/repository/reading";
    int cases = 0;
    for (const auto& entry : std::filesystem::directory_iterator(data)) {
        std::filesystem::path path = entry.path();
        if (path.extension() != ".sql")
            continue;
        ++cases;
        Repository repository(Backend::Sqlite);
        ASSERT_TRUE(repository.database.ready());
        repository.database.execute(TestSupport::readFile(path));
        std::istringstream expected(TestSupport::readFile(path.replace_extension(".events")));
        Lines lines;
        for (std::string line; std::getline(expected, line);)
            lines.push_back(line);
        EXPECT_EQ(readBack(repository.handle()), lines) << path;
    }
    EXPECT_GE(cases, 2);
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

// Texts are stored whole, and every text column the reader fetches gives back their first
// 1023 bytes, as its fixed buffers would, even where that cuts a character in two.
TEST_P(RepositoryRoundTrip, LongTextsComeBackCutAt1023Bytes) {
    Repository repository(GetParam());
    ASSERT_TRUE(repository.database.ready()) << repository.database.problem();
    // The 1023rd byte is the first of a two-byte character.
    std::string longText = std::string(1022, 'a') + "\xc3\xa9";
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
    const auto cut = [](const std::string& text) { return text.substr(0, 1023); };
    EXPECT_EQ(readBack(repository.handle()),
              (Lines{"Start",
                     "Source " + std::string(GetParam() == Backend::Postgres ? "public" : "main"),
                     "StartCategory " + cut(longName) + " full '" + cut(longText) + "' 1 active",
                     "Attribute NOTE '" + cut(longText) + "' active",
                     "StartProperty p '" + cut(longText) + "' string 0..1 no 2 active",
                     "Attribute LABEL '" + cut(longText) + "' active", "EndProperty",
                     "EndCategory full", "End"}));
    // Once the reading has ended its connection holds nothing: another may take the tables.
    EXPECT_NO_THROW(repository.database.execute(
        GetParam() == Backend::Sqlite
            ? "BEGIN EXCLUSIVE; COMMIT"
            : "BEGIN; SET LOCAL lock_timeout TO 100; LOCK TABLE Cat IN ACCESS EXCLUSIVE MODE; "
              "COMMIT"));
}

INSTANTIATE_ON_BOTH_SERVERS(RepositoryRoundTrip);

// A transfer hands its final tables over in one transaction, while a reading takes them one
// statement after the other. Here the other side holds the last table of the reading, with a
// new category already in place: the reading waits for it and then sees only the new
// repository. Without one moment held over all its statements it would read the old category
// and the new trees.
TEST(RepositoryReaderOnTheServer, AReadingSeesTheTablesBeforeOrAfterAHandOverNeverBoth) {
    Repository repository(Backend::Postgres);
    ASSERT_TRUE(repository.database.ready()) << repository.database.problem();
    repository.database.execute("INSERT INTO Cat VALUES (1, 'Old', 'Old', 'ACTIVE')");
    IUniqueConnection other(repository.database.connectionString());
    for (const char* statement :
         {"BEGIN", "DELETE FROM Cat", "INSERT INTO Cat VALUES (2, 'New', 'New', 'ACTIVE')",
          "LOCK TABLE TreeCat IN ACCESS EXCLUSIVE MODE"}) {
        ASSERT_EQ(TABLINK::dbcallrequest(other.GetHandle(), statement), 1)
            << TABLINK::dblasterror(other.GetHandle());
        TABLINK::dbendrequest(other.GetHandle());
    }
    auto reading = std::async(std::launch::async, [&] { return readBack(repository.handle()); });
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (repository.database.rows("SELECT count(*) FROM pg_locks WHERE NOT granted AND database "
                                    "= (SELECT oid FROM pg_database WHERE datname = "
                                    "current_database())") == Lines{"0"} &&
           std::chrono::steady_clock::now() < deadline)
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    ASSERT_EQ(TABLINK::dbcallrequest(other.GetHandle(), "COMMIT"), 1);
    TABLINK::dbendrequest(other.GetHandle());
    const Lines events = reading.get();
    const auto mentions = [&](const std::string& name) {
        return std::any_of(events.begin(), events.end(), [&](const std::string& event) {
            return event.find("StartCategory " + name + " ") == 0;
        });
    };
    EXPECT_TRUE(mentions("New"));
    EXPECT_FALSE(mentions("Old"));
}

// A moment that the server would not hold in time is a failed reading: the tables read one by
// one instead could meet a hand-over between two of them.
TEST(RepositoryReaderOnTheServer, AMomentNotHeldInTimeFailsTheReading) {
    Repository repository(Backend::Postgres);
    ASSERT_TRUE(repository.database.ready()) << repository.database.problem();
    const auto run = [](void* connection, const char* statement) {
        ASSERT_EQ(TABLINK::dbcallrequest(connection, statement), 1)
            << TABLINK::dblasterror(connection);
        TABLINK::dbendrequest(connection);
    };
    IUniqueConnection other(repository.database.connectionString());
    run(other.GetHandle(), "BEGIN");
    run(other.GetHandle(), "LOCK TABLE TreeCat IN ACCESS EXCLUSIVE MODE");
    // The reading's connection waits only so long.
    run(repository.handle(), "SET lock_timeout TO 100");
    RecordingEvents events;
    CDBMetaModelReader reader(repository.handle());
    reader.SetEvents(&events);
    auto raised =
        TestSupport::raisedBy<MetaModel::CMetaModelReaderException>([&] { reader.Read(); });
    EXPECT_NE(raised.arguments["CAUSE"].find("lock timeout"), std::string::npos)
        << raised.arguments["CAUSE"];
    raised.arguments.erase("CAUSE");
    EXPECT_EQ(raised,
              (TestSupport::RaisedMessage{
                  "QEL_DB_REQ_ERR", {{"QUERY", "hold the repository tables at one moment"}}}));
    EXPECT_EQ(events.events, Lines{});
}

} // namespace
