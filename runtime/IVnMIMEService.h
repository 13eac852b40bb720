#pragma once

class IVnDllString;

/// Media types and file extensions.
class IVnMIMEService {
public:
    /// Slot 0. The extension, without dot, of a content type (parameters behind ";" are ignored);
    /// empty when unknown.
    virtual void GetExtension(const wchar_t* contentType, IVnDllString& extension) = 0;
    /// Slot 1. The content type of an extension, "application/octet-stream" when unknown.
    virtual void GetContentType(const wchar_t* extension, IVnDllString& contentType) = 0;

protected:
    ~IVnMIMEService() = default;
};
