// Stands for the system library of version resources. A file named "bad" has none, and one named
// "torn" cannot be read.

#include <cstdint>
#include <cstring>
#include <cwchar>

extern "C" {

[[gnu::visibility("default")]] uint32_t GetFileVersionInfoSizeW(const wchar_t* filename,
                                                                uint32_t* handle) {
    *handle = 77;
    return std::wcscmp(filename, L"bad") == 0 ? 0 : 8;
}

[[gnu::visibility("default")]] int32_t
GetFileVersionInfoW(const wchar_t* filename, uint32_t handle, uint32_t size, void* data) {
    std::memcpy(data, "resource", size);
    return handle == 77 && std::wcscmp(filename, L"torn") != 0 ? 1 : 0;
}

[[gnu::visibility("default")]] int32_t
VerQueryValueW(const void* data, const wchar_t* path, void** value, uint32_t* length) {
    static uint32_t Translation = 0x04b00409;
    static uint32_t Fixed[13] = {0xfeef04bd, 0x10000, 0x000c0003, 0x00050007};
    static wchar_t Company[] = L"The Company";
    static wchar_t Notice[] = L"All rights";
    struct {
        const wchar_t* Path;
        void* Value;
        uint32_t Length;
    } const values[] = {
        {L"\\", Fixed, sizeof(Fixed)},
        {L"\\VarFileInfo\\Translation", &Translation, sizeof(Translation)},
        {L"\\StringFileInfo\\040904b0\\CompanyName", Company, 12},
        {L"\\StringFileInfo\\040904b0\\LegalCopyright", Notice, 11},
    };
    if (std::memcmp(data, "resource", 8) != 0) {
        return 0;
    }
    for (const auto& row : values) {
        if (std::wcscmp(path, row.Path) == 0) {
            *value = row.Value;
            *length = row.Length;
            return 1;
        }
    }
    return 0;
}

} // extern "C"
