#pragma once

#include <cstdint>

class IVnDllString;

/// An open key of the settings tree. Names are compared in any letter case; values are typed. One
/// thread at a time.
class IVnSettingsKey {
public:
    /// Slot 0. Closes the key and frees the object.
    virtual void Close() = 0;
    /// Slot 1. Non-zero on success. `reserved`, `text` and `flag` are 0, "" and 0.
    virtual int32_t SetString(const wchar_t* name,
                              const wchar_t* value,
                              int32_t reserved,
                              const wchar_t* text,
                              int32_t flag) = 0;
    /// Slot 2.
    virtual int32_t SetInt(const wchar_t* name, int64_t value, int32_t reserved, int32_t flag) = 0;
    /// Slot 3. The text of a value, `defaultValue` when it is missing; non-zero when it was there.
    virtual int32_t
    GetString(const wchar_t* name, IVnDllString& value, const wchar_t* defaultValue) = 0;
    /// Slot 4. The number of a value; a text is read as a decimal number.
    virtual int64_t GetInt(const wchar_t* name, int64_t defaultValue) = 0;
    /// Slot 5. Non-zero when the value was there and went.
    virtual int32_t DeleteValue(const wchar_t* name) = 0;
    /// Slot 6. Deletes a sub-key with everything below it; non-zero when it was there.
    virtual int32_t DeleteSubKey(const wchar_t* name, int32_t reserved) = 0;
    /// Slot 7. The name of sub-key number `index`; 0 past the last.
    virtual int32_t GetSubKeyName(int32_t index, IVnDllString& name) = 0;

protected:
    ~IVnSettingsKey() = default;
};
