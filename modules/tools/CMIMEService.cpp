#include "modules/tools/CMIMEService.h"

#include "core/VnDllString.h"
#include "core/VnString.h"
#include "modules/tools/ToolsText.h"

#include <fstream>
#include <sstream>

namespace {

constexpr char kSystemTable[] = "/etc/mime.types";
constexpr wchar_t kUnknownType[] = L"application/octet-stream";

struct TypeEntry {
    const char* Extension;
    const char* Type;
};

/// The first row of a type gives its extension, the first row of an extension its type.
constexpr TypeEntry kBuiltIn[] = {
    {"mp3", "audio/mpeg"},
    {"mp3", "audio/mp3"},
    {"mp3", "audio/x-mp3"},
    {"mp3", "audio/x-mpeg"},
    {"mp3", "audio/mpeg3"},
    {"mp2", "audio/mpeg"},
    {"flac", "audio/flac"},
    {"flac", "audio/x-flac"},
    {"ogg", "audio/ogg"},
    {"ogg", "application/ogg"},
    {"ogg", "audio/vorbis"},
    {"oga", "audio/ogg"},
    {"opus", "audio/opus"},
    {"spx", "audio/x-speex"},
    {"m4a", "audio/mp4"},
    {"m4a", "audio/x-m4a"},
    {"m4b", "audio/mp4"},
    {"aac", "audio/aac"},
    {"aac", "audio/aacp"},
    {"aac", "audio/x-aac"},
    {"wav", "audio/x-wav"},
    {"wav", "audio/wav"},
    {"wav", "audio/vnd.wave"},
    {"aif", "audio/x-aiff"},
    {"aiff", "audio/x-aiff"},
    {"ape", "audio/x-ape"},
    {"wv", "audio/x-wavpack"},
    {"mpc", "audio/x-musepack"},
    {"tta", "audio/x-tta"},
    {"ra", "audio/x-pn-realaudio"},
    {"ra", "audio/vnd.rn-realaudio"},
    {"dsf", "audio/x-dsf"},
    {"dff", "audio/x-dff"},
    {"mid", "audio/midi"},
    {"wma", "audio/x-ms-wma"},
    {"wax", "audio/x-ms-wax"},
    {"m3u", "audio/x-mpegurl"},
    {"m3u", "audio/mpegurl"},
    {"m3u8", "application/vnd.apple.mpegurl"},
    {"m3u8", "application/x-mpegurl"},
    {"pls", "audio/x-scpls"},
    {"wpl", "application/vnd.ms-wpl"},
    {"asx", "video/x-ms-asx"},
    {"asf", "video/x-ms-asf"},
    {"asf", "application/vnd.ms-asf"},
    {"wmv", "video/x-ms-wmv"},
    {"mp4", "video/mp4"},
    {"m4v", "video/x-m4v"},
    {"mkv", "video/x-matroska"},
    {"mka", "audio/x-matroska"},
    {"webm", "video/webm"},
    {"avi", "video/x-msvideo"},
    {"avi", "video/avi"},
    {"mov", "video/quicktime"},
    {"mpg", "video/mpeg"},
    {"mpeg", "video/mpeg"},
    {"m2ts", "video/mp2t"},
    {"ts", "video/mp2t"},
    {"ogv", "video/ogg"},
    {"flv", "video/x-flv"},
    {"3gp", "video/3gpp"},
    {"rm", "application/vnd.rn-realmedia"},
    {"jpg", "image/jpeg"},
    {"jpeg", "image/jpeg"},
    {"png", "image/png"},
    {"gif", "image/gif"},
    {"bmp", "image/bmp"},
    {"bmp", "image/x-ms-bmp"},
    {"tif", "image/tiff"},
    {"tiff", "image/tiff"},
    {"webp", "image/webp"},
    {"heic", "image/heic"},
    {"svg", "image/svg+xml"},
    {"ico", "image/vnd.microsoft.icon"},
    {"htm", "text/html"},
    {"html", "text/html"},
    {"htm", "application/xhtml+xml"},
    {"txt", "text/plain"},
    {"xml", "text/xml"},
    {"xml", "application/xml"},
    {"json", "application/json"},
    {"css", "text/css"},
    {"js", "text/javascript"},
    {"pdf", "application/pdf"},
    {"zip", "application/zip"},
};

/// The bare type, lower case: what stands ahead of ";", without blanks.
std::string CleanType(const wchar_t* contentType) {
    std::string type = ToLowerUTF8(contentType);
    type.resize(std::min(type.find(';'), type.size()));
    const size_t first = type.find_first_not_of(" \t\r\n");
    const size_t last = type.find_last_not_of(" \t\r\n");
    return first == std::string::npos ? std::string() : type.substr(first, last - first + 1);
}

const char* FindBuiltInExtension(const std::string& type) {
    for (const TypeEntry& entry : kBuiltIn) {
        if (type == entry.Type) {
            return entry.Extension;
        }
    }
    return nullptr;
}

} // namespace

const char* CMIMEService::FindBuiltInType(const std::string& extension) {
    for (const TypeEntry& entry : kBuiltIn) {
        if (extension == entry.Extension) {
            return entry.Type;
        }
    }
    return nullptr;
}

/// Lines of the table: a type, then its extensions; "#" begins a comment.
void CMIMEService::LoadSystemTable() {
    std::call_once(Loaded, [this] {
        std::ifstream file(kSystemTable);
        for (std::string line; std::getline(file, line);) {
            std::istringstream words(line);
            std::string type;
            if (!(words >> type) || type[0] == '#') {
                continue;
            }
            for (std::string extension; words >> extension;) {
                SystemTypes.emplace(extension, type);
                SystemExtensions.emplace(type, extension);
            }
        }
    });
}

void CMIMEService::GetExtension(const wchar_t* contentType, IVnDllString& extension) {
    const std::string type = CleanType(contentType);
    if (const char* known = FindBuiltInExtension(type)) {
        SetUTF8(extension, known);
        return;
    }
    LoadSystemTable();
    const auto found = SystemExtensions.find(type);
    SetUTF8(extension, found == SystemExtensions.end() ? std::string() : found->second);
}

void CMIMEService::GetContentType(const wchar_t* extension, IVnDllString& contentType) {
    std::string name = ToLowerUTF8(extension);
    if (!name.empty() && name[0] == '.') {
        name.erase(0, 1);
    }
    if (const char* known = FindBuiltInType(name)) {
        SetUTF8(contentType, known);
        return;
    }
    LoadSystemTable();
    const auto found = SystemTypes.find(name);
    if (found == SystemTypes.end()) {
        contentType.Set(kUnknownType, -1);
    } else {
        SetUTF8(contentType, found->second);
    }
}
