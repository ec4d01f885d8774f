#pragma once

#include "cpplanguage/orlostring.h"

#include <optional> // not used here, but src/cli relies on it transitively
#include <string>
#include <utility>
#include <vector>

namespace CppLanguage {

enum MsgSeverity {
    SeverityMessage = 0,
    SeverityInfo = 1,
    SeverityWarning = 2,
    SeverityError = 4,
    SeverityFatal = 8
};

const char* severityWord(int severity);

// One named argument of a message. The name is a literal and is not owned; the value is copied.
class CBindArgNameToVal {
public:
    CBindArgNameToVal(const char* name, const char* value);
    CBindArgNameToVal(const char* name, const std::string& value);
    CBindArgNameToVal(const char* name, int value);
    virtual ~CBindArgNameToVal() = default;

    const char* GetName() const { return name_; }
    const std::string& GetValue() const { return value_; }

private:
    const char* name_;
    std::string value_;
};

using MsgArguments = std::vector<std::pair<std::string, std::string>>;

// Read side of a finished message. Line and column are 0 when unknown.
class IAppMsg {
public:
    virtual ~IAppMsg() = default;
    virtual bool AnyFlag(unsigned bits) const = 0;
    virtual const char* GetId() const = 0;
    virtual int GetLine() const = 0;
    virtual int GetColumn() const = 0;
    virtual const char* GetComponent() const = 0;
    virtual const char* GetDocument() const = 0;
    virtual const char* GetLibraryFile() const = 0;
    virtual int GetLibraryLine() const = 0;
    virtual const char* GetText() const = 0;
    virtual bool HasText() const = 0;
    virtual int GetKind() const = 0;
    virtual bool IsKindOne() const = 0;
    virtual bool IsKindZero() const = 0;
    virtual int GetSeverity() const = 0;
    virtual const char* GetSeverityText() const = 0;
    virtual unsigned GetDisplayFlags() const = 0;
    virtual const MsgArguments& GetArguments() const = 0;
};

// The message record that the manager fills. Texts are owned; a null text clears a field.
class CAppMsg : public IAppMsg {
public:
    CAppMsg() = default;

    bool AnyFlag(unsigned bits) const override { return (flags_ & bits) != 0; }
    void SetFlags(unsigned bits) { flags_ |= bits; }
    void ClearFlags(unsigned bits) { flags_ &= ~bits; }

    const char* GetId() const override { return get(id_); }
    void SetId(const char* text) { set(id_, text); }
    int GetLine() const override { return line_; }
    void SetLine(int line) { line_ = line; }
    int GetColumn() const override { return column_; }
    void SetColumn(int column) { column_ = column; }
    const char* GetComponent() const override { return get(component_); }
    void SetComponent(const char* text) { set(component_, text); }
    const char* GetDocument() const override { return get(document_); }
    void SetDocument(const char* text) { set(document_, text); }
    const char* GetLibraryFile() const override { return get(libraryFile_); }
    void SetLibraryFile(const char* text) { set(libraryFile_, text); }
    int GetLibraryLine() const override { return libraryLine_; }
    void SetLibraryLine(int line) { libraryLine_ = line; }
    const char* GetText() const override { return get(text_); }
    void SetText(const char* text) { set(text_, text); }
    bool HasText() const override { return text_.present && !text_.text.empty(); }
    int GetKind() const override { return kind_; }
    void SetKind(int kind) { kind_ = kind; }
    bool IsKindOne() const override { return kind_ == 1; }
    bool IsKindZero() const override { return kind_ == 0; }
    int GetSeverity() const override { return severity_; }
    void SetSeverity(int severity) { severity_ = severity; }
    const char* GetSeverityText() const override { return severityWord(severity_); }
    unsigned GetDisplayFlags() const override { return displayFlags_; }
    void SetDisplayFlags(unsigned bits) { displayFlags_ |= bits; }
    void ClearDisplayFlags(unsigned bits) { displayFlags_ &= ~bits; }
    const MsgArguments& GetArguments() const override { return arguments_; }
    void AddArgument(const char* name, const std::string& value) {
        arguments_.emplace_back(name ? name : "", value);
    }

private:
    // A text that may be absent. Not std::optional: GCC's flow analysis then reports reads of
    // a reset field as uninitialised in every caller that inlines the getters.
    struct OwnedText {
        std::string text;
        bool present = false;
    };
    static const char* get(const OwnedText& field) {
        return field.present ? field.text.c_str() : nullptr;
    }
    static void set(OwnedText& field, const char* text) {
        field.present = text != nullptr;
        field.text = text ? text : "";
    }

    unsigned flags_ = 0;
    OwnedText id_;
    int line_ = 0;
    int column_ = 0;
    OwnedText component_;
    OwnedText document_;
    OwnedText libraryFile_;
    int libraryLine_ = 0;
    OwnedText text_;
    int kind_ = -1;
    int severity_ = -1;
    unsigned displayFlags_ = 0;
    MsgArguments arguments_;
};

} // namespace CppLanguage
