#include "host/CSync.h"

#include "host/CExpression.h"
#include "host/CInterrupt.h"
#include "host/CPlaylistReader.h"
#include "host/CTagSource.h"
#include "host/HostText.h"

#include <stdlib.h>
#include <sys/stat.h>
#include <sys/statvfs.h>

#include <algorithm>
#include <filesystem>
#include <system_error>

namespace {

constexpr std::string_view kDatabaseName = ".Database.mpl";
constexpr int64_t kRecordSize =
    2048; // bytes of one file's record in the device's database, generously

/// A record of the device as an item that expressions work on.
class CRecordItem final : public IExpressionItem {
public:
    explicit CRecordItem(const CMediaFields& fields) : Fields(fields) {}
    std::wstring GetRawField(std::wstring_view name) const override { return Fields.Get(name); }
    std::wstring GetLibraryName() const override {
        return std::wstring(HostName(Fields.Get(L"Filename")));
    }

private:
    const CMediaFields& Fields;
};

int64_t RoundUp(int64_t bytes, int64_t block) {
    return (bytes + block - 1) / block * block;
}

} // namespace

CSync::CSync(CSyncOptions options, CConsole& console)
    : Options(std::move(options))
    , Console(console)
    , Session(console)
    , Start(std::chrono::steady_clock::now()) {
}

ExitCode CSync::Run() {
    Report.IsDryRun = Options.IsDryRun;
    Report.Device = Options.Device;
    ExitCode code = RunSteps();
    if (!DryRunFolder.empty()) {
        std::error_code failure;
        std::filesystem::remove_all(DryRunFolder, failure);
    }
    if (code == kExitDone && CInterrupt::IsRequested()) {
        code = Fail(static_cast<ExitCode>(128 + CInterrupt::GetSignal()), "cancelled");
    } else if (code == kExitDone && !Report.Failed.empty()) {
        code = kExitSomeFailed;
    } else if (code == kExitDone && HasRecordFailed) {
        code = kExitFailure;
    }
    Report.Code = code;
    Report.Seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - Start).count();
    const bool cameToWork = Report.Error.empty() || !Report.Sent.empty() || code >= kExitCancelled;
    if (Console.IsJSON()) {
        Console.Write(Report.ToJSON());
    } else if (cameToWork) {
        Console.Write(Report.ToText(Options.IsDryRun));
    }
    return code;
}

ExitCode CSync::RunSteps() {
    using Step = ExitCode (CSync::*)();
    for (const Step step : {&CSync::Prepare, &CSync::ReadLibrary, &CSync::StartDevice,
                            &CSync::ScanDevice, &CSync::MakePlan, &CSync::CheckSpace}) {
        if (const ExitCode code = (this->*step)(); code != kExitDone || CInterrupt::IsRequested()) {
            return code;
        }
    }
    if (Options.IsDryRun) {
        DescribePlan();
        return kExitDone;
    }
    return Execute();
}

ExitCode CSync::Prepare() {
    if (const ExitCode code = Session.OpenRoot(Options.Device, Options.Settings, !Options.IsDryRun);
        code != kExitDone) {
        Report.Error = Session.GetError();
        return code;
    }
    Report.Device = Session.GetRoot().GetPath();
    const ExitCode code = CheckLibraries();
    return code == kExitDone ? OpenRecord() : code;
}

ExitCode CSync::CheckLibraries() {
    const std::string& root = Session.GetRoot().GetPath();
    struct stat device {};
    if (stat(root.c_str(), &device) != 0) {
        return Fail(kExitNoDevice, "the device is gone");
    }
    for (const std::string& folder : Options.Libraries) {
        const std::string real = CLibrary::RealPath(folder);
        struct stat status {};
        if (real.empty() || stat(real.c_str(), &status) != 0) {
            if (Options.Delete != DeleteMode::None) {
                Console.Error("nothing is deleted, because a library folder is missing: "
                              + HostPrintable(std::string_view(folder)));
            }
            Options.Delete = DeleteMode::None;
            continue;
        }
        // By identity, upwards: a folder that is mounted in two places has two real paths.
        for (std::string above = real;; above.erase(above.rfind('/'))) {
            struct stat level {};
            if (stat(above.empty() ? "/" : above.c_str(), &level) == 0
                && level.st_dev == device.st_dev && level.st_ino == device.st_ino) {
                return Fail(kExitUsage, "the library " + HostPrintable(std::string_view(real))
                                            + " lies on the device "
                                            + HostPrintable(std::string_view(root))
                                            + "; name a folder outside the device");
            }
            if (above.empty() || above == "/") {
                break;
            }
        }
        if (!root.starts_with(real == "/" ? real : real + "/")) {
            LibraryRoots.emplace(status.st_dev, status.st_ino);
        }
    }
    return kExitDone;
}

