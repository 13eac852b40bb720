#include "host/CDeviceRecord.h"
#include "host/CSampleMedia.h"
#include "host/CSession.h"
#include "host/CSync.h"
#include "host/HostText.h"
#include "tests/support/TestEnvironment.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

/// A library in "lib", a device in "dev", and the real modules in between.
class SyncTest : public testing::Test {
protected:
    SyncTest() {
        fs::create_directory(Folder / "lib");
        fs::create_directory(Folder / "dev");
        Options.Libraries = {Folder / "lib"};
        Options.Device = Folder / "dev";
    }

    void Song(const std::string& name,
              const std::wstring& artist = L"Artist",
              const std::wstring& album = L"Album",
              const std::wstring& title = {}) {
        CSampleMedia::CTags tags;
        tags.Title = title.empty() ? HostStem(HostWiden(name)) : title;
        tags.Artist = artist;
        tags.Album = album;
        ASSERT_TRUE(
            CSampleMedia::WriteTags(Folder.Write("lib/" + name, CSampleMedia::MakeMP3(4)), tags));
    }

    /// Writes a playlist into the library, which is then the one to send.
    void Playlist(const std::string& name, const std::string& lines) {
        Options.Playlists = {Folder.Write("lib/" + name, lines)};
    }

    CSyncReport Sync() {
        CConsole console(/*quiet=*/true, /*json=*/false);
        CSync sync(Options, console);
        Code = sync.Run();
        return sync.GetReport();
    }

    /// Every file on the device below its root but the database, sorted.
    std::vector<std::string> Device() const {
        std::vector<std::string> files;
        for (const auto& entry : fs::recursive_directory_iterator(Folder.Path() / "dev")) {
            const std::string path =
                entry.path().lexically_relative(Folder.Path() / "dev").native();
            if (!entry.is_directory() && path != ".Database.mpl") {
                files.push_back(path);
            }
        }
        std::sort(files.begin(), files.end());
        return files;
    }

    size_t RecordCount() const {
        const std::string text = Folder.Read("dev/.Database.mpl");
        size_t count = 0;
        for (size_t at = text.find("<Item>"); at != std::string::npos;
             at = text.find("<Item>", at + 1)) {
            ++count;
        }
        return count;
    }

    /// Everything on the device with its times, to prove that nothing was touched.
    std::string Fingerprint() const {
        std::string print;
        std::vector<fs::directory_entry> entries;
        for (const auto& entry : fs::recursive_directory_iterator(Folder.Path() / "dev")) {
            entries.push_back(entry);
        }
        std::sort(entries.begin(), entries.end());
        for (const auto& entry : entries) {
            print += entry.path().native() + " "
                     + std::to_string(entry.last_write_time().time_since_epoch().count()) + "\n";
        }
        return print;
    }

    /// What a sync that is killed leaves in the record.
    CDeviceRecord& OpenRecord(CDeviceRecord& record) const {
        std::string error;
        EXPECT_TRUE(record.Open(CSession::GetDataFolder(), Folder / "dev/", error)) << error;
        return record;
    }

    TestFolder Folder;
    CSyncOptions Options;
    ExitCode Code = kExitDone;
};

std::vector<std::string> Reasons(const std::vector<CSyncReport::CNamed>& list) {
    std::vector<std::string> reasons;
    for (const CSyncReport::CNamed& named : list) {
        reasons.push_back(named.Reason);
    }
    return reasons;
}

} // namespace

