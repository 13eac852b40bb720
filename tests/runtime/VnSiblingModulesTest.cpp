#include "runtime/VnSiblingModules.h"

#include "core/VnString.h"
#include "runtime/CProcessInfo.h"
#include "runtime/IVnToolsRoot.h"
#include "tests/modules/PlainFactories.h"
#include "tests/support/ModuleJournal.h"
#include "tests/support/TestEnvironment.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

constexpr VnSiblingModule kAllModules[] = {
    VnSiblingModule::Tools,      VnSiblingModule::Image,  VnSiblingModule::Reader,
    VnSiblingModule::Disc,       VnSiblingModule::Player, VnSiblingModule::WMFactory,
    VnSiblingModule::Television,
};

/// Points the gate at the test modules of one kind, and reads what they note.
class SiblingModules : public testing::Test {
protected:
    SiblingModules() {
        setenv("VN_TEST_JOURNAL", (Folder / "journal").c_str(), 1);
        UseTestModules("Entry");
    }
    ~SiblingModules() override {
        VnSiblingModules::GetInstance().UnloadAll(/*detachFirst=*/false);
        unsetenv("VN_TEST_NULL_ROOT");
        unsetenv("VN_TEST_PRODUCT_ERROR");
    }

    static bool Load(VnSiblingModule module) {
        return VnSiblingModules::GetInstance().LoadModule(L"", module);
    }

    /// The lines since the last call.
    std::vector<std::string> TakeJournal() { return ::TakeJournal(Folder); }

    TestFolder Folder;
};

struct PathCase {
    const char* What;
    const wchar_t* ModuleDirectory;
    const wchar_t* Directory;
    const wchar_t* Path;
};

constexpr PathCase kPathCases[] = {
    {"no directory at all", L"", L"", L"libVnTools.so"},
    {"null counts as empty", L"", nullptr, L"libVnTools.so"},
    {"module directory goes ahead", L"/m/", L"", L"/m/libVnTools.so"},
    {"and ahead of a directory", L"/m/", L"sub", L"/m/sub/libVnTools.so"},
    {"an absolute directory is no exception", L"/m/", L"/abs", L"/m//abs/libVnTools.so"},
    {"directory alone", L"", L"/abs", L"/abs/libVnTools.so"},
    {"drive letter taken whole", L"/m/", L"C:\\x", L"C:\\x/libVnTools.so"},
    {"server taken whole", L"/m/", L"\\\\server\\x", L"\\\\server\\x/libVnTools.so"},
    {"backslash alone is no complete path", L"/m/", L"a\\b", L"/m/a\\b/libVnTools.so"},
    {"one backslash in front neither", L"/m/", L"\\b", L"/m/\\b/libVnTools.so"},
    {"drive with a slash neither", L"/m/", L"C:/x", L"/m/C:/x/libVnTools.so"},
};

TEST_F(SiblingModules, PutTheirPathTogether) {
    for (const PathCase& row : kPathCases) {
        SCOPED_TRACE(row.What);
        CProcessInfo::GetInstance()->SetModuleDirectory(row.ModuleDirectory);
        EXPECT_EQ(VnSiblingModules::GetModulePath(row.Directory, VnSiblingModule::Tools), row.Path);
    }
}

TEST_F(SiblingModules, EnterByTheirOwnCallsAndLeaveInOrder) {
    const int32_t number = CProcessInfo::GetInstance()->NextAttachNumber();
    for (const VnSiblingModule module : kAllModules) {
        EXPECT_TRUE(Load(module));
        EXPECT_TRUE(VnSiblingModules::GetInstance().IsLoaded(module));
        EXPECT_TRUE(Load(module)) << "a loaded module answers true";
    }
    const auto attach = [number](int32_t index) {
        return " Attach " + std::to_string(number + index);
    };
    EXPECT_THAT(
        TakeJournal(),
        ElementsAre("libVnTools.so" + attach(1), "libVnTools.so GetVnToolsDLL 200048",
                    "libVnTools.so Initialize 0 0", "libVnImage.so" + attach(2),
                    "libVnImage.so GetVnImageAppDLL", "libVnImage.so Initialize 0",
                    "libVnReader.so" + attach(3), "libVnReader.so VnReaderInitialize 0",
                    "libVnReader.so VnDiscInitialize 0", "libVnDisc.so" + attach(4),
                    "libVnDisc.so VnReaderInitialize 0", "libVnDisc.so VnDiscInitialize 0",
                    "libVnPlayer.so" + attach(5), "libVnPlayer.so GetVnPlayerDLL",
                    "libVnPlayer.so Initialize 0", "libVnWMFactory.so" + attach(6),
                    "libVnWMFactory.so VnReaderInitialize 0",
                    "libVnWMFactory.so VnDiscInitialize 0", "libVnTelevision.so" + attach(7),
                    "libVnTelevision.so GetVnTelevisionDLL", "libVnTelevision.so Initialize 0"));

    VnSiblingModules::GetInstance().UnloadAll(/*detachFirst=*/true);
    EXPECT_THAT(TakeJournal(),
                ElementsAre("libVnTools.so RootDetach 0", "libVnDisc.so VnDiscUninitialize 0",
                            "libVnDisc.so Detach", "libVnPlayer.so Uninitialize 0",
                            "libVnPlayer.so Detach", "libVnTelevision.so Uninitialize 0",
                            "libVnTelevision.so Detach", "libVnWMFactory.so Detach",
                            "libVnImage.so Uninitialize 0", "libVnImage.so Detach",
                            "libVnReader.so VnReaderUninitialize 0", "libVnReader.so Detach",
                            "libVnTools.so Uninitialize 0 0", "libVnTools.so Detach"));
    EXPECT_EQ(VnGetToolsRoot(/*load=*/false), nullptr);

    VnSiblingModules::GetInstance().UnloadAll(/*detachFirst=*/true);
    EXPECT_THAT(TakeJournal(), IsEmpty()) << "nothing is left to unload";

    ASSERT_NE(VnGetToolsRoot(), nullptr);
    TakeJournal();
    VnSiblingModules::GetInstance().UnloadAll(/*detachFirst=*/false);
    EXPECT_THAT(TakeJournal(),
                ElementsAre("libVnTools.so Uninitialize 0 0", "libVnTools.so Detach"));
}

