#include "metamodel/operations/checkoperation.h"

#include "cpplanguage/messages.h"
#include "metamodel/builder/metamodelbuilder.h"
#include "metamodel/validation/functionalvalidator.h"
#include "metamodel/validation/validationmetamodelevents.h"
#include "metamodel/xml/xmlmetamodelreader.h"

#include <memory>

namespace MetaModel {

bool CheckMetaModelFromXML(const std::vector<std::string>& paths) {
    return CheckMetaModelFromXML(paths, {});
}

bool CheckMetaModelFromXML(const std::vector<std::string>& paths, const PassObserver& observer) {
    // The per-machine and per-user roots are no part of a check.
    auto reader = std::make_unique<CXMLMetaModelReader>(true, false);
    addOperationPaths(*reader, paths);
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
