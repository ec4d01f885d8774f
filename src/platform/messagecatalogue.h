#pragma once

#include <span>
#include <string_view>

namespace AppMsgManager {

// One message of the library: its id, its severity (the CppLanguage::MsgSeverity values) and
// an English text whose named placeholders read "{NAME}".
struct MessageDefinition {
    const char* id;
    int severity;
    const char* text;
};

std::span<const MessageDefinition> allMessageDefinitions();

// Null for an id the catalogue does not know.
const MessageDefinition* findMessageDefinition(std::string_view id);

} // namespace AppMsgManager
