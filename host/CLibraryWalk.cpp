#include "host/CLibraryWalk.h"

#include "host/CMediaType.h"
#include "host/HostText.h"

#include <dirent.h>
#include <limits.h>
#include <stdlib.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <memory>

namespace {

constexpr int kDeepest =
    200; // folders inside folders; a file system that lies about its links must not end the stack

struct DirectoryCloser {
    void operator()(DIR* directory) const { closedir(directory); }
};

std::string RealPath(const std::string& path) {
    const std::unique_ptr<char, decltype(&free)> real(realpath(path.c_str(), nullptr), &free);
    return real == nullptr ? std::string() : std::string(real.get());
}

int64_t Nanoseconds(const timespec& time) {
    return static_cast<int64_t>(time.tv_sec) * 1000000000 + time.tv_nsec;
}

} // namespace

CLibraryWalk::CLibraryWalk(std::vector<std::string> folders,
                           std::function<bool()> isCancelled,
                           std::string leftOut)
    : Folders(std::move(folders))
    , IsCancelled(std::move(isCancelled))
    , LeftOut(std::move(leftOut)) {
    if (LeftOut.size() > 1 && LeftOut.ends_with('/')) {
        LeftOut.pop_back();
    }
}

void CLibraryWalk::Run() {
    if (struct stat status{}; !LeftOut.empty() && stat(LeftOut.c_str(), &status) == 0) {
        Entered.emplace(status.st_dev, status.st_ino); // and so it is never entered again
    }
    for (const std::string& folder : Folders) {
        struct stat status {};
        if (stat(folder.c_str(), &status) != 0) {
            PassOver(folder, "cannot be listed: " + HostErrorText(errno), true);
        } else if (!S_ISDIR(status.st_mode)) {
            PassOver(folder, "is no folder", true);
        } else if (Entered.emplace(status.st_dev, status.st_ino).second) {
            WalkFolder(folder, 0);
        }
    }
}

void CLibraryWalk::WalkFolder(const std::string& folder, int depth) {
    if (IsCancelled && IsCancelled()) {
        return;
    }
    if (depth > kDeepest) {
        PassOver(folder, "folders nested too deep", true);
        return;
    }
    const std::unique_ptr<DIR, DirectoryCloser> directory(opendir(folder.c_str()));
    if (directory == nullptr) {
        PassOver(folder, "cannot be listed: " + HostErrorText(errno), true);
        return;
    }
    std::vector<std::string> names;
    errno = 0;
    while (const dirent* entry = readdir(directory.get())) {
        if (!CMediaType::IsClutter(HostWiden(entry->d_name))) {
            names.emplace_back(entry->d_name);
        }
        errno = 0;
    }
    if (errno != 0) {
        PassOver(folder, "cannot be listed to its end: " + HostErrorText(errno), true);
    }
    std::sort(names.begin(), names.end());
    const std::string prefix = folder.ends_with('/') ? folder : folder + "/";
    for (const std::string& name : names) {
        Look(prefix + name, depth);
    }
}

void CLibraryWalk::Look(const std::string& path, int depth) {
    struct stat status {};
    if (lstat(path.c_str(), &status) != 0) {
        PassOver(path, "cannot be read: " + HostErrorText(errno), true);
    } else if (S_ISREG(status.st_mode)) {
        Files.push_back({path, status.st_size, Nanoseconds(status.st_mtim)});
    } else if (S_ISDIR(status.st_mode)) {
        if (Entered.emplace(status.st_dev, status.st_ino).second) {
            WalkFolder(path, depth + 1);
        }
    } else if (S_ISLNK(status.st_mode)) {
        LookAtLink(path, depth);
    } else if (S_ISFIFO(status.st_mode)) {
        PassOver(path, "is a FIFO, not a file");
    } else if (S_ISSOCK(status.st_mode)) {
        PassOver(path, "is a socket, not a file");
    } else {
        PassOver(path, "is a device, not a file");
    }
}

void CLibraryWalk::LookAtLink(const std::string& path, int depth) {
    struct stat status {};
    if (stat(path.c_str(), &status) != 0) {
        const bool circle = errno == ELOOP;
        const bool nowhere = errno == ENOENT || errno == ENOTDIR;
        PassOver(path,
                 circle    ? "is a link that leads round in a circle"
                 : nowhere ? "is a link that leads nowhere"
                           : "cannot be read: " + HostErrorText(errno),
                 !circle && !nowhere);
        return;
    }
    const Identity identity(status.st_dev, status.st_ino);
    if (IsLeftOut(RealPath(path))) {
        PassOver(path, "is a link to the device");
    } else if (S_ISDIR(status.st_mode)) {
        const std::string real = RealPath(path);
        if (path.starts_with(real == "/" ? real : real + "/")) {
            PassOver(path, "is a link to a folder that it stands in");
        } else if (!IsInLibrary(real) && Entered.insert(identity).second) {
            WalkFolder(path, depth + 1);
        }
    } else if (!S_ISREG(status.st_mode)) {
        PassOver(path, "is a link to something that is no file");
    } else if (!IsInLibrary(RealPath(path)) && Linked.insert(identity).second) {
        Files.push_back({path, status.st_size, Nanoseconds(status.st_mtim)});
    }
}

bool CLibraryWalk::IsInLibrary(const std::string& path) const {
    return std::any_of(Folders.begin(), Folders.end(), [&path](const std::string& folder) {
        return path == folder || path.starts_with(folder.ends_with('/') ? folder : folder + "/");
    });
}

bool CLibraryWalk::IsLeftOut(const std::string& path) const {
    return !LeftOut.empty() && (path == LeftOut || path.starts_with(LeftOut + "/"));
}

void CLibraryWalk::PassOver(const std::string& path, std::string reason, bool isFailure) {
    PassedOver.push_back({path, std::move(reason), isFailure});
}
