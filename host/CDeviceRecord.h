#pragma once

#include "host/CSqlite.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// The host's own record of what its syncs put on a device, kept on the host's side in one file per
/// device.
///
/// A file on the device belongs to the host only if it stands here. Before a file is sent it is
/// noted as under way; the note is replaced in the same step that enters the file. A note that is
/// still there when a sync begins names a file that was cut short, or at worst the last one that
/// was not. An older copy that a new one is to replace is noted ahead of being moved aside, so that
/// it can be put back whenever the new one did not arrive. While an object has a device open, no
/// other process can open it.
class CDeviceRecord {
public:
    enum class Kind {
        File = 0,
        Picture = 1,
        Playlist = 2,
    };
    struct CEntry {
        Kind Type = Kind::File;
        std::string Target; ///< path on the device, absolute
        std::string Source; ///< path in the library; of a picture empty
        int64_t Size = 0;   ///< of the source in bytes; of a picture or playlist that of the target
        int64_t MTime = 0;  ///< of the source, nanoseconds
        std::string MatchKey;
        std::string ChangeKey; ///< of a playlist: the text that was written
    };
    struct CUnderWay {
        std::string Source;
        std::string Target;
        int64_t Size = 0; ///< of the source, bytes
    };
    /// An older copy that stands under another name while its replacement arrives.
    struct CAside {
        std::string Temporary;   ///< where it stands now, unless it was not moved yet
        std::string Original;    ///< its own place
        bool IsReplaced = false; ///< the new copy is entered: this one goes
    };

    CDeviceRecord() = default;
    CDeviceRecord(const CDeviceRecord&) = delete;
    CDeviceRecord& operator=(const CDeviceRecord&) = delete;
    ~CDeviceRecord();

    /// Opens or makes the record of the device with this root, a file below `folder` (with a final
    /// "/"). False, with the reason in `error`, when that fails or another process has this device.
    /// A damaged file is put aside, see CSqlite::Open.
    bool Open(const std::string& folder,
              const std::string& root,
              std::string& error,
              bool* wasDamaged = nullptr);

    /// All entries, in the order of their targets. False when they cannot be read.
    bool Load(std::vector<CEntry>& entries);

    /// Drops the entries of these targets, all or none.
    bool Remove(const std::vector<std::string>& targets);
    bool Put(const CEntry& entry);

    /// Notes a file as under way; `done` (may be null) is what the one before it has become.
    bool NoteUnderWay(const CUnderWay& note, const CEntry* done = nullptr);
    std::optional<CUnderWay> GetUnderWay();
    /// Takes the note away; with an entry, which the file has become, in the same step.
    bool EndUnderWay(const CEntry* done);

    /// Notes older copies that are about to be moved aside, all or none.
    bool NoteAside(const std::vector<CAside>& asides);
    std::vector<CAside> GetAsides();
    /// Takes the notes with these `Temporary` paths away, all or none.
    bool DropAsides(const std::vector<std::string>& temporaries);
    /// One step: the file under way has become `done`, and the older copy is replaced by it.
    bool EndReplacement(const CEntry& done, const CAside& aside);

    std::string GetError() const { return Database.GetError(); }

private:
    bool LockDevice(const std::string& path, std::string& error);
    bool RunForEach(const char* sql, const std::vector<std::string>& paths);

    CSqlite Database;
    CSqliteStatement PutStatement;
    CSqliteStatement NoteStatement;
    int LockFile = -1;
};
