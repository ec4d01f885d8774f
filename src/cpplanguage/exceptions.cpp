#include "cpplanguage/exceptions.h"

#include <cstdlib>
#include <cxxabi.h>
#include <typeinfo>

namespace CppLanguage {

namespace {

ORLO::String className(const std::type_info& type) {
    int status = 0;
    char* demangled = abi::__cxa_demangle(type.name(), nullptr, nullptr, &status);
    ORLO::String name(status == 0 && demangled ? demangled : type.name());
    std::free(demangled);
    return name;
}

} // namespace

COrloException::COrloException(const char* file, int line, const char* date, const char* time,
                               const ORLO::String& message)
    : COrloException(file, line, date, time, message, nullptr) {}

COrloException::COrloException(const char* file, int line, const char* date, const char* time,
                               const ORLO::String& message, const IAppMsg* appMsg)
    : message_(message), file_(file), line_(line), date_(date), time_(time) {
    if (auto* record = dynamic_cast<const CAppMsg*>(appMsg))
        appMsg_ = std::make_shared<const CAppMsg>(*record);
    detail_.Format("[%s; %d; %s %s] : %s", file_.c_str(), line_, date_.c_str(), time_.c_str(),
                   message_.c_str());
}

ORLO::String COrloException::GetDescription() const {
    // The run-time class name comes demangled; unlike the original platform's type names it
    // has no "class " prefix to cut off.
    ORLO::String description;
    description.Format("Exception %s thrown at %s", className(typeid(*this)).c_str(),
                       detail_.c_str());
    return description;
}

} // namespace CppLanguage