TEST_F(SiblingModules, ReportAMissingFileOnStandardOutput) {
    UseTestModules("Missing");
    testing::internal::CaptureStdout();
    const bool result = Load(VnSiblingModule::Image);
    const std::string output = testing::internal::GetCapturedStdout();
    EXPECT_FALSE(result);
    EXPECT_THAT(output, StartsWith("\n\nERROR in VnLoadLibrary: error="));
    EXPECT_THAT(output, HasSubstr("cannot open shared object file"));
    EXPECT_THAT(output,
                EndsWith(", file=" VN_BUILD_FOLDER "/tests/modules/Missing/libVnImage.so\n\n"));
    EXPECT_FALSE(VnSiblingModules::GetInstance().IsLoaded(VnSiblingModule::Image));
}

TEST_F(SiblingModules, UnloadAgainWithoutAnEntryOrRoot) {
    UseTestModules("Bare");
    for (const VnSiblingModule module : {VnSiblingModule::Tools, VnSiblingModule::Image}) {
        EXPECT_FALSE(Load(module));
        EXPECT_FALSE(VnSiblingModules::GetInstance().IsLoaded(module));
    }
    EXPECT_THAT(TakeJournal(), ElementsAre("libVnTools.so Attach", "libVnTools.so Detach",
                                           "libVnImage.so Attach", "libVnImage.so Detach"));
    EXPECT_TRUE(Load(VnSiblingModule::Reader))
        << "each of the reader's calls is made only if it is exported";

    UseTestModules("Entry");
    setenv("VN_TEST_NULL_ROOT", "1", 1);
    EXPECT_EQ(VnGetToolsRoot(), nullptr);
    EXPECT_FALSE(Load(VnSiblingModule::Player));
    EXPECT_THAT(TakeJournal(), testing::Contains("libVnPlayer.so Detach"));

    unsetenv("VN_TEST_NULL_ROOT");
    EXPECT_NE(VnGetToolsRoot(), nullptr) << "a failed load can be tried again";
}

