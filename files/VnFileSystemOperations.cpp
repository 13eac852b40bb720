#include "files/VnFileSystem.h"

#include "core/VnStringArray.h"
#include "files/VnFileSystemShell.h"
#include "files/VnFilename.h"
#include "runtime/IVnPathService.h"
#include "runtime/IVnToolsRoot.h"
#include "runtime/VnLog.h"
#include "runtime/VnRunProgram.h"
#include "runtime/VnSiblingModules.h"

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

constexpr int32_t kCurrentDirectoryBytes = 131072;

/// Longest target of a copy that goes without the prefix for long paths, and that prefix.
constexpr int32_t kLongPath = 4096;
constexpr const wchar_t* kLongPathPrefix = L"\\\\?\\";

bool GetStat(const VnString& path, struct stat& record) {
    return !path.IsEmpty() && stat(VnStringUTF8(path), &record) == 0;
}

/// Whether rename(2) can do the move: a regular file, and the place where it goes on the same
/// device.
bool IsOnSameDevice(const VnString& source, const VnString& destination) {
    struct stat from {};
    struct stat to {};
    if (!GetStat(source, from) || !S_ISREG(from.st_mode)) {
        return false;
    }
    if (VnFilename(destination).Exists(/*useToolsModule=*/true, /*toolsOption=*/0)) {
        return GetStat(destination, to) && S_ISREG(to.st_mode) && to.st_dev == from.st_dev;
    }
    return GetStat(VnFilename::GetPathOnly(destination), to) && S_ISDIR(to.st_mode)
           && to.st_dev == from.st_dev;
}

/// Where a file goes in a directory: under `newName` or, when that is empty, its own name.
VnString GetTarget(const VnString& file, const VnString& directory, const VnString& newName) {
    VnString target(directory);
    target.EnsureTrailing(L'/');
    if (!newName.IsEmpty()) {
        return target + newName;
    }
    VnString name;
    VnString extension;
    VnFilename::Split(file, {.Name = &name, .Extension = &extension}, /*lowerCaseExtension=*/false);
    target += name;
    if (!extension.IsEmpty()) {
        target += L'.';
        target += extension;
    }
    return target;
}

/// A path as an argument of a shell line.
VnString GetShellPath(const VnString& path) {
    VnString absolute(path);
    if (!path.StartsWith(L'/')) {
        absolute = VnFileSystem::GetCurrentDirectory();
        if (absolute.IsEmpty()) {
            absolute = L"."; // gone or hidden, and the name must still not pass for an option
        }
        absolute.EnsureTrailing(L'/');
        absolute += path;
    }
    return absolute.QuoteForShell();
}

} // namespace

