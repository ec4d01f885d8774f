#pragma once

#include "platform/appdatamanager.h"

#include "support/tempfolder.h"

namespace OperationTesting {

// For as long as it lives, the installation is the shipped base meta-model and the machine's
// and the user's folders are nowhere: an operation reads only that and what the test gives it.
class InstallationOnly {
public:
    InstallationOnly() {
        AppDataManager::AppDataOverrides folders;
        folders.appDir = METAMODEL_SOURCE_DIR "/share/metamodel";
        folders.userDir = folders.allUsersDir = nowhere_.file("none");
        AppDataManager::SetAppDataOverrides(folders);
    }
    ~InstallationOnly() { AppDataManager::SetAppDataOverrides({}); }
    InstallationOnly(const InstallationOnly&) = delete;
    InstallationOnly& operator=(const InstallationOnly&) = delete;

private:
    TestSupport::TempFolder nowhere_;
};

} // namespace OperationTesting
