#include "files/VnMoveCopyDirectory.h"

#include "files/VnFileSystem.h"
#include "tests/support/TestEnvironment.h"
#include "tests/support/TestText.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

namespace {

using testing::ElementsAre;

class MoveCopyDirectory : public testing::Test {
protected:
    MoveCopyDirectory() {
        for (const char* name : {"s/a.mp3", "s/sub/b.mp3", "s/sub/deep/c.mp3", "s/z.mp3"}) {
            Folder.Write(name, name);
        }
        std::filesystem::create_directories(Folder / "s/empty");
    }
    VnString operator/(const std::string& name) const { return ToText(Folder / name); }
    std::set<std::string> List(const std::string& below) const {
        std::set<std::string> names;
        const std::filesystem::path root = Folder.Path() / below;
        if (std::filesystem::exists(root)) {
            for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
                names.insert(entry.path().lexically_relative(root).string());
            }
        }
        return names;
    }

    TestFolder Folder;
};

const std::set<std::string> kWholeTree = {"a.mp3",    "empty",          "sub",  "sub/b.mp3",
                                          "sub/deep", "sub/deep/c.mp3", "z.mp3"};

TEST_F(MoveCopyDirectory, ListsADirectoryThenItsTreesThenItsFiles) {
    const VnMoveCopyDirectory work(*this / "s", *this / "t/", /*recursive=*/true);
    const std::string root = Folder / "";
    std::vector<std::string> items;
    for (const VnMoveCopyDirectory::CItem* item : work) {
        const std::string type = item->Type == VnMoveCopyDirectory::CItem::kDirectory ? "D " : "F ";
        items.push_back(type + ToBytes(item->Source).substr(root.size()) + " "
                        + ToBytes(item->Destination).substr(root.size()));
    }
    EXPECT_THAT(items,
                ElementsAre("D s/ t/", "D s/empty/ t/empty/", "D s/sub/ t/sub/",
                            "D s/sub/deep/ t/sub/deep/", "F s/sub/deep/c.mp3 t/sub/deep/c.mp3",
                            "F s/sub/b.mp3 t/sub/b.mp3", "F s/a.mp3 t/a.mp3", "F s/z.mp3 t/z.mp3"));
    EXPECT_FALSE(Folder.Exists("t")) << "nothing happens before Run";
}

TEST_F(MoveCopyDirectory, RunsOnce) {
    VnMoveCopyDirectory work(*this / "s", *this / "t", /*recursive=*/true);
    EXPECT_TRUE(work.Run(/*deleteSource=*/false));
    EXPECT_FALSE(work.Run(/*deleteSource=*/true));
    EXPECT_EQ(List("t"), kWholeTree);
    EXPECT_EQ(List("s"), kWholeTree);
}

TEST_F(MoveCopyDirectory, CopiesOrMovesTheTreeOrItsTop) {
    EXPECT_TRUE(VnFileSystem::CopyDirectory(*this / "s", *this / "top", /*recursive=*/false));
    EXPECT_EQ(List("top"), (std::set<std::string>{"a.mp3", "z.mp3"}));
    EXPECT_TRUE(VnFileSystem::CopyDirectory(*this / "s", *this / "whole", /*recursive=*/true));
    EXPECT_EQ(List("whole"), kWholeTree);
    EXPECT_EQ(Folder.Read("whole/sub/deep/c.mp3"), "s/sub/deep/c.mp3");

    EXPECT_TRUE(VnFileSystem::MoveDirectory(*this / "s", *this / "moved top", /*recursive=*/false));
    EXPECT_EQ(List("s"),
              (std::set<std::string>{"empty", "sub", "sub/b.mp3", "sub/deep", "sub/deep/c.mp3"}));
    EXPECT_TRUE(VnFileSystem::TransferDirectory(*this / "s", *this / "moved", /*deleteSource=*/true,
                                                /*recursive=*/true));
    EXPECT_FALSE(Folder.Exists("s"));
    EXPECT_TRUE(Folder.Exists("moved/empty"));
    EXPECT_TRUE(Folder.Exists("moved/sub/deep/c.mp3"));
}

TEST_F(MoveCopyDirectory, KeepsTheSourceOfWhatDidNotArrive) {
    std::filesystem::create_directories(Folder / "t/a.mp3/a.mp3");
    VnMoveCopyDirectory work(*this / "s", *this / "t", /*recursive=*/true);
    EXPECT_FALSE(work.Run(/*deleteSource=*/true)) << "a directory stands in the place of a file";
    EXPECT_EQ(List("s"), (std::set<std::string>{"a.mp3"}));
    EXPECT_TRUE(Folder.Exists("t/sub/deep/c.mp3"));
    for (const VnMoveCopyDirectory::CItem* item : work) {
        EXPECT_EQ(item->Done, ToBytes(item->Source) != (Folder / "s/a.mp3"));
    }
}

TEST_F(MoveCopyDirectory, NeverDeletesASourceThatIsADestination) {
    EXPECT_FALSE(VnFileSystem::MoveDirectory(*this / "s", *this / "s", /*recursive=*/true))
        << "a file is not copied onto itself";
    EXPECT_EQ(List("s"), kWholeTree);

    // Moving a folder into one of its own: "s/sub/b.mp3" is source and destination.
    Folder.Write("s/b.mp3", "new");
    VnFileSystem::MoveDirectory(*this / "s", *this / "s/sub", /*recursive=*/false);
    EXPECT_EQ(Folder.Read("s/sub/b.mp3"), "new");
    EXPECT_EQ(Folder.Read("s/sub/a.mp3"), "s/a.mp3");
    EXPECT_FALSE(Folder.Exists("s/a.mp3"));
}

TEST_F(MoveCopyDirectory, EntersADirectoryThatHoldsItselfOnce) {
    std::filesystem::create_directory_symlink("..", Folder / "s/sub/up");
    VnMoveCopyDirectory work(*this / "s", *this / "t", /*recursive=*/true);
    EXPECT_EQ(work.GetCount(), 9);
    EXPECT_TRUE(work.Run(/*deleteSource=*/false));
    EXPECT_TRUE(Folder.Exists("t/sub/deep/c.mp3"));
    EXPECT_FALSE(Folder.Exists("t/sub/up/sub"));
}

} // namespace
