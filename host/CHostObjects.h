#pragma once

#include "host/CMediaFields.h"
#include "plugin/IVnHandheldFile.h"
#include "plugin/IVnHandheldFileList.h"
#include "plugin/IVnHandheldHost.h"
#include "plugin/IVnHandheldMenu.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

class CCoverArt;
class CTargetPaths;
struct CLibraryItem;

// The objects that the host hands to the drive.

/// The host object of one device: what the drive tells of its own accord.
class CHandheldHost final : public IVnHandheldHost {
public:
    /// Bytes of the file under way, done and in all; true cancels the transfer. May be empty.
    std::function<bool(int64_t done, int64_t all)> Progress;
    bool ContentsChanged = false; ///< set by the drive
    bool DatabaseRemoved = false; ///< set by the drive

    void OnContentsChanged() override { ContentsChanged = true; }
    void OnDatabaseRemoved() override { DatabaseRemoved = true; }
    void OnProgress(int64_t bytesDone, int64_t bytesInAll, bool* cancel) override;
};

/// A file on the device: a record that a scan fills, or the name of a file to delete.
class CHandheldRecord final : public IVnHandheldFile {
public:
    CMediaFields Fields;

    VnHandheldText GetField(const wchar_t* name, int32_t flag) override;
    VnHandheldText GetLibraryPath() override;
    VnHandheldText Evaluate(const wchar_t* expression, int32_t flag) override;
    VnHandheldText GetSourcePath() override;
    VnHandheldText GetCoverArtPath(int32_t reserved) override;
    void SetField(const wchar_t* name, const wchar_t* value) override;
    VnHandheldText GetFieldList(int32_t flag) override;
};

/// A library file on its way to the device.
class CHandheldUpload final : public IVnHandheldFile {
public:
    /// All arguments must outlive the object; `covers` may be null, then there is no picture.
    /// `name` is the answer to the device's name expression, chosen by CTargetPaths; `picturePath`
    /// is where the drive would put the picture.
    CHandheldUpload(const CLibraryItem& item,
                    CTargetPaths& paths,
                    CCoverArt* covers,
                    std::wstring name,
                    std::function<bool()> mayHavePicture);

    /// The path on the device, once the drive has told it; empty before.
    const std::wstring& GetDevicePath() const { return DevicePath; }

    VnHandheldText GetField(const wchar_t* name, int32_t flag) override;
    VnHandheldText GetLibraryPath() override;
    VnHandheldText Evaluate(const wchar_t* expression, int32_t flag) override;
    VnHandheldText GetSourcePath() override;
    VnHandheldText GetCoverArtPath(int32_t reserved) override;
    void SetField(const wchar_t* name, const wchar_t* value) override;
    VnHandheldText GetFieldList(int32_t flag) override;

private:
    const CLibraryItem& Item;
    CTargetPaths& Paths;
    CCoverArt* Covers;
    std::wstring Name;
    std::function<bool()> MayHavePicture;
    std::wstring DevicePath;
    CMediaFields Changed; ///< what the drive has set
};

/// A list that the drive reads: files to delete or to send, or the files of a playlist.
class CHandheldList final : public IVnHandheldFileList {
public:
    std::vector<IVnHandheldFile*> Items; ///< owned by the caller
    /// Writes the list as a playlist at a path; true on success. May be empty: then that fails.
    std::function<bool(const std::wstring& path)> Writer;

    int32_t GetCount() override { return static_cast<int32_t>(Items.size()); }
    IVnHandheldFile* GetItem(int32_t index) override;
    IVnHandheldFile* CreateRecord() override { return nullptr; }
    VnHandheldText GetFieldList(int32_t flag) override;
    int32_t WritePlaylist(const wchar_t* path, const wchar_t* kind) override;
};

/// The list that a scan fills. It keeps one record at a time and passes each on when the next one
/// begins, so that a device of any size needs no memory here; Finish passes on the last.
class CHandheldScanList final : public IVnHandheldFileList {
public:
    /// `sink` gets each whole record; `beforeRecord` (may be empty) runs ahead of each, and is the
    /// place to cancel.
    explicit CHandheldScanList(std::function<void(const CMediaFields&)> sink,
                               std::function<void()> beforeRecord = {});

    void Finish();

    int32_t GetCount() override { return Count; }
    IVnHandheldFile* GetItem(int32_t) override { return nullptr; }
    IVnHandheldFile* CreateRecord() override;
    VnHandheldText GetFieldList(int32_t flag) override;
    int32_t WritePlaylist(const wchar_t*, const wchar_t*) override { return 0; }

private:
    std::function<void(const CMediaFields&)> Sink;
    std::function<void()> BeforeRecord;
    CHandheldRecord Record;
    int32_t Count = 0;
    bool IsOpen = false;
};

/// The menu of a node of the device.
class CHandheldMenu final : public IVnHandheldMenu {
public:
    struct CEntry {
        int32_t Id = 0;
        std::wstring Text;
    };
    std::vector<CEntry> Entries;

    void AddEntry(int32_t commandId,
                  const wchar_t* text,
                  int32_t first,
                  int32_t second,
                  int32_t third) override;
};
