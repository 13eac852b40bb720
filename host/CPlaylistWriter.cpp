#include "host/CPlaylistWriter.h"

#include "host/HostText.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <system_error>

namespace {

using Entries = std::vector<CPlaylistWriter::CEntry>;

/// Text of one line: a line end in a tag must not begin a line of its own.
std::wstring OneLine(std::wstring_view text) {
    std::wstring line(HostTrim(text));
    for (wchar_t& ch : line) {
        ch = ch == L'\r' || ch == L'\n' || ch == 0x2028 || ch == 0x2029 ? L' ' : ch;
    }
    return line;
}

std::string EscapeXML(std::wstring_view text) {
    std::string out;
    for (const char ch : HostUTF8(text)) {
        switch (ch) {
        case '&':
            out += "&amp;";
            break;
        case '<':
            out += "&lt;";
            break;
        case '>':
            out += "&gt;";
            break;
        case '"':
            out += "&quot;";
            break;
        default:
            // XML 1.0 has no form for the other control characters.
            out += static_cast<unsigned char>(ch) < 0x20 && ch != '\t' ? ' ' : ch;
        }
    }
    return out;
}

std::wstring Label(const CPlaylistWriter::CEntry& entry) {
    return OneLine(entry.Artist.empty() ? entry.Title : entry.Artist + L" - " + entry.Title);
}

std::string RenderM3U(const Entries& entries, bool withComments) {
    std::string out = withComments ? "#EXTM3U\r\n" : "";
    for (const CPlaylistWriter::CEntry& entry : entries) {
        if (withComments) {
            out +=
                "#EXTINF:" + std::to_string(entry.Seconds) + "," + HostUTF8(Label(entry)) + "\r\n";
        }
        // By its bytes, or a name that is no UTF-8 would name nothing.
        out += HostNarrow(entry.Path) + "\r\n";
    }
    return out;
}

std::string RenderASX(const Entries& entries, const std::wstring& name) {
    std::string out = "<asx version=\"3.0\">\r\n<title>" + EscapeXML(name) + "</title>\r\n";
    for (const CPlaylistWriter::CEntry& entry : entries) {
        out += "<entry>\r\n<title>" + EscapeXML(entry.Title) + "</title>\r\n";
        if (!entry.Artist.empty()) {
            out += "<author>" + EscapeXML(entry.Artist) + "</author>\r\n";
        }
        out += "<ref href=\"" + EscapeXML(entry.Path) + "\" />\r\n</entry>\r\n";
    }
    return out + "</asx>\r\n";
}

std::string RenderWPL(const Entries& entries, const std::wstring& name) {
    std::string out =
        "<?wpl version=\"1.0\"?>\r\n<smil>\r\n<head>\r\n<meta name=\"Generator\" content=\"tonehall\"/>\r\n"
        "<meta name=\"ItemCount\" content=\""
        + std::to_string(entries.size()) + "\"/>\r\n<title>" + EscapeXML(name)
        + "</title>\r\n</head>\r\n<body>\r\n<seq>\r\n";
    for (const CPlaylistWriter::CEntry& entry : entries) {
        out += "<media src=\"" + EscapeXML(entry.Path) + "\"/>\r\n";
    }
    return out + "</seq>\r\n</body>\r\n</smil>\r\n";
}

std::string RenderPLS(const Entries& entries) {
    std::string out = "[playlist]\r\n";
    size_t number = 0;
    for (const CPlaylistWriter::CEntry& entry : entries) {
        const std::string suffix = std::to_string(++number) + "=";
        out += "File" + suffix + HostNarrow(entry.Path) + "\r\nTitle" + suffix
               + HostUTF8(Label(entry)) + "\r\nLength" + suffix + std::to_string(entry.Seconds)
               + "\r\n";
    }
    return out + "NumberOfEntries=" + std::to_string(entries.size()) + "\r\nVersion=2\r\n";
}

std::string RenderMPL(const Entries& entries, const std::wstring& name) {
    const auto field = [](const char* fieldName, std::wstring_view value) {
        return value.empty() ? std::string()
                             : std::string("<Field Name=\"") + fieldName + "\">" + EscapeXML(value)
                                   + "</Field>\r\n";
    };
    std::string out =
        "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\" ?>\r\n<MPL Version=\"2.0\" Title=\""
        + EscapeXML(name) + "\">\r\n";
    for (const CPlaylistWriter::CEntry& entry : entries) {
        out += "<Item>\r\n" + field("Filename", entry.Path) + field("Name", entry.Title)
               + field("Artist", entry.Artist)
               + (entry.Seconds < 0 ? std::string()
                                    : field("Duration", std::to_wstring(entry.Seconds)))
               + "</Item>\r\n";
    }
    return out + "</MPL>\r\n";
}

bool WriteAll(int descriptor, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t count = write(descriptor, bytes.data(), bytes.size());
        if (count < 0 && errno != EINTR) {
            return false;
        }
        bytes.remove_prefix(count > 0 ? static_cast<size_t>(count) : 0);
    }
    return true;
}

} // namespace

std::string CPlaylistWriter::Render(std::wstring_view extension,
                                    const Entries& entries,
                                    const COptions& options) {
    if (extension == L"asx") {
        return RenderASX(entries, options.Name);
    }
    if (extension == L"wpl") {
        return RenderWPL(entries, options.Name);
    }
    if (extension == L"pls") {
        return RenderPLS(entries);
    }
    if (extension == L"mpl") {
        return RenderMPL(entries, options.Name);
    }
    return RenderM3U(entries, options.WithComments && extension != L"pla");
}

bool CPlaylistWriter::Save(const std::string& path, std::string_view bytes, std::string& error) {
    std::error_code failure;
    std::filesystem::create_directories(std::filesystem::path(path).parent_path(), failure);
    const int descriptor = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (descriptor < 0) {
        error = HostErrorText(errno);
        return false;
    }
    struct stat state = {};
    const bool isPlainFile = fstat(descriptor, &state) == 0 && S_ISREG(state.st_mode);
    bool done = WriteAll(descriptor, bytes);
    int code = errno;
    if (close(descriptor) != 0 && done) {
        done = false;
        code = errno;
    }
    if (!done) {
        error = HostErrorText(code);
        if (isPlainFile) {
            unlink(path.c_str()); // never a device node or a pipe
        }
    }
    return done;
}
