#include "host/CDeviceRoot.h"

#include "core/VnString.h"
#include "files/VnFileSystem.h"
#include "host/CLibrary.h"
#include "host/HostText.h"

#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <system_error>

namespace {

std::string WithSlash(std::string path) {
    if (!path.ends_with('/')) {
        path += '/';
    }
    return path;
}

} // namespace

bool CDeviceRoot::Open(const std::string& path, std::string& error) {
    struct stat status {};
    const std::string real = CLibrary::RealPath(path);
    if (real.empty() || stat(real.c_str(), &status) != 0) {
        error = HostErrorText(errno);
        return false;
    }
    if (!S_ISDIR(status.st_mode)) {
        error = "is no folder";
        return false;
    }
    Path = WithSlash(real);
    std::error_code failure;
    Given = WithSlash(std::filesystem::absolute(path, failure).lexically_normal().native());
    const std::wstring wide = HostWiden(Path);
    VnString clean(wide.c_str());
    VnFileSystem::CleanPathName(clean, /*cleanSegments=*/true, L'_', /*limitLength=*/true,
                                /*keepDots=*/false);
    if (HostText(clean) != wide) {
        error =
            "has a character in its path that no device path can hold, such as a colon, a quote or a blank at the "
            "end of a name; mount it elsewhere";
        return false;
    }
    Name = HostNarrow(HostName(HostWiden(real)));
    if (Name.empty()) {
        Name = "Device";
    }
    Device = status.st_dev;
    Inode = status.st_ino;
    return true;
}

bool CDeviceRoot::IsWritable(std::string& error) const {
    struct statvfs volume {};
    if (statvfs(Path.c_str(), &volume) == 0 && (volume.f_flag & ST_RDONLY) != 0) {
        error = "is read-only";
        return false;
    }
    // Permissions do not tell the whole: only a file that could be made proves that files can be
    // made.
    std::string probe = Path + ".tonehall-XXXXXX";
    const int descriptor = mkostemp(probe.data(), O_CLOEXEC);
    if (descriptor < 0 && errno != ENOSPC) {
        error = "is not writable: " + HostErrorText(errno);
        return false;
    }
    if (descriptor >= 0) {
        close(descriptor);
        unlink(probe.c_str());
    }
    return true;
}

bool CDeviceRoot::IsStillThere() const {
    struct stat status {};
    return stat(Path.c_str(), &status) == 0 && status.st_dev == Device && status.st_ino == Inode;
}

bool CDeviceRoot::IsInside(const std::string& path) const {
    return path.starts_with(Path) && !IsLink(path)
           && IsFolderInside(path.substr(0, path.rfind('/')));
}

bool CDeviceRoot::IsFolderInside(std::string folder) const {
    struct stat status {};
    while (folder.size() >= Path.size()) {
        if (lstat(folder.c_str(), &status) == 0) {
            // A link that leads nowhere yet exists: what is made through it would land wherever it
            // points.
            const std::string real = CLibrary::RealPath(folder);
            return !real.empty() && WithSlash(real).starts_with(Path);
        }
        folder.erase(folder.rfind('/'));
    }
    return WithSlash(folder) == Path;
}

bool CDeviceRoot::IsLink(const std::string& path) {
    struct stat status {};
    return lstat(path.c_str(), &status) == 0 && S_ISLNK(status.st_mode);
}

std::string CDeviceRoot::Resolve(const std::string& path) const {
    std::string_view relative = path;
    for (const std::string& root : {Path, Given}) {
        if (relative.starts_with(root)) {
            relative.remove_prefix(root.size());
            break;
        }
    }
    const std::filesystem::path joined =
        std::filesystem::path(Path) / std::filesystem::path(relative).relative_path();
    return joined.lexically_normal().native();
}

std::string_view CDeviceRoot::MakeRelative(std::string_view path) const {
    return path.starts_with(Path) ? path.substr(Path.size()) : path;
}

int64_t CDeviceRoot::GetFileSize(const std::string& path) {
    struct stat status {};
    return lstat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) ? status.st_size : -1;
}
