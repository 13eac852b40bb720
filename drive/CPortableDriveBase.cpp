#include "drive/CPortableDriveBase.h"

#include "core/VnResult.h"
#include "core/VnStringArray.h"
#include "drive/CAlbumMap.h"
#include "files/VnFileSystem.h"
#include "plugin/CPortableDrivesImpl.h"
#include "runtime/IVnDialogService.h"
#include "runtime/IVnToolsRoot.h"
#include "runtime/VnSharedText.h"
#include "runtime/VnSiblingModules.h"
#include "runtime/VnTranslation.h"

namespace {

constexpr int32_t kMostNamesShown = 30;

} // namespace

CPortableDriveBase::CPortableDriveBase(CPortableDrivesImpl* owner)
    : Owner(owner)
    , AlbumMap(std::make_unique<CAlbumMap>()) {
}

CPortableDriveBase::~CPortableDriveBase() = default;

int32_t CPortableDriveBase::Initialize() {
    if (Owner == nullptr) {
        return kResultOk;
    }
    VnStringArray types;
    types.Split(GetDeviceInfo().GetString(L"SupportedFileTypes", nullptr), L";", /*trim=*/true);
    if (types.Find(L"*") < 0 && GetDeviceInfo().GetInt(L"IsIpod", 0) == 0) {
        Owner->GetDeviceInfo().NormalizeSupportedFileTypes(types.Join(L";"));
    }
    return kResultOk;
}

int32_t CPortableDriveBase::GetFiles(const wchar_t* location, IVnHandheldFileList* list) {
    static_cast<void>(location);
    static_cast<void>(list);
    return kResultFailure;
}

int32_t CPortableDriveBase::GetLastErrorText(wchar_t** text) {
    if (text != nullptr) {
        *text = VnCreateSharedText(ErrorText);
    }
    return kResultOk;
}

int32_t CPortableDriveBase::Cancel() {
    CancelFlag.store(true, std::memory_order_relaxed);
    return kResultOk;
}

int32_t
CPortableDriveBase::GetDriveSpace(const wchar_t* devicePath, uint64_t* total, uint64_t* available) {
    VnStringArray parts;
    parts.SplitByChar(devicePath, L'\\', /*trim=*/false, /*skipEmptyText=*/true);
    if (parts.GetCount() == 0) {
        return kResultOk;
    }
    uint64_t all = 0;
    uint64_t free = 0;
    uint64_t availableToUser = 0;
    bool readOnly = false;
    const bool known = VnFileSystem::VnStatFS(GetDriveRoot(), all, free, availableToUser, readOnly);
    if (total != nullptr) {
        *total = all;
    }
    if (available != nullptr) {
        *available = availableToUser;
    }
    return known ? kResultOk : kResultFailure;
}

int32_t CPortableDriveBase::GetDeviceOption(const wchar_t* name, int32_t option, wchar_t** value) {
    static_cast<void>(name);
    static_cast<void>(option);
    static_cast<void>(value);
    return kResultOk;
}

int32_t CPortableDriveBase::GetCapability() {
    return 0;
}

VnPropertyMap& CPortableDriveBase::GetDeviceInfo() const {
    return Owner->GetDeviceInfo();
}

IVnHandheldHost* CPortableDriveBase::GetHost() const {
    return Owner == nullptr ? nullptr : Owner->GetHost();
}

int32_t CPortableDriveBase::AddAlbum(const VnString& first,
                                     const VnString& second,
                                     const VnString& third,
                                     const VnString& fourth,
                                     int32_t id) {
    return AlbumMap->AddAlbum(first, second, third, fourth, id);
}

void CPortableDriveBase::ReleaseAlbum(const VnString& key) {
    AlbumMap->ReleaseByKey(key);
}

void CPortableDriveBase::ReleaseAlbum(int32_t id) {
    AlbumMap->ReleaseById(id);
}

void CPortableDriveBase::ReportFileErrors(const VnStringArray& names, const VnString& heading) {
    const int32_t count = names.GetCount();
    if (count == 0) {
        return;
    }
    VnString shown;
    for (int32_t i = 0; i < count && i < kMostNamesShown; ++i) {
        shown += names[i];
        shown += L"\r\n";
    }
    if (count > kMostNamesShown) {
        shown += VnTranslated(L"<too many to list>");
    }
    shown.Trim();
    const VnString text =
        VnString::Formatted(L"%s (%d %s)\n\n%s", heading, count, VnTranslated(L"files"), shown);
    IVnToolsRoot* root = VnGetToolsRoot();
    IVnDialogService* dialogs = root == nullptr ? nullptr : root->GetDialogService(1);
    if (dialogs != nullptr) {
        dialogs->ShowMessage(text, VnTranslated(L"Handheld Error"), IVnDialogService::kStyleOk,
                             IVnDialogService::kButtonOk, nullptr, nullptr, -1);
    }
}