TEST_F(SiblingModules, LoadOnceForAllThreads) {
    std::vector<std::thread> threads;
    std::atomic<int> roots{0};
    for (int index = 0; index < 8; ++index) {
        threads.emplace_back([&roots] { roots += VnGetToolsRoot() != nullptr ? 1 : 0; });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(roots, 8);
    EXPECT_EQ(TakeJournal().size(), 3U);
}

TEST_F(SiblingModules, AreLeftAloneAtTheEndOfTheProcess) {
    EXPECT_EXIT(
        {
            VnGetToolsRoot();
            std::exit(7);
        },
        testing::ExitedWithCode(7), "");
    EXPECT_EQ(TakeJournal().size(), 3U) << "their own static objects may be gone by then";
}

struct FactoryCase {
    const char* Export;
    void* (*Call)();
};

#define VN_FACTORY_CASE(NAME) {#NAME, [] { return static_cast<void*>(NAME()); }},
// The test modules give the name of the called export as the object.
const FactoryCase kFactoryCases[] = {VN_FOR_EACH_PLAIN_FACTORY(VN_FACTORY_CASE)};

TEST_F(SiblingModules, ForwardEachFactoryToTheExportOfItsName) {
    for (const FactoryCase& row : kFactoryCases) {
        EXPECT_STREQ(static_cast<const char*>(row.Call()), row.Export);
    }
}

TEST_F(SiblingModules, PassArgumentsOnUnchanged) {
    Load(VnSiblingModule::Reader);
    TakeJournal();
    EXPECT_NE(CreateGenericReaderDLL(L"/a b.mp3"), nullptr);
    EXPECT_NE(CreateInternetReaderDLL(L"http://host/"), nullptr);
    EXPECT_NE(CreateSocketReaderDLL(L"name [UDP]", 1), nullptr);
    EXPECT_NE(CreateTruncatingReaderDLL("text", int64_t{1} << 40, 2.5, true), nullptr);
    EXPECT_THAT(TakeJournal(),
                ElementsAre("libVnReader.so CreateGenericReaderDLL /a b.mp3",
                            "libVnReader.so CreateInternetReaderDLL http://host/",
                            "libVnReader.so CreateSocketReaderDLL name [UDP] 1",
                            "libVnReader.so CreateTruncatingReaderDLL text 1099511627776 2.5 1"));
}

TEST_F(SiblingModules, GiveNullForAMissingExportOrModule) {
    UseTestModules("Bare");
    EXPECT_EQ(CreateGenericReaderDLL(L"/a"), nullptr);
    EXPECT_EQ(CreateDVDReaderDLL(L"/a"), nullptr);
    testing::internal::CaptureStdout();
    EXPECT_EQ(GetDiscManagerDLL(), nullptr);
    EXPECT_THAT(testing::internal::GetCapturedStdout(), HasSubstr("libVnDisc.so"));
}

TEST_F(SiblingModules, LoadTheProductOnceUnlessAskedAgain) {
    EXPECT_TRUE(VnLoadTools(L"product", true, false, false, true, 42));
    const std::vector<std::string> first = TakeJournal();
    ASSERT_GE(first.size(), 2U);
    EXPECT_EQ(first[first.size() - 2], "libVnTools.so LoadProduct 'product' 0 1");
    EXPECT_EQ(first.back(), "libVnTools.so ProductLoaded 42");

    EXPECT_TRUE(VnLoadTools(L"product", true, false));
    EXPECT_THAT(TakeJournal(), IsEmpty());

    EXPECT_TRUE(VnLoadTools(L"", true, false, /*reload=*/true));
    EXPECT_THAT(TakeJournal(),
                ElementsAre("libVnTools.so LoadProduct '' 1 0", "libVnTools.so ProductLoaded 0"));
}

struct ProductFailure {
    const char* Modules;
    const char* Error; ///< null: the module gives a product
    const char* Reason;
};

constexpr ProductFailure kProductFailures[] = {
    {"Entry", "it is broken", "it is broken"},
    {"Entry", "", "Unknown error loading product information"},
    {"Bare", nullptr, "Failed to load VnTools"},
};

TEST_F(SiblingModules, ReportAFailedProductOnStandardError) {
    for (const ProductFailure& row : kProductFailures) {
        SCOPED_TRACE(row.Reason);
        VnSiblingModules::GetInstance().UnloadAll(/*detachFirst=*/false);
        UseTestModules(row.Modules);
        if (row.Error != nullptr) {
            setenv("VN_TEST_PRODUCT_ERROR", row.Error, 1);
        }
        const std::string report =
            std::string(
                "The following module has failed to load:\r\nlibVnTools.so\r\n\r\nIt has reported the following "
                "error:\r\n\r\n")
            + row.Reason + "\r\n\r\nPlease reinstall the latest version of the program.\n";
        testing::internal::CaptureStderr();
        EXPECT_FALSE(VnLoadTools(L"", /*report=*/true, /*exitOnFailure=*/false));
        EXPECT_EQ(testing::internal::GetCapturedStderr(), report);

        testing::internal::CaptureStderr();
        EXPECT_FALSE(VnLoadTools(L"", /*report=*/false, /*exitOnFailure=*/false, /*reload=*/true));
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    }
    EXPECT_EXIT(VnLoadTools(L"", /*report=*/true, /*exitOnFailure=*/true, /*reload=*/true),
                testing::ExitedWithCode(0), "has failed to load");
}

TEST_F(SiblingModules, HearOfChangedPaths) {
    CProcessInfo* info = CProcessInfo::GetInstance();
    const VnString install = info->GetInstallDirectory();
    info->SetPaths(install, /*all=*/false, /*onlyIfFilledHere=*/false);
    EXPECT_THAT(TakeJournal(), IsEmpty()) << "the tools module is not loaded for this";
    VnGetToolsRoot();
    TakeJournal();
    info->SetPaths(install, /*all=*/false, /*onlyIfFilledHere=*/false);
    EXPECT_THAT(TakeJournal(), ElementsAre("libVnTools.so PathsChanged"));
}

} // namespace
