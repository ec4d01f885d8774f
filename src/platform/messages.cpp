#include "platform/messages.h"

#include "platform/appmsgmanager.h"

#include <memory>
#include <vector>

namespace CppLanguage {

namespace {

thread_local const IDocumentPositionSource* activePositionSource = nullptr;
thread_local std::vector<CAppMsg>* heldMessages = nullptr;

void post(const CAppMsg& record) {
    if (heldMessages)
        heldMessages->push_back(record);
    else
        AppMsgManager::LoadAppMsgManager()->PostMsg(record);
}

AppMsgManager::MessageOrigin originOf(const SourceSite& site, const DocumentPosition& where) {
    AppMsgManager::MessageOrigin origin;
    origin.component = "QEL";
    origin.document = where.document;
    origin.line = where.line;
    origin.column = where.column;
    origin.libraryFile = site.file ? site.file : "";
    origin.libraryLine = site.line;
    return origin;
}

} // namespace

CAppMsg makeMessage(const SourceSite& site, const char* id, std::initializer_list<MsgArg> args,
                    const DocumentPosition& where) {
    std::vector<CBindArgNameToVal> bound;
    bound.reserve(args.size());
    for (const MsgArg& arg : args)
        bound.emplace_back(arg.name, arg.value);
    std::vector<const CBindArgNameToVal*> pointers;
    for (const auto& argument : bound)
        pointers.push_back(&argument);
    CAppMsg record;
    AppMsgManager::LoadAppMsgManager()->Fill(record, id, originOf(site, where), pointers);
    return record;
}

DocumentPositionScope::DocumentPositionScope(const IDocumentPositionSource& source)
    : previous_(activePositionSource) {
    activePositionSource = &source;
}

DocumentPositionScope::~DocumentPositionScope() {
    activePositionSource = previous_;
}

DocumentPlace currentDocumentPlace() {
    return activePositionSource ? activePositionSource->currentPlace() : DocumentPlace{};
}

DocumentPosition positionOf(const DocumentPlace& place) {
    return {std::string(place.document), place.line, place.column};
}

DocumentPosition currentDocumentPosition() {
    return positionOf(currentDocumentPlace());
}

void reportAt(const SourceSite& site, const DocumentPosition& where, const char* id,
              std::initializer_list<MsgArg> args) {
    post(makeMessage(site, id, args, where));
}

void report(const SourceSite& site, const char* id, std::initializer_list<MsgArg> args) {
    reportAt(site, currentDocumentPosition(), id, args);
}

bool reportException(const std::exception& caught) {
    std::unique_ptr<CAppMsg> record(AppMsgManager::LoadAppMsgManager()->ExceptionToMsg(&caught));
    if (!record)
        return false;
    post(*record);
    return true;
}

HeldMessagesScope::HeldMessagesScope(std::vector<CAppMsg>& held) : previous_(heldMessages) {
    heldMessages = &held;
}

HeldMessagesScope::~HeldMessagesScope() {
    heldMessages = previous_;
}

void postHeld(const std::vector<CAppMsg>& held) {
    for (const CAppMsg& record : held)
        post(record);
}

} // namespace CppLanguage
