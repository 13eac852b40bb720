#include "core/VnPropertyMap.h"
#include "drive/CPortableDriveGeneric.h"
#include "tests/support/FakeHandheld.h"

namespace {

class PathsTest : public DeviceFixture {};

struct BasePathCase {
    const char* What;
    const wchar_t* Key;
    const wchar_t* Value;
    const wchar_t* Expected; ///< "@" stands for the device root
};

constexpr BasePathCase kBasePaths[] = {
    {"plain", L"AudioBasePath", L"Music/", L"@Music/"},
    {"ROOT alone", L"AudioBasePath", L"ROOT", L"@"},
    {"ROOT in front", L"AudioBasePath", L"root\\Music\\", L"@Music/"},
    {"only the first ROOT goes", L"AudioBasePath", L"ROOT\\ROOT\\x", L"@ROOT/x/"},
    {"back-slashes become separators", L"VideoBasePath", L"A\\[B]\\", L"@A/[B]/"},
    {"forward slashes pass", L"ImageBasePath", L"a/ROOT/b", L"@a/ROOT/b/"},
    {"missing", L"DataBasePath", nullptr, L"@"},
    {"no playlists", L"PlaylistBasePath", L"NO_PLAYLISTS", L""},
    {"no playlists with a tail", L"PlaylistBasePath", L"NO_PLAYLISTS\\", L""},
    {"lower case is a folder", L"PlaylistBasePath", L"no_playlists", L"@no_playlists/"},
    {"the mark counts for playlists only", L"AudioBasePath", L"NO_PLAYLISTS", L"@NO_PLAYLISTS/"},
};

std::wstring Expand(const wchar_t* text, const std::wstring& root) {
    std::wstring result(text);
    if (const size_t mark = result.find(L'@'); mark != std::wstring::npos) {
        result.replace(mark, 1, root);
    }
    return result;
}

TEST_F(PathsTest, ResolvesBasePathsBelowTheRoot) {
    Start();
    CPortableDriveGeneric drive(Front.get());
    for (const BasePathCase& row : kBasePaths) {
        SCOPED_TRACE(row.What);
        Reconfigure(row.Value == nullptr ? Properties{} : Properties{{row.Key, row.Value}});
        EXPECT_EQ(drive.GetBasePath(row.Key), Expand(row.Expected, Root()).c_str());
    }
}

TEST_F(PathsTest, DriveLetterStandsInForAMissingDrivePathAndTypeTwoStaysRelative) {
    Start({{L"AudioBasePath", L"Music/"}, {L"DeviceType", L"2"}});
    CPortableDriveGeneric drive(Front.get());
    EXPECT_EQ(drive.GetAudioBasePath(), L"Music/");
    VnPropertyMap map;
    map.SetString(L"DriveLetter", L"/mnt/b", false);
    map.SetString(L"AudioBasePath", L"Music", false);
    VnString text;
    map.Serialize(text, true);
    Run(kCommandSetProperties, nullptr, text);
    EXPECT_EQ(drive.GetAudioBasePath(), L"/mnt/b/Music/");
    Run(kCommandSetProperties, nullptr, L"");
    EXPECT_EQ(drive.GetAudioBasePath(), L"");
}

struct MediaCase {
    const wchar_t* MediaType;
    const wchar_t* Source;
    const wchar_t* Expected;
};

constexpr MediaCase kMediaCases[] = {
    {L"Audio", L"/l/a.mp3", L"@Music/"}, {L"Audio", L"/l/book.AA", L"@Books/"},
    {L"Audio", L".aa", L"@Music/"}, // too short for an audio book
    {L"Video", L"/l/a.mp4", L"@Films/"}, {L"Image", L"/l/a.jpg", L"@Pictures/"},
    {L"audio", L"/l/a.mp3", L"@Other/"}, {L"", L"/l/a.xyz", L"@Other/"},
};

TEST_F(PathsTest, ChoosesTheFolderByMediaType) {
    Start({{L"AudioBasePath", L"Music"},
           {L"AudibleBasePath", L"Books"},
           {L"VideoBasePath", L"Films"},
           {L"ImageBasePath", L"Pictures"},
           {L"DataBasePath", L"Other"}});
    CPortableDriveGeneric drive(Front.get());
    for (const MediaCase& row : kMediaCases) {
        FakeFile file;
        file.Fields[L"Media Type"] = row.MediaType;
        file.Source = row.Source;
        EXPECT_EQ(drive.GetBasePathFromFile(&file), Expand(row.Expected, Root()).c_str())
            << ToUTF8(row.Source);
    }
}

struct JoinCase {
    const wchar_t* Root;
    const wchar_t* Path;
    bool Prefix;
    bool Strip;
    const wchar_t* Expected;
};

constexpr JoinCase kJoins[] = {
    {L"/media/a", L"Music/[Artist]/[Album]/", true, true, L"/media/a/Music/"},
    {L"/media/a", L"///Music", true, false, L"/media/a/Music/"},
    {L"/media/a", L"/MEDIA/A/x", true, false, L"/MEDIA/A/x/"},
    {L"", L"Music", true, true, L"Music/"},
    {L"/media/a", L"x[y]z/b", false, true, L""},
    {L"/media/a", L"x]y/[z/b", false, true, L"x]y/[z/b/"},
    {L"/", L"[Artist]", true, true, L"/"},
    {L"/media/a", L"", true, true, L"/media/a/"},
};

TEST_F(PathsTest, JoinsAndStripsTemplates) {
    for (const JoinCase& row : kJoins) {
        EXPECT_EQ(CPortableDriveBase::JoinDevicePath(row.Root, row.Path, row.Prefix, row.Strip),
                  row.Expected)
            << ToUTF8(row.Root) << " + " << ToUTF8(row.Path);
    }
}

TEST_F(PathsTest, KnowsWhatLiesOutsideTheDevice) {
    Start();
    CPortableDriveGeneric drive(Front.get());
    std::filesystem::create_directories(Device.Path() / "Music");
    std::filesystem::create_directory_symlink(Library.Path(), Device.Path() / "Out");
    std::filesystem::create_directory_symlink(Device.Path() / "Music", Device.Path() / "In");
    EXPECT_TRUE(drive.IsInsideDevice(OnDevice("Music/New/a.mp3").c_str()));
    EXPECT_TRUE(drive.IsInsideDevice(OnDevice("In/a.mp3").c_str()));
    EXPECT_FALSE(drive.IsInsideDevice(OnDevice("Out/a.mp3").c_str()));
    EXPECT_FALSE(drive.IsInsideDevice(OnDevice("Out/New/a.mp3").c_str()));
    EXPECT_FALSE(drive.IsInsideDevice(OnDevice("New/../../a.mp3").c_str()));
    EXPECT_FALSE(drive.IsInsideDevice((ToWide(Library / "a.mp3")).c_str()));
}

TEST_F(PathsTest, NormalisesSupportedFileTypes) {
    struct Row {
        const wchar_t* Given;
        const wchar_t* IsIpod;
        const wchar_t* Expected;
    };
    constexpr Row kRows[] = {
        {L"mp3, flac|MP3", L"0", L"mp3;flac"},
        {L"mp3; ogg ;", L"0", L"mp3;ogg"},
        {L"mp3|MP3", L"1", L"mp3|MP3"},
        {L"mp3;*", L"0", L"mp3;*"}, // "*" among the pieces leaves the text alone
        {L"mp3,*", L"0", L"*"},     // found only behind the normalising
    };
    for (const Row& row : kRows) {
        Start({{L"SupportedFileTypes", row.Given}, {L"IsIpod", row.IsIpod}});
        EXPECT_EQ(Front->GetDeviceInfo().GetString(L"SupportedFileTypes", nullptr), row.Expected)
            << ToUTF8(row.Given);
    }
}

TEST_F(PathsTest, ReportsTheSpaceOfTheRoot) {
    Start();
    uint64_t total = 7;
    uint64_t available = 7;
    EXPECT_EQ(Front->GetDriveSpace(L"", &total, &available), 0);
    EXPECT_EQ(total, 7U);
    EXPECT_EQ(Front->GetDriveSpace(L"Card", &total, &available), 0);
    EXPECT_GT(total, available / 2);
    EXPECT_GT(available, 0U);
    Reconfigure({{L"DrivePath", ToWide(Device / "missing")}});
    EXPECT_EQ(Front->GetDriveSpace(L"Card", &total, &available), static_cast<int32_t>(0x80004005));
    EXPECT_EQ(total, 0U);
    EXPECT_EQ(available, 0U);
}

} // namespace
