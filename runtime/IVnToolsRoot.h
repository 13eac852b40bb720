#pragma once

#include <cstddef>
#include <cstdint>

class IMainThreadMessageManager;
class IVnApplicationInfo;
class IVnDateService;
class IVnDecompressor;
class IVnDialogService;
class IVnLogManager;
class IVnMIMEService;
class IVnPathService;
class IVnSettingsKey;
class IVnStringTools;
class IVnTagReader;
class IVnTranslator;

/// Root object of the tools module, given by its export `GetVnToolsDLL`.
///
/// The module owns the root and every service that a getter returns; they live until Uninitialize.
/// A getter's `create` is 1 to make the service when it is not there yet, 0 to get null then. What
/// a factory returns is freed through its own deleting slot. Any thread may call; slots are only
/// appended.
class IVnToolsRoot {
public:
    /// Interface version that `GetVnToolsDLL` is asked for; it gives null for any other.
    static constexpr int32_t kVersion = 200048;

    /// Slot 0. Called once behind the entry; `moduleHandle` is the caller's application handle.
    virtual bool Initialize(int32_t flag, uintptr_t moduleHandle) = 0;
    /// Slot 1. Called once before the module is closed; no service may be used behind it.
    virtual bool Uninitialize(int32_t flag, uintptr_t moduleHandle) = 0;
    /// Slot 2. The module with this handle is about to go.
    virtual void Detach(uintptr_t moduleHandle) = 0;
    /// Slot 3. The product of GetApplicationInfo was loaded.
    virtual void ProductLoaded(int64_t value) = 0;
    /// Slot 4.
    virtual IVnStringTools* GetStringTools(int32_t create) = 0;
    /// Slot 5.
    virtual IVnTranslator* GetTranslator(int32_t create) = 0;
    /// Slot 6.
    virtual IVnApplicationInfo* GetApplicationInfo(int32_t create) = 0;
    /// Slot 7.
    virtual IVnLogManager* GetLogManager(int32_t create) = 0;
    /// Slot 8.
    virtual IVnDialogService* GetDialogService(int32_t create) = 0;
    /// Slot 9.
    virtual IVnMIMEService* GetMIMEService(int32_t create) = 0;
    /// Slot 10.
    virtual IMainThreadMessageManager* GetMainThreadMessageManager(int32_t create) = 0;
    /// Slot 11.
    virtual IVnDateService* GetDateService(int32_t create) = 0;
    /// Slot 12.
    virtual IVnPathService* GetPathService(int32_t create) = 0;
    /// Slot 13. Opens a key of the settings tree by its back-slash separated path; null when it is
    /// missing and `create` is 0. `reserved` is 0. The caller closes the key by
    /// IVnSettingsKey::Close.
    virtual IVnSettingsKey* OpenKey(const wchar_t* path, int32_t create, int32_t reserved) = 0;
    /// Slot 14. The same below an open key; null `parent` is the root of the tree.
    virtual IVnSettingsKey*
    OpenSubKey(IVnSettingsKey* parent, const wchar_t* name, int32_t create) = 0;
    /// Slot 15. A stream that decodes gzip or zlib `data` of `size` bytes, which must outlive it.
    virtual IVnDecompressor* CreateDecompressor(const void* data, int64_t size) = 0;
    /// Slot 16. Memory that crosses a module boundary; null only when there is none left.
    virtual void* Allocate(size_t size) = 0;
    /// Slot 17. Gives back what Allocate gave; null is ignored.
    virtual void Free(void* memory) = 0;
    /// Slot 18. The paths of the process information have changed.
    virtual void PathsChanged() = 0;
    /// Slot 19. A new tag reader, freed through its deleting slot.
    virtual IVnTagReader* CreateTagReader() = 0;

protected:
    ~IVnToolsRoot() = default;
};
