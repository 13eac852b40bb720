#pragma once

#include "runtime/IVnApplicationInfo.h"

#include <string>

/// Where the user's data lives and which language the user reads. Both come from the process and
/// its environment at each call, so that a change of the paths shows at once.
class CApplicationInfo final : public IVnApplicationInfo {
public:
    bool LoadProduct(const wchar_t* product,
                     IVnDllString& error,
                     bool firstFlag,
                     bool secondFlag) override;
    void GetUserDataPath(IVnDllString& path) override;
    void GetLanguage(IVnDllString& language) override;
};

/// The user's data directory as UTF-8, with "/" at its end; empty when there is no home. It need
/// not exist.
std::string GetUserDataDirectory();
