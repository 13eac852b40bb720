#pragma once

#include "core/VnString.h"
#include "files/VnFilename.h"

#include <glob.h>

#include <cstdint>

class VnFileInfo;

/// The matches of one path pattern, in sorted order.
///
/// The pattern is matched when the object is made. Only "*" is a wildcard, and a path that ends in
/// "/" stands for everything in that directory. Names that begin with a dot are never listed;
/// directories, and links to them, carry a trailing "/". The order is that of glob(3) in the
/// process's locale. A missing or unreadable directory yields nothing.
class VnFileFinder {
public:
    /// Finds what matches `path`, a text in any form that VnFilename understands.
    explicit VnFileFinder(const VnString& path);

    /// Frees the matches.
    ~VnFileFinder();

    VnFileFinder(const VnFileFinder&) = delete;
    VnFileFinder& operator=(const VnFileFinder&) = delete;
    VnFileFinder(VnFileFinder&&) = delete;
    VnFileFinder& operator=(VnFileFinder&&) = delete;

    /// Whether the search could be made, with or without a match. False for an empty path and for
    /// one whose directory does not exist.
    bool IsValid() const { return Valid; }

    /// Whether every directory that the search looked into could be opened and read to its end; a
    /// failed search is never complete. Who takes "not found" for "not there" asks this first.
    bool IsComplete() const { return Valid && Complete; }

    /// Fills `info` from the next match and steps on; false at the end. A link that leads nowhere
    /// is a match too: its `info` has a path but is not valid.
    bool Next(VnFileInfo& info);

    /// Whether the path has at least one match.
    static bool Exists(const VnString& path);

private:
    bool Valid = false;   ///< the search was made and gave a usable result
    VnFilename Pattern;   ///< what was searched for
    uint64_t Index = 0;   ///< next entry to hand out
    glob_t Glob;          ///< the matches, owned while Valid
    bool Complete = true; ///< no directory failed to open or broke off
};
