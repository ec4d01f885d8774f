#include "cli/interruption.h"

#include "cli/diagnostics.h"
#include "platform/database/connection.h"

#include <atomic>
#include <climits>
#include <cstring>
#include <unistd.h>

namespace Cli {

namespace {

// What the handler needs, set up before it can run: a handler may neither allocate nor lock,
// so the names live in fixed buffers and a flag says which of them name a file of ours.
constexpr int slotCount = 4;
char removedPaths[slotCount][PATH_MAX];
volatile std::sig_atomic_t removedNamed[slotCount] = {};
char interruptedLine[128];
size_t interruptedLength = 0;
char outOfMemoryLine[512];
size_t outOfMemoryLength = 0;

constexpr int handledSignals[] = {SIGINT, SIGTERM, SIGPIPE};

// The run's work that must not outlive it, let go of without allocating.
void abandonWork() {
    TABLINK::cancelRunningStatements();
    for (int slot = 0; slot < slotCount; ++slot)
        if (removedNamed[slot])
            unlink(removedPaths[slot]);
}

// The line and its end, cut to the buffer.
size_t keepLine(char* buffer, size_t size, const std::string& line) {
    const std::string whole = line.substr(0, size - 1) + "\n";
    std::memcpy(buffer, whole.data(), whole.size());
    return whole.size();
}

extern "C" void onSignal(int signal) {
    abandonWork();
    if (signal == SIGPIPE) {
        // The reader went away: the run ends as other tools in a pipeline end, by the signal
        // itself and without a word. It is blocked while this runs and strikes on return.
        std::signal(SIGPIPE, SIG_DFL);
        raise(SIGPIPE);
        return;
    }
    [[maybe_unused]] const ssize_t ignored =
        write(STDERR_FILENO, interruptedLine, interruptedLength);
    _exit(128 + signal);
}

} // namespace

InterruptionGuard::InterruptionGuard(bool pipe) {
    static_assert(std::size(handledSignals) == signalCount);
    const std::string line = diagnosticFormat() == DiagnosticFormat::Json
                                 ? R"({"severity":"error","text":"interrupted"})"
                                 : "metamodel: interrupted";
    interruptedLength = keepLine(interruptedLine, sizeof interruptedLine, line);
    struct sigaction action {};
    action.sa_handler = onSignal;
    sigemptyset(&action.sa_mask);
    for (const int signal : handledSignals)
        sigaddset(&action.sa_mask, signal);
    for (size_t index = 0; index < signalCount; ++index) {
        const int signal = handledSignals[index];
        if (signal == SIGPIPE && !pipe)
            continue;
        sigaction(signal, nullptr, &previous_[index]);
        if (signal == SIGPIPE || previous_[index].sa_handler != SIG_IGN)
            installed_[index] = sigaction(signal, &action, nullptr) == 0;
    }
}

InterruptionGuard::~InterruptionGuard() {
    for (size_t index = 0; index < signalCount; ++index)
        if (installed_[index])
            sigaction(handledSignals[index], &previous_[index], nullptr);
}

void prepareOutOfMemoryStop(const std::string& line) {
    outOfMemoryLength = keepLine(outOfMemoryLine, sizeof outOfMemoryLine, line);
}

void stopOutOfMemory() noexcept {
    abandonWork();
    [[maybe_unused]] const ssize_t ignored =
        write(STDERR_FILENO, outOfMemoryLine, outOfMemoryLength);
    _exit(1);
}

char* RemoveOnInterruption::name(const std::string& path) {
    forget();
    if (path.size() >= PATH_MAX)
        return nullptr;
    for (int slot = 0; slot < slotCount; ++slot) {
        if (removedNamed[slot])
            continue;
        std::memcpy(removedPaths[slot], path.c_str(), path.size() + 1);
        // The name is whole before the handler may read it.
        std::atomic_signal_fence(std::memory_order_seq_cst);
        removedNamed[slot] = 1;
        slot_ = slot;
        return removedPaths[slot];
    }
    return nullptr;
}

void RemoveOnInterruption::forget() {
    if (slot_ < 0)
        return;
    removedNamed[slot_] = 0;
    std::atomic_signal_fence(std::memory_order_seq_cst);
    slot_ = -1;
}

} // namespace Cli
