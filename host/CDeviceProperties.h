#pragma once

#include "core/VnPropertyMap.h"

#include <string>
#include <string_view>
#include <vector>

/// The property text of a device: every key has a sensible value for a folder that is mounted
/// somewhere, and each may be overridden.
class CDeviceProperties {
public:
    /// The default set for a device at `root` (with a final "/") under a display name.
    CDeviceProperties(std::wstring_view root, std::wstring_view displayName);

    /// Applies "KEY=VALUE". In the value "\x01" stands for the character U+0001. False, with the
    /// reason in `error`, for a text without "=", and for the keys that say where the device is,
    /// which is the command line's affair. An unknown key is taken, and shows in GetUnknownKeys.
    bool Override(std::string_view assignment, std::string& error);

    /// The keys of overrides that neither the drive nor the host looks at, as they were written.
    const std::vector<std::wstring>& GetUnknownKeys() const { return UnknownKeys; }

    void Set(const wchar_t* key, std::wstring_view value);
    std::wstring Get(const wchar_t* key) const;
    int GetInt(const wchar_t* key) const { return Map.GetInt(key, 0); }

    /// The folder of a base path property as the drive makes it of the record: below the device
    /// root, with a final "/", its expressions unworked. Empty for a playlist folder of a device
    /// that takes none.
    std::wstring GetBasePath(const wchar_t* key) const;

    /// The record form that the drive reads.
    VnString Serialize() const;

private:
    std::wstring Root;
    VnPropertyMap Map;
    std::vector<std::wstring> UnknownKeys;
};
