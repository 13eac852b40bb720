#pragma once

#include "plugin/CDeviceInfo.h"
#include "plugin/IVnHandheld.h"

#include <cstdint>

class CPortableDriveBase;

/// Owner of the drive: the pointer, and beside it how it is owned.
class CDriveHolder {
public:
    CDriveHolder() = default;
    CDriveHolder(const CDriveHolder&) = delete;
    CDriveHolder& operator=(const CDriveHolder&) = delete;
    ~CDriveHolder() { Reset(nullptr); }

    CPortableDriveBase* Get() const { return Drive; }
    CPortableDriveBase* operator->() const { return Drive; }
    explicit operator bool() const { return Drive != nullptr; }
    /// Destroys the present drive and owns `drive` (null: none) from now on.
    void Reset(CPortableDriveBase* drive);

private:
    CPortableDriveBase* Drive = nullptr;
    [[maybe_unused]] int32_t Ownership = 1; ///< 1: one object, owned
};

/// The handheld object that the host holds for one device: owner of its property record and of the
/// drive, to which almost every call is forwarded.
///
/// Initialize may run again, and replaces record and drive. The drive reads the record at each use,
/// so a record that kCommandSetProperties replaces counts at once. No lock; see IVnHandheld for the
/// calling rules.
class CPortableDrivesImpl final : public IVnHandheld {
public:
    /// Fills the record with its defaults and loads the tools module; the object works without it
    /// as far as it can. `host` may be null; not owned.
    explicit CPortableDrivesImpl(IVnHandheldHost* host);
    CPortableDrivesImpl(const CPortableDrivesImpl&) = delete;
    CPortableDrivesImpl& operator=(const CPortableDrivesImpl&) = delete;
    /// Handles EjectMode, then destroys the drive and the record.
    ~CPortableDrivesImpl() override;

    int32_t Initialize(wchar_t** text) override;
    int32_t GetDriveSpace(const wchar_t* devicePath, uint64_t* total, uint64_t* available) override;
    int32_t GetFiles(const wchar_t* location, IVnHandheldFileList* list) override;
    int32_t
    GetFolders(const wchar_t* location, wchar_t** names, int32_t* first, int32_t* second) override;
    int32_t GetDeviceOption(const wchar_t* name, int32_t option, wchar_t** value) override;
    int32_t GetLastErrorText(wchar_t** text) override;
    int32_t HandleFolderMenu(const wchar_t* location, int32_t mode, IVnHandheldMenu* menu) override;
    int32_t ProcessCommand(const wchar_t* text,
                           int32_t code,
                           IVnHandheldFileList* object,
                           int64_t reserved,
                           int32_t* failed) override;
    int32_t Cancel() override;

    /// The record; the drive reads and changes it through this.
    CDeviceInfo& GetDeviceInfo() { return DeviceInfo; }
    /// Null when the host gave none.
    IVnHandheldHost* GetHost() const { return Host; }

private:
    void LoadRecord(const wchar_t* text);
    VnString GetDeviceRoot();
    void RequestEject();

    IVnHandheldHost* Host; ///< not owned
    CDriveHolder Drive;    ///< empty until Initialize
    CDeviceInfo DeviceInfo;
};
