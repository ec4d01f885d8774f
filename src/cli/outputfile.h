#pragma once

#include "cli/commandline.h"

#include <functional>
#include <string>

namespace Cli {

inline constexpr OptionSpec outputOption{"output", 'o', "FILE",
                                         "write to FILE instead of standard output (\"-\")"};

// Writes a command's output whole or not at all. `write` fills the path it is given, a scratch
// file beside the output that a rename then puts in place, and answers whether it succeeded,
// having reported why not; a failed write leaves the output as it was. "-" is standard
// output, which gets the scratch file's content once it is complete. Answers the exit status.
int writeOutputWhole(const std::string& output,
                     const std::function<bool(const std::string& target)>& write);

} // namespace Cli
