// A module that exports every entry of the family; the name of its file tells which of them are
// called.

#include "core/VnDllString.h"
#include "runtime/IVnApplicationInfo.h"
#include "runtime/IVnModuleRoot.h"
#include "runtime/IVnSettingsKey.h"
#include "runtime/IVnToolsRoot.h"
#include "tests/modules/Journal.h"

#include <cstdint>
#include <string>

namespace {

class ApplicationInfo final : public IVnApplicationInfo {
public:
    bool LoadProduct(const wchar_t* product,
                     IVnDllString& error,
                     bool firstFlag,
                     bool secondFlag) override {
        Note("LoadProduct '%ls' %d %d", product, firstFlag ? 1 : 0, secondFlag ? 1 : 0);
        if (IsAsked("VN_TEST_PRODUCT_ERROR")) {
            const std::string text = std::getenv("VN_TEST_PRODUCT_ERROR");
            error.Set(std::wstring(text.begin(), text.end()).c_str(), -1);
            return false;
        }
        return true;
    }
    void GetUserDataPath(IVnDllString& path) override { path.Empty(); }
    void GetLanguage(IVnDllString& language) override { language.Empty(); }
};

class SettingsKey final : public IVnSettingsKey {
public:
    void Close() override { Note("Close"); }
    int32_t SetString(const wchar_t* name,
                      const wchar_t* value,
                      int32_t reserved,
                      const wchar_t* text,
                      int32_t flag) override {
        Note("SetString %ls=%ls %d '%ls' %d", name, value, reserved, text, flag);
        return 1;
    }
    int32_t SetInt(const wchar_t* name, int64_t value, int32_t reserved, int32_t flag) override {
        Note("SetInt %ls=%ld %d %d", name, static_cast<long>(value), reserved, flag);
        return 1;
    }
    int32_t GetString(const wchar_t*, IVnDllString& value, const wchar_t* defaultValue) override {
        value.Set(defaultValue, -1);
        return 0;
    }
    int64_t GetInt(const wchar_t*, int64_t defaultValue) override { return defaultValue; }
    int32_t DeleteValue(const wchar_t*) override { return 0; }
    int32_t DeleteSubKey(const wchar_t* name, int32_t reserved) override {
        Note("DeleteSubKey %ls %d", name, reserved);
        return 1;
    }
    int32_t GetSubKeyName(int32_t, IVnDllString&) override { return 0; }
};

class ToolsRoot final : public IVnToolsRoot {
public:
    bool Initialize(int32_t flag, uintptr_t moduleHandle) override {
        Note("Initialize %d %lx", flag, static_cast<unsigned long>(moduleHandle));
        InfoMade = false;
        return true;
    }
    bool Uninitialize(int32_t flag, uintptr_t moduleHandle) override {
        Note("Uninitialize %d %lx", flag, static_cast<unsigned long>(moduleHandle));
        return true;
    }
    void Detach(uintptr_t moduleHandle) override {
        Note("RootDetach %lx", static_cast<unsigned long>(moduleHandle));
    }
    void ProductLoaded(int64_t value) override {
        Note("ProductLoaded %ld", static_cast<long>(value));
    }
    IVnStringTools* GetStringTools(int32_t) override { return nullptr; }
    IVnTranslator* GetTranslator(int32_t) override { return nullptr; }
    IVnApplicationInfo* GetApplicationInfo(int32_t create) override {
        InfoMade = InfoMade || create == 1;
        return InfoMade ? &Info : nullptr;
    }
    IVnLogManager* GetLogManager(int32_t) override { return nullptr; }
    IVnDialogService* GetDialogService(int32_t) override { return nullptr; }
    IVnMIMEService* GetMIMEService(int32_t) override { return nullptr; }
    IMainThreadMessageManager* GetMainThreadMessageManager(int32_t) override { return nullptr; }
    IVnDateService* GetDateService(int32_t) override { return nullptr; }
    IVnPathService* GetPathService(int32_t) override { return nullptr; }
    IVnSettingsKey* OpenKey(const wchar_t* path, int32_t create, int32_t reserved) override {
        Note("OpenKey %ls %d %d", path, create, reserved);
        return &Key;
    }
    IVnSettingsKey* OpenSubKey(IVnSettingsKey*, const wchar_t*, int32_t) override {
        return nullptr;
    }
    IVnDecompressor* CreateDecompressor(const void*, int64_t) override { return nullptr; }
    void* Allocate(size_t size) override { return std::malloc(size); }
    void Free(void* memory) override { std::free(memory); }
    void PathsChanged() override { Note("PathsChanged"); }
    IVnTagReader* CreateTagReader() override { return nullptr; }

private:
    ApplicationInfo Info;
    SettingsKey Key;
    bool InfoMade = false;
};

class ModuleRoot final : public IVnModuleRoot {
public:
    bool Initialize(int32_t flag) override {
        Note("Initialize %d", flag);
        return true;
    }
    bool Uninitialize(int32_t flag) override {
        Note("Uninitialize %d", flag);
        return true;
    }
};

ToolsRoot Tools;
ModuleRoot Root;

} // namespace

#define VN_DEFINE_NOTED(NAME)                                                                      \
    [[gnu::visibility("default")]] void NAME(int32_t flag) {                                       \
        Note(#NAME " %d", flag);                                                                   \
    }
#define VN_DEFINE_ROOT_ENTRY(NAME)                                                                 \
    [[gnu::visibility("default")]] IVnModuleRoot* NAME() {                                         \
        Note(#NAME);                                                                               \
        return IsAsked("VN_TEST_NULL_ROOT") ? nullptr : &Root;                                     \
    }

extern "C" {

[[gnu::visibility("default")]] int32_t Attach(uintptr_t number) {
    Note("Attach %lu", static_cast<unsigned long>(number));
    return 1;
}

[[gnu::visibility("default")]] int32_t Detach() {
    Note("Detach");
    return 1;
}

[[gnu::visibility("default")]] IVnToolsRoot* GetVnToolsDLL(int32_t version) {
    Note("GetVnToolsDLL %d", version);
    return IsAsked("VN_TEST_NULL_ROOT") ? nullptr : &Tools;
}

VN_DEFINE_ROOT_ENTRY(GetVnImageAppDLL)
VN_DEFINE_ROOT_ENTRY(GetVnPlayerDLL)
VN_DEFINE_ROOT_ENTRY(GetVnTelevisionDLL)

VN_DEFINE_NOTED(VnReaderInitialize)
VN_DEFINE_NOTED(VnDiscInitialize)
VN_DEFINE_NOTED(VnReaderUninitialize)
VN_DEFINE_NOTED(VnDiscUninitialize)

} // extern "C"