TEST_F(SyncTest, SendsEveryKindOnceAndNothingTwice) {
    Song("a/1.mp3");
    Song("UPPER.MP3", L"Artist", L"Album", L"Upper");
    Folder.Write("lib/f.flac", CSampleMedia::MakeFLAC());
    Folder.Write("lib/o.ogg", CSampleMedia::MakeOgg());
    Folder.Write("lib/m.m4a", CSampleMedia::MakeM4A());
    Folder.Write("lib/w.wav", CSampleMedia::MakeWAV());
    Folder.Write("lib/p.png", CSampleMedia::MakePNG(1));
    Folder.Write("lib/v.mkv", "\x1A\x45\xDF\xA3 film");
    Folder.Write("lib/notes.txt", "notes");
    Folder.Write("lib/README", "notes");
    Folder.Write("lib/odd.x:y", "notes");
    EXPECT_EQ(Sync().Sent.size(), 11U);
    EXPECT_EQ(Code, kExitDone);
    EXPECT_THAT(Device(), UnorderedElementsAre(
                              "Data/README.dat", "Data/notes.txt", "Data/odd.x_y", "Images/p.png",
                              "Music/Artist/Album/1.mp3", "Music/Artist/Album/UPPER.mp3",
                              "Music/Unknown Artist/Unknown Album/f.flac",
                              "Music/Unknown Artist/Unknown Album/m.m4a",
                              "Music/Unknown Artist/Unknown Album/o.ogg",
                              "Music/Unknown Artist/Unknown Album/w.wav", "Video/v.mkv"));
    EXPECT_EQ(Folder.Read("dev/Music/Artist/Album/1.mp3"), Folder.Read("lib/a/1.mp3"));
    const CSyncReport second = Sync();
    EXPECT_THAT(second.Sent, IsEmpty());
    EXPECT_EQ(second.Kept, 11U);
    EXPECT_EQ(Device().size(), 11U);
    EXPECT_EQ(RecordCount(), 11U);
    const std::string database = Folder.Read("dev/.Database.mpl");
    for (const std::string& damaged : {std::string(), database.substr(0, database.size() / 2)}) {
        Folder.Write("dev/.Database.mpl", damaged);
        EXPECT_THAT(Sync().Sent, IsEmpty());
        EXPECT_EQ(Code, kExitDone);
        EXPECT_EQ(RecordCount(), 11U) << "rebuilt";
    }
}

TEST_F(SyncTest, DeletesWhatTheLibraryLost) {
    for (const char* artist : {"One", "Two"}) {
        for (const char* song : {"1.mp3", "2.mp3"}) {
            Song(std::string(artist) + "/" + song, HostWiden(artist));
        }
        Folder.Write(std::string("lib/") + artist + "/cover.jpg", CSampleMedia::MakeJPEG());
    }
    Folder.Write("dev/Music/Two/Album/own.mp3", CSampleMedia::MakeMP3(1));
    Sync();
    EXPECT_EQ(Device().size(), 7U);
    fs::remove_all(Folder / "lib/One");
    fs::remove(Folder / "lib/Two/1.mp3");

    CSyncReport report = Sync();
    EXPECT_THAT(report.Deleted, IsEmpty());
    EXPECT_EQ(report.Leftovers.size(), 3U);
    Options.Delete = DeleteMode::Own;
    report = Sync();
    EXPECT_THAT(report.Deleted,
                UnorderedElementsAre("Music/One/Album/1.mp3", "Music/One/Album/2.mp3",
                                     "Music/Two/Album/1.mp3"));
    EXPECT_THAT(Device(), ElementsAre("Music/Two/Album/2.mp3", "Music/Two/Album/Folder.jpg",
                                      "Music/Two/Album/own.mp3"));
    EXPECT_FALSE(Folder.Exists("dev/Music/One")) << "the folders that this empties go";
    EXPECT_EQ(RecordCount(), 3U);
    Options.Delete = DeleteMode::All;
    EXPECT_THAT(Sync().Deleted, ElementsAre("Music/Two/Album/own.mp3"));
    EXPECT_THAT(Device(), ElementsAre("Music/Two/Album/2.mp3", "Music/Two/Album/Folder.jpg"));
}

