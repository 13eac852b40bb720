#include "files/VnFileSystem.h"

#include "core/VnStringArray.h"
#include "files/VnMoveCopyDirectory.h"
#include "runtime/CProcessInfo.h"
#include "runtime/IVnToolsRoot.h"
#include "runtime/VnLog.h"
#include "runtime/VnSiblingModules.h"
#include "tests/support/TestEnvironment.h"
#include "tests/support/TestText.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <unistd.h>
#include <utime.h>

#include <fstream>
#include <iterator>
#include <memory>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class FileSystemTrees : public testing::Test {
protected:
    FileSystemTrees() {
        VnGetToolsRoot()->GetLogManager(1);
        Log = std::make_unique<CLogToStringItem>(kLogGeneral);
    }
    VnString operator/(const std::string& name) const { return ToText(Folder / name); }
    std::string GetLog() const { return ToBytes(Log->GetLines().Join(L"\n")); }

    /// Everything below a folder, directories with a slash at their end.
    std::set<std::string> List(const std::string& below = "") const {
        std::set<std::string> names;
        const std::filesystem::path root = Folder.Path() / below;
        if (std::filesystem::exists(root)) {
            for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
                const bool directory = entry.is_directory() && !entry.is_symlink();
                names.insert(entry.path().lexically_relative(root).string()
                             + (directory ? "/" : ""));
            }
        }
        return names;
    }

    TestFolder Folder;
    std::unique_ptr<CLogToStringItem> Log;
};

TEST_F(FileSystemTrees, AreMadeLevelByLevel) {
    EXPECT_TRUE(VnFileSystem::MakeDirectoryTree(*this / "a/b/it's c", /*testWrite=*/false));
    EXPECT_TRUE(VnFileSystem::MakeDirectoryTree(*this / "a/d/", /*testWrite=*/true));
    EXPECT_TRUE(VnFileSystem::MakeDirectoryTree(*this / "a/d/", /*testWrite=*/true))
        << "what is there is fine";
    EXPECT_THAT(List(), ElementsAre("a/", "a/b/", "a/b/it's c/", "a/d/"))
        << "and the write tests leave nothing";
    EXPECT_EQ(GetLog(), "");
}

TEST_F(FileSystemTrees, AreNotMadeFromARelativePath) {
    EXPECT_TRUE(VnFileSystem::MakeDirectoryTree(L"velnor relative/x", /*testWrite=*/false));
    EXPECT_FALSE(VnFileSystem::MakeDirectoryTree(L"velnor relative/x", /*testWrite=*/true));
    EXPECT_NE(access("velnor relative", F_OK), 0);
    EXPECT_FALSE(VnFileSystem::MakeDirectoryTree(L"", /*testWrite=*/false));
}

TEST_F(FileSystemTrees, FailWithALogLineBelowAFile) {
    Folder.Write("file", "");
    EXPECT_FALSE(VnFileSystem::MakeDirectoryTree(*this / "file/x/y", /*testWrite=*/false));
    EXPECT_THAT(GetLog(), HasSubstr("VnFileSystem::MakeDirectoryTree"));
    EXPECT_THAT(GetLog(), HasSubstr("Failed! Path=" + (Folder / "file/x/y/")));
}

