#include "metamodel/services/metamodelservices.h"

#include "metamodel/repository/dbmetamodelevents.h"
#include "metamodel/repository/dbmetamodelreader.h"
#include "metamodel/services/serviceexport.h"
#include "metamodel/validation/validationmetamodelevents.h"
#include "metamodel/xml/xmlmetamodelevents.h"
#include "metamodel/xml/xmlmetamodelreader.h"

namespace MetaModel {

namespace {

using DBEventsService = CDBMetaModelFactoryService<IMetaModelEvents, CDBMetaModelEvents>;
using DBReaderService = CDBMetaModelFactoryService<IMetaModelReader, CDBMetaModelReader>;
using ValidationEventsService = NodServices::CFactory<IMetaModelEvents, CValidationMetaModelEvents>;
using XMLEventsService =
    NodServices::CFactory1<IMetaModelEvents, CXMLMetaModelEvents, const ORLO::String&>;
using XMLReaderService = NodServices::CFactory<IMetaModelReader, CXMLMetaModelReader>;

// Registered while the library loads; the ids are the services' public names. The stream
// checks throw at their end, and the reader takes every root, by their default arguments.
libserviceexport::CServiceFactory<DBEventsService>
    dbEventsFactory("ServiceId_DBMetaModelEventsFactory");
libserviceexport::CServiceFactory<DBReaderService>
    dbReaderFactory("ServiceId_DBMetaModelReaderFactory");
libserviceexport::CServiceFactory<ValidationEventsService>
    validationEventsFactory("ServiceId_ValidationMetaModelEventsFactoryService");
libserviceexport::CServiceFactory<XMLEventsService>
    xmlEventsFactory("ServiceId_XMLMetaModelEventsFactory");
libserviceexport::CServiceFactory<XMLReaderService>
    xmlReaderFactory("ServiceId_XMLMetaModelReaderFactory");

} // namespace

} // namespace MetaModel
