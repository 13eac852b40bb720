#include "files/VnFilename.h"

namespace {

/// Port that a scheme means when the URL names none, by the number of GetURLScheme.
int32_t GetDefaultPort(int32_t scheme) {
    switch (scheme) {
    case 1:
        return 21;
    case 3:
        return 80;
    case 4:
        return 443;
    default:
        return 0;
    }
}

VnString Join(const VnString& name, const VnString& extension) {
    return extension.IsEmpty() ? name : name + L'.' + extension;
}

} // namespace

VnString VnFilename::GetLocalPath(const VnString& text) {
    // Nearly every name is neither a file URL nor a token, and shares the text it came from.
    switch (text.GetText()[0]) {
    case L'f':
    case L'F':
    case L'(':
        break;
    default:
        return text;
    }
    VnString path = text;
    ConvertPathStyle(path, PathStyleFileURL, PathStyleNative);
    ExpandInstallDrive(path);
    return path;
}

VnString VnFilename::GetDrive() const {
    return GetDrive(Filename);
}

VnString VnFilename::GetDrive(const VnString& text) {
    VnString drive;
    Split(text, {.Drive = &drive});
    return drive;
}

VnString VnFilename::GetScheme() const {
    VnString scheme = GetDrive();
    scheme.TrimRight(L"/:");
    return scheme;
}

VnString VnFilename::GetDirectory() const {
    VnString directory;
    Split({.Directory = &directory});
    return directory;
}

VnString VnFilename::GetPathOnly() const {
    return GetPathOnly(Filename);
}

VnString VnFilename::GetPathOnly(const VnString& text) {
    VnString drive;
    VnString directory;
    Split(text, {.Drive = &drive, .Directory = &directory});
    return drive.IsEmpty() ? directory : drive + directory;
}

VnString VnFilename::GetPathAndName() const {
    VnString path;
    VnString directory;
    VnString name;
    Split({.Drive = &path, .Directory = &directory, .Name = &name});
    path.Append(directory, directory.GetLength(), name, name.GetLength());
    return path;
}

VnString VnFilename::GetName() const {
    VnString name;
    Split({.Name = &name});
    return name;
}

VnString VnFilename::GetNameAndExtension(bool appendPostExtensionData) const {
    VnString name;
    VnString extension;
    Split({.Name = &name, .Extension = &extension});
    name = Join(name, extension);
    if (appendPostExtensionData) {
        AppendPostExtensionData(name);
    }
    return name;
}

VnString VnFilename::GetExtension(bool useFileType) const {
    VnString extension;
    if (useFileType && HasProperties()) {
        extension = GetProperty(kFileType);
    }
    if (extension.IsEmpty()) {
        Split({.Extension = &extension});
    }
    return extension;
}

VnString VnFilename::GetDirectoryNameAndExtension() const {
    VnString directory;
    VnString name;
    VnString extension;
    Split({.Directory = &directory, .Name = &name, .Extension = &extension});
    return directory + Join(name, extension);
}

VnString VnFilename::GetLastDirectory(bool keepSlash) const {
    const VnString directory = GetDirectory();
    const int32_t last = directory.ReverseFindOneOf(L"/\\");
    const int32_t previous = last > 0 ? directory.ReverseFindOneOf(L"/\\", last - 1) : -1;
    if (previous < 0) {
        return {};
    }
    return directory.Mid(previous + 1, last - previous - (keepSlash ? 0 : 1));
}

VnString VnFilename::GetHost() const {
    VnString host;
    Split({.Host = &host});
    return host;
}

int32_t VnFilename::GetPort(bool useDefault) const {
    int32_t port = 0;
    Split({.Port = &port});
    const int32_t standard = useDefault && port <= 0 ? GetDefaultPort(GetURLScheme()) : 0;
    return standard > 0 ? standard : port;
}

VnString VnFilename::GetHostAndPort(bool useDefault) const {
    VnString host = GetHost();
    const int32_t port = GetPort(useDefault);
    if ((static_cast<uint32_t>(port) & 0xFFFFU) != 0) {
        host.AppendFormat(L":%d", port);
    }
    return host;
}

void VnFilename::GetUserAndPassword(VnString& user, VnString& password) const {
    Split({.User = &user, .Password = &password});
}

VnString VnFilename::GetQuery(bool withMark) const {
    VnString query;
    Split({.Query = &query});
    return withMark && !query.IsEmpty() ? L'?' + query : query;
}

VnString VnFilename::GetURLPath(bool withQuery) const {
    VnString name;
    VnString extension;
    VnString query;
    VnString path;
    Split({.Name = &name, .Extension = &extension, .Query = &query, .PathOnHost = &path});
    path += Join(name, extension);
    if (withQuery && !query.IsEmpty()) {
        path += L'?' + query;
    }
    return path;
}

VnString VnFilename::GetURLParentPath() const {
    const VnString path = GetURLPath(false);
    const int32_t slash = path.ReverseFind(L'/');
    return slash < 1 ? VnString() : path.Left(slash + 1);
}
