#include "host/CSync.h"

#include "host/CInterrupt.h"
#include "host/CLibraryItem.h"
#include "host/HostText.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <iterator>

namespace {

constexpr const char* kNoSpace = "not enough space on the device";

CDeviceRecord::CEntry MakeEntry(const CSyncItem& item, const std::string& target) {
    return {CDeviceRecord::Kind::File, target,        item.File->Path, item.File->Size,
            item.File->MTime,          item.MatchKey, item.ChangeKey};
}

/// Writes a file out to its device, so that what it replaces may go.
bool FlushFile(const std::string& path) {
    const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW);
    if (descriptor < 0) {
        return false;
    }
    const bool done = fsync(descriptor) == 0;
    close(descriptor);
    return done;
}

} // namespace

void CSync::RecoverUnderWay() {
    const std::optional<CDeviceRecord::CUnderWay> note = Record.GetUnderWay();
    if (!note) {
        return;
    }
    // The name was free before the file was begun, so what stands there now is the host's own,
    // unless it is more than was on its way.
    const bool isOurs = CDeviceRoot::GetFileSize(note->Target) <= note->Size;
    if (Options.IsDryRun) {
        UnderWay = isOurs ? std::optional(note->Target) : std::nullopt;
        return;
    }
    if (!isOurs
        || (Session.GetRoot().IsInside(note->Target)
            && (unlink(note->Target.c_str()) == 0 || IsGone(note->Target)))) {
        Console.Message("An earlier sync was cut short at "
                        + HostPrintable(std::string_view(Relative(note->Target)))
                        + (isOurs ? "; the file is sent again."
                                  : "; another file stands there now and is left alone."));
        if (!Record.EndUnderWay(nullptr)) {
            RecordFailed();
        }
    } else {
        UnderWay = note->Target;
        AddFailure(note->Target, "was cut short by an earlier sync and cannot be removed");
    }
}

bool CSync::MayDelete(const std::string& path) {
    if (!Session.GetRoot().IsInside(path)) {
        AddFailure(path, "is not deleted: its folder leads outside the device");
        return false;
    }
    const std::string folder = path.substr(0, path.rfind('/'));
    const auto [known, isNew] = LibraryFolders.try_emplace(folder, false);
    // A library may be mounted into the device, where its real path does not tell.
    for (std::string above = folder; isNew && !LibraryRoots.empty() && !above.empty();
         above.erase(above.rfind('/'))) {
        struct stat status {};
        known->second = known->second
                        || (stat(above.c_str(), &status) == 0
                            && LibraryRoots.contains({status.st_dev, status.st_ino}));
    }
    if (known->second) {
        AddFailure(path, "is not deleted: it belongs to a library");
    }
    return !known->second;
}

void CSync::DeleteFiles() {
    std::vector<std::string> paths;
    std::copy_if(Plan.Deletes.begin(), Plan.Deletes.end(), std::back_inserter(paths),
                 [this](const std::string& path) { return MayDelete(path); });
    if (paths.empty()) {
        return;
    }
    BeginSync();
    Session.GetDevice().Delete(paths);
    std::vector<std::string> gone;
    for (const std::string& path : paths) {
        if (IsGone(path)) {
            gone.push_back(path);
        }
    }
    if (!Record.Remove(gone)) {
        RecordFailed();
    }
    std::sort(gone.begin(), gone.end());
    for (const std::string& path : paths) {
        if (!std::binary_search(gone.begin(), gone.end(), path)) {
            AddFailure(path, "could not be deleted");
        } else if (FindRecord(CDeviceRecord::Kind::Picture, path) == nullptr) {
            Report.Deleted.push_back(Relative(path));
        }
    }
}

ExitCode CSync::SendFiles() {
    Session.GetDevice().GetHost().Progress = [](int64_t, int64_t) {
        return CInterrupt::IsRequested();
    };
    for (const CSyncPlan::CKeep& keep : Plan.Keeps) {
        if (keep.IsNewOwner && !Record.Put(MakeEntry(*keep.Item, keep.Target))) {
            RecordFailed();
        }
    }
    ExitCode code = kExitDone;
    for (size_t index = 0; index < Jobs.size() && !CInterrupt::IsRequested(); ++index) {
        if (!Session.GetRoot().IsStillThere()) {
            IsDeviceGone = true;
            return Fail(kExitNoDevice, "the device is gone; " + std::to_string(Jobs.size() - index)
                                           + " files were not sent");
        }
        SendFile(Jobs[index], index + 1);
        if (IsDeviceFull) {
            code = Fail(kExitNoSpace, "the device is full; " + std::to_string(Jobs.size() - index)
                                          + " files were not sent");
            break;
        }
    }
    Session.GetDevice().GetHost().Progress = {};
    if ((Finished && !Record.EndUnderWay(&*Finished)) || !Record.DropAsides(DoneAsides)) {
        RecordFailed();
    }
    if (!Session.GetRoot().IsStillThere()) {
        IsDeviceGone = true;
        return Fail(kExitNoDevice, "the device is gone");
    }
    return code;
}

