#include "support/generatedset.h"
#include "support/repositorysnapshot.h"
#include "support/runtool.h"
#include "support/tempfolder.h"
#include "support/testdatabase.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <regex>
#include <sstream>

namespace {

using TestSupport::Backend;
using TestSupport::runTool;
using TestSupport::TempFolder;
using TestSupport::TestDatabase;

// Two documents that use names before they declare them and complete each other through
// partial declarations; statuses, empty descriptions, escapes and list types on the way.
const char* const firstDocument = R"(<?xml version="1.0" encoding="utf-8"?>
<metaModel file_no="5">
	<type name="Report" rid="7" status="deprecated">
		<description>A report, declared before what it inherits</description>
		<attribute name="ZONE" stringValue="north &amp; south"/>
		<attribute name="RANK" intValue="-4"/>
		<inheritedCategory name="Printable"/>
		<tree parent="Folder" category="Containment"/>
		<property name="pages" rid="9" type="integer" minimalCardinality="1" merge="sum">
			<description>Page count</description>
			<attribute name="INF_TYPE" intValue="100"/>
		</property>
		<property name="body" rid="8" type="Printable" maximalCardinality="*">
			<description/>
		</property>
	</type>
	<category name="Printable" rid="2" status="obsolete">
		<description><![CDATA[Can be <printed>]]></description>
		<inheritedCategory name="Named"/>
	</category>
	<category name="Containment" rid="3">
		<description>Folders hold things</description>
	</category>
	<category name="Named" rid="4">
		<description>Has a name</description>
	</category>
</metaModel>
)";

const char* const secondDocument = R"(<?xml version="1.0" encoding="utf-8"?>
<metaModel file_no="6">
	<type name="Folder" rid="1">
		<description>Holds reports</description>
		<inheritedCategory name="Containment"/>
		<property name="owner" rid="2" type="reference" merge="bitor">
			<description>Who owns it</description>
		</property>
	</type>
	<partial_type name="Report">
		<inheritedCategory name="Containment"/>
		<property name="tags" rid="3" type="stringList" merge="cct_dist_alpha">
			<description>Free tags</description>
		</property>
	</partial_type>
	<partialCategory name="Printable">
		<property name="width" rid="4" type="dateTime">
			<description/>
		</property>
	</partialCategory>
</metaModel>
)";

// What the repository gives back of the two documents: elements by id, partial declarations
// folded into what they complete, every status active, empty descriptions replaced by the
// name, attributes by name (with those the document reader adds), inherited categories by
// the parent's id, properties by id; the links a type only reaches through a category stay
// in the repository and out of the stream.
std::string expectedExport(const std::string& first, const std::string& second) {
    const std::vector<std::string> lines = {
        R"(<?xml version="1.0" encoding="utf-8" ?>)",
        "",
        "<metaModel>",
        R"(	<category name="Printable" id="2005002" status="active">)",
        R"(		<description><![CDATA[Can be <printed>]]></description>)",
        R"(		<attribute name="ROOT_PATH" stringValue=")" + first +
            R"(" status="active"/>)",
        R"(		<inheritedCategory name="Named" status="active"/>)",
        R"(		<property name="width" type="dateTime" minimalCardinality="0" maximalCardinality="1" merge="no" status="active" id="2006004">)",
        R"(			<description><![CDATA[width]]></description>)",
        R"(		</property>)",
        R"(	</category>)",
        R"(	<category name="Containment" id="2005003" status="active">)",
        R"(		<description><![CDATA[Folders hold things]]></description>)",
        R"(		<attribute name="ROOT_PATH" stringValue=")" + first +
            R"(" status="active"/>)",
        R"(	</category>)",
        R"(	<category name="Named" id="2005004" status="active">)",
        R"(		<description><![CDATA[Has a name]]></description>)",
        R"(		<attribute name="ROOT_PATH" stringValue=")" + first +
            R"(" status="active"/>)",
        R"(	</category>)",
        R"(	<type name="Report" id="2005007" status="active">)",
        R"(		<description><![CDATA[A report, declared before what it inherits]]></description>)",
        R"(		<attribute name="KEY_CLASS" intValue="2005007" status="active"/>)",
        R"(		<attribute name="RANK" intValue="-4" status="active"/>)",
        R"(		<attribute name="ROOT_PATH" stringValue=")" + first +
            R"(" status="active"/>)",
        R"(		<attribute name="ZONE" stringValue="north &amp; south" status="active"/>)",
        R"(		<inheritedCategory name="Printable" status="active"/>)",
        R"(		<inheritedCategory name="Containment" status="active"/>)",
        R"(		<property name="body" type="Printable" minimalCardinality="0" maximalCardinality="*" merge="no" status="active" id="2005008">)",
        R"(			<description><![CDATA[body]]></description>)",
        R"(		</property>)",
        R"(		<property name="pages" type="integer" minimalCardinality="1" maximalCardinality="1" merge="sum" status="active" id="2005009">)",
        R"(			<description><![CDATA[Page count]]></description>)",
        R"(			<attribute name="INF_TYPE" intValue="100" status="active"/>)",
        R"(		</property>)",
        R"(		<property name="tags" type="string" minimalCardinality="0" maximalCardinality="*" merge="cct_dist_alpha" status="active" id="2006003">)",
        R"(			<description><![CDATA[Free tags]]></description>)",
        R"(		</property>)",
        R"(		<tree parent="Folder" category="Containment" status="active"/>)",
        R"(	</type>)",
        R"(	<type name="Folder" id="2006001" status="active">)",
        R"(		<description><![CDATA[Holds reports]]></description>)",
        R"(		<attribute name="KEY_CLASS" intValue="2006001" status="active"/>)",
        R"(		<attribute name="ROOT_PATH" stringValue=")" + second +
            R"(" status="active"/>)",
        R"(		<inheritedCategory name="Containment" status="active"/>)",
        R"(		<property name="owner" type="reference" minimalCardinality="0" maximalCardinality="1" merge="bitor" status="active" id="2006002">)",
        R"(			<description><![CDATA[Who owns it]]></description>)",
        R"(		</property>)",
        R"(	</type>)",
        "</metaModel>",
    };
    std::string text;
    for (const std::string& line : lines)
        text += line + "\r\n";
    return text;
}

