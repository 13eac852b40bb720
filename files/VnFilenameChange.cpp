#include "files/VnFilename.h"

void VnFilename::Assemble(const VnString& drive,
                          const VnString& directory,
                          const VnString& name,
                          const VnString& extension,
                          const VnString& query) {
    // The parts may be views of this very object's text, so the new text is built beside it.
    VnString text = drive;
    text.Append(directory, directory.GetLength(), name, name.GetLength());
    if (!extension.IsEmpty()) {
        text.Append(L".", 1, extension, extension.GetLength());
    }
    if (!query.IsEmpty()) {
        text.Append(L"?", 1, query, query.GetLength());
    }
    Filename = text;
}

void VnFilename::SetScheme(const VnString& scheme) {
    const int32_t end = Filename.Find(L"://");
    if (end < 0) {
        return;
    }
    VnString text = scheme;
    if (!text.EndsWith(L"://")) {
        text += L"://";
    }
    Filename = text + Filename.Mid(end + 3);
}

void VnFilename::SetURLDirectory(const VnString& directory) {
    if (!GetIsFileRemote()) {
        return;
    }
    VnString drive;
    VnString name;
    VnString extension;
    VnString query;
    VnString host;
    Split(
        {.Drive = &drive, .Name = &name, .Extension = &extension, .Query = &query, .Host = &host});
    Assemble(drive + host, directory, name, extension, query);
}

void VnFilename::SetPort(int32_t port) {
    if (!GetIsFileRemote()) {
        return;
    }
    VnString drive;
    VnString name;
    VnString extension;
    VnString query;
    VnString host;
    VnString path;
    Split({.Drive = &drive,
           .Name = &name,
           .Extension = &extension,
           .Query = &query,
           .Host = &host,
           .PathOnHost = &path});
    if ((static_cast<uint32_t>(port) & 0xFFFFU) != 0) {
        host.AppendFormat(L":%d", port);
    }
    Assemble(drive + host, path, name, extension, query);
}

void VnFilename::AddQueryParameter(const VnString& parameter) {
    const bool hasQuery = Filename.Find(L'?') >= 0;
    Filename.Append(hasQuery ? L"&" : L"?", 1, parameter, parameter.GetLength());
}

void VnFilename::IncrementName(bool useSuffix) {
    VnString drive;
    VnString directory;
    VnString name;
    Split({.Drive = &drive, .Directory = &directory, .Name = &name});
    name.MakeUnique(/*restart=*/useSuffix);
    Assemble(drive, directory, name, GetExtension(/*useFileType=*/true));
}
