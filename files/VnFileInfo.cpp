#include "files/VnFileInfo.h"

#include "data/VnDate.h"
#include "files/VnFileSystem.h"

VnFileInfo::VnFileInfo() : Stat{} {
    Filename.LowerCaseExtension = false;
}

VnFileInfo::VnFileInfo(const VnString& filename, const struct stat* statRecord) : VnFileInfo() {
    Set(filename, statRecord);
}

bool VnFileInfo::Set(const VnString& filename, const struct stat* statRecord) {
    if (statRecord != nullptr) {
        Stat = *statRecord; // which may be this very record
        Valid = true;
    } else {
        Stat = {};
        const VnStringUTF8 path(VnFilename(filename).GetLocalPath());
        Valid = stat(path, &Stat) == 0;
    }
    if (Valid) {
        VnString path(filename);
        if (IsDirectory() && statRecord != nullptr) {
            path.EnsureTrailing(L'/'); // the record is that of the text as it stands, ";" and all
        }
        Filename.Set(path, /*clearProperties=*/false, /*lowerCaseExtension=*/false);
        if (IsDirectory()) {
            Filename.Filename.EnsureTrailing(L'/');
        }
    }
    Filename.LowerCaseExtension = false;
    return Valid;
}

bool VnFileInfo::Reset(const VnString& filename, const struct stat* statRecord) {
    // The text may belong to the object that is about to be cleared.
    const VnString kept(filename); // NOLINT(performance-unnecessary-copy-initialization)
    Filename.Clear();
    return Set(kept, statRecord);
}

void VnFileInfo::SetFound(const VnString& path, const struct stat* statRecord) {
    Valid = statRecord != nullptr;
    Stat = {};
    if (Valid) {
        Stat = *statRecord;
    }
    Filename.Clear();
    Filename.Filename = path;
    Filename.LowerCaseExtension = false;
}

VnString VnFileInfo::GetFilename() const {
    VnString path(Filename.Filename);
    if (IsDirectory()) {
        path.TrimRight(L"/\\");
    }
    return path;
}

VnString VnFileInfo::GetName() const {
    return IsDirectory() ? Filename.GetLastDirectory(false) : Filename.GetNameAndExtension(false);
}

VnString VnFileInfo::GetLastSegment() const {
    VnString path(Filename.Filename);
    path.TrimRight(L'/');
    return path.Mid(path.ReverseFind(L'/') + 1);
}

VnDate VnFileInfo::GetAccessDate() const {
    return MakeDate(Stat.st_atime);
}

VnDate VnFileInfo::GetModificationDate() const {
    return MakeDate(Stat.st_mtime);
}

VnDate VnFileInfo::GetChangeDate() const {
    return MakeDate(Stat.st_ctime);
}

VnDate VnFileInfo::MakeDate(int64_t seconds) const {
    return Valid ? VnDate().FromTimeT(seconds, 0, /*toLocal=*/true) : VnDate();
}

VnDate VnFileSystem::GetFileDate(const VnString& path) {
    // The path as it stands: parsed, a name with a ";" would be another.
    const VnString local = VnFilename::GetLocalPath(path);
    struct stat record {};
    return stat(VnStringUTF8(local), &record) == 0
               ? VnFileInfo(local, &record).GetModificationDate()
               : VnDate();
}
