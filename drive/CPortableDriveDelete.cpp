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

namespace {

constexpr uint32_t kAttributeNormal = 0x80;
constexpr int32_t kShortestPrunedPath = 3;

/// Whether `folder` (no "/" at its end) is one of `folders` (with one), in any letter case.
bool IsOneOf(const VnString& folder, const VnStringArray& folders) {
    return folders.Find(folder + L"/", /*caseFlag=*/false, /*whole=*/true) >= 0;
}

} // namespace

int32_t CPortableDriveGeneric::Delete(IVnHandheldFileList* list) {
    const VnLogScope log(kLogHandheld, "CPortableDriveGeneric::Delete");
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
        VnString folder = VnFilename(path).GetPathOnly();
        PruneEmptyFolders(folder, root, protectedFolders);
        DatabaseMap.RemoveKey(path);
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
        folders.Add(JoinDevicePath(root, GetDeviceInfo().GetString(key, nullptr), /*prefix=*/true,
                                   /*strip=*/true));
    }
    folders.RemoveDuplicates();
}

void CPortableDriveGeneric::PruneEmptyFolders(VnString& path,
                                              const VnString& root,
                                              const VnStringArray& protectedFolders) {
    if (path.IsEmpty()) {
        return;
    }
    path.RemoveSuffix(L"/");
    while (path.GetLength() >= kShortestPrunedPath) {
        if (!VnFileSystem::IsDirectoryEmpty(path, /*defaultResult=*/false, /*recursive=*/false,
                                            /*directoriesCount=*/true)) {
            break;
        }
        // The root itself and what lies above it are not the device's folders.
        if (IsOneOf(path, protectedFolders) || root.StartsWith(path + L"/", /*caseFlag=*/false)) {
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
