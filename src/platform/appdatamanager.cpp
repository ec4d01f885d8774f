#include "platform/appdatamanager.h"
#include "platform/orlofile.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <pwd.h>
#include <string>
#include <string_view>
#include <system_error>
#include <unistd.h>

#ifndef METAMODEL_BUILD_SHARE_DIR
#error "METAMODEL_BUILD_SHARE_DIR must name the share/metamodel folder of the source tree"
#endif

namespace AppDataManager {

namespace {

namespace fs = std::filesystem;

AppDataOverrides& overrides() {
    static AppDataOverrides values;
    return values;
}

// Read at every query: a host or a test may change the environment between two calls. An
// empty variable counts as unset.
std::string environment(const char* variable) {
    const char* value = std::getenv(variable);
    return value ? value : "";
}

std::string configured(const ORLO::String& override, const char* variable) {
    return override.empty() ? environment(variable) : std::string(override);
}

// A trailing separator would spoil the replacement of a resolved root by its placeholder in
// the paths of documents.
std::string withoutTrailingSeparators(std::string folder) {
    while (folder.size() > 1 && (folder.back() == '/' || folder.back() == '\\'))
        folder.pop_back();
    return folder;
}

std::string applicationFolder() {
    if (std::string folder = configured(overrides().appDir, "METAMODEL_APP_DIR"); !folder.empty())
        return folder;
    std::error_code error;
    const fs::path executable = fs::read_symlink("/proc/self/exe", error);
    if (!error) {
        const fs::path installed =
            (executable.parent_path() / ".." / "share" / "metamodel").lexically_normal();
        if (fs::is_directory(installed, error))
            return installed.string();
    }
    return METAMODEL_BUILD_SHARE_DIR;
}

std::string homeFolder() {
    if (std::string home = environment("HOME"); !home.empty())
        return home;
    if (const passwd* entry = getpwuid(getuid()); entry && entry->pw_dir)
        return entry->pw_dir;
    return {};
}

std::string userFolder() {
    if (std::string folder = configured(overrides().userDir, "METAMODEL_USER_DIR"); !folder.empty())
        return folder;
    // A relative XDG_DATA_HOME is invalid and is to be ignored.
    if (std::string data = environment("XDG_DATA_HOME"); !data.empty() && data.front() == '/')
        return withoutTrailingSeparators(data) + "/metamodel";
    if (std::string home = homeFolder(); !home.empty())
        return withoutTrailingSeparators(home) + "/.local/share/metamodel";
    return {};
}

std::string commonDataFolder() {
    std::string folder = configured(overrides().allUsersDir, "METAMODEL_ALL_USERS_DIR");
    return folder.empty() ? "/var/lib/metamodel" : folder;
}

std::string temporaryFolder() {
    std::string folder = configured(overrides().tempDir, "TMPDIR");
    if (folder.empty())
        folder = "/tmp";
    if (folder.back() != '/')
        folder += '/';
    return folder;
}

// Copies `text` with its NUL when it fits in `capacity` bytes.
bool copyOut(const std::string& text, char* buffer, long capacity) {
    if (!buffer || capacity <= 0 || long(text.size()) >= capacity)
        return false;
    std::memcpy(buffer, text.c_str(), text.size() + 1);
    return true;
}

// The folder forms take the buffer size less one, as the C runtime's folder queries do.
int answerFolder(const std::string& folder, char* buffer, int size, bool create) {
    if (folder.empty())
        return 0;
    const std::string text = withoutTrailingSeparators(folder);
    if (create) {
        std::error_code error;
        fs::create_directories(text, error);
        if (error)
            return 0;
    }
    return copyOut(text, buffer, long(size) + 1) ? 1 : 0;
}

// A part that does not fit is cut: the splitter has no way to say it failed.
void putPart(char* buffer, std::string_view part, int size) {
    if (!buffer || size <= 0)
        return;
    const size_t length = std::min(part.size(), size_t(size) - 1);
    part.copy(buffer, length);
    buffer[length] = '\0';
}

class DefaultSettings : public ISettings {
public:
    int GetInt(const char* section, const char* key, int defaultValue, int) const override {
        if (!section || !key || std::string_view(section) != "global" ||
            std::string_view(key) != "ProductionMode")
            return defaultValue;
        if (overrides().hasProductionMode)
            return overrides().productionMode;
        const std::string text = environment("METAMODEL_PRODUCTION_MODE");
        int value = 0;
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
        if (text.empty() || error != std::errc() || end != text.data() + text.size())
            return defaultValue;
        return value;
    }
};

class DefaultPaths : public IPaths {
public:
    void GetExtensionFolder(ORLO::String& folder) const override {
        folder = configured(overrides().extensionDir, "METAMODEL_EXTENSION_DIR");
    }
    int GetUserFolder(char* buffer, int size, bool create) const override {
        return answerFolder(userFolder(), buffer, size, create);
    }
    void GetPluginFolder(ORLO::String& folder) const override {
        folder = configured(overrides().pluginsDir, "METAMODEL_PLUGINS_DIR");
    }
    int GetApplicationFolder(char* buffer, int size, bool create) const override {
        return answerFolder(applicationFolder(), buffer, size, create);
    }
    int GetCommonDataFolder(char* buffer, int size, bool create) const override {
        return answerFolder(commonDataFolder(), buffer, size, create);
    }
    // Callers pass the whole buffer size here, and ask for a backslash: the platform separator
    // is what a path on this system needs.
    int GetTemporaryFolder(char* buffer, int, int size, char) const override {
        return copyOut(temporaryFolder(), buffer, size) ? 1 : 0;
    }
    void SplitPath(const char* path, char* drive, char* directory, char* name, char* extension,
                   int size) const override {
        const std::string_view text = path ? path : "";
        const size_t separator = text.find_last_of("/\\");
        const size_t nameStart = separator == text.npos ? 0 : separator + 1;
        const std::string_view file = text.substr(nameStart);
        const size_t dot = file.rfind('.');
        putPart(drive, {}, size);
        putPart(directory, text.substr(0, nameStart), size);
        putPart(name, file.substr(0, dot), size);
        putPart(extension, dot == file.npos ? std::string_view() : file.substr(dot), size);
    }
};

class DefaultManager : public IAppDataManager {
public:
    const ISettings* GetSettings() const override { return &settings_; }
    const IPaths* GetPaths() const override { return &paths_; }

private:
    DefaultSettings settings_;
    DefaultPaths paths_;
};

DefaultManager& defaultManager() {
    static DefaultManager manager;
    return manager;
}

IAppDataManager* installed = nullptr;

} // namespace

IAppDataManager* LoadAppDataManager() {
    return installed ? installed : &defaultManager();
}

ORLO::String TemporaryFolder() {
    const IPaths* paths = LoadAppDataManager()->GetPaths();
    char buffer[1024] = {};
    if (!paths || !paths->GetTemporaryFolder(buffer, 0, int(sizeof buffer), ORLO::PathSeparator))
        return ORLO::String();
    return ORLO::String(buffer);
}

void SetAppDataManager(IAppDataManager* manager) {
    installed = manager;
}

void SetAppDataOverrides(const AppDataOverrides& values) {
    overrides() = values;
}

} // namespace AppDataManager
