#include "runtime/VnSettingsKey.h"

#include "core/VnDllString.h"
#include "runtime/IVnToolsRoot.h"
#include "runtime/VnSiblingModules.h"

VnSettingsKey::VnSettingsKey(const wchar_t* path, bool create) {
    if (IVnToolsRoot* tools = VnGetToolsRoot()) {
        Key.reset(tools->OpenKey(path, create ? 1 : 0, 0));
    }
}

bool VnSettingsKey::SetString(const wchar_t* name, const wchar_t* value) {
    return Key != nullptr && Key->SetString(name, value, 0, L"", 0) != 0;
}

bool VnSettingsKey::SetInt(const wchar_t* name, int64_t value) {
    return Key != nullptr && Key->SetInt(name, value, 0, 0) != 0;
}

VnString VnSettingsKey::GetString(const wchar_t* name, const wchar_t* defaultValue) const {
    if (Key == nullptr) {
        return {defaultValue};
    }
    VnString value;
    VnDllString adapter(value);
    Key->GetString(name, adapter, defaultValue);
    return value;
}

int64_t VnSettingsKey::GetInt(const wchar_t* name, int64_t defaultValue) const {
    return Key == nullptr ? defaultValue : Key->GetInt(name, defaultValue);
}

bool VnSettingsKey::DeleteValue(const wchar_t* name) {
    return Key != nullptr && Key->DeleteValue(name) != 0;
}

bool VnSettingsKey::DeleteSubKey(const wchar_t* name) {
    return Key != nullptr && Key->DeleteSubKey(name, 0) != 0;
}
