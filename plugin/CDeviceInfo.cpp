#include "plugin/CDeviceInfo.h"

namespace {

struct TextDefault {
    const wchar_t* Key;
    const wchar_t* Value;
};

struct NumberDefault {
    const wchar_t* Key;
    int32_t Value;
};

constexpr TextDefault kTextDefaults[] = {
    {L"VendorName", L""},
    {L"InstallURL", L""},
    {L"SupportedFileTypes", L"*"},
    {L"RootBasePath", L""},
    {L"AudioBasePath", L"Music/"},
    {L"ImageBasePath", L"Images/"},
    {L"VideoBasePath", L"Video/"},
    {L"DataBasePath", L"Data/"},
    {L"DatabaseBasePath", L""},
    {L"AudibleBasePath", L"Audible/"},
    {L"PlaylistBasePath", L"Playlists/"},
    {L"MatchKeyExpression",
     L"If(IsEqual([Media Type], Image), [Name]\x01[File Size, 0]\x01, [Name]\x01"
     L"Clean([Artist], 1)\x01[Album]\x01[Genre]\x01"
     L"FormatNumber([Track #, 0])\x01[Media Type]\x01)"},
    {L"ChangeKeyExpression", L"[Rating]\x01"},
};

constexpr NumberDefault kNumberDefaults[] = {
    {L"SearchEntireDevice", 0}, {L"PlaylistFormat", 0},  {L"AlwaysPumpCOMMessages", 0},
    {L"SupportsFolders", -1},   {L"AlbumArtEnabled", 1}, {L"GetPlayStatsFromDevice", 0},
};

constexpr const wchar_t* kPathKeys[] = {L"AudioBasePath",   L"ImageBasePath",    L"VideoBasePath",
                                        L"DataBasePath",    L"DatabaseBasePath", L"AudibleBasePath",
                                        L"PlaylistBasePath"};

constexpr const wchar_t* kFolderTemplate = L"[Album Artist (auto)]\\[Album]\\";

// Type numbers are the host's; these three carry settings of their own.
constexpr int32_t kTypeWithThumbnails = 2;
constexpr int32_t kTypeWithDates = 3;
constexpr int32_t kTypePlainDrive = 4;

} // namespace

CDeviceInfo::~CDeviceInfo() = default;

void CDeviceInfo::SetDefaults() {
    const int32_t deviceType = GetInt(L"DeviceType", -1);
    SetInt(L"DeviceType", deviceType);
    SetPlainDefaults();
    SetTypeDefaults(deviceType);
    for (const wchar_t* key : kPathKeys) {
        AppendSlash(key);
    }
    NormalizeSupportedFileTypes(GetString(L"SupportedFileTypes", nullptr));
}

void CDeviceInfo::SetPlainDefaults() {
    for (const TextDefault& row : kTextDefaults) {
        SetString(row.Key, row.Value, false);
    }
    for (const NumberDefault& row : kNumberDefaults) {
        SetInt(row.Key, row.Value);
    }
}

void CDeviceInfo::SetTypeDefaults(int32_t deviceType) {
    if (deviceType == kTypeWithThumbnails) {
        SetInt(L"SaveVideoThumbnailToFileJPG", 1);
    } else if (deviceType == kTypeWithDates) {
        SetString(
            L"MatchKeyExpression",
            L"If(IsEqual([Media Type], Image), Clean([Name], 3)\x01[File Size, 0]\x01, [Name]\x01"
            L"Clean([Artist], 2)\x01[Album]\x01[Genre]\x01TrackNumber()\x01[Media Type]\x01)",
            false);
        SetString(L"ChangeKeyExpression",
                  L"If(IsEqual([Media Type], Image), , [Rating]\x01[Composer]\x01)", false);
        SetInt(L"ResyncIfDateModified", 1);
    } else if (deviceType == kTypePlainDrive) {
        SetInt(L"IsDrive", 1);
        SetString(L"AudioBasePath", L"", false);
    }
    if (deviceType != -1) {
        ApplyFolderTemplate();
    }
}

void CDeviceInfo::ApplyFolderTemplate() {
    const int32_t folders = GetInt(L"SupportsFolders", 0);
    VnString path = GetString(L"AudioBasePath", nullptr);
    if (folders != 0 && !path.Contains(kFolderTemplate)) {
        path.EnsureTrailing(L'/');
        path += kFolderTemplate;
    } else if (folders == 0 && path.Contains(kFolderTemplate)) {
        path.EnsureTrailing(L'/');
        path.Replace(kFolderTemplate, L"");
    }
    if (folders == 1) {
        path.Replace(kFolderTemplate, L"[Artist]\\");
    }
    SetString(L"AudioBasePath", path, false);
}

void CDeviceInfo::NormalizeSupportedFileTypes(const VnString& text) {
    VnString types(text);
    types.ReplaceChar(L'|', L';');
    types.ReplaceChar(L',', L';');
    types.Trim();
    VnStringArray list;
    list.Split(types, L";", true);
    list.RemoveDuplicates();
    if (list.Find(L"*") >= 0) {
        list.Empty();
        list.Add(L"*");
    }
    SetString(L"SupportedFileTypes", list.Join(L";"), /*removeIfEmpty=*/true);
}
