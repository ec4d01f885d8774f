#include "support/messagecapture.h"

#include "platform/appmsgmanager.h"

namespace TestSupport {

MessageCapture::MessageCapture() {
    AppMsgManager::SetMessageSink([this](const CppLanguage::IAppMsg& message) {
        const auto* record = dynamic_cast<const CppLanguage::CAppMsg*>(&message);
        if (record)
            messages_.push_back(*record);
    });
}

MessageCapture::~MessageCapture() {
    AppMsgManager::SetMessageSink({});
}

std::vector<std::string> MessageCapture::ids() const {
    std::vector<std::string> result;
    for (const auto& message : messages_)
        result.emplace_back(message.GetId() ? message.GetId() : "");
    return result;
}

std::string MessageCapture::argument(size_t index, const std::string& name) const {
    if (index >= messages_.size())
        return "<absent>";
    for (const auto& [key, value] : messages_[index].GetArguments())
        if (key == name)
            return value;
    return "<absent>";
}

std::vector<std::string> MessageCapture::summaries() const {
    std::vector<std::string> result;
    for (const auto& message : messages_) {
        std::string line = std::string(message.GetId() ? message.GetId() : "") + "@" +
                           std::to_string(message.GetLine()) + "(";
        for (const auto& [key, value] : message.GetArguments())
            line += key + "=" + value + ",";
        result.push_back(line + ")");
    }
    return result;
}

} // namespace TestSupport
