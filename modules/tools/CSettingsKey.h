#pragma once

#include "modules/tools/CSettingsStore.h"
#include "runtime/IVnSettingsKey.h"

/// One open key. It knows its place by path, so a key that is deleted meanwhile is made anew by the
/// next write.
class CSettingsKey final : public IVnSettingsKey {
public:
    CSettingsKey(CSettingsStore& store, CSettingsStore::Path path);

    void Close() override { delete this; }
    int32_t SetString(const wchar_t* name,
                      const wchar_t* value,
                      int32_t reserved,
                      const wchar_t* text,
                      int32_t flag) override;
    int32_t SetInt(const wchar_t* name, int64_t value, int32_t reserved, int32_t flag) override;
    int32_t
    GetString(const wchar_t* name, IVnDllString& value, const wchar_t* defaultValue) override;
    int64_t GetInt(const wchar_t* name, int64_t defaultValue) override;
    int32_t DeleteValue(const wchar_t* name) override;
    int32_t DeleteSubKey(const wchar_t* name, int32_t reserved) override;
    int32_t GetSubKeyName(int32_t index, IVnDllString& name) override;

    /// The path of a sub-key, whose own path may have several segments.
    CSettingsStore::Path GetSubPath(const wchar_t* name) const;

private:
    ~CSettingsKey() = default;

    CSettingsStore& Store; ///< lives as long as the process
    const CSettingsStore::Path Path;
};
