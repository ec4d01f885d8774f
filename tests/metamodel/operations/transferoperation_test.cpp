#include "metamodel/operations/transferoperation.h"
#include "metamodel/repository/repositoryformat.h"
#include "platform/database/connection.h"
#include "platform/database/uniqueconnection.h"

#include "../repository/repositorytesting.h"
#include "installationonly.h"
#include "support/forwardingbackend.h"
#include "support/messagecapture.h"
#include "support/tempfolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <new>

namespace {

using MetaModel::TransferMetaModelFromXmlToDb;
using RepositoryTesting::Backend;
using RepositoryTesting::Repository;
using TestSupport::MessageCapture;
using Ids = std::vector<std::string>;

const std::string review = METAMODEL_SOURCE_DIR "/examples/review";
const std::string faulty = METAMODEL_SOURCE_DIR "/examples/faulty/MetaModel.xml";

// The installation's base meta-model is read with every transfer; nothing of the machine.
class TransferOperation : public testing::TestWithParam<Backend> {
protected:
    void SetUp() override {
        repository_ = std::make_unique<Repository>(GetParam(), schema());
        ASSERT_TRUE(repository_->database.ready()) << repository_->database.problem();
    }
    std::string schema() const { return GetParam() == Backend::Postgres ? "Meta Model" : ""; }
    std::vector<std::string> rows(const std::string& table, const std::string& columns,
                                  const std::string& condition = "") const {
        return repository_->rows(table, columns, condition);
    }
    size_t count(const std::string& table, const std::string& condition = "") const {
        return std::stoul(repository_->database
                              .rows("select count(*) from " + repository_->qualified(table) +
                                    (condition.empty() ? "" : " where " + condition))
                              .at(0));
    }

