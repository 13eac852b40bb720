#include "files/VnFileSystem.h"

#include "core/VnStringArray.h"
#include "files/VnFile.h"
#include "files/VnFileFinder.h"
#include "files/VnFileInfo.h"
#include "files/VnFileSystemShell.h"
#include "files/VnFilename.h"
#include "files/VnMoveCopyDirectory.h"
#include "runtime/IVnPathService.h"
#include "runtime/IVnToolsRoot.h"
#include "runtime/VnLog.h"
#include "runtime/VnSiblingModules.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <utility>
#include <vector>

namespace {

/// Paths shorter than this are never looked at as empty directories.
constexpr int32_t kShortestDirectory = 3;

/// A file that a directory may hold and still count as empty.
constexpr const wchar_t* kIgnoredFile = L"Thumbs.db";

constexpr const char* kRejectionTrace = "/var/tmp/thdebug";

VnString WithSlash(const VnString& path) {
    VnString directory(path);
    directory.EnsureTrailing(L'/');
    return directory;
}

VnString WithoutSlash(const VnString& path) {
    VnString directory(path);
    directory.TrimRight(L'/');
    return directory;
}

/// Whether a path names the root directory, however it is spelled: nothing but separators and "."
/// segments.
bool IsRoot(const VnString& path) {
    if (!path.StartsWith(L'/')) {
        return false;
    }
    for (int32_t index = 1; index < path.GetLength(); ++index) {
        const bool dotSegment = path[index] == L'.' && path[index - 1] == L'/'
                                && (index + 1 == path.GetLength() || path[index + 1] == L'/');
        if (path[index] != L'/' && !dotSegment) {
            return false;
        }
    }
    return true;
}

/// Logs that a directory is not going to be deleted, and leaves a line in the trace file.
void ReportRejectedDelete(const VnString& path) {
    VnLog(kLogGeneral, L"VnFileSystem::DeleteDirectoryTree", L"REJECTING DELETE BECAUSE PATH=%s",
          path);
    // Everybody may write in the folder of the trace, so a link that stands there is not followed.
    const int descriptor =
        open(kRejectionTrace, O_RDWR | O_CREAT | O_APPEND | O_CLOEXEC | O_NOFOLLOW, 0666);
    if (descriptor == -1) {
        return;
    }
    FILE* trace = fdopen(descriptor, "a+");
    if (trace == nullptr) {
        close(descriptor);
        return;
    }
    std::fprintf(trace, "REJECTING DELETE BECAUSE PATH=%s\n", VnStringUTF8(path).GetBytes());
    std::fclose(trace);
}

/// Whether a path is known to name a directory itself, and not a link to one.
bool IsDirectoryAndNoLink(const VnString& path) {
    struct stat record {};
    return lstat(VnStringUTF8(path), &record) == 0 && S_ISDIR(record.st_mode);
}

/// One run of IsDirectoryEmpty.
class CEmptyTest {
public:
    CEmptyTest(bool defaultResult, bool recursive, bool directoriesCount)
        : DefaultResult(defaultResult)
        , Recursive(recursive)
        , DirectoriesCount(directoriesCount) {}

    bool Run(const VnFileInfo& directory) {
        // A link back to an ancestor holds nothing that is not being looked at already.
        const std::pair<dev_t, ino_t> identity(directory.Stat.st_dev, directory.Stat.st_ino);
        if (std::find(Ancestors.begin(), Ancestors.end(), identity) != Ancestors.end()) {
            return true;
        }
        VnFileFinder finder(directory.Filename.Filename);
        if (!finder.IsComplete()) {
            return DefaultResult;
        }
        Ancestors.push_back(identity);
        VnFileInfo info;
        while (finder.Next(info)) {
            const bool counts = info.IsDirectory()
                                    ? (Recursive ? !Run(info) : DirectoriesCount)
                                    : !info.GetLastSegment().EqualsNoCase(kIgnoredFile);
            if (counts) {
                return false;
            }
        }
        Ancestors.pop_back();
        return true;
    }

private:
    bool DefaultResult;
    bool Recursive;
    bool DirectoriesCount;
    std::vector<std::pair<dev_t, ino_t>> Ancestors;
};

/// The levels of a directory that do not exist, from the deepest up.
void ListMissingLevels(const VnString& path, IVnPathService& paths, VnStringArray& levels) {
    VnString drive;
    VnString directory;
    VnFilename::Split(path, {.Drive = &drive, .Directory = &directory});
    while (directory.GetLength() >= 2 && !paths.DirectoryExists(drive + directory)) {
        levels.Add(drive + directory);
        directory.RemoveRight(1);
        directory = directory.Left(directory.ReverseFind(L'/') + 1);
    }
}

/// Makes the levels of a path that are missing; true when the directory is there then.
bool MakeLevels(const VnString& path, IVnPathService& paths) {
    if (!paths.IsPathAvailable(path)) {
        return false;
    }
    VnStringArray levels;
    ListMissingLevels(path, paths, levels);
    for (int32_t index = levels.GetCount() - 1; index >= 0; --index) {
        // Another thread or process may have made the level in between.
        if (!VnFileSystem::CreateDirectory(levels[index])
            && !paths.DirectoryExists(levels[index])) {
            break;
        }
    }
    return paths.DirectoryExists(path);
}

} // namespace

