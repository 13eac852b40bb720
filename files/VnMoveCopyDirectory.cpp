#include "files/VnMoveCopyDirectory.h"

#include "core/VnStringArray.h"
#include "core/VnStringMap.h"
#include "files/VnFileFinder.h"
#include "files/VnFileInfo.h"
#include "files/VnFileSystem.h"

#include <algorithm>
#include <cerrno>
#include <memory>

VnMoveCopyDirectory::VnMoveCopyDirectory(const VnString& source,
                                         const VnString& destination,
                                         bool recursive) {
    std::vector<FileId> ancestors;
    AddTree(source, destination, recursive, ancestors);
}

bool VnMoveCopyDirectory::Run(bool deleteSource) {
    if (Started) {
        return false;
    }
    Started = true;
    bool result = MakeDirectories();
    result = CopyFiles() && result && ListedAll;
    if (deleteSource) {
        DeleteSources();
    }
    return result;
}

void VnMoveCopyDirectory::AddTree(VnString source,
                                  VnString destination,
                                  bool recursive,
                                  std::vector<FileId>& ancestors) {
    source.EnsureTrailing(L'/');
    destination.EnsureTrailing(L'/');
    AddItem(CItem::kDirectory, source, destination);

    const VnFileInfo self(source);
    // What is missing has nothing to transfer; what only cannot be looked at may have.
    if (!self.Valid && errno != ENOENT && errno != ENOTDIR) {
        ListedAll = false;
    }
    const FileId id{self.Stat.st_dev, self.Stat.st_ino};
    if (self.Valid && std::find(ancestors.begin(), ancestors.end(), id) != ancestors.end()) {
        return;
    }
    ancestors.push_back(id);
    VnFileFinder finder(source);
    if (self.Valid && !finder.IsComplete()) {
        ListedAll = false;
    }
    VnFileInfo info;
    VnStringArray files;
    while (finder.Next(info)) {
        const VnString name = info.GetLastSegment();
        if (!info.IsDirectory()) {
            files.Add(name);
        } else if (recursive) {
            AddTree(source + name, destination + name, recursive, ancestors);
        }
    }
    ancestors.pop_back();
    for (const VnString& name : files) {
        AddItem(CItem::kFile, source + name, destination + name);
    }
}

void VnMoveCopyDirectory::AddItem(CItem::ItemType type,
                                  const VnString& source,
                                  const VnString& destination) {
    auto item = std::make_unique<CItem>();
    item->Type = type;
    item->Source = source;
    item->Destination = destination;
    Add(item.release());
}

bool VnMoveCopyDirectory::MakeDirectories() {
    bool result = true;
    for (CItem* item : *this) {
        if (item->Type == CItem::kDirectory) {
            item->Done = VnFileSystem::MakeDirectoryTree(item->Destination, /*testWrite=*/false);
            result = result && item->Done;
        }
    }
    return result;
}

bool VnMoveCopyDirectory::CopyFiles() {
    bool result = true;
    for (CItem* item : *this) {
        if (item->Type == CItem::kFile) {
            item->Done =
                VnFileSystem::CopyFile(item->Source, item->Destination, /*failIfExists=*/false);
        }
        result = result && item->Done;
    }
    return result;
}

void VnMoveCopyDirectory::DeleteSources() {
    VnStringUniqueList<VnString, false> destinations;
    for (const CItem* item : *this) {
        destinations.Add(item->Destination);
    }
    for (int32_t index = GetCount() - 1; index >= 0; --index) {
        const CItem& item = *(*this)[index];
        if (!item.Done || destinations.Contains(item.Source)) {
            continue;
        }
        if (item.Type == CItem::kFile) {
            VnFileSystem::DeleteFile(item.Source);
        } else {
            VnFileSystem::DeleteEmptyDirectories(item.Source, /*recursive=*/false, /*walkUp=*/true);
        }
    }
}
