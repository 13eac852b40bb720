#include "runtime/CVersionInfo.h"

#include "core/VnResult.h"

namespace {

/// The head of the fixed part of a version resource.
struct FixedFileInfo {
    uint32_t Signature;
    uint32_t StructureVersion;
    uint32_t FileVersionHigh; ///< first part in the upper 16 bits, second in the lower
    uint32_t FileVersionLow;  ///< third and fourth part
};

uint32_t UpperHalf(uint32_t value) {
    return value >> 16U;
}

uint32_t LowerHalf(uint32_t value) {
    return value & 0xFFFFU;
}

} // namespace

bool CVersionInfo::LoadFunctions(const VnString& path) {
    Close();
    GetSizeEntry = nullptr;
    GetInfoEntry = nullptr;
    QueryEntry = nullptr;
    if (!Library.Load(path)) {
        return false;
    }
    GetSizeEntry = Library.GetFunction<GetSizeFunction>("GetFileVersionInfoSizeW");
    GetInfoEntry = Library.GetFunction<GetInfoFunction>("GetFileVersionInfoW");
    QueryEntry = Library.GetFunction<QueryFunction>("VerQueryValueW");
    return GetSizeEntry != nullptr && GetInfoEntry != nullptr && QueryEntry != nullptr;
}

int32_t CVersionInfo::Open(const VnString& filename) {
    Close();
    if (GetSizeEntry == nullptr || GetInfoEntry == nullptr || QueryEntry == nullptr) {
        return kResultFailure;
    }
    uint32_t handle = 0;
    const uint32_t size = GetSizeEntry(filename, &handle);
    if (size == 0) {
        return kResultFailure;
    }
    Data = std::make_unique<uint8_t[]>(size);
    if (GetInfoEntry(filename, handle, size, Data.get()) == 0) {
        Close();
        return kResultFailure;
    }
    Filename = filename;
    void* translation = nullptr;
    uint32_t length = 0;
    if (Query(L"\\VarFileInfo\\Translation", translation, length) && length >= sizeof(Language)) {
        Language = *static_cast<const uint32_t*>(translation);
    }
    return kResultOk;
}

void CVersionInfo::Close() {
    Filename.Empty();
    Data.reset();
    Language = 0;
}

int32_t CVersionInfo::GetFileVersion(VnString& text, bool fourParts) const {
    void* value = nullptr;
    uint32_t length = 0;
    FixedFileInfo info{};
    if (Query(L"\\", value, length) && length >= sizeof(info)) {
        info = *static_cast<const FixedFileInfo*>(value);
    }
    text.Format(fourParts ? L"%u.%u.%u.%u" : L"%u.%u.%u", UpperHalf(info.FileVersionHigh),
                LowerHalf(info.FileVersionHigh), UpperHalf(info.FileVersionLow),
                LowerHalf(info.FileVersionLow));
    return 0;
}

int32_t CVersionInfo::GetProductVersion(VnString& text) const {
    return GetText(L"ProductVersion", text);
}

int32_t CVersionInfo::GetCompanyName(VnString& text) const {
    return GetText(L"CompanyName", text);
}

int32_t CVersionInfo::GetProductName(VnString& text) const {
    return GetText(L"ProductName", text);
}

int32_t CVersionInfo::GetFileDescription(VnString& text) const {
    return GetText(L"FileDescription", text);
}

int32_t CVersionInfo::GetLegalNotice(VnString& text) const {
    return GetText(L"LegalCopyright", text);
}

bool CVersionInfo::Query(const wchar_t* path, void*& value, uint32_t& length) const {
    return QueryEntry != nullptr && Data != nullptr
           && QueryEntry(Data.get(), path, &value, &length) != 0 && value != nullptr;
}

int32_t CVersionInfo::GetText(const wchar_t* key, VnString& text) const {
    text.Empty();
    VnString path = VnString::Formatted(L"\\StringFileInfo\\%04x%04x\\", LowerHalf(Language),
                                        UpperHalf(Language));
    path += key;
    void* value = nullptr;
    uint32_t length = 0;
    if (!Query(path, value, length)) {
        return kResultFailure;
    }
    text = static_cast<const wchar_t*>(value);
    return kResultOk;
}
