#include "QEL/InstanceWrapper.h"

#include "metamodel/builder/metamodelbuilder.h"
#include "metamodel/xml/xmlmetamodelreader.h"

#include <algorithm>
#include <cstdlib>
#include <string>

const QEL::IMetaModel& getMetaModel() {
    static const QEL::IMetaModel* model = [] {
        MetaModel::CXMLMetaModelReader reader(true, false);
        const char* roots = std::getenv("WRAPPERS_CLIENT_ROOTS");
        const std::string list = roots ? roots : "";
        for (size_t start = 0; start < list.size();) {
            const size_t end = std::min(list.find(':', start), list.size());
            reader.AddRootPath(list.substr(start, end - start));
            start = end + 1;
        }
        MetaModel::CMetaModelBuilder builder;
        reader.SetEvents(&builder);
        reader.Read();
        return builder.DetachMetaModel();
    }();
    return *model;
}

QEL::IInstance* newInstanceInternal(const QEL::IMetaType* type) {
    return new QEL::IInstance(type);
}
