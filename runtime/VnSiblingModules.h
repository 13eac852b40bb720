#pragma once

#include "runtime/VnCriticalSection.h"
#include "runtime/VnLoadLibrary.h"
#include "runtime/VnSiblingModule.h"
#include "runtime/VnSiblingModulesForward.h"

#include <atomic>
#include <cstdint>

class IVnToolsRoot;
class IVnModuleRoot;
class VnString;

/// The gate to the sibling modules: one table a module of the family, made when it is loaded and
/// destroyed at exit, which loads each sibling at first use.
///
/// A loaded sibling stays until UnloadAll; nothing is counted. One recursive lock guards loading
/// and unloading. Calls through a root or a symbol take no lock: their thread safety lies with the
/// sibling. A root pointer ends with UnloadAll. After the table's end (late in the exit of the
/// process) no module is loaded any more, every root is null, and the siblings are left alone:
/// their own static objects are gone by then.
class VnSiblingModules {
public:
    static constexpr int32_t kModuleCount = 7;

    VnSiblingModules() = default;
    ~VnSiblingModules();
    VnSiblingModules(const VnSiblingModules&) = delete;
    VnSiblingModules& operator=(const VnSiblingModules&) = delete;

    /// The one table of this module.
    static VnSiblingModules& GetInstance();

    /// File name of a module, such as "libVnTools.so".
    static const wchar_t* GetFileName(VnSiblingModule module);

    /// Path that is handed to the loader for a module: `directory` (null counts as empty), "/"
    /// unless that is empty, and the file name. A text with a backslash in it that begins with a
    /// drive letter or two backslashes is taken whole; any other gets the module directory of
    /// CProcessInfo ahead of it when that is set.
    static VnString GetModulePath(const wchar_t* directory, VnSiblingModule module);

    /// Makes sure that a module is loaded and its entry has run. True when it is loaded. A module
    /// whose entry is missing or gives no root is unloaded again, and the result is false.
    bool LoadModule(const wchar_t* directory, VnSiblingModule module);

    /// True when the module is loaded now; loads nothing.
    bool IsLoaded(VnSiblingModule module);

    /// Unloads disc, player, television, WM factory, image, reader and tools, in this order, each
    /// through its own uninitialise call. With `detachFirst` a loaded tools module is first told by
    /// its detach operation, which gets the application's module handle.
    void UnloadAll(bool detachFirst);

    /// Root of the tools module, or null when it is not loaded. One atomic load.
    IVnToolsRoot* GetToolsRoot() const { return Tools.load(std::memory_order_acquire); }

    /// Loads `module` with an empty directory and gives one of its exported symbols; null when the
    /// module or the symbol is missing.
    void* GetSymbol(VnSiblingModule module, const char* name);

private:
    struct Slot {
        VnLoadLibrary Library;
        bool Flag = false; ///< handed to initialise and uninitialise
        IVnModuleRoot* Root =
            nullptr; ///< of a module with a root of the common kind; owned by the module
    };

    Slot& GetSlot(VnSiblingModule module) { return Slots[static_cast<int32_t>(module)]; }
    bool RunEntry(VnSiblingModule module);
    bool RunToolsEntry();
    bool RunRootEntry(Slot& slot, const char* entryName);
    void Uninitialize(VnSiblingModule module);

    VnCriticalSection Lock; ///< guards Slots and Closed
    Slot Slots[kModuleCount];
    std::atomic<IVnToolsRoot*> Tools{nullptr}; ///< read without the lock
    bool Closed = false; ///< the table's end has come: nothing is loaded any more
};

/// Root of the tools module. With `load` the module is loaded when it is not yet, from `directory`
/// (see VnSiblingModules::GetModulePath). Null when it is missing. Cheap when the module is loaded:
/// one atomic load and no lock. The root belongs to the module and ends with
/// VnSiblingModules::UnloadAll.
IVnToolsRoot* VnGetToolsRoot(bool load = true, const wchar_t* directory = L"");

/// Loads the tools module together with its product information, which is asked for by
/// `productText`, `reload` and `productFlag`; on success the module is told `value`. A module that
/// already holds its application info answers true at once unless `reload` is set. On failure, with
/// `report`, standard error gets a line that names the module and the reason; with `exitOnFailure`
/// the process ends with exit code 0, otherwise the result is false.
bool VnLoadTools(const VnString& productText,
                 bool report,
                 bool exitOnFailure,
                 bool reload = false,
                 bool productFlag = false,
                 intptr_t value = 0);
