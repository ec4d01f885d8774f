#include "platform/appdatamanager.h"

#include "support/tempfolder.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <map>
#include <optional>
#include <sstream>
#include <string>

namespace {

namespace fs = std::filesystem;
using AppDataManager::AppDataOverrides;
using AppDataManager::LoadAppDataManager;

// Every variable the manager reads; each test starts with all of them unset and gets the
// process's own values back afterwards.
constexpr const char* variables[] = {"METAMODEL_APP_DIR",
                                     "METAMODEL_USER_DIR",
                                     "METAMODEL_ALL_USERS_DIR",
                                     "METAMODEL_PLUGINS_DIR",
                                     "METAMODEL_EXTENSION_DIR",
                                     "METAMODEL_PRODUCTION_MODE",
                                     "XDG_DATA_HOME",
                                     "HOME",
                                     "TMPDIR"};

class AppDataTest : public ::testing::Test {
protected:
    void SetUp() override {
        for (const char* name : variables) {
            const char* value = std::getenv(name);
            saved_[name] = value ? std::optional<std::string>(value) : std::nullopt;
            unsetenv(name);
        }
        AppDataManager::SetAppDataOverrides({});
    }
    void TearDown() override {
        for (const auto& [name, value] : saved_) {
            if (value)
                setenv(name.c_str(), value->c_str(), 1);
            else
                unsetenv(name.c_str());
        }
        AppDataManager::SetAppDataOverrides({});
        AppDataManager::SetAppDataManager(nullptr);
    }

    static const AppDataManager::IPaths& paths() { return *LoadAppDataManager()->GetPaths(); }

    using FolderQuery = int (AppDataManager::IPaths::*)(char*, int, bool) const;
    // The folder as the library asks for it, or "<failed>".
    static std::string folder(FolderQuery query, int size = 1024, bool create = false) {
        std::string buffer(size_t(size) + 1, '\x7f');
        if (!(paths().*query)(buffer.data(), size, create))
            return "<failed>";
        return buffer.c_str();
    }
    // The folder named `which` ("app", "user", "all", "plugins", "extension", "temp").
    static std::string ask(const std::string& which) {
        using P = AppDataManager::IPaths;
        if (which == "plugins" || which == "extension") {
            ORLO::String answer = "stale";
            which == "plugins" ? paths().GetPluginFolder(answer)
                               : paths().GetExtensionFolder(answer);
            return answer;
        }
        return which == "app"    ? folder(&P::GetApplicationFolder)
               : which == "user" ? folder(&P::GetUserFolder)
               : which == "all"  ? folder(&P::GetCommonDataFolder)
                                 : tempDir();
    }
    static std::string tempDir(int size = 1024) {
        std::string buffer(size_t(size), '\x7f');
        if (!paths().GetTemporaryFolder(buffer.data(), 0, size, '\\'))
            return "<failed>";
        return buffer.c_str();
    }
    static int productionMode() {
        return LoadAppDataManager()->GetSettings()->GetInt("global", "ProductionMode", 1, 0);
    }

private:
    std::map<std::string, std::optional<std::string>> saved_;
};

// Each folder comes from the option, else its variable, else its fallback.
TEST_F(AppDataTest, FoldersComeFromTheOptionThenTheEnvironmentThenTheirFallback) {
    struct Case {
        const char* folder;
        const char* environment; // NAME=value, separated by spaces
        ORLO::String AppDataOverrides::*option;
        const char* optionValue;
        const char* expected;
    };
    const Case cases[] = {
        {"app", "METAMODEL_APP_DIR=/opt/mm/share//", nullptr, "", "/opt/mm/share"},
        {"app", "METAMODEL_APP_DIR=/", nullptr, "", "/"},
        {"app", "METAMODEL_APP_DIR=/opt/mm", &AppDataOverrides::appDir, "/o/app", "/o/app"},
        {"user", "HOME=/home/someone/", nullptr, "", "/home/someone/.local/share/metamodel"},
        // A relative XDG_DATA_HOME is invalid and is passed over.
        {"user", "HOME=/h XDG_DATA_HOME=relative/data", nullptr, "", "/h/.local/share/metamodel"},
        {"user", "HOME=/h XDG_DATA_HOME=/xdg/data", nullptr, "", "/xdg/data/metamodel"},
        {"user", "XDG_DATA_HOME=/xdg METAMODEL_USER_DIR=/explicit", nullptr, "", "/explicit"},
        {"user", "METAMODEL_USER_DIR=/explicit", &AppDataOverrides::userDir, "/o/user", "/o/user"},
        {"all", "", nullptr, "", "/var/lib/metamodel"},
        {"all", "METAMODEL_ALL_USERS_DIR=/srv/mm", nullptr, "", "/srv/mm"},
        {"all", "METAMODEL_ALL_USERS_DIR=/srv", &AppDataOverrides::allUsersDir, "/o/all", "/o/all"},
        {"plugins", "", nullptr, "", ""},
        {"plugins", "METAMODEL_PLUGINS_DIR=/plug", nullptr, "", "/plug"},
        {"plugins", "METAMODEL_PLUGINS_DIR=/p", &AppDataOverrides::pluginsDir, "/o/p", "/o/p"},
        {"extension", "", nullptr, "", ""},
        {"extension", "METAMODEL_EXTENSION_DIR=/ext", nullptr, "", "/ext"},
        {"extension", "METAMODEL_EXTENSION_DIR=/e", &AppDataOverrides::extensionDir, "/o/e",
         "/o/e"},
        // The temporary folder always ends with one slash.
        {"temp", "", nullptr, "", "/tmp/"},
        {"temp", "TMPDIR=/var/tmp", nullptr, "", "/var/tmp/"},
        {"temp", "TMPDIR=/scratch/", nullptr, "", "/scratch/"},
        {"temp", "TMPDIR=/var/tmp", &AppDataOverrides::tempDir, "/o/tmp", "/o/tmp/"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.folder) + " with '" + c.environment + "'");
        for (const char* name : variables)
            unsetenv(name);
        std::istringstream assignments(c.environment);
        for (std::string assignment; assignments >> assignment;) {
            const size_t equals = assignment.find('=');
            setenv(assignment.substr(0, equals).c_str(), assignment.substr(equals + 1).c_str(), 1);
        }
        AppDataOverrides overrides;
        if (c.option)
            overrides.*c.option = c.optionValue;
        AppDataManager::SetAppDataOverrides(overrides);
        EXPECT_EQ(ask(c.folder), c.expected);
    }
}

