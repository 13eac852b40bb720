#include "files/VnFileSystem.h"

#include "core/VnStringArray.h"
#include "files/VnFileFinder.h"
#include "files/VnFileInfo.h"
#include "files/VnFileScanner.h"
#include "runtime/IVnToolsRoot.h"
#include "runtime/VnLog.h"
#include "runtime/VnSiblingModules.h"
#include "tests/support/TestEnvironment.h"
#include "tests/support/TestText.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

namespace {

using testing::HasSubstr;

/// A folder with files, and the log lines of what is done there.
class FileSystemFiles : public testing::Test {
protected:
    FileSystemFiles() {
        VnGetToolsRoot()->GetLogManager(1);
        Log = std::make_unique<CLogToStringItem>(kLogGeneral);
    }
    VnString operator/(const std::string& name) const { return ToText(Folder / name); }
    std::string GetLog() const { return ToBytes(Log->GetLines().Join(L"\n")); }

    TestFolder Folder;
    std::unique_ptr<CLogToStringItem> Log;
};

/// Names that a shell, a program, a pattern or a decoder could take for something else.
const std::vector<std::string> kHardNames = {
    "plain.mp3",
    "it's.mp3",
    "'\"''",
    "$(touch x) `id` \"q\".mp3",
    "a; touch x & | > x #",
    "-rf",
    "--",
    "~",
    " blanks  within and\ttab and behind ",
    "new\nline\r\n",
    "\n",
    "*",
    "*?[a]{b,c}!",
    "AC\\DC",
    "a\\b.mp3",
    "\\",
    "dot.",
    "x.mp3;1",
    "<x>&amp;.mp3",
    "%41%00.mp3",
    "file:",
    "\x01\x7F",
    "\xF0\x9F\x98\x80 emoji",
    "latin \xE9 byte",
    "\xFF\xFE\xC0\x80\xED\xB2\x80",
    std::string(255, 'n'),
    std::string(251, 'n') + ".mp3",
    std::string(254, '\xE9') + "'",
};

/// Everything is done with a file and a folder of that name, and the one with the other inside.
TEST_F(FileSystemFiles, ReachTheirPlaceWhateverTheirName) {
    Folder.Write("x.mp3", "kept");
    for (const std::string& name : kHardNames) {
        SCOPED_TRACE(name);
        const std::string inner = name + "/" + name;
        const std::string bytes = "bytes of " + name;
        Folder.Write("from/" + inner, bytes);
        std::filesystem::create_directories(Folder / "to");

        EXPECT_TRUE(VnFileSystem::CopyDirectory(*this / "from", *this / "copy", true));
        EXPECT_EQ(Folder.Read("copy/" + inner), bytes);
        VnStringArray found;
        ASSERT_EQ(VnFileScanner::GetFiles(*this / "copy", found, /*recursive=*/true), 1);
        EXPECT_EQ(ToBytes(found[0]), Folder / ("copy/" + inner));
        VnFileFinder finder(*this / "copy/");
        VnFileInfo info;
        EXPECT_TRUE(finder.Next(info) && info.IsDirectory());
        EXPECT_EQ(ToBytes(info.GetLastSegment()), name);
        EXPECT_TRUE(VnFileSystem::MoveDirectory(*this / "copy", *this / "moved", true));
        EXPECT_EQ(Folder.Read("moved/" + inner), bytes);
        EXPECT_FALSE(Folder.Exists("copy"));

        const VnString file = *this / ("to/" + name);
        EXPECT_TRUE(VnFileSystem::CopyFile(*this / ("from/" + inner), file, /*failIfExists=*/true));
        EXPECT_FALSE(VnFileSystem::CopyFile(*this / "x.mp3", file, /*failIfExists=*/true));
        EXPECT_EQ(Folder.Read("to/" + name), bytes);
        EXPECT_TRUE(VnFileSystem::IsFile(file));
        EXPECT_TRUE(VnFileSystem::MoveFile(file, *this / ("from/" + inner)));
        EXPECT_FALSE(Folder.Exists("to/" + name));
        EXPECT_TRUE(VnFileSystem::MoveFile(*this / ("from/" + name), file)) << "as a directory";
        EXPECT_EQ(Folder.Read("to/" + inner), bytes);

        EXPECT_TRUE(VnFileSystem::DeleteFile(*this / ("to/" + inner)));
        EXPECT_TRUE(VnFileSystem::IsDirectoryEmpty(file, false, false, true));
        VnFileSystem::DeleteEmptyDirectories(file, /*recursive=*/false, /*walkUp=*/false);
        EXPECT_FALSE(Folder.Exists("to/" + name));
        EXPECT_TRUE(VnFileSystem::MakeDirectoryTree(*this / ("to/" + inner)));
        EXPECT_TRUE(VnFileSystem::DeleteDirectoryTree(*this / "to"));
        EXPECT_FALSE(Folder.Exists("to/" + name));
        VnFileSystem::PruneOldFilesFromDirectory(*this / ("moved/" + name), 0, -1);
        EXPECT_FALSE(Folder.Exists("moved/" + inner));
        for (const char* rest : {"from", "moved"}) {
            std::filesystem::remove_all(Folder / rest);
        }
    }
    EXPECT_FALSE(Folder.Exists("x")) << "no name was run as a command";
    EXPECT_EQ(Folder.Read("x.mp3"), "kept");
}

TEST_F(FileSystemFiles, LeaveALogLineWhenTheyAreThereAndCannotBeDeleted) {
    EXPECT_FALSE(VnFileSystem::DeleteFile(*this / "missing"));
    EXPECT_FALSE(VnFileSystem::DeleteFile(L""));
    std::filesystem::create_directories(Folder / "directory");
    EXPECT_FALSE(VnFileSystem::DeleteFile(*this / "directory"));
    EXPECT_EQ(GetLog(), "");
    // Nothing is ever deleted below /proc, not even by root.
    EXPECT_FALSE(VnFileSystem::DeleteFile(L"/proc/self/stat"));
    EXPECT_THAT(GetLog(), HasSubstr("VnFileSystem::DeleteFile"));
    EXPECT_THAT(GetLog(),
                testing::ContainsRegex("Error [0-9]+ deleting existing file: /proc/self/stat"));
}

TEST_F(FileSystemFiles, GoOverAnotherUnlessAskedNotToAndAcrossVolumes) {
    Folder.Write("a", "new");
    Folder.Write("b", "old");
    EXPECT_FALSE(VnFileSystem::CopyFile(*this / "a", *this / "b", /*failIfExists=*/true));
    EXPECT_EQ(Folder.Read("b"), "old");
    std::filesystem::create_directory(Folder / "dir");
    EXPECT_FALSE(VnFileSystem::CopyFile(*this / "a", *this / "dir", /*failIfExists=*/true));
    EXPECT_FALSE(Folder.Exists("dir/a"));
    EXPECT_TRUE(VnFileSystem::CopyFile(*this / "a", *this / "b", /*failIfExists=*/false));
    EXPECT_EQ(Folder.Read("b"), "new");
    EXPECT_FALSE(VnFileSystem::CopyFile(*this / "missing", *this / "d", /*failIfExists=*/false));

    Folder.Write("b", "old");
    EXPECT_TRUE(VnFileSystem::MoveFile(*this / "a", *this / "b"));
    EXPECT_EQ(Folder.Read("b"), "new");
    EXPECT_FALSE(VnFileSystem::MoveFile(*this / "missing", *this / "c"));
    EXPECT_FALSE(VnFileSystem::MoveFile(*this / "b", *this / "no directory/c"));
    EXPECT_FALSE(VnFileSystem::MoveFile(L"", *this / "c"));
    EXPECT_EQ(Folder.Read("b"), "new");

    Folder.Write("tree/x", "x");
    EXPECT_TRUE(VnFileSystem::MoveFile(*this / "tree", *this / "other"))
        << "a directory goes by the program";
    EXPECT_EQ(Folder.Read("other/x"), "x");

    struct stat here {};
    struct stat shared {};
    stat(Folder.Path().c_str(), &here);
    if (stat("/dev/shm", &shared) != 0 || here.st_dev == shared.st_dev) {
        GTEST_SKIP() << "no second volume to move to";
    }
    const std::string target = "/dev/shm/velnor move test " + std::to_string(getpid());
    EXPECT_TRUE(VnFileSystem::MoveFile(*this / "b", ToText(target)));
    EXPECT_FALSE(Folder.Exists("b"));
    EXPECT_EQ(unlink(target.c_str()), 0);
}

TEST_F(FileSystemFiles, MayHaveRelativePaths) {
    const VnString former = VnFileSystem::GetCurrentDirectory();
    Folder.Write("-f", "dashes");
    ASSERT_TRUE(VnFileSystem::SetCurrentDirectory(*this / ""));
    EXPECT_TRUE(VnFileSystem::CopyFile(L"-f", L"-v", /*failIfExists=*/false));
    EXPECT_EQ(ToBytes(VnFileSystem::GetCurrentDirectory()), Folder.Path().string());
    ASSERT_TRUE(VnFileSystem::SetCurrentDirectory(former + L"/"));
    EXPECT_EQ(Folder.Read("-v"), "dashes");
}

TEST_F(FileSystemFiles, GoIntoADirectoryUnderTheirOwnOrANewName) {
    Folder.Write("from/A.MP3", "a");
    EXPECT_FALSE(
        VnFileSystem::CopyToDirectory(*this / "from/A.MP3", *this / "to", /*failIfExists=*/false))
        << "a copy makes no directory";
    std::filesystem::create_directories(Folder / "to");
    EXPECT_TRUE(
        VnFileSystem::CopyToDirectory(*this / "from/A.MP3", *this / "to", /*failIfExists=*/false));
    EXPECT_EQ(Folder.Read("to/A.MP3"), "a");
    EXPECT_FALSE(
        VnFileSystem::CopyToDirectory(*this / "from/A.MP3", *this / "to/", /*failIfExists=*/true));
    EXPECT_TRUE(VnFileSystem::CopyToDirectory(*this / "from/A.MP3", *this / "to/",
                                              /*failIfExists=*/true, L"b"));
    EXPECT_FALSE(VnFileSystem::CopyToDirectory(L"", *this / "to/", /*failIfExists=*/false));
    EXPECT_FALSE(VnFileSystem::CopyToDirectory(*this / "from/A.MP3", L"", /*failIfExists=*/false));

    EXPECT_FALSE(VnFileSystem::MoveToDirectory(*this / "to/b", *this / "to", L"A.MP3"))
        << "never over a file";
    EXPECT_EQ(Folder.Read("to/b"), "a");
    EXPECT_TRUE(VnFileSystem::MoveToDirectory(*this / "to/b", *this / "new/deep"))
        << "a move makes the directory";
    EXPECT_EQ(Folder.Read("new/deep/b"), "a");
    EXPECT_FALSE(VnFileSystem::MoveToDirectory(L"", *this / "to"));
}

struct ReplaceCase {
    const char* What;
    const char* Target;      ///< null: not there
    const char* Replacement; ///< null: not there
    int64_t MinimumSize;
    bool DeleteOnFailure;
    bool Result;
    const char* TargetAfter;
    bool ReplacementAfter;
};

constexpr ReplaceCase kReplaceCases[] = {
    {"large enough", "old", "newer", 5, true, true, "newer", false},
    {"too short, kept", "old", "new", 4, false, false, "old", true},
    {"too short, deleted", "old", "new", 4, true, false, "old", false},
    {"no target", nullptr, "new", 1, true, true, "new", false},
    {"no replacement", "old", nullptr, 0, true, false, "old", false},
    {"empty replacement", "old", "", 0, false, true, "", false},
};

TEST_F(FileSystemFiles, AreReplacedSafely) {
    for (const ReplaceCase& row : kReplaceCases) {
        SCOPED_TRACE(row.What);
        std::filesystem::remove_all(Folder / "d");
        std::filesystem::create_directories(Folder / "d");
        if (row.Target != nullptr) {
            Folder.Write("d/song.mp3", row.Target);
        }
        if (row.Replacement != nullptr) {
            Folder.Write("d/song.mp3.tmp", row.Replacement);
        }
        EXPECT_EQ(VnFileSystem::SafeReplaceFile(*this / "d/song.mp3", *this / "d/song.mp3.tmp",
                                                row.MinimumSize, row.DeleteOnFailure),
                  row.Result);
        EXPECT_EQ(Folder.Read("d/song.mp3"), row.TargetAfter);
        EXPECT_EQ(Folder.Exists("d/song.mp3.tmp"), row.ReplacementAfter);
        EXPECT_FALSE(Folder.Exists("d/song (1).mp3")) << "nothing is left beside it";
    }
    Folder.Write("d/new", "new");
    EXPECT_TRUE(VnFileSystem::SafeReplaceFile(*this / "d/song.mp3;1", *this / "d/new", 1,
                                              /*deleteReplacementOnFailure=*/true));
    EXPECT_EQ(Folder.Read("d/song.mp3;1"), "new") << "the name goes on behind the semicolon";
    EXPECT_EQ(GetLog(), "");
}

TEST_F(FileSystemFiles, StayWhereTheyAreWhenTheReplacementFails) {
    const VnString target = ToText(Folder.Write("song.mp3", "old"));
    // A file below /proc can be read, but never goes away or gets another name.
    EXPECT_FALSE(VnFileSystem::SafeReplaceFile(target, L"/proc/self/stat", 0,
                                               /*deleteReplacementOnFailure=*/false));
    EXPECT_EQ(Folder.Read("song.mp3"), "old");
    EXPECT_FALSE(Folder.Exists("song (1).mp3"));
    EXPECT_THAT(GetLog(), HasSubstr("VnFileSystem::SafeReplaceFile"));
    EXPECT_THAT(GetLog(), HasSubstr("Error moving new file into place of original name"));

    EXPECT_FALSE(VnFileSystem::SafeReplaceFile(L"/proc/self/stat", target, 0,
                                               /*deleteReplacementOnFailure=*/false));
    EXPECT_EQ(Folder.Read("song.mp3"), "old");
    EXPECT_FALSE(VnFileSystem::SafeReplaceFile(L"/proc/self/stat", target, 0,
                                               /*deleteReplacementOnFailure=*/true));
    EXPECT_FALSE(Folder.Exists("song.mp3"));
    EXPECT_THAT(GetLog(), HasSubstr("Error renaming original file"));
}

TEST_F(FileSystemFiles, AreAskedForByKind) {
    Folder.Write("file", "12345");
    std::filesystem::create_directories(Folder / "directory");
    std::filesystem::create_symlink("file", Folder / "link");
    std::filesystem::create_symlink("nowhere", Folder / "dangling");
    struct {
        const char* Name;
        bool IsFile;
        bool IsDirectory;
        int64_t Size;
    } const cases[] = {
        {"file", true, false, 5},       {"directory", false, true, -2}, {"link", true, false, 5},
        {"dangling", false, false, -1}, {"missing", false, false, -1},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.Name);
        const VnString path = *this / row.Name;
        EXPECT_EQ(VnFileSystem::IsFile(path), row.IsFile);
        EXPECT_EQ(VnFileSystem::IsDirectory(path), row.IsDirectory);
        EXPECT_EQ(VnFileSystem::DirectoryExists(path), row.IsDirectory);
        EXPECT_EQ(VnFileSystem::FileExists(path, /*useToolsModule=*/true), row.IsFile);
        EXPECT_EQ(VnFileSystem::FileExists(path, /*useToolsModule=*/false), row.IsFile);
        if (row.Size >= -1) {
            EXPECT_EQ(VnFileSystem::GetFileSize(path), row.Size);
        }
    }
    EXPECT_FALSE(VnFileSystem::IsFile(L""));
    EXPECT_FALSE(VnFileSystem::DirectoryExists(L""));
}

