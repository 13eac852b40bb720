#include "host/CSync.h"

#include "host/CInterrupt.h"
#include "host/CLibraryItem.h"
#include "host/HostText.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace {

CDeviceRecord::CEntry MakeEntry(const CSyncItem& item, const std::string& target) {
    return {CDeviceRecord::Kind::File, target,        item.File->Path, item.File->Size,
            item.File->MTime,          item.MatchKey, item.ChangeKey};
}

bool IsGone(const std::string& path) {
    struct stat status {};
    return lstat(path.c_str(), &status) != 0 && errno == ENOENT;
}

} // namespace

void CSync::RecoverUnderWay() {
    const std::optional<CDeviceRecord::CUnderWay> note = Record.GetUnderWay();
    if (!note) {
        return;
    }
    UnderWay = note->Target;
    if (Options.IsDryRun) {
        return;
    }
    // The name was free before the file was begun, so what stands there now is the host's own.
    if (Session.GetRoot().IsInside(note->Target)
        && (unlink(note->Target.c_str()) == 0 || IsGone(note->Target))) {
        Console.Message("An earlier sync was cut short at "
                        + HostPrintable(std::string_view(Relative(note->Target)))
                        + "; the file is sent again.");
        if (!Record.EndUnderWay(nullptr) || !Record.Remove({note->Target})) {
            RecordFailed();
        }
    } else {
        AddFailure(note->Target, "was cut short by an earlier sync and cannot be removed");
    }
}

void CSync::DeleteFiles() {
    std::vector<std::string> paths;
    const auto add = [&](const std::string& path) {
        if (Session.GetRoot().IsInside(path)) {
            paths.push_back(path);
        } else {
            AddFailure(path, "is not deleted: its folder leads outside the device");
        }
    };
    for (const std::string& path : Plan.Deletes) {
        add(path);
    }
    for (const CJob& job : Jobs) {
        if (!job.Send.Replaces.empty()) {
            add(job.Send.Replaces);
        }
    }
    if (paths.empty()) {
        return;
    }
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
    for (const std::string& path : Plan.Deletes) {
        if (!std::binary_search(gone.begin(), gone.end(), path)) {
            if (Session.GetRoot().IsInside(path)) {
                AddFailure(path, "could not be deleted");
            }
        } else if (FindRecord(CDeviceRecord::Kind::Picture, path) == nullptr) {
            Report.Deleted.push_back(Relative(path));
        }
    }
}

ExitCode CSync::SendFiles() {
    Session.GetDevice().GetHost().Progress = [this](int64_t, int64_t) {
        return CInterrupt::IsRequested();
    };
    for (const CSyncPlan::CKeep& keep : Plan.Keeps) {
        if (keep.IsNewOwner && !Record.Put(MakeEntry(*keep.Item, keep.Target))) {
            RecordFailed();
        }
    }
    for (size_t index = 0; index < Jobs.size() && !CInterrupt::IsRequested(); ++index) {
        if (!Session.GetRoot().IsStillThere()) {
            IsDeviceGone = true;
            return Fail(kExitNoDevice, "the device is gone; " + std::to_string(Jobs.size() - index)
                                           + " files were not sent");
        }
        SendFile(Jobs[index], index + 1);
    }
    if (Finished && !Record.EndUnderWay(&*Finished)) {
        RecordFailed();
    }
    if (!Session.GetRoot().IsStillThere()) {
        IsDeviceGone = true;
        return Fail(kExitNoDevice, "the device is gone");
    }
    return kExitDone;
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
    if (!job.Send.Replaces.empty() && !IsGone(job.Send.Replaces)) {
        AddFailure(item.Path, "its older copy on the device could not be deleted");
        return false;
    }
    if (!Record.NoteUnderWay(item.Path, target, Finished ? &*Finished : nullptr)) {
        RecordFailed();
        AddFailure(item.Path, "is not sent without a record");
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
    const bool sent = Session.GetDevice().Upload(upload);
    const std::string path = sent ? HostNarrow(upload.GetDevicePath()) : target;
    BytesDone += item.Size;
    if (!sent || CDeviceRoot::GetFileSize(path) < item.Size) {
        // A full or failing device may have taken every write and kept less.
        GiveUp(job, path, sent ? "arrived cut short" : "");
        return;
    }
    Finished = MakeEntry(*job.Send.Item, path);
    NotePicture(picture);
    OnDevice[&item] = path;
    Report.Sent.push_back({item.Path, Relative(path), item.Size, !job.Send.Replaces.empty()});
    Report.Bytes += item.Size;
}

void CSync::GiveUp(const CJob& job, const std::string& path, const std::string& cause) {
    if (!CInterrupt::IsRequested()) {
        AddFailure(job.Send.Item->File->Path,
                   cause.empty() ? FindCause(*job.Send.Item->File) : cause);
    }
    if (!Session.GetRoot().IsStillThere()) {
        return; // the note stays: what is left on the device goes when it comes back
    }
    if (Session.GetRoot().IsInside(path)) {
        unlink(path.c_str());
    }
    // What cannot be taken away now is entered in a state that every later sync replaces.
    CDeviceRecord::CEntry rest = MakeEntry(*job.Send.Item, path);
    rest.Size = -1;
    if (!Record.EndUnderWay(IsGone(path) ? nullptr : &rest)) {
        RecordFailed();
    }
}

std::string CSync::FindCause(const CLibraryItem& item) const {
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
    uint64_t total = 0;
    uint64_t available = 0;
    if (Session.GetDevice().GetSpace(total, available)
        && available < static_cast<uint64_t>(item.Size)) {
        return "not enough space on the device";
    }
    if (CDeviceRoot::GetFileSize(item.Path) == 0) {
        return "is empty";
    }
    return "could not be read or written to its end";
}

void CSync::NotePicture(const std::string& path) {
    bool& isKnown = Pictures[path];
    if (isKnown || CDeviceRoot::GetFileSize(path) < 0) {
        return;
    }
    isKnown = true;
    if (!Record.Put({CDeviceRecord::Kind::Picture, path, {}, 0, 0, {}, {}})) {
        RecordFailed();
    }
}
