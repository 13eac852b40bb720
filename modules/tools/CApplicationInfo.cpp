#include "modules/tools/CApplicationInfo.h"

#include "core/VnDllString.h"
#include "core/VnString.h"
#include "modules/tools/ToolsText.h"
#include "runtime/CProcessInfo.h"

#include <unicode/locid.h>

#include <clocale>
#include <cstdlib>

namespace {

constexpr char kUserFolder[] = ".velnor/Generic/";

/// The language code of the environment: the first entry of LANGUAGE, or else what names the
/// language of messages.
std::string GetLanguageCode() {
    for (const char* name : {"LANGUAGE", "LC_ALL", "LC_MESSAGES", "LANG"}) {
        const char* value = std::getenv(name);
        if (value != nullptr && *value != '\0') {
            const std::string text = value;
            return text.substr(0, text.find_first_of(":.@"));
        }
    }
    return std::string();
}

} // namespace

std::string GetUserDataDirectory() {
    std::string base;
    if (CProcessInfo* process = CProcessInfo::GetInstance(true)) {
        base = ToUTF8(process->GetApplicationDataPath());
    }
    if (base.empty() || base == "/") {
        return std::string(); // nobody keeps data in the root directory: there is no home
    }
    return base + (base.back() == '/' ? "" : "/") + kUserFolder;
}

bool CApplicationInfo::LoadProduct(const wchar_t* product,
                                   IVnDllString& error,
                                   [[maybe_unused]] bool firstFlag,
                                   [[maybe_unused]] bool secondFlag) {
    // The product is this installation itself: any name, and none, stands for it.
    static_cast<void>(product);
    error.Empty();
    return true;
}

void CApplicationInfo::GetUserDataPath(IVnDllString& path) {
    SetUTF8(path, GetUserDataDirectory());
}

void CApplicationInfo::GetLanguage(IVnDllString& language) {
    const std::string code = GetLanguageCode();
    if (code.empty() || code == "C" || code == "POSIX") {
        language.Set(L"English", -1);
        return;
    }
    icu::UnicodeString name;
    icu::Locale(code.c_str()).getDisplayLanguage(icu::Locale::getEnglish(), name);
    std::string bytes;
    name.toUTF8String(bytes);
    SetUTF8(language, bytes);
}