TEST_F(SyncTest, SendsAgainWhatChangedUnderTheSameName) {
    Song("1.mp3");
    Sync();
    Song("1.mp3", L"Artist", L"Album", L"Another title");
    const CSyncReport report = Sync();
    ASSERT_EQ(report.Sent.size(), 1U);
    EXPECT_TRUE(report.Sent[0].IsReplaced);
    EXPECT_THAT(Device(), ElementsAre("Music/Artist/Album/1.mp3"));
    EXPECT_EQ(Folder.Read("dev/Music/Artist/Album/1.mp3"), Folder.Read("lib/1.mp3"));
    EXPECT_THAT(Folder.Read("dev/.Database.mpl"), HasSubstr("Another title"));
    EXPECT_EQ(RecordCount(), 1U);
    EXPECT_THAT(Sync().Sent, IsEmpty());
}

TEST_F(SyncTest, KeepsEveryHostileNameInside) {
    const std::wstring kTexts[] = {L"a/b",
                                   L"..",
                                   L"../../../../tmp/x",
                                   L"C:\\x",
                                   L"'; rm -rf ~; '",
                                   L"$(touch x)",
                                   L"`touch x`",
                                   L"a\"b",
                                   L"line\nend",
                                   std::wstring(1000, L'ö'),
                                   L"NUL",
                                   L"con.mp3",
                                   L"...",
                                   L" blanks . ",
                                   L"-rf",
                                   L"a*?<>|b",
                                   L"\u202Ertl",
                                   L"[Name]",
                                   L"If(1,2,3)"};
    int number = 0;
    for (const std::wstring& text : kTexts) {
        ++number;
        Song("song" + std::to_string(number) + ".mp3", text, text,
             L"Title " + std::to_wstring(number));
    }
    Folder.Write("lib/raw\xE9\xFF.mp3", CSampleMedia::MakeMP3(3));
    Folder.Write("lib/'quoted' $(touch y) \"x\".mp3", CSampleMedia::MakeMP3(3));
    Folder.Write("lib/back\\slash.mp3", CSampleMedia::MakeMP3(3));
    Folder.Write("lib/new\nline.mp3", CSampleMedia::MakeMP3(3));
    Folder.Write("lib/cover.png", CSampleMedia::MakePNG(5));
    const size_t count = std::size(kTexts) + 4;
    const CSyncReport report = Sync();
    EXPECT_EQ(Code, kExitDone);
    EXPECT_EQ(report.Sent.size(), count);
    for (const std::string& path : Device()) {
        EXPECT_TRUE(path.starts_with("Music/")) << path;
        EXPECT_EQ(path.find_first_of("\\:*?\"<>|\n\x01"), std::string::npos) << path;
        for (const fs::path& part : fs::path(path)) {
            EXPECT_LE(part.native().size(), 255U);
            EXPECT_NE(part.native(), "..");
            EXPECT_FALSE(part.native().ends_with('.') || part.native().ends_with(' ')) << path;
        }
    }
    std::set<std::string> above;
    for (const auto& entry : fs::directory_iterator(Folder.Path())) {
        above.insert(entry.path().filename());
    }
    EXPECT_THAT(above, UnorderedElementsAre("lib", "dev"));
    const CSyncReport second = Sync();
    EXPECT_THAT(second.Sent, IsEmpty());
    EXPECT_EQ(second.Kept, count);
}

TEST_F(SyncTest, TellsNamesApartThatDifferInLetterCaseOnly) {
    Song("x/Song.mp3", L"ABBA", L"Album", L"One");
    Song("y/song.mp3", L"Abba", L"album", L"Two");
    Song("z/SONG.mp3", L"ABBA", L"Album", L"Three");
    EXPECT_EQ(Sync().Sent.size(), 3U);
    std::set<std::wstring> folded;
    for (const std::string& path : Device()) {
        folded.insert(HostFold(HostWiden(path)));
    }
    EXPECT_EQ(folded.size(), 3U);
    EXPECT_EQ(RecordCount(), 3U);
    const CSyncReport second = Sync();
    EXPECT_THAT(second.Sent, IsEmpty());
    EXPECT_EQ(second.Kept, 3U);
}

