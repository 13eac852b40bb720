#include "core/VnString.h"
#include "runtime/VnRunProgram.h"
#include "runtime/VnSettingsKey.h"
#include "runtime/VnSiblingModules.h"
#include "tests/support/ModuleJournal.h"
#include "tests/support/TestEnvironment.h"
#include "tests/support/TestText.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <dlfcn.h>

#include <cstdint>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

const std::string kPlugIn = std::string(VN_BUILD_FOLDER) + "/lib/libVnPortableDrives.so";

/// The plug-in as a host sees it.
class Exports : public testing::Test {
protected:
    Exports() : Handle(dlopen(kPlugIn.c_str(), RTLD_NOW | RTLD_LOCAL)) {
        setenv("VN_TEST_JOURNAL", (Folder / "journal").c_str(), 1);
        UseTestModules("Entry");
    }
    ~Exports() override {
        // Has the plug-in unload what a test may have left.
        if (Handle != nullptr) {
            UseTestModules("Entry");
            Attach(0);
            Call("Detach");
        }
    }

    void SetUp() override { ASSERT_NE(Handle, nullptr) << dlerror(); }
    int32_t Attach(uintptr_t handle) {
        return reinterpret_cast<int32_t (*)(uintptr_t)>(dlsym(Handle, "Attach"))(handle);
    }
    int32_t Call(const char* name) {
        return reinterpret_cast<int32_t (*)()>(dlsym(Handle, name))();
    }

    TestFolder Folder;
    void* Handle;
};

/// What a command writes to its standard output.
std::string OutputOf(const std::string& command) {
    VnString output;
    EXPECT_TRUE(RunProgram(ToText(command), nullptr, /*blocking=*/true, nullptr, &output));
    return ToBytes(output);
}

TEST_F(Exports, ArePlainNamesAndNothingElse) {
    const std::pair<std::string, std::string> modules[] = {
        {kPlugIn, "Attach CreatePortableDrive Detach DllRegisterServer DllUnregisterServer "},
        {TestEnvironment::GetModuleFolder() + "libVnTools.so", "Attach Detach GetVnToolsDLL "},
        {TestEnvironment::GetModuleFolder() + "libVnReader.so",
         "Attach CreateFromMemoryReaderDLL CreateGenericReaderDLL CreateInternetReaderDLL "
         "CreateLocalReaderDLL CreateMemoryReaderDLL CreateSocketReaderDLL CreateStringReaderDLL "
         "Detach VnReaderInitialize VnReaderUninitialize "},
    };
    for (const auto& [file, exports] : modules) {
        EXPECT_EQ(OutputOf("nm -D --defined-only -P '" + file
                           + "' | cut -d' ' -f1 | LC_ALL=C sort | tr '\n' ' '"),
                  exports);
    }
}

TEST_F(Exports, CarryTheRunPathOfTheInstallation) {
    EXPECT_THAT(OutputOf("readelf -d '" + kPlugIn + "'"),
                HasSubstr("[/usr/lib/velnor/Tonehall 34]"));
}

TEST_F(Exports, AttachAndDetachTheToolsModule) {
    EXPECT_EQ(Attach(0x1234), 1);
    const std::vector<std::string> start = TakeJournal(Folder);
    ASSERT_EQ(start.size(), 5U);
    EXPECT_EQ(start[2], "libVnTools.so Initialize 0 1234");
    EXPECT_EQ(start[3], "libVnTools.so LoadProduct '' 0 0");
    EXPECT_EQ(start[4], "libVnTools.so ProductLoaded 0");

    EXPECT_EQ(Attach(0x9999), 1);
    EXPECT_EQ(Call("Detach"), 1);
    EXPECT_THAT(TakeJournal(Folder), IsEmpty());

    EXPECT_EQ(Call("Detach"), 1);
    EXPECT_THAT(TakeJournal(Folder),
                ElementsAre("libVnTools.so RootDetach 1234", "libVnTools.so Uninitialize 0 1234",
                            "libVnTools.so Detach"));
}

TEST_F(Exports, ReportMissingToolsAndTryAgainLater) {
    UseTestModules("Missing");
    testing::internal::CaptureStderr();
    EXPECT_EQ(Attach(1), 0);
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                HasSubstr("\r\n\r\nFailed to load VnTools\r\n\r\n"));
    EXPECT_EQ(Call("DllRegisterServer"), 0);
    EXPECT_EQ(Call("DllUnregisterServer"), 0);
    EXPECT_EQ(Call("Detach"), 1);

    UseTestModules("Entry");
    EXPECT_EQ(Attach(1), 1);
    EXPECT_EQ(Call("Detach"), 1);
}

TEST_F(Exports, WriteAndRemoveTheRegistration) {
    Attach(1);
    TakeJournal(Folder);
    EXPECT_EQ(Call("DllRegisterServer"), 0);
    const std::vector<std::string> lines = TakeJournal(Folder);
    EXPECT_THAT(lines, ElementsAre("libVnTools.so OpenKey Plugins\\Handheld\\Portable Drives 1 0",
                                   "libVnTools.so SetInt IVersion=7 0 0",
                                   "libVnTools.so SetString Version=12.0.1 0 '' 0",
                                   testing::StartsWith("libVnTools.so SetString Copyright="),
                                   testing::StartsWith("libVnTools.so SetString Company="),
                                   testing::StartsWith("libVnTools.so SetString URL="),
                                   "libVnTools.so SetInt Configurable=0 0 0",
                                   "libVnTools.so SetString Path=" + kPlugIn + " 0 '' 0",
                                   "libVnTools.so Close"));

    EXPECT_EQ(Call("DllUnregisterServer"), 0);
    EXPECT_THAT(TakeJournal(Folder),
                ElementsAre("libVnTools.so OpenKey Plugins\\Handheld 1 0",
                            "libVnTools.so DeleteSubKey Portable Drives 0", "libVnTools.so Close"));
    Call("Detach");
}

TEST_F(Exports, RegisterInTheSettingsStoreOfTheFamily) {
    CProcessInfo::GetInstance()->SetModuleDirectory(ToText(TestEnvironment::GetModuleFolder()));
    ASSERT_NE(VnGetToolsRoot(), nullptr);
    for (const bool registered : {true, true, false, false}) {
        EXPECT_EQ(Call(registered ? "DllRegisterServer" : "DllUnregisterServer"), 0);
        const VnSettingsKey key(L"Plugins\\Handheld\\Portable Drives", /*create=*/false);
        ASSERT_EQ(key.IsOpen(), registered);
        EXPECT_TRUE(!registered || key.GetString(L"Version") == L"12.0.1");
    }
    EXPECT_TRUE(VnSettingsKey(L"Plugins\\Handheld", /*create=*/false).IsOpen());
}

} // namespace