ExitCode CSync::OpenRecord() {
    const CDeviceRoot& root = Session.GetRoot();
    DataFolder = CSession::GetDataFolder();
    if (DataFolder.empty()) {
        return Fail(kExitFailure, "there is no home folder to keep the library's index in");
    }
    std::string error;
    bool wasDamaged = false;
    if (!Record.Open(DataFolder, root.GetPath(), error, &wasDamaged)
        || !Record.Load(Input.Records)) {
        return Fail(kExitFailure, "the record of the device cannot be opened: "
                                      + (error.empty() ? Record.GetError() : error));
    }
    for (const CDeviceRecord::CEntry& entry : Input.Records) {
        RecordsByTarget.try_emplace(entry.Target, &entry);
    }
    if (wasDamaged) {
        Console.Error(
            "the record of what was sent to the devices was damaged and is begun anew; files that are on a device"
            " count as not sent by this program");
    }
    if (!Library.OpenIndex(DataFolder + "library.db", error)) {
        Console.Error("the library's index cannot be used, every file is read: " + error);
    }
    const std::string database =
        HostNarrow(Session.GetProperties().GetBasePath(L"DatabaseBasePath"))
        + std::string(kDatabaseName);
    if (!root.IsInside(database)) {
        return Fail(kExitFailure,
                    HostPrintable(std::string_view(database)) + " leads outside the device");
    }
    return kExitDone;
}

ExitCode CSync::DivertDatabase() {
    // The drive writes its database whenever a scan finds something new. A copy of it, elsewhere,
    // takes the writes; base paths are below the device's root, so the way there leads up from it.
    std::string pattern = (std::filesystem::temp_directory_path() / "tonehall-XXXXXX").native();
    if (mkdtemp(pattern.data()) == nullptr) {
        return Fail(kExitFailure, "no temporary folder for the dry run");
    }
    DryRunFolder = CLibrary::RealPath(pattern);
    const std::wstring place = Session.GetProperties().GetBasePath(L"DatabaseBasePath");
    std::error_code failure;
    std::filesystem::copy_file(HostNarrow(place) + std::string(kDatabaseName),
                               DryRunFolder + "/" + std::string(kDatabaseName), failure);
    std::string up;
    const std::string& root = Session.GetRoot().GetPath();
    for (auto slashes = std::count(root.begin(), root.end(), '/') - 1; slashes > 0; --slashes) {
        up += "../";
    }
    Session.GetProperties().Set(L"DatabaseBasePath", HostWiden(up + DryRunFolder.substr(1) + "/"));
    return kExitDone;
}

ExitCode CSync::ReadLibrary() {
    if (Options.IsDryRun) {
        if (const ExitCode code = DivertDatabase(); code != kExitDone) {
            return code;
        }
    }
    if (const ExitCode code = Session.Start(); code != kExitDone) {
        Report.Error = Session.GetError();
        return code;
    }
    CTagSource tags;
    if (!tags.IsAvailable()) {
        return Fail(kExitFailure, "the tools module gives no tag reader");
    }
    if (!CSession::HasReader()) {
        return Fail(
            kExitFailure,
            "the reader module libVnReader.so cannot be loaded; without it nothing is sent");
    }
    Library.Scan(
        Options.Libraries, tags,
        [this](size_t done, size_t) { Console.ShowSearch("Reading the library", done); },
        CInterrupt::IsRequested, Session.GetRoot().GetPath());
    for (const CPassedOver& passed : Library.GetPassedOver()) {
        Input.PassedOver.push_back(passed.Path);
        passed.IsFailure ? AddFailure(passed.Path, passed.Reason)
                         : AddSkipped(passed.Path, passed.Reason);
    }
    ReadPlaylists();
    return kExitDone;
}

void CSync::ReadPlaylists() {
    for (const std::string& path : Options.Playlists) {
        CPlaylistReader::CResult result;
        std::string error;
        if (!CPlaylistReader::Read(path, result, error)) {
            AddFailure(path, error);
            continue;
        }
        CPlaylist playlist{CLibrary::RealPath(path), {}};
        for (const std::string& file : result.Files) {
            if (const CLibraryItem* item = Library.Find(file); item != nullptr) {
                playlist.Items.push_back(item);
            } else {
                AddSkipped(file, "is in the playlist " + path + " but not in the library");
            }
        }
        for (const std::string& entry : result.Missing) {
            AddSkipped(entry, "is in the playlist " + path + " but does not exist");
        }
        Playlists.push_back(std::move(playlist));
    }
}

