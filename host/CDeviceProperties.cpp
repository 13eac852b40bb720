#include "host/CDeviceProperties.h"

#include "host/HostText.h"

#include <algorithm>
#include <array>
#include <vector>

namespace {

struct Default {
    const wchar_t* Key;
    const wchar_t* Value;
};

constexpr std::array kDefaults{
    Default{L"DeviceType", L"-1"},
    Default{L"VendorName", L""},
    Default{L"InstallURL", L""},
    Default{L"SupportedFileTypes", L"*"},
    Default{L"SearchEntireDevice", L"0"},
    Default{L"RootBasePath", L""},
    Default{L"AudioBasePath", L"Music/[Album Artist (auto)]\\[Album]\\"},
    Default{L"ImageBasePath", L"Images/"},
    Default{L"VideoBasePath", L"Video/"},
    Default{L"DataBasePath", L"Data/"},
    Default{L"DatabaseBasePath", L""},
    Default{L"AudibleBasePath", L"Audible/"},
    Default{L"PlaylistBasePath", L"Playlists/"},
    Default{L"PlaylistFormat", L"0"},
    Default{L"MatchKeyExpression",
            L"If(IsEqual([Media Type], Image), [Name]\x01[File Size, 0]\x01, [Name]\x01"
            L"Clean([Artist], 1)\x01[Album]\x01[Genre]\x01"
            L"FormatNumber([Track #, 0])\x01[Media Type]\x01)"},
    Default{L"ChangeKeyExpression", L"[Rating]\x01"},
    Default{L"AlwaysPumpCOMMessages", L"0"},
    Default{L"SupportsFolders", L"-1"},
    Default{L"AlbumArtEnabled", L"1"},
    Default{L"GetPlayStatsFromDevice", L"0"},
    Default{L"IsDrive", L"0"},
    Default{L"IsIPhone", L"0"},
    Default{L"IsIpod", L"0"},
    Default{L"IsAndroid", L"0"},
    Default{L"EjectMode", L"0"},
    Default{L"SupportsEject", L"0"},
    Default{L"FilenameRule", L""},
    Default{L"GetAllFilesExtensionMask", L""},
    Default{L"SaveCoverArtToFolderJPG", L"1"},
    Default{L"SaveCoverArtToFilename", L""},
    Default{L"PlaylistPathRoot", L""},
    Default{L"PlaylistPathToken", L""},
    Default{L"DeleteFilesNotInSync", L"0"},
    Default{L"ShowHiddenFolders", L"0"},
    Default{L"ResyncIfDateModified", L"1"},
};

/// A scan looks where a sync puts files, unless told otherwise.
struct SearchPath {
    const wchar_t* Key;
    const wchar_t* BasePathKey;
};
constexpr std::array kSearchPaths{
    SearchPath{L"AudioSearchPath", L"AudioBasePath"},
    SearchPath{L"ImageSearchPath", L"ImageBasePath"},
    SearchPath{L"VideoSearchPath", L"VideoBasePath"},
};

constexpr std::wstring_view kSeparatorEscape = L"\\x01";

/// Keys without a value of their own at the start.
constexpr std::array kOtherKeys{L"DisplayName", L"SaveVideoThumbnailToFileJPG"};

bool IsKnown(std::wstring_view key) {
    const auto isKey = [key](const wchar_t* known) { return HostEqualsNoCase(key, known); };
    return std::ranges::any_of(kDefaults, isKey, &Default::Key)
           || std::ranges::any_of(kSearchPaths, isKey, &SearchPath::Key)
           || std::ranges::any_of(kOtherKeys, isKey);
}

void EndInSlash(std::wstring& path) {
    while (path.ends_with(L"//")) {
        path.pop_back();
    }
    if (!path.empty() && !path.ends_with(L'/')) {
        path += L'/';
    }
}

} // namespace

CDeviceProperties::CDeviceProperties(std::wstring_view root, std::wstring_view displayName)
    : Root(root) {
    for (const Default& property : kDefaults) {
        Set(property.Key, property.Value);
    }
    Set(L"DrivePath", root);
    Set(L"DriveLetter", root);
    Set(L"DisplayName", displayName);
    for (const SearchPath& search : kSearchPaths) {
        Set(search.Key, Get(search.BasePathKey));
    }
}

bool CDeviceProperties::Override(std::string_view assignment, std::string& error) {
    const size_t equals = assignment.find('=');
    if (equals == std::string_view::npos || equals == 0) {
        error = "\"" + HostPrintable(assignment) + "\" is not of the form KEY=VALUE";
        return false;
    }
    const std::wstring key(HostTrim(HostWiden(assignment.substr(0, equals))));
    std::wstring value = HostWiden(assignment.substr(equals + 1));
    for (size_t at = value.find(kSeparatorEscape); at != std::wstring::npos;
         at = value.find(kSeparatorEscape, at + 1)) {
        value.replace(at, kSeparatorEscape.size(), 1, L'\x01');
    }
    if (HostEqualsNoCase(key, L"DrivePath") || HostEqualsNoCase(key, L"DriveLetter")) {
        error = "the device's place is set by --device, not by "
                + HostPrintable(std::wstring_view(key));
        return false;
    }
    if (HostEqualsNoCase(key, L"DeviceType") && VnString(value.c_str()).ToInt() == 2) {
        error = "devices of type 2 are not reached through a folder";
        return false;
    }
    for (const SearchPath& search : kSearchPaths) {
        if (HostEqualsNoCase(key, search.BasePathKey)
            && Get(search.Key) == Get(search.BasePathKey)) {
            Set(search.Key, value);
        }
    }
    if (!IsKnown(key)) {
        UnknownKeys.push_back(key);
    }
    Set(key.c_str(), value);
    return true;
}

void CDeviceProperties::Set(const wchar_t* key, std::wstring_view value) {
    Map.SetString(key, VnString(value.data(), static_cast<int32_t>(value.size())));
}

std::wstring CDeviceProperties::Get(const wchar_t* key) const {
    return HostText(Map.GetString(key));
}

std::wstring CDeviceProperties::GetBasePath(const wchar_t* key) const {
    const std::wstring value = Get(key);
    if (std::wstring_view(key) == L"PlaylistBasePath" && value.starts_with(L"NO_PLAYLISTS")) {
        return {};
    }
    std::vector<std::wstring> pieces = HostSplit(value, L'\\');
    if (!pieces.empty() && pieces.back().empty()) {
        pieces.pop_back();
    }
    const auto rootPiece =
        std::find_if(pieces.begin(), pieces.end(),
                     [](const std::wstring& piece) { return HostEqualsNoCase(piece, L"ROOT"); });
    if (rootPiece != pieces.end()) {
        pieces.erase(rootPiece);
    }
    std::wstring path = Root;
    for (size_t index = 0; index < pieces.size(); ++index) {
        path += (index > 0 ? L"/" : L"") + pieces[index];
    }
    EndInSlash(path);
    return path;
}

VnString CDeviceProperties::Serialize() const {
    VnString text;
    Map.Serialize(text, true);
    return text;
}
