#include "runtime/ILogManagerCustomOutput.h"
#include "runtime/IVnLogManager.h"
#include "runtime/IVnSettingsKey.h"
#include "runtime/VnLog.h"
#include "tests/modules/tools/OwnHome.h"

#include <gtest/gtest.h>

#include <new>
#include <string>
#include <thread>
#include <vector>

namespace {

/// Keeps every line with its category.
class Recorder final : public ILogManagerCustomOutput {
public:
    void Output(uint32_t category, const wchar_t* text, int32_t length) override {
        Lines.push_back(std::to_string(category) + " " + ToBytes(VnString(text, length)));
    }
    std::vector<std::string> Lines;
};

IVnLogManager& Manager() {
    return *VnGetToolsRoot()->GetLogManager(1);
}

/// The log in a home of its own.
class LogManager : public OwnHome {
protected:
    std::string File() const { return Folder.Read(".velnor/Generic/Logs/Velnor.log"); }
    static void SetCategories(int64_t categories) {
        IVnSettingsKey* key = VnGetToolsRoot()->OpenKey(L"Properties", 1, 0);
        key->SetInt(L"Log Categories", categories, 0, 0);
        key->Close();
    }
};

bool Holds(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

} // namespace

TEST_F(LogManager, WritesOnlyTheGeneralCategoryByDefault) {
    VnLog(kLogGeneral, L"Name", L"value %d of %s", 7, L"\u00fc\U0001f3b5");
    VnLog(kLogHandheld, L"Name", L"hidden");
    VnLog(kLogGeneral, L"N", L"%s", L"a\r\nb\nforged");
    const std::string file = File();
    EXPECT_TRUE(Holds(file, "[1] Name: value 7 of \xC3\xBC\xF0\x9F\x8E\xB5\n")) << file;
    EXPECT_FALSE(Holds(file, "hidden"));
    EXPECT_TRUE(Holds(file, "a  b forged\n")) << "an entry stays on one line";
    EXPECT_TRUE(Manager().IsWanted(kLogGeneral | kLogHandheld));
    EXPECT_FALSE(Manager().IsWanted(kLogHandheld));
}

TEST_F(LogManager, FollowsTheSettings) {
    SetCategories(kLogHandheld);
    VnLog(kLogGeneral, L"N", L"general");
    VnLog(kLogHandheld, L"N", L"handheld");
    SetCategories(0);
    VnLog(kLogHandheld, L"N", L"nothing");
    EXPECT_FALSE(Holds(File(), "general"));
    EXPECT_TRUE(Holds(File(), "handheld"));
    EXPECT_FALSE(Holds(File(), "nothing"));
}

TEST_F(LogManager, HandsEveryEntryToTheOutputs) {
    Recorder first;
    Recorder second;
    Manager().AddCustomOutput(&first);
    Manager().AddCustomOutput(&first);
    Manager().AddCustomOutput(&second);
    VnLog(kLogDelete, L"Name", L"%d", 1);
    Manager().LogNarrow(kLogHandheld, nullptr, "\xC3\xA9 %d", nullptr, 4);
    Manager().RemoveCustomOutput(&first);
    Manager().Log(kLogGeneral, L"N", nullptr, nullptr, 0);
    Manager().RemoveCustomOutput(&second);
    VnLog(kLogDelete, L"Name", L"late");
    const std::vector<std::string> two = {"2048 Name: 1", "32 \xC3\xA9 0"};
    const std::vector<std::string> three = {"2048 Name: 1", "32 \xC3\xA9 0", "1 N: "};
    EXPECT_EQ(first.Lines, two);
    EXPECT_EQ(second.Lines, three);
}

TEST_F(LogManager, LetsAnOutputLogFailAndRemoveItself) {
    class Talker final : public ILogManagerCustomOutput {
    public:
        void Output(uint32_t, const wchar_t*, int32_t) override {
            Calls++;
            VnLog(kLogGeneral, L"Talker", L"echo");
            Manager().RemoveCustomOutput(this);
        }
        int Calls = 0;
    };
    class Thrower final : public ILogManagerCustomOutput {
    public:
        void Output(uint32_t, const wchar_t*, int32_t) override { throw std::bad_alloc(); }
    };
    Talker talker;
    Recorder recorder;
    Thrower thrower;
    Manager().AddCustomOutput(&talker);
    Manager().AddCustomOutput(&recorder);
    Manager().AddCustomOutput(&thrower);
    VnLog(kLogHandheld, L"N", L"one");
    VnLog(kLogHandheld, L"N", L"two");
    Manager().RemoveCustomOutput(&thrower);
    Manager().RemoveCustomOutput(&recorder);
    EXPECT_EQ(talker.Calls, 1);
    EXPECT_EQ(recorder.Lines, (std::vector<std::string>{"32 N: one", "32 N: two"}));
    EXPECT_TRUE(Holds(File(), "Talker: echo"));
}

TEST_F(LogManager, SerialisesThreads) {
    constexpr int kThreads = 4;
    constexpr int kEntries = 200;
    Recorder recorder;
    Manager().AddCustomOutput(&recorder);
    std::vector<std::thread> threads;
    for (int number = 0; number < kThreads; number++) {
        threads.emplace_back([number] {
            for (int i = 0; i < kEntries; i++) {
                VnLog(kLogHandheld, L"T", L"%d", number * kEntries + i);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    Manager().RemoveCustomOutput(&recorder);
    EXPECT_EQ(recorder.Lines.size(), static_cast<size_t>(kThreads * kEntries));
}