TEST_F(AppDataTest, WithoutASettingTheApplicationFolderIsTheInstallationsOrTheSourceTrees) {
    setenv("METAMODEL_APP_DIR", "", 1);
    const fs::path beside =
        (fs::read_symlink("/proc/self/exe").parent_path() / ".." / "share" / "metamodel")
            .lexically_normal();
    const std::string expected = fs::is_directory(beside)
                                     ? beside.string()
                                     : std::string(METAMODEL_SOURCE_DIR) + "/share/metamodel";
    EXPECT_EQ(ask("app"), expected);
    EXPECT_TRUE(fs::is_directory(expected));
}

TEST_F(AppDataTest, BufferFormsAnswerZeroWhenTheFolderDoesNotFit) {
    // The folder forms take the size less one: "/abcd" needs size 5.
    setenv("METAMODEL_ALL_USERS_DIR", "/abcd", 1);
    EXPECT_EQ(folder(&AppDataManager::IPaths::GetCommonDataFolder, 5), "/abcd");
    EXPECT_EQ(folder(&AppDataManager::IPaths::GetCommonDataFolder, 4), "<failed>");
    EXPECT_EQ(paths().GetCommonDataFolder(nullptr, 1024, false), 0);

    // The temporary folder takes the whole buffer size: "/abc/" needs six bytes.
    setenv("TMPDIR", "/abc", 1);
    EXPECT_EQ(tempDir(6), "/abc/");
    EXPECT_EQ(tempDir(5), "<failed>");
    EXPECT_EQ(paths().GetTemporaryFolder(nullptr, 0, 1024, '\\'), 0);
}

TEST_F(AppDataTest, CreateFlagMakesTheFolder) {
    const TestSupport::TempFolder scratch;
    const std::string wanted = scratch.file("user/data");
    setenv("METAMODEL_USER_DIR", wanted.c_str(), 1);
    EXPECT_EQ(folder(&AppDataManager::IPaths::GetUserFolder, 1024, false), wanted);
    EXPECT_FALSE(fs::exists(wanted));
    EXPECT_EQ(folder(&AppDataManager::IPaths::GetUserFolder, 1024, true), wanted);
    EXPECT_TRUE(fs::is_directory(wanted));

    // A folder that cannot be made is a failure, not a silent answer.
    const std::string blocked = scratch.file("file/below");
    scratch.write("file", "x");
    setenv("METAMODEL_USER_DIR", blocked.c_str(), 1);
    EXPECT_EQ(folder(&AppDataManager::IPaths::GetUserFolder, 1024, true), "<failed>");
}

