#pragma once

#include "modules/tools/CApplicationInfo.h"
#include "modules/tools/CDateService.h"
#include "modules/tools/CDialogService.h"
#include "modules/tools/CLogManager.h"
#include "modules/tools/CMIMEService.h"
#include "modules/tools/CMainThreadMessages.h"
#include "modules/tools/CPathService.h"
#include "modules/tools/CSettingsStore.h"
#include "modules/tools/CStringTools.h"
#include "modules/tools/CTranslator.h"
#include "runtime/IVnToolsRoot.h"

#include <atomic>
#include <mutex>

/// The root object of the tools module, and the owner of its services.
///
/// There is one a process, however many modules of it load the tools; it is never destroyed, so
/// that a module which goes late can still log. Initialize and Uninitialize are counted: with the
/// last user the files are closed, and the next one finds all services in working order again.
/// Services are cheap until their first use.
class CToolsRoot final : public IVnToolsRoot {
public:
    static CToolsRoot& Get();

    bool Initialize(int32_t flag, uintptr_t moduleHandle) override;
    bool Uninitialize(int32_t flag, uintptr_t moduleHandle) override;
    void Detach(uintptr_t moduleHandle) override;
    void ProductLoaded(int64_t value) override;
    IVnStringTools* GetStringTools(int32_t create) override;
    IVnTranslator* GetTranslator(int32_t create) override;
    IVnApplicationInfo* GetApplicationInfo(int32_t create) override;
    IVnLogManager* GetLogManager(int32_t create) override;
    IVnDialogService* GetDialogService(int32_t create) override;
    IVnMIMEService* GetMIMEService(int32_t create) override;
    IMainThreadMessageManager* GetMainThreadMessageManager(int32_t create) override;
    IVnDateService* GetDateService(int32_t create) override;
    IVnPathService* GetPathService(int32_t create) override;
    IVnSettingsKey* OpenKey(const wchar_t* path, int32_t create, int32_t reserved) override;
    IVnSettingsKey*
    OpenSubKey(IVnSettingsKey* parent, const wchar_t* name, int32_t create) override;
    IVnDecompressor* CreateDecompressor(const void* data, int64_t size) override;
    void* Allocate(size_t size) override;
    void Free(void* memory) override;
    void PathsChanged() override;
    IVnTagReader* CreateTagReader() override;

private:
    CToolsRoot() = default;

    void CloseFiles();
    IVnSettingsKey* OpenPath(const CSettingsStore::Path& path, bool create);

    std::mutex Lock;   ///< guards Users
    int32_t Users = 0; ///< calls of Initialize that no Uninitialize has answered
    std::atomic<bool> HasApplicationInfo{false};
    CSettingsStore Settings;
    CApplicationInfo ApplicationInfo;
    CTranslator Translator;
    CStringTools StringTools{Settings};
    CLogManager LogManager{Settings};
    CDialogService DialogService;
    CMIMEService MIMEService;
    CMainThreadMessages Messages;
    CDateService DateService{Translator};
    CPathService PathService;
};
