#pragma once

#include "core/VnString.h"
#include "runtime/IVnSettingsKey.h"

#include <cstdint>
#include <memory>

/// An open key of the host's settings tree, closed with the object.
///
/// Without the tools module, or when the key does not exist and is not to be made, the object holds
/// no key: every operation then does nothing and gives false, 0 or the default. One thread at a
/// time.
class VnSettingsKey {
public:
    /// Opens the key at a path whose parts are separated by back-slashes; `create` makes it when it
    /// is missing.
    explicit VnSettingsKey(const wchar_t* path, bool create = true);

    bool IsOpen() const { return Key != nullptr; }

    /// Store a value; true when it was stored.
    bool SetString(const wchar_t* name, const wchar_t* value);
    bool SetInt(const wchar_t* name, int64_t value);

    /// The text of a value; `defaultValue` when there is none.
    VnString GetString(const wchar_t* name, const wchar_t* defaultValue = L"") const;
    int64_t GetInt(const wchar_t* name, int64_t defaultValue = 0) const;

    /// True when the value, or the sub-key with all below it, was there and went.
    bool DeleteValue(const wchar_t* name);
    bool DeleteSubKey(const wchar_t* name);

private:
    struct Closer {
        void operator()(IVnSettingsKey* key) const { key->Close(); }
    };

    std::unique_ptr<IVnSettingsKey, Closer> Key; ///< null when no key was opened
};
