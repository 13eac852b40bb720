#include "host/CPlaylistReader.h"

#include "host/HostText.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <optional>
#include <sstream>

namespace {

bool IsFile(const std::string& path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

int HexDigit(char ch) {
    if (ch >= '0' && ch <= '9') {
        return ch - '0';
    }
    const char lower = static_cast<char>(ch | 0x20);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

std::string DecodePercent(std::string_view text) {
    std::string out;
    for (size_t index = 0; index < text.size(); ++index) {
        const bool escape = text[index] == '%' && index + 2 < text.size()
                            && HexDigit(text[index + 1]) >= 0 && HexDigit(text[index + 2]) >= 0;
        out += escape
                   ? static_cast<char>(HexDigit(text[index + 1]) * 16 + HexDigit(text[index + 2]))
                   : text[index];
        index += escape ? 2 : 0;
    }
    return out;
}

std::string FromLatin1(std::string_view text) {
    std::wstring wide;
    for (const char ch : text) {
        wide += static_cast<wchar_t>(static_cast<unsigned char>(ch));
    }
    return HostNarrow(wide);
}

std::string WithSlashes(std::string text) {
    std::replace(text.begin(), text.end(), '\\', '/');
    return text;
}

std::optional<std::string> FindFile(const std::string& folder, const std::string& entry) {
    constexpr std::string_view kFileURL = "file://";
    if (entry.starts_with(kFileURL)) {
        std::string path = DecodePercent(std::string_view(entry).substr(kFileURL.size()));
        if (path.starts_with("localhost/")) {
            path.erase(0, 9);
        }
        return IsFile(path) ? std::optional(path) : std::nullopt;
    }
    for (const std::string& form :
         {entry, WithSlashes(entry), FromLatin1(entry), WithSlashes(FromLatin1(entry))}) {
        const std::string path = form.starts_with('/') ? form : folder + form;
        if (IsFile(path)) {
            return path;
        }
    }
    return std::nullopt;
}

} // namespace

std::vector<std::string> CPlaylistReader::SplitEntries(std::string_view text) {
    if (text.starts_with("\xEF\xBB\xBF")) {
        text.remove_prefix(3);
    }
    std::vector<std::string> entries;
    while (!text.empty()) {
        const size_t end = text.find_first_of("\r\n");
        std::string_view line = text.substr(0, end);
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
        const size_t start = line.find_first_not_of(" \t");
        if (start != std::string_view::npos && line[start] != '#') {
            line.remove_prefix(start);
            entries.emplace_back(line.substr(0, line.find_last_not_of(" \t") + 1));
        }
    }
    return entries;
}

std::string CPlaylistReader::FindProblem(const std::string& path) {
    struct stat status {};
    if (stat(path.c_str(), &status) != 0) {
        return errno == ENOENT ? "no such file" : HostErrorText(errno);
    }
    if (!S_ISREG(status.st_mode)) {
        return "is no regular file";
    }
    const std::wstring extension = HostExtension(HostWiden(path));
    return extension == L"m3u" || extension == L"m3u8" ? std::string() : "is no m3u or m3u8 file";
}

bool CPlaylistReader::Read(const std::string& path, CResult& result, std::string& error) {
    if (error = FindProblem(path); !error.empty()) {
        return false;
    }
    std::ifstream file(path, std::ios::binary);
    std::ostringstream bytes;
    if (!file.is_open()
        || (file.peek() != std::ifstream::traits_type::eof() && !(bytes << file.rdbuf()))) {
        error = "cannot be read: " + HostErrorText(errno);
        return false;
    }
    if (bytes.view().find('\0') != std::string_view::npos) {
        error = "is no playlist: it has NUL bytes";
        return false;
    }
    const size_t slash = path.rfind('/');
    const std::string folder = slash == std::string::npos ? "" : path.substr(0, slash + 1);
    for (const std::string& entry : SplitEntries(bytes.str())) {
        if (std::optional<std::string> found = FindFile(folder, entry)) {
            result.Files.push_back(std::move(*found));
        } else {
            result.Missing.push_back(entry);
        }
    }
    return true;
}
