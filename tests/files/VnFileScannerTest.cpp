#include "files/VnFileScanner.h"

#include "core/VnStringArray.h"
#include "files/VnFileFinder.h"
#include "files/VnFileInfo.h"
#include "tests/support/TestEnvironment.h"
#include "tests/support/TestText.h"

#include <gtest/gtest.h>

#include <glob.h>
#include <sys/stat.h>

#include <clocale>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

namespace {

using Names = std::vector<std::string>;

class VnFileScannerTest : public testing::Test {
protected:
    /// The entries without the path of the folder.
    Names Below(const VnStringArray& paths) const {
        Names names;
        for (const VnString& path : paths) {
            const std::string bytes = ToBytes(path);
            const std::string root = Folder / "";
            names.push_back(bytes.starts_with(root) ? bytes.substr(root.size()) : bytes);
        }
        return names;
    }
    Names Found(const std::string& pattern) const {
        VnStringArray paths;
        VnFileFinder finder(ToText(Folder / pattern));
        for (VnFileInfo info; finder.Next(info);) {
            paths.Add(info.Filename.Filename);
        }
        return Below(paths);
    }
    Names Scanned(VnFileScanner& scanner) const {
        VnStringArray paths;
        scanner.AppendTo(paths);
        return Below(paths);
    }
    void Write(std::initializer_list<const char*> names, const char* bytes = "") const {
        for (const char* name : names) {
            Folder.Write(name, bytes);
        }
    }
    /// A small library: two levels, hidden names, and names around the "/" that marks a directory.
    void WriteLibrary() const {
        Write({"b.mp3", "A.MP3", "readme", "cover.jpg", ".hidden.mp3", "sub/one.mp3",
               "sub/deep/two.flac", ".dot/three.mp3", "sub.mp3", "sub-b.mp3"},
              "12345");
    }

