#pragma once

#include <cstdint>

class IVnHandheldFileList;
class IVnHandheldHost;
class IVnHandheldMenu;

/// Command codes of IVnHandheld::ProcessCommand.
enum VnHandheldCommand : int32_t {
    kCommandDelete = 1,          ///< object: files to delete
    kCommandUpload = 1025,       ///< object: list whose first item is uploaded
    kCommandSendPlaylist = 1026, ///< text: name; object: the playlist's files
    kCommandBeginSync = 1027,
    kCommandEndSync = 1028,       ///< saves the device database
    kCommandSetProperties = 1030, ///< text: property text that replaces the record
    kCommandHook = 1031,
    kCommandEject = 1032,
};

/// A device as the host sees it; made by CreatePortableDrive and destroyed by the host through the
/// virtual destructor.
///
/// Results are kResultOk or kResultFailure. The host does not overlap calls on one object; only
/// Cancel may come from another thread. A text that goes out is a buffer from the shared allocator
/// of the tools module, which the receiver frees through it. Slots are only ever appended.
class IVnHandheld {
public:
    /// Slots 0 and 1.
    virtual ~IVnHandheld() = default;
    /// Slot 2. `*text` is the device's property text in a buffer of the shared allocator (or null);
    /// it is freed, and a new buffer with the record as it now stands takes its place. The result
    /// is that of the drive's start.
    virtual int32_t Initialize(wchar_t** text) = 0;
    /// Slot 3. Bytes of the device's volume. Needs Initialize.
    virtual int32_t
    GetDriveSpace(const wchar_t* devicePath, uint64_t* total, uint64_t* available) = 0;
    /// Slot 4. Reports the files at a location of the device tree as records of `list`.
    virtual int32_t GetFiles(const wchar_t* location, IVnHandheldFileList* list) = 0;
    /// Slot 5. The names of the playlists below a location, joined with U+0001, as a new buffer in
    /// `*names`. Needs Initialize.
    virtual int32_t
    GetFolders(const wchar_t* location, wchar_t** names, int32_t* first, int32_t* second) = 0;
    /// Slot 6. Does nothing here. Needs Initialize.
    virtual int32_t GetDeviceOption(const wchar_t* name, int32_t option, wchar_t** value) = 0;
    /// Slot 7. The last error's text as a new buffer in `*text`.
    virtual int32_t GetLastErrorText(wchar_t** text) = 0;
    /// Slot 8. Fills the menu of a node (mode 0) or runs its chosen entry (mode 1). Needs
    /// Initialize.
    virtual int32_t
    HandleFolderMenu(const wchar_t* location, int32_t mode, IVnHandheldMenu* menu) = 0;
    /// Slot 9. Runs a VnHandheldCommand. `failed` (may be null) is set to 1 on a failure.
    virtual int32_t ProcessCommand(const wchar_t* text,
                                   int32_t code,
                                   IVnHandheldFileList* object,
                                   int64_t reserved,
                                   int32_t* failed) = 0;
    /// Slot 10. A running GetFiles ends at its next file. May come from any thread.
    virtual int32_t Cancel() = 0;
};

/// The plug-in's factory, exported under its plain name. `host` may be null and stays the host's.
using CreatePortableDriveFunction = IVnHandheld* (*)(IVnHandheldHost* host);
