#pragma once

#include "host/CCoverArt.h"
#include "host/CDeviceRecord.h"
#include "host/CLibrary.h"
#include "host/CPlaylistWriter.h"
#include "host/CSession.h"
#include "host/CSyncPlanner.h"
#include "host/CSyncReport.h"
#include "host/CTargetPaths.h"

#include <chrono>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
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
/// rest goes on; a device that is gone ends the sync.
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
    ExitCode ReadLibrary();
    void ReadPlaylists();
    ExitCode StartDevice();
    ExitCode ScanDevice();
    ExitCode MakePlan();
    ExitCode CheckSpace();
    void DescribePlan();
    ExitCode Execute();
    void FillKeys(CSyncPlanner::CInput& input) const;

    // Deleting and sending: CSyncSend.cpp

    void RecoverUnderWay();
    void DeleteFiles();
    ExitCode SendFiles();
    void SendFile(const CJob& job, size_t number);
    /// The tests ahead of a file, and its note as under way. False, named as failed, when it must
    /// not be sent.
    bool MaySend(const CJob& job, const std::string& target);
    /// Names a file that did not arrive, and leaves nothing of it.
    void GiveUp(const CJob& job, const std::string& path, const std::string& cause);
    /// Why a file could not be sent, as far as the system tells.
    std::string FindCause(const CLibraryItem& item) const;
    void NotePicture(const std::string& path);

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
    std::unordered_set<std::string> Going; ///< device paths that the sync takes away
    std::unordered_map<const CLibraryItem*, std::string>
        OnDevice;                         ///< where each item stands, once it is there
    std::map<std::string, bool> Pictures; ///< picture paths that were looked for: there or not
    std::optional<std::string> UnderWay;  ///< a file that an earlier sync left unfinished
    std::optional<CDeviceRecord::CEntry> Finished; ///< arrived, and not yet entered
    std::string FencedFolder;                      ///< the last folder that was found to be inside
    std::string DryRunFolder;                      ///< stands in for the database's place
    int64_t BytesDone = 0;
    int64_t BytesInAll = 0;
    bool IsDeviceGone = false;
    bool HasRecordFailed = false;
};
