#pragma once

#include "core/VnString.h"

#include <atomic>
#include <cstdint>
#include <memory>

class CAlbumMap;
class CPortableDrivesImpl;
class IVnHandheldFile;
class IVnHandheldFileList;
class IVnHandheldHost;
class IVnHandheldMenu;
class VnPropertyMap;
class VnStringArray;

/// What a drive does whatever way its device stores files: base paths, the copy loop, the dispatch
/// of commands.
///
/// Settings come from the owner's record at each use and are never kept, so a new record counts at
/// once. No lock: the host does not overlap calls, but Cancel may come from any thread. Results are
/// kResultOk or kResultFailure. Path texts of folders end in one "/"; slots are only ever appended.
class CPortableDriveBase {
public:
    /// `owner` outlives the drive; a drive without one has no settings, and only Initialize, Cancel
    /// and GetHost work.
    explicit CPortableDriveBase(CPortableDrivesImpl* owner);
    CPortableDriveBase(const CPortableDriveBase&) = delete;
    CPortableDriveBase& operator=(const CPortableDriveBase&) = delete;

    // Slots in order.

    virtual ~CPortableDriveBase();
    /// Normalises SupportedFileTypes unless it lists "*" or the device is of the IsIpod kind.
    virtual int32_t Initialize();
    virtual int32_t GetFiles(const wchar_t* location, IVnHandheldFileList* list);
    virtual int32_t
    GetFolders(const wchar_t* location, wchar_t** names, int32_t* first, int32_t* second) = 0;
    virtual int32_t
    HandleFolderMenu(const wchar_t* location, int32_t mode, IVnHandheldMenu* menu) = 0;
    /// Runs a VnHandheldCommand; unknown codes do nothing and give 0.
    virtual int32_t ProcessCommand(const wchar_t* text, int32_t code, IVnHandheldFileList* object);
    /// The error text in a new buffer of the shared allocator.
    virtual int32_t GetLastErrorText(wchar_t** text);
    virtual int32_t Cancel();
    virtual int32_t Delete(IVnHandheldFileList* list) = 0;
    virtual int32_t Upload(IVnHandheldFile* file) = 0;
    virtual int32_t SendPlaylistInfo(const VnString& name, IVnHandheldFileList* list) = 0;
    virtual void DeleteFilesNotInSync() = 0;
    /// kCommandHook.
    virtual void OnCommandHook() = 0;
    /// What ends a sync: saves what the drive knows of the device.
    virtual void SaveDatabase() = 0;
    /// Bytes of the device's volume, and those free to an ordinary user. Both are written, 0 on
    /// failure, unless `devicePath` has no parts.
    virtual int32_t GetDriveSpace(const wchar_t* devicePath, uint64_t* total, uint64_t* available);
    virtual int32_t GetDeviceOption(const wchar_t* name, int32_t option, wchar_t** value);
    virtual bool GetSearchEntireDevice();
    /// DrivePath, or DriveLetter when that is missing; as the host wrote it.
    virtual VnString GetDriveRoot();
    virtual VnString GetRootBasePath();
    virtual VnString GetAudioBasePath();
    virtual VnString GetFilenameRule();
    virtual VnString GetImageBasePath();
    virtual VnString GetVideoBasePath();
    /// Empty for a device that takes no playlists.
    virtual VnString GetPlaylistBasePath();
    virtual VnString GetDataBasePath();
    virtual VnString GetDatabaseBasePath();
    virtual VnString GetAudibleBasePath();
    /// A further question that a derived class may answer; 0 here.
    virtual int32_t GetCapability();

    // Operations without a slot

    /// The owner's record.
    VnPropertyMap& GetDeviceInfo() const;
    /// Null when there is no owner or it has none.
    IVnHandheldHost* GetHost() const;
    bool IsCancelled() const { return CancelFlag.load(std::memory_order_relaxed); }
    bool IsSyncDone() const { return SyncDone; }

    /// The folder that a property names: "ROOT" pieces and back-slashes resolved, the device root
    /// ahead of it unless the device is of type 2. Expressions in it pass through. Empty for
    /// "NO_PLAYLISTS".
    VnString GetBasePath(const wchar_t* key);
    /// The folder for a library file by its media type, with the host's expressions worked out.
    VnString GetBasePathFromFile(IVnHandheldFile* file);
    /// `path` with the device root ahead of it unless it is there already (`prefix`), cut ahead of
    /// the first segment that holds an expression in brackets (`strip`).
    static VnString
    JoinDevicePath(const VnString& root, const VnString& path, bool prefix, bool strip);
    static bool IsAudibleFile(const VnString& path);
    /// The text that must stand ahead of every path on the device: the drive root with one "/" at
    /// its end.
    VnString GetDriveRootFolder();
    /// Whether a path still lies below the device root when the links of its folders are followed.
    /// Folders that do not exist yet count as plain. False for a device without a root, or whose
    /// root is not there. A path that is itself a link is judged by its folder, as fits its
    /// deletion.
    bool IsInsideDevice(const VnString& path);
    /// Whether a file may be written at a path: inside the device, and not through a link.
    bool MayWrite(const VnString& path);
    /// Whether the path itself is a link, wherever it leads.
    static bool IsLink(const VnString& path);
    /// Whether a file that can be read to its end stands there: no folder, no pipe, no device node.
    static bool IsPlainFile(const VnString& path);

    /// Copies `source` (anything the reader module reads) to `target`, which takes a free name
    /// first and comes back with it. Chunks follow the device's speed; the host hears of each and
    /// may cancel. False leaves no file behind.
    bool TransferFile(const VnString& source, VnString& target);

    // Facilities for drive classes that keep data per album or report errors per file

    /// CAlbumMap::AddAlbum, ReleaseByKey and ReleaseById on the drive's map.
    int32_t AddAlbum(const VnString& first,
                     const VnString& second,
                     const VnString& third,
                     const VnString& fourth,
                     int32_t id);
    void ReleaseAlbum(const VnString& key);
    void ReleaseAlbum(int32_t id);
    /// Shows the first 30 names under a heading in a message box; nothing for an empty list.
    static void ReportFileErrors(const VnStringArray& names, const VnString& heading);

private:
    class CTransfer;

    CPortableDrivesImpl* Owner; ///< not owned
    VnString ErrorText;         ///< nothing sets it here
    double ChunkSize = 65536.0; ///< bytes of the next read of a transfer, carried from file to file
    std::atomic<bool> CancelFlag{false}; ///< set by Cancel, never cleared
    bool SyncDone = false;               ///< a sync has ended on this drive
    bool InSync = false;                 ///< between the commands that begin and end a sync
    std::unique_ptr<CAlbumMap> AlbumMap;
};
