#include "metamodel/operations/operationreading.h"

#include "metamodel/operations/documentfiles.h"
#include "metamodel/validation/validationmetamodelevents.h"

namespace MetaModel {

void addOperationPaths(CXMLMetaModelReader& reader, const std::vector<std::string>& paths) {
    for (const std::string& path : paths) {
        if (namesDocument(path))
            reader.addFile(path);
        else
            reader.AddRootPath(path);
    }
}

COperationReader::COperationReader(const std::vector<std::string>& paths)
    : CXMLMetaModelReader(true, false) {
    addOperationPaths(*this, paths);
}

void observePass(CXMLMetaModelReader& reader, int pass, const PassObserver& observer) {
    if (!observer) {
        reader.SetDocumentObserver({});
        return;
    }
    reader.SetDocumentObserver([pass, &observer](const String& path, size_t number, size_t count) {
        observer(pass, path, number, count);
    });
}

void readValidating(const std::vector<std::string>& paths, const PassObserver& observer) {
    COperationReader reader(paths);
    CValidationMetaModelEvents validation(true);
    reader.SetEvents(&validation);
    observePass(reader, 1, observer);
    reader.Read();
}

} // namespace MetaModel
