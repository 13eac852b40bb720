#include "files/VnFilename.h"

#include "core/VnStringArray.h"
#include "runtime/VnSiblingModules.h"
#include "tests/support/TestEnvironment.h"
#include "tests/support/TestText.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

namespace {

class VnFilenameState : public testing::Test {
protected:
    void SetUp() override { ASSERT_NE(VnGetToolsRoot(), nullptr); }

    VnFilename Name(const std::string& name) const { return VnFilename(ToText(Folder / name)); }

    TestFolder Folder;
};

TEST_F(VnFilenameState, ExistsForFilesOnly) {
    Folder.Write("a b.mp3", "123");
    for (const bool useTools : {false, true}) {
        EXPECT_TRUE(Name("a b.mp3").Exists(useTools));
        EXPECT_TRUE(Name("a b.mp3;3").Exists(useTools));
        EXPECT_TRUE(VnFilename(L"file://" + ToText(Folder / "a%20b.mp3")).Exists(useTools));
        EXPECT_FALSE(Name("b.mp3").Exists(useTools));
        EXPECT_FALSE(VnFilename(ToText(Folder.Path().string())).Exists(useTools));
        EXPECT_FALSE(VnFilename(L"").Exists(useTools));
    }
}

TEST_F(VnFilenameState, GivesTheSizeOfLocalFiles) {
    Folder.Write("a.mp3", "12345");
    EXPECT_EQ(Name("a.mp3").GetFileSize(), 5);
    EXPECT_EQ(Name("b.mp3").GetFileSize(), -1);
    EXPECT_EQ(VnFilename(L"http://127.0.0.1:1/a").GetFileSize(false), -1);
}

TEST_F(VnFilenameState, FindsTheIndexBesideAFile) {
    EXPECT_FALSE(Name("a.m3u8").GetIsIndexedHLS());
    EXPECT_TRUE(Name("a.m3u8").GetIndexedHLSFilename(true).IsEmpty());
    Folder.Write("a.m3u8.vhli", "x");
    EXPECT_TRUE(Name("a.m3u8").GetIsIndexedHLS());
    EXPECT_EQ(ToBytes(Name("a.m3u8").GetIndexedHLSFilename(true)), Folder / "a.m3u8.vhli");
    EXPECT_EQ(ToBytes(Name("b.m3u8").GetIndexedHLSFilename(false)), Folder / "b.m3u8.vhli");
}

TEST_F(VnFilenameState, ResolvesLinks) {
    Folder.Write("real/\xC3\xA4\xFF.mp3", "x");
    std::filesystem::create_symlink("real", Folder.Path() / "link");
    EXPECT_EQ(ToBytes(VnFilename::GetRealPath(ToText(Folder / "link/../link/\xC3\xA4\xFF.mp3"))),
              Folder / "real/\xC3\xA4\xFF.mp3");
    EXPECT_TRUE(VnFilename::GetRealPath(ToText(Folder / "none")).IsEmpty());
}

TEST_F(VnFilenameState, DeletesFilesByExtensionInOneDirectory) {
    for (const char* name : {"a.tmp", "b.TMP", "c.mp3", "sub/d.tmp"}) {
        Folder.Write(name, "x");
    }
    VnStringArray extensions;
    extensions.Add(L"tmp");
    VnFilename::DeleteFilesInDirectory(ToText(Folder.Path().string()), extensions);
    EXPECT_FALSE(Folder.Exists("a.tmp") || Folder.Exists("b.TMP"));
    EXPECT_TRUE(Folder.Exists("c.mp3") && Folder.Exists("sub/d.tmp"));
}

TEST_F(VnFilenameState, NumbersAShortenedNameUntilItIsFree) {
    VnFilename filename = Name(std::string(100, 'n') + ".flac");
    filename.SetFileType(L"mp3");
    const int32_t reserve = VnFilename::kPathLimit - filename.Filename.GetLength() + 3;
    VnFilename first = filename;
    EXPECT_TRUE(first.ShortenToPathLimit(true, 8, 3, 20, reserve));
    Folder.Write(ToBytes(first.GetNameAndExtension()), "x");
    EXPECT_TRUE(filename.ShortenToPathLimit(true, 8, 3, 20, reserve));
    EXPECT_EQ(ToBytes(filename.Filename), ToBytes(first.GetPathAndName()) + " (1).flac");
}

struct LimitCase {
    const char* What;
    size_t Directory; ///< characters of "/ddd.../"
    size_t Name;
    bool MakeUnique;
    int32_t MinimumDirectory;
    int32_t Reserve;
    bool Expected;
    int32_t Length; ///< of the result
    int32_t NewDirectory;
};

// Fits when directory + name + 1 + 3 is at most 4095.
constexpr LimitCase kLimitCases[] = {
    {"on the limit", 100, 3991, false, 100, 0, false, 4095, 100},
    {"one above", 100, 3992, false, 100, 0, true, 4095, 100},
    {"reserve", 100, 3991, false, 100, 10, true, 4085, 100},
    {"room for a number", 100, 3991, true, 100, 0, true, 4090, 100},
    {"directory too long", 4090, 8, false, 20, 0, true, 4095, 4084},
    {"short", 10, 10, true, 10, 0, false, 24, 10},
};

TEST(VnFilenameLimit, ShortensDirectoriesAndThenTheName) {
    for (const LimitCase& row : kLimitCases) {
        SCOPED_TRACE(row.What);
        const std::string before =
            '/' + std::string(row.Directory - 2, 'd') + '/' + std::string(row.Name, 'n') + ".mp3";
        VnFilename filename(ToText(before));
        EXPECT_EQ(
            filename.ShortenToPathLimit(row.MakeUnique, 8, 3, row.MinimumDirectory, row.Reserve),
            row.Expected);
        EXPECT_EQ(filename.Filename.GetLength(), row.Length);
        EXPECT_EQ(filename.GetDirectory().GetLength(), row.NewDirectory);
        if (!row.Expected) {
            EXPECT_EQ(ToBytes(filename.Filename), before);
        }
    }
    VnFilename cut(ToText("/" + std::string(4092, 'n') + ".mp3"));
    EXPECT_TRUE(cut.ShortenToPathLimit(false, 8, 3, 1, 0));
    EXPECT_EQ(ToBytes(cut.GetName().Right(2)), "n\xE2\x80\xA6");
    VnFilename remote(L"http://h/a.mp3");
    EXPECT_FALSE(remote.ShortenToPathLimit(false, 8, 3, 1, 4090));
}

TEST(VnFilenameLimit, CutsSegmentsBetweenBackslashesFromTheLastOne) {
    const std::string text = "\\" + std::string(2000, 'a') + "\\" + std::string(2000, 'b') + "\\"
                             + std::string(300, 'n') + ".mp3";
    VnFilename filename(ToText(text));
    // 4003 + 300 + 1 + 3 - 4095 = 212 characters too many, all of which the last segment has to
    // spare.
    EXPECT_TRUE(filename.ShortenToPathLimit(false, 300, 3, 100, 0));
    EXPECT_EQ(ToBytes(filename.GetDirectory()),
              "\\" + std::string(2000, 'a') + "\\" + std::string(1787, 'b') + "\xE2\x80\xA6/");
    EXPECT_EQ(filename.GetName().GetLength(), 300);
    EXPECT_EQ(filename.Filename.GetLength(), 4095);
}

} // namespace
