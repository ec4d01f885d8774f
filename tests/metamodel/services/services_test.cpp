#include "metamodel/services/metamodelservices.h"
#include "metamodel/services/serviceexport.h"

#include "../operations/installationonly.h"
#include "../repository/repositorytesting.h"
#include "support/tempfolder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <stdexcept>

namespace {

using TestSupport::TempFolder;

struct DeleteService {
    void operator()(NodServices::IService* service) const { service->Delete(); }
};
using ServicePtr = std::unique_ptr<NodServices::IService, DeleteService>;

template <class Factory> Factory* serviceAs(ServicePtr& service) {
    return dynamic_cast<Factory*>(service.get());
}

const char* const serviceIds[] = {
    "ServiceId_DBMetaModelEventsFactory", "ServiceId_DBMetaModelReaderFactory",
    "ServiceId_ValidationMetaModelEventsFactoryService", "ServiceId_XMLMetaModelEventsFactory",
    "ServiceId_XMLMetaModelReaderFactory"};

TEST(Services, EachIdGivesANewUncountedFactoryAndOnlyExactIdsAreKnown) {
    for (const char* id : serviceIds) {
        ServicePtr first(GetNewService(id));
        ServicePtr second(GetNewService(id));
        ASSERT_NE(first, nullptr) << id;
        EXPECT_NE(first, second) << id;
        EXPECT_EQ(first->AddRef(), 1) << id;
        EXPECT_EQ(first->AddRef(), 1) << id;
        EXPECT_TRUE(first->Initialize()) << id;
    }
    for (const char* id : {"ServiceId_XMLMetaModelReaderfactory", "", "ServiceId_"}) {
        try {
            GetNewService(id);
            ADD_FAILURE() << "'" << id << "' gave a service";
        } catch (const std::out_of_range& unknown) {
            EXPECT_STREQ(unknown.what(), "invalid map<K, T> key") << id;
        }
    }
}

// The five services together carry the installation's documents into a repository, check what
// the repository gives back and write it out as a document: each factory's object must be the
// working one, the repository's two built on the connection's handle.
TEST(Services, TheFactoriesObjectsCarryAMetaModelThroughTheRepository) {
    OperationTesting::InstallationOnly installation;
    RepositoryTesting::Repository repository(TestSupport::Backend::Sqlite);
    ASSERT_TRUE(repository.database.ready()) << repository.database.problem();
    ServicePtr xmlReaders(GetNewService("ServiceId_XMLMetaModelReaderFactory"));
    ServicePtr dbEvents(GetNewService("ServiceId_DBMetaModelEventsFactory"));
    ServicePtr dbReaders(GetNewService("ServiceId_DBMetaModelReaderFactory"));
    ServicePtr validations(GetNewService("ServiceId_ValidationMetaModelEventsFactoryService"));
    ServicePtr xmlEvents(GetNewService("ServiceId_XMLMetaModelEventsFactory"));
    IUniqueConnection* connection = repository.connection.get();

    CppLanguage::CDeletableAutoPtr<MetaModel::IMetaModelReader> documents(
        serviceAs<MetaModel::XMLMetaModelReaderFactory>(xmlReaders)->Create());
    CppLanguage::CDeletableAutoPtr<MetaModel::IMetaModelEvents> rows(
        serviceAs<MetaModel::DBMetaModelEventsFactory>(dbEvents)->Create(connection));
    documents->SetEvents(rows.get());
    documents->Read();
    ASSERT_FALSE(repository.rows("Typ", "TypNam").empty());

    CppLanguage::CDeletableAutoPtr<MetaModel::IMetaModelReader> stored(
        serviceAs<MetaModel::DBMetaModelReaderFactory>(dbReaders)->Create(connection));
    CppLanguage::CDeletableAutoPtr<MetaModel::IMetaModelEvents> checks(
        serviceAs<MetaModel::ValidationMetaModelEventsFactory>(validations)->Create());
    stored->SetEvents(checks.get());
    EXPECT_NO_THROW(stored->Read());

    TempFolder folder;
    {
        CppLanguage::CDeletableAutoPtr<MetaModel::IMetaModelEvents> written(
            serviceAs<MetaModel::XMLMetaModelEventsFactory>(xmlEvents)->Create(
                ORLO::String(folder.file("MetaModel.xml"))));
        stored->SetEvents(written.get());
        stored->Read();
    }
    EXPECT_NE(TestSupport::readFile(folder.file("MetaModel.xml")).find("name=\"CsvLanguage\""),
              std::string::npos);
}

TEST(Services, TheExportFileNamesEveryServiceInIdOrderAndFailsCleanly) {
    TempFolder folder;
    const std::string path = folder.file("services.xml");
    ASSERT_TRUE(BuildExportFile(path.c_str(), "libhost.so"));
    std::string expected =
        "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n"
        "<configuration xmlns=\"urn:metamodel:configuration\" "
        "xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\" "
        "xsi:schemaLocation=\"urn:metamodel:configuration configuration.xsd\">\n";
    for (const char* id : serviceIds)
        expected += std::string("\t<service>\n\t\t<id>") + id +
                    "</id>\n\t\t<dll>libhost.so</dll>\n\t</service>\n";
    expected += "</configuration>\n";
    EXPECT_EQ(TestSupport::readFile(path), expected);

    const std::string nowhere = folder.file("missing/services.xml");
    EXPECT_FALSE(BuildExportFile(nowhere.c_str(), "libhost.so"));
    EXPECT_FALSE(std::filesystem::exists(folder.file("missing")));
}

} // namespace
