#include "files/VnFileSystem.h"

#include "core/VnStringArray.h"
#include "tests/support/TestEnvironment.h"
#include "tests/support/TestText.h"

#include <gtest/gtest.h>

#include <sys/statvfs.h>
#include <unistd.h>

#include <cctype>
#include <filesystem>
#include <fstream>
#include <string>

namespace {

TEST(VnFileSystemVolumes, MeasuresAVolume) {
    struct statvfs volume {};
    ASSERT_EQ(statvfs("/proc", &volume), 0);
    uint64_t total = 1;
    uint64_t free = 1;
    uint64_t available = 1;
    bool readOnly = true;
    EXPECT_TRUE(VnFileSystem::VnStatFS(L"/proc", total, free, available, readOnly));
    EXPECT_EQ(total, volume.f_blocks * volume.f_frsize);
    EXPECT_EQ(readOnly, (volume.f_flag & 1) != 0);

    ASSERT_EQ(statvfs("/", &volume), 0);
    EXPECT_TRUE(VnFileSystem::VnStatFS(L"/", total, free, available, readOnly));
    EXPECT_EQ(total, volume.f_blocks * volume.f_frsize);
    EXPECT_LE(available, free);
    EXPECT_LE(free, total);
    uint64_t sameTotal = 0;
    EXPECT_TRUE(VnFileSystem::GetTotalSpace(L"/", sameTotal));
    EXPECT_EQ(sameTotal, total);
}

TEST(VnFileSystemVolumes, ZeroesAllOutputsForAMissingPath) {
    uint64_t total = 1;
    uint64_t free = 1;
    uint64_t available = 1;
    bool readOnly = true;
    EXPECT_FALSE(VnFileSystem::GetDiskSpace(L"/no/such/path", available, total, free, readOnly));
    EXPECT_EQ(total + free + available, 0U);
    EXPECT_FALSE(readOnly);
    free = total = 1;
    EXPECT_FALSE(VnFileSystem::GetFreeSpace(L"/no/such/path", free));
    EXPECT_FALSE(VnFileSystem::GetTotalSpace(L"/no/such/path", total));
    EXPECT_EQ(free + total, 0U);
}

TEST(VnFileSystemVolumes, SeesAReadOnlyMount) {
    std::ifstream mounts("/proc/self/mounts");
    std::string device;
    std::string path;
    std::string type;
    std::string options;
    std::string rest;
    while (mounts >> device >> path >> type >> options && std::getline(mounts, rest)) {
        struct statvfs volume {};
        if (options.rfind("ro", 0) != 0 || path.find('\\') != std::string::npos
            || statvfs(path.c_str(), &volume) != 0 || (volume.f_flag & ST_RDONLY) == 0) {
            continue;
        }
        uint64_t total = 0;
        uint64_t free = 0;
        uint64_t available = 0;
        bool readOnly = false;
        EXPECT_TRUE(VnFileSystem::VnStatFS(ToText(path), total, free, available, readOnly));
        EXPECT_TRUE(readOnly) << path;
        return;
    }
    GTEST_SKIP() << "no read-only mount on this machine";
}

TEST(VnFileSystemVolumes, HasNoLabelForWhatIsNoDevice) {
    VnString label = L"stale";
    uint32_t serial = 7;
    EXPECT_FALSE(VnFileSystem::GetVolumeInformation(L"/dev/null/", label, serial));
    EXPECT_TRUE(label.IsEmpty());
    EXPECT_EQ(serial, 0U);
    EXPECT_TRUE(VnFileSystem::GetVolumeName(L"").IsEmpty());
}

TEST(VnFileSystemVolumes, FindsTheLabelsOfThisMachine) {
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator("/dev/disk/by-label", error)) {
        const std::filesystem::path node = std::filesystem::canonical(entry.path(), error);
        if (error) {
            continue;
        }
        VnString label;
        uint32_t serial = 0;
        EXPECT_TRUE(VnFileSystem::GetVolumeInformation(ToText(node.string() + "/"), label, serial));
        EXPECT_FALSE(label.IsEmpty());
        std::ifstream size("/sys/class/block/" + node.filename().string() + "/size");
        uint64_t blocks = 0;
        size >> blocks;
        EXPECT_EQ(serial, blocks > 1048 ? static_cast<uint32_t>(blocks - 1048) : 0U);
        return;
    }
    GTEST_SKIP() << "no labelled volume on this machine";
}

TEST(VnFileSystemVolumes, GivesNoMountpointForWhatIsNotMounted) {
    EXPECT_TRUE(VnFileSystem::GetMountpointFromDevice(L"/dev/null").IsEmpty());
    const TestFolder folder;
    EXPECT_TRUE(
        VnFileSystem::GetMountpointFromDevice(L"/dev/null; touch " + ToText(folder / "made"))
            .IsEmpty());
    EXPECT_FALSE(folder.Exists("made"));
}

TEST(VnFileSystemVolumes, FindsTheMountpointOfADevice) {
    std::ifstream mounts("/proc/self/mounts");
    std::string device;
    std::string path;
    std::string rest;
    while (mounts >> device >> path && std::getline(mounts, rest)) {
        if (device.rfind("/dev/", 0) == 0 && std::filesystem::exists(device)) {
            const std::string found =
                ToBytes(VnFileSystem::GetMountpointFromDevice(ToText(device)));
            EXPECT_EQ(found.substr(0, 1), "/") << device;
            EXPECT_EQ(found.find('\n'), std::string::npos);
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

TEST(VnFileSystemVolumes, GivesTheAddressOfACardThatIsNoLoopback) {
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
    if (!anyCard) {
        EXPECT_EQ(address, "");
        return;
    }
    EXPECT_TRUE(found) << address;
}

TEST(VnFileSystemVolumes, ListsTheAddressesThatTheReaderModuleFinds) {
    VnStringArray addresses;
    addresses.Add(L"stale");
    const bool found = VnFileSystem::GetMacAddresses(addresses);
    EXPECT_EQ(found, addresses.GetCount() > 0);
    EXPECT_FALSE(addresses.Contains(L"stale"));
    if (!VnFileSystem::GetFirstMacAddressUnconditionally().IsEmpty()) {
        EXPECT_TRUE(found);
    }
}

TEST(VnFileSystemVolumes, HasNoDriveLetters) {
    VnStringArray drives;
    drives.Add(L"C:");
    EXPECT_EQ(VnFileSystem::GetAvailableDrives(drives), 0);
    EXPECT_EQ(drives.GetCount(), 0);
    EXPECT_EQ(VnFileSystem::GetDriveType(L"C:"), 0);
    EXPECT_EQ(VnFileSystem::HasOpticalDrive(), std::filesystem::is_block_file("/dev/sr0"));
}

} // namespace