namespace VnFileSystem {

bool CreateDirectory(const VnString& path) {
    return mkdir(VnStringUTF8(path), 0777) == 0;
}

bool MakeDirectoryTree(const VnString& path, bool testWrite) {
    IVnToolsRoot* tools = VnGetToolsRoot();
    IVnPathService* paths = tools == nullptr ? nullptr : tools->GetPathService(1);
    if (path.IsEmpty() || paths == nullptr) {
        return false;
    }
    const VnString directory = WithSlash(path);
    if (!VnFilename::IsAbsoluteOrHomePath(directory)) {
        return !testWrite;
    }
    if (paths->DirectoryExists(directory)) {
        return !testWrite || TestDirectoryWrite(directory);
    }
    const bool result =
        MakeLevels(directory, *paths) && (!testWrite || TestDirectoryWrite(directory));
    if (!result) {
        VnLog(kLogGeneral, L"VnFileSystem::MakeDirectoryTree", L"Failed! Path=%s", directory);
    }
    return result;
}

bool TestDirectoryWrite(const VnString& directory) {
    if (directory.IsEmpty()) {
        return false;
    }
    const VnString path =
        VnString::Formatted(L"%sDirectory Write Test (%d).tmp", WithSlash(directory), gettid());
    VnFile file(VnFilename(path), VnFile::kAccessRead | VnFile::kAccessWrite, 3,
                VnFile::OpenAlways);
    const bool result = file.Open();
    file.Close();
    DeleteFile(path);
    return result;
}

bool DeleteDirectoryTree(const VnString& path,
                         const VnStringArray* keepExtensions,
                         const VnStringUniqueList<VnString, false>* keepNames) {
    if (IsRoot(path) || path.Find(L"..") >= 0) {
        ReportRejectedDelete(path);
        return false;
    }
    if (path.IsEmpty()) {
        return false;
    }
    VnFileFinder finder(WithSlash(path));
    // What cannot be listed may hold something that is to stay.
    bool kept = (keepExtensions != nullptr || keepNames != nullptr) && IsDirectory(path)
                && !finder.IsComplete();
    VnFileInfo info;
    while (finder.Next(info)) {
        const VnString entry = WithoutSlash(info.Filename.Filename);
        if (IsDirectoryAndNoLink(entry)) {
            DeleteDirectoryTree(entry);
            continue;
        }
        const bool keep = !info.IsDirectory()
                          && ((keepExtensions != nullptr
                               && keepExtensions->Contains(info.Filename.GetExtension(true)))
                              || (keepNames != nullptr && keepNames->Contains(info.GetName())));
        if (keep) {
            kept = true;
        } else {
            DeleteFile(entry);
        }
    }
    if (!kept) {
        // Takes the hidden files too, which the finder does not list.
        RunShellLine(L"rm -rf %s", WithoutSlash(path));
    }
    return true;
}

void DeleteEmptyDirectories(const VnString& path, bool recursive, bool walkUp) {
    VnString directory = WithoutSlash(path);
    while (directory.GetLength() >= kShortestDirectory
           && IsDirectoryEmpty(directory, /*defaultResult=*/false, recursive,
                               /*directoriesCount=*/true)) {
        DeleteDirectoryTree(directory);
        if (!walkUp) {
            break;
        }
        directory = directory.Left(directory.ReverseFind(L'/'));
    }
}

bool IsDirectoryEmpty(const VnString& path,
                      bool defaultResult,
                      bool recursive,
                      bool directoriesCount) {
    const VnFileInfo directory(WithSlash(path));
    return directory.IsDirectory()
               ? CEmptyTest(defaultResult, recursive, directoriesCount).Run(directory)
               : defaultResult;
}

bool MoveDirectory(const VnString& source, const VnString& destination, bool recursive) {
    return TransferDirectory(source, destination, /*deleteSource=*/true, recursive);
}

bool CopyDirectory(const VnString& source, const VnString& destination, bool recursive) {
    return TransferDirectory(source, destination, /*deleteSource=*/false, recursive);
}

bool TransferDirectory(const VnString& source,
                       const VnString& destination,
                       bool deleteSource,
                       bool recursive) {
    return VnMoveCopyDirectory(source, destination, recursive).Run(deleteSource);
}

} // namespace VnFileSystem
