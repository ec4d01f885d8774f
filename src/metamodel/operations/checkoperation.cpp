#include "metamodel/operations/checkoperation.h"

#include "metamodel/builder/metamodelbuilder.h"
#include "metamodel/operations/advancereading.h"
#include "metamodel/validation/functionalvalidator.h"
#include "platform/messages.h"

namespace MetaModel {

bool CheckMetaModelFromXML(const std::vector<std::string>& paths) {
    return CheckMetaModelFromXML(paths, {});
}

bool CheckMetaModelFromXML(const std::vector<std::string>& paths, const PassObserver& observer) {
    try {
        // The second reading only builds a model, which nothing outside the check sees: it
        // runs beside the first, so that a valid set costs the longer of the two readings
        // rather than their sum.
        CMetaModelBuilder builder;
        AdvanceReading building(paths, builder, 2, observer);
        // Nothing built is looked at when the set fails the stream checks: their End throws,
        // and the building is dropped on the way out.
        readValidating(paths, observer);
        building.Finish();
        FunctionalValidator().validate(builder.GetResult());
    } catch (const CppLanguage::CRuntimeException& failure) {
        CppLanguage::reportException(failure);
        return false;
    }
    return true;
}

} // namespace MetaModel
