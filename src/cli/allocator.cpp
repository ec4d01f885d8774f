// How the tool's allocator is set up; the library leaves that to the programs that use it.
#ifdef METAMODEL_MIMALLOC
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

} // namespace
#endif
