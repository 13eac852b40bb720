#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>
#include <string_view>

/// The folder that a device is mounted at, and the fence around it: nothing is written or deleted
/// where the real path of a file's folder lies outside. Paths are bytes.
class CDeviceRoot {
public:
    /// Finds the folder. False, with the reason in `error`, when it is missing, no folder, or has a
    /// name that the drive would change (a path on the device is cleaned as a whole, so `:` or a
    /// blank at a name's end would lead astray).
    bool Open(const std::string& path, std::string& error);

    /// False, with the reason in `error`, when nothing can be written there.
    bool IsWritable(std::string& error) const;

    /// The real path with a final "/"; it is the device's identity.
    const std::string& GetPath() const { return Path; }
    /// The folder's own name, for people; never empty and without "/".
    const std::string& GetName() const { return Name; }

    /// Whether the folder is still the one that was opened: a device that was pulled out leaves an
    /// empty one behind.
    bool IsStillThere() const;

    /// Whether the real path of the deepest existing folder of `path` is the device root or lies
    /// below it, and `path` itself is not a link. The file need not exist.
    bool IsInside(const std::string& path) const;
    /// The first half of it, for many files of one folder (without a final "/").
    bool IsFolderInside(std::string folder) const;
    /// Whether a link stands under a path.
    static bool IsLink(const std::string& path);

    /// A path of the command line or of a list as an absolute path on the device: an absolute one
    /// stays when it begins with the device's path, every other is below the root.
    std::string Resolve(const std::string& path) const;

    /// `path` without the root, for people; a path outside stays.
    std::string_view MakeRelative(std::string_view path) const;

    /// The size of a regular file, links not followed; -1 when there is none.
    static int64_t GetFileSize(const std::string& path);

private:
    std::string Path;
    std::string Given; ///< as the user wrote it, absolute, with a final "/"
    std::string Name;
    dev_t Device = 0;
    ino_t Inode = 0;
};
