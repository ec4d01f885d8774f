#include "platform/appmsgmanager.h"

#include "cpplanguage/exceptions.h"
#include "platform/messagecatalogue.h"

#include <cstdarg>
#include <cstdio>
#include <string_view>
#include <vector>

namespace AppMsgManager {

namespace {

const CppLanguage::CBindArgNameToVal*
findArgument(std::string_view name,
             std::span<const CppLanguage::CBindArgNameToVal* const> arguments) {
    const CppLanguage::CBindArgNameToVal* bound = nullptr;
    for (const auto* argument : arguments)
        if (argument && argument->GetName() && name == argument->GetName())
            bound = argument;
    return bound;
}

// Appends the expansion of `pattern` to `text`; answers whether every placeholder in it had a
// non-empty value. An unbound placeholder stays as written, so that a wrong argument name
// shows in the text instead of vanishing.
bool expandPlain(std::string_view pattern,
                 std::span<const CppLanguage::CBindArgNameToVal* const> arguments,
                 std::string& text) {
    bool complete = true;
    for (size_t i = 0; i < pattern.size();) {
        if (pattern[i] == '{') {
            if (const size_t close = pattern.find('}', i + 1); close != pattern.npos) {
                const std::string_view name = pattern.substr(i + 1, close - i - 1);
                if (const auto* bound = findArgument(name, arguments)) {
                    text += bound->GetValue();
                    complete = complete && !bound->GetValue().empty();
                } else {
                    text += pattern.substr(i, close - i + 1);
                    complete = false;
                }
                i = close + 1;
                continue;
            }
        }
        text += pattern[i++];
    }
    return complete;
}

// A bracketed part is kept, without its brackets, only when all its placeholders have values:
// one text then reads well at sites that give an argument and at sites that do not.
std::string expand(const char* pattern,
                   std::span<const CppLanguage::CBindArgNameToVal* const> arguments) {
    std::string text;
    std::string_view rest(pattern);
    while (!rest.empty()) {
        const size_t open = rest.find('[');
        const size_t close = open == rest.npos ? rest.npos : rest.find(']', open + 1);
        if (close == rest.npos) {
            expandPlain(rest, arguments, text);
            break;
        }
        expandPlain(rest.substr(0, open), arguments, text);
        std::string optional;
        if (expandPlain(rest.substr(open + 1, close - open - 1), arguments, optional))
            text += optional;
        rest.remove_prefix(close + 1);
    }
    // An argument that ends a sentence with its own mark ("is the server running?") does not
    // take the template's full stop after it.
    if (text.size() >= 2 && text.back() == '.' &&
        (text[text.size() - 2] == '?' || text[text.size() - 2] == '!'))
        text.pop_back();
    return text;
}

// Walks the tagged list after the id; fills origin and collects the arguments.
void readTagged(va_list args, MessageOrigin& origin, CppLanguage::CAppMsg** out,
                std::vector<const CppLanguage::CBindArgNameToVal*>& arguments) {
    for (;;) {
        const unsigned long long word = va_arg(args, unsigned long long);
        switch (word) {
        case TagOutMessage:
            (void)va_arg(args, unsigned long long);
            if (auto* record = va_arg(args, CppLanguage::CAppMsg*); out)
                *out = record;
            break;
        case TagDocument:
            if (const char* document = va_arg(args, const char*))
                origin.document = document;
            break;
        case TagPosition:
            origin.line = va_arg(args, int);
            origin.column = va_arg(args, int);
            break;
        case TagComponent:
            if (const char* component = va_arg(args, const char*))
                origin.component = component;
            break;
        case TagLibraryFile:
            if (const char* file = va_arg(args, const char*))
                origin.libraryFile = file;
            break;
        case TagLibraryLine:
            origin.libraryLine = va_arg(args, int);
            break;
        case 0:
            return;
        default:
            arguments.push_back(reinterpret_cast<const CppLanguage::CBindArgNameToVal*>(word));
        }
    }
}

class DefaultManager : public IAppMsgManager {
public:
    void Release() override {}
    int AddRef() override { return 1; }
    void RemoveRef() override {}

