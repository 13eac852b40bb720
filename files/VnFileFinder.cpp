#include "files/VnFileFinder.h"

#include "files/VnFileInfo.h"
#include "runtime/IVnPathService.h"
#include "runtime/IVnToolsRoot.h"
#include "runtime/VnSiblingModules.h"

#include <dirent.h>
#include <sys/stat.h>

#include <cerrno>
#include <string_view>

namespace {

/// The directory ahead of the first segment that holds a wildcard, or of the last segment; "./" for
/// a pattern that is relative to the current one.
VnString GetSearchedDirectory(const VnString& path) {
    const int32_t wildcard = path.Find(L'*');
    const int32_t separator = path.ReverseFind(L'/', wildcard);
    return separator < 0 ? VnString(L"./") : path.Left(separator + 1);
}

bool DirectoryExists(const VnString& directory) {
    // The module is not loaded for this: stat answers as well.
    IVnToolsRoot* root = VnGetToolsRoot(/*load=*/false);
    IVnPathService* paths = root == nullptr ? nullptr : root->GetPathService(1);
    if (paths != nullptr) {
        return paths->DirectoryExists(directory);
    }
    struct stat record = {};
    return stat(VnStringUTF8(directory), &record) == 0 && S_ISDIR(record.st_mode);
}

/// Length of the head of the path in which "*" is a character like any other: that of a directory
/// which has such a name, since nobody who names it wants its neighbours.
int32_t GetLiteralLength(const VnString& path) {
    const int32_t length = path.ReverseFind(L'/') + 1;
    const VnString directory = path.Left(length);
    return directory.Find(L'*') >= 0 && DirectoryExists(directory) ? length : 0;
}

/// The pattern for glob(3): all of its special characters but "*" are taken literally.
VnString MakePattern(const VnString& path) {
    static constexpr std::wstring_view kSpecial = L"?[]\\*";
    const int32_t literalLength = GetLiteralLength(path);
    VnString pattern;
    for (int32_t i = 0; i < path.GetLength(); ++i) {
        const bool isWildcard = path[i] == L'*' && i >= literalLength;
        if (!isWildcard && kSpecial.find(path[i]) != std::wstring_view::npos) {
            pattern.Append(L'\\');
        }
        pattern.Append(path[i]);
    }
    if (pattern.EndsWith(L'/')) {
        pattern.Append(L'*');
    }
    return pattern;
}

/// What the search of this thread marks when a directory cannot be read: glob(3) hands its own
/// functions no argument of ours, and takes a directory that breaks off for one that has ended.
thread_local bool* CompleteFlag = nullptr;

void* OpenSearched(const char* path) {
    DIR* directory = opendir(path);
    if (directory == nullptr && errno != ENOTDIR) {
        *CompleteFlag = false;
    }
    return directory;
}

dirent* ReadSearched(void* directory) {
    errno = 0;
    dirent* entry = readdir(static_cast<DIR*>(directory));
    if (entry == nullptr && errno != 0) {
        *CompleteFlag = false;
    }
    return entry;
}

void CloseSearched(void* directory) {
    closedir(static_cast<DIR*>(directory));
}

} // namespace

VnFileFinder::VnFileFinder(const VnString& path) : Pattern(path), Glob{} {
    const VnString localPath = Pattern.GetLocalPath();
    if (localPath.IsEmpty() || !DirectoryExists(GetSearchedDirectory(localPath))) {
        return;
    }
    Glob.gl_opendir = OpenSearched;
    Glob.gl_readdir = ReadSearched;
    Glob.gl_closedir = CloseSearched;
    Glob.gl_stat = stat;
    Glob.gl_lstat = lstat;
    CompleteFlag = &Complete;
    const int result =
        glob(VnStringUTF8(MakePattern(localPath)), GLOB_MARK | GLOB_ALTDIRFUNC, nullptr, &Glob);
    Valid = result == 0 || result == GLOB_NOMATCH;
    if (!Valid) {
        globfree(&Glob);
    }
}

VnFileFinder::~VnFileFinder() {
    if (Valid) {
        globfree(&Glob);
        Valid = false;
    }
}

bool VnFileFinder::Next(VnFileInfo& info) {
    if (!Valid || Index >= Glob.gl_pathc) {
        return false;
    }
    const char* match = Glob.gl_pathv[Index++];
    struct stat record = {};
    const bool found = stat(match, &record) == 0;
    VnString path;
    path.SetFileSystemText(match);
    info.SetFound(path, found ? &record : nullptr);
    return true;
}

bool VnFileFinder::Exists(const VnString& path) {
    const VnFileFinder finder(path);
    return finder.Valid && finder.Glob.gl_pathc > 0;
}
