#include "host/CDeviceProperties.h"
#include "host/CDeviceRecord.h"
#include "host/CDeviceRoot.h"
#include "host/CLibraryItem.h"
#include "host/CTargetPaths.h"
#include "host/HostText.h"
#include "tests/support/TestEnvironment.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace {

namespace fs = std::filesystem;

CLibraryItem
Song(const std::string& path, const std::wstring& artist, const std::wstring& type = L"Audio") {
    CLibraryItem item;
    item.Path = path;
    item.Fields.Set(L"Artist", artist);
    item.Fields.Set(L"Album", L"Album");
    item.Fields.Set(L"Name", L"Song");
    item.Fields.Set(L"Media Type", type);
    item.Fields.Set(L"File Type", L"dat");
    return item;
}

/// Works out targets on a device at /dev/x that holds nothing but `Existing`.
class Targets {
public:
    explicit Targets(const std::vector<std::string>& settings = {}, std::wstring root = L"/m/CARD/")
        : Properties(root, L"CARD") {
        std::string error;
        for (const std::string& setting : settings) {
            EXPECT_TRUE(Properties.Override(setting, error)) << error;
        }
        Paths.emplace(Properties,
                      [this](const std::wstring& path) { return Existing.contains(path); });
    }
    std::string Choose(const CLibraryItem& item) {
        return HostNarrow(Paths->Choose(item).GetPath());
    }

    std::set<std::wstring> Existing;
    CDeviceProperties Properties;
    std::optional<CTargetPaths> Paths;
};

} // namespace

TEST(DeviceRoot, FencesInTheDevice) {
    const TestFolder folder;
    folder.Write("dev/Music/a.mp3", "x");
    folder.Write("out/b.mp3", "x");
    folder.Write("device/c.mp3", "x");
    fs::create_directory_symlink(folder / "out", folder / "dev/escape");
    fs::create_directory_symlink(folder / "gone", folder / "dev/dangling");
    fs::create_directory_symlink("Music", folder / "dev/inner");
    fs::create_symlink(folder / "out/new.mp3", folder / "dev/Music/link.mp3");
    CDeviceRoot root;
    std::string error;
    ASSERT_TRUE(root.Open(folder / "dev", error)) << error;
    constexpr std::pair<const char*, bool> kRows[] = {
        {"dev/Music/a.mp3", true},       {"dev/Music/new.mp3", true},
        {"dev/new/deep/er.mp3", true},   {"dev/a.mp3", true},
        {"dev/inner/a.mp3", true},       {"dev/escape/b.mp3", false},
        {"dev/escape/new/b.mp3", false}, {"dev/dangling/x.mp3", false},
        {"dev/Music/link.mp3", false},   {"out/b.mp3", false},
        {"device/c.mp3", false},         {"dev/Music/../../out/b.mp3", false},
    };
    for (const auto& [path, isInside] : kRows) {
        EXPECT_EQ(root.IsInside(folder / path), isInside) << path;
    }
    EXPECT_TRUE(root.IsStillThere());
    fs::rename(folder / "dev", folder / "old");
    EXPECT_FALSE(root.IsStillThere());
    fs::create_directory(folder / "dev");
    EXPECT_FALSE(root.IsStillThere()) << "another folder under the same name";
}

TEST(DeviceRoot, RefusesPlacesThatCannotBeADevice) {
    const TestFolder folder;
    folder.Write("file", "x");
    fs::create_directory(folder / "a:b");
    fs::create_directory(folder / "end. ");
    for (const char* name : {"missing", "file", "a:b", "end. "}) {
        CDeviceRoot root;
        std::string error;
        EXPECT_FALSE(root.Open(folder / name, error)) << name;
        EXPECT_FALSE(error.empty()) << name;
    }
}

TEST(DeviceRoot, ResolvesPathsOfTheUser) {
    const TestFolder folder;
    fs::create_directory(folder / "dev");
    fs::create_directory_symlink("dev", folder / "link");
    CDeviceRoot root;
    std::string error;
    ASSERT_TRUE(root.Open(folder / "link", error));
    for (const std::string& path : {std::string("Music/a.mp3"), std::string("/Music/a.mp3"),
                                    std::string("./Music//b/../a.mp3"), folder / "dev/Music/a.mp3",
                                    folder / "link/Music/a.mp3"}) {
        EXPECT_EQ(root.Resolve(path), folder / "dev/Music/a.mp3") << path;
    }
    EXPECT_FALSE(root.IsInside(root.Resolve("../out")));
}