TEST_F(SyncTest, WritesNothingThroughALinkThatLeadsOutside) {
    Song("1.mp3", L"Out");
    Song("2.mp3", L"In");
    fs::create_directories(Folder / "victim");
    fs::create_directories(Folder / "dev/Music");
    fs::create_directory_symlink(Folder / "victim", Folder / "dev/Music/Out");
    fs::create_directory_symlink(Folder / "victim", Folder / "dev/Playlists");
    Playlist("list.m3u", "2.mp3\n");
    const CSyncReport report = Sync();
    EXPECT_EQ(Code, kExitSomeFailed);
    EXPECT_EQ(report.Sent.size(), 1U);
    EXPECT_THAT(Reasons(report.Failed), testing::Each(HasSubstr("leads outside the device")));
    EXPECT_EQ(report.Failed.size(), 2U);
    EXPECT_TRUE(fs::is_empty(Folder / "victim"));
}

TEST_F(SyncTest, DeletesNothingThroughALinkThatLeadsOutside) {
    Song("1.mp3");
    Sync();
    fs::rename(Folder / "dev/Music", Folder / "victim");
    fs::create_directory_symlink(Folder / "victim", Folder / "dev/Music");
    fs::remove(Folder / "lib/1.mp3");
    Options.Delete = DeleteMode::All;
    const CSyncReport report = Sync();
    EXPECT_EQ(Code, kExitSomeFailed);
    EXPECT_TRUE(Folder.Exists("victim/Artist/Album/1.mp3"));
}

TEST_F(SyncTest, RefusesADatabaseThatIsALink) {
    Song("1.mp3");
    Folder.Write("victim", "precious");
    fs::create_symlink(Folder / "victim", Folder / "dev/.Database.mpl");
    Sync();
    EXPECT_EQ(Code, kExitFailure);
    EXPECT_EQ(Folder.Read("victim"), "precious");
}

TEST_F(SyncTest, FinishesTheWorkOfASyncThatWasKilled) {
    Song("1.mp3");
    Song("2.mp3");
    Sync();
    // As a kill leaves it: the note is there, the file preallocated and half written, the database
    // not saved.
    const std::string target = Folder / "dev/Music/Artist/Album/2.mp3";
    {
        CDeviceRecord record;
        ASSERT_TRUE(OpenRecord(record).Remove(std::vector<std::string>{target}));
        ASSERT_TRUE(record.NoteUnderWay(
            {Folder / "lib/2.mp3", target, CDeviceRoot::GetFileSize(Folder / "lib/2.mp3")}));
    }
    const std::string whole = Folder.Read("lib/2.mp3");
    Folder.Write("dev/Music/Artist/Album/2.mp3",
                 whole.substr(0, 700) + std::string(whole.size() - 700, '\0'));
    Options.IsDryRun = true;
    EXPECT_EQ(Sync().Sent.size(), 1U);
    Options.IsDryRun = false;
    EXPECT_EQ(Sync().Sent.size(), 1U);
    EXPECT_EQ(Code, kExitDone);
    EXPECT_EQ(Folder.Read("dev/Music/Artist/Album/2.mp3"), whole);
    EXPECT_EQ(Device().size(), 2U);
    EXPECT_THAT(Sync().Sent, IsEmpty());
}

TEST_F(SyncTest, ChangesNothingInADryRun) {
    Song("1.mp3");
    Song("2.mp3");
    Sync();
    fs::remove(Folder / "lib/1.mp3");
    Song("3.mp3");
    Folder.Write("dev/Music/new.mp3",
                 CSampleMedia::MakeMP3(2)); // the drive would add it to its database
    Playlist("list.m3u", "2.mp3\n");
    Options.Delete = DeleteMode::Own;
    Options.IsDryRun = true;
    const std::string before = Fingerprint();
    const CSyncReport report = Sync();
    EXPECT_EQ(Code, kExitDone);
    ASSERT_EQ(report.Sent.size(), 1U);
    EXPECT_EQ(report.Sent[0].Target, "Music/Artist/Album/3.mp3");
    EXPECT_THAT(report.Deleted, ElementsAre("Music/Artist/Album/1.mp3"));
    EXPECT_EQ(report.Kept, 1U);
    EXPECT_EQ(Fingerprint(), before);
}

