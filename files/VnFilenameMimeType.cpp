#include "files/VnFilename.h"

#include "core/VnBuffer.h"
#include "core/VnDllString.h"
#include "files/VnFilenameDetail.h"
#include "files/VnURL.h"
#include "runtime/IVnMIMEService.h"
#include "runtime/IVnReader.h"
#include "runtime/IVnToolsRoot.h"
#include "runtime/VnLog.h"
#include "runtime/VnSiblingModules.h"

#include <algorithm>
#include <cstring>
#include <memory>

namespace {

constexpr uint32_t kLogCategory = 1;
constexpr int32_t kTimeoutMS = 5000;

/// Bytes of a body that are searched for a content type, and that a playlist may have.
constexpr int32_t kHeaderBytes = 512;
constexpr int32_t kPlaylistBytes = 0x10000;
constexpr int32_t kLargestPlaylist = 65535;

/// Pointer bodies that are followed in a row. Servers that point at each other would never end.
constexpr int32_t kMostHops = 16;

VnString GetReaderProperty(IVnReader& reader, const wchar_t* name) {
    VnString value;
    VnDllString adapter(value);
    reader.GetProperty(name, adapter);
    return value;
}

/// The file type that a scheme settles alone; empty for all others.
VnString GetTypeOfScheme(const VnFilename& filename) {
    if (filename.Filename.StartsWith(L"mms://", /*caseFlag=*/false)) {
        return L"asf";
    }
    if (filename.Filename.StartsWith(L"audiotest://", /*caseFlag=*/false)) {
        return L"audiotest";
    }
    return filename.GetIsRTMP() ? L"rtmp" : L"";
}

/// What the server says about its content, in its headers or, for streaming servers with a form of
/// their own, in the first bytes.
VnString GetContentType(const VnFilename& filename, std::unique_ptr<IVnReader>& reader) {
    VnString type = GetReaderProperty(*reader, L"ContentType");
    VnBuffer start;
    if (type.IsEmpty()
        && ReadURLData(filename, reader, start, kHeaderBytes, /*openFirst=*/false, kTimeoutMS)) {
        type = VnFilenameDetail::FindContentType(start);
    }
    VnLog(kLogCategory, L"VnFilename::SetFileTypeFromURLMimeType", L"Content-Type: %s", type);
    return type.IsEmpty() ? VnString(L"audio/mpeg") : type;
}

/// The extension of a content type; empty when nobody knows it.
VnString GetExtensionOf(const VnString& contentType) {
    VnString extension;
    IVnToolsRoot* root = VnGetToolsRoot();
    IVnMIMEService* service = root == nullptr ? nullptr : root->GetMIMEService(1);
    if (service != nullptr) {
        VnDllString adapter(extension);
        service->GetExtension(contentType, adapter);
    }
    return extension;
}

/// Whether content of this type may be a playlist in disguise.
bool MayBePlaylist(const VnString& extension) {
    return extension.EqualsNoCase(L"asf") || extension.EqualsNoCase(L"wmv")
           || extension.EqualsNoCase(L"wma") || extension.EqualsNoCase(L"htm");
}

/// What one look at a URL came to.
enum class Outcome {
    Failed,   ///< no file type
    Found,    ///< the type is set
    Redirect, ///< the name has become that of the real stream, which has to be looked at
};

Outcome Accept(VnFilename& filename, const VnString& type) {
    filename.SetFileType(type);
    return Outcome::Found;
}

/// The redirect of a server that refused: its target may say by its scheme what the stream is.
Outcome TryLocation(VnFilename& filename, IVnReader& reader, bool followPlaylist) {
    VnFilename target(GetReaderProperty(reader, L"Location"));
    if (!target.SetFileTypeFromURLMimeType(followPlaylist, /*allowNetwork=*/false)) {
        return Outcome::Failed;
    }
    return Accept(filename, target.GetExtension(/*useFileType=*/true));
}

Outcome Probe(VnFilename& filename, bool followPlaylist) {
    std::unique_ptr<IVnReader> reader(CreateInternetReaderDLL(filename.GetXMLForm()));
    if (reader == nullptr) {
        return Outcome::Failed;
    }
    reader->SetTimeout(kTimeoutMS);
    if (!reader->Open()) {
        return TryLocation(filename, *reader, followPlaylist);
    }
    const VnString extension = GetExtensionOf(GetContentType(filename, reader));
    if (extension.IsEmpty()) {
        return Outcome::Failed;
    }
    if (!MayBePlaylist(extension)
        || GetReaderProperty(*reader, L"ContentLength").ToInt64() > kLargestPlaylist) {
        return Accept(filename, extension);
    }
    VnBuffer body;
    if (!ReadURLData(filename, reader, body, kPlaylistBytes, /*openFirst=*/false, kTimeoutMS)) {
        return Accept(filename, extension);
    }
    if (body.FindText("<asx", /*caseFlag=*/false) >= 0) {
        return Accept(filename, L"asx");
    }
    const VnString target = followPlaylist ? VnFilenameDetail::GetPointerTarget(body) : VnString();
    if (target.IsEmpty() || target.EqualsNoCase(filename.Filename)) {
        return Accept(filename, extension);
    }
    filename.Set(target, /*clearProperties=*/false, /*lowerCaseExtension=*/true);
    return Outcome::Redirect;
}

} // namespace

VnString VnFilenameDetail::FindContentType(const VnBuffer& start) {
    static constexpr char kHeader[] = "content-type:";
    VnString type;
    const int64_t hit = start.FindText(kHeader, /*caseFlag=*/false);
    if (hit >= 0) {
        const auto* text = reinterpret_cast<const char*>(start.GetData());
        const char* from = text + hit + sizeof(kHeader) - 1;
        type.SetBytes(from, std::find(from, text + start.GetSize(), '\n') - from,
                      /*stopAtZero=*/true);
        type.Trim();
    }
    return type;
}

VnString VnFilenameDetail::GetPointerTarget(const VnBuffer& body) {
    VnString text =
        VnString::FromBytes(reinterpret_cast<const char*>(body.GetData()), body.GetSize());
    if ((!text.StartsWith(L"http://") && !text.StartsWith(L"mms://"))
        || text.Find(L"://", 7) >= 0) {
        return {};
    }
    text = text.LeftUpTo(L"\r\n");
    text.Trim();
    return text;
}

bool VnFilename::SetFileTypeFromURLMimeType(bool followPlaylist, bool allowNetwork) {
    if (!GetIsFileRemote()) {
        return false;
    }
    for (int32_t hop = 1;; ++hop) {
        const VnString type = GetTypeOfScheme(*this);
        if (!type.IsEmpty()) {
            SetFileType(type);
            return true;
        }
        if (!allowNetwork) {
            return false;
        }
        const Outcome outcome = Probe(*this, followPlaylist && hop < kMostHops);
        if (outcome != Outcome::Redirect) {
            return outcome == Outcome::Found;
        }
        followPlaylist = true;
    }
}
