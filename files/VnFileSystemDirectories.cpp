#include "files/VnFileSystem.h"

#include "core/VnDllString.h"
#include "core/VnStringArray.h"
#include "files/VnFilename.h"
#include "files/VnFilenameDetail.h"
#include "runtime/CProcessInfo.h"
#include "runtime/IVnApplicationInfo.h"
#include "runtime/IVnToolsRoot.h"
#include "runtime/VnSettingsKey.h"
#include "runtime/VnSiblingModules.h"

#include <dlfcn.h>
#include <unistd.h>

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace {

constexpr const wchar_t* kInstallDirectory = L"/usr/lib/velnor/Tonehall 34/";
constexpr const wchar_t* kSystemDirectory = L"/usr/bin";
constexpr const wchar_t* kSystemTempDirectory = L"/tmp";

/// Directory of this family of programs below a user's directory, and the data area in that.
constexpr const wchar_t* kUserFolder = L".velnor";
constexpr const wchar_t* kDataArea = L"Generic";

/// Where the settings keep the directory for temporary files.
constexpr const wchar_t* kSettingsKey = L"Properties";
constexpr const wchar_t* kTempSetting = L"File Location - Temp Location";

/// Longest target of the link to the program.
constexpr size_t kLongestExecutable = 32767;

VnString Normalized(VnString path) {
    VnFileSystem::NormalizeDirectory(path);
    return path;
}

/// A directory below another one.
VnString Below(VnString path, const VnString& segment) {
    VnFilename::AppendPathSegment(path, segment);
    return Normalized(path);
}

/// The text of a file as the file system's names are decoded; empty when it cannot be read.
VnString ReadTextFile(const VnString& path) {
    struct Closer {
        void operator()(FILE* file) const { static_cast<void>(fclose(file)); }
    };
    const std::unique_ptr<FILE, Closer> file(VnFileSystem::OpenFile(path, "r"));
    std::string bytes;
    char piece[4096];
    while (file != nullptr) {
        const size_t count = fread(piece, 1, sizeof(piece), file.get());
        bytes.append(piece, count);
        if (count < sizeof(piece)) {
            break;
        }
    }
    // Half a line would be taken for a path.
    const bool isWhole = file != nullptr && ferror(file.get()) == 0;
    return isWhole ? VnString::FromFileSystemText(bytes.data(), static_cast<int64_t>(bytes.size()))
                   : VnString();
}

/// The text between the first two double quotes; a line without quotes gives itself.
VnString GetQuoted(const VnString& line) {
    const int32_t first = line.Find(L'"');
    if (first < 0) {
        return line;
    }
    const int32_t second = line.Find(L'"', first + 1);
    return second < 0 ? line.Mid(first + 1) : line.Mid(first + 1, second - first - 1);
}

/// A folder of the user's: what the desktop says, or a directory below the home directory.
VnString GetUserFolder(const wchar_t* key, const wchar_t* fallback) {
    const VnString folder = VnFileSystem::GetXDGUserDirectory(key);
    return folder.IsEmpty() ? Below(VnFileSystem::GetDirectoryHome(), fallback) : folder;
}

VnString GetInstallOrUser(bool fromInstall, const wchar_t* segment) {
    return Below(fromInstall ? VnFileSystem::GetDirectoryInstall()
                             : VnFileSystem::GetDirectoryUser(),
                 segment);
}

/// The directory that the settings name, made; empty when they name none that can be used.
VnString GetTempSetting(bool addUserFolder) {
    VnSettingsKey key(kSettingsKey);
    VnString path = key.GetString(kTempSetting, L"");
    if (path.IsEmpty() || path.Find(L":\\") == 1) { // the latter is a path of another platform
        return {};
    }
    if (addUserFolder) {
        VnFilename::AppendPathSegment(path, kUserFolder);
    }
    if (!VnFileSystem::MakeDirectoryTree(path, /*testWrite=*/false)) {
        key.DeleteValue(kTempSetting);
        return {};
    }
    return path;
}

} // namespace

void VnFileSystem::NormalizeDirectory(VnString& path) {
    if (path.IsEmpty()) {
        return;
    }
    const VnString longName = VnFilename::GetLongPathName(path);
    if (!longName.IsEmpty() && longName != path) {
        path = longName;
    }
    VnFilename::SetTrailingSeparator(path, L'/', /*keepDoubleRoot=*/false);
}

VnString VnFileSystem::GetDirectoryInstall() {
    const CProcessInfo* process = CProcessInfo::GetInstance();
    const VnString path = process == nullptr ? VnString() : process->GetInstallDirectory();
    return Normalized(path.IsEmpty() ? VnString(kInstallDirectory) : path);
}

VnString VnFileSystem::GetDirectoryData(bool useProcessPath) {
    const VnString path = useProcessPath ? GetDirectoryProcessData() : VnString();
    return Below(path.IsEmpty() ? GetDirectoryInstall() : path, L"Data");
}

VnString VnFileSystem::GetDirectoryPlugins() {
    return Below(GetDirectoryInstall(), L"Plugins");
}

VnString VnFileSystem::GetDirectoryProcessData() {
    const CProcessInfo* process = CProcessInfo::GetInstance();
    return process == nullptr ? VnString() : Normalized(process->GetDataPath());
}