TEST_F(SyncTest, SendsPlaylistsThatTheDriveReadsBack) {
    Song("a/1.mp3", L"Ärtist", L"Album", L"One");
    Song("b/2.mp3", L"Ärtist", L"Album", L"Two");
    Folder.Write("lib/a/cover.jpg", CSampleMedia::MakeJPEG());
    Playlist("My: list?.m3u8", "#EXTM3U\nb/2.mp3\na/1.mp3\nmissing.mp3\n");
    CSyncReport report = Sync();
    EXPECT_THAT(report.PlaylistsSent, ElementsAre("Playlists/My_ list_.m3u"));
    EXPECT_THAT(Reasons(report.Skipped), ElementsAre(HasSubstr("does not exist")));
    const std::string text = Folder.Read("dev/Playlists/My_ list_.m3u");
    EXPECT_THAT(text, testing::StartsWith("#EXTM3U\r\n"));
    EXPECT_THAT(text, HasSubstr("\r\n../Music/Ärtist/Album/2.mp3\r\n"));
    EXPECT_EQ(RecordCount(), 3U) << "the picture has its record";
    const std::string before = Fingerprint();
    report = Sync();
    EXPECT_EQ(report.PlaylistsKept, 1U);
    EXPECT_THAT(report.PlaylistsSent, IsEmpty());
    EXPECT_EQ(Fingerprint(), before) << "nothing is touched when there is nothing to do";

    CConsole console(true, false);
    CSession session(console);
    ASSERT_EQ(session.Open(Folder / "dev", {}, false), kExitDone);
    EXPECT_THAT(session.GetDevice().GetPlaylists(), ElementsAre(L"My_ list_"));
    std::vector<std::string> files;
    session.GetDevice().GetFiles(L"My_ list_", [&files](const CMediaFields& fields) {
        files.push_back(HostNarrow(fields.Get(L"Filename")));
    });
    EXPECT_THAT(files, ElementsAre(Folder / "dev/Music/Ärtist/Album/2.mp3",
                                   Folder / "dev/Music/Ärtist/Album/1.mp3"));
}

TEST_F(SyncTest, LeavesPlaylistsOfOthersAlone) {
    Song("1.mp3");
    Playlist("list.m3u", "1.mp3\n");
    Folder.Write("dev/Playlists/list.m3u", "theirs");
    Sync();
    EXPECT_EQ(Folder.Read("dev/Playlists/list.m3u"), "theirs");
    EXPECT_TRUE(Folder.Exists("dev/Playlists/list (1).m3u"));
    EXPECT_EQ(Sync().PlaylistsKept, 1U);
    fs::remove(Folder / "lib/list.m3u");
    Options.Playlists.clear();
    Options.Delete = DeleteMode::Own;
    EXPECT_THAT(Sync().Deleted, ElementsAre("Playlists/list (1).m3u"));
    EXPECT_EQ(Folder.Read("dev/Playlists/list.m3u"), "theirs");
}

