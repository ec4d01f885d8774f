#pragma once

#include "cpplanguage/appmsg.h"

#include <string>

namespace Cli {

enum class DiagnosticFormat { Text, Json };

// One JSON object on one line: severity, id, component, source, line, column, args, text;
// what is unknown is left out.
std::string formatJsonLine(const CppLanguage::IAppMsg& message);

// Appends `text` as a quoted JSON string, escaping what JSON requires.
void appendJsonString(std::string& out, const char* text);

// Every message the library posts goes to standard error in the chosen form.
void installDiagnostics(DiagnosticFormat format);

// The form chosen, for the lines the tool writes itself.
DiagnosticFormat diagnosticFormat();

// How many warnings went out since the diagnostics were installed.
struct DiagnosticCounts {
    int warnings = 0;
};
DiagnosticCounts diagnosticCounts();

} // namespace Cli
