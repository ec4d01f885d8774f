#include "metamodel/model/reporting.h"

#include "platform/appdatamanager.h"
#include "platform/appmsgmanager.h"

namespace QEL {

bool modelReportsArePosted() {
    const AppDataManager::IAppDataManager* data = AppDataManager::LoadAppDataManager();
    const AppDataManager::ISettings* settings = data ? data->GetSettings() : nullptr;
    if (!settings)
        return true;
    if (settings->GetInt("global", "ProductionMode", 1, 0) == 0)
        return true;
    AppMsgManager::IAppMsgManager* messages = AppMsgManager::LoadAppMsgManager();
    return messages && messages->invariant();
}

void reportFromModel(const CppLanguage::SourceSite& site, const char* id,
                     std::initializer_list<CppLanguage::MsgArg> args) {
    if (modelReportsArePosted())
        CppLanguage::report(site, id, args);
}

void reportFromModel(const CppLanguage::SourceSite& site, const ORLO::String& location,
                     const char* id, std::initializer_list<CppLanguage::MsgArg> args) {
    if (modelReportsArePosted())
        CppLanguage::reportAt(site, CppLanguage::DocumentPosition{location, 0, 0}, id, args);
}

} // namespace QEL