TEST_F(SyncTest, WritesThePlaylistFormOfTheDevice) {
    Song("1.mp3");
    Playlist("list.m3u", "1.mp3\n");
    struct Row {
        const char* Setting;
        const char* File;
        const char* Text;
    };
    constexpr Row kRows[] = {
        {"PlaylistFormat=3", "list.asx", "<ref href=\"../Music/Artist/Album/1.mp3\" />"},
        {"PlaylistFormat=9", "list.wpl", "<media src=\"../Music/Artist/Album/1.mp3\"/>"},
        {"PlaylistFormat=14", "list.mpl",
         "<Field Name=\"Filename\">../Music/Artist/Album/1.mp3</Field>"},
        {"PlaylistFormat=18", "list.pls", "File1=../Music/Artist/Album/1.mp3\r\n"},
        {"PlaylistPathRoot=\\Card", "list.m3u", "\\Card/Music/Artist/Album/1.mp3"},
    };
    for (const Row& row : kRows) {
        Options.Settings = {row.Setting};
        Sync();
        EXPECT_EQ(Code, kExitDone);
        EXPECT_THAT(Folder.Read(std::string("dev/Playlists/") + row.File), HasSubstr(row.Text))
            << row.Setting;
    }
    Options.Settings = {"PlaylistBasePath=NO_PLAYLISTS"};
    EXPECT_THAT(Reasons(Sync().Skipped), ElementsAre("the device takes no playlists"));
}

TEST_F(SyncTest, PutsOnePictureIntoEachFolder) {
    Song("a/1.mp3", L"One");
    Folder.Write("lib/a/front.png", CSampleMedia::MakePNG(1));
    Folder.Write("lib/a/Cover.JPG", CSampleMedia::MakeJPEG());
    CSampleMedia::CTags tags;
    tags.Artist = L"Two";
    tags.Album = L"Album";
    tags.Picture = CSampleMedia::MakePNG(0xABCDEF);
    for (const char* name : {"b.flac", "b2.flac"}) {
        ASSERT_TRUE(CSampleMedia::WriteTags(
            Folder.Write(std::string("lib/") + name, CSampleMedia::MakeFLAC()), tags));
    }
    tags.Artist = L"Three";
    ASSERT_TRUE(CSampleMedia::WriteTags(Folder.Write("lib/b3.mp3", CSampleMedia::MakeMP3()), tags));
    Sync();
    EXPECT_EQ(Folder.Read("dev/Music/One/Album/Folder.jpg"), CSampleMedia::MakeJPEG());
    EXPECT_EQ(Folder.Read("dev/Music/Two/Album/Folder.jpg"), tags.Picture);
    EXPECT_EQ(Folder.Read("dev/Music/Three/Album/Folder.jpg"), tags.Picture);
    EXPECT_EQ(Device().size(), 7U);
    Options.Settings = {"AlbumArtEnabled=0"};
    Song("c.mp3", L"Four");
    Folder.Write("lib/cover.jpg", CSampleMedia::MakeJPEG());
    Sync();
    EXPECT_FALSE(Folder.Exists("dev/Music/Four/Album/Folder.jpg"));
}

TEST_F(SyncTest, ComparesTheSpaceAheadOfTheFirstByte) {
    Song("1.mp3");
    Sync();
    fs::remove(Folder / "lib/1.mp3");
    const std::string huge = Folder.Write("lib/huge.bin", "x");
    ASSERT_EQ(truncate(huge.c_str(), int64_t{1} << 42), 0);
    Options.Delete = DeleteMode::Own;
    const CSyncReport report = Sync();
    EXPECT_EQ(Code, kExitNoSpace);
    EXPECT_THAT(report.Error, HasSubstr("not enough space"));
    EXPECT_THAT(Device(), ElementsAre("Music/Artist/Album/1.mp3")) << "nothing is deleted either";
}

