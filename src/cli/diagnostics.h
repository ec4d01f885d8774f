#pragma once

#include "cpplanguage/appmsg.h"

#include <string>

namespace Cli {

enum class DiagnosticFormat { Text, Json };

// One JSON object on one line: severity, id, component, source, line, column, args, text;
// what is unknown is left out.
std::string formatJsonLine(const CppLanguage::IAppMsg& message);

// Every message the library posts goes to standard error in the chosen form.
void installDiagnostics(DiagnosticFormat format);

} // namespace Cli
