#include "plugin/CPortableDrivesImpl.h"

#include "core/VnResult.h"
#include "drive/CPortableDriveGeneric.h"
#include "runtime/IVnLogManager.h"
#include "runtime/VnLog.h"
#include "runtime/VnSharedText.h"
#include "runtime/VnSiblingModules.h"

namespace {

constexpr int32_t kEjectAlways = 1;
constexpr int32_t kEjectAfterSync = 2;

void SetFlag(int32_t* flag) {
    if (flag != nullptr) {
        *flag = 1;
    }
}

} // namespace

void CDriveHolder::Reset(CPortableDriveBase* drive) {
    delete Drive;
    Drive = drive;
}

CPortableDrivesImpl::CPortableDrivesImpl(IVnHandheldHost* host) : Host(host) {
    DeviceInfo.SetDefaults();
    VnStringGlobals::Get().RebuildTables(true);
    VnLoadTools(L"", /*report=*/true, /*exitOnFailure=*/false);
}

CPortableDrivesImpl::~CPortableDrivesImpl() {
    const int32_t mode = DeviceInfo.GetInt(L"EjectMode", 0);
    if (mode == kEjectAlways || (mode == kEjectAfterSync && Drive && Drive->IsSyncDone())) {
        RequestEject();
    }
    Drive.Reset(nullptr);
}

int32_t CPortableDrivesImpl::Initialize(wchar_t** text) {
    VnLogScope log(kLogHandheld, "CPortableDrivesImpl::Initialize");
    log.Write("Loading device information");
    wchar_t* const given = text == nullptr ? nullptr : *text;
    LoadRecord(given);
    DeviceInfo.SetString(L"SupportsEject", GetDeviceRoot().IsEmpty() ? L"0" : L"1", false);

    log.Write("Creating device object");
    Drive.Reset(new CPortableDriveGeneric(this));

    log.Write("Initializing device");
    const int32_t result = Drive->Initialize();
    log.Result = result;

    log.Write("Saving results");
    if (text != nullptr) {
        VnString record;
        DeviceInfo.Serialize(record, true);
        VnFreeSharedText(given);
        *text = VnCreateSharedText(record);
    }
    return result;
}

int32_t CPortableDrivesImpl::GetDriveSpace(const wchar_t* devicePath,
                                           uint64_t* total,
                                           uint64_t* available) {
    return Drive->GetDriveSpace(devicePath, total, available);
}

int32_t CPortableDrivesImpl::GetFiles(const wchar_t* location, IVnHandheldFileList* list) {
    return Drive ? Drive->GetFiles(location, list) : kResultFailure;
}

int32_t CPortableDrivesImpl::GetFolders(const wchar_t* location,
                                        wchar_t** names,
                                        int32_t* first,
                                        int32_t* second) {
    return Drive->GetFolders(location, names, first, second);
}

int32_t CPortableDrivesImpl::GetDeviceOption(const wchar_t* name, int32_t option, wchar_t** value) {
    return Drive->GetDeviceOption(name, option, value);
}

int32_t CPortableDrivesImpl::GetLastErrorText(wchar_t** text) {
    return Drive ? Drive->GetLastErrorText(text) : kResultFailure;
}

int32_t CPortableDrivesImpl::HandleFolderMenu(const wchar_t* location,
                                              int32_t mode,
                                              IVnHandheldMenu* menu) {
    return Drive->HandleFolderMenu(location, mode, menu);
}

int32_t CPortableDrivesImpl::ProcessCommand(const wchar_t* text,
                                            int32_t code,
                                            IVnHandheldFileList* object,
                                            int64_t reserved,
                                            int32_t* failed) {
    static_cast<void>(reserved);
    if (code == kCommandSetProperties) {
        LoadRecord(text);
        return kResultOk;
    }
    if (code == kCommandEject
        && (!GetDeviceRoot().IsEmpty() || DeviceInfo.GetInt(L"IsIPhone", 0) != 0)) {
        RequestEject();
        return kResultOk;
    }
    if (!Drive) {
        SetFlag(failed);
        return kResultOk;
    }
    const int32_t result = Drive->ProcessCommand(text, code, object);
    if (result != kResultOk) {
        SetFlag(failed);
    }
    return result;
}

int32_t CPortableDrivesImpl::Cancel() {
    return Drive ? Drive->Cancel() : kResultOk;
}

void CPortableDrivesImpl::LoadRecord(const wchar_t* text) {
    DeviceInfo.Clear();
    int32_t position = 0;
    DeviceInfo.DeserializeAt(text, position);
}

VnString CPortableDrivesImpl::GetDeviceRoot() {
    return DeviceInfo.GetString(L"DrivePath", DeviceInfo.GetString(L"DriveLetter", nullptr));
}

void CPortableDrivesImpl::RequestEject() {
    // Unmounting is the desktop's work on this platform: SupportsEject told the host where the
    // device is, and no further call is made from here.
}
