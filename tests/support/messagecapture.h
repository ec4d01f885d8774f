#pragma once

#include "cpplanguage/appmsg.h"

#include <string>
#include <vector>

namespace TestSupport {

// Collects every message posted while it lives, instead of printing it.
class MessageCapture {
public:
    MessageCapture();
    ~MessageCapture();
    MessageCapture(const MessageCapture&) = delete;
    MessageCapture& operator=(const MessageCapture&) = delete;

    const std::vector<CppLanguage::CAppMsg>& messages() const { return messages_; }
    // The ids in posting order.
    std::vector<std::string> ids() const;
    // The value of a named argument of message `index`, or "<absent>".
    std::string argument(size_t index, const std::string& name) const;
    // Each message as "ID@line(NAME=value,...)", arguments in their order.
    std::vector<std::string> summaries() const;

private:
    std::vector<CppLanguage::CAppMsg> messages_;
};

} // namespace TestSupport
