#include "support/xmlreading.h"

#include "metamodel/xml/xmlmetamodelreader.h"

namespace TestSupport {

void readSource(SourceReading& reading, const std::string& text, const std::string& sourceName) {
    MetaModel::CXMLMetaModelReader reader(false, false);
    reader.addSource(text, sourceName);
    reader.SetEvents(&reading.events);
    reader.readSources();
}

} // namespace TestSupport
