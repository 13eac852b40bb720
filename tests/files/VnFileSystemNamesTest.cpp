#include "files/VnFileSystem.h"

#include "tests/support/TestEnvironment.h"
#include "tests/support/TextRows.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdint>
#include <limits>
#include <string>
#include <tuple>
#include <utility>

namespace {

TEST(FileSystemFreeNames, NumberWhatIsTaken) {
    const TestFolder folder;
    for (const char* name : {"Song.MP3", "Song (1).MP3", "plain", "a(2).x", "d/x", "d (1)/x"}) {
        folder.Write(name, "");
    }
    constexpr const char* kFiles[][2] = {
        {"new.mp3", "new.mp3"},
        {"Song.MP3", "Song (2).MP3"},
        {"plain", "plain (1)"},
        {"a(2).x", "a(3).x"},
    };
    for (const auto& [name, free] : kFiles) {
        EXPECT_EQ(ToBytes(VnFileSystem::GetFreeFilename(ToText(folder / name))), folder / free);
    }
    constexpr const char* kDirectories[][2] = {
        {"new", "new/"}, {"d", "d (2)/"}, {"d/", "d (2)/"}, {"d\\\\", "d (2)/"}};
    for (const auto& [name, free] : kDirectories) {
        EXPECT_EQ(ToBytes(VnFileSystem::GetFreeDirectory(ToText(folder / name))), folder / free);
    }
    EXPECT_EQ(ToBytes(VnFileSystem::GetFreeDirectory(L"no slash")), "no slash/");
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

TEST(FileSystemCleanNames, ReplaceWhatADeviceForbids) {
    VnString text = L"a:b/c*d?e\"f<g>h|i\\j\tk\x1fl\x7fm";
    VnFileSystem::ReplaceIllegalCharacters(text, L'-');
    EXPECT_EQ(text, L"a-b-c-d-e-f-g-h-i\\j k l\x7fm");

    ExpectChanges({" | ", "  a.mp3 \t | a.mp3", "AC/DC: Live? | AC-DC_ Live_", ".hidden | -hidden",
                   "... | -..", "/ | -"},
                  [](VnString& name) { VnFileSystem::CleanFilename(name, L'-'); });
}

TEST(FileSystemCleanNames, CleanEachSegmentOfAPath) {
    const auto expect = [](bool segments, bool keepDots, std::initializer_list<const char*> rows) {
        ExpectChanges(rows, [&](VnString& path) {
            VnFileSystem::CleanPathName(path, segments, L'-', /*limitLength=*/true, keepDots);
        });
    };
    expect(true, false,
           {" Artist / Album /Song.mp3  | Artist/Album/Song.mp3", "A. . ./B | A/B",
            "Artist. /Album.../Song... | Artist/Album/Song...", "a\\b/c:d?e | a/b/c_d_e",
            "../x/../y | /x//y", "/Music//x | /Music//x", " | "});
    expect(true, true, {"Artist. /Album.../x | Artist./Album.../x", "../x | ../x"});
    expect(false, false, {"a / b\\c:d | a - b-c_d"});
}

TEST(FileSystemCleanNames, LimitThePath) {
    for (const auto& [length, limit, cleaned] :
         {std::tuple{4088, true, 4088}, std::tuple{4089, true, 4088}, std::tuple{5000, true, 4088},
          std::tuple{5000, false, 5000}}) {
        SCOPED_TRACE(length);
        VnString path = ToText(std::string(static_cast<size_t>(length) - 6, 'a') + "/b.mp3");
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
    constexpr std::pair<int64_t, const wchar_t*> kCases[] = {
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
    for (const auto& [bytes, text] : kCases) {
        EXPECT_EQ(ToBytes(VnFileSystem::FormatSize(bytes)), ToBytes(text));
    }
}

TEST(FileSystemSizes, AreReadBack) {
    constexpr std::pair<const wchar_t*, int64_t> kCases[] = {
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
    for (const auto& [text, bytes] : kCases) {
        EXPECT_EQ(VnFileSystem::ParseSize(text), bytes) << ToBytes(text);
    }
}

} // namespace