TEST(DeviceProperties, TakesOverridesOfEveryKeyButThePlace) {
    CDeviceProperties properties(L"/m/CARD/", L"CARD");
    std::string error;
    EXPECT_TRUE(properties.Override("playlistformat=6", error));
    EXPECT_EQ(properties.GetInt(L"PlaylistFormat"), 6);
    EXPECT_TRUE(properties.Override("MatchKeyExpression=[Name]\\x01[Album]=", error));
    EXPECT_EQ(properties.Get(L"MatchKeyExpression"), L"[Name]\x01[Album]=");
    EXPECT_TRUE(properties.Override("AudioBasePath=Songs/", error));
    EXPECT_EQ(properties.Get(L"AudioSearchPath"), L"Songs/") << "the search follows";
    for (const char* setting :
         {"DrivePath=/x", "driveletter=/x", "DeviceType=2", "novalue", "=x"}) {
        EXPECT_FALSE(properties.Override(setting, error)) << setting;
    }
}

TEST(DeviceProperties, NamesTheKeysThatNobodyLooksAt) {
    const Targets targets({"playlistformat=6", "DisplayName=x", "audiosearchpath=x",
                           "SaveVideoThumbnailToFileJPG=1", "Bogus=1", "AudioBasePaths=x"});
    EXPECT_EQ(targets.Properties.GetUnknownKeys(),
              (std::vector<std::wstring>{L"Bogus", L"AudioBasePaths"}));
    EXPECT_EQ(targets.Properties.Get(L"Bogus"), L"1");
}

TEST(DeviceProperties, MakesBasePathsAsTheDriveDoes) {
    constexpr std::pair<const char*, const wchar_t*> kRows[] = {
        {"Music/", L"/m/CARD/Music/"},   {"", L"/m/CARD/"},
        {"ROOT", L"/m/CARD/"},           {"ROOT\\Music\\", L"/m/CARD/Music/"},
        {"root\\a\\b", L"/m/CARD/a/b/"}, {"a\\ROOT\\ROOT", L"/m/CARD/a/ROOT/"},
        {"a//", L"/m/CARD/a/"},
    };
    for (const auto& [value, path] : kRows) {
        const Targets targets({std::string("DataBasePath=") + value});
        EXPECT_EQ(targets.Properties.GetBasePath(L"DataBasePath"), path) << value;
    }
}

TEST(TargetPaths, PutsEachKindInItsFolder) {
    Targets targets;
    EXPECT_EQ(targets.Choose(Song("/l/01 Song.FLAC", L"AC/DC")),
              "/m/CARD/Music/AC_DC/Album/01 Song.flac");
    EXPECT_EQ(targets.Choose(Song("/l/book.aa", L"x")), "/m/CARD/Audible/book.aa");
    EXPECT_EQ(targets.Choose(Song("/l/film.mkv", L"x", L"Video")), "/m/CARD/Video/film.mkv");
    EXPECT_EQ(targets.Choose(Song("/l/pic.jpg", L"x", L"Image")), "/m/CARD/Images/pic.jpg");
    EXPECT_EQ(targets.Choose(Song("/l/README", L"x", L"Data")), "/m/CARD/Data/README.dat");
    EXPECT_EQ(targets.Choose(Song("/l/a.x;y:z", L"x", L"Data")), "/m/CARD/Data/a.x_y_z");
    EXPECT_EQ(targets.Choose(Song("/l/Vol. 2.mp3", L"")),
              "/m/CARD/Music/Unknown Artist/Album/Vol. 2.mp3");
}

TEST(TargetPaths, NumbersNamesThatAreTakenInAnyLetterCase) {
    Targets targets;
    targets.Existing.insert(L"/m/CARD/Music/A/Album/x.mp3");
    EXPECT_EQ(targets.Choose(Song("/l/x.mp3", L"A")), "/m/CARD/Music/A/Album/x (1).mp3");
    EXPECT_EQ(targets.Choose(Song("/m/X.mp3", L"a")), "/m/CARD/Music/a/Album/X.mp3");
    EXPECT_EQ(targets.Choose(Song("/n/x.MP3", L"A")), "/m/CARD/Music/A/Album/x (2).mp3");
    targets.Paths->Take(L"/m/CARD/Music/A/Album/ÉTÉ.mp3");
    EXPECT_EQ(targets.Choose(Song("/l/été.mp3", L"A")), "/m/CARD/Music/A/Album/été (1).mp3");
    const std::string longName(255 - 4, 'n');
    EXPECT_EQ(targets.Choose(Song("/l/" + longName + ".mp3", L"A")),
              "/m/CARD/Music/A/Album/" + longName + ".mp3");
    EXPECT_EQ(targets.Choose(Song("/k/" + longName + ".mp3", L"A")),
              "/m/CARD/Music/A/Album/" + longName.substr(4) + " (1).mp3");
}

