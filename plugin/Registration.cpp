#include "plugin/Registration.h"

#include "core/VnString.h"
#include "runtime/VnSettingsKey.h"

#include <dlfcn.h>

namespace {

constexpr const wchar_t* kHandheldKey = L"Plugins\\Handheld";
constexpr const wchar_t* kPlugInKey = L"Portable Drives";

/// Version of the handheld interface that the plug-in speaks.
constexpr int32_t kInterfaceVersion = 7;

struct TextValue {
    const wchar_t* Name;
    const wchar_t* Value;
};

constexpr TextValue kTexts[] = {
    {L"Version", L"12.0.1"},
    {L"Copyright", L"Copyright (c) Velnor"},
    {L"Company", L"Velnor"},
    {L"URL", L"https://www.velnor.example/"},
};

/// Full path of this module's own file; empty when the system does not know it.
VnString GetModuleFilename() {
    Dl_info info{};
    VnString path;
    if (dladdr(reinterpret_cast<const void*>(&VnRegisterPortableDrives), &info) != 0) {
        path.SetUTF8(info.dli_fname);
    }
    return path;
}

} // namespace

void VnRegisterPortableDrives() {
    VnSettingsKey key(VnString(kHandheldKey) + L"\\" + kPlugInKey);
    key.SetInt(L"IVersion", kInterfaceVersion);
    for (const TextValue& text : kTexts) {
        key.SetString(text.Name, text.Value);
    }
    key.SetInt(L"Configurable", 0);
    key.SetString(L"Path", GetModuleFilename());
}

void VnUnregisterPortableDrives() {
    VnSettingsKey(kHandheldKey).DeleteSubKey(kPlugInKey);
}
