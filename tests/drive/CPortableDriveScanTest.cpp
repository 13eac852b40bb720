#include "drive/CPortableDriveGeneric.h"
#include "runtime/VnSharedText.h"
#include "tests/support/FailingCalls.h"
#include "tests/support/FakeHandheld.h"
#include "tests/support/SampleMedia.h"

#include <sys/stat.h>

namespace {

using Names = std::vector<std::string>;

class ScanTest : public DeviceFixture {
protected:
    std::string Record(const std::string& name, const std::string& title) const {
        return "<Item>\r\n<Field Name=\"Filename\">" + (Device / name)
               + "</Field>\r\n<Field Name=\"Name\">" + title + "</Field>\r\n</Item>\r\n";
    }
    void WriteDatabase(const std::string& items, const std::string& version = "2.0") const {
        Device.Write(
            ".Database.mpl",
            "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\" ?>\r\n<MPL Version=\""
                + version + "\">\r\n" + items + "</MPL>");
    }
    /// The Name field that a scan reports for a file.
    std::string NameOf(const std::string& file) {
        FakeList list;
        Scan(list);
        for (const auto& item : list.Items) {
            if (ToUTF8(item->Fields[L"Filename"]) == Device / file) {
                return ToUTF8(item->Fields[L"Name"]);
            }
        }
        return "not reported";
    }
};

TEST_F(ScanTest, ReadsTagsOnceAndThenTrustsTheDatabase) {
    Start();
    Device.Write("Music/a.mp3", MakeMp3({{"TIT2", "Äther & <Co>"}, {"TPE1", "Band"}}));
    EXPECT_EQ(NameOf("Music/a.mp3"), "Äther & <Co>");
    EXPECT_NE(Database().find("<Field Name=\"Name\">Äther &amp; &lt;Co&gt;</Field>"),
              std::string::npos);
    const auto written = std::filesystem::last_write_time(Device / ".Database.mpl");
    std::filesystem::permissions(Device / ".Database.mpl", std::filesystem::perms::owner_read);
    Device.Write("Music/a.mp3", MakeMp3({{"TIT2", "changed outside"}}));
    EXPECT_EQ(NameOf("Music/a.mp3"), "Äther & <Co>");
    EXPECT_EQ(std::filesystem::last_write_time(Device / ".Database.mpl"), written)
        << "a scan that finds nothing new writes nothing";
}

TEST_F(ScanTest, VanishedRecordsGoWhenNothingWasAdded) {
    Start();
    Device.Write("a.mp3", "x");
    Device.Write("b.mp3", "x");
    Scan();
    std::filesystem::remove(Device / "a.mp3");
    Device.Write("c.mp3", "x");
    Scan();
    EXPECT_NE(Database().find("a.mp3"),
              std::string::npos); // a scan that adds does not look for them
    Scan();
    EXPECT_EQ(Database().find("a.mp3"), std::string::npos);
    EXPECT_NE(Database().find("c.mp3"), std::string::npos);
}

TEST_F(ScanTest, AListingThatBreaksOffTakesNoRecordOfAFileThatIsThere) {
    Start();
    Device.Write("a.mp3", "x");
    Device.Write("b.mp3", "x");
    Scan();
    std::filesystem::remove(Device / "a.mp3");
    const FailingCall brokenOff("getdents64", EIO);
    EXPECT_EQ(Scan(), Names{});
    EXPECT_TRUE(brokenOff.HasFailed());
    EXPECT_EQ(Database().find("a.mp3"), std::string::npos);
    EXPECT_NE(Database().find("b.mp3"), std::string::npos);
}

TEST_F(ScanTest, TakesRecordsOfItsOwnVersionOnly) {
    // The version, and the name reported: from the database, or read anew.
    constexpr std::pair<const char*, const char*> kRows[] = {
        {"2.0", "kept"}, {" 2.0 ", "kept"}, {"20", "kept"}, {"2.1", "a"},
        {"2.0.0", "a"},  {"3.0", "a"},      {"-20", "a"},   {"", "a"},
    };
    Device.Write("a.mp3", "no tags");
    for (const auto& [version, expected] : kRows) {
        Start();
        WriteDatabase(Record("a.mp3", "kept"), version);
        EXPECT_EQ(NameOf("a.mp3"), expected) << '"' << version << '"';
    }
}

TEST_F(ScanTest, DamagedDatabasesAreRebuilt) {
    Device.Write("a.mp3", MakeMp3({{"TIT2", "read"}}));
    const std::string good = "<MPL Version=\"2.0\">\r\n" + Record("a.mp3", "kept") + "</MPL>";
    const std::string texts[] = {
        "",
        good.substr(0, good.size() / 2),
        good.substr(0, good.size() - 1),
        "<OTHER/>",
        good + "<again/>",
        std::string(100000, '<'),
        std::string("\0\xFF\xFE\x01garbage<MPL", 14),
    };
    for (const std::string& text : texts) {
        SCOPED_TRACE(text.substr(0, 60));
        Start();
        Device.Write(".Database.mpl", text);
        EXPECT_EQ(NameOf("a.mp3"), "read");
        EXPECT_NE(Database().find("<Field Name=\"Name\">read</Field>"), std::string::npos);
    }
    std::filesystem::remove(Device / ".Database.mpl");
    ASSERT_EQ(mkfifo((Device / ".Database.mpl").c_str(), 0600), 0);
    Start();
    EXPECT_EQ(NameOf("a.mp3"), "read") << "a pipe in the place of the database is passed over";
}

TEST_F(ScanTest, RecordsShareAKeyInAnyLetterCase) {
    Start();
    Device.Write("A.mp3", "x");
    WriteDatabase(Record("a.mp3", "first") + Record("a.MP3", "second"));
    FakeList list;
    Scan(list);
    ASSERT_EQ(list.Items.size(), 1U);
    EXPECT_EQ(list.Items[0]->Fields[L"Name"], L"second");
}

TEST_F(ScanTest, KnowsARecordHoweverItSpellsTheName) {
    // A file, and its name in its record.
    constexpr std::pair<const char*, const char*> kRows[] = {
        {"a.mp3", "a.mp3"},
        {"B.mp3", "b.MP3"},
        {"c & d.mp3", "c &amp; d.mp3"},
        {"e&amp;.mp3", "e&amp;amp;.mp3"},
        {"\xC3\xA4.mp3", "\xC3\xA4.mp3"},
        {"\xC3\x96.mp3", "\xC3\xB6.mp3"},
        {"f'.mp3", "f&apos;.mp3"},
    };
    std::string items;
    for (const auto& [file, stored] : kRows) {
        Device.Write(file, "x");
        items += Record(stored, "kept");
    }
    for (const auto& [file, stored] : kRows) {
        // Alone and among the others: what one record needs must not hide the rest.
        for (const std::string& text : {Record(stored, "kept"), items}) {
            Start();
            WriteDatabase(text);
            FakeList list;
            Scan(list);
            const auto kept =
                std::count_if(list.Items.begin(), list.Items.end(),
                              [](const auto& item) { return item->Fields[L"Name"] == L"kept"; });
            EXPECT_EQ(kept, text == items ? std::ssize(kRows) : 1) << file;
        }
    }
}

TEST_F(ScanTest, KeepsAllRecordsWhenOneIsAdded) {
    Start();
    Device.Write("a.mp3", "x");
    Device.Write("b.mp3", "x");
    WriteDatabase(Record("a.mp3", "first") + Record("b.mp3", "second"));
    Scan();
    Device.Write("aa.mp3", MakeMp3({{"TIT2", "added"}}));
    EXPECT_EQ(NameOf("aa.mp3"), "added");
    Start();
    EXPECT_EQ(NameOf("a.mp3"), "first");
    EXPECT_EQ(NameOf("b.mp3"), "second");
    Run(kCommandEndSync);
    EXPECT_NE(Database().find("second"), std::string::npos);
    EXPECT_NE(Database().find("added"), std::string::npos);
}

TEST_F(ScanTest, SearchesTheConfiguredFolders) {
    Device.Write("Music/a.mp3", "x");
    Device.Write("Music/b.txt", "x");
    Device.Write("Pictures/c.jpg", "x");
    Device.Write("d.mp3", "x");
    struct Row {
        const char* What;
        std::map<std::wstring, std::wstring> Properties;
        Names Expected;
    };
    const Row rows[] = {
        {"all types of all folders", {}, {"Music/a.mp3", "Music/b.txt", "Pictures/c.jpg", "d.mp3"}},
        {"by type",
         {{L"SupportedFileTypes", L"MP3; jpg"}},
         {"Music/a.mp3", "Pictures/c.jpg", "d.mp3"}},
        {"star wins",
         {{L"SupportedFileTypes", L"mp3;*"}},
         {"Music/a.mp3", "Music/b.txt", "Pictures/c.jpg", "d.mp3"}},
        {"named folders",
         {{L"AudioSearchPath", L"Music/[Artist]"},
          {L"ImageSearchPath", L"Music"},
          {L"VideoSearchPath", L"Nowhere"},
          {L"DataBasePath", L"Pictures"}},
         {"Music/a.mp3", "Music/b.txt", "Pictures/c.jpg"}},
        {"whole device over named folders",
         {{L"SearchEntireDevice", L"1"}, {L"AudioSearchPath", L"Nowhere"}},
         {"Music/a.mp3", "Music/b.txt", "Pictures/c.jpg", "d.mp3"}},
    };
    for (const Row& row : rows) {
        Start(row.Properties);
        EXPECT_EQ(Scan(), row.Expected) << row.What;
    }
}

TEST_F(ScanTest, DotFoldersAreSkippedOnAndroidOnly) {
    Device.Write(".trash/a.mp3", "x");
    Device.Write("b.mp3", "x");
    Start();
    EXPECT_EQ(Scan(), (Names{".trash/a.mp3", "b.mp3"}));
    Start({{L"IsAndroid", L"1"}});
    EXPECT_EQ(Scan(), Names{"b.mp3"});
    Start({{L"IsAndroid", L"1"}, {L"ShowHiddenFolders", L"1"}});
    EXPECT_EQ(Scan(), (Names{".trash/a.mp3", "b.mp3"}));
}

TEST_F(ScanTest, NamesThatAreNoUTF8LeaveNothingBehind) {
    Start();
    Device.Write("M\xFC.mp3", "x");
    Device.Write("b.mp3", "x");
    for (int round = 0; round < 3; ++round) {
        EXPECT_EQ(Scan(), (Names{"M\xFC.mp3", "b.mp3"}));
    }
    EXPECT_EQ(Database().find("M?"), std::string::npos);
    EXPECT_NE(Database().find("b.mp3"), std::string::npos);
}

TEST_F(ScanTest, CancelEndsTheScanAndSavesNothing) {
    Start();
    Device.Write("a.mp3", "x");
    Device.Write("b.mp3", "x");
    FakeList list;
    list.OnRecord = [&] { Front->Cancel(); };
    EXPECT_EQ(Scan(list).size(), 1U);
    EXPECT_FALSE(Device.Exists(".Database.mpl"));
    EXPECT_TRUE(Scan().empty()); // nothing clears the flag
}

TEST_F(ScanTest, AHostThatWantsNoRecordsStillGetsADatabase) {
    Start();
    Device.Write("a.mp3", "x");
    FakeList list;
    list.GivesRecords = false;
    EXPECT_TRUE(Scan(list).empty());
    EXPECT_NE(Database().find("a.mp3"), std::string::npos);
}

TEST_F(ScanTest, DepthDecidesWhatIsScanned) {
    Start({{L"PlaylistBasePath", L"Lists"}});
    Device.Write("a.mp3", "x");
    Device.Write("Lists/Road.m3u", "../a.mp3\r\n");
    constexpr std::pair<const wchar_t*, size_t> kRows[] = {
        {L"", 2},
        {L"Card", 2},
        {L"Card/", 2},
        {L"Card/Road", 1},
        {L"Card/Road/", 1},
        {L"/Road", 1},
        {L"Card (/media/user/CARD)", 2},
        {L"Card (/media/user/CARD)/Road", 1},
        {L"Card/Road/x", 0},
    };
    for (const auto& [location, expected] : kRows) {
        FakeList list;
        Front->GetFiles(location, &list);
        EXPECT_EQ(list.Items.size(), expected) << ToUTF8(location);
    }
}

struct LineCase {
    const char* What;
    std::map<std::wstring, std::wstring> Properties;
    std::string Text;
    Names Expected;
    const char* File = "Lists/Road.m3u";
};

TEST_F(ScanTest, ReadsPlaylistLines) {
    Device.Write("Music/a.mp3", "x");
    Device.Write("Music/ü.mp3", "x");
    const std::string inRoot = Device / "Music/a.mp3";
    const LineCase cases[] = {
        {"relative with CR LF", {}, "../Music/a.mp3\r\n\r\n", {"Music/a.mp3"}},
        {"absolute", {}, inRoot + "\n", {"Music/a.mp3"}},
        {"comments name no file", {}, "#EXTM3U\r\n#EXTINF:1,x\r\n../Music/a.mp3", {"Music/a.mp3"}},
        {"missing files drop out", {}, "../Music/gone.mp3\r\n", {}},
        {"UTF-8 names", {}, "../Music/ü.mp3\r\n", {"Music/ü.mp3"}},
        {"UTF-8 with a mark", {}, "\xEF\xBB\xBF../Music/ü.mp3\r\n", {"Music/ü.mp3"}},
        {"root and token",
         {{L"PlaylistPathRoot", L"\\Card\\"}, {L"PlaylistPathToken", L"\\"}},
         "#x\r\n\\Card\\..\\Music\\a.mp3\r\n",
         {"Music/a.mp3"}},
        {"ASX",
         {},
         "<asx version=\"3.0\"><entry><ref href=\"../Music/a.mp3\"/></entry>"
         "<entry><ref href=\"../Music/gone.mp3\"/></entry></asx>",
         {"Music/a.mp3"},
         "Lists/Road.asx"},
    };
    for (const LineCase& row : cases) {
        Properties properties = row.Properties;
        properties[L"PlaylistBasePath"] = L"Lists";
        Start(properties);
        Device.Write(row.File, row.Text);
        EXPECT_EQ(ScanPlaylist(L"Road"), row.Expected) << row.What;
        std::filesystem::remove(Device / row.File);
    }
}

TEST_F(ScanTest, NamesThePlaylists) {
    Start({{L"PlaylistBasePath", L"Lists"}});
    Device.Write("Lists/One.m3u", "");
    Device.Write("Lists/Two.ASX", "");
    Device.Write("Lists/No.txt", "");
    Device.Write("Lists/Below/Three.m3u", "");
    wchar_t* names = nullptr;
    int32_t first = 7;
    int32_t second = 7;
    EXPECT_EQ(Front->GetFolders(L"Card", &names, &first, &second), 0);
    EXPECT_EQ(VnTakeSharedText(names), L"One\x01Two");
    EXPECT_EQ(first, 0);
    EXPECT_EQ(second, 1);
    EXPECT_EQ(Front->GetFolders(L"Card/One", &names, &first, &second), 0);
    EXPECT_EQ(VnTakeSharedText(names), L"");
}

} // namespace