const std::string expectedDump = "Cat \t2005002\tPrintable\r\n"
                                 "Prop\t2006004\tPrintable.width\r\n"
                                 "Cat \t2005003\tContainment\r\n"
                                 "Cat \t2005004\tNamed\r\n"
                                 "Typ \t2005007\tReport\r\n"
                                 "Prop\t2005008\tReport.body\r\n"
                                 "Prop\t2005009\tReport.pages\r\n"
                                 "Prop\t2006003\tReport.tags\r\n"
                                 "Typ \t2006001\tFolder\r\n"
                                 "Prop\t2006002\tFolder.owner\r\n";

// A meta-model of its own, smaller than the two documents.
const char* const singleDocument = R"(<?xml version="1.0" encoding="utf-8"?>
<metaModel file_no="9">
	<category name="Alone" rid="1">
		<description>Alone</description>
	</category>
	<type name="Single" rid="2">
		<description/>
		<inheritedCategory name="Alone"/>
		<property name="size" rid="3" type="integer">
			<description/>
		</property>
	</type>
</metaModel>
)";

// A set whose stream checks fail: an unknown parent and an unknown property type.
const char* const faultyDocument = R"(<?xml version="1.0" encoding="utf-8"?>
<metaModel file_no="8">
	<category name="Broken" rid="1">
		<description>Points nowhere</description>
		<inheritedCategory name="Nowhere"/>
		<property name="lost" rid="2" type="NoSuchType">
			<description/>
		</property>
	</category>
</metaModel>
)";

std::vector<std::string> messageIds(const std::string& err) {
    static const std::regex id(R"(\[([A-Z0-9_]+)\]$)");
    std::vector<std::string> ids;
    std::istringstream in(err);
    for (std::string line; std::getline(in, line);) {
        std::smatch match;
        if (std::regex_search(line, match, id))
            ids.push_back(match[1]);
    }
    return ids;
}

