#include "files/VnFileSystem.h"

#include "runtime/CProcessInfo.h"
#include "runtime/VnSettingsKey.h"
#include "runtime/VnSiblingModules.h"
#include "tests/support/TestEnvironment.h"
#include "tests/support/TestText.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>

namespace {

/// Sets an environment variable for the length of a scope.
class ScopedVariable {
public:
    ScopedVariable(const char* name, const char* value) : Name(name) {
        if (const char* old = std::getenv(name); old != nullptr) {
            Old = old;
        }
        value == nullptr ? unsetenv(name) : setenv(name, value, 1);
    }
    ScopedVariable(const ScopedVariable&) = delete;
    ScopedVariable& operator=(const ScopedVariable&) = delete;
    ~ScopedVariable() { Old ? setenv(Name, Old->c_str(), 1) : unsetenv(Name); }

private:
    const char* Name;
    std::optional<std::string> Old;
};

TEST(VnFileSystemDirectories, LieBelowTheInstallDirectory) {
    CProcessInfo* process = CProcessInfo::GetInstance();
    ASSERT_NE(process, nullptr);
    const VnString old = process->GetInstallDirectory();
    const VnString oldData = process->GetDataPath();
    process->SetPaths(L"/opt/program", /*all=*/false, /*onlyIfFilledHere=*/false);
    process->SetDataPath(L"/srv/data/");
    EXPECT_EQ(ToBytes(VnFileSystem::GetDirectoryInstall()), "/opt/program/");
    EXPECT_EQ(ToBytes(VnFileSystem::GetDirectoryPlugins()), "/opt/program/Plugins/");
    EXPECT_EQ(ToBytes(VnFileSystem::GetDirectoryData(false)), "/opt/program/Data/");
    EXPECT_EQ(ToBytes(VnFileSystem::GetDirectoryData(true)), "/srv/data/Data/");
    EXPECT_EQ(ToBytes(VnFileSystem::GetDirectorySkins(true)), "/opt/program/Skins/");
    EXPECT_EQ(ToBytes(VnFileSystem::GetDirectorySkinsFolder(L"View", true)),
              "/opt/program/Skins/View/");
    EXPECT_EQ(ToBytes(VnFileSystem::GetDirectoryVisualizations(true)),
              "/opt/program/Visualizations/");
    process->SetDataPath(L"");
    EXPECT_EQ(ToBytes(VnFileSystem::GetDirectoryData(true)), "/opt/program/Data/");
    process->SetPaths(old, /*all=*/false, /*onlyIfFilledHere=*/false);
    process->SetDataPath(oldData);
}

TEST(VnFileSystemDirectories, FallBackBelowTheHomeDirectory) {
    const ScopedVariable home("HOME", "/home/u");
    const ScopedVariable configuration("XDG_CONFIG_HOME", "/nowhere/at all");
    EXPECT_EQ(ToBytes(VnFileSystem::GetDirectoryHome()), "/home/u/");
    EXPECT_EQ(ToBytes(VnFileSystem::GetDirectoryDesktop()), "/home/u/Desktop/");
    EXPECT_EQ(ToBytes(VnFileSystem::GetDirectoryDocuments()), "/home/u/Documents/");
    EXPECT_EQ(ToBytes(VnFileSystem::GetDirectoryMusic()), "/home/u/Music/");
    EXPECT_EQ(ToBytes(VnFileSystem::GetDirectoryPictures()), "/home/u/Images/");
    EXPECT_EQ(ToBytes(VnFileSystem::GetDirectoryVideo()), "/home/u/Video/");
    const ScopedVariable noHome("HOME", nullptr);
    EXPECT_TRUE(VnFileSystem::GetDirectoryHome().IsEmpty());
    EXPECT_EQ(ToBytes(VnFileSystem::GetDirectoryDocuments()), "Documents/");
}

TEST(VnFileSystemDirectories, ReadTheFoldersOfTheDesktop) {
    const TestFolder folder;
    const ScopedVariable home("HOME", "/home/u");
    const std::string file = "# XDG_MUSIC_DIR=\"/comment\"\n"
                             "\tXDG_DESKTOP_DIR=\"/x\"\r\n"
                             "XDG_MUSIC_DIR=\"\"\n"
                             "xdg_music_dir=\"$HOME/Musik\"\n"
                             "XDG_MUSIC_DIR=\"/second\"\n"
                             "XDG_PICTURES_DIR=\"$home/\xC3\xA4\xFF\xF0\x9F\x8E\xB5//\" # \"x\"\n"
                             "XDG_VIDEOS_DIR=/plain\n"
                             "XDG_DOCUMENTS_DIR=\"";
    folder.Write("user-dirs.dirs", file);
    {
        const ScopedVariable configuration("XDG_CONFIG_HOME", folder.Path().c_str());
        EXPECT_EQ(ToBytes(VnFileSystem::GetDirectoryMusic()), "/home/u/Musik/");
        EXPECT_EQ(ToBytes(VnFileSystem::GetDirectoryPictures()),
                  "/home/u/\xC3\xA4\xFF\xF0\x9F\x8E\xB5/");
        EXPECT_EQ(ToBytes(VnFileSystem::GetDirectoryVideo()), "XDG_VIDEOS_DIR=/plain/");
        EXPECT_EQ(ToBytes(VnFileSystem::GetDirectoryDocuments()), "/home/u/Documents/");
        EXPECT_EQ(ToBytes(VnFileSystem::GetXDGUserDirectory(L"XDG_DESKTOP_DIR")), "/x/");
    }
    const ScopedVariable configuration("XDG_CONFIG_HOME", "");
    const ScopedVariable ownHome("HOME", folder.Path().c_str());
    folder.Write(".config/user-dirs.dirs", file);
    EXPECT_EQ(ToBytes(VnFileSystem::GetDirectoryMusic()), folder / "Musik/");
}

TEST(VnFileSystemDirectories, NameTheProgramThatRuns) {
    const std::string program = std::filesystem::read_symlink("/proc/self/exe").string();
    EXPECT_EQ(ToBytes(VnFileSystem::GetExecutableFilename()), program);
    EXPECT_TRUE(
        std::filesystem::equivalent(ToBytes(VnFileSystem::GetThisModuleFilename()), program));
}

class VnFileSystemTemp : public testing::Test {
protected:
    void SetUp() override { ASSERT_NE(VnGetToolsRoot(), nullptr); }
    void TearDown() override { Key().DeleteValue(kName); }

