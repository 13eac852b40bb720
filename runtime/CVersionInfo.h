#pragma once

#include "core/VnString.h"
#include "runtime/VnLoadLibrary.h"

#include <cstdint>
#include <memory>

/// Reader of a file's version resource.
///
/// The resource is read by three functions of a system library that this platform does not have:
/// they stay null until LoadFunctions finds them, and without them no file opens and no query
/// succeeds.
class CVersionInfo {
public:
    CVersionInfo() = default;
    explicit CVersionInfo(const VnString& filename) { Open(filename); }
    CVersionInfo(const CVersionInfo&) = delete;
    CVersionInfo& operator=(const CVersionInfo&) = delete;

    /// Takes the three functions from the library at `path`. True when it has all of them.
    bool LoadFunctions(const VnString& path);

    /// Reads the version resource of a file. kResultOk, or kResultFailure with the object cleared.
    int32_t Open(const VnString& filename);

    /// Forgets file and resource.
    void Close();

    /// The file's version as "a.b.c", or "a.b.c.d" with `fourParts`; zeros without a resource.
    /// Always 0.
    int32_t GetFileVersion(VnString& text, bool fourParts) const;

    // Texts of the resource in its first language: kResultOk, or kResultFailure with `text` empty.

    int32_t GetProductVersion(VnString& text) const;
    int32_t GetCompanyName(VnString& text) const;
    int32_t GetProductName(VnString& text) const;
    int32_t GetFileDescription(VnString& text) const;
    int32_t GetLegalNotice(VnString& text) const;

private:
    using GetSizeFunction = uint32_t(const wchar_t* filename, uint32_t* handle);
    using GetInfoFunction = int32_t(const wchar_t* filename,
                                    uint32_t handle,
                                    uint32_t size,
                                    void* data);
    using QueryFunction = int32_t(const void* data,
                                  const wchar_t* path,
                                  void** value,
                                  uint32_t* length);

    bool Query(const wchar_t* path, void*& value, uint32_t& length) const;
    int32_t GetText(const wchar_t* key, VnString& text) const;

    VnString Filename;
    std::unique_ptr<uint8_t[]> Data;         ///< the whole resource
    uint32_t Language = 0;                   ///< low 16 bits the language, high 16 the code page
    VnLoadLibrary Library;                   ///< where the functions come from
    GetSizeFunction* GetSizeEntry = nullptr; ///< "GetFileVersionInfoSizeW"
    GetInfoFunction* GetInfoEntry = nullptr; ///< "GetFileVersionInfoW"
    QueryFunction* QueryEntry = nullptr;     ///< "VerQueryValueW"
};
