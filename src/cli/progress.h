#pragma once

#include <string>

namespace Cli {

// One line on standard error that rewrites itself while a long operation runs. It shows
// nothing unless standard error is a terminal and the user did not ask for quiet, so logs
// and pipes never see it.
class ProgressLine {
public:
    explicit ProgressLine(bool quiet);
    ~ProgressLine();
    ProgressLine(const ProgressLine&) = delete;
    ProgressLine& operator=(const ProgressLine&) = delete;

    bool enabled() const { return enabled_; }
    void show(const std::string& text);
    // Clears the line so that messages that follow start on a clean one.
    void clear();

private:
    bool enabled_;
    size_t shown_ = 0;
    ProgressLine* outer_;
};

// Clears whatever progress line is showing; the diagnostics call it before each message.
void clearProgressLine();

} // namespace Cli
