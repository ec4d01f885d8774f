#include "cli/diagnostics.h"

#include "cli/progress.h"
#include "platform/appmsgmanager.h"

#include <cstdio>

namespace Cli {

void appendJsonString(std::string& out, const char* text) {
    out += '"';
    for (const char* p = text ? text : ""; *p; ++p) {
        const unsigned char c = static_cast<unsigned char>(*p);
        switch (c) {
        case '"':
            out += "\\\"";
            break;
        case '\\':
            out += "\\\\";
            break;
        case '\n':
            out += "\\n";
            break;
        case '\r':
            out += "\\r";
            break;
        case '\t':
            out += "\\t";
            break;
        default:
            if (c < 0x20) {
                char escaped[8];
                std::snprintf(escaped, sizeof escaped, "\\u%04x", c);
                out += escaped;
            } else {
                out += char(c);
            }
        }
    }
    out += '"';
}

namespace {

void appendKey(std::string& out, const char* key) {
    if (out.size() > 1)
        out += ',';
    appendJsonString(out, key);
    out += ':';
}

DiagnosticCounts counts;
DiagnosticFormat chosenFormat = DiagnosticFormat::Text;

bool present(const char* text) {
    return text && *text;
}

} // namespace

std::string formatJsonLine(const CppLanguage::IAppMsg& message) {
    std::string out = "{";
    appendKey(out, "severity");
    appendJsonString(out, message.GetSeverityText());
    if (present(message.GetId())) {
        appendKey(out, "id");
        appendJsonString(out, message.GetId());
    }
    if (present(message.GetComponent())) {
        appendKey(out, "component");
        appendJsonString(out, message.GetComponent());
    }
    if (present(message.GetDocument())) {
        appendKey(out, "source");
        appendJsonString(out, message.GetDocument());
    }
    if (message.GetLine() > 0) {
        appendKey(out, "line");
        out += std::to_string(message.GetLine());
        appendKey(out, "column");
        out += std::to_string(message.GetColumn());
    }
    if (!message.GetArguments().empty()) {
        appendKey(out, "args");
        out += '{';
        bool first = true;
        for (const auto& [name, value] : message.GetArguments()) {
            if (!first)
                out += ',';
            first = false;
            appendJsonString(out, name.c_str());
            out += ':';
            appendJsonString(out, value.c_str());
        }
        out += '}';
    }
    appendKey(out, "text");
    appendJsonString(out, message.GetText());
    out += '}';
    return out;
}

DiagnosticCounts diagnosticCounts() {
    return counts;
}

DiagnosticFormat diagnosticFormat() {
    return chosenFormat;
}

std::string diagnosticLine(const CppLanguage::IAppMsg& message) {
    return chosenFormat == DiagnosticFormat::Json ? formatJsonLine(message)
                                                  : AppMsgManager::formatMessageLine(message);
}

void installDiagnostics(DiagnosticFormat format) {
    counts = {};
    chosenFormat = format;
    AppMsgManager::SetMessageSink([](const CppLanguage::IAppMsg& message) {
        if (message.GetSeverity() == CppLanguage::SeverityWarning)
            ++counts.warnings;
        const std::string line = diagnosticLine(message);
        clearProgressLine();
        std::fprintf(stderr, "%s\n", line.c_str());
    });
}

SummaryField::SummaryField(const char* fieldName, const std::string& value) : name(fieldName) {
    appendJsonString(json, value.c_str());
}

void writeSummary(const char* command, const std::string& text,
                  std::initializer_list<SummaryField> fields) {
    clearProgressLine();
    if (chosenFormat == DiagnosticFormat::Text) {
        std::fprintf(stderr, "%s: %s\n", command, text.c_str());
        return;
    }
    std::string summary = "{";
    appendKey(summary, "command");
    appendJsonString(summary, command);
    for (const SummaryField& field : fields) {
        appendKey(summary, field.name);
        summary += field.json;
    }
    appendKey(summary, "text");
    appendJsonString(summary, text.c_str());
    std::fprintf(stderr, "{\"summary\":%s}}\n", summary.c_str());
}

} // namespace Cli
