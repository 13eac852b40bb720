#pragma once

#include "host/CLibraryItem.h"

#include <sys/types.h>

#include <functional>
#include <set>
#include <string>
#include <utility>
#include <vector>

/// Lists the regular files below some folders, each once, in the order of their names.
///
/// Hidden names are left out. A link to a file counts as that file, unless the file lies in the
/// library anyway; a link to a folder is entered, but never a folder that was entered before. What
/// is no file and no folder (a FIFO, a socket, a device), and a link that leads nowhere or round in
/// a circle, is passed over by name; so is a folder that cannot be listed. One folder, the
/// device's, can be left out with all that is in it: it is not entered, and no link leads into it.
class CLibraryWalk {
public:
    /// `folders` are absolute real paths, and so is `leftOut`, which may be empty. `isCancelled`
    /// (may be empty) is asked once a folder.
    CLibraryWalk(std::vector<std::string> folders,
                 std::function<bool()> isCancelled,
                 std::string leftOut = {});

    void Run();

    struct CFound {
        std::string Path;
        int64_t Size = 0;
        int64_t MTime = 0; ///< nanoseconds
    };
    const std::vector<CFound>& GetFiles() const { return Files; }
    const std::vector<CPassedOver>& GetPassedOver() const { return PassedOver; }

private:
    using Identity = std::pair<dev_t, ino_t>;

    void WalkFolder(const std::string& folder, int depth);
    void Look(const std::string& path, int depth);
    void LookAtLink(const std::string& path, int depth);
    bool IsInLibrary(const std::string& path) const;
    bool IsLeftOut(const std::string& path) const;
    void PassOver(const std::string& path, std::string reason, bool isFailure = false);

    std::vector<std::string> Folders;
    std::function<bool()> IsCancelled;
    std::string LeftOut; ///< real path without a final "/"; empty for none
    std::set<Identity> Entered;
    std::set<Identity> Linked; ///< files outside that links have led to
    std::vector<CFound> Files;
    std::vector<CPassedOver> PassedOver;
};