class TransferCommand : public testing::TestWithParam<Backend> {
protected:
    void SetUp() override {
        database_ = std::make_unique<TestDatabase>(GetParam());
        ASSERT_TRUE(database_->ready()) << database_->problem();
        uri_ = database_->connectionString();
        if (!schema().empty())
            database_->execute("CREATE SCHEMA \"" + schema() + "\"");
        first_ = folder_.write("documents/first/MetaModel.xml", firstDocument);
        second_ = folder_.write("documents/second/MetaModel.xml", secondDocument);
    }
    // On the server, a schema whose name must be quoted; the embedded database has one.
    std::string schema() const { return GetParam() == Backend::Postgres ? "Meta Model" : ""; }
    std::string prefix() const { return GetParam() == Backend::Postgres ? "\"Meta Model\"." : ""; }
    std::vector<std::string> withSchema(std::vector<std::string> arguments) const {
        if (!schema().empty()) {
            arguments.push_back("--schema");
            arguments.push_back(schema());
        }
        return arguments;
    }
    TestSupport::ToolRun transfer(const std::vector<std::string>& paths) const {
        std::vector<std::string> arguments = withSchema({"transfer", "--db", uri_});
        arguments.insert(arguments.end(), paths.begin(), paths.end());
        return runTool(arguments);
    }
    TestSupport::RepositoryState finalTables() const {
        return TestSupport::repositoryState(*database_, schema());
    }
    TestSupport::RepositoryState workTables() const {
        return TestSupport::repositoryState(*database_, schema(), true);
    }
    // The final rows of the two documents in place, and what they are.
    TestSupport::RepositoryState transferTheDocuments() const {
        const auto run = transfer({folder_.file("documents")});
        EXPECT_EQ(run.exitCode, 0) << run.err;
        return finalTables();
    }
    void refuse(const std::string& when, const std::string& table) const {
        if (GetParam() == Backend::Sqlite) {
            database_->execute("CREATE TRIGGER refuse " + when + " ON " + table +
                               " BEGIN SELECT RAISE(ABORT, 'refused by the test'); END");
            return;
        }
        database_->execute("CREATE FUNCTION refuse() RETURNS trigger LANGUAGE plpgsql AS "
                           "$$BEGIN RAISE EXCEPTION 'refused by the test'; END$$;"
                           "CREATE TRIGGER refuse " +
                           when + " ON " + prefix() + table +
                           " FOR EACH ROW EXECUTE FUNCTION refuse()");
    }
    void allow(const std::string& table) const {
        database_->execute(GetParam() == Backend::Sqlite ? "DROP TRIGGER refuse"
                                                         : "DROP TRIGGER refuse ON " + prefix() +
                                                               table + "; DROP FUNCTION refuse()");
    }

    TempFolder folder_;
    std::unique_ptr<TestDatabase> database_;
    std::string uri_;
    std::string first_;
    std::string second_;
};

TEST_P(TransferCommand, MakesTheRepositoryAndReadsBackWhatTheDesignPredicts) {
    const auto run = transfer({folder_.file("documents")});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(run.out, "");
    // Not a terminal: the summary alone, counted from the final tables; the derived link of
    // Report to Named is a row of TypCat too, and written with the others.
    EXPECT_EQ(run.err, "transfer: 2 documents, 31 rows written; now Cat 3, CatAttr 3, CatCat 1, "
                       "TreeCat 1, Typ 2, TypAttr 6, TypCat 4, Prop 5, PropAttr 1, PropCat 1, "
                       "TypProp 4\n");

    const std::string firstFolder = std::filesystem::path(first_).parent_path().string();
    const std::string secondFolder = std::filesystem::path(second_).parent_path().string();
    const auto exported = runTool(withSchema({"export", "--db", uri_}));
    ASSERT_EQ(exported.exitCode, 0) << exported.err;
    EXPECT_EQ(exported.out, expectedExport(firstFolder, secondFolder));
    const auto dumped = runTool(withSchema({"dump", "--db", uri_}));
    ASSERT_EQ(dumped.exitCode, 0) << dumped.err;
    EXPECT_EQ(dumped.out, expectedDump);

    // Once more, and with -q: the same content, nothing said.
    const auto before = finalTables();
    const auto again = runTool(withSchema({"-q", "transfer", "--db", uri_, first_, second_}));
    EXPECT_EQ(again.exitCode, 0) << again.err;
    EXPECT_EQ(again.err, "");
    EXPECT_EQ(finalTables(), before);
}

TEST_P(TransferCommand, ASetThatFailsValidationTouchesNoRow) {
    const auto finalBefore = transferTheDocuments();
    const auto workBefore = workTables();
    ASSERT_EQ(finalBefore.at("Typ").size(), 2u);

    const std::string faulty = folder_.write("faulty/MetaModel.xml", faultyDocument);
    const auto run = transfer({folder_.file("documents"), faulty});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(messageIds(run.err),
              (std::vector<std::string>{"QEL_MM_UNKNOWN_EXTEND", "QEL_MM_INVALID_PROP_TYP",
                                        "QEL_MM_EXIST_ERR", "QEL_MM_XML2DB_ERR"}))
        << run.err;
    EXPECT_NE(run.err.find(faulty + ":5:"), std::string::npos) << "where: " << run.err;
    EXPECT_NE(run.err.find("transfer: failed"), std::string::npos) << run.err;
    EXPECT_EQ(finalTables(), finalBefore);
    EXPECT_EQ(workTables(), workBefore) << "the work tables were not even emptied";
}

