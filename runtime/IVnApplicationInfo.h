#pragma once

class IVnDllString;

/// What the tools module knows of the running program.
class IVnApplicationInfo {
public:
    /// Slot 0. Loads the product's information. On failure false, with the reason in `error`.
    virtual bool
    LoadProduct(const wchar_t* product, IVnDllString& error, bool firstFlag, bool secondFlag) = 0;
    /// Slot 1. The user's data directory, ending in "/"; empty when there is none.
    virtual void GetUserDataPath(IVnDllString& path) = 0;
    /// Slot 2. The English name of the user's language, such as "German".
    virtual void GetLanguage(IVnDllString& language) = 0;

protected:
    ~IVnApplicationInfo() = default;
};
