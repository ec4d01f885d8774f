// Arbitrary bytes as one in-memory document, played into each kind of sink a reading feeds: the
// dump, the stream validator, and the builder whose model the whole-model validator then
// judges. The builder takes unchecked streams too (describe builds without checking), so it
// gets the input whatever the validator said. A failure the library raises is a legitimate
// answer to bad input; a crash, a sanitizer report, a leak or any other exception is a finding.

#include "cpplanguage/exceptions.h"
#include "metamodel/builder/metamodelbuilder.h"
#include "metamodel/stream/dumpmetamodelevents.h"
#include "metamodel/validation/functionalvalidator.h"
#include "metamodel/validation/validationmetamodelevents.h"
#include "metamodel/xml/xmlmetamodelreader.h"
#include "platform/appmsgmanager.h"

#include <cstddef>
#include <cstdint>

namespace {

// Reads the input into `sink`; answers whether the reading ended without a failure.
bool readInto(const ORLO::String& input, MetaModel::IMetaModelEvents& sink) {
    MetaModel::CXMLMetaModelReader reader(false, false);
    reader.addSource(input, "fuzz-input");
    reader.SetEvents(&sink);
    try {
        reader.readSources();
    } catch (const CppLanguage::CRuntimeException&) {
        return false;
    }
    return true;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    // Bad input is reported as messages; printing them would drown the fuzzer's own output.
    AppMsgManager::SetMessageSink([](const CppLanguage::IAppMsg&) {});
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const ORLO::String input(reinterpret_cast<const char*>(data), size);
    CDumpMetaModelEvents dump("/dev/null");
    readInto(input, dump);
    MetaModel::CValidationMetaModelEvents validation(true);
    readInto(input, validation);
    MetaModel::CMetaModelBuilder builder;
    if (readInto(input, builder)) {
        try {
            MetaModel::FunctionalValidator().validate(builder.GetResult());
        } catch (const CppLanguage::CRuntimeException&) {
        }
    }
    return 0;
}