TEST_F(SyncTest, NamesWhatCannotBeSentAndKeepsTheOlderCopy) {
    Song("1.mp3", L"One");
    Song("2.mp3", L"Two");
    Sync();
    const std::string old = Folder.Read("dev/Music/One/Album/1.mp3");
    Song("1.mp3", L"Three");
    Song("2.mp3", L"Two", L"Album", L"Another title");
    Song("new.mp3", L"Three");
    Folder.Write("dev/Music/Three", "a file where a folder has to go");
    const CSyncReport report = Sync();
    EXPECT_EQ(Code, kExitSomeFailed);
    ASSERT_EQ(report.Failed.size(), 2U);
    EXPECT_EQ(report.Failed[0].Path, Folder / "lib/1.mp3");
    EXPECT_EQ(report.Failed[1].Path, Folder / "lib/new.mp3");
    EXPECT_EQ(report.Sent.size(), 1U);
    EXPECT_EQ(Folder.Read("dev/Music/One/Album/1.mp3"), old);
    EXPECT_THAT(Device(),
                ElementsAre("Music/One/Album/1.mp3", "Music/Three", "Music/Two/Album/2.mp3"));
    fs::remove(Folder / "dev/Music/Three");
    EXPECT_EQ(Sync().Sent.size(), 2U) << "a later sync finishes the work";
    EXPECT_EQ(Code, kExitDone);
    EXPECT_THAT(Device(), ElementsAre("Music/Three/Album/1.mp3", "Music/Three/Album/new.mp3",
                                      "Music/Two/Album/2.mp3"));
    EXPECT_FALSE(Folder.Exists("dev/Music/One"));
    EXPECT_TRUE(Sync().Sent.empty()); // a scan that adds records leaves stale ones to the next
    EXPECT_EQ(RecordCount(), 3U);
}

TEST_F(SyncTest, PutsTheOlderCopyBackAfterAKill) {
    const std::string place = "dev/Music/Artist/Album/1.mp3";
    const std::string aside = "dev/Music/Artist/Album/.1.mp3.old";
    struct Row {
        const char* Name;
        bool IsMoved;      ///< the older copy is aside
        const char* There; ///< what stands at its place then; null for nothing
        bool IsUnderWay;   ///< the new one is noted
        bool IsReplaced;   ///< the new one is entered
    };
    constexpr Row kRows[] = {
        {"noted, not moved", false, nullptr, false, false},
        {"moved", true, nullptr, false, false},
        {"an empty file stands in", true, "", false, false},
        {"about to be sent", true, nullptr, true, false},
        {"cut short", true, "half", true, false},
        {"entered, the older one not yet deleted", true, "the new copy", true, true},
    };
    for (const Row& row : kRows) {
        SCOPED_TRACE(row.Name);
        Song("1.mp3");
        Sync();
        const std::string old = Folder.Read(place);
        {
            CDeviceRecord record;
            std::vector<CDeviceRecord::CEntry> entries;
            ASSERT_TRUE(OpenRecord(record).Load(entries));
            const CDeviceRecord::CAside note{Folder / aside, Folder / place};
            ASSERT_TRUE(record.NoteAside({note}));
            if (row.IsUnderWay) {
                ASSERT_TRUE(record.NoteUnderWay({Folder / "lib/1.mp3", Folder / place, 100}));
            }
            if (row.IsReplaced) {
                entries.front().Size = 12;
                ASSERT_TRUE(record.EndReplacement(entries.front(), note));
            }
        }
        if (row.IsMoved) {
            fs::rename(Folder / place, Folder / aside);
        }
        if (row.There != nullptr) {
            Folder.Write(place, row.There);
        }
        fs::remove(Folder / "lib/1.mp3");
        EXPECT_EQ(Sync().Leftovers.size(), 1U);
        EXPECT_EQ(Code, kExitDone);
        EXPECT_EQ(Folder.Read(place), row.IsReplaced ? row.There : old);
        EXPECT_THAT(Device(), ElementsAre("Music/Artist/Album/1.mp3"));
        Song("1.mp3", L"Artist", L"Album", L"Another title");
        EXPECT_EQ(Sync().Sent.size(), 1U);
        EXPECT_EQ(Folder.Read(place), Folder.Read("lib/1.mp3"));
        EXPECT_THAT(Device(), ElementsAre("Music/Artist/Album/1.mp3"));
    }
}

