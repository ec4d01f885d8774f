#include "metamodel/builder/documentbuild.h"

#include "metamodel/builder/metamodelbuilder.h"
#include "metamodel/xml/xmlmetamodelreader.h"

namespace TestSupport {

ModelPtr buildFromDocuments(const std::vector<std::string>& relativePaths) {
    MetaModel::CXMLMetaModelReader reader(false, false);
    for (const std::string& path : relativePaths)
        reader.addFile(
            path.starts_with('/') ? path : std::string(METAMODEL_TEST_DATA_DIR "/model/") + path);
    MetaModel::CMetaModelBuilder builder;
    reader.SetEvents(&builder);
    reader.Read();
    return ModelPtr(builder.DetachMetaModel());
}

} // namespace TestSupport