    static VnSettingsKey Key() { return VnSettingsKey(L"Properties"); }

    static constexpr const wchar_t* kName = L"File Location - Temp Location";
    TestFolder Folder;
};

TEST_F(VnFileSystemTemp, IsTheDirectoryOfTheSettings) {
    Key().SetString(kName, ToText(Folder / "a/b"));
    EXPECT_EQ(ToBytes(VnFileSystem::GetTempDirectory(true, true)), Folder / "a/b/.velnor/");
    EXPECT_TRUE(Folder.Exists("a/b/.velnor"));
    EXPECT_EQ(ToBytes(VnFileSystem::GetTempDirectory(true, false)), Folder / "a/b/");
    const VnString byDefault = VnFileSystem::GetTempDirectory(false, true);
    EXPECT_EQ(byDefault, VnFileSystem::GetDirectoryUser() + L"Temp/");
    EXPECT_TRUE(std::filesystem::is_directory(ToBytes(byDefault)));
}

TEST_F(VnFileSystemTemp, IgnoresASettingOfAnotherPlatformAndDropsOneThatCannotBeMade) {
    const VnString byDefault = VnFileSystem::GetTempDirectory(false, true);
    Key().SetString(kName, L"C:\\Temp");
    EXPECT_EQ(VnFileSystem::GetTempDirectory(true, true), byDefault);
    EXPECT_EQ(ToBytes(Key().GetString(kName)), "C:\\Temp");
    Folder.Write("file", "x");
    Key().SetString(kName, ToText(Folder / "file/below"));
    EXPECT_EQ(VnFileSystem::GetTempDirectory(true, true), byDefault);
    EXPECT_EQ(ToBytes(Key().GetString(kName, L"gone")), "gone");
}

TEST_F(VnFileSystemTemp, StoresADirectoryUnlessItIsTheDefault) {
    VnFileSystem::SetTempDirectory(ToText(Folder / "t"));
    EXPECT_EQ(ToBytes(Key().GetString(kName)), Folder / "t/");
    VnString byDefault = VnFileSystem::GetTempDirectory(false, true);
    byDefault.RemoveRight(1);
    VnFileSystem::SetTempDirectory(byDefault);
    EXPECT_EQ(ToBytes(Key().GetString(kName, L"gone")), "gone");
}

TEST_F(VnFileSystemTemp, UserDirectoryIsThatOfTheToolsModule) {
    const VnString user = VnFileSystem::GetDirectoryUser();
    EXPECT_TRUE(user.EndsWith(L'/'));
    EXPECT_EQ(ToBytes(VnFileSystem::GetDirectorySkins(false)), ToBytes(user + L"Skins/"));
    EXPECT_EQ(ToBytes(user).rfind(TestEnvironment::GetHome(), 0), 0U);
}

} // namespace
