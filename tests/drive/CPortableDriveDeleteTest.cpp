#include "tests/support/FakeHandheld.h"

namespace {

class DeleteTest : public DeviceFixture {
protected:
    void SetUp() override {
        Start({{L"AudioBasePath", L"Music/[Artist]\\[Album]\\"}, {L"PlaylistBasePath", L"Lists"}});
    }
    void Delete(const std::vector<std::string>& paths) {
        FakeList list;
        for (const std::string& path : paths) {
            list.Add({{L"Filename", ToWide(path)}});
        }
        list.Items.push_back(nullptr); // a missing item
        EXPECT_EQ(Run(kCommandDelete, &list), 0);
    }
};

TEST_F(DeleteTest, StopsAtAFolderThatStillHoldsSomething) {
    Device.Write("Music/Artist/Album/a.mp3", "x");
    Device.Write("Music/Artist/Album/THUMBS.DB", "x");
    Device.Write("Music/Other/Album/b.mp3", "x");
    std::filesystem::create_directories(Device / "Music/Other/Empty");
    Device.Write("Music/Third/Album/c.mp3", "x");
    Device.Write("Music/Third/Album/.more/d.mp3", "x");
    Delete({Device / "Music/Artist/Album/a.mp3", Device / "Music/Other/Album/b.mp3",
            Device / "Music/Third/Album/c.mp3"});
    EXPECT_FALSE(Device.Exists("Music/Artist")); // a thumbnail store does not count
    EXPECT_FALSE(Device.Exists("Music/Other/Album"));
    EXPECT_TRUE(Device.Exists("Music/Other/Empty"));
    EXPECT_TRUE(Device.Exists("Music/Third/Album/.more/d.mp3"));
}

TEST_F(DeleteTest, ProtectsFoldersSpelledWithBackSlashes) {
    Reconfigure({{L"AudioBasePath", L"ROOT\\Music\\[Artist]\\"}});
    Device.Write("Music/Artist/a.mp3", "x");
    Delete({Device / "Music/Artist/a.mp3"});
    EXPECT_TRUE(Device.Exists("Music"));
    EXPECT_FALSE(Device.Exists("Music/Artist"));
}

TEST_F(DeleteTest, ADeviceWithoutARootLosesNothing) {
    Reconfigure({{L"DrivePath", L""}});
    Device.Write("Music/a.mp3", "x");
    Delete({Device / "Music/a.mp3"});
    EXPECT_TRUE(Device.Exists("Music/a.mp3"));
}

TEST_F(DeleteTest, NeverPrunesTheRootOrAboveIt) {
    Reconfigure({{L"DrivePath", ToWide(Device / "Card/Inner")},
                 {L"AudioBasePath", L"Music"},
                 {L"ImageBasePath", L"Music"},
                 {L"VideoBasePath", L"Music"},
                 {L"PlaylistBasePath", L"Music"}});
    Device.Write("Card/Inner/a.mp3", "x");
    Delete({Device / "Card/Inner/a.mp3"});
    EXPECT_FALSE(Device.Exists("Card/Inner/a.mp3"));
    EXPECT_TRUE(Device.Exists("Card/Inner"));
}

TEST_F(DeleteTest, LeavesEverythingOutsideTheDeviceAlone) {
    const std::string outside = Library.Write("a.mp3", "x");
    TestFolder elsewhere;
    const std::string linked = elsewhere.Write("b.mp3", "x");
    std::filesystem::create_directory_symlink(elsewhere.Path(), Device.Path() / "Out");
    Delete({outside, "", Device / "Out/b.mp3", Device / "../x.mp3"});
    EXPECT_TRUE(std::filesystem::exists(outside));
    EXPECT_TRUE(std::filesystem::exists(linked));
    EXPECT_FALSE(Device.Exists(".Database.mpl")); // nothing was deleted, so nothing is saved
}

TEST_F(DeleteTest, TakesTheRecordAndSavesOnce) {
    Device.Write("Music/a.mp3", "x");
    Device.Write("Music/b.mp3", "x");
    Scan();
    Delete({Device / "Music/a.mp3", Device / "Music/missing.mp3"});
    EXPECT_EQ(Database().find("a.mp3"), std::string::npos);
    EXPECT_NE(Database().find("b.mp3"), std::string::npos);
}

TEST_F(DeleteTest, ASyncBeginsByDroppingPlaylistsWhenAsked) {
    Device.Write("Lists/a.m3u", "x");
    Device.Write("Lists/b.asx", "x");
    Device.Write("Lists/c.pls", "x");
    Device.Write("Lists/Below/d.m3u", "x");
    Run(kCommandBeginSync);
    EXPECT_TRUE(Device.Exists("Lists/a.m3u"));
    Reconfigure({{L"PlaylistBasePath", L"Lists"}, {L"DeleteFilesNotInSync", L"1"}});
    Run(kCommandBeginSync);
    EXPECT_FALSE(Device.Exists("Lists/a.m3u"));
    EXPECT_FALSE(Device.Exists("Lists/b.asx"));
    EXPECT_TRUE(Device.Exists("Lists/c.pls"));
    EXPECT_TRUE(Device.Exists("Lists/Below/d.m3u"));
}

} // namespace