VnString VnFileSystem::GetDirectoryApplicationData() {
    const CProcessInfo* process = CProcessInfo::GetInstance();
    return process == nullptr ? VnString() : Normalized(process->GetApplicationDataPath());
}

VnString VnFileSystem::GetDirectoryUser() {
    VnString path;
    IVnToolsRoot* root = VnGetToolsRoot(/*load=*/false);
    IVnApplicationInfo* info = root == nullptr ? nullptr : root->GetApplicationInfo(1);
    if (info != nullptr) {
        VnDllString adapter(path);
        info->GetUserDataPath(adapter);
    }
    return path.IsEmpty() ? Below(Below(GetDirectoryApplicationData(), kUserFolder), kDataArea)
                          : Normalized(path);
}

VnString VnFileSystem::GetDirectoryHome() {
    return Normalized(GetEnvironment(L"HOME"));
}

VnString VnFileSystem::GetDirectoryDesktop() {
    return Below(GetDirectoryHome(), L"Desktop");
}

VnString VnFileSystem::GetDirectoryDocuments() {
    return GetUserFolder(L"XDG_DOCUMENTS_DIR", L"Documents");
}

VnString VnFileSystem::GetDirectoryMusic() {
    return GetUserFolder(L"XDG_MUSIC_DIR", L"Music");
}

VnString VnFileSystem::GetDirectoryPictures() {
    return GetUserFolder(L"XDG_PICTURES_DIR", L"Images");
}

VnString VnFileSystem::GetDirectoryVideo() {
    return GetUserFolder(L"XDG_VIDEOS_DIR", L"Video");
}

VnString VnFileSystem::GetXDGUserDirectory(const VnString& key) {
    VnString configuration = GetEnvironment(L"XDG_CONFIG_HOME");
    if (configuration.IsEmpty()) {
        configuration = Below(GetDirectoryHome(), L".config");
    }
    const VnString text = ReadTextFile(Normalized(configuration) + L"user-dirs.dirs");
    return VnFilenameDetail::FindUserDirectory(text, key, GetEnvironment(L"HOME"));
}

VnString VnFilenameDetail::FindUserDirectory(const VnString& text,
                                             const VnString& key,
                                             const VnString& home) {
    VnStringArray lines;
    lines.Split(text, L"\n");
    for (VnString& line : lines) {
        line.Trim();
        VnString value = line.StartsWith(key, /*caseFlag=*/false) ? GetQuoted(line) : VnString();
        if (!value.IsEmpty()) {
            ReplaceNoCase(value, L"$HOME", home);
            return Normalized(value);
        }
    }
    return {};
}

VnString VnFileSystem::GetDirectorySystem() {
    return Normalized(kSystemDirectory);
}

VnString VnFileSystem::GetDirectoryPrograms() {
    return Normalized(kSystemDirectory);
}

VnString VnFileSystem::GetDirectorySystemTemp() {
    return Normalized(kSystemTempDirectory);
}

VnString VnFileSystem::GetTempDirectory(bool useSetting, bool addUserFolder) {
    VnString path = useSetting ? GetTempSetting(addUserFolder) : VnString();
    if (path.IsEmpty()) {
        path = Below(GetDirectoryUser(), L"Temp");
        // The caller finds out about a directory that is not there at its first file.
        static_cast<void>(MakeDirectoryTree(path, /*testWrite=*/false));
    }
    return Normalized(path);
}

void VnFileSystem::SetTempDirectory(const VnString& path) {
    const VnString directory = Normalized(path);
    const bool isDefault =
        directory == GetTempDirectory(/*useSetting=*/false, /*addUserFolder=*/true);
    VnSettingsKey key(kSettingsKey);
    if (isDefault) {
        key.DeleteValue(kTempSetting);
    } else {
        key.SetString(kTempSetting, directory);
    }
}

VnString VnFileSystem::GetDirectorySkins(bool fromInstall) {
    return GetInstallOrUser(fromInstall, L"Skins");
}

VnString VnFileSystem::GetDirectoryVisualizations(bool fromInstall) {
    return GetInstallOrUser(fromInstall, L"Visualizations");
}

VnString VnFileSystem::GetDirectorySkinsFolder(const VnString& segment, bool fromInstall) {
    return Below(GetDirectorySkins(fromInstall), segment);
}

VnString VnFileSystem::GetDirectoryWorking() {
    return {};
}

VnString VnFileSystem::GetDirectoryStartMenu() {
    return {};
}

VnString VnFileSystem::GetDirectorySystemFonts() {
    return {};
}

VnString VnFileSystem::GetDirectoryIE() {
    return {};
}

VnString VnFileSystem::GetDirectorySpecialFolder(int32_t /*folder*/, bool /*create*/) {
    return {};
}

VnString VnFileSystem::GetDirectorySpecialFolderMedia(int32_t /*folder*/, bool /*create*/) {
    return {};
}

VnString VnFileSystem::GetThisModuleFilename() {
    Dl_info info{};
    if (dladdr(reinterpret_cast<const void*>(&VnFileSystem::GetThisModuleFilename), &info) == 0) {
        return {};
    }
    return VnString::FromFileSystemText(info.dli_fname);
}

VnString VnFileSystem::GetExecutableFilename() {
    std::vector<char> target(kLongestExecutable);
    const ssize_t length = readlink("/proc/self/exe", target.data(), target.size());
    return length < 0 ? VnString() : VnString::FromFileSystemText(target.data(), length);
}
