#include "modules/tools/ToolsText.h"

#include "core/VnDllString.h"
#include "core/VnString.h"

#include <dlfcn.h>

std::string ToUTF8(const wchar_t* text) {
    return text == nullptr ? std::string() : std::string(VnStringUTF8(text).GetBytes());
}

std::string ToLowerUTF8(const wchar_t* text) {
    std::string bytes = ToUTF8(text);
    for (char& byte : bytes) {
        if (byte >= 'A' && byte <= 'Z') {
            byte = static_cast<char>(byte + ('a' - 'A'));
        }
    }
    return bytes;
}

void SetUTF8(IVnDllString& target, const std::string& text) {
    SetText(target, VnString::FromFileSystemText(text.c_str(), static_cast<int64_t>(text.size())));
}

void SetText(IVnDllString& target, const VnString& text) {
    target.Set(text, text.GetLength());
}

std::string GetModuleDirectory() {
    Dl_info info = {};
    if (::dladdr(reinterpret_cast<const void*>(&GetModuleDirectory), &info) == 0
        || info.dli_fname == nullptr) {
        return std::string();
    }
    const std::string path = info.dli_fname;
    const size_t slash = path.rfind('/');
    return slash == std::string::npos ? std::string() : path.substr(0, slash + 1);
}
