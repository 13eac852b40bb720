#include "host/CDevice.h"

#include "core/VnResult.h"
#include "core/VnString.h"
#include "host/HostText.h"
#include "runtime/CProcessInfo.h"
#include "runtime/IVnToolsRoot.h"
#include "runtime/VnSharedText.h"
#include "runtime/VnSiblingModules.h"

#include <dlfcn.h>

#include <filesystem>
#include <system_error>

namespace {

constexpr const char* kModuleName = "libVnPortableDrives.so";

std::string FindModuleFolder() {
    std::error_code failure;
    const std::filesystem::path program =
        std::filesystem::read_symlink("/proc/self/exe", failure).parent_path();
    for (const char* folder : {"../lib", "../lib/tonehall", "."}) {
        const std::filesystem::path found = (program / folder).lexically_normal();
        if (std::filesystem::exists(found / kModuleName, failure)) {
            std::string path = found.native();
            return path.ends_with('/') ? path : path + "/";
        }
    }
    return {};
}

} // namespace

CPlugin::~CPlugin() {
    if (Handle != nullptr) {
        if (auto* detach = reinterpret_cast<int32_t (*)()>(dlsym(Handle, "Detach"));
            detach != nullptr) {
            detach();
        }
        VnSiblingModules::GetInstance().UnloadAll(false);
        dlclose(Handle);
    }
}

bool CPlugin::Load(std::string& error) {
    const std::string folder = FindModuleFolder();
    if (folder.empty()) {
        error = std::string("the module ") + kModuleName + " is not beside the program";
        return false;
    }
    CProcessInfo* process = CProcessInfo::GetInstance(true);
    if (process != nullptr) {
        process->SetModuleDirectory(VnString::FromFileSystemText(folder.c_str()));
    }
    Path = folder + kModuleName;
    Handle = dlopen(Path.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
    if (Handle == nullptr) {
        error = dlerror();
        return false;
    }
    Create = reinterpret_cast<CreatePortableDriveFunction>(dlsym(Handle, "CreatePortableDrive"));
    auto* attach = reinterpret_cast<int32_t (*)(uintptr_t)>(dlsym(Handle, "Attach"));
    if (Create == nullptr || attach == nullptr) {
        error = Path + " is no plug-in of this kind";
        return false;
    }
    const uintptr_t number =
        process == nullptr ? 1 : static_cast<uintptr_t>(process->NextAttachNumber());
    if (attach(number) == 0 || VnGetToolsRoot() == nullptr) {
        error = "the plug-in did not start: the tools module is missing or damaged";
        return false;
    }
    return true;
}

IVnHandheld* CPlugin::CreateDevice(IVnHandheldHost* host) const {
    return Create(host);
}

bool CPlugin::CallPlain(const char* name) const {
    auto* function = reinterpret_cast<int32_t (*)()>(dlsym(Handle, name));
    return function != nullptr && function() == kResultOk;
}

CDevice::CDevice(const CPlugin& plugin, const CDeviceProperties& properties)
    : Properties(properties)
    , Drive(plugin.CreateDevice(&Host)) {
}

bool CDevice::Initialize() {
    wchar_t* text = VnCreateSharedText(Properties.Serialize());
    const int32_t result = Drive->Initialize(&text);
    VnFreeSharedText(text);
    return result == kResultOk;
}

bool CDevice::GetSpace(uint64_t& total, uint64_t& available) {
    return Drive->GetDriveSpace(MakeLocation({}).c_str(), &total, &available) == kResultOk;
}

void CDevice::GetFiles(const std::wstring& location,
                       const std::function<void(const CMediaFields&)>& sink,
                       const std::function<bool()>& isCancelled) {
    CHandheldScanList list(sink, [&] {
        if (isCancelled && isCancelled()) {
            Drive->Cancel();
        }
    });
    Drive->GetFiles(MakeLocation(location).c_str(), &list);
    list.Finish();
}

std::vector<std::wstring> CDevice::GetPlaylists() {
    wchar_t* names = nullptr;
    int32_t first = 0;
    int32_t second = 0;
    if (Drive->GetFolders(MakeLocation({}).c_str(), &names, &first, &second) != kResultOk) {
        return {};
    }
    return HostSplit(HostText(VnTakeSharedText(names)), L'\x01');
}

void CDevice::Delete(const std::vector<std::string>& paths) {
    std::vector<CHandheldRecord> records(paths.size());
    CHandheldList list;
    for (size_t index = 0; index < paths.size(); ++index) {
        records[index].Fields.Set(L"Filename", HostWiden(paths[index]));
        list.Items.push_back(&records[index]);
    }
    Command(kCommandDelete, L"", &list);
}

bool CDevice::Upload(CHandheldUpload& file) {
    CHandheldList list;
    list.Items.push_back(&file);
    return Command(kCommandUpload, L"", &list);
}

bool CDevice::SendPlaylist(const std::wstring& name, CHandheldList& list) {
    return Command(kCommandSendPlaylist, name.c_str(), &list);
}

void CDevice::BeginSync() {
    Command(kCommandBeginSync, L"", nullptr);
}

void CDevice::EndSync() {
    Command(kCommandEndSync, L"", nullptr);
}

void CDevice::HandleMenu(const std::wstring& location, bool run, CHandheldMenu& menu) {
    Drive->HandleFolderMenu(MakeLocation(location).c_str(), run ? 1 : 0, &menu);
}

std::wstring CDevice::MakeLocation(const std::wstring& below) const {
    const std::wstring name = Properties.Get(L"DisplayName");
    return below.empty() ? name : name + L"/" + below;
}

bool CDevice::Command(int32_t code, const wchar_t* text, IVnHandheldFileList* list) {
    int32_t failed = 0;
    const int32_t result = Drive->ProcessCommand(text, code, list, 0, &failed);
    return result == kResultOk && failed == 0;
}
