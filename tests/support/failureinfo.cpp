#include "support/failureinfo.h"

namespace TestSupport {

std::string failureId(const CppLanguage::COrloException& failure) {
    const CppLanguage::IAppMsg* message = failure.GetAppMsg();
    return message && message->GetId() ? message->GetId() : "<no message>";
}

std::string failureArgument(const CppLanguage::COrloException& failure, const std::string& name) {
    if (const CppLanguage::IAppMsg* message = failure.GetAppMsg())
        for (const auto& [key, value] : message->GetArguments())
            if (key == name)
                return value;
    return "<absent>";
}

} // namespace TestSupport
