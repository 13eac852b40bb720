#pragma once

#include "core/VnString.h"
#include "files/VnFilename.h"

#include <sys/stat.h>

#include <cstdint>

class VnDate;

/// A snapshot of what the system knows about one local path: its stat record, taken once.
///
/// Links are followed. The name keeps the case of its extension, and the name of a directory ends
/// in "/" in the field (not in what the getters give).
class VnFileInfo {
public:
    /// An object without a record.
    VnFileInfo();

    /// As `Set`.
    explicit VnFileInfo(const VnString& filename, const struct stat* statRecord = nullptr);

    /// Takes the name and its record: a copy of `statRecord`, or with null what stat(2) gives for
    /// the local path of the name. The result, also kept in `Valid`, is whether there is a record;
    /// without one the former name stays.
    bool Set(const VnString& filename, const struct stat* statRecord = nullptr);

    /// Drops the former name with its properties, then as `Set`.
    bool Reset(const VnString& filename, const struct stat* statRecord = nullptr);

    /// The path; that of a directory without the "/" and backslashes at its end.
    VnString GetFilename() const;

    /// The last segment of the path, with its extension.
    VnString GetName() const;

    /// The last segment of the path with every character that stands in it, for a path that is
    /// built from it: unlike GetName it takes only "/" for a separator and keeps a dot at the end.
    VnString GetLastSegment() const;

    /// The size in bytes; -1 when there is no record.
    int64_t GetSize() const { return Valid ? int64_t{Stat.st_size} : -1; }

    /// The moments of the last access, the last change of the contents, and the last change of the
    /// contents or of the record itself, in local time. No date when there is no record.
    VnDate GetAccessDate() const;
    VnDate GetModificationDate() const;
    VnDate GetChangeDate() const;

    /// Whether the path names a directory; false when there is no record.
    bool IsDirectory() const { return Valid && S_ISDIR(Stat.st_mode); }

    bool Valid = false; ///< the path was found, or a record was given
    VnFilename Filename;
    struct stat Stat; ///< all zero when not valid

private:
    friend class VnFileFinder;

    /// Takes a path as the system gave it, which is never searched for appended data. A null record
    /// leaves an object that is not valid and knows its path all the same.
    void SetFound(const VnString& path, const struct stat* statRecord);
    VnDate MakeDate(int64_t seconds) const;
};
