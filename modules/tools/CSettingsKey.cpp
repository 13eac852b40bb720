#include "modules/tools/CSettingsKey.h"

#include "core/VnDllString.h"
#include "core/VnString.h"
#include "modules/tools/ToolsText.h"

#include <utility>

CSettingsKey::CSettingsKey(CSettingsStore& store, CSettingsStore::Path path)
    : Store(store)
    , Path(std::move(path)) {
}

int32_t CSettingsKey::SetString(const wchar_t* name,
                                const wchar_t* value,
                                [[maybe_unused]] int32_t reserved,
                                [[maybe_unused]] const wchar_t* text,
                                [[maybe_unused]] int32_t flag) {
    return Store.SetValue(Path, ToUTF8(name), ToUTF8(value)) ? 1 : 0;
}

int32_t CSettingsKey::SetInt(const wchar_t* name,
                             int64_t value,
                             [[maybe_unused]] int32_t reserved,
                             [[maybe_unused]] int32_t flag) {
    return Store.SetValue(Path, ToUTF8(name), value) ? 1 : 0;
}

int32_t
CSettingsKey::GetString(const wchar_t* name, IVnDllString& value, const wchar_t* defaultValue) {
    const CSettingsStore::Value stored = Store.GetValue(Path, ToUTF8(name));
    if (const auto* text = std::get_if<std::string>(&stored)) {
        SetUTF8(value, *text);
        return 1;
    }
    if (const auto* number = std::get_if<int64_t>(&stored)) {
        SetUTF8(value, std::to_string(*number));
        return 1;
    }
    value.Set(defaultValue, -1);
    return 0;
}

int64_t CSettingsKey::GetInt(const wchar_t* name, int64_t defaultValue) {
    const CSettingsStore::Value stored = Store.GetValue(Path, ToUTF8(name));
    if (const auto* number = std::get_if<int64_t>(&stored)) {
        return *number;
    }
    if (const auto* text = std::get_if<std::string>(&stored)) {
        return VnString::FromUTF8(text->c_str()).ToInt64();
    }
    return defaultValue;
}

int32_t CSettingsKey::DeleteValue(const wchar_t* name) {
    return Store.DeleteValue(Path, ToUTF8(name)) ? 1 : 0;
}

CSettingsStore::Path CSettingsKey::GetSubPath(const wchar_t* name) const {
    CSettingsStore::Path path = Path;
    for (std::string& segment : CSettingsStore::SplitPath(name)) {
        path.push_back(std::move(segment));
    }
    return path;
}

int32_t CSettingsKey::DeleteSubKey(const wchar_t* name, [[maybe_unused]] int32_t reserved) {
    const CSettingsStore::Path path = GetSubPath(name);
    return path.size() > Path.size() && Store.DeleteKey(path) ? 1 : 0;
}

int32_t CSettingsKey::GetSubKeyName(int32_t index, IVnDllString& name) {
    const std::string found = Store.GetSubKeyName(Path, index);
    SetUTF8(name, found);
    return found.empty() ? 0 : 1;
}
