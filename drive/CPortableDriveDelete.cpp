#include "core/VnPropertyMap.h"
#include "core/VnResult.h"
#include "core/VnStringArray.h"
#include "drive/CPortableDriveGeneric.h"
#include "files/VnFileSystem.h"
#include "files/VnFilename.h"
#include "files/VnFilenameArray.h"
#include "plugin/IVnHandheldFile.h"
#include "plugin/IVnHandheldFileList.h"
#include "runtime/IVnLogManager.h"
#include "runtime/VnLog.h"
#include "runtime/VnSharedText.h"

#include <filesystem>

namespace {

constexpr uint32_t kAttributeNormal = 0x80;
constexpr int32_t kShortestPrunedPath = 3;

/// Whether nothing is left in a folder but thumbnail stores, names with a leading dot included.
/// False for a folder that cannot be read: what is in it isn't known.
bool HoldsNothing(const VnString& folder) {
    std::error_code error;
    std::filesystem::directory_iterator entry(VnStringUTF8(folder).GetBytes(), error);
    for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
        const VnString name = VnString::FromFileSystemText(entry->path().filename().c_str());
        if (!name.EqualsNoCase(L"Thumbs.db") || entry->is_directory(error)) {
            return false;
        }
    }
    return !error;
}

/// Whether `folder` (no "/" at its end) is one of `folders` (with one), in any letter case.
bool IsOneOf(const VnString& folder, const VnStringArray& folders) {
    return folders.Find(folder + L"/", /*caseFlag=*/false, /*whole=*/true) >= 0;
}

} // namespace

int32_t CPortableDriveGeneric::Delete(IVnHandheldFileList* list) {
    VnLogScope log(kLogHandheld, "CPortableDriveGeneric::Delete");
    log.Result = kResultOk;
    const VnString root = GetDriveRootFolder();
    VnStringArray protectedFolders;
    GetProtectedFolders(root, protectedFolders);
    bool anythingDeleted = false;
    for (int32_t i = 0; i < list->GetCount(); ++i) {
        IVnHandheldFile* file = list->GetItem(i);
        if (file == nullptr) {
            continue;
        }
        const VnString path = VnTakeSharedText(file->GetField(L"Filename", 0).Characters);
        if (path.IsEmpty() || !path.Contains(root) || !IsInsideDevice(path)) {
            continue;
        }
        VnFileSystem::SetFileAttributes(path, kAttributeNormal);
        if (!VnFileSystem::DeleteFile(path)) {
            continue;
        }
        VnString folder = path.Left(path.ReverseFind(L'/') + 1);
        PruneEmptyFolders(folder, protectedFolders);
        GetDatabaseMap().RemoveKey(path);
        anythingDeleted = true;
    }
    if (anythingDeleted) {
        SaveDatabase();
    }
    return kResultOk;
}

void CPortableDriveGeneric::GetProtectedFolders(const VnString& root, VnStringArray& folders) {
    for (const wchar_t* key :
         {L"AudioBasePath", L"ImageBasePath", L"VideoBasePath", L"PlaylistBasePath"}) {
        const VnString value = GetDeviceInfo().GetString(key, nullptr);
        folders.Add(JoinDevicePath(root, value, /*prefix=*/true, /*strip=*/true));
        // A value with back-slashes names a folder only once it is resolved.
        if (value.Find(L'\\') >= 0) {
            folders.Add(JoinDevicePath(root, GetBasePath(key), /*prefix=*/true, /*strip=*/true));
        }
    }
    // The root itself and what lies above it are not the device's folders.
    for (VnString above = root; above.GetLength() > 1;
         above = above.Left(above.ReverseFind(L'/') + 1)) {
        folders.Add(above);
        above.TrimRight(L'/');
    }
    folders.RemoveDuplicates();
}

void CPortableDriveGeneric::PruneEmptyFolders(VnString& path,
                                              const VnStringArray& protectedFolders) {
    if (path.IsEmpty()) {
        return;
    }
    path.RemoveSuffix(L"/");
    while (path.GetLength() >= kShortestPrunedPath) {
        if (!HoldsNothing(path) || IsOneOf(path, protectedFolders)) {
            break;
        }
        VnFileSystem::DeleteDirectoryTree(path);
        path = path.Left(path.ReverseFind(L'/'));
    }
}

void CPortableDriveGeneric::DeleteFilesNotInSync() {
    if (GetDeviceInfo().GetInt(L"DeleteFilesNotInSync", 0) == 0) {
        return;
    }
    VnFilenameArray playlists;
    ListPlaylists(playlists);
    for (const VnString& path : playlists) {
        if (IsInsideDevice(path)) {
            VnFileSystem::SetFileAttributes(path, kAttributeNormal);
            VnFileSystem::DeleteFile(path);
        }
    }
}
