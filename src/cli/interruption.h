#pragma once

#include <csignal>
#include <cstddef>
#include <string>

namespace Cli {

// While a guard lives, SIGINT and SIGTERM stop the statements that servers run for this
// process, remove the files named for removal, say "metamodel: interrupted" and end the run
// with 128 + the signal. With `pipe`, SIGPIPE (a reader that went away) does the same but ends
// the run by the signal itself, without a word. A run started with interruptions ignored (in
// the background) keeps them so. Guards nest: the innermost one's signals are handled.
class InterruptionGuard {
public:
    explicit InterruptionGuard(bool pipe);
    ~InterruptionGuard();
    InterruptionGuard(const InterruptionGuard&) = delete;
    InterruptionGuard& operator=(const InterruptionGuard&) = delete;

private:
    static constexpr std::size_t signalCount = 3;
    struct sigaction previous_[signalCount] {};
    bool installed_[signalCount]{};
};

// Ends the run at once from where nothing may be allocated any more (memory ran out): the
// servers' statements are stopped and the files named for removal removed, as by an
// interruption, then the line prepared at start goes to standard error and the run exits
// with 1.
void prepareOutOfMemoryStop(const std::string& line);
[[noreturn]] void stopOutOfMemory() noexcept;

// A file that an interruption removes while this names it. The name lives where the signal
// handler reads it, and `name` lends that place out, so that mkostemp can fill in a pattern
// there: the file is named from before it exists.
class RemoveOnInterruption {
public:
    RemoveOnInterruption() = default;
    ~RemoveOnInterruption() { forget(); }
    RemoveOnInterruption(const RemoveOnInterruption&) = delete;
    RemoveOnInterruption& operator=(const RemoveOnInterruption&) = delete;

    // Answers where the name now lies, or null when it is too long or too many are named.
    char* name(const std::string& path);
    // The file is no longer ours to remove.
    void forget();

private:
    int slot_ = -1;
};

} // namespace Cli
