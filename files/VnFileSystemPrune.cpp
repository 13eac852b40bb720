#include "files/VnFileSystem.h"

#include "core/VnOwnedPtrArray.h"
#include "data/VnDate.h"
#include "files/VnFileFinder.h"
#include "files/VnFileInfo.h"
#include "runtime/VnQSort.h"

#include <sys/stat.h>

#include <algorithm>
#include <memory>

namespace {

using PruneFiles = VnOwnedPtrArray<VnFileSystem::CPruneFile, false>;

/// Order by date, newest first.
class CNewestFilesFirstSort final : public IVnQSortCompare<VnFileSystem::CPruneFile*> {
public:
    int32_t Compare(VnFileSystem::CPruneFile* const* a,
                    VnFileSystem::CPruneFile* const* b) override {
        if ((*a)->Date == (*b)->Date) {
            return 0;
        }
        return (*a)->Date > (*b)->Date ? -1 : 1;
    }
};

/// Whether it is known of an entry that it is no directory, and how old it is. A link that leads
/// nowhere counts as very old; a file whose record cannot be read may be the newest.
bool IsFileOfKnownAge(const VnFileInfo& info) {
    struct stat record {};
    return info.Valid
               ? !info.IsDirectory()
               : lstat(VnStringUTF8(info.GetFilename()), &record) == 0 && S_ISLNK(record.st_mode);
}

void ListFiles(const VnString& directory, PruneFiles& files) {
    VnString pattern(directory);
    pattern.EnsureTrailing(L'/');
    VnFileFinder finder(pattern);
    VnFileInfo info;
    while (finder.Next(info)) {
        if (IsFileOfKnownAge(info)) {
            auto file = std::make_unique<VnFileSystem::CPruneFile>();
            file->Path = info.GetFilename();
            file->Date = info.GetModificationDate().GetSerial();
            file->Size = info.GetSize();
            files.Add(file.release());
        }
    }
}

/// How many of the files, newest first, stay.
int32_t CountFilesToKeep(const PruneFiles& files, int32_t maximumFiles, int64_t maximumBytes) {
    const int32_t count =
        maximumFiles < 0 ? files.GetCount() : std::min(maximumFiles, files.GetCount());
    if (maximumBytes < 0) {
        return count;
    }
    int64_t sum = 0;
    for (int32_t index = 0; index < count; ++index) {
        sum += std::max<int64_t>(files[index]->Size, 0);
        if (sum > maximumBytes) {
            return index;
        }
    }
    return count;
}

} // namespace

namespace VnFileSystem {

void PruneOldFilesFromDirectory(const VnString& directory,
                                int32_t maximumFiles,
                                int64_t maximumBytes) {
    if (maximumFiles < 0 && maximumBytes < 0) {
        return;
    }
    PruneFiles files;
    ListFiles(directory, files);
    if (files.GetCount() > 1) {
        CNewestFilesFirstSort order;
        const VnQSort<CPruneFile*> sort(&files[0], files.GetCount(), order);
    }
    for (int32_t index = CountFilesToKeep(files, maximumFiles, maximumBytes);
         index < files.GetCount(); ++index) {
        DeleteFile(files[index]->Path);
    }
}

} // namespace VnFileSystem