TEST_F(SyncTest, RefusesALibraryOnTheDevice) {
    Folder.Write("dev/Mine/1.mp3", CSampleMedia::MakeMP3(3));
    fs::create_directory_symlink(Folder / "dev/Mine", Folder / "link");
    Options.Delete = DeleteMode::All;
    const std::string before = Fingerprint();
    for (const char* library : {"dev", "dev/Mine", "dev/../dev/Mine/", "link"}) {
        Options.Libraries = {Folder / "lib", Folder / library};
        EXPECT_THAT(Sync().Error, testing::AllOf(HasSubstr(Folder / "dev"), HasSubstr("lies on")))
            << library;
        EXPECT_EQ(Code, kExitUsage);
        EXPECT_EQ(Fingerprint(), before);
    }
}

TEST_F(SyncTest, LeavesADeviceInTheLibraryOut) {
    Song("1.mp3");
    fs::create_directory(Folder / "dev/Music");
    fs::create_directory_symlink(Folder / "dev/Music", Folder / "lib/link");
    Options.Libraries = {Folder.Path()};
    Options.Delete = DeleteMode::All;
    EXPECT_EQ(Sync().Sent.size(), 1U);
    fs::create_symlink(Folder / "dev/Music/Artist/Album/1.mp3", Folder / "lib/file.mp3");
    const CSyncReport second = Sync();
    EXPECT_EQ(Code, kExitDone);
    EXPECT_THAT(second.Sent, IsEmpty());
    EXPECT_THAT(second.Deleted, IsEmpty());
    EXPECT_THAT(Device(), ElementsAre("Music/Artist/Album/1.mp3"));
}

TEST_F(SyncTest, DeletesNothingForALibraryThatIsMissing) {
    Song("1.mp3");
    Sync();
    fs::rename(Folder / "lib", Folder / "elsewhere");
    Options.Delete = DeleteMode::All;
    EXPECT_THAT(Sync().Deleted, IsEmpty());
    EXPECT_THAT(Device(), ElementsAre("Music/Artist/Album/1.mp3"));
}

TEST_F(SyncTest, LeavesFilesAloneThatReplacedItsOwn) {
    for (const char* name : {"gone", "changed", "killed"}) {
        Song(std::string(name) + "/" + name + ".mp3", HostWiden(name));
    }
    Folder.Write("lib/gone/cover.jpg", CSampleMedia::MakeJPEG());
    Playlist("list.m3u", "gone/gone.mp3\n");
    Sync();
    const std::string kTheirs[] = {"Music/changed/Album/changed.mp3", "Music/gone/Album/Folder.jpg",
                                   "Music/gone/Album/gone.mp3", "Music/killed/Album/killed.mp3",
                                   "Playlists/list.m3u"};
    const std::string theirs = "the user's own " + std::string(5000, 'x');
    for (const std::string& path : kTheirs) {
        ASSERT_TRUE(Folder.Exists("dev/" + path)) << path;
        Folder.Write("dev/" + path, theirs);
    }
    {
        CDeviceRecord record;
        ASSERT_TRUE(
            OpenRecord(record).NoteUnderWay({Folder / "lib/killed/killed.mp3",
                                             Folder / "dev/Music/killed/Album/killed.mp3", 4000}));
    }
    fs::remove_all(Folder / "lib/gone");
    fs::remove(Folder / "lib/list.m3u");
    Song("changed/changed.mp3", L"changed", L"Album", L"Another title");
    Options.Playlists.clear();
    Options.Delete = DeleteMode::Own;
    const CSyncReport report = Sync();
    EXPECT_EQ(Code, kExitDone);
    EXPECT_THAT(report.Deleted, IsEmpty());
    EXPECT_THAT(report.Leftovers,
                UnorderedElementsAre("Music/gone/Album/gone.mp3", "Playlists/list.m3u"));
    for (const std::string& path : kTheirs) {
        EXPECT_EQ(Folder.Read("dev/" + path), theirs) << path;
    }
    EXPECT_EQ(Folder.Read("dev/Music/changed/Album/changed (1).mp3"),
              Folder.Read("lib/changed/changed.mp3"));
}
