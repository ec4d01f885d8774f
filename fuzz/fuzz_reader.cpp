// Arbitrary bytes as one in-memory document, played into the dump sink. A failure the library
// raises is a legitimate answer to bad input; a crash, a sanitizer report, a leak or any other
// exception is a finding.

#include "cpplanguage/exceptions.h"
#include "metamodel/stream/dumpmetamodelevents.h"
#include "metamodel/xml/xmlmetamodelreader.h"
#include "platform/appmsgmanager.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    // Bad input is reported as messages; printing them would drown the fuzzer's own output.
    AppMsgManager::SetMessageSink([](const CppLanguage::IAppMsg&) {});
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    MetaModel::CXMLMetaModelReader reader(false, false);
    reader.addSource(ORLO::String(reinterpret_cast<const char*>(data), size), "fuzz-input");
    CDumpMetaModelEvents sink("/dev/null");
    reader.SetEvents(&sink);
    try {
        reader.readSources();
    } catch (const CppLanguage::CRuntimeException&) {
    }
    return 0;
}
