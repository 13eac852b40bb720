#include "core/VnBuffer.h"
#include "core/VnPropertyMap.h"
#include "core/VnResult.h"
#include "core/VnStringArray.h"
#include "data/CFileLoader.h"
#include "drive/CPortableDriveGeneric.h"
#include "files/VnFileSystem.h"
#include "files/VnFilename.h"
#include "plugin/IVnHandheldFileList.h"
#include "runtime/IVnLogManager.h"
#include "runtime/VnLog.h"

#include <algorithm>

namespace {

constexpr int32_t kFormatPLA = 6;
constexpr const wchar_t* kPLAHeader = L"PLP PLAYLIST\r\nVERSION 1.20\r\n\r\n";
constexpr const wchar_t* kLineEnd = L"\r\n";

/// The extension of a playlist style; several styles of the host share one.
const wchar_t* GetPlaylistExtension(int32_t format) {
    switch (format) {
    case 3:
    case 4:
    case 5:
        return L".asx";
    case kFormatPLA:
        return L".pla";
    case 9:
    case 10:
    case 11:
        return L".wpl";
    case 14:
        return L".mpl";
    case 18:
        return L".pls";
    default:
        return L".m3u";
    }
}

/// The text of a playlist. UTF-8 comes in without loss, so that each name in it stays the name of
/// its file; any other form is detected.
bool LoadPlaylist(const VnString& path, VnString& text) {
    VnBuffer bytes;
    if (!CFileLoader::LoadFile(bytes, VnFilename(path), -1, /*useReader=*/false)) {
        return false;
    }
    text.SetFileSystemText(reinterpret_cast<const char*>(bytes.GetData()), bytes.GetSize());
    const wchar_t* const end = text.GetText() + text.GetLength();
    const bool isUTF8 = std::none_of(
        text.GetText(), end, [](wchar_t ch) { return ch == 0 || (ch >= 0xDC80 && ch <= 0xDCFF); });
    if (!isUTF8) {
        return text.SetFromBuffer(bytes);
    }
    if (text.StartsWith(L'\xFEFF')) {
        text.RemoveLeft(1);
    }
    return true;
}

} // namespace

int32_t CPortableDriveGeneric::SendPlaylistInfo(const VnString& name, IVnHandheldFileList* list) {
    VnLogScope log(kLogHandheld, "CPortableDriveGeneric::SendPlaylistInfo");
    VnPropertyMap& info = GetDeviceInfo();
    if (info.GetString(L"PlaylistBasePath", nullptr).StartsWith(L"NO_PLAYLISTS")) {
        log.Write("The device takes no playlists");
        return kResultFailure;
    }
    VnString folder = GetPlaylistBasePath();
    folder.EnsureTrailing(L'/');
    const int32_t format = info.GetInt(L"PlaylistFormat", 0);
    const VnString target = folder + name + GetPlaylistExtension(format);
    if (!MayWrite(target)) {
        log.Write("Not on the device: %s", target);
        return kResultFailure;
    }
    const int32_t result =
        list->WritePlaylist(target, L"handheld") != 0 ? kResultOk : kResultFailure;
    const VnString root = info.GetString(L"PlaylistPathRoot", nullptr);
    const VnString token = info.GetString(L"PlaylistPathToken", nullptr);
    if (!root.IsEmpty() || !token.IsEmpty() || format == kFormatPLA) {
        RewritePlaylist(target, format, root, token);
    }
    log.Result = result;
    return result;
}

void CPortableDriveGeneric::RewritePlaylist(const VnString& path,
                                            int32_t format,
                                            const VnString& root,
                                            const VnString& token) {
    VnString text;
    if (!LoadPlaylist(path, text) && VnFileSystem::FileExists(path)) {
        return; // better the host's file as it is than an empty one
    }
    VnStringArray lines;
    lines.Split(text, kLineEnd, /*trim=*/false, /*skipEmptyText=*/true);
    for (VnString& line : lines) {
        if (format == kFormatPLA) {
            line.TrimLeft(L'/');
        }
        line.Prepend(root);
        if (!token.IsEmpty()) {
            line.Replace(L"/", token);
        }
    }
    text = lines.Join(kLineEnd);
    if (format == kFormatPLA) {
        text = kPLAHeader + text + kLineEnd;
        text.SaveToFile(path, kEncodingUTF16);
    } else {
        text.SaveToFile(path, kEncodingBytes);
    }
}
