#include "core/VnPropertyMap.h"
#include "core/VnResult.h"
#include "core/VnStringArray.h"
#include "drive/CPortableDriveGeneric.h"
#include "files/VnFileSystem.h"
#include "files/VnFilename.h"
#include "plugin/IVnHandheld.h"
#include "plugin/IVnHandheldFileList.h"
#include "plugin/IVnHandheldHost.h"
#include "plugin/IVnHandheldMenu.h"
#include "runtime/IVnDialogService.h"
#include "runtime/IVnLogManager.h"
#include "runtime/IVnToolsRoot.h"
#include "runtime/VnLog.h"
#include "runtime/VnSiblingModules.h"
#include "runtime/VnTranslation.h"

namespace {

constexpr uint32_t kAttributeNormal = 0x80;
constexpr int32_t kTypeKeepsMountPoint = 4;

enum MenuMode : int32_t {
    kMenuFill = 0,
    kMenuRun = 1,
};

enum MenuId : int32_t {
    kMenuDeleteFolder = 102, ///< never offered here; a host may run it
    kMenuDeletePlaylist = 103,
    kMenuExplore = 105, ///< the host's to act on
    kMenuRebuildDatabase = 109,
};

void AddEntry(IVnHandheldMenu* menu, int32_t id, const wchar_t* text) {
    menu->AddEntry(id, VnTranslated(text), 0, 0, 0);
}

bool AskYesNo(const VnString& text, const wchar_t* caption) {
    IVnToolsRoot* root = VnGetToolsRoot();
    IVnDialogService* dialogs = root == nullptr ? nullptr : root->GetDialogService(1);
    // Nobody was asked: what cannot be undone is not done.
    return dialogs != nullptr
           && dialogs->ShowMessage(text, VnTranslated(caption), IVnDialogService::kStyleYesNo,
                                   IVnDialogService::kButtonYes, nullptr, nullptr, -1)
                  == IVnDialogService::kButtonYes;
}

bool FileExists(const VnString& path) {
    return VnFileSystem::FileExists(path, true);
}

} // namespace

CPortableDriveGeneric::CPortableDriveGeneric(CPortableDrivesImpl* owner)
    : CPortableDriveBase(owner) {
}

CPortableDriveGeneric::~CPortableDriveGeneric() {
    ForgetRecords();
}

int32_t
CPortableDriveBase::ProcessCommand(const wchar_t* text, int32_t code, IVnHandheldFileList* object) {
    VnLogScope log(kLogHandheld, "CPortableDriveBase::ProcessCommand");
    int32_t result = kResultOk;
    switch (code) {
    case kCommandDelete:
        result = object == nullptr ? kResultFailure : Delete(object);
        break;
    case kCommandUpload: {
        const bool hasItem = object != nullptr && object->GetCount() > 0;
        IVnHandheldFile* file = hasItem ? object->GetItem(0) : nullptr;
        result = file == nullptr ? kResultFailure : Upload(file);
        break;
    }
    case kCommandSendPlaylist: {
        const VnString name(text);
        result = object == nullptr ? kResultFailure : SendPlaylistInfo(name, object);
        log.Write("hr result %x from SendPlaylistInfo, name=%s", result, name);
        break;
    }
    case kCommandBeginSync:
        InSync = true;
        DeleteFilesNotInSync();
        break;
    case kCommandEndSync:
        SyncDone = SyncDone || InSync;
        SaveDatabase();
        InSync = false;
        break;
    case kCommandHook:
        OnCommandHook();
        break;
    default:
        break;
    }
    log.Result = result;
    return result;
}

void CPortableDriveGeneric::OnCommandHook() {
}