    CppLanguage::CAppMsg* ExceptionToMsg(const std::exception* caught) override {
        const auto* failure = dynamic_cast<const CppLanguage::COrloException*>(caught);
        if (!failure)
            return nullptr;
        if (const auto* record = dynamic_cast<const CppLanguage::CAppMsg*>(failure->GetAppMsg()))
            return new CppLanguage::CAppMsg(*record);
        auto* record = new CppLanguage::CAppMsg;
        record->SetSeverity(CppLanguage::SeverityError);
        record->SetComponent("QEL");
        record->SetText(failure->what());
        return record;
    }

    void PostMsg(const CppLanguage::IAppMsg& message) override {
        if (sink) {
            sink(message);
            return;
        }
        std::fprintf(stderr, "%s\n", formatMessageLine(message).c_str());
    }

    void FormatMsg(const char* id, ...) override {
        va_list args;
        va_start(args, id);
        MessageOrigin origin;
        CppLanguage::CAppMsg* record = nullptr;
        std::vector<const CppLanguage::CBindArgNameToVal*> arguments;
        readTagged(args, origin, &record, arguments);
        va_end(args);
        if (record)
            Fill(*record, id, origin, arguments);
    }

    CppLanguage::CAppMsg* CreateMsg(const char* id, ...) override {
        va_list args;
        va_start(args, id);
        MessageOrigin origin;
        std::vector<const CppLanguage::CBindArgNameToVal*> arguments;
        readTagged(args, origin, nullptr, arguments);
        va_end(args);
        auto* record = new CppLanguage::CAppMsg;
        Fill(*record, id, origin, arguments);
        return record;
    }

    void Fill(CppLanguage::CAppMsg& record, const char* id, const MessageOrigin& origin,
              std::span<const CppLanguage::CBindArgNameToVal* const> arguments) override {
        record.SetId(id);
        record.SetComponent(origin.component.empty() ? nullptr : origin.component.c_str());
        record.SetDocument(origin.document.empty() ? nullptr : origin.document.c_str());
        record.SetLine(origin.line);
        record.SetColumn(origin.column);
        record.SetLibraryFile(origin.libraryFile.empty() ? nullptr : origin.libraryFile.c_str());
        record.SetLibraryLine(origin.libraryLine);
        for (const auto* argument : arguments)
            if (argument)
                record.AddArgument(argument->GetName(), argument->GetValue());
        if (const MessageDefinition* definition = findMessageDefinition(id ? id : "")) {
            record.SetSeverity(definition->severity);
            record.SetText(expand(definition->text, arguments).c_str());
            return;
        }
        // An id outside the catalogue is a fault of ours, but its arguments still say what
        // happened, so they go into the text.
        std::string text = std::string("Unknown message ") + (id ? id : "(null)");
        for (const auto* argument : arguments)
            if (argument && argument->GetName())
                text += std::string(" ") + argument->GetName() + "='" + argument->GetValue() + "'";
        record.SetSeverity(CppLanguage::SeverityError);
        record.SetText(text.c_str());
    }

    MessageSink sink;
};

DefaultManager& defaultManager() {
    static DefaultManager manager;
    return manager;
}

IAppMsgManager* installed = nullptr;

} // namespace

IAppMsgManager* LoadAppMsgManager() {
    return installed ? installed : &defaultManager();
}

void SetAppMsgManager(IAppMsgManager* manager) {
    installed = manager;
}

bool HostManagerInstalled() {
    return installed != nullptr;
}

void SetMessageSink(MessageSink sink) {
    defaultManager().sink = std::move(sink);
}

std::string formatMessageLine(const CppLanguage::IAppMsg& message) {
    std::string line;
    if (const char* document = message.GetDocument(); document && *document) {
        line += document;
        line += ':';
        if (message.GetLine() > 0) {
            line += std::to_string(message.GetLine()) + ':';
            line += std::to_string(message.GetColumn()) + ':';
        }
        line += ' ';
    }
    line += message.GetSeverityText();
    line += ": ";
    line += message.GetText() ? message.GetText() : "";
    if (const char* id = message.GetId(); id && *id)
        line += std::string(" [") + id + "]";
    // A diagnostic is one line, even when a path in it holds a line break.
    for (size_t at = line.find_first_of("\r\n"); at != std::string::npos;
         at = line.find_first_of("\r\n", at + 2))
        line.replace(at, 1, line[at] == '\n' ? "\\n" : "\\r");
    return line;
}

} // namespace AppMsgManager
