#pragma once

#include <libxml/parser.h>
#include <libxml/xmlerror.h>

namespace ORLO {

// For as long as one lives, a libxml2 parse on this thread loads no external entity or DTD:
// the process-wide loader refuses them and tells `refused`, when given, of each. Parses on
// other threads keep the loader they had. Scopes nest.
class ScopedEntityRefusal {
public:
    using RefusalHook = void (*)(const char* url, const char* id, xmlParserCtxtPtr ctxt);
    explicit ScopedEntityRefusal(RefusalHook refused = nullptr);
    ~ScopedEntityRefusal();
    ScopedEntityRefusal(const ScopedEntityRefusal&) = delete;
    ScopedEntityRefusal& operator=(const ScopedEntityRefusal&) = delete;

private:
    RefusalHook previousHook_;
};

// libxml2's error channels are per thread, and by default they print to standard error; this
// points both at the given functions for as long as it lives.
class ScopedXmlErrorChannels {
public:
    ScopedXmlErrorChannels(void* context, xmlStructuredErrorFunc structured,
                           xmlGenericErrorFunc generic);
    ~ScopedXmlErrorChannels();
    ScopedXmlErrorChannels(const ScopedXmlErrorChannels&) = delete;
    ScopedXmlErrorChannels& operator=(const ScopedXmlErrorChannels&) = delete;

private:
    xmlStructuredErrorFunc structured_;
    void* structuredContext_;
    xmlGenericErrorFunc generic_;
    void* genericContext_;
};

} // namespace ORLO
