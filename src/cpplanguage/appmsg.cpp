#include "cpplanguage/appmsg.h"

namespace CppLanguage {

const char* severityWord(int severity) {
    switch (severity) {
    case SeverityMessage:
        return "message";
    case SeverityInfo:
        return "info";
    case SeverityWarning:
        return "warning";
    case SeverityError:
        return "error";
    case SeverityFatal:
        return "fatal error";
    default:
        return "unknown severity";
    }
}

CBindArgNameToVal::CBindArgNameToVal(const char* name, const char* value)
    : name_(name), value_(value ? value : "") {}

CBindArgNameToVal::CBindArgNameToVal(const char* name, const std::string& value)
    : name_(name), value_(value) {}

CBindArgNameToVal::CBindArgNameToVal(const char* name, int value)
    : name_(name), value_(std::to_string(value)) {}

} // namespace CppLanguage
