#include "runtime/CProcessInfo.h"

#include "core/VnString.h"
#include "runtime/VnSharedMemory.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <thread>
#include <vector>

/// Makes objects on blocks other than the one of the process.
class CProcessInfoTestAccess {
public:
    static std::unique_ptr<CProcessInfo> Make(const VnString& blockName) {
        return std::unique_ptr<CProcessInfo>(new CProcessInfo(blockName));
    }
    static const char* GetBytes(const CProcessInfo& info) {
        return static_cast<const char*>(info.Block->GetMapping());
    }
};

namespace {

constexpr int32_t kBlockSize = 83032;
constexpr uid_t kOtherUser = 65534;

VnString GetName(const char* kind) {
    return VnString::Formatted(L"Velnor test %s (%d)", kind, static_cast<int32_t>(getpid()));
}

std::string GetFile(const VnString& name) {
    return std::string("/dev/shm/") + VnStringUTF8(name).GetBytes();
}

bool Exists(const VnString& name) {
    return access(GetFile(name).c_str(), F_OK) == 0;
}

/// Makes a block that an earlier process may have left, filled, with an install directory of
/// "/old/".
void LeaveBlock(const VnString& name, mode_t mode) {
    const int descriptor = shm_open(VnStringUTF8(L"/" + name), O_RDWR | O_CREAT, mode);
    ASSERT_NE(descriptor, -1);
    ASSERT_EQ(fchmod(descriptor, mode), 0);
    ASSERT_EQ(ftruncate(descriptor, kBlockSize), 0);
    const int32_t filled = 1;
    ASSERT_EQ(pwrite(descriptor, &filled, sizeof(filled), 0), static_cast<ssize_t>(sizeof(filled)));
    ASSERT_EQ(pwrite(descriptor, L"/old/", 6 * sizeof(wchar_t), 16392),
              static_cast<ssize_t>(6 * sizeof(wchar_t)));
    close(descriptor);
}

/// Exit code of a child process that runs `body`.
template<typename BODY>
int RunInChild(BODY body) {
    const pid_t child = fork();
    if (child == 0) {
        _exit(body());
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

template<typename T>
T At(const CProcessInfo& info, int32_t offset) {
    T value;
    std::memcpy(&value, CProcessInfoTestAccess::GetBytes(info) + offset, sizeof(value));
    return value;
}

VnString TextAt(const CProcessInfo& info, int32_t offset) {
    return reinterpret_cast<const wchar_t*>(CProcessInfoTestAccess::GetBytes(info) + offset);
}

TEST(CProcessInfoFill, SetsEveryFieldOfANewBlock) {
    setenv("HOME", "/home/somebody", 1);
    const auto info = CProcessInfoTestAccess::Make(GetName("fill"));
    EXPECT_TRUE(info->IsFilledHere());
    EXPECT_EQ(At<int32_t>(*info, 0), 1);
    for (const int32_t offset : {16392, 32780, 49168}) {
        EXPECT_EQ(TextAt(*info, offset), L"/usr/lib/velnor/Tonehall 34/");
    }
    EXPECT_EQ(TextAt(*info, 65556), L"/home/somebody/");
    EXPECT_EQ(At<pthread_t>(*info, 81952), pthread_self());
    EXPECT_EQ(At<int64_t>(*info, 83008), 0);
    EXPECT_EQ(At<int64_t>(*info, 83016), -1);
    EXPECT_EQ(At<int32_t>(*info, 83024), 99);
    EXPECT_EQ(info->GetProgramPath(), L"");
    EXPECT_EQ(info->NextAttachNumber(), 100);
}

TEST(CProcessInfoFill, IsLeftToTheFirstObject) {
    const VnString name = GetName("second");
    const auto first = CProcessInfoTestAccess::Make(name);
    first->SetPaths(L"/first", /*all=*/true, /*onlyIfFilledHere=*/true);
    first->NextAttachNumber();

    const auto second = CProcessInfoTestAccess::Make(name);
    EXPECT_FALSE(second->IsFilledHere());
    EXPECT_EQ(second->GetModuleDirectory(), L"/first/");
    second->SetPaths(L"/second", /*all=*/true, /*onlyIfFilledHere=*/true);
    EXPECT_EQ(first->GetInstallDirectory(), L"/first/");
    second->SetPaths(L"/second", /*all=*/false, /*onlyIfFilledHere=*/false);
    EXPECT_EQ(first->GetInstallDirectory(), L"/second/");
    EXPECT_EQ(first->GetDataPath(), L"/first/");
    EXPECT_EQ(second->NextAttachNumber(), 101);
}

TEST(CProcessInfoFields, StandWhereEveryModuleLooks) {
    const auto info = CProcessInfoTestAccess::Make(GetName("layout"));
    info->SetPaths(L"/install/", /*all=*/false, /*onlyIfFilledHere=*/false);
    info->SetDataPath(L"/data");
    info->SetModuleDirectory(L"");
    info->SetApplicationDataPath(L"/application/");
    info->SetProductName(VnString::Formatted(L"%s", std::wstring(300, L'p').c_str()));
    info->SetFlag(true);
    info->SetValue81960(0x0102030405060708);
    EXPECT_EQ(TextAt(*info, 16392), L"/install/");
    EXPECT_EQ(TextAt(*info, 32780), L"/data/") << "each path ends in a slash";
    EXPECT_EQ(TextAt(*info, 49168), L"") << "but one that is not set";
    EXPECT_EQ(TextAt(*info, 65556), L"/application/");
    EXPECT_EQ(TextAt(*info, 81972).GetLength(), 255);
    EXPECT_EQ(info->GetProductName().GetLength(), 255);
    EXPECT_EQ(At<uint8_t>(*info, 81944), 1);
    EXPECT_TRUE(info->GetFlag());
    EXPECT_EQ(At<int64_t>(*info, 81960), 0x0102030405060708);
}

TEST(CProcessInfoFields, CutLongPaths) {
    const auto info = CProcessInfoTestAccess::Make(GetName("long"));
    for (const auto& [length, stored] : std::vector<std::pair<size_t, int32_t>>{
             {4093, 4094}, {4094, 4095}, {4095, 4095}, {5000, 4095}}) {
        SCOPED_TRACE(length);
        const std::wstring path(length, L'a');
        info->SetDataPath(path.c_str());
        EXPECT_EQ(info->GetDataPath().GetLength(), stored);
        EXPECT_EQ(At<wchar_t>(*info, 32780 + 4 * stored), L'\0');
        EXPECT_EQ(info->GetModuleDirectory(), L"/usr/lib/velnor/Tonehall 34/")
            << "the next field is untouched";
    }
}

TEST(CProcessInfoFields, MoveUserDataBelowAPortableInstallation) {
    setenv("HOME", "/home/somebody/", 1);
    const auto info = CProcessInfoTestAccess::Make(GetName("portable"));
    info->SetPortableData(true);
    EXPECT_EQ(At<uint8_t>(*info, 81968), 1);
    EXPECT_EQ(info->GetApplicationDataPath(), L"/usr/lib/velnor/Tonehall 34/Application Data/");
    info->SetPortableData(false);
    EXPECT_EQ(info->GetApplicationDataPath(), L"/home/somebody/");
}

TEST(CProcessInfoFields, AreNeutralWithoutABlock) {
    const auto info = CProcessInfoTestAccess::Make(L"");
    info->SetDataPath(L"/data/");
    info->SetPortableData(true);
    info->SetFlag(true);
    info->SetPaths(L"/x/", /*all=*/true, /*onlyIfFilledHere=*/false);
    EXPECT_FALSE(info->IsFilledHere());
    EXPECT_EQ(info->GetDataPath(), L"");
    EXPECT_EQ(info->GetInstallDirectory(), L"");
    EXPECT_FALSE(info->GetPortableData());
    EXPECT_FALSE(info->GetFlag());
    EXPECT_EQ(info->GetMainThread(), pthread_t{0});
    EXPECT_EQ(info->GetValue83008(), 0);
    EXPECT_EQ(info->GetValue83016(), -1);
    EXPECT_EQ(info->NextAttachNumber(), 0);
}

/// A child's result: 0 when it has used the block that was there, 1 when it has made one anew.
int UseBlock(const VnString& name) {
    return CProcessInfoTestAccess::Make(name)->GetInstallDirectory() == L"/old/" ? 0 : 1;
}

TEST(CProcessInfoTrust, EndsWithTheProcess) {
    const VnString name = GetName("stale");
    LeaveBlock(name, 0666);
    EXPECT_EQ(UseBlock(name), 0) << "made by this very process";
    // The start time of a process is told in steps of 10 ms.
    usleep(100'000);
    EXPECT_EQ(RunInChild([&name] { return UseBlock(name); }), 1)
        << "left from before the child started";
    EXPECT_FALSE(Exists(name)) << "the child has made, and removed, the block anew";
}

TEST(CProcessInfoTrust, HoldsForABlockThatTheProcessMapsAlready) {
    const VnString name = GetName("mapped");
    LeaveBlock(name, 0666);
    usleep(100'000);
    // The child's inherited mapping stands for that of another module, and the time for a clock
    // that was set.
    VnSharedMemory other;
    ASSERT_TRUE(other.Open(name, kBlockSize));
    EXPECT_EQ(RunInChild([&name] { return UseBlock(name); }), 0);
    other.Close();
    shm_unlink(VnStringUTF8(L"/" + name));
}

TEST(CProcessInfoTrust, IsNotGivenToAnotherUsersBlock) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root can make a block of another user";
    }
    const VnString name = GetName("foreign");
    LeaveBlock(name, 0666);
    ASSERT_EQ(chown(GetFile(name).c_str(), kOtherUser, kOtherUser), 0);
    EXPECT_EQ(UseBlock(name), 1);
    EXPECT_FALSE(Exists(name));
}

TEST(CProcessInfoTrust, PassesOverAForeignBlockThatCannotBeRemoved) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root can become another user";
    }
    const VnString name = GetName("kept");
    LeaveBlock(name, 0666);
    const int result = RunInChild([&name] {
        if (setuid(kOtherUser) != 0) {
            return 2;
        }
        const auto first = CProcessInfoTestAccess::Make(name);
        const auto second = CProcessInfoTestAccess::Make(name);
        first->SetDataPath(L"/shared/");
        return first->IsFilledHere() && second->GetDataPath() == L"/shared/" ? 0 : 1;
    });
    EXPECT_EQ(result, 0) << "all modules of the process come to the same other block";
    EXPECT_TRUE(Exists(name));
    shm_unlink(VnStringUTF8(L"/" + name));
}

TEST(CProcessInfoInstance, IsOneForTheModule) {
    CProcessInfo* info = CProcessInfo::GetInstance();
    ASSERT_NE(info, nullptr);
    EXPECT_EQ(CProcessInfo::GetInstance(/*create=*/false), info);
    EXPECT_TRUE(
        Exists(VnString::Formatted(L"Velnor Process v34 (%d)", static_cast<int32_t>(getpid()))));
}

TEST(CProcessInfoInstance, KnowsTheMainThread) {
    EXPECT_TRUE(VnIsMainThread());
    bool other = true;
    std::thread([&other] { other = VnIsMainThread(); }).join();
    EXPECT_FALSE(other);
}

TEST(CProcessInfoInstance, KeepsTheBlockWhenAForkedChildExits) {
    CProcessInfo::GetInstance();
    const VnString name =
        VnString::Formatted(L"Velnor Process v34 (%d)", static_cast<int32_t>(getpid()));
    EXPECT_EXIT(std::exit(0), testing::ExitedWithCode(0), "");
    EXPECT_TRUE(Exists(name));
}

TEST(CProcessInfoInstance, RemovesTheBlockAtExit) {
    char program[] = "/proc/self/exe";
    char filter[] = "--gtest_filter=CProcessInfoInstance.IsOneForTheModule";
    char brief[] = "--gtest_brief=1";
    char* arguments[] = {program, filter, brief, nullptr};
    pid_t child = 0;
    ASSERT_EQ(posix_spawn(&child, program, nullptr, nullptr, arguments, environ), 0);
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    EXPECT_FALSE(Exists(VnString::Formatted(L"Velnor Process v34 (%d)", child)));
}

} // namespace