TEST_F(AppDataTest, ProductionModeIsOnUnlessTheSettingIsAnIntegerZero) {
    EXPECT_EQ(productionMode(), 1);
    // "99999999999" is all digits, but no int holds it.
    for (const auto& [value, expected] : std::initializer_list<std::pair<const char*, int>>{
             {"0", 0}, {"yes", 1}, {"0x", 1}, {"99999999999", 1}}) {
        setenv("METAMODEL_PRODUCTION_MODE", value, 1);
        EXPECT_EQ(productionMode(), expected) << value;
    }
    AppDataOverrides overrides;
    overrides.hasProductionMode = true;
    overrides.productionMode = 1;
    setenv("METAMODEL_PRODUCTION_MODE", "0", 1);
    AppDataManager::SetAppDataOverrides(overrides);
    EXPECT_EQ(productionMode(), 1);

    // Other settings are not stored: they answer the caller's default, as a setting that is
    // no integer does.
    const auto* settings = LoadAppDataManager()->GetSettings();
    AppDataManager::SetAppDataOverrides({});
    setenv("METAMODEL_PRODUCTION_MODE", "yes", 1);
    EXPECT_EQ(settings->GetInt("global", "ProductionMode", 0, 0), 0);
    EXPECT_EQ(settings->GetInt("global", "Other", 7, 0), 7);
    EXPECT_EQ(settings->GetInt("local", "ProductionMode", 7, 0), 7);
    EXPECT_EQ(settings->GetInt(nullptr, nullptr, -3, 0), -3);
}

// The four parts of a path, joined by '|', each cut to the buffer size.
std::string split(const char* path, int size = 1025) {
    std::string parts[4];
    for (std::string& part : parts)
        part.assign(size_t(size), 'D');
    LoadAppDataManager()->GetPaths()->SplitPath(path, parts[0].data(), parts[1].data(),
                                                parts[2].data(), parts[3].data(), size);
    return std::string(parts[0].c_str()) + "|" + parts[1].c_str() + "|" + parts[2].c_str() + "|" +
           parts[3].c_str();
}

TEST_F(AppDataTest, SplitPathCutsAtTheLastSeparatorAndTheLastPoint) {
    const std::pair<const char*, const char*> cases[] = {
        {"/a/b/MetaModel.xml", "|/a/b/|MetaModel|.xml"},
        {"C:\\x\\y.tar.gz", "|C:\\x\\|y.tar|.gz"},
        {"a\\b/c", "|a\\b/|c|"},
        {"dir.d/file", "|dir.d/|file|"},
        {"file.txt", "||file|.txt"},
        {"a/b/", "|a/b/||"},
        {"/x/.hidden", "|/x/||.hidden"},
        {"", "|||"},
        {nullptr, "|||"}};
    for (const auto& [path, parts] : cases)
        EXPECT_EQ(split(path), parts) << (path ? path : "null");
    EXPECT_EQ(split("/long/folder/name.ext", 5), "|/lon|name|.ext");
    char directory[8];
    LoadAppDataManager()->GetPaths()->SplitPath("/a/b.c", nullptr, directory, nullptr, nullptr);
    EXPECT_STREQ(directory, "/a/");
}

TEST_F(AppDataTest, HostManagerReplacesTheDefaultUntilReset) {
    class NoManager : public AppDataManager::IAppDataManager {
    public:
        const AppDataManager::ISettings* GetSettings() const override { return nullptr; }
        const AppDataManager::IPaths* GetPaths() const override { return nullptr; }
    } host;
    AppDataManager::SetAppDataManager(&host);
    EXPECT_EQ(LoadAppDataManager(), &host);
    AppDataManager::SetAppDataManager(nullptr);
    ASSERT_NE(LoadAppDataManager(), &host);
    EXPECT_NE(LoadAppDataManager()->GetPaths(), nullptr);
    EXPECT_NE(LoadAppDataManager()->GetSettings(), nullptr);
}

} // namespace