bool CSync::MaySend(const CJob& job, const std::string& target) {
    const CLibraryItem& item = *job.Send.Item->File;
    const std::string folder = target.substr(0, target.rfind('/'));
    if ((folder != FencedFolder && !Session.GetRoot().IsInside(target))
        || CDeviceRoot::IsLink(target)) {
        AddFailure(item.Path,
                   "its place on the device, " + Relative(target) + ", leads outside the device");
        return false;
    }
    FencedFolder = folder;
    if (!SetAside(job)) {
        return false;
    }
    if (Exists(target)) {
        // Whatever stands under the name of a file under way counts as ours after a kill.
        AddFailure(item.Path, "its place on the device, " + Relative(target) + ", is taken");
        PutBackAside();
        return false;
    }
    if (!Record.NoteUnderWay({item.Path, target, item.Size}, Finished ? &*Finished : nullptr)) {
        RecordFailed();
        AddFailure(item.Path, "is not sent without a record");
        PutBackAside();
        return false;
    }
    Finished.reset();
    return true;
}

void CSync::SendFile(const CJob& job, size_t number) {
    const CLibraryItem& item = *job.Send.Item->File;
    const std::string target = HostNarrow(job.Target.GetPath());
    if (!MaySend(job, target)) {
        return;
    }
    const std::string picture = HostNarrow(Paths->GetPicturePath(job.Target.Folder));
    if (const auto [known, isNew] = Pictures.try_emplace(picture); isNew) {
        known->second = CDeviceRoot::GetFileSize(picture) >= 0;
    }
    Session.GetDevice().GetHost().Progress = [&](int64_t done, int64_t) {
        Console.ShowTransfer(item.Path, number, Jobs.size(), BytesDone + done, BytesInAll);
        return CInterrupt::IsRequested();
    };
    CHandheldUpload upload(item, *Paths, Covers.get(), job.Target.Name,
                           [&] { return Session.GetRoot().IsInside(picture); });
    BeginSync();
    const bool sent = Session.GetDevice().Upload(upload);
    const std::string path = sent ? HostNarrow(upload.GetDevicePath()) : target;
    BytesDone += item.Size;
    if (!sent || CDeviceRoot::GetFileSize(path) < item.Size || (Aside && !FlushFile(path))) {
        // A full or failing device may have taken every write and kept less.
        GiveUp(job, path, sent ? "arrived cut short" : "");
        return;
    }
    Finished = MakeEntry(*job.Send.Item, path);
    if (Aside) {
        EndReplacement(*Finished);
        Finished.reset();
    }
    NotePicture(picture);
    OnDevice[&item] = path;
    Report.Sent.push_back({item.Path, Relative(path), item.Size, !job.Send.Replaces.empty()});
    Report.Bytes += item.Size;
}

void CSync::GiveUp(const CJob& job, const std::string& path, const std::string& cause) {
    const CLibraryItem& item = *job.Send.Item->File;
    if (!Session.GetRoot().IsStillThere()) {
        // The notes stay: what is left on the device is set right when it comes back.
        AddFailure(item.Path, FindCause(item));
        Aside.reset();
        return;
    }
    if (Session.GetRoot().IsInside(path)) {
        unlink(path.c_str());
    }
    if (!CInterrupt::IsRequested()) {
        const std::string found = FindCause(item);
        const bool isLost = Aside && IsGone(Aside->Temporary);
        AddFailure(item.Path, (IsDeviceFull || cause.empty() ? found : cause)
                                  + (isLost ? "; its older copy had gone to make room" : ""));
    }
    // What cannot be taken away now is entered in a state that every later sync replaces.
    CDeviceRecord::CEntry rest = MakeEntry(*job.Send.Item, path);
    rest.Size = -1;
    if (!Record.EndUnderWay(IsGone(path) ? nullptr : &rest)) {
        RecordFailed();
    }
    PutBackAside();
}

std::string CSync::FindCause(const CLibraryItem& item) {
    const CDeviceRoot& root = Session.GetRoot();
    if (!root.IsStillThere()) {
        return "the device is gone";
    }
    const int source = open(item.Path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (source < 0) {
        return "cannot be read: " + HostErrorText(errno);
    }
    close(source);
    std::string error;
    if (!root.IsWritable(error)) {
        return "the device " + error;
    }
    if (LacksSpace(item.Size)) {
        IsDeviceFull = true;
        return kNoSpace;
    }
    if (CDeviceRoot::GetFileSize(item.Path) == 0) {
        return "is empty";
    }
    return "could not be read or written to its end";
}

bool CSync::LacksSpace(int64_t bytes) {
    uint64_t total = 0;
    uint64_t available = 0;
    const int64_t blocks = (bytes + BlockSize - 1) / BlockSize;
    return Session.GetDevice().GetSpace(total, available)
           && available < static_cast<uint64_t>(blocks * BlockSize);
}

void CSync::NotePicture(const std::string& path) {
    bool& isKnown = Pictures[path];
    const int64_t size = CDeviceRoot::GetFileSize(path);
    if (isKnown || size < 0) {
        return;
    }
    isKnown = true;
    HasNewPictures = true;
    if (!Record.Put({CDeviceRecord::Kind::Picture, path, {}, size, 0, {}, {}})) {
        RecordFailed();
    }
}
