#include "modules/tools/CPathService.h"

#include "core/VnString.h"

#include <sys/stat.h>

#include <cerrno>
#include <string>

namespace {

constexpr int32_t kFollowNoLink = 2;

bool IsDirectory(const char* path) {
    struct stat record = {};
    return ::stat(path, &record) == 0 && S_ISDIR(record.st_mode);
}

} // namespace

bool CPathService::FileExists(const wchar_t* path, int32_t option) {
    if (path == nullptr || *path == 0) {
        return false;
    }
    const VnStringUTF8 bytes(path);
    struct stat record = {};
    const int result =
        (option & kFollowNoLink) != 0 ? ::lstat(bytes, &record) : ::stat(bytes, &record);
    return result == 0 && !S_ISDIR(record.st_mode);
}

bool CPathService::DirectoryExists(const wchar_t* path) {
    if (path == nullptr || *path == 0) {
        return false;
    }
    const size_t length = std::wcslen(path);
    if (path[length - 1] != L'*') {
        return IsDirectory(VnStringUTF8(path));
    }
    if (length == 1) {
        return true; // everything in the current directory
    }
    const bool pattern = path[length - 2] == L'/';
    return IsDirectory(VnStringUTF8(path, static_cast<int32_t>(pattern ? length - 1 : length)));
}

bool CPathService::IsPathAvailable(const wchar_t* path) {
    if (path == nullptr || *path == 0) {
        return false;
    }
    std::string prefix = VnStringUTF8(path).GetBytes();
    for (;;) {
        struct stat record = {};
        if (::stat(prefix.c_str(), &record) == 0) {
            return S_ISDIR(record.st_mode);
        }
        if (errno != ENOENT) {
            return false; // below a file, forbidden, or no path at all
        }
        while (!prefix.empty() && prefix.back() == '/') {
            prefix.pop_back();
        }
        const size_t slash = prefix.rfind('/');
        if (slash == std::string::npos) {
            return true; // relative, below the current directory
        }
        prefix.resize(slash + 1);
    }
}