VnString CPortableDriveGeneric::GetDisplayName() {
    VnPropertyMap& info = GetDeviceInfo();
    VnString name = info.GetString(L"DisplayName", nullptr);
    if (info.GetInt(L"IsDrive", 0) == 0 || name.IsEmpty()
        || info.GetInt(L"DeviceType", -1) == kTypeKeepsMountPoint) {
        return name;
    }
    if (const int32_t mark = name.Find(L"(/media/"); mark > 0) {
        if (const int32_t end = name.Find(L')', mark); end > 0) {
            name.Remove(mark, end + 1 - mark);
        }
        name.Trim();
    }
    name.AppendFormat(L" (%s)", info.GetString(L"DriveLetter", nullptr));
    return name;
}

int32_t CPortableDriveGeneric::HandleFolderMenu(const wchar_t* location,
                                                int32_t mode,
                                                IVnHandheldMenu* menu) {
    if (menu == nullptr) {
        return kResultOk;
    }
    const VnString uncut(location);
    VnString node(uncut);
    node.TrimRight(L'/');
    VnStringArray pieces;
    const int32_t depth = pieces.Split(uncut, L"/", /*trim=*/false, /*skipEmptyText=*/true);
    VnString folder(node);
    folder.Replace(GetDisplayName(), GetDriveRoot());
    if (mode == kMenuFill) {
        FillMenu(node, depth, folder, menu);
    } else if (mode == kMenuRun) {
        RunMenu(node, folder, menu->ChosenId);
    }
    return kResultOk;
}

VnString CPortableDriveGeneric::GetPlaylistOfNode(const VnString& location) {
    VnString base = GetPlaylistBasePath();
    base.TrimRight(L'/');
    VnString path(location);
    path.Replace(GetDisplayName(), base);
    return path;
}

void CPortableDriveGeneric::FillMenu(const VnString& location,
                                     int32_t depth,
                                     const VnString& folder,
                                     IVnHandheldMenu* menu) {
    if (depth == 1) {
        AddEntry(menu, kMenuExplore, L"Explore");
        AddEntry(menu, kMenuRebuildDatabase, L"Rebuild Database");
    } else if (depth > 1) {
        if (VnFileSystem::DirectoryExists(folder)) {
            AddEntry(menu, kMenuExplore, L"Explore");
            return;
        }
        const VnString playlist = GetPlaylistOfNode(location);
        if (FileExists(playlist + L".m3u") || FileExists(playlist + L".asx")) {
            AddEntry(menu, kMenuDeletePlaylist, L"Delete Playlist");
        }
    }
}

void CPortableDriveGeneric::RunMenu(const VnString& location, const VnString& folder, int32_t id) {
    IVnHandheldHost* host = GetHost();
    if (id == kMenuRebuildDatabase) {
        RebuildDatabase();
        return;
    }
    if (id == kMenuDeleteFolder) {
        const VnString question =
            VnTranslated(L"Are you sure you want to delete this folder and all subfolders?");
        const bool isWithinRoot =
            MayWrite(folder) && !GetDriveRootFolder().StartsWith(folder + L"/");
        if (AskYesNo(question, L"Confirm Delete") && isWithinRoot) {
            VnFileSystem::DeleteDirectoryTree(folder);
        }
    } else if (id == kMenuDeletePlaylist) {
        const VnString playlist = GetPlaylistOfNode(location);
        const VnString path = playlist + (FileExists(playlist + L".asx") ? L".asx" : L".m3u");
        if (IsInsideDevice(path)) {
            VnFileSystem::DeleteFile(path);
        }
    } else {
        return;
    }
    if (host != nullptr) {
        host->OnContentsChanged();
    }
}

void CPortableDriveGeneric::RebuildDatabase() {
    const VnString question =
        VnTranslated(
            L"Rebuilding the database on your handheld player may take several minutes.\r\n\r\n")
        + VnTranslated(L"Are you sure you want to continue?");
    if (!AskYesNo(question, L"Confirm Rebuild Database")) {
        return;
    }
    const VnString path = GetDatabasePath();
    if (IsInsideDevice(path)) {
        VnFileSystem::SetFileAttributes(path, kAttributeNormal);
        VnFileSystem::DeleteFile(path);
    }
    if (IVnHandheldHost* host = GetHost(); host != nullptr) {
        host->OnDatabaseRemoved();
    }
}