ExitCode CSync::StartDevice() {
    if (!Session.GetDevice().GetSpace(Report.TotalSpace, Report.AvailableSpace)) {
        return Fail(kExitNoDevice, "the space on the device cannot be found out");
    }
    RecoverUnderWay();
    if (!Options.IsDryRun) {
        RecoverAsides(Record.GetAsides());
    }
    return kExitDone;
}

ExitCode CSync::ScanDevice() {
    const CExpression matchKey(Session.GetProperties().Get(L"MatchKeyExpression"));
    const CExpression changeKey(Session.GetProperties().Get(L"ChangeKeyExpression"));
    std::unordered_map<std::string, bool> folders;
    Session.GetDevice().GetFiles(
        {},
        [&](const CMediaFields& fields) {
            std::string path = HostNarrow(fields.Get(L"Filename"));
            // What a link on the device leads to outside is no file of the device.
            const auto [folder, isNew] = folders.try_emplace(path.substr(0, path.rfind('/') + 1));
            if (isNew) {
                folder->second = Session.GetRoot().IsInside(folder->first + "x");
            }
            if (!folder->second || UnderWay == path) {
                return;
            }
            const CRecordItem item(fields);
            Input.Device.push_back({std::move(path), HostNarrow(matchKey.Evaluate(item)),
                                    HostNarrow(changeKey.Evaluate(item))});
            Console.ShowSearch("Reading the device", Input.Device.size());
        },
        CInterrupt::IsRequested);
    if (!Session.GetRoot().IsStillThere()) {
        return Fail(kExitNoDevice, "the device is gone");
    }
    return kExitDone;
}

void CSync::FillKeys(CSyncPlanner::CInput& input) const {
    const CDeviceProperties& properties = Session.GetProperties();
    const CExpression matchKey(properties.Get(L"MatchKeyExpression"));
    const CExpression changeKey(properties.Get(L"ChangeKeyExpression"));
    input.Items.reserve(Library.GetItems().size());
    for (const std::unique_ptr<CLibraryItem>& item : Library.GetItems()) {
        input.Items.push_back({item.get(), HostNarrow(matchKey.Evaluate(*item)),
                               HostNarrow(changeKey.Evaluate(*item))});
    }
}

ExitCode CSync::MakePlan() {
    FillKeys(Input);
    Input.Delete = Options.Delete;
    Input.ResendOnDate = Session.GetProperties().GetInt(L"ResyncIfDateModified") != 0;
    Input.GetDeviceSize = [this](const std::string& path) {
        return UnderWay == path ? -1 : CDeviceRoot::GetFileSize(path);
    };
    Plan = CSyncPlanner::Plan(Input);
    Report.Kept = Plan.Keeps.size();
    for (const CSyncPlan::CKeep& keep : Plan.Keeps) {
        OnDevice[keep.Item->File] = keep.Target;
    }
    for (const std::string& path : Plan.Leftovers) {
        Report.Leftovers.push_back(Relative(path));
    }
    Going.insert(Plan.Deletes.begin(), Plan.Deletes.end());
    MakeJobs();
    return kExitDone;
}

void CSync::MakeJobs() {
    Replaced.clear();
    Paths =
        std::make_unique<CTargetPaths>(Session.GetProperties(), [this](const std::wstring& path) {
            const std::string bytes = HostNarrow(path);
            return !Going.contains(bytes) && Replaced != bytes
                   && !(Options.IsDryRun && UnderWay == bytes) && Exists(bytes);
        });
    for (const CDeviceFile& file : Input.Device) {
        if (!Going.contains(file.Path)) {
            Paths->Take(HostWiden(file.Path));
        }
    }
    for (const CSyncPlan::CSend& send : Plan.Sends) {
        // The place of an older copy is free for its own successor only: all others stand while
        // that one arrives.
        Replaced = send.Replaces;
        Paths->Free(HostWiden(Replaced));
        Jobs.push_back({send, Paths->Choose(*send.Item->File)});
        Paths->Take(HostWiden(Replaced));
        BytesInAll += send.Item->File->Size;
    }
    // What gives space back goes first, so that the space needed never exceeds that of the whole.
    std::stable_partition(Jobs.begin(), Jobs.end(), [](const CJob& job) {
        return !job.Send.Replaces.empty()
               && job.Send.Item->File->Size <= CDeviceRoot::GetFileSize(job.Send.Replaces);
    });
    Replaced.clear();
}