namespace VnFileSystem {

bool RunShellLine(const wchar_t* format, const VnString& first, const VnString& second) {
    if (first.IsEmpty()) {
        return false;
    }
    const VnString line = VnString::Formatted(format, GetShellPath(first), GetShellPath(second));
    const int status = std::system(VnStringUTF8(line));
    return status != -1 && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

bool DeleteFile(const VnString& path) {
    if (path.IsEmpty()) {
        return false;
    }
    if (unlink(VnStringUTF8(path)) == 0) {
        return true;
    }
    const int32_t error = errno;
    if (VnFilename(path).Exists(/*useToolsModule=*/true, /*toolsOption=*/0)) {
        VnLog(kLogGeneral, L"VnFileSystem::DeleteFile", L"Error %d deleting existing file: %s",
              error, path);
    }
    return false;
}

bool MoveFile(const VnString& source, const VnString& destination) {
    if (source.IsEmpty() || destination.IsEmpty()) {
        return false;
    }
    if (IsOnSameDevice(source, destination)) {
        return rename(VnStringUTF8(source), VnStringUTF8(destination)) == 0;
    }
    return RunShellLine(L"mv -f %s %s", source, destination);
}

bool CopyFile(const VnString& source, const VnString& destination, bool failIfExists) {
    // Asked by the text as it stands: FileExists would take what follows a ";" for no part of it.
    struct stat record {};
    if (source.IsEmpty() || destination.IsEmpty()
        || (failIfExists && GetStat(destination, record))) {
        return false;
    }
    return RunShellLine(L"cp -f %s %s", source, destination);
}

bool CopyToDirectory(const VnString& file,
                     const VnString& directory,
                     bool failIfExists,
                     const VnString& newName) {
    if (file.IsEmpty() || directory.IsEmpty()) {
        return false;
    }
    VnString target = GetTarget(file, directory, newName);
    if (target.GetLength() > kLongPath && !target.StartsWith(kLongPathPrefix)) {
        target.Prepend(kLongPathPrefix);
    }
    return CopyFile(VnFilename::GetLocalPath(file), target, failIfExists);
}

bool MoveToDirectory(const VnString& file, const VnString& directory, const VnString& newName) {
    if (file.IsEmpty() || directory.IsEmpty()) {
        return false;
    }
    const VnString target = GetTarget(file, directory, newName);
    if (IsFile(target)) {
        return false;
    }
    // A directory that cannot be made shows in the move.
    MakeDirectoryTree(directory, /*testWrite=*/false);
    return MoveFile(VnFilename::GetLocalPath(file), target);
}

namespace {

/// Moves `replacement` to a `target` that does not exist. A move to another volume that broke off
/// must not leave a part of the file under its name.
bool MoveToFreeName(const VnString& target, const VnString& replacement) {
    if (MoveFile(replacement, target)) {
        return true;
    }
    struct stat part {};
    struct stat whole {};
    if (GetStat(target, part) && GetStat(replacement, whole) && part.st_size < whole.st_size) {
        DeleteFile(target);
    }
    return false;
}

/// Puts `replacement` in the place of a `target` that exists.
bool ReplaceExistingFile(const VnString& target, const VnString& replacement) {
    const VnString name = L"VnFileSystem::SafeReplaceFile";
    const VnString aside = GetFreeFilename(target);
    if (!MoveFile(target, aside)) {
        VnLog(kLogGeneral, name, L"Error renaming original file");
        return false;
    }
    if (!MoveFile(replacement, target)) {
        MoveFile(aside, target);
        VnLog(kLogGeneral, name, L"Error moving new file into place of original name");
        return false;
    }
    DeleteFile(aside);
    return true;
}

} // namespace

bool SafeReplaceFile(const VnString& target,
                     const VnString& replacement,
                     int64_t minimumSize,
                     bool deleteReplacementOnFailure) {
    bool result = GetFileSize(replacement, /*allowRemote=*/true) >= minimumSize;
    if (result) {
        // As in CopyFile, what follows a ";" is a part of the name.
        result = IsFile(target) ? ReplaceExistingFile(target, replacement)
                                : MoveToFreeName(target, replacement);
    }
    if (!result && deleteReplacementOnFailure) {
        DeleteFile(replacement);
    }
    return result;
}

bool FileExists(const VnString& path, bool useToolsModule) {
    return VnFilename(path).Exists(useToolsModule, /*toolsOption=*/0);
}

bool IsFile(const VnString& path) {
    struct stat record {};
    return GetStat(path, record) && !S_ISDIR(record.st_mode);
}

bool IsDirectory(const VnString& path) {
    struct stat record {};
    return GetStat(path, record) && S_ISDIR(record.st_mode);
}

bool DirectoryExists(const VnString& path) {
    VnString directory(path);
    directory.EnsureTrailing(L'/');
    IVnToolsRoot* tools = VnGetToolsRoot();
    IVnPathService* paths = tools == nullptr ? nullptr : tools->GetPathService(1);
    return paths != nullptr && paths->DirectoryExists(directory);
}

int64_t GetFileSize(const VnString& path, bool allowRemote) {
    return VnFilename(path).GetFileSize(allowRemote);
}

FILE* OpenFile(const VnString& path, const char* mode) {
    return std::fopen(VnStringUTF8(path), (std::string(mode) + "e").c_str());
}

uint32_t GetFileAttributes(const VnString& /*path*/) {
    return 0;
}

int32_t SetFileAttributes(const VnString& /*path*/, uint32_t /*attributes*/) {
    return 0;
}

int32_t UnmapFilename(const VnString& /*path*/) {
    return 0;
}

bool SetCurrentDirectory(const VnString& path) {
    return chdir(VnStringUTF8(VnFilename::GetPathOnly(path))) == 0;
}

VnString GetCurrentDirectory() {
    std::vector<char> bytes(kCurrentDirectoryBytes);
    const char* directory = getcwd(bytes.data(), bytes.size());
    return directory == nullptr ? VnString() : VnString::FromFileSystemText(directory);
}

VnString GetEnvironment(const VnString& name) {
    const char* value = std::getenv(VnStringUTF8(name));
    return value == nullptr ? VnString() : VnString::FromFileSystemText(value);
}

bool SetEnvironment(const VnString& name, const VnString& value) {
    return setenv(VnStringUTF8(name), VnStringUTF8(value), /*overwrite=*/1) == 0;
}

bool ShowInFileManager(const VnString& path) {
    VnStringArray arguments;
    arguments.Add(L"file://" + VnFilename::GetPathOnly(VnFilename::GetLocalPath(path)));
    return RunProgram(L"xdg-open", &arguments, /*blocking=*/false);
}

} // namespace VnFileSystem
