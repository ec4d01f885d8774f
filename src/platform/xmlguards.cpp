#include "platform/xmlguards.h"

#include <libxml/globals.h>
#include <libxml/parserInternals.h>

#include <atomic>
#include <mutex>

namespace ORLO {

namespace {

// The loader is process-wide while parses run on several threads: the first scope installs
// the refusing loader, the last one puts the previous loader back, and threads without a
// scope keep using the previous one.
std::mutex loaderMutex;
int loaderUsers = 0;
std::atomic<xmlExternalEntityLoader> previousLoader{nullptr};
thread_local int refusingScopes = 0;
thread_local ScopedEntityRefusal::RefusalHook refusalHook = nullptr;

xmlParserInputPtr refuseExternalEntity(const char* url, const char* id, xmlParserCtxtPtr ctxt) {
    if (refusingScopes == 0) {
        const xmlExternalEntityLoader previous = previousLoader.load();
        return previous ? previous(url, id, ctxt) : nullptr;
    }
    if (refusalHook)
        refusalHook(url, id, ctxt);
    return nullptr;
}

} // namespace

ScopedEntityRefusal::ScopedEntityRefusal(RefusalHook refused) : previousHook_(refusalHook) {
    {
        const std::lock_guard lock(loaderMutex);
        if (loaderUsers++ == 0) {
            previousLoader = xmlGetExternalEntityLoader();
            xmlSetExternalEntityLoader(refuseExternalEntity);
        }
    }
    ++refusingScopes;
    refusalHook = refused;
}

ScopedEntityRefusal::~ScopedEntityRefusal() {
    refusalHook = previousHook_;
    --refusingScopes;
    const std::lock_guard lock(loaderMutex);
    if (--loaderUsers == 0 && xmlGetExternalEntityLoader() == refuseExternalEntity)
        xmlSetExternalEntityLoader(previousLoader.load());
}

ScopedXmlErrorChannels::ScopedXmlErrorChannels(void* context, xmlStructuredErrorFunc structured,
                                               xmlGenericErrorFunc generic)
    : structured_(xmlStructuredError), structuredContext_(xmlStructuredErrorContext),
      generic_(xmlGenericError), genericContext_(xmlGenericErrorContext) {
    xmlSetStructuredErrorFunc(context, structured);
    xmlSetGenericErrorFunc(context, generic);
}

ScopedXmlErrorChannels::~ScopedXmlErrorChannels() {
    xmlSetStructuredErrorFunc(structuredContext_, structured_);
    xmlSetGenericErrorFunc(genericContext_, generic_);
}

} // namespace ORLO
