#include "files/VnFileSystem.h"

#include "core/VnStringArray.h"
#include "tests/support/TestEnvironment.h"
#include "tests/support/TestText.h"

#include <gtest/gtest.h>

#include <dirent.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

namespace {

/// Stands for the folder of the labels in this program; empty for the system's own.
std::string LabelFolder;

std::string GetRedirected(const char* path) {
    constexpr std::string_view kLabels = "/dev/disk/by-label";
    const std::string_view text = path;
    const bool isLabel = !LabelFolder.empty() && text.starts_with(kLabels);
    return isLabel ? LabelFolder + std::string(text.substr(kLabels.size())) : std::string(text);
}

} // namespace

// The linker puts these in the place of the system's for the product.
// NOLINTBEGIN(readability-identifier-naming): the linker fixes the names
extern "C" {
DIR* __real_opendir(const char* path);
DIR* __wrap_opendir(const char* path) {
    return __real_opendir(GetRedirected(path).c_str());
}
int __real_lstat(const char* path, struct stat* record);
int __wrap_lstat(const char* path, struct stat* record) {
    return __real_lstat(GetRedirected(path).c_str(), record);
}
char* __real_realpath(const char* path, char* resolved);
char* __wrap_realpath(const char* path, char* resolved) {
    return __real_realpath(GetRedirected(path).c_str(), resolved);
}
}
// NOLINTEND(readability-identifier-naming)

namespace {

TEST(VnFileSystemVolumes, MeasuresWhatIsMountedAndZeroesWhatIsNot) {
    std::ifstream mounts("/proc/self/mounts");
    std::vector<std::string> paths = {"/no/such/path"};
    std::string device;
    for (std::string path, rest; mounts >> device >> path && std::getline(mounts, rest);) {
        paths.push_back(path); // some of them are read only
    }
    for (const std::string& path : paths) {
        SCOPED_TRACE(path);
        struct statvfs volume {};
        const bool exists = statvfs(path.c_str(), &volume) == 0;
        uint64_t total = 1;
        uint64_t free = 1;
        uint64_t available = 1;
        bool readOnly = true;
        EXPECT_EQ(VnFileSystem::GetDiskSpace(ToText(path), available, total, free, readOnly),
                  exists);
        EXPECT_EQ(total, volume.f_blocks * volume.f_frsize);
        EXPECT_EQ(readOnly, (volume.f_flag & ST_RDONLY) != 0);
        EXPECT_LE(available, free);
        EXPECT_LE(free, total);
        uint64_t again = 1;
        EXPECT_EQ(VnFileSystem::GetTotalSpace(ToText(path), again), exists);
        EXPECT_EQ(again, total);
        EXPECT_EQ(VnFileSystem::GetFreeSpace(ToText(path), again = 1), exists);
        EXPECT_LE(again, total);
    }
}

TEST(VnFileSystemVolumes, FindsTheLabelOfADevice) {
    const TestFolder folder;
    // The size comes from the system's own tree, for a node of a name that is there.
    std::string node = "none";
    uint64_t blocks = 0;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator("/sys/class/block", error)) {
        std::ifstream(entry.path() / "size") >> blocks;
        node = entry.path().filename().string();
        if (blocks > 1048) {
            break;
        }
    }
    folder.Write("by-label/no link", "");
    folder.Write("nodes/other", "");
    folder.Write("nodes/" + node, "");
    const std::filesystem::path labels = folder / "by-label";
    std::filesystem::create_symlink("../nodes/other", labels / "A");
    std::filesystem::create_symlink("../nodes/gone", labels / "B");
    std::filesystem::create_symlink("../nodes/" + node, labels / "My\\x20Disc \xC3\xA4");
    LabelFolder = labels.string();
    const VnString device = ToText(folder / ("nodes/" + node));
    VnString label = L"stale";
    uint32_t serial = 7;
    EXPECT_TRUE(VnFileSystem::GetVolumeInformation(device + L"//", label, serial));
    EXPECT_EQ(label, VnString(L"My\\x20Disc \u00C3\u00A4")) << "bytes, not UTF-8";
    EXPECT_EQ(serial, blocks > 1048 ? static_cast<uint32_t>(blocks - 1048) : 0U);
    EXPECT_EQ(VnFileSystem::GetVolumeName(device), label);
    EXPECT_EQ(ToBytes(VnFileSystem::GetVolumeName(ToText(folder / "nodes/OTHER"))), "A");

    for (const VnString& without :
         {ToText(labels / "no link"), VnString(L"/dev/null/"), VnString()}) {
        label = L"stale";
        serial = 7;
        EXPECT_FALSE(VnFileSystem::GetVolumeInformation(without, label, serial));
        EXPECT_TRUE(label.IsEmpty());
        EXPECT_EQ(serial, 0U);
    }
    LabelFolder = folder / "missing";
    EXPECT_FALSE(VnFileSystem::GetVolumeInformation(device, label, serial));
    LabelFolder.clear();
}

TEST(VnFileSystemVolumes, FindsWhereADeviceIsMounted) {
    const TestFolder folder;
    for (const VnString& device :
         {VnString(L"/dev/null"), VnString(), L"/dev/null; touch " + ToText(folder / "made")}) {
        EXPECT_TRUE(VnFileSystem::GetMountpointFromDevice(device).IsEmpty()) << ToBytes(device);
    }
    EXPECT_FALSE(folder.Exists("made"));

    std::ifstream mounts("/proc/self/mounts");
    std::string device;
    for (std::string path, rest; mounts >> device >> path && std::getline(mounts, rest);) {
        if (device.starts_with("/dev/") && std::filesystem::exists(device)) {
            const VnString found = VnFileSystem::GetMountpointFromDevice(ToText(device));
            EXPECT_TRUE(found.StartsWith(L'/')) << device;
            EXPECT_LT(found.Find(L'\n'), 0);
            return;
        }
    }
    GTEST_SKIP() << "no mounted device node on this machine";
}

TEST(VnFileSystemVolumes, NamesTheMachine) {
    char name[256] = {};
    ASSERT_EQ(gethostname(name, sizeof(name) - 1), 0);
    EXPECT_EQ(ToBytes(VnFileSystem::GetComputerName()), name);
}

TEST(VnFileSystemVolumes, GivesTheAddressesOfCardsThatAreNoLoopback) {
    const std::string address = ToBytes(VnFileSystem::GetFirstMacAddressUnconditionally());
    bool found = false;
    bool anyCard = false;
    for (const auto& entry : std::filesystem::directory_iterator("/sys/class/net")) {
        std::ifstream file(entry.path() / "address");
        std::string known;
        file >> known;
        for (char& ch : known) {
            ch = ch == ':' ? '-' : ch;
        }
        anyCard = anyCard || (entry.path().filename() != "lo" && known.size() == 17);
        found = found || (entry.path().filename() != "lo" && known == address);
    }
    EXPECT_TRUE(anyCard ? found : address.empty()) << address;
    // The reader module finds them all.
    VnStringArray addresses;
    addresses.Add(L"stale");
    const bool anyListed = VnFileSystem::GetMacAddresses(addresses);
    EXPECT_EQ(anyListed, addresses.GetCount() > 0);
    EXPECT_FALSE(addresses.Contains(L"stale"));
    EXPECT_TRUE(anyListed || address.empty());
}

} // namespace
