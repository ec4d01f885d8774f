#pragma once

#include "cpplanguage/exceptions.h"

#include <string>

namespace TestSupport {

// The message id that a raised failure carries, or "<no message>".
std::string failureId(const CppLanguage::COrloException& failure);
// A named argument of that message, or "<absent>".
std::string failureArgument(const CppLanguage::COrloException& failure, const std::string& name);

} // namespace TestSupport
