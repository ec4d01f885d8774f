#pragma once

#include "cpplanguage/appmsg.h"
#include "cpplanguage/exceptions.h"
#include "cpplanguage/orlostring.h"

#include <exception>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

namespace CppLanguage {

// The place in the library's own source that raises or reports.
struct SourceSite {
    const char* file;
    int line;
    const char* date;
    const char* time;
};

#define ORLO_HERE                                                                                  \
    ::CppLanguage::SourceSite {                                                                    \
        __FILE__, __LINE__, __DATE__, __TIME__                                                     \
    }

// One named argument, as text; numbers are bound as decimal text.
struct MsgArg {
    MsgArg(const char* argName, std::string_view text) : name(argName), value(text) {}
    MsgArg(const char* argName, const char* text) : name(argName), value(text ? text : "") {}
    MsgArg(const char* argName, const std::string& text) : name(argName), value(text) {}
    MsgArg(const char* argName, int number) : name(argName), value(std::to_string(number)) {}
    const char* name;
    std::string value;
};

// The document position a message refers to; line 0 means unknown.
struct DocumentPosition {
    std::string document;
    int line = 0;
    int column = 0;
};

// The same position with the document's name borrowed from whoever reads it: valid while that
// reader stays on the document. Readers answer it for every element a sink looks at, so it
// copies nothing.
struct DocumentPlace {
    std::string_view document;
    int line = 0;
    int column = 0;
};

// A copy that outlives the reader.
DocumentPosition positionOf(const DocumentPlace& place);

// Whatever is being read right now; a reader installs one for the length of a document so that
// messages posted meanwhile name the document, line and column.
class IDocumentPositionSource {
public:
    virtual DocumentPlace currentPlace() const = 0;

protected:
    ~IDocumentPositionSource() = default;
};

class DocumentPositionScope {
public:
    explicit DocumentPositionScope(const IDocumentPositionSource& source);
    ~DocumentPositionScope();
    DocumentPositionScope(const DocumentPositionScope&) = delete;
    DocumentPositionScope& operator=(const DocumentPositionScope&) = delete;

private:
    const IDocumentPositionSource* previous_;
};

// The position of the innermost scope, or an empty one.
DocumentPosition currentDocumentPosition();
DocumentPlace currentDocumentPlace();

CAppMsg makeMessage(const SourceSite& site, const char* id, std::initializer_list<MsgArg> args,
                    const DocumentPosition& where);

// Formats the message and throws it inside an exception of class E.
template <class E>
[[noreturn]] void raiseAt(const SourceSite& site, const DocumentPosition& where, const char* id,
                          std::initializer_list<MsgArg> args = {}) {
    const CAppMsg record = makeMessage(site, id, args, where);
    throw E(site.file, site.line, site.date, site.time, ORLO::String(record.GetText()), &record);
}

template <class E>
[[noreturn]] void raise(const SourceSite& site, const char* id,
                        std::initializer_list<MsgArg> args = {}) {
    raiseAt<E>(site, currentDocumentPosition(), id, args);
}

// Posts the message and lets the run go on.
void reportAt(const SourceSite& site, const DocumentPosition& where, const char* id,
              std::initializer_list<MsgArg> args = {});
void report(const SourceSite& site, const char* id, std::initializer_list<MsgArg> args = {});

// Posts the message that a caught exception carries; answers whether there was one.
bool reportException(const std::exception& caught);

// While one lives, what the calling thread reports is kept in `held`, in order, instead of
// posted: for work done ahead of its turn on another thread, whose messages must wait for
// the work before it, or be dropped with it. Scopes nest; each must end on its own thread.
class HeldMessagesScope {
public:
    explicit HeldMessagesScope(std::vector<CAppMsg>& held);
    ~HeldMessagesScope();
    HeldMessagesScope(const HeldMessagesScope&) = delete;
    HeldMessagesScope& operator=(const HeldMessagesScope&) = delete;

private:
    std::vector<CAppMsg>* previous_;
};

// Posts messages that were held, in their order.
void postHeld(const std::vector<CAppMsg>& held);

} // namespace CppLanguage
