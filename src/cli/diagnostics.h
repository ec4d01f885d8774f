#pragma once

#include "cpplanguage/appmsg.h"

#include <initializer_list>
#include <string>
#include <type_traits>

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
// A message as one line in the form chosen, without its end.
std::string diagnosticLine(const CppLanguage::IAppMsg& message);

// How many warnings went out since the diagnostics were installed.
struct DiagnosticCounts {
    int warnings = 0;
};
DiagnosticCounts diagnosticCounts();

// One named value of a summary, kept as the JSON it reads as.
struct SummaryField {
    SummaryField(const char* fieldName, bool value)
        : name(fieldName), json(value ? "true" : "false") {}
    template <class Number>
    requires(std::is_integral_v<Number> && !std::is_same_v<Number, bool>)
        SummaryField(const char* fieldName, Number value)
        : name(fieldName), json(std::to_string(value)) {}
    SummaryField(const char* fieldName, const std::string& value);

    const char* name;
    std::string json;
};

// A command's closing line on standard error: "COMMAND: TEXT", or in the JSON form
// {"summary":{"command":COMMAND,FIELDS...,"text":TEXT}}. The caller leaves it out under -q.
void writeSummary(const char* command, const std::string& text,
                  std::initializer_list<SummaryField> fields = {});

} // namespace Cli
