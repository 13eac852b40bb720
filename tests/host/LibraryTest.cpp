#include "host/CLibrary.h"
#include "host/CSampleMedia.h"
#include "host/CTagSource.h"
#include "host/HostText.h"
#include "tests/support/TestEnvironment.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <chrono>
#include <filesystem>
#include <map>
#include <string>

namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::Pair;

/// Gives every file an artist and counts how often it was asked.
class CountingTags final : public ITagSource {
public:
    bool Read(const std::string& path, CMediaFields& fields) override {
        ++Count;
        fields.Set(L"Artist", L"Somebody");
        return path.find("refused") == std::string::npos;
    }
    int Count = 0;
};

class LibraryTest : public testing::Test {
protected:
    LibraryTest() { Folder.Write("lib/.keep", ""); }

    void Song(const std::string& name) { Folder.Write("lib/" + name, CSampleMedia::MakeMP3(2)); }

    /// Scans the library anew with an index that stays.
    std::vector<std::string> Scan() {
        CLibrary library;
        std::string error;
        EXPECT_TRUE(library.OpenIndex(Folder / "index.db", error)) << error;
        library.Scan({Folder / "lib"}, Tags, {}, {});
        ReadCount = library.GetReadCount();
        PassedOver.clear();
        for (const CPassedOver& passed : library.GetPassedOver()) {
            PassedOver[passed.Path.substr((Folder / "lib/").size())] = passed.Reason;
        }
        std::vector<std::string> names;
        Types.clear();
        for (const auto& item : library.GetItems()) {
            names.push_back(item->Path.substr((Folder / "lib/").size()));
            Types[names.back()] =
                HostNarrow(item->Fields.Get(L"Media Type") + L"/" + item->Fields.Get(L"File Type"));
        }
        return names;
    }

    TestFolder Folder;
    CountingTags Tags;
    size_t ReadCount = 0;
    std::map<std::string, std::string> PassedOver;
    std::map<std::string, std::string> Types;
};

} // namespace

TEST_F(LibraryTest, TakesEveryKindOfFileOnce) {
    Song("b/2.mp3");
    Song("b/1.MP3");
    Song("a.mp3");
    Folder.Write("lib/notes.txt", "x");
    Folder.Write("lib/README", "x");
    Folder.Write("lib/pic.jpg", CSampleMedia::MakeJPEG());
    Folder.Write("lib/b/Cover.jpg", CSampleMedia::MakeJPEG());
    Folder.Write("lib/list.m3u", "a.mp3");
    Folder.Write("lib/.hidden/x.mp3", CSampleMedia::MakeMP3(2));
    Folder.Write("lib/Thumbs.db", "x");
    EXPECT_THAT(Scan(),
                ElementsAre("README", "a.mp3", "b/1.MP3", "b/2.mp3", "notes.txt", "pic.jpg"));
    EXPECT_EQ(Types["b/1.MP3"], "Audio/mp3");
    EXPECT_EQ(Types["README"], "Data/dat");
    EXPECT_EQ(Types["pic.jpg"], "Image/jpg");
    EXPECT_TRUE(PassedOver.empty());
}

TEST_F(LibraryTest, NamesAndPassesOverWhatIsNoFile) {
    Song("good.mp3");
    Folder.Write("lib/empty.mp3", "");
    Folder.Write("lib/text.mp3", std::string(2000, 'x'));
    Folder.Write("lib/cut.flac", CSampleMedia::MakeFLAC().substr(0, 90));
    Song("refused.mp3");
    ASSERT_EQ(mkfifo((Folder / "lib/pipe.mp3").c_str(), 0600), 0);
    fs::create_symlink("nowhere", Folder / "lib/dangling.mp3");
    fs::create_symlink("loop2.mp3", Folder / "lib/loop1.mp3");
    fs::create_symlink("loop1.mp3", Folder / "lib/loop2.mp3");
    fs::create_directory_symlink("..", Folder / "lib/up");
    EXPECT_THAT(Scan(), ElementsAre("good.mp3"));
    EXPECT_THAT(PassedOver, ElementsAre(Pair("cut.flac", "cut short"),
                                        Pair("dangling.mp3", "is a link that leads nowhere"),
                                        Pair("empty.mp3", "empty"),
                                        Pair("loop1.mp3", "is a link that leads round in a circle"),
                                        Pair("loop2.mp3", "is a link that leads round in a circle"),
                                        Pair("pipe.mp3", "is a FIFO, not a file"),
                                        Pair("refused.mp3", "not what its extension says"),
                                        Pair("text.mp3", "not what its extension says"),
                                        Pair("up", "is a link to a folder that it stands in")));
}

TEST_F(LibraryTest, FollowsLinksToNewPlacesOnly) {
    Song("real.mp3");
    Folder.Write("outside/far.mp3", CSampleMedia::MakeMP3(2));
    fs::create_symlink("real.mp3", Folder / "lib/again.mp3");
    fs::create_directory_symlink(Folder / "outside", Folder / "lib/linked");
    fs::create_symlink(Folder / "outside/far.mp3", Folder / "lib/zfar.mp3");
    EXPECT_THAT(Scan(), ElementsAre("linked/far.mp3", "real.mp3", "zfar.mp3"));
}

TEST_F(LibraryTest, OpensAFileOnceUntilItChanges) {
    const std::string odd = "b\351\360\237\214\254.mp3"; // partly no UTF-8
    Song("a.mp3");
    Song(odd);
    Folder.Write("lib/bad.mp3", "");
    EXPECT_THAT(Scan(), ElementsAre("a.mp3", odd));
    EXPECT_EQ(Tags.Count, 2);
    EXPECT_EQ(ReadCount, 3U);
    EXPECT_THAT(Scan(), ElementsAre("a.mp3", odd));
    EXPECT_EQ(Tags.Count, 2);
    EXPECT_EQ(ReadCount, 0U);
    EXPECT_EQ(PassedOver["bad.mp3"], "empty") << "what was found out is remembered, too";
    fs::last_write_time(Folder / "lib/a.mp3",
                        fs::file_time_type::clock::now() + std::chrono::hours(1));
    Folder.Write("lib/bad.mp3", CSampleMedia::MakeMP3(2));
    EXPECT_THAT(Scan(), ElementsAre("a.mp3", "bad.mp3", odd));
    EXPECT_EQ(ReadCount, 2U);
    fs::remove(Folder / "lib/a.mp3");
    EXPECT_THAT(Scan(), ElementsAre("bad.mp3", odd));
    EXPECT_EQ(ReadCount, 0U);
}

TEST_F(LibraryTest, WorksWithADamagedIndex) {
    Song("a.mp3");
    Folder.Write("index.db", std::string(10000, 'x'));
    EXPECT_THAT(Scan(), ElementsAre("a.mp3"));
    EXPECT_TRUE(Folder.Exists("index.db.damaged"));
    Scan();
    EXPECT_EQ(ReadCount, 0U);
}
