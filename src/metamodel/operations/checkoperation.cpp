#include "metamodel/operations/checkoperation.h"

#include "cpplanguage/messages.h"
#include "metamodel/builder/metamodelbuilder.h"
#include "metamodel/operations/documentfiles.h"
#include "metamodel/validation/functionalvalidator.h"
#include "metamodel/validation/validationmetamodelevents.h"
#include "metamodel/xml/xmlmetamodelreader.h"

#include <memory>

namespace MetaModel {

namespace {

// The installation's roots and the extension's, then the given roots, then the given
// documents: the per-machine and per-user roots are no part of a check.
std::unique_ptr<CXMLMetaModelReader> readerFor(const std::vector<std::string>& paths) {
    auto reader = std::make_unique<CXMLMetaModelReader>(true, false);
    for (const std::string& path : paths) {
        if (namesDocument(path))
            reader->addFile(path);
        else
            reader->AddRootPath(path);
    }
    return reader;
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

} // namespace

bool CheckMetaModelFromXML(const std::vector<std::string>& paths) {
    return CheckMetaModelFromXML(paths, {});
}

bool CheckMetaModelFromXML(const std::vector<std::string>& paths, const PassObserver& observer) {
    std::unique_ptr<CXMLMetaModelReader> reader = readerFor(paths);
    try {
        // Nothing is built from a set that fails the stream checks: their End throws.
        CValidationMetaModelEvents validation(true);
        reader->SetEvents(&validation);
        observePass(*reader, 1, observer);
        reader->Read();

        CMetaModelBuilder builder;
        reader->SetEvents(&builder);
        observePass(*reader, 2, observer);
        reader->Read();
        FunctionalValidator().validate(builder.GetResult());
    } catch (const CppLanguage::CRuntimeException& failure) {
        CppLanguage::reportException(failure);
        return false;
    }
    return true;
}

} // namespace MetaModel
