#include "host/CSync.h"

#include "host/CLibraryItem.h"
#include "host/CPathCleaner.h"
#include "host/HostText.h"

#include <fcntl.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace {

constexpr size_t kLongestKeptName = 200; // bytes; leaves room for what goes around it
constexpr int64_t kSpareBlocks = 16;     // for a folder that grows, and the database

} // namespace

bool CSync::IsGone(const std::string& path) {
    struct stat status {};
    return lstat(path.c_str(), &status) != 0 && (errno == ENOENT || errno == ENOTDIR);
}

bool CSync::Exists(const std::string& path) {
    struct stat status {};
    return lstat(path.c_str(), &status) == 0;
}

void CSync::RecoverAsides(const std::vector<CDeviceRecord::CAside>& asides) {
    std::vector<std::string> done;
    for (const CDeviceRecord::CAside& aside : asides) {
        if (PutBack(aside)) {
            done.push_back(aside.Temporary);
        }
    }
    if (!Record.DropAsides(done)) {
        RecordFailed();
    }
}

void CSync::DropOldRecords() {
    std::vector<CDeviceRecord::CAside> asides;
    for (const CJob& job : Jobs) {
        if (!job.Send.Replaces.empty() && Session.GetRoot().IsInside(job.Send.Replaces)) {
            asides.push_back(MakeAside(job.Send.Replaces));
        }
    }
    if (asides.empty()) {
        return;
    }
    if (!Record.NoteAside(asides)) {
        RecordFailed();
        return;
    }
    BeginSync();
    std::vector<std::string> standIns;
    for (const CDeviceRecord::CAside& aside : asides) {
        if (MoveAside(aside)) {
            const int descriptor =
                open(aside.Original.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
            if (descriptor >= 0) {
                close(descriptor);
                standIns.push_back(aside.Original);
            }
        }
    }
    Session.GetDevice().Delete(standIns);
    if (Session.GetRoot().IsStillThere()) {
        RecoverAsides(asides);
    }
}

bool CSync::SetAside(const CJob& job) {
    Aside.reset();
    const CLibraryItem& item = *job.Send.Item->File;
    const std::string& original = job.Send.Replaces;
    if (original.empty() || IsGone(original)) {
        if (LacksSpace(item.Size)) {
            AddFailure(item.Path, FindCause(item));
            return false;
        }
        return true;
    }
    const int64_t oldSize = CDeviceRoot::GetFileSize(original);
    std::string problem = TestSource(item);
    if (problem.empty() && !MayDelete(original)) {
        return false;
    }
    const bool isTight = LacksSpace(item.Size + kSpareBlocks * BlockSize);
    if (problem.empty() && isTight && LacksSpace(std::max<int64_t>(item.Size - oldSize, 0))) {
        problem = FindCause(item);
    }
    const CDeviceRecord::CAside aside = MakeAside(original);
    if (problem.empty() && !Record.NoteAside({aside})) {
        RecordFailed();
        problem = "is not sent without a record";
    }
    if (problem.empty() && !MoveAside(aside)) {
        problem = "its older copy on the device cannot be moved aside: " + HostErrorText(errno);
        DoneAsides.push_back(aside.Temporary);
    }
    if (!problem.empty()) {
        AddFailure(item.Path, problem);
        return false;
    }
    Aside = aside;
    if (isTight) {
        unlink(aside.Temporary.c_str()); // the device cannot hold both
    }
    return true;
}

std::string CSync::TestSource(const CLibraryItem& item) {
    struct stat status {};
    const int source = open(item.Path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (source < 0) {
        return "cannot be read: " + HostErrorText(errno);
    }
    const bool isSame =
        fstat(source, &status) == 0 && S_ISREG(status.st_mode) && status.st_size == item.Size;
    char first = 0;
    const bool isReadable = pread(source, &first, 1, 0) == 1;
    const int error = errno;
    close(source);
    if (!isSame) {
        return "has changed while the library was read; the next sync sends it";
    }
    return isReadable ? std::string() : "cannot be read: " + HostErrorText(error);
}

CDeviceRecord::CAside CSync::MakeAside(const std::string& original) const {
    const size_t start = original.rfind('/') + 1;
    const std::string name =
        HostNarrow(CPathCleaner::Cut(HostWiden(original.substr(start)), kLongestKeptName));
    std::string temporary = original.substr(0, start) + "." + name + ".old";
    for (int number = 1; Exists(temporary); ++number) {
        temporary = original.substr(0, start) + "." + name + "." + std::to_string(number) + ".old";
    }
    return {temporary, original, false};
}

bool CSync::MoveAside(const CDeviceRecord::CAside& aside) {
    return IsGone(aside.Temporary) && rename(aside.Original.c_str(), aside.Temporary.c_str()) == 0;
}

bool CSync::PutBack(const CDeviceRecord::CAside& aside) {
    if (IsGone(aside.Temporary)) {
        return true; // never moved, or done with
    }
    const CDeviceRoot& root = Session.GetRoot();
    if (!root.IsInside(aside.Temporary) || !root.IsInside(aside.Original)) {
        AddFailure(aside.Temporary,
                   "an older copy, is left there: its folder leads outside the device");
        return false;
    }
    if (aside.IsReplaced) {
        return unlink(aside.Temporary.c_str()) == 0;
    }
    // An empty file there is the stand-in that was put there for the drive to delete.
    if (!IsGone(aside.Original) && CDeviceRoot::GetFileSize(aside.Original) != 0) {
        AddFailure(aside.Temporary, "is the older copy of " + Relative(aside.Original)
                                        + ", where another file stands now");
        return false;
    }
    if (rename(aside.Temporary.c_str(), aside.Original.c_str()) != 0) {
        AddFailure(aside.Temporary, "is the older copy of " + Relative(aside.Original)
                                        + " and cannot be put back: " + HostErrorText(errno));
        return false;
    }
    return true;
}

void CSync::PutBackAside() {
    if (Aside && Session.GetRoot().IsStillThere() && PutBack(*Aside)) {
        DoneAsides.push_back(Aside->Temporary);
    }
    Aside.reset();
}

void CSync::EndReplacement(const CDeviceRecord::CEntry& entry) {
    // Without the entry the next sync takes the new copy for unfinished and puts the old one back.
    if (!Record.EndReplacement(entry, *Aside)) {
        RecordFailed();
    } else if (unlink(Aside->Temporary.c_str()) == 0 || IsGone(Aside->Temporary)) {
        DoneAsides.push_back(Aside->Temporary);
        PruneFolder(Aside->Original);
    }
    Aside.reset();
}

void CSync::PruneFolder(const std::string& path) {
    // A folder that is not empty stays, and with it those above.
    std::string folder = path.substr(0, path.rfind('/'));
    while (folder.size() > Session.GetRoot().GetPath().size() && rmdir(folder.c_str()) == 0) {
        folder.erase(folder.rfind('/'));
    }
}
