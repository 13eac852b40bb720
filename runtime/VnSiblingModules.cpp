#include "runtime/VnSiblingModules.h"

#include "core/VnDllString.h"
#include "core/VnString.h"
#include "plugin/VnApp.h"
#include "runtime/CProcessInfo.h"
#include "runtime/IVnApplicationInfo.h"
#include "runtime/IVnModuleRoot.h"
#include "runtime/IVnToolsRoot.h"

#include <cstdio>
#include <cstdlib>

namespace {

using ToolsEntry = IVnToolsRoot*(int32_t version);
using RootEntry = IVnModuleRoot*();
using InitializeFunction = void(int32_t flag);

/// The one table. It is made behind the application object and the streams, and ahead of all else.
[[gnu::init_priority(203)]] VnSiblingModules Table;

constexpr VnSiblingModule kUnloadOrder[VnSiblingModules::kModuleCount] = {
    VnSiblingModule::Disc,      VnSiblingModule::Player, VnSiblingModule::Television,
    VnSiblingModule::WMFactory, VnSiblingModule::Image,  VnSiblingModule::Reader,
    VnSiblingModule::Tools,
};

/// The handle that the application object was attached with; 0 for a module or program without one.
uintptr_t GetApplicationHandle() {
    const VnApp* application = VnApp::GetCurrent();
    return application == nullptr ? 0 : application->GetModuleHandle();
}

void CallIfExported(const VnLoadLibrary& library, const char* name, bool flag) {
    if (auto* function = library.GetFunction<InitializeFunction>(name)) {
        function(flag ? 1 : 0);
    }
}

/// Whether a text is a complete path of another platform: with a backslash, and a drive or server
/// at its start.
bool IsForeignCompletePath(const VnString& path) {
    return path.Find(L'\\') >= 0 && (path.Mid(1, 2) == L":\\" || path.StartsWith(L"\\\\"));
}

} // namespace

VnSiblingModules::~VnSiblingModules() {
    const VnCriticalSectionLock guard(Lock);
    Closed = true;
    Tools.store(nullptr);
    for (Slot& slot : Slots) {
        slot.Library.Abandon();
    }
}

VnSiblingModules& VnSiblingModules::GetInstance() {
    return Table;
}

const wchar_t* VnSiblingModules::GetFileName(VnSiblingModule module) {
    switch (module) {
    case VnSiblingModule::Tools:
        return L"libVnTools.so";
    case VnSiblingModule::Image:
        return L"libVnImage.so";
    case VnSiblingModule::Reader:
        return L"libVnReader.so";
    case VnSiblingModule::Disc:
        return L"libVnDisc.so";
    case VnSiblingModule::Player:
        return L"libVnPlayer.so";
    case VnSiblingModule::WMFactory:
        return L"libVnWMFactory.so";
    case VnSiblingModule::Television:
        return L"libVnTelevision.so";
    }
    return L"";
}

VnString VnSiblingModules::GetModulePath(const wchar_t* directory, VnSiblingModule module) {
    VnString path(directory);
    if (!path.IsEmpty()) {
        path += L'/';
    }
    path += GetFileName(module);
    return IsForeignCompletePath(path) ? path
                                       : CProcessInfo::GetInstance()->GetModuleDirectory() + path;
}

bool VnSiblingModules::LoadModule(const wchar_t* directory, VnSiblingModule module) {
    const VnCriticalSectionLock guard(Lock);
    Slot& slot = GetSlot(module);
    if (slot.Library.IsLoaded()) {
        return true;
    }
    if (Closed || !slot.Library.Load(GetModulePath(directory, module))) {
        return false;
    }
    if (!RunEntry(module)) {
        slot.Library.Unload();
        return false;
    }
    return true;
}

bool VnSiblingModules::IsLoaded(VnSiblingModule module) {
    const VnCriticalSectionLock guard(Lock);
    return GetSlot(module).Library.IsLoaded();
}

void* VnSiblingModules::GetSymbol(VnSiblingModule module, const char* name) {
    return LoadModule(L"", module) ? GetSlot(module).Library.GetSymbol(name) : nullptr;
}

bool VnSiblingModules::RunEntry(VnSiblingModule module) {
    Slot& slot = GetSlot(module);
    switch (module) {
    case VnSiblingModule::Tools:
        return RunToolsEntry();
    case VnSiblingModule::Image:
        return RunRootEntry(slot, "GetVnImageAppDLL");
    case VnSiblingModule::Player:
        return RunRootEntry(slot, "GetVnPlayerDLL");
    case VnSiblingModule::Television:
        return RunRootEntry(slot, "GetVnTelevisionDLL");
    case VnSiblingModule::Reader:
    case VnSiblingModule::Disc:
    case VnSiblingModule::WMFactory:
        CallIfExported(slot.Library, "VnReaderInitialize", slot.Flag);
        CallIfExported(slot.Library, "VnDiscInitialize", slot.Flag);
        return true;
    }
    return false;
}

