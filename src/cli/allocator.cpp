// How the tool's allocator is set up; the library leaves that to the programs that use it.
#include "cli/allocator.h"

#include "cli/diagnostics.h"
#include "cli/interruption.h"
#include "platform/messages.h"

#ifdef METAMODEL_MIMALLOC
#include <cerrno>
#include <mimalloc.h>

namespace {

// A run fills a few hundred megabytes with small objects once and then reads them: on huge
// pages that costs a fraction of the page faults, where the system offers them. The allocator
// takes its first memory while the libraries start, before main, so the option is set from
// .preinit_array: after relocation, before any library's initialisers. Setting an option
// needs no initialised allocator.
void useHugePages() {
    mi_option_enable(mi_option_large_os_pages);
}

[[gnu::section(".preinit_array"), gnu::used]] void (*const setUpAllocator)() = useHugePages;

// This allocator aborts on a failed `new` instead of throwing (the handler that the standard
// offers cannot reach it), and answers a failed malloc inside a library with null, which that
// library may turn into a failure of its own that says nothing of memory. Either way the run
// cannot go on: it stops here, from where nothing may be allocated, and says why.
void onAllocatorError(int error, void*) {
    if (error == ENOMEM)
        Cli::stopOutOfMemory();
}

} // namespace
#endif

void Cli::stopRunWhenMemoryRunsOut() {
    prepareOutOfMemoryStop(
        diagnosticLine(CppLanguage::makeMessage(ORLO_HERE, "MM_OUT_OF_MEMORY", {}, {})));
#ifdef METAMODEL_MIMALLOC
    // Without this allocator, memory that runs out throws, and the tool reports what it caught.
    mi_register_error(onAllocatorError, nullptr);
#endif
}
