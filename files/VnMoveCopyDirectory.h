#pragma once

#include "core/VnOwnedPtrArray.h"
#include "core/VnString.h"

#include <sys/types.h>

#include <cstdint>
#include <utility>
#include <vector>

/// One item of a VnMoveCopyDirectory. The object is declared outside, so that the array can hold
/// it; use it under its name in that class.
struct VnMoveCopyItem {
    /// Kinds of item.
    enum ItemType : int32_t {
        kFile = 0,
        kDirectory = 1,
    };

    int32_t Type = kFile;
    VnString Source;
    VnString Destination;
    bool Done = false; ///< the item arrived at its destination
};

/// Copies or moves a directory: construction lists what there is, Run does the work, once.
///
/// The list holds a directory, then all of its sub-directories' trees, then its own files. Nothing
/// on the disk changes before Run.
class VnMoveCopyDirectory : public VnOwnedPtrArray<VnMoveCopyItem, false> {
public:
    using CItem = VnMoveCopyItem;

    /// Lists `source` for a transfer to `destination`, with its sub-directories when `recursive`.
    VnMoveCopyDirectory(const VnString& source, const VnString& destination, bool recursive);

    /// Makes the directories, copies the files, and with `deleteSource` removes every source that
    /// arrived and is not itself a destination. True when everything arrived; false also when a
    /// directory of the source is there but could not be listed to its end. An empty list is true,
    /// a second call is false.
    bool Run(bool deleteSource);

private:
    using FileId = std::pair<dev_t, ino_t>;

    /// A directory that is among its own `ancestors`, by a link, is listed without what is in it.
    void
    AddTree(VnString source, VnString destination, bool recursive, std::vector<FileId>& ancestors);
    void AddItem(CItem::ItemType type, const VnString& source, const VnString& destination);
    bool MakeDirectories();
    bool CopyFiles();
    void DeleteSources();

    bool Started = false;  ///< set by the first Run
    bool ListedAll = true; ///< no directory of the source withheld names
};