TEST_F(FileSystemTrees, MayBeMadeBySeveralThreadsAtOnce) {
    std::vector<std::thread> threads;
    std::vector<int> results(8);
    for (int& result : results) {
        threads.emplace_back([&result, this] {
            result = VnFileSystem::MakeDirectoryTree(*this / "a/b/c/d/e/f/g/h", /*testWrite=*/true)
                         ? 1
                         : 0;
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_THAT(results, testing::Each(1));
}

TEST_F(FileSystemTrees, TellWhetherAFileCanBeMade) {
    EXPECT_TRUE(VnFileSystem::TestDirectoryWrite(*this / ""));
    EXPECT_FALSE(VnFileSystem::TestDirectoryWrite(*this / "missing"));
    EXPECT_FALSE(VnFileSystem::TestDirectoryWrite(L"/proc/"));
    EXPECT_FALSE(VnFileSystem::TestDirectoryWrite(L""));
    EXPECT_THAT(List(), IsEmpty());
}

TEST_F(FileSystemTrees, AreDeletedWithTheirHiddenFilesAndNotThroughLinks) {
    for (const char* name : {"t/a.mp3", "t/.hidden", "t/sub dir/it's", "t/sub dir/.hidden/x",
                             "t/-rf", "t/[x]/y", "outside/song.mp3"}) {
        Folder.Write(name, "");
    }
    std::filesystem::create_directory_symlink(Folder / "outside", Folder / "t/link");
    std::filesystem::create_symlink(Folder / "outside/song.mp3", Folder / "t/file link");
    EXPECT_TRUE(VnFileSystem::DeleteDirectoryTree(*this / "t/"));
    EXPECT_THAT(List(), ElementsAre("outside/", "outside/song.mp3"));
    EXPECT_TRUE(VnFileSystem::DeleteDirectoryTree(*this / "missing"));
    EXPECT_FALSE(VnFileSystem::DeleteDirectoryTree(L""));
}

TEST_F(FileSystemTrees, KeepWhatTheListsName) {
    for (const char* name :
         {"t/a.MP3", "t/b.jpg", "t/Keep.Me", "t/c", "t/.hidden", "t/sub/d.mp3"}) {
        Folder.Write(name, "");
    }
    VnStringArray extensions;
    extensions.Add(L"mp3");
    VnStringUniqueList<VnString, false> names;
    names.Add(L"keep.me");
    EXPECT_TRUE(VnFileSystem::DeleteDirectoryTree(*this / "t", &extensions, &names));
    EXPECT_THAT(List("t"), ElementsAre(".hidden", "Keep.Me", "a.MP3"))
        << "nothing is kept below sub-directories";
    names.RemoveAll();
    extensions.Empty();
    extensions.Add(L"ogg");
    EXPECT_TRUE(VnFileSystem::DeleteDirectoryTree(*this / "t", &extensions, &names));
    EXPECT_FALSE(Folder.Exists("t")) << "lists that match nothing keep nothing";
}

TEST_F(FileSystemTrees, AreNeverDeletedAtDangerousPaths) {
    Folder.Write("a/b..c/x", "");
    Folder.Write("d/x", "");
    for (const VnString& path :
         {VnString(L"/"), VnString(L"//"), VnString(L"/./"), *this / "a/../d", *this / "a/b..c/"}) {
        SCOPED_TRACE(ToBytes(path));
        EXPECT_FALSE(VnFileSystem::DeleteDirectoryTree(path));
        EXPECT_THAT(GetLog(), HasSubstr("REJECTING DELETE BECAUSE PATH=" + ToBytes(path)));
    }
    EXPECT_THAT(GetLog(), HasSubstr("VnFileSystem::DeleteDirectoryTree"));
    EXPECT_THAT(List(), ElementsAre("a/", "a/b..c/", "a/b..c/x", "d/", "d/x"));

    std::ifstream trace("/var/tmp/thdebug");
    if (!trace) {
        GTEST_SKIP() << "the trace file belongs to somebody else";
    }
    const std::string text{std::istreambuf_iterator<char>(trace), {}};
    EXPECT_THAT(text, HasSubstr("REJECTING DELETE BECAUSE PATH=" + (Folder / "a/b..c/") + "\n"));
}

struct EmptyCase {
    const char* What;
    std::vector<std::string> Files; ///< a name with a slash at its end is a directory
    bool Recursive;
    bool DirectoriesCount;
    bool Result;
};

TEST_F(FileSystemTrees, AreEmptyWithNothingButThumbnails) {
    const EmptyCase cases[] = {
        {"nothing", {}, false, true, true},
        {"thumbnails in any case", {"tHUMBS.DB"}, false, true, true},
        {"another file", {"Thumbs.db", "x"}, false, true, false},
        {"a hidden file", {".x"}, false, true, true},
        {"a directory that counts", {"d/"}, false, true, false},
        {"a directory that does not count", {"d/x"}, false, false, true},
        {"empty directories", {"d/e/", "d/Thumbs.db"}, true, true, true},
        {"a file deep down", {"d/e/x"}, true, false, false},
        {"a name that only begins so", {"Thumbs.db."}, true, true, false},
        {"a file below a name with a backslash", {"d/", "d\\/x"}, true, true, false},
    };
    for (const EmptyCase& row : cases) {
        SCOPED_TRACE(row.What);
        std::filesystem::remove_all(Folder / "t");
        std::filesystem::create_directories(Folder / "t");
        for (const std::string& name : row.Files) {
            if (name.back() == '/') {
                std::filesystem::create_directories(Folder / ("t/" + name));
            } else {
                Folder.Write("t/" + name, "");
            }
        }
        for (const bool byDefault : {false, true}) {
            EXPECT_EQ(VnFileSystem::IsDirectoryEmpty(*this / "t", byDefault, row.Recursive,
                                                     row.DirectoriesCount),
                      row.Result);
        }
    }
    std::filesystem::create_directories(Folder / "loops");
    for (int index = 0; index < 4; ++index) {
        std::filesystem::create_directory_symlink(".", Folder / ("loops/" + std::to_string(index)));
    }
    EXPECT_TRUE(VnFileSystem::IsDirectoryEmpty(*this / "loops", false, true, true))
        << "and that is found out at once";
    EXPECT_TRUE(VnFileSystem::IsDirectoryEmpty(*this / "missing", true, false, true))
        << "the default answers";
    EXPECT_FALSE(VnFileSystem::IsDirectoryEmpty(*this / "missing", false, false, true));
}

struct BranchCase {
    const char* What;
    const char* Path;
    bool Recursive;
    bool WalkUp;
    std::set<std::string> After;
};

TEST_F(FileSystemTrees, LoseTheirEmptyBranches) {
    const std::set<std::string> all = {"a/", "a/b/", "a/b/c/", "a/b/c/Thumbs.db", "a/b/d/", "x"};
    const BranchCase cases[] = {
        {"one level", "a/b/c/", false, false, {"a/", "a/b/", "a/b/d/", "x"}},
        {"not empty", "a/b", false, false, all},
        {"up to the first that is not", "a/b/c", false, true, {"a/", "a/b/", "a/b/d/", "x"}},
        {"with all below", "a/b", true, false, {"a/", "x"}},
        {"with all below and up", "a/b", true, true, {"x"}},
        {"missing", "a/missing", true, true, all},
    };
    for (const BranchCase& row : cases) {
        SCOPED_TRACE(row.What);
        std::filesystem::remove_all(Folder / "a");
        Folder.Write("a/b/c/Thumbs.db", "");
        std::filesystem::create_directories(Folder / "a/b/d");
        Folder.Write("x", "");
        VnFileSystem::DeleteEmptyDirectories(*this / row.Path, row.Recursive, row.WalkUp);
        EXPECT_EQ(List(), row.After);
    }
    VnFileSystem::DeleteEmptyDirectories(L"/", true, true);
    VnFileSystem::DeleteEmptyDirectories(L"", true, true);
    EXPECT_EQ(GetLog(), "") << "short paths are not even looked at";
}

TEST_F(FileSystemTrees, AreNotMadeWithoutTheToolsModule) {
    EXPECT_EXIT(
        {
            VnSiblingModules::GetInstance().UnloadAll(/*detachFirst=*/false);
            CProcessInfo::GetInstance()->SetModuleDirectory(L"/nowhere/");
            const bool made = VnFileSystem::MakeDirectoryTree(*this / "new", /*testWrite=*/false);
            const bool there = VnFileSystem::DirectoryExists(*this / "");
            std::_Exit(made || there ? 1 : 0);
        },
        testing::ExitedWithCode(0), "");
    EXPECT_FALSE(Folder.Exists("new"));
}

class MoveCopyDirectory : public FileSystemTrees {
protected:
    MoveCopyDirectory() {
        for (const char* name : {"s/a.mp3", "s/sub/b.mp3", "s/sub/deep/c.mp3", "s/z.mp3"}) {
            Folder.Write(name, name);
        }
        std::filesystem::create_directories(Folder / "s/empty");
    }
};

const std::set<std::string> kWholeTree = {"a.mp3",     "empty/",         "sub/", "sub/b.mp3",
                                          "sub/deep/", "sub/deep/c.mp3", "z.mp3"};

TEST_F(MoveCopyDirectory, ListsADirectoryThenItsTreesThenItsFilesAndRunsOnce) {
    VnMoveCopyDirectory work(*this / "s", *this / "t/", /*recursive=*/true);
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
    EXPECT_EQ(List("s"), (std::set<std::string>{"empty/", "sub/", "sub/b.mp3", "sub/deep/",
                                                "sub/deep/c.mp3"}));
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

/// The names of a hundred files by their age, of which they have no order.
std::string ByAge(int age) {
    return std::to_string(age * 37 % 100);
}

struct PruneCase {
    int32_t MaximumFiles;
    int64_t MaximumBytes;
    int Left;
};

// The sums of the sizes from the newest on: 10, 30, 60, 100, 150, 210, 280 and so on.
constexpr PruneCase kCases[] = {
    {-1, -1, 100}, {0, -1, 0},     {3, -1, 3},   {99, -1, 99}, {100, -1, 100},
    {-1, 0, 0},    {-1, 9, 0},     {-1, 10, 1},  {-1, 100, 4}, {-1, 149, 4},
    {-1, 150, 5},  {-1, 1000, 13}, {3, 1000, 3}, {8, 60, 3},   {101, 100000, 100},
};

TEST(FileSystemPrune, KeepsTheNewestFilesWithinTheLimits) {
    for (const PruneCase& row : kCases) {
        SCOPED_TRACE(std::to_string(row.MaximumFiles) + " files, "
                     + std::to_string(row.MaximumBytes) + " bytes");
        const TestFolder folder;
        folder.Write("sub/kept", "");
        for (int age = 0; age < 100; ++age) {
            const std::string bytes(static_cast<size_t>(10 * (age + 1)), 'x');
            const utimbuf times{0, 1'600'000'000 - 60 * age};
            utime(folder.Write(ByAge(age), bytes).c_str(), &times);
        }
        VnFileSystem::PruneOldFilesFromDirectory(ToText(folder / ""), row.MaximumFiles,
                                                 row.MaximumBytes);
        for (int age = 0; age < 100; ++age) {
            EXPECT_EQ(folder.Exists(ByAge(age)), age < row.Left) << age;
        }
        EXPECT_TRUE(folder.Exists("sub/kept"));
        VnFileSystem::PruneOldFilesFromDirectory(ToText(folder / "missing"), 0, 0);
        EXPECT_FALSE(folder.Exists("missing"));
    }
    VnFileSystem::PruneOldFilesFromDirectory(L"", 0, 0);
}

} // namespace