bool VnSiblingModules::RunToolsEntry() {
    const Slot& slot = GetSlot(VnSiblingModule::Tools);
    auto* entry = slot.Library.GetFunction<ToolsEntry>("GetVnToolsDLL");
    IVnToolsRoot* root = entry == nullptr ? nullptr : entry(IVnToolsRoot::kVersion);
    if (root == nullptr || !root->Initialize(slot.Flag ? 1 : 0, GetApplicationHandle())) {
        return false;
    }
    Tools.store(root, std::memory_order_release);
    return true;
}

bool VnSiblingModules::RunRootEntry(Slot& slot, const char* entryName) {
    auto* entry = slot.Library.GetFunction<RootEntry>(entryName);
    IVnModuleRoot* root = entry == nullptr ? nullptr : entry();
    if (root == nullptr || !root->Initialize(slot.Flag ? 1 : 0)) {
        return false;
    }
    slot.Root = root;
    return true;
}

void VnSiblingModules::UnloadAll(bool detachFirst) {
    const VnCriticalSectionLock guard(Lock);
    if (IVnToolsRoot* root = GetToolsRoot(); detachFirst && root != nullptr) {
        root->Detach(GetApplicationHandle());
    }
    for (const VnSiblingModule module : kUnloadOrder) {
        if (GetSlot(module).Library.IsLoaded()) {
            Uninitialize(module);
            GetSlot(module).Library.Unload();
        }
    }
}

void VnSiblingModules::Uninitialize(VnSiblingModule module) {
    Slot& slot = GetSlot(module);
    const int32_t flag = slot.Flag ? 1 : 0;
    switch (module) {
    case VnSiblingModule::Tools:
        // Nobody is to find a root that is about to go.
        if (IVnToolsRoot* root = Tools.exchange(nullptr)) {
            root->Uninitialize(flag, GetApplicationHandle());
        }
        break;
    case VnSiblingModule::Reader:
        CallIfExported(slot.Library, "VnReaderUninitialize", slot.Flag);
        break;
    case VnSiblingModule::Disc:
        CallIfExported(slot.Library, "VnDiscUninitialize", slot.Flag);
        break;
    case VnSiblingModule::Image:
    case VnSiblingModule::Player:
    case VnSiblingModule::Television:
        slot.Root->Uninitialize(flag);
        slot.Root = nullptr;
        break;
    case VnSiblingModule::WMFactory:
        break;
    }
}

IVnToolsRoot* VnGetToolsRoot(bool load, const wchar_t* directory) {
    IVnToolsRoot* root = Table.GetToolsRoot();
    if (root == nullptr && load && Table.LoadModule(directory, VnSiblingModule::Tools)) {
        root = Table.GetToolsRoot();
    }
    return root;
}

bool VnLoadTools(const VnString& productText,
                 bool report,
                 bool exitOnFailure,
                 bool reload,
                 bool productFlag,
                 intptr_t value) {
    IVnToolsRoot* root = VnGetToolsRoot(/*load=*/false);
    if (!reload && root != nullptr && root->GetApplicationInfo(0) != nullptr) {
        return true;
    }
    VnString error;
    root = VnGetToolsRoot();
    if (root == nullptr) {
        error = L"Failed to load VnTools";
    } else {
        VnDllString errorAdapter(error);
        IVnApplicationInfo* info = root->GetApplicationInfo(1);
        if (info != nullptr && info->LoadProduct(productText, errorAdapter, reload, productFlag)) {
            root->ProductLoaded(value);
            return true;
        }
        if (error.IsEmpty()) {
            error = L"Unknown error loading product information";
        }
    }
    if (report) {
        const VnString line = VnString::Formatted(
            L"The following module has failed to load:\r\n%s\r\n\r\nIt has reported the following "
            L"error:\r\n\r\n%s\r\n\r\nPlease reinstall the latest version of the program.\n",
            VnSiblingModules::GetFileName(VnSiblingModule::Tools), error);
        std::fputs(VnStringUTF8(line), stderr);
    }
    if (exitOnFailure) {
        std::exit(0);
    }
    return false;
}

void* VnGetModuleSymbol(VnSiblingModule module, const char* name) {
    return Table.GetSymbol(module, name);
}

IVnReader* CreateGenericReaderDLL(const wchar_t* source) {
    return VnCallModuleFactory<IVnReader>(VnSiblingModule::Reader, "CreateGenericReaderDLL",
                                          source);
}

IVnReader* CreateInternetReaderDLL(const wchar_t* url) {
    return VnCallModuleFactory<IVnReader>(VnSiblingModule::Reader, "CreateInternetReaderDLL", url);
}

IVnReader* CreateSocketReaderDLL(const wchar_t* name, int32_t flag) {
    return VnCallModuleFactory<IVnReader>(VnSiblingModule::Reader, "CreateSocketReaderDLL", name,
                                          flag);
}
