#include "files/VnFilename.h"
#include "files/VnURL.h"

#include "fuzz/FuzzText.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const VnString text = TextOf(data, size);
    const VnFilename name(text);
    VnString drive;
    VnString directory;
    VnString file;
    VnString extension;
    VnString query;
    VnString user;
    VnString password;
    VnString host;
    VnString path;
    bool isURL = false;
    int32_t port = 0;
    VnFilenameParts parts;
    parts.Drive = &drive;
    parts.Directory = &directory;
    parts.Name = &file;
    parts.Extension = &extension;
    parts.Query = &query;
    parts.IsURL = &isURL;
    parts.User = &user;
    parts.Password = &password;
    parts.Host = &host;
    parts.Port = &port;
    parts.PathOnHost = &path;
    Require(name.Split(parts));
    Require(isURL == name.GetIsFileRemote());
    name.GetXMLForm();
    name.GetStorageForm();
    IsValidURL(text);
    VnURLMarks marks;
    if (ParseURLMarks(marks, text)) {
        Require(marks.Start <= marks.SchemeEnd && marks.SchemeEnd <= marks.AuthorityStart);
        Require(marks.AuthorityStart <= marks.HostStart && marks.HostStart <= marks.HostEnd);
        Require(marks.HostEnd <= marks.AuthorityEnd && marks.AuthorityEnd <= marks.PathEnd);
        Require(marks.PathEnd <= marks.QueryEnd
                && marks.QueryEnd <= text.GetText() + text.GetLength());
    }
    VnString reference(text);
    VnString base(L"http://h/x/y/a.m3u?q#f");
    ResolveRelativeURL(reference, base);
    VnString absolute(text);
    MakeAbsolute(absolute, L"/a/b/c.m3u");
    return 0;
}
