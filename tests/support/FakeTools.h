#pragma once

#include "core/VnString.h"
#include "runtime/ILogManagerCustomOutput.h"
#include "runtime/IMainThreadMessageManager.h"
#include "runtime/IVnLogManager.h"
#include "runtime/IVnStringTools.h"
#include "runtime/IVnToolsRoot.h"

#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

/// A log manager that writes down what it gets: "category|name|finished text|number of arguments".
class FakeLogManager final : public IVnLogManager {
public:
    void Log(uint32_t category,
             const wchar_t* name,
             const wchar_t* format,
             const VnFormatArg* const* args,
             int32_t count) override {
        std::vector<VnFormatArg> list;
        for (int32_t index = 0; index < count; ++index) {
            list.push_back(*args[index]);
        }
        VnString text;
        text.FormatList(format, list.data(), count);
        const VnString line = VnString::Formatted(L"%d|%s|%s|%d", category, name, text, count);
        Lines.emplace_back(VnStringUTF8(line).GetBytes());
        for (ILogManagerCustomOutput* output : Outputs) {
            output->Output(category, text.GetText(), text.GetLength());
        }
    }
    void LogNarrow(uint32_t category,
                   const wchar_t* name,
                   const char* format,
                   const VnFormatArg* const* args,
                   int32_t count) override {
        Log(category, name, VnString::FromUTF8(format), args, count);
    }
    void AddCustomOutput(ILogManagerCustomOutput* output) override { Outputs.push_back(output); }
    void RemoveCustomOutput(ILogManagerCustomOutput* output) override {
        std::erase(Outputs, output);
    }
    bool IsWanted(uint32_t /*category*/) override { return true; }

    std::vector<std::string> Lines;
    std::vector<ILogManagerCustomOutput*> Outputs;
};

/// A message queue that delivers at once, and writes down what it gets.
class FakeMessageManager final : public IMainThreadMessageManager {
public:
    bool
    Post(IMainThreadMessageManagerCallback* target, int32_t message, int64_t parameter) override {
        LastResult = target->OnMainThreadMessage(message, parameter);
        return true;
    }
    void Purge(IMainThreadMessageManagerCallback* /*target*/) override { Calls += "purge "; }
    void Forget(IMainThreadMessageManagerCallback* /*target*/) override { Calls += "forget "; }
    int32_t Pump() override { return 0; }
    int32_t GetEventDescriptor() override { return -1; }

    int64_t LastResult = 0;
    std::string Calls;
};

/// Compares by character codes, and writes down the mode and flag that it got.
class FakeStringTools final : public IVnStringTools {
public:
    int32_t FindNoCase(const wchar_t*, int32_t, const wchar_t*, int32_t, bool) override {
        return -1;
    }
    int32_t
    Compare(const wchar_t* a, const wchar_t* b, int32_t mode, bool flag, int32_t maximum) override {
        LastMode = mode;
        LastFlag = flag;
        LastMaximum = maximum;
        return VnString(a).Compare(b);
    }
    int32_t GetLeadingArticleLength(const wchar_t*) override { return 0; }
    int32_t GetTrailingArticleLength(const wchar_t*) override { return 0; }

    int32_t LastMode = -1;
    int32_t LastMaximum = 0;
    bool LastFlag = false;
};

/// A tools module in the test program, with the services above. A test that links with
/// `-Wl,--wrap=_Z14VnGetToolsRootbPKw` reaches it in the place of the real gate while it is
/// installed.
class FakeTools final : public IVnToolsRoot {
public:
    FakeTools() { Installed = this; }
    ~FakeTools() { Installed = nullptr; }
    FakeTools(const FakeTools&) = delete;
    FakeTools& operator=(const FakeTools&) = delete;

    bool Initialize(int32_t, uintptr_t) override { return true; }
    bool Uninitialize(int32_t, uintptr_t) override { return true; }
    void Detach(uintptr_t) override {}
    void ProductLoaded(int64_t) override {}
    IVnStringTools* GetStringTools(int32_t) override { return &StringTools; }
    IVnTranslator* GetTranslator(int32_t) override { return nullptr; }
    IVnApplicationInfo* GetApplicationInfo(int32_t) override { return nullptr; }
    IVnLogManager* GetLogManager(int32_t) override { return &Log; }
    IVnDialogService* GetDialogService(int32_t) override { return nullptr; }
    IVnMIMEService* GetMIMEService(int32_t) override { return nullptr; }
    IMainThreadMessageManager* GetMainThreadMessageManager(int32_t) override { return &Messages; }
    IVnDateService* GetDateService(int32_t) override { return nullptr; }
    IVnPathService* GetPathService(int32_t) override { return nullptr; }
    IVnSettingsKey* OpenKey(const wchar_t*, int32_t, int32_t) override { return nullptr; }
    IVnSettingsKey* OpenSubKey(IVnSettingsKey*, const wchar_t*, int32_t) override {
        return nullptr;
    }
    IVnDecompressor* CreateDecompressor(const void*, int64_t) override { return nullptr; }
    void* Allocate(size_t size) override { return std::malloc(size); }
    void Free(void* memory) override { std::free(memory); }
    void PathsChanged() override {}
    IVnTagReader* CreateTagReader() override { return nullptr; }

    FakeLogManager Log;
    FakeMessageManager Messages;
    FakeStringTools StringTools;

    static inline FakeTools* Installed = nullptr;
};
