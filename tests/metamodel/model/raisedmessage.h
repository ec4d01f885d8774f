#pragma once

#include "cpplanguage/exceptions.h"

#include <map>
#include <string>

namespace TestSupport {

// What a raised failure says: its message id and named arguments.
struct RaisedMessage {
    std::string id;
    std::map<std::string, std::string> arguments;
    bool operator==(const RaisedMessage&) const = default;
};

inline RaisedMessage raisedMessage(const CppLanguage::COrloException& failure) {
    RaisedMessage message;
    if (const CppLanguage::IAppMsg* record = failure.GetAppMsg()) {
        message.id = record->GetId() ? record->GetId() : "";
        for (const auto& [name, value] : record->GetArguments())
            message.arguments[name] = value;
    }
    return message;
}

// Runs `action`, which must throw E; answers what the failure said.
template <class E, class Action> RaisedMessage raisedBy(const Action& action) {
    try {
        action();
    } catch (const E& failure) {
        return raisedMessage(failure);
    }
    return RaisedMessage{"<nothing raised>", {}};
}

} // namespace TestSupport
