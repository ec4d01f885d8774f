#pragma once

#include "cpplanguage/orlostring.h"

namespace AppDataManager {

class ISettings {
public:
    virtual ~ISettings() = default;
    virtual int GetInt(const char* section, const char* key, int defaultValue, int flag) const = 0;
};

class IPaths {
public:
    virtual ~IPaths() = default;
    // Empty when there is no extension folder.
    virtual void GetExtensionFolder(ORLO::String& folder) const = 0;
    // The buffer forms answer non-zero on success and leave the folder in the buffer.
    virtual int GetUserFolder(char* buffer, int size, bool create) const = 0;
    virtual void GetPluginFolder(ORLO::String& folder) const = 0;
    virtual int GetApplicationFolder(char* buffer, int size, bool create) const = 0;
    virtual int GetCommonDataFolder(char* buffer, int size, bool create) const = 0;
    // Always ends with the separator.
    virtual int GetTemporaryFolder(char* buffer, int flags, int size, char separator) const = 0;
    // Like the C runtime's path splitter; the drive part is always empty here. Null buffers
    // are skipped; each buffer holds `size` bytes.
    virtual void SplitPath(const char* path, char* drive, char* directory, char* name,
                           char* extension, int size = 1025) const = 0;
};

class IAppDataManager {
public:
    virtual ~IAppDataManager() = default;
    virtual const ISettings* GetSettings() const = 0;
    virtual const IPaths* GetPaths() const = 0;
};

// Values a host (or the command-line tool) sets; an unset value falls back to the
// environment, then to the built-in default.
struct AppDataOverrides {
    ORLO::String appDir, userDir, allUsersDir, pluginsDir, extensionDir, tempDir;
    bool hasProductionMode = false;
    int productionMode = 1;
};

// The process-wide manager, never null; its settings and paths objects may be.
IAppDataManager* LoadAppDataManager();
// The temporary folder of the process-wide manager, ending with the platform separator; empty
// when the manager has no paths object or no such folder.
ORLO::String TemporaryFolder();
// A host may replace the manager; null restores the default. Not owned.
void SetAppDataManager(IAppDataManager* manager);
// Sets what the default manager answers ahead of the environment.
void SetAppDataOverrides(const AppDataOverrides& overrides);

} // namespace AppDataManager
