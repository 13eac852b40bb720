#include "core/VnPropertyMap.h"
#include "core/VnStringArray.h"
#include "drive/CPortableDriveBase.h"
#include "files/VnFilename.h"
#include "plugin/IVnHandheldFile.h"
#include "runtime/IVnLogManager.h"
#include "runtime/VnLog.h"
#include "runtime/VnSharedText.h"

#include <filesystem>

namespace {

/// A device of this type takes paths without its root.
constexpr int32_t kTypeRelativePaths = 2;

} // namespace

bool CPortableDriveBase::GetSearchEntireDevice() {
    return GetDeviceInfo().GetInt(L"SearchEntireDevice", 0) != 0;
}

VnString CPortableDriveBase::GetDriveRoot() {
    VnPropertyMap& info = GetDeviceInfo();
    return info.GetString(L"DrivePath", info.GetString(L"DriveLetter", nullptr));
}

VnString CPortableDriveBase::GetRootBasePath() {
    return GetBasePath(L"RootBasePath");
}

VnString CPortableDriveBase::GetAudioBasePath() {
    return GetBasePath(L"AudioBasePath");
}

VnString CPortableDriveBase::GetFilenameRule() {
    return GetDeviceInfo().GetString(L"FilenameRule", nullptr);
}

VnString CPortableDriveBase::GetImageBasePath() {
    return GetBasePath(L"ImageBasePath");
}

VnString CPortableDriveBase::GetVideoBasePath() {
    return GetBasePath(L"VideoBasePath");
}

VnString CPortableDriveBase::GetPlaylistBasePath() {
    return GetBasePath(L"PlaylistBasePath");
}

VnString CPortableDriveBase::GetDataBasePath() {
    return GetBasePath(L"DataBasePath");
}

VnString CPortableDriveBase::GetDatabaseBasePath() {
    return GetBasePath(L"DatabaseBasePath");
}

VnString CPortableDriveBase::GetAudibleBasePath() {
    return GetBasePath(L"AudibleBasePath");
}

VnString CPortableDriveBase::GetBasePath(const wchar_t* key) {
    const VnString value = GetDeviceInfo().GetString(key, nullptr);
    if (VnString(key) == L"PlaylistBasePath" && value.StartsWith(L"NO_PLAYLISTS")) {
        return VnString();
    }
    VnStringArray pieces;
    pieces.SplitByChar(value, L'\\');
    if (const int32_t root = pieces.Find(L"ROOT", /*caseFlag=*/false, /*whole=*/true); root >= 0) {
        pieces.RemoveAt(root);
    }
    VnString path = pieces.Join(L"/");
    if (GetDeviceInfo().GetInt(L"DeviceType", -1) != kTypeRelativePaths) {
        path = GetDriveRootFolder() + path;
    }
    path.EnsureTrailing(L'/');
    return path;
}

VnString CPortableDriveBase::GetDriveRootFolder() {
    VnString root = GetDriveRoot();
    root.EnsureTrailing(L'/');
    return root;
}

VnString CPortableDriveBase::GetBasePathFromFile(IVnHandheldFile* file) {
    const VnLogScope log(kLogHandheld, "CPortableDriveBase::GetBasePathFromFile");
    const VnString mediaType = VnTakeSharedText(file->GetField(L"Media Type", 0).Characters);
    VnString path;
    if (mediaType == L"Audio") {
        const VnString libraryPath = VnTakeSharedText(file->GetLibraryPath().Characters);
        path = IsAudibleFile(libraryPath) ? GetAudibleBasePath() : GetAudioBasePath();
    } else if (mediaType == L"Video") {
        path = GetVideoBasePath();
    } else if (mediaType == L"Image") {
        path = GetImageBasePath();
    } else {
        path = GetDataBasePath();
    }
    path = VnTakeSharedText(file->Evaluate(path, 1).Characters);
    path.EnsureTrailing(L'/');
    return path;
}

VnString CPortableDriveBase::JoinDevicePath(const VnString& root,
                                            const VnString& path,
                                            bool prefix,
                                            bool strip) {
    VnString result(path);
    if (prefix && !root.IsEmpty() && !path.StartsWith(root, /*caseFlag=*/false)) {
        VnString tail(path);
        tail.TrimLeft(L'/');
        result = root;
        result.EnsureTrailing(L'/');
        result += tail;
    }
    if (strip) {
        VnStringArray pieces;
        pieces.SplitByChar(result, L'/');
        int32_t kept = 0;
        while (kept < pieces.GetCount()
               && (pieces[kept].Find(L'[') < 0 || pieces[kept].Find(L']') < 0)) {
            ++kept;
        }
        const bool absolute = result.StartsWith(L'/');
        pieces.SetSize(kept);
        result = pieces.Join(L"/");
        if (absolute && result.IsEmpty()) {
            result = L"/";
        }
    }
    result.EnsureTrailing(L'/');
    return result;
}

bool CPortableDriveBase::IsAudibleFile(const VnString& path) {
    return path.GetLength() >= 4 && path.EndsWith(L".aa", /*caseFlag=*/false);
}

bool CPortableDriveBase::IsInsideDevice(const VnString& path) {
    const VnString root = GetDriveRootFolder();
    VnString realRoot = root.IsEmpty() ? VnString() : VnFilename::GetRealPath(root);
    if (realRoot.IsEmpty()) {
        return false;
    }
    realRoot.EnsureTrailing(L'/');
    const VnString rest = L"/" + (path.StartsWith(root) ? path.Mid(root.GetLength()) : path);
    if (rest.Contains(L"/../")) {
        return false; // a folder that is made on the way could climb out of the root
    }
    for (int32_t slash = path.ReverseFind(L'/'); slash >= 0;
         slash = path.Left(slash).ReverseFind(L'/')) {
        VnString real = VnFilename::GetRealPath(slash == 0 ? VnString(L"/") : path.Left(slash));
        if (!real.IsEmpty()) {
            real.EnsureTrailing(L'/');
            return real.StartsWith(realRoot);
        }
    }
    return false;
}

bool CPortableDriveBase::IsLink(const VnString& path) {
    std::error_code error;
    return std::filesystem::is_symlink(
        std::filesystem::symlink_status(VnStringUTF8(path).GetBytes(), error));
}

bool CPortableDriveBase::IsPlainFile(const VnString& path) {
    std::error_code error;
    return std::filesystem::is_regular_file(VnStringUTF8(path).GetBytes(), error);
}

bool CPortableDriveBase::MayWrite(const VnString& path) {
    std::error_code error;
    const auto status = std::filesystem::symlink_status(VnStringUTF8(path).GetBytes(), error);
    // A link leads elsewhere, and a pipe would block for good.
    const bool isFree = !std::filesystem::exists(status) || std::filesystem::is_regular_file(status)
                        || std::filesystem::is_directory(status);
    return isFree && IsInsideDevice(path);
}