TEST(TargetPaths, TakesTheDevicesPathByItsLetters) {
    Targets targets({"AudioBasePath=[Artist]/"}, L"/m/[Name] If(1,a)/");
    EXPECT_EQ(targets.Choose(Song("/l/x.mp3", L"A")), "/m/[Name] If(1,a)/A/x.mp3");
}

TEST(TargetPaths, FollowsTheRuleOfTheDevice) {
    Targets targets({"FilenameRule=[Album]/TrackNumber(2) - [Name]"});
    CLibraryItem item = Song("/l/x.mp3", L"A");
    item.Fields.Set(L"Track #", L"3");
    EXPECT_EQ(targets.Choose(item), "/m/CARD/Music/A/Album/Album/03 - Song.mp3");
    Targets hidden({"FilenameRule=[Name]"});
    item.Fields.Set(L"Name", L".38 Special");
    EXPECT_EQ(hidden.Choose(item), "/m/CARD/Music/A/Album/_38 Special.mp3");
    Targets android({"IsAndroid=1", "AudioBasePath=.a/..b/_.c/"});
    EXPECT_EQ(android.Choose(item), "/m/CARD/_a/__b/_.c/x.mp3");
}

TEST(DeviceRecord, RemembersPerDevice) {
    const TestFolder folder;
    const std::string base = folder / "";
    std::string error;
    const CDeviceRecord::CEntry entry{
        CDeviceRecord::Kind::File, "/d/a\xFF.mp3", "/l/a.mp3", 5, 7, "m\x01", "c"};
    {
        CDeviceRecord record;
        ASSERT_TRUE(record.Open(base, "/d/", error)) << error;
        EXPECT_TRUE(record.NoteUnderWay({"/l/a.mp3", "/d/a\xFF.mp3", 5}));
        EXPECT_TRUE(record.EndUnderWay(&entry));
        EXPECT_FALSE(record.GetUnderWay().has_value());
        EXPECT_TRUE(record.NoteUnderWay({"/l/b.mp3", "/d/b.mp3", 6}));
        CDeviceRecord second;
        EXPECT_FALSE(second.Open(base, "/d/", error)) << "one process a device";
        EXPECT_EQ(error, "another tonehall is working on this device");
        CDeviceRecord other;
        EXPECT_TRUE(other.Open(base, "/e/", error)) << error;
        EXPECT_FALSE(other.GetUnderWay().has_value());
    }
    CDeviceRecord record;
    ASSERT_TRUE(record.Open(base, "/d/", error)) << error;
    std::vector<CDeviceRecord::CEntry> entries;
    ASSERT_TRUE(record.Load(entries));
    ASSERT_EQ(entries.size(), 1U);
    EXPECT_EQ(entries[0].Target, entry.Target);
    EXPECT_EQ(entries[0].MatchKey, entry.MatchKey);
    EXPECT_EQ(entries[0].MTime, 7);
    ASSERT_TRUE(record.GetUnderWay().has_value());
    EXPECT_EQ(record.GetUnderWay()->Target, "/d/b.mp3");
    EXPECT_TRUE(record.Remove({entry.Target}));
    entries.clear();
    EXPECT_TRUE(record.Load(entries));
    EXPECT_TRUE(entries.empty());
}

TEST(DeviceRecord, PutsADamagedFileAside) {
    const TestFolder folder;
    std::string error;
    { EXPECT_TRUE(CDeviceRecord().Open(folder / "", "/d/", error)) << error; }
    std::string database;
    for (const auto& entry : fs::directory_iterator(folder / "devices")) {
        database = entry.path().extension() == ".db" ? entry.path().filename().native() : database;
    }
    folder.Write("devices/" + database, std::string(9000, 'n'));
    CDeviceRecord record;
    bool wasDamaged = false;
    EXPECT_TRUE(record.Open(folder / "", "/d/", error, &wasDamaged)) << error;
    EXPECT_TRUE(wasDamaged);
    EXPECT_TRUE(folder.Exists("devices/" + database + ".damaged"));
}
