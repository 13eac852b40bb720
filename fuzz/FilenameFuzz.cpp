#include "files/VnFilename.h"

#include "fuzz/FuzzText.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const VnString text = TextOf(data, size);
    VnString drive, directory, name, extension, query, user, password, host, path;
    bool isURL = false;
    int32_t port = 0;
    const VnFilenameParts parts{&drive, &directory, &name, &extension, &query, &isURL,
                                &user,  &password,  &host, &port,      &path};
    Require(VnFilename::Split(text, parts, /*lowerCaseExtension=*/false));
    Require(isURL == VnFilename::GetIsFileRemote(text));

    // The parts make the text again, in any case of a drive letter, but for a "/" that stands for
    // an empty directory, and a lone dot or question mark. A server alone is both drive and name.
    const VnString whole = VnFilename::GetLocalPath(text);
    if (drive == whole) {
        return 0;
    }
    VnFilename joined;
    joined.Assemble(drive, directory, name, extension, query);
    const int32_t added = joined.Filename.GetLength() - whole.GetLength();
    Require(added >= -2 && added <= 1);
    Require(added != 0 || directory == L"/" || joined.Filename.EqualsNoCase(whole));

    Require(VnFilename::GetDrive(text) == drive);
    Require(VnFilename::GetPathOnly(text) == drive + directory);
    Require(isURL || (host.IsEmpty() && query.IsEmpty() && port == 0));
    VnString style(text);
    VnFilename::ConvertPathStyle(style, PathStyleFileURL, PathStyleNative);
    Require(style.GetLength() <= text.GetLength());
    return 0;
}