TEST_P(TransferCommand, RefusedStatementsAndProceduresAreNamedAndLeaveTheOldMetaModel) {
    const auto before = transferTheDocuments();
    const std::string other = folder_.write("other/MetaModel.xml", singleDocument);

    // A row that an interrupted transfer left behind: the next one deletes it first.
    database_->execute("INSERT INTO " + prefix() + "IN_CAT VALUES (1, 'left', 'left', 'ACTIVE')");
    refuse("BEFORE DELETE", "IN_CAT");
    auto run = transfer({other});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(messageIds(run.err),
              (std::vector<std::string>{"QEL_DB_REQ_ERR", "QEL_MM_XML2DB_ERR"}))
        << run.err;
    EXPECT_NE(run.err.find("'delete from " + prefix() + "IN_CAT' failed"), std::string::npos)
        << run.err;
    EXPECT_NE(run.err.find("refused by the test"), std::string::npos) << run.err;
    EXPECT_EQ(finalTables(), before);
    allow("IN_CAT");

    // The last table that the final step fills refuses its rows: the whole step is undone.
    refuse("BEFORE INSERT", "TypProp");
    run = transfer({other});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(messageIds(run.err),
              (std::vector<std::string>{"QEL_DB_PROC_ERR", "QEL_MM_XML2DB_ERR"}))
        << run.err;
    EXPECT_NE(run.err.find("'?" + prefix() + "FINAL_METAMODEL' failed"), std::string::npos)
        << run.err;
    EXPECT_EQ(finalTables(), before);
    allow("TypProp");

    run = transfer({other});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(finalTables().at("Typ"), std::vector<std::string>{"2009002|Single|Single|ACTIVE"});
}

INSTANTIATE_TEST_SUITE_P(Servers, TransferCommand,
                         testing::Values(Backend::Sqlite, Backend::Postgres),
                         [](const testing::TestParamInfo<Backend>& info) {
                             return info.param == Backend::Sqlite ? "SQLite" : "PostgreSQL";
                         });

TEST(TransferCommandOnSqlite, MissingTablesAreMadeAndMissingInputsAreFailures) {
    TempFolder folder;
    const std::string documents = folder.file("documents");
    folder.write("documents/one/MetaModel.xml", singleDocument);

    // A folder that is not there is a failure before the database is even made.
    const std::string unmade = folder.file("unmade.sqlite");
    auto run = runTool({"transfer", "--db", unmade, folder.file("no-such-folder")});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(messageIds(run.err), std::vector<std::string>{"QEL_MM_ROOT_NOT_FOUND"}) << run.err;
    EXPECT_FALSE(std::filesystem::exists(unmade));

    TestDatabase database(Backend::Sqlite);
    ASSERT_TRUE(database.ready()) << database.problem();
    const std::string repository = database.connectionString();
    run = runTool({"-q", "transfer", "--db", "sqlite:" + repository, documents});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(database.rows("select TypNam from Typ"), std::vector<std::string>{"Single"});

    // Tables dropped since are made again; the rest stays.
    database.execute("DROP TABLE TypProp; DROP TABLE IN_PROP");
    run = runTool({"-q", "transfer", "--db", repository, documents});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(database.rows("select IdProp from TypProp"), std::vector<std::string>{"2009003"});

    const std::string notADatabase = folder.write("text.sqlite", "not a database, only text\n");
    const std::vector<std::string> unopened = {"QEL_DB_CONNECT_ERR", "QEL_MM_XML2DB_ERR"};
    run = runTool({"transfer", "--db", notADatabase, documents});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(messageIds(run.err), unopened) << run.err;
    run = runTool({"transfer", "--db", folder.file("no-folder/repository.sqlite"), documents});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(messageIds(run.err), unopened) << run.err;

    run = runTool({"transfer", documents});
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_NE(run.err.find("usage: metamodel"), std::string::npos) << run.err;
}

TEST(TransferCommandOnATerminal, ShowsItsProgressUnlessQuiet) {
    TempFolder folder;
    const std::string documents =
        TestSupport::writeGeneratedSet(folder.file("set"), "Shown", 3, 400);
    const std::string repository = folder.file("repository.sqlite");
    auto run = TestSupport::runToolOnTerminal({"transfer", "--db", repository, documents});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    for (const char* shown :
         {"\rtransfer: pass 1 of 2 (checking), document 1 of 3",
          "\rtransfer: pass 1 of 2 (checking), document 3 of 3",
          "\rtransfer: pass 2 of 2 (writing), document 1 of 3, 0 rows written",
          "\rtransfer: pass 2 of 2 (writing), document 1 of 3, 1000 rows written",
          "rows written; now Cat 4,"})
        EXPECT_NE(run.err.find(shown), std::string::npos) << shown << " in " << run.err;

    run = TestSupport::runToolOnTerminal({"-q", "transfer", "--db", repository, documents});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(run.err, "");
}

} // namespace
