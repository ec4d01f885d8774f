#pragma once

#include "cpplanguage/appmsg.h"
#include "cpplanguage/deletable.h"

#include <exception>
#include <functional>
#include <span>
#include <string>

namespace AppMsgManager {

// Tags of the variadic interface; each is followed by the values named beside it.
constexpr unsigned long long TagOutMessage = 0xfffffffffffff1f1ULL;  // 0, then CAppMsg*
constexpr unsigned long long TagDocument = 0xf2f2f2f2f2f2f2f1ULL;    // const char*
constexpr unsigned long long TagPosition = 0xf3f3f3f3f3f3f3f1ULL;    // int line, int column
constexpr unsigned long long TagComponent = 0xf5f5f5f5f5f5f5f1ULL;   // const char*
constexpr unsigned long long TagLibraryFile = 0xf6f6f6f6f6f6f6f1ULL; // const char*
constexpr unsigned long long TagLibraryLine = 0xf8f8f8f8f8f8f8f1ULL; // int

// Where a message comes from; empty texts and zero numbers mean unknown.
struct MessageOrigin {
    std::string component;
    std::string document;
    int line = 0;
    int column = 0;
    std::string libraryFile;
    int libraryLine = 0;
};

class IAppMsgManager : public CppLanguage::IRefCountable {
public:
    // A new record for a caught exception of the library, or null for any other exception.
    virtual CppLanguage::CAppMsg* ExceptionToMsg(const std::exception* caught) = 0;
    virtual void PostMsg(const CppLanguage::IAppMsg& message) = 0;
    // The record as the calls above answer it; a null one posts nothing.
    void PostMsg(const CppLanguage::IAppMsg* message) {
        if (message)
            PostMsg(*message);
    }
    // Tagged variadic forms: the id, tags with their values, then CBindArgNameToVal pointers
    // ended by a null pointer.
    virtual void FormatMsg(const char* id, ...) = 0;
    virtual CppLanguage::CAppMsg* CreateMsg(const char* id, ...) = 0;

    // The typed form behind both: fills the record from the catalogue.
    virtual void Fill(CppLanguage::CAppMsg& record, const char* id, const MessageOrigin& origin,
                      std::span<const CppLanguage::CBindArgNameToVal* const> arguments) = 0;
};

using MessageSink = std::function<void(const CppLanguage::IAppMsg&)>;

// The process-wide manager, never null.
IAppMsgManager* LoadAppMsgManager();
// A host may put its own manager in place; null puts the default back. Not owned.
void SetAppMsgManager(IAppMsgManager* manager);
// Whether a host's manager is in place rather than the library's own.
bool HostManagerInstalled();
// Where the default manager delivers posted messages; an empty sink restores the default,
// which writes formatMessageLine to standard error.
void SetMessageSink(MessageSink sink);

// "SOURCE:LINE:COLUMN: SEVERITY: TEXT [ID]", unknown parts left out.
std::string formatMessageLine(const CppLanguage::IAppMsg& message);

} // namespace AppMsgManager
