#pragma once

#include "cli/commandline.h"

#include <functional>
#include <string>
#include <string_view>
#include <sys/types.h>

namespace Cli {

inline constexpr OptionSpec outputOption{"output", 'o', "FILE",
                                         "write to FILE instead of standard output (\"-\")"};

// Writes a command's output whole or not at all. `write` fills the path it is given and
// answers whether it succeeded, having reported why not. What it writes reaches the output
// through checked writes: a plain file (or a new one) is replaced by a scratch file beside it,
// synced and renamed; standard output, a device or a pipe gets the content once it is complete.
// A write, sync or close that fails is reported with the system's reason and answers 1; a
// failed run leaves the output as it was. An output that cannot be opened at all is reported
// with `openFailureId` (arguments FILE and REASON) when one is given, as the sink that writes
// it would report it. SIGINT and SIGTERM while it runs remove the scratch file and end the run
// (130 / 143); a reader that goes away ends it quietly. Answers the exit status.
int writeOutputWhole(const std::string& output,
                     const std::function<bool(const std::string& target)>& write,
                     const char* openFailureId = nullptr);

// The same for a text that is complete before the output is touched.
int writeTextWhole(const std::string& output, std::string_view text);

// Reports that `what` could not be written, and why; answers the exit status.
int reportWriteFailure(const std::string& what, const char* reason);

// The existing file an output names, to refuse a run that would overwrite one of its inputs.
class OutputIdentity {
public:
    explicit OutputIdentity(const std::string& output);
    // Reports, and answers true, when `input` is the output file itself.
    bool isInput(const std::string& input) const;
    // The same for every file the tool holds open, such as the database it reads.
    bool isOpenInput() const;

private:
    std::string output_;
    bool exists_ = false;
    dev_t device_ = 0;
    ino_t inode_ = 0;
};

} // namespace Cli
