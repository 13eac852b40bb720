#include "core/VnDllString.h"
#include "runtime/IVnSettingsKey.h"
#include "tests/modules/tools/OwnHome.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace {

struct KeyCloser {
    void operator()(IVnSettingsKey* key) const { key->Close(); }
};
using Key = std::unique_ptr<IVnSettingsKey, KeyCloser>;

Key Open(const wchar_t* path, bool create = true) {
    return Key(VnGetToolsRoot()->OpenKey(path, create ? 1 : 0, 0));
}

std::string GetString(const Key& key, const wchar_t* name, const wchar_t* defaultValue = L"none") {
    VnString value;
    VnDllString adapter(value);
    key->GetString(name, adapter, defaultValue);
    return ToBytes(value);
}

std::string SubKeys(const Key& key) {
    std::string names;
    VnString name;
    VnDllString adapter(name);
    for (int32_t i = 0; key->GetSubKeyName(i, adapter) != 0; i++) {
        names += ToBytes(name) + ";";
    }
    return names;
}

class Settings : public OwnHome {
protected:
    /// What the store would find in a new process.
    static void Reopen() { VnGetToolsRoot()->PathsChanged(); }
};

} // namespace

TEST_F(Settings, KeepTypedValuesAcrossProcesses) {
    const VnString odd = ToText("\xF0\x9F\x8E\xB5 \xFF '\"\n");
    {
        const Key key = Open(L"Plugins\\Handheld\\Drives");
        ASSERT_NE(key, nullptr);
        EXPECT_NE(key->SetString(L"Version", L"12.0.1", 0, L"", 0), 0);
        EXPECT_NE(key->SetInt(L"IVersion", 7, 0, 0), 0);
        EXPECT_NE(key->SetInt(L"Big", INT64_MIN, 0, 0), 0);
        EXPECT_NE(key->SetString(L"Odd", odd, 0, L"", 0), 0);
        EXPECT_NE(key->SetString(L"Empty", L"", 0, L"", 0), 0);
    }
    Reopen();
    const Key key = Open(L"plugins\\HANDHELD\\\\drives\\", false);
    ASSERT_NE(key, nullptr);
    EXPECT_EQ(GetString(key, L"version"), "12.0.1");
    EXPECT_EQ(GetString(key, L"IVersion"), "7");
    EXPECT_EQ(key->GetInt(L"IVersion", 0), 7);
    EXPECT_EQ(key->GetInt(L"Big", 0), INT64_MIN);
    EXPECT_EQ(key->GetInt(L"Version", 5), 12) << "a text reads as the number at its start";
    EXPECT_EQ(GetString(key, L"Odd"), ToBytes(odd));
    EXPECT_EQ(GetString(key, L"Empty"), "");
    EXPECT_EQ(GetString(key, L"Missing"), "none");
    EXPECT_EQ(key->GetInt(L"Missing", -3), -3);
}

TEST_F(Settings, OverwriteAndDeleteInAnyLetterCase) {
    const Key key = Open(L"Properties");
    key->SetString(L"Größe", L"1", 0, L"", 0);
    key->SetString(L"GRÖSSE", L"other", 0, L"", 0);
    key->SetInt(L"größe", 2, 0, 0);
    EXPECT_EQ(GetString(key, L"Größe"), "2");
    EXPECT_NE(key->DeleteValue(L"größe"), 0);
    EXPECT_EQ(key->DeleteValue(L"größe"), 0);
    EXPECT_EQ(GetString(key, L"Größe"), "none");
    EXPECT_EQ(GetString(key, L"grösse"), "other");
}

TEST_F(Settings, FormATree) {
    EXPECT_EQ(Open(L"A\\B", false), nullptr);
    Open(L"A\\B\\C")->SetInt(L"Value", 1, 0, 0);
    Open(L"A\\b2");
    const Key a = Open(L"A", false);
    EXPECT_EQ(SubKeys(a), "B;b2;");
    const Key sub(VnGetToolsRoot()->OpenSubKey(a.get(), L"B\\C", 0));
    ASSERT_NE(sub, nullptr);
    EXPECT_EQ(sub->GetInt(L"Value", 0), 1);

    EXPECT_EQ(a->DeleteSubKey(L"", 0), 0) << "the key itself stays";
    EXPECT_NE(a->DeleteSubKey(L"b", 0), 0);
    EXPECT_EQ(a->DeleteSubKey(L"b", 0), 0);
    EXPECT_EQ(SubKeys(a), "b2;");
    EXPECT_EQ(sub->GetInt(L"Value", 0), 0) << "what stood below went too";
    EXPECT_NE(sub->SetInt(L"Value", 9, 0, 0), 0) << "a write makes the key anew";
    EXPECT_EQ(SubKeys(a), "B;b2;");
}

TEST_F(Settings, AreSharedByThreads) {
    constexpr int kThreads = 4;
    constexpr int kValues = 50;
    std::vector<std::thread> threads;
    for (int number = 0; number < kThreads; number++) {
        threads.emplace_back([number] {
            for (int i = 0; i < kValues; i++) {
                const Key key = Open((L"Threads\\" + std::to_wstring(number)).c_str());
                key->SetInt(std::to_wstring(i).c_str(), i * number, 0, 0);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (int number = 0; number < kThreads; number++) {
        const Key key = Open((L"Threads\\" + std::to_wstring(number)).c_str(), false);
        for (int i = 0; i < kValues; i++) {
            EXPECT_EQ(key->GetInt(std::to_wstring(i).c_str(), -1), i * number);
        }
    }
}

TEST_F(Settings, StayInMemoryWithoutAUsableHome) {
    const std::string homes[] = {"/proc/self/nowhere", Folder.Write("file", "x")};
    for (const std::string& home : homes) {
        SCOPED_TRACE(home);
        UseHome(home);
        const Key key = Open(L"Properties");
        ASSERT_NE(key, nullptr);
        EXPECT_NE(key->SetString(L"A", L"kept", 0, L"", 0), 0);
        EXPECT_EQ(GetString(Open(L"Properties", false), L"A"), "kept");
    }
}

TEST_F(Settings, OfAReadOnlyFileAreReadAndChangedInMemory) {
    Open(L"Properties")->SetString(L"A", L"stored", 0, L"", 0);
    Reopen();
    const std::string data = Folder / ".velnor/Generic/";
    // A file that SQLite can't write, also for root: its journal's place is taken by a directory.
    std::filesystem::create_directories(data + "Settings.db-wal/x");
    std::filesystem::create_directories(data + "Settings.db-journal/x");
    const Key key = Open(L"Properties", false);
    ASSERT_NE(key, nullptr);
    EXPECT_EQ(GetString(key, L"A"), "stored");
    EXPECT_NE(key->SetString(L"A", L"changed", 0, L"", 0), 0);
    EXPECT_EQ(GetString(key, L"A"), "changed");
}

TEST_F(Settings, SurviveADamagedFile) {
    Folder.Write(".velnor/Generic/Settings.db", std::string(5000, 'x'));
    Reopen();
    const Key key = Open(L"Properties");
    ASSERT_NE(key, nullptr);
    EXPECT_NE(key->SetInt(L"A", 1, 0, 0), 0);
    EXPECT_EQ(key->GetInt(L"A", 0), 1);
}