TEST_F(FileSystemFiles, OpenAsStreamsThatProgramsDoNotInherit) {
    const VnString path = *this / "latin \xE9";
    FILE* file = VnFileSystem::OpenFile(path, "w");
    ASSERT_NE(file, nullptr);
    EXPECT_NE(fcntl(fileno(file), F_GETFD) & FD_CLOEXEC, 0);
    std::fputs("text", file);
    std::fclose(file);
    EXPECT_EQ(Folder.Read("latin \xE9"), "text");
    EXPECT_EQ(VnFileSystem::OpenFile(*this / "missing", "r"), nullptr);
}

TEST(FileSystemEnvironment, IsReadAndReplaced) {
    EXPECT_TRUE(VnFileSystem::SetEnvironment(L"VELNOR_TEST", L"one"));
    EXPECT_TRUE(VnFileSystem::SetEnvironment(L"VELNOR_TEST", ToText("two \xE9")));
    EXPECT_STREQ(std::getenv("VELNOR_TEST"), "two \xE9");
    EXPECT_EQ(ToBytes(VnFileSystem::GetEnvironment(L"VELNOR_TEST")), "two \xE9");
    EXPECT_EQ(VnFileSystem::GetEnvironment(L"VELNOR_NOT_SET"), L"");
    EXPECT_FALSE(VnFileSystem::SetEnvironment(L"", L"x"));
}

TEST_F(FileSystemFiles, AreShownByTheDesktopsOpener) {
    // A program of that name that writes down its arguments stands ahead of all others.
    const std::string script = Folder.Write(
        "bin/xdg-open",
        "#!/bin/sh\necho \"$#:$1\" > \"$VELNOR_OPENED.tmp\"\nmv \"$VELNOR_OPENED.tmp\" \"$VELNOR_OPENED\"\n");
    chmod(script.c_str(), 0755);
    const std::string path = std::getenv("PATH");
    setenv("PATH", ((Folder / "bin") + ":" + path).c_str(), 1);
    setenv("VELNOR_OPENED", (Folder / "opened").c_str(), 1);
    EXPECT_TRUE(VnFileSystem::ShowInFileManager(*this / "a b/song.mp3"));
    setenv("PATH", path.c_str(), 1);
    for (int wait = 0; wait < 500 && !Folder.Exists("opened"); ++wait) {
        usleep(10'000);
    }
    EXPECT_EQ(Folder.Read("opened"), "1:file://" + (Folder / "a b/") + "\n");
}

} // namespace
