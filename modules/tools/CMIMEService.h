#pragma once

#include "runtime/IVnMIMEService.h"

#include <map>
#include <mutex>
#include <string>

/// Media types and extensions: a built-in table for the types of media files, and the system's
/// mime.types for all others. That file is read once, when the built-in table first has no answer.
class CMIMEService final : public IVnMIMEService {
public:
    void GetExtension(const wchar_t* contentType, IVnDllString& extension) override;
    void GetContentType(const wchar_t* extension, IVnDllString& contentType) override;

    /// The built-in type of a lower-case extension, such as "audio/mpeg"; null when it has none.
    static const char* FindBuiltInType(const std::string& extension);

private:
    void LoadSystemTable();

    std::once_flag Loaded;
    std::map<std::string, std::string> SystemTypes;      ///< extension to type
    std::map<std::string, std::string> SystemExtensions; ///< type to its first extension
};