    OperationTesting::InstallationOnly installation_;
    std::unique_ptr<Repository> repository_;
};

TEST_P(TransferOperation, LoadsTheDocumentsIntoTheSchemaOfTheConnection) {
    std::vector<int> passes;
    size_t documents = 0;
    size_t rowsSeen = 0;
    MessageCapture messages;
    EXPECT_EQ(TransferMetaModelFromXmlToDb(
                  repository_->connection.get(), {review},
                  [&](int pass, const ORLO::String&, size_t, size_t count) {
                      if (passes.empty() || passes.back() != pass)
                          passes.push_back(pass);
                      documents = count;
                  },
                  [&](size_t rows) { rowsSeen = rows; }),
              0);
    EXPECT_EQ(messages.ids(), Ids{});
    EXPECT_EQ(passes, (std::vector<int>{1, 2}));
    EXPECT_EQ(documents, 4u) << "the three of the installation and the extension";
    // The extension's partial type completes one of the installation's.
    EXPECT_EQ(rows("Typ", "TypNam", "TypNam in ('AlphaModule', 'ReviewNote')"),
              (std::vector<std::string>{"AlphaModule", "ReviewNote"}));
    EXPECT_EQ(rows("Prop", "PropNam", "PropNam = 'reviewedLines'"),
              std::vector<std::string>{"reviewedLines"});
    // Every row that went out was told, and the final tables hold those and the links that
    // types reach through their categories, which the procedures add (the set repeats no row).
    size_t finalRows = 0;
    for (const auto& table : MetaModel::Repository::repositoryTables())
        finalRows += count(table.finalName);
    EXPECT_GT(count("TypCat", "IsCatProp = 0"), 0u);
    EXPECT_EQ(rowsSeen + count("TypCat", "IsCatProp = 0"), finalRows);
}

TEST_P(TransferOperation, ASetThatFailsValidationNeverReachesTheRepository) {
    // Left by an earlier transfer: a new one that starts would empty it.
    repository_->database.execute("INSERT INTO " + repository_->qualified("IN_CAT") +
                                  " VALUES (1, 'earlier', 'earlier', 'ACTIVE')");
    MessageCapture messages;
    EXPECT_EQ(TransferMetaModelFromXmlToDb(repository_->connection.get(), {review, faulty}), 1);
    const Ids ids = messages.ids();
    ASSERT_GE(ids.size(), 3u);
    EXPECT_EQ(Ids(ids.end() - 2, ids.end()), (Ids{"QEL_MM_EXIST_ERR", "QEL_MM_XML2DB_ERR"}));
    EXPECT_EQ(rows("IN_CAT", "CatNam"), std::vector<std::string>{"earlier"});
    EXPECT_EQ(count("Cat"), 0u);
}

// The second reading goes on beside the first; a document that neither can read is told of
// once, by the first.
TEST_P(TransferOperation, ADocumentThatIsNotWellFormedIsToldOnceAndReachesNoTable) {
    TestSupport::TempFolder folder;
    folder.write("broken/MetaModel.xml", "<metaModel file_no=\"9\"><category name=\"Open\">");
    MessageCapture messages;
    EXPECT_EQ(TransferMetaModelFromXmlToDb(repository_->connection.get(), {folder.file("broken")}),
              1);
    const Ids ids = messages.ids();
    EXPECT_EQ(std::count(ids.begin(), ids.end(), "QEL_MM_XML_FILE_ERR"), 1) << ids.size();
    EXPECT_EQ(ids.back(), "QEL_MM_XML2DB_ERR");
    for (const auto& table : MetaModel::Repository::repositoryTables())
        EXPECT_EQ(count(table.workName), 0u) << table.workName;
}

TEST_P(TransferOperation, AMissingWorkTableIsReportedAndEndsTheTransfer) {
    repository_->database.execute("DROP TABLE " + repository_->qualified("IN_TREECAT"));
    MessageCapture messages;
    EXPECT_EQ(TransferMetaModelFromXmlToDb(repository_->connection.get(), {review}), 1);
    EXPECT_EQ(messages.ids(), (Ids{"QEL_DB_REQ_ERR", "QEL_MM_XML2DB_ERR"}));
    EXPECT_NE(messages.argument(0, "QUERY").find("IN_TREECAT"), std::string::npos)
        << messages.argument(0, "QUERY");
    EXPECT_EQ(count("Cat"), 0u);
}

INSTANTIATE_ON_BOTH_SERVERS(TransferOperation);

TEST(TransferOperationWithoutConnection, PostsItsMessageBeforeReadingAnyDocument) {
    MessageCapture messages;
    EXPECT_EQ(TransferMetaModelFromXmlToDb(nullptr, {"/no/such/folder/MetaModel.xml"}), 1);
    EXPECT_EQ(messages.ids(), Ids{"QEL_NULL_PTR"});
    EXPECT_EQ(messages.argument(0, "NULL_ARG"), "connection");
}

// A driver that runs out of memory when the inserters are prepared: no failure of the
// library's own kind, which only a fake can raise. The real embedded database does the rest.
class FakeOutOfMemoryServer : public TestSupport::ForwardingBackend {
public:
    using ForwardingBackend::ForwardingBackend;
    std::unique_ptr<TABLINK::IBulkTarget> openBulkTarget(const std::string&) override {
        throw std::bad_alloc();
    }
};

TEST(TransferOperationOnAFailingDriver, AnyOtherFailureIsPostedAndAnsweredNotThrown) {
    OperationTesting::InstallationOnly installation;
    Repository repository(Backend::Sqlite);
    ASSERT_TRUE(repository.database.ready());
    std::string problem;
    auto real = TABLINK::openSqliteBackend(repository.database.connectionString(),
                                           TABLINK::OpenMode::Existing, problem);
    ASSERT_TRUE(real) << problem;
    IUniqueConnection failing(std::make_unique<TABLINK::CConnection>(
                                  std::make_unique<FakeOutOfMemoryServer>(std::move(real))),
                              "");
    MessageCapture messages;
    int result = -1;
    EXPECT_NO_THROW(result = TransferMetaModelFromXmlToDb(&failing, {review}));
    EXPECT_EQ(result, 1);
    EXPECT_EQ(messages.ids(), Ids{"QEL_MM_XML2DB_ERR"});
}

} // namespace
