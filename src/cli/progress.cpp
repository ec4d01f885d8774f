#include "cli/progress.h"

#include <cstdio>
#include <unistd.h>

namespace Cli {

namespace {

ProgressLine* active = nullptr;

} // namespace

ProgressLine::ProgressLine(bool quiet)
    : enabled_(!quiet && isatty(STDERR_FILENO) == 1), outer_(active) {
    active = this;
}

ProgressLine::~ProgressLine() {
    clear();
    active = outer_;
}

void clearProgressLine() {
    if (active)
        active->clear();
}

void ProgressLine::show(const std::string& text) {
    if (!enabled_)
        return;
    std::string line = "\r" + text;
    if (text.size() < shown_)
        line.append(shown_ - text.size(), ' ');
    shown_ = text.size();
    std::fputs(line.c_str(), stderr);
    std::fflush(stderr);
}

void ProgressLine::clear() {
    if (!enabled_ || shown_ == 0)
        return;
    std::fprintf(stderr, "\r%*s\r", int(shown_), "");
    std::fflush(stderr);
    shown_ = 0;
}

} // namespace Cli
