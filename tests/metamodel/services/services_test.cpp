#include "metamodel/services/metamodelservices.h"
#include "metamodel/services/serviceexport.h"

#include "../operations/installationonly.h"
#include "../repository/repositorytesting.h"
#include "support/tempfolder.h"

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>

namespace {

struct DeleteService {
    void operator()(NodServices::IService* service) const { service->Delete(); }
};
using ServicePtr = std::unique_ptr<NodServices::IService, DeleteService>;

template <class Factory> Factory* serviceAs(ServicePtr& service) {
    return dynamic_cast<Factory*>(service.get());
}

TEST(Services, EachIdGivesANewUncountedFactoryAndOnlyExactIdsAreKnown) {
    for (const char* id :
         {"ServiceId_DBMetaModelEventsFactory", "ServiceId_DBMetaModelReaderFactory",
          "ServiceId_ValidationMetaModelEventsFactoryService",
          "ServiceId_XMLMetaModelEventsFactory", "ServiceId_XMLMetaModelReaderFactory"}) {
        ServicePtr first(GetNewService(id));
        ServicePtr second(GetNewService(id));
        ASSERT_NE(first, nullptr) << id;
        EXPECT_NE(first, second) << id;
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

    TestSupport::TempFolder folder;
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

} // namespace
