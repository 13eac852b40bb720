#include "files/VnFileSystem.h"

#include "tests/support/TestEnvironment.h"
#include "tests/support/TestText.h"

#include <gtest/gtest.h>

#include <utime.h>

#include <ctime>
#include <set>
#include <string>

namespace {

/// Ten files named "0" (newest) to "9", each ten bytes larger than the one before, from 10 bytes
/// on.
void Fill(const TestFolder& folder) {
    constexpr std::time_t kNow = 1'600'000'000;
    for (int index = 0; index < 10; ++index) {
        const std::string name = std::to_string(index);
        const std::string path =
            folder.Write("d/" + name, std::string(static_cast<size_t>(10 * (index + 1)), 'x'));
        const utimbuf times{kNow, kNow - 3600 * index};
        utime(path.c_str(), &times);
    }
    folder.Write("d/sub/kept", "");
}

struct PruneCase {
    int32_t MaximumFiles;
    int64_t MaximumBytes;
    int Left;
};

// The sums of the sizes from the newest on: 10, 30, 60, 100, 150, 210, 280, 360, 450, 550.
constexpr PruneCase kCases[] = {
    {-1, -1, 10}, {0, -1, 0},     {3, -1, 3},   {10, -1, 10}, {99, -1, 10},
    {-1, 0, 0},   {-1, 9, 0},     {-1, 10, 1},  {-1, 100, 4}, {-1, 149, 4},
    {-1, 150, 5}, {-1, 1000, 10}, {3, 1000, 3}, {8, 60, 3},
};

TEST(FileSystemPrune, KeepsTheNewestFilesWithinTheLimits) {
    for (const PruneCase& row : kCases) {
        SCOPED_TRACE(std::to_string(row.MaximumFiles) + " files, "
                     + std::to_string(row.MaximumBytes) + " bytes");
        const TestFolder folder;
        Fill(folder);
        VnFileSystem::PruneOldFilesFromDirectory(ToText(folder / "d"), row.MaximumFiles,
                                                 row.MaximumBytes);
        for (int index = 0; index < 10; ++index) {
            EXPECT_EQ(folder.Exists("d/" + std::to_string(index)), index < row.Left) << index;
        }
        EXPECT_TRUE(folder.Exists("d/sub/kept"));
    }
}

TEST(FileSystemPrune, SortsMoreFilesThanAreSortedInOneGo) {
    const TestFolder folder;
    for (int index = 0; index < 100; ++index) {
        // A step that shares no factor with the count visits every age once.
        const int age = index * 37 % 100;
        const std::string path = folder.Write("f" + std::to_string(age), "");
        const utimbuf times{0, 1'600'000'000 - 60 * age};
        utime(path.c_str(), &times);
    }
    VnFileSystem::PruneOldFilesFromDirectory(ToText(folder / ""), 40, -1);
    for (int age = 0; age < 100; ++age) {
        EXPECT_EQ(folder.Exists("f" + std::to_string(age)), age < 40) << age;
    }
}

TEST(FileSystemPrune, LeavesAMissingDirectoryAlone) {
    const TestFolder folder;
    VnFileSystem::PruneOldFilesFromDirectory(ToText(folder / "missing"), 0, 0);
    VnFileSystem::PruneOldFilesFromDirectory(L"", 0, 0);
    EXPECT_FALSE(folder.Exists("missing"));
}

} // namespace
