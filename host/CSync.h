#pragma once

#include "host/CCoverArt.h"
#include "host/CDeviceRecord.h"
#include "host/CLibrary.h"
#include "host/CPlaylistWriter.h"
#include "host/CSession.h"
#include "host/CSyncPlanner.h"
#include "host/CSyncReport.h"
#include "host/CTargetPaths.h"

#include <sys/types.h>

#include <chrono>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

/// What the user asks of a sync.
struct CSyncOptions {
    std::vector<std::string> Libraries; ///< folders
    std::string Device;
    std::vector<std::string> Playlists; ///< m3u or m3u8 files of the library
    std::vector<std::string> Settings;  ///< "KEY=VALUE" for the device's properties
    DeleteMode Delete = DeleteMode::None;
    bool IsDryRun = false;
};

/// Makes a device hold what a library holds.
///
/// The steps are those of the drive's contract: start, space, scan, begin, delete, upload each
/// file, playlists, end. Around them the host reads the library, compares, makes sure of the space
/// and of the fence around the device, and keeps its own record. A file that fails is named and the
/// rest goes on; a device that is gone or full ends the sync.
///
/// An older copy stays until the new one has arrived: it is noted, moved aside, and deleted or put
/// back, by the next sync if this one comes to no end. Only when the device cannot hold both does
/// it go ahead of the new one.
class CSync {
public:
    CSync(CSyncOptions options, CConsole& console);

    /// Runs the sync once and prints the report. The result is the exit code.
    ExitCode Run();

    const CSyncReport& GetReport() const { return Report; }

private:
    struct CPlaylist {
        std::string Source; ///< the list's path in the library
        std::vector<const CLibraryItem*> Items;
    };
    struct CJob {
        CSyncPlan::CSend Send;
        CTargetPaths::CTarget Target;
    };

    // The flow: CSync.cpp. Each step gives kExitDone, or the code to end with.

    ExitCode RunSteps();
    ExitCode Prepare();
    /// Makes sure that no library lies on the device; the device may lie in a library.
    ExitCode CheckLibraries();
    ExitCode OpenRecord();
    ExitCode DivertDatabase();
    ExitCode ReadLibrary();
    void ReadPlaylists();
    ExitCode StartDevice();
    ExitCode ScanDevice();
    ExitCode MakePlan();
    void MakeJobs();
    ExitCode CheckSpace();
    void DescribePlan();
    ExitCode Execute();
    /// Whether the drive is to be told of a sync even if nothing is to be changed.
    bool IsSyncWanted() const;
    /// Tells the drive of the sync, once, ahead of the first change: its end saves the database.
    void BeginSync();
    ExitCode EndSync(ExitCode code);
    void FillKeys(CSyncPlanner::CInput& input) const;

    // Deleting and sending: CSyncSend.cpp

    void RecoverUnderWay();
    bool MayDelete(const std::string& path);
    void DeleteFiles();
    ExitCode SendFiles();
    void SendFile(const CJob& job, size_t number);
    /// The tests ahead of a file, and its note as under way. False, named as failed, when it must
    /// not be sent.
    bool MaySend(const CJob& job, const std::string& target);
    /// Names a file that did not arrive, and leaves nothing of it.
    void GiveUp(const CJob& job, const std::string& path, const std::string& cause);
    /// Why a file could not be sent, as far as the system tells; notes a device that is full.
    std::string FindCause(const CLibraryItem& item);
    void NotePicture(const std::string& path);
    /// Whether the device cannot hold `bytes` more.
    bool LacksSpace(int64_t bytes);

    // Older copies: CSyncReplace.cpp

    /// Puts back, or takes away, what an earlier sync left moved aside.
    void RecoverAsides(const std::vector<CDeviceRecord::CAside>& asides);
    /// Takes the records of the files that are to be replaced out of the drive's database. The
    /// files stay. The drive drops a record only along with a file, and keeps the old record of a
    /// file that comes anew.
    void DropOldRecords();
    /// Readies the older copy of a job, if it has one: tests the source, and moves the copy out of
    /// the way. False, named as failed, when the file must not be sent.
    bool SetAside(const CJob& job);
    /// The reason why a source cannot be sent as it was read; empty when it can.
    static std::string TestSource(const CLibraryItem& item);
    CDeviceRecord::CAside MakeAside(const std::string& original) const;
    bool MoveAside(const CDeviceRecord::CAside& aside);
    /// Moves an older copy to its place again; true when nothing is left aside.
    bool PutBack(const CDeviceRecord::CAside& aside);
    void PutBackAside();
    /// Enters the new copy and takes the older one away.
    void EndReplacement(const CDeviceRecord::CEntry& entry);
    void PruneFolder(const std::string& path);
    /// Surely not there; a path that the system cannot look at is neither this nor Exists.
    static bool IsGone(const std::string& path);
    static bool Exists(const std::string& path);

    // Playlists: CSyncPlaylists.cpp

    void SendPlaylists();
    void SendPlaylist(const CPlaylist& playlist);
    std::vector<CPlaylistWriter::CEntry> MakeEntries(const CPlaylist& playlist,
                                                     bool relative) const;
    void DeleteLostPlaylists();
    const CDeviceRecord::CEntry* FindRecord(CDeviceRecord::Kind kind,
                                            const std::string& target) const;

    ExitCode Fail(ExitCode code, const std::string& text);
    void AddFailure(const std::string& path, const std::string& reason);
    void AddSkipped(const std::string& path, const std::string& reason);
    std::string Relative(const std::string& path) const;
    void RecordFailed();

    CSyncOptions Options;
    CConsole& Console;
    CSession Session;
    CLibrary Library;
    CDeviceRecord Record;
    std::string DataFolder;
    CSyncReport Report;
    std::chrono::steady_clock::time_point Start;

    std::vector<CPlaylist> Playlists;
    CSyncPlanner::CInput Input;
    std::unordered_map<std::string, const CDeviceRecord::CEntry*> RecordsByTarget; ///< of Input
    CSyncPlan Plan;
    std::unique_ptr<CTargetPaths> Paths;
    std::unique_ptr<CCoverArt> Covers;
    std::vector<CJob> Jobs;
    std::unordered_set<std::string> Going; ///< device paths that the sync deletes
    std::string Replaced; ///< older copy whose place the file at hand may take, while jobs are made
    std::set<std::pair<dev_t, ino_t>>
        LibraryRoots; ///< of libraries that the device does not lie in
    std::unordered_map<std::string, bool> LibraryFolders; ///< device folders: in a library or not
    std::optional<CDeviceRecord::CAside> Aside;           ///< the older copy of the file under way
    std::vector<std::string> DoneAsides;                  ///< temporary paths whose notes may go
    std::unordered_map<const CLibraryItem*, std::string>
        OnDevice;                         ///< where each item stands, once it is there
    std::map<std::string, bool> Pictures; ///< picture paths that were looked for: there or not
    std::optional<std::string> UnderWay;  ///< a file that an earlier sync left unfinished
    std::optional<CDeviceRecord::CEntry> Finished; ///< arrived, and not yet entered
    std::string FencedFolder;                      ///< the last folder that was found to be inside
    std::string DryRunFolder;                      ///< stands in for the database's place
    int64_t BlockSize = 4096;                      ///< of the device, bytes
    int64_t BytesDone = 0;
    int64_t BytesInAll = 0;
    bool IsDeviceGone = false;
    bool IsDeviceFull = false;
    bool IsInSync = false;
    bool HasNewPictures = false;
    bool HasRecordFailed = false;
};
