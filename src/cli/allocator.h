#pragma once

namespace Cli {

// Once the diagnostics are installed: memory that runs out stops the run with
// "MM_OUT_OF_MEMORY" where the allocator would end it without a word.
void stopRunWhenMemoryRunsOut();

} // namespace Cli
