#include "files/VnFileSystem.h"

#include "tests/support/TestEnvironment.h"
#include "tests/support/TestText.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <clocale>
#include <cstdint>
#include <limits>
#include <string>

namespace {

TEST(FileSystemFreeNames, NumberWhatIsTaken) {
    const TestFolder folder;
    for (const char* name : {"Song.MP3", "Song (1).MP3", "plain", "a(2).x", "d/x", "d (1)/x"}) {
        folder.Write(name, "");
    }
    struct {
        const char* Name;
        const char* Free;
    } const files[] = {
        {"new.mp3", "new.mp3"},
        {"Song.MP3", "Song (2).MP3"},
        {"plain", "plain (1)"},
        {"a(2).x", "a(3).x"},
    };
    for (const auto& row : files) {
        EXPECT_EQ(ToBytes(VnFileSystem::GetFreeFilename(ToText(folder / row.Name))),
                  folder / row.Free);
    }
    struct {
        std::string Name;
        std::string Free;
    } const directories[] = {
        {folder / "new", folder / "new/"},  {folder / "d", folder / "d (2)/"},
        {folder / "d/", folder / "d (2)/"}, {folder / "d\\\\", folder / "d (2)/"},
        {"no slash", "no slash/"},
    };
    for (const auto& row : directories) {
        EXPECT_EQ(ToBytes(VnFileSystem::GetFreeDirectory(ToText(row.Name))), row.Free);
    }
}

TEST(FileSystemTempNames, AreBuiltFromTheirParts) {
    const TestFolder folder;
    const VnString directory = ToText(folder / "");
    const std::string id = std::to_string(gettid());
    EXPECT_EQ(ToBytes(VnFileSystem::GetTempFilename(L"Name", L"dat", false, false, directory)),
              folder / "Name.dat");
    EXPECT_EQ(ToBytes(VnFileSystem::GetTempFilename(L"Name", L"", true, true, directory)),
              folder / ("Name - " + id));
    folder.Write("Name.dat", "");
    EXPECT_EQ(ToBytes(VnFileSystem::GetTempFilename(L"Name", L"dat", false, true, directory)),
              folder / "Name (1).dat");
    EXPECT_EQ(VnFileSystem::GetTempFilename(L"Name", L"dat", false, false),
              VnFileSystem::GetTempDirectory(true, true) + L"Name.dat");
}

TEST(FileSystemTempNames, MakeADirectoryAnew) {
    const VnString base = VnFileSystem::GetTempDirectory(true, true);
    const std::string id = std::to_string(gettid());
    const VnString path =
        VnFileSystem::GetTempSubdirectory(L"Work", /*addThreadId=*/true, /*recreate=*/true);
    EXPECT_EQ(path, base + L"Work/" + ToText(id) + L"/");
    ASSERT_TRUE(VnFileSystem::IsDirectory(path));
    fclose(VnFileSystem::OpenFile(path + L"x", "w"));
    VnFileSystem::GetTempSubdirectory(L"Work", /*addThreadId=*/true, /*recreate=*/false);
    EXPECT_TRUE(VnFileSystem::IsFile(path + L"x"));
    VnFileSystem::GetTempSubdirectory(L"Work", /*addThreadId=*/true, /*recreate=*/true);
    EXPECT_FALSE(VnFileSystem::IsFile(path + L"x"));
    EXPECT_TRUE(VnFileSystem::IsDirectory(path));
}

struct CleanCase {
    const wchar_t* Text;
    const wchar_t* Clean;
};

TEST(FileSystemCleanNames, ReplaceWhatADeviceForbids) {
    VnString text = L"a:b/c*d?e\"f<g>h|i\\j\tk\x1fl\x7fm";
    VnFileSystem::ReplaceIllegalCharacters(text, L'-');
    EXPECT_EQ(text, L"a-b-c-d-e-f-g-h-i\\j k l\x7fm");

    constexpr CleanCase kFilenames[] = {
        {L"", L""},
        {L"  a.mp3 \t", L"a.mp3"},
        {L"AC/DC: Live?", L"AC-DC_ Live_"},
        {L".hidden", L"-hidden"},
        {L"...", L"-.."},
        {L"/", L"-"},
    };
    for (const CleanCase& row : kFilenames) {
        VnString name = row.Text;
        VnFileSystem::CleanFilename(name, L'-');
        EXPECT_EQ(ToBytes(name), ToBytes(row.Clean));
    }
}

struct PathCase {
    const wchar_t* Text;
    bool Segments;
    bool KeepDots;
    const wchar_t* Clean;
};

TEST(FileSystemCleanNames, CleanEachSegmentOfAPath) {
    constexpr PathCase kPaths[] = {
        {L" Artist / Album /Song.mp3 ", true, false, L"Artist/Album/Song.mp3"},
        {L"Artist. /Album.../Song...", true, false, L"Artist/Album/Song..."},
        {L"A. . ./B", true, false, L"A/B"},
        {L"Artist. /Album.../x", true, true, L"Artist./Album.../x"},
        {L"a\\b/c:d?e", true, false, L"a/b/c_d_e"},
        {L"../x/../y", true, false, L"/x//y"},
        {L"../x", true, true, L"../x"},
        {L"/Music//x", true, false, L"/Music//x"},
        {L"a / b\\c:d", false, false, L"a - b-c_d"},
        {L"", true, false, L""},
    };
    for (const PathCase& row : kPaths) {
        SCOPED_TRACE(ToBytes(row.Text));
        VnString path = row.Text;
        VnFileSystem::CleanPathName(path, row.Segments, L'-', /*limitLength=*/true, row.KeepDots);
        EXPECT_EQ(ToBytes(path), ToBytes(row.Clean));
    }
}

TEST(FileSystemCleanNames, LimitThePath) {
    for (const auto& [length, limit, cleaned] :
         {std::tuple{4088, true, 4088}, std::tuple{4089, true, 4088}, std::tuple{5000, true, 4088},
          std::tuple{5000, false, 5000}}) {
        SCOPED_TRACE(length);
        VnString path =
            VnString(std::wstring(static_cast<size_t>(length) - 6, L'a').c_str()) + L"/b.mp3";
        path.ReplaceFirst(L"a/", L"aa/");
        path.RemoveLeft(1);
        ASSERT_EQ(path.GetLength(), length);
        VnFileSystem::CleanPathName(path, true, L'_', limit, false);
        EXPECT_EQ(path.GetLength(), cleaned);
        EXPECT_TRUE(path.EndsWith(L".mp3"));
    }
}

TEST(FileSystemCleanNames, ShortenTheNameAheadOfItsExtension) {
    struct {
        const wchar_t* Path;
        int32_t Excess;
        bool Result;
        const wchar_t* After;
    } const cases[] = {
        {L"/d/abcdef.mp3", 3, true, L"/d/abc.mp3"},
        {L"/d/abcdef.mp3", 4, true, L"/d/ab.mp3"},
        {L"/d/abcdef.mp3", 5, false, L"/d/abcdef.mp3"},
        {L"abcdef", 2, true, L"abcd"},
        {L"/a.b/cdef", 2, true, L"/a.b/cd"},
        {L"a.b.c", 1, true, L"a..c"},
        {L"", 0, false, L""},
        {L"abc", std::numeric_limits<int32_t>::max(), false, L"abc"},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(ToBytes(row.Path));
        VnString path = row.Path;
        EXPECT_EQ(VnFileSystem::ShortenFilename(path, row.Excess), row.Result);
        EXPECT_EQ(ToBytes(path), ToBytes(row.After));
    }
}

TEST(FileSystemSizes, AreWrittenForPeople) {
    struct {
        int64_t Bytes;
        const wchar_t* Text;
    } const cases[] = {
        {0, L"0 bytes"},
        {1, L"1 bytes"},
        {-5, L"-5 bytes"},
        {1023, L"1023 bytes"},
        {1024, L"1.0 KB"},
        {1536, L"1.5 KB"},
        {-1536, L"-1.5 KB"},
        {102399, L"100.0 KB"},
        {102400, L"100 KB"},
        {1048575, L"1024 KB"},
        {1048576, L"1.0 MB"},
        {int64_t{5} << 30, L"5.0 GB"},
        {int64_t{7} << 40, L"7.0 TB"},
        {int64_t{3} << 50, L"3.0 PB"},
        {int64_t{3} << 60, L"3072 PB"},
        {std::numeric_limits<int64_t>::min(), L"-8192 PB"},
    };
    for (const auto& row : cases) {
        EXPECT_EQ(ToBytes(VnFileSystem::FormatSize(row.Bytes)), ToBytes(row.Text));
    }
}

TEST(FileSystemSizes, AreReadBack) {
    struct {
        const wchar_t* Text;
        int64_t Bytes;
    } const cases[] = {
        {L"", 0},
        {L"17", 17},
        {L"1023 bytes", 1023},
        {L"1.5 KB", 1536},
        {L"-1.5 kb", -1536},
        {L"2mB", 2 << 20},
        {L"1 GB of 2 TB", int64_t{1} << 40},
        {L"3 TB", int64_t{3} << 40},
        {L"1 PB", int64_t{1} << 50},
        {L"0.5 pb kb", int64_t{1} << 59},
        {L"99999 PB", std::numeric_limits<int64_t>::max()},
        {L"-99999 PB", std::numeric_limits<int64_t>::min()},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(ToBytes(row.Text));
        EXPECT_EQ(VnFileSystem::ParseSize(row.Text), row.Bytes);
    }
}

} // namespace
