#include "modules/tools/CToolsRoot.h"

#include "modules/tools/CDecompressor.h"
#include "modules/tools/CSettingsKey.h"
#include "modules/tools/CTagReader.h"

#include <cstdlib>

CToolsRoot& CToolsRoot::Get() {
    static CToolsRoot* const kRoot = new CToolsRoot;
    return *kRoot;
}

bool CToolsRoot::Initialize([[maybe_unused]] int32_t flag,
                            [[maybe_unused]] uintptr_t moduleHandle) {
    const std::lock_guard<std::mutex> guard(Lock);
    if (Users++ == 0) {
        Messages.SetClosed(false);
    }
    return true;
}

bool CToolsRoot::Uninitialize([[maybe_unused]] int32_t flag,
                              [[maybe_unused]] uintptr_t moduleHandle) {
    const std::lock_guard<std::mutex> guard(Lock);
    if (Users < 1) {
        return false;
    }
    if (--Users == 0) {
        Messages.SetClosed(true);
        CloseFiles();
    }
    return true;
}

void CToolsRoot::CloseFiles() {
    LogManager.Close();
    Settings.Close();
}

void CToolsRoot::Detach([[maybe_unused]] uintptr_t moduleHandle) {
    // Nothing is kept for single modules: what one registered it removes itself.
}

void CToolsRoot::ProductLoaded([[maybe_unused]] int64_t value) {
    HasApplicationInfo.store(true);
}

void CToolsRoot::PathsChanged() {
    CloseFiles();
}

IVnStringTools* CToolsRoot::GetStringTools([[maybe_unused]] int32_t create) {
    return &StringTools;
}

IVnTranslator* CToolsRoot::GetTranslator([[maybe_unused]] int32_t create) {
    return &Translator;
}

IVnApplicationInfo* CToolsRoot::GetApplicationInfo(int32_t create) {
    // That it is there tells a loader that the product is loaded, so it must not be there unasked.
    if (create != 0) {
        HasApplicationInfo.store(true);
    }
    return HasApplicationInfo.load() ? &ApplicationInfo : nullptr;
}

IVnLogManager* CToolsRoot::GetLogManager([[maybe_unused]] int32_t create) {
    return &LogManager;
}

IVnDialogService* CToolsRoot::GetDialogService([[maybe_unused]] int32_t create) {
    return &DialogService;
}

IVnMIMEService* CToolsRoot::GetMIMEService([[maybe_unused]] int32_t create) {
    return &MIMEService;
}

IMainThreadMessageManager*
CToolsRoot::GetMainThreadMessageManager([[maybe_unused]] int32_t create) {
    return &Messages;
}

IVnDateService* CToolsRoot::GetDateService([[maybe_unused]] int32_t create) {
    return &DateService;
}

IVnPathService* CToolsRoot::GetPathService([[maybe_unused]] int32_t create) {
    return &PathService;
}

IVnSettingsKey* CToolsRoot::OpenPath(const CSettingsStore::Path& path, bool create) {
    return Settings.OpenKey(path, create) ? new CSettingsKey(Settings, path) : nullptr;
}

IVnSettingsKey*
CToolsRoot::OpenKey(const wchar_t* path, int32_t create, [[maybe_unused]] int32_t reserved) {
    return OpenPath(CSettingsStore::SplitPath(path), create != 0);
}

IVnSettingsKey*
CToolsRoot::OpenSubKey(IVnSettingsKey* parent, const wchar_t* name, int32_t create) {
    return OpenPath(parent == nullptr ? CSettingsStore::SplitPath(name)
                                      : static_cast<CSettingsKey*>(parent)->GetSubPath(name),
                    create != 0);
}

IVnDecompressor* CToolsRoot::CreateDecompressor(const void* data, int64_t size) {
    return new CDecompressor(data, size);
}

void* CToolsRoot::Allocate(size_t size) {
    return std::malloc(size == 0 ? 1 : size);
}

void CToolsRoot::Free(void* memory) {
    std::free(memory);
}

IVnTagReader* CToolsRoot::CreateTagReader() {
    return new CTagReader;
}