    TestFolder Folder;
    const VnString Root = ToText(Folder.Path().string());
};

using VnFileFinderTest = VnFileScannerTest;

TEST_F(VnFileFinderTest, ListsAsGlobDoesWithTheStarAsOnlyWildcard) {
    Write({"m/b.mp3", "m/A.MP3", "m/.hidden.mp3", "m/sub/one.mp3", "m/sub.mp3", "m/sub-b.mp3",
           "[1]/a?.mp3", "1/ab.mp3", "back\\slash/c", "a*b/d", "axb/e"});
    const struct {
        const char* Pattern;
        Names Expected;
    } rows[] = {
        {"m/", {"m/A.MP3", "m/b.mp3", "m/sub-b.mp3", "m/sub.mp3", "m/sub/"}},
        {"m/*.mp3", {"m/b.mp3", "m/sub-b.mp3", "m/sub.mp3"}},
        {"m/b.mp3", {"m/b.mp3"}},
        {"m/*/one.mp3", {"m/sub/one.mp3"}},
        {"missing/", {}},
        {"x*", {}},
        {"[1]/", {"[1]/a?.mp3"}},
        {"[1]/a?.mp3", {"[1]/a?.mp3"}},
        {"1/a?.mp3", {}},
        {"back\\slash/", {"back\\slash/c"}},
        {"a*b/", {"a*b/d"}}, // a directory of that very name
        {"a*/", {"a*b/d", "axb/e"}},
    };
    for (const auto& row : rows) {
        const VnString pattern = ToText(Folder / row.Pattern);
        EXPECT_EQ(Found(row.Pattern), row.Expected) << row.Pattern;
        EXPECT_EQ(VnFileFinder::Exists(pattern), !row.Expected.empty()) << row.Pattern;
        EXPECT_EQ(VnFileFinder(pattern).IsValid(), row.Pattern != std::string("missing/"));
    }
    EXPECT_FALSE(VnFileFinder(L"").IsValid());
    EXPECT_FALSE(VnFileFinder::Exists(L""));
}

TEST_F(VnFileFinderTest, KnowsOddNamesAndLinksThatLeadNowhere) {
    Folder.Write("a.flac;3", "123");
    Folder.Write("\xE9.mp3", "1234");
    std::filesystem::create_symlink("nowhere", Folder / "link");
    VnFileFinder finder(ToText(Folder / ""));
    VnFileInfo info;
    ASSERT_TRUE(finder.Next(info));
    EXPECT_EQ(ToBytes(info.Filename.Filename), Folder / "a.flac;3");
    EXPECT_EQ(info.GetSize(), 3);
    ASSERT_TRUE(finder.Next(info));
    EXPECT_FALSE(info.Valid);
    EXPECT_EQ(ToBytes(info.Filename.Filename), Folder / "link");
    ASSERT_TRUE(finder.Next(info));
    EXPECT_EQ(ToBytes(info.Filename.Filename), Folder / "\xE9.mp3");
    EXPECT_EQ(info.GetSize(), 4);
    EXPECT_FALSE(finder.Next(info));
}

TEST_F(VnFileScannerTest, SettingsDecideWhatIsListed) {
    enum : uint32_t {
        Flat = 1,
        Directories = 2,
        NoFiles = 4,
        NoDots = 8,
        NoSizes = 16,
        NoX = 32
    };
    struct Row {
        const wchar_t* Extensions; ///< with "|" between them
        uint32_t Settings;
        int64_t Size;
        Names Expected;
    };
    const Names all = {".dot/three.mp3", "A.MP3",     "b.mp3",   "cover.jpg",
                       "readme",         "sub-b.mp3", "sub.mp3", "sub/deep/two.flac",
                       "sub/one.mp3"};
    const Row rows[] = {
        {L"", 0, 45, all},
        {L"", NoSizes, 0, all},
        {L"mP3", Flat, 20, {"A.MP3", "b.mp3", "sub-b.mp3", "sub.mp3"}},
        {L"readme", 0, 5, {"readme"}},
        {L"flac||jpg", 0, 10, {"cover.jpg", "sub/deep/two.flac"}},
        {L"mp3", NoDots, 25, {"A.MP3", "b.mp3", "sub-b.mp3", "sub.mp3", "sub/one.mp3"}},
        {L"flac", Directories, 5, {".dot/", "sub/", "sub/deep/", "sub/deep/two.flac"}},
        {L"", Flat | Directories | NoFiles, 0, {".dot/", "sub/"}},
        {L"mp3", NoX, 15, {"A.MP3", "sub-b.mp3", "sub.mp3"}},
        {L"mp3", NoX | NoSizes, 0, {"A.MP3", "sub-b.mp3", "sub.mp3"}},
    };
    WriteLibrary();
    ASSERT_EQ(chmod((Folder / "b.mp3").c_str(), 0601), 0);
    for (const Row& row : rows) {
        VnStringArray extensions;
        extensions.Split(row.Extensions, L"|");
        VnFileScanner scanner(Root, extensions, (row.Settings & Flat) == 0);
        scanner.SetIncludeDirectories((row.Settings & Directories) != 0);
        scanner.SetIncludeFiles((row.Settings & NoFiles) == 0);
        scanner.SetSkipDotDirectories((row.Settings & NoDots) != 0);
        scanner.SetSumSizes((row.Settings & NoSizes) == 0);
        scanner.SetExcludeModeBits((row.Settings & NoX) != 0 ? S_IXOTH : 0);
        SCOPED_TRACE(&row - rows);
        EXPECT_EQ(Scanned(scanner), row.Expected);
        EXPECT_EQ(scanner.GetTotalSize(), row.Size);
    }
}

TEST_F(VnFileScannerTest, SettingsDecideWhenItScansAgain) {
    WriteLibrary();
    VnFileScanner scanner(Root, L"jpg");
    EXPECT_EQ(scanner.GetCount(), 1);
    EXPECT_EQ(ToBytes(scanner.GetAt(100)), Folder / "cover.jpg");
    Folder.Write("new.jpg", "1");
    scanner.AddExtension(L""); // wants nothing more
    scanner.Scan();
    EXPECT_EQ(scanner.GetCount(), 1);
    scanner.SetRecursive(false);
    EXPECT_EQ(scanner.GetCount(), 3) << "new finds follow the old ones";
    scanner.Rescan(Root);
    EXPECT_EQ(scanner.GetCount(), 2);
    EXPECT_EQ(scanner.GetTotalSize(), 6);
    scanner.Rescan(Root, L"flac");
    EXPECT_EQ(scanner.GetCount(), 0);
    scanner.Rescan(Root, true);
    EXPECT_EQ(scanner.GetCount(), 1);
    scanner.Rescan(Root, L"", false);
    EXPECT_EQ(scanner.GetCount(), 7);
    VnStringArray own;
    own.Add(L"kept");
    scanner.SetResults(&own);
    EXPECT_EQ(scanner.GetCount(), 8);
    EXPECT_EQ(ToBytes(own[0]), "kept");
    scanner.SetResults(nullptr);
    EXPECT_EQ(scanner.GetCount(), 14);
}

TEST_F(VnFileScannerTest, EmptyMissingAndCancelledGiveNothing) {
    WriteLibrary();
    std::filesystem::create_directory(Folder / "empty");
    for (const std::string& path :
         {Folder / "empty", Folder / "missing", Folder / "b.mp3", std::string()}) {
        VnFileScanner scanner(ToText(path), L"", true);
        EXPECT_EQ(scanner.GetCount(), 0) << path;
        EXPECT_EQ(scanner.GetTotalSize(), 0);
    }
    bool cancel = true;
    VnFileScanner scanner(Root, L"", true);
    scanner.SetCancelFlag(&cancel);
    EXPECT_EQ(scanner.GetCount(), 0);
}

TEST_F(VnFileScannerTest, LinksAreFollowedButNoDirectoryIsItsOwnDescendant) {
    Folder.Write("a/one.mp3", "1");
    Folder.Write("b/two.mp3", "22");
    std::filesystem::create_directory_symlink("..", Folder / "a/up");
    std::filesystem::create_directory_symlink("../b", Folder / "a/side");
    std::filesystem::create_directory_symlink("../a", Folder / "b/back");
    std::filesystem::create_symlink("nowhere", Folder / "b/gone.mp3");
    VnFileScanner scanner(Root, L"mp3", true);
    EXPECT_EQ(Scanned(scanner), (Names{"a/one.mp3", "a/side/gone.mp3", "a/side/two.mp3",
                                       "b/back/one.mp3", "b/gone.mp3", "b/two.mp3"}));
    EXPECT_EQ(scanner.GetTotalSize(), 1 - 1 + 2 + 1 - 1 + 2);

    // A link out of the tree comes back to its root through directories that are no links.
    scanner.Rescan(ToText(Folder / "a/"));
    EXPECT_EQ(Scanned(scanner), (Names{"a/one.mp3", "a/side/gone.mp3", "a/side/two.mp3",
                                       "a/up/b/gone.mp3", "a/up/b/two.mp3"}));
}

TEST_F(VnFileScannerTest, NamesAreReadWithoutLoss) {
    const Names names = {"\xC3\xA9t\xC3\xA9/\xF0\x9F\x8E\xB5.mp3", "\xE9/\xFF.mp3", "x;1.mp3/a;2"};
    for (const std::string& name : names) {
        Folder.Write(name, "1");
    }
    VnFileScanner scanner(Root, L"", true);
    const Names found = Scanned(scanner);
    EXPECT_EQ(found, (Names{"x;1.mp3/a;2", names[0], names[1]}));

    VnFilename stored(ToText(Folder / "x;1.mp3"));
    stored.SetProperty(L"Mood", L"calm");
    scanner.Rescan(stored.GetXMLForm());
    EXPECT_EQ(Scanned(scanner), (Names{"x;1.mp3/a;2"}));
}

TEST_F(VnFileScannerTest, AStarInTheRootStandsForAnyName) {
    Folder.Write("disc1/a.mp3", "1");
    Folder.Write("disc2/b.mp3", "1");
    Folder.Write("other/c.mp3", "1");
    VnFileScanner scanner(ToText(Folder / "disc*"), L"", true);
    EXPECT_EQ(Scanned(scanner), (Names{"disc1/a.mp3", "disc2/b.mp3"}));
    Folder.Write("disc*/d.mp3", "1");
    scanner.Rescan(ToText(Folder / "disc*"));
    EXPECT_EQ(Scanned(scanner), (Names{"disc*/d.mp3"}));
}

TEST_F(VnFileScannerTest, OrderIsThatOfGlobInAnyLocale) {
    // Names that sort differently as bytes, as words, and with the "/" of a directory behind them.
    Write({"a", "a b", "a-", "a.", "a.mp3", "a0", "B", "ab/x", "ab.c", "abc", "abcdefgh",
           "abcdefgh1", "abcdefg/x", "\xC3\xA9", "z", "!", "#", "Z/x"});
    const auto expectOrderOfGlob = [this] {
        glob_t expected = {};
        ASSERT_EQ(glob((Folder / "*").c_str(), GLOB_MARK, nullptr, &expected), 0);
        VnFileScanner scanner(Root, L"", false);
        scanner.SetIncludeDirectories(true);
        EXPECT_EQ(scanner.GetCount(), static_cast<int32_t>(expected.gl_pathc));
        for (size_t i = 0; i < expected.gl_pathc; ++i) {
            EXPECT_EQ(ToBytes(scanner.GetAt(static_cast<int32_t>(i))), expected.gl_pathv[i]);
        }
        globfree(&expected);
    };
    expectOrderOfGlob();
    const TestFolder locales;
    const std::string make = "localedef -i en_US -f UTF-8 '" + locales / "en_US.UTF-8" + "'";
    if (std::system((make + " >/dev/null 2>&1").c_str()) != 0) {
        GTEST_SKIP() << "localedef cannot make a locale here";
    }
    setenv("LOCPATH", locales.Path().c_str(), 1);
    EXPECT_NE(std::setlocale(LC_COLLATE, "en_US.UTF-8"), nullptr);
    expectOrderOfGlob();
    std::setlocale(LC_COLLATE, "C");
    unsetenv("LOCPATH");
}

TEST_F(VnFileScannerTest, OneCallForms) {
    WriteLibrary();
    VnStringArray paths;
    EXPECT_EQ(VnFileScanner::GetFiles(Root, paths, false, L"jpg"), 1);
    VnStringArray extensions;
    extensions.Add(L"FLAC");
    EXPECT_EQ(VnFileScanner::GetFiles(Root, paths, true, extensions), 2);
    EXPECT_EQ(VnFileScanner::GetDirectories(Root, paths, true), 5);
    EXPECT_EQ(Below(paths),
              (Names{"cover.jpg", "sub/deep/two.flac", ".dot/", "sub/", "sub/deep/"}));
    EXPECT_EQ(VnFileScanner::GetTotalSize(Root, true), 45);
    EXPECT_EQ(VnFileScanner::GetTotalSize(Root, false), 30);
}

} // namespace