ExitCode CSync::CheckSpace() {
    struct statvfs volume {};
    const bool known =
        statvfs(Session.GetRoot().GetPath().c_str(), &volume) == 0 && volume.f_frsize > 0;
    BlockSize = known ? static_cast<int64_t>(volume.f_frsize) : BlockSize;
    const auto occupied = [this](const std::string& path) {
        return RoundUp(std::max<int64_t>(CDeviceRoot::GetFileSize(path), 0), BlockSize);
    };
    int64_t needed = 0;
    int64_t freed = 0;
    for (const CJob& job : Jobs) {
        needed += RoundUp(job.Send.Item->File->Size, BlockSize) + kRecordSize;
        freed += job.Send.Replaces.empty() ? 0 : occupied(job.Send.Replaces);
    }
    for (const std::string& path : Going) {
        freed += occupied(path);
    }
    if (needed - freed > static_cast<int64_t>(Report.AvailableSpace)) {
        return Fail(kExitNoSpace, "not enough space on the device: "
                                      + HostFormatBytes(needed - freed) + " more are needed and "
                                      + HostFormatBytes(static_cast<int64_t>(Report.AvailableSpace))
                                      + " are free; nothing was changed");
    }
    return kExitDone;
}

void CSync::DescribePlan() {
    for (const std::string& path : Plan.Deletes) {
        if (MayDelete(path)) {
            Report.Deleted.push_back(Relative(path));
        }
    }
    for (const CJob& job : Jobs) {
        const std::string target = HostNarrow(job.Target.GetPath());
        if (!Session.GetRoot().IsInside(target)) {
            AddFailure(job.Send.Item->File->Path, "its place on the device, " + Relative(target)
                                                      + ", leads outside the device");
            continue;
        }
        Report.Sent.push_back({job.Send.Item->File->Path, Relative(target),
                               job.Send.Item->File->Size, !job.Send.Replaces.empty()});
        Report.Bytes += job.Send.Item->File->Size;
    }
    for (const CPlaylist& playlist : Playlists) {
        Report.PlaylistsSent.push_back(playlist.Source);
    }
}

ExitCode CSync::Execute() {
    if (Session.GetProperties().GetInt(L"AlbumArtEnabled") != 0) {
        Covers = std::make_unique<CCoverArt>(DataFolder + "Covers/");
    }
    if (!Record.Remove(Plan.Forgotten)) {
        RecordFailed();
    }
    if (IsSyncWanted()) {
        BeginSync();
    }
    DeleteFiles();
    DropOldRecords();
    const ExitCode code = SendFiles();
    if (code == kExitDone && !CInterrupt::IsRequested()) {
        SendPlaylists();
    }
    return IsDeviceGone ? code : EndSync(code);
}

bool CSync::IsSyncWanted() const {
    // A device without files gets its database all the same; the other two act at a sync's ends.
    const CDeviceProperties& properties = Session.GetProperties();
    return Input.Device.empty() || properties.GetInt(L"DeleteFilesNotInSync") != 0
           || properties.GetInt(L"EjectMode") != 0;
}

void CSync::BeginSync() {
    if (!IsInSync) {
        IsInSync = true;
        Session.GetDevice().BeginSync();
    }
}

ExitCode CSync::EndSync(ExitCode code) {
    CDevice& device = Session.GetDevice();
    if (IsInSync) {
        device.EndSync();
    }
    if (HasNewPictures && code == kExitDone && !CInterrupt::IsRequested()) {
        // The drive makes records of the pictures when it first finds them. Done now, the next sync
        // has nothing to save.
        const auto ignore = [](const CMediaFields&) {};
        device.GetFiles({}, ignore, CInterrupt::IsRequested);
    }
    Console.ClearProgress();
    const bool hasDatabase = IsInSync || Exists(Session.GetDatabasePath());
    if (const ExitCode settled = hasDatabase
                                     ? Session.Settle(Input.Device.size() + Report.Sent.size())
                                     : Session.SettleWithoutDatabase();
        settled != kExitDone) {
        Report.Error = Session.GetError();
        return settled;
    }
    Console.Message("The device may be removed.");
    return code;
}

ExitCode CSync::Fail(ExitCode code, const std::string& text) {
    Report.Error = text;
    Console.Error(text);
    return code;
}

void CSync::AddFailure(const std::string& path, const std::string& reason) {
    Report.Failed.push_back({path, reason});
    Console.Error("failed: " + HostPrintable(std::string_view(path)) + ": "
                  + HostPrintable(std::string_view(reason)));
}

void CSync::AddSkipped(const std::string& path, const std::string& reason) {
    Report.Skipped.push_back({path, reason});
    Console.Error("skipped: " + HostPrintable(std::string_view(path)) + ": "
                  + HostPrintable(std::string_view(reason)));
}

std::string CSync::Relative(const std::string& path) const {
    return std::string(Session.GetRoot().MakeRelative(path));
}

void CSync::RecordFailed() {
    if (!HasRecordFailed) {
        HasRecordFailed = true;
        Console.Error("the record of what was sent cannot be written: " + Record.GetError());
    }
}
