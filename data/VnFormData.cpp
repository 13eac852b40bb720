#include "data/VnFormData.h"

#include "core/VnDllString.h"
#include "core/VnPropertyMap.h"
#include "core/VnStringArray.h"
#include "data/CFileLoader.h"
#include "files/VnFilename.h"
#include "runtime/IVnMIMEService.h"
#include "runtime/IVnToolsRoot.h"
#include "runtime/VnSiblingModules.h"

#include <iterator>

namespace {

constexpr wchar_t kBoundary[] =
    L"--------ieoau._._+2_8_GoodLuck8.3-ds0d0J0S0Kl234324jfLdsjfdAuaoei-----";
constexpr wchar_t kDispositionHeader[] = L"Content-Disposition:";
constexpr wchar_t kNameStart[] = L"name=\"";

/// The type of an extension; empty without the tools module.
VnString GetContentType(const VnString& extension) {
    VnString type;
    IVnToolsRoot* const tools = VnGetToolsRoot();
    IVnMIMEService* const service = tools == nullptr ? nullptr : tools->GetMIMEService(1);
    if (service != nullptr) {
        VnDllString adapter(type);
        service->GetContentType(extension, adapter);
    }
    return type;
}

/// The part of `text` from `start` up to the next `end`; empty when there is none.
VnString TextUpTo(const VnString& text, int32_t start, const wchar_t* end) {
    const int32_t stop = text.Find(end, start);
    return stop < 0 ? VnString() : text.Mid(start, stop - start);
}

void ParseQuery(VnPropertyMap& map, const VnString& query, bool decode) {
    VnStringArray parts;
    parts.Split(query, L"&", /*trim=*/false, /*skipEmptyText=*/true);
    for (const VnString& part : parts) {
        if (part.IsEmpty()) {
            continue; // Split keeps an empty part between two separators
        }
        const int32_t equals = part.Find(L'=');
        VnString key = equals < 0 ? part : part.Left(equals);
        VnString value = equals < 0 ? VnString() : part.Mid(equals + 1);
        if (decode) {
            key.DecodeURL(L'%', /*keepEscaped=*/true, /*plusAsSpace=*/false);
            value.DecodeURL(L'%', /*keepEscaped=*/true, /*plusAsSpace=*/true);
        }
        map.SetString(key, value);
    }
}

void ParsePart(VnPropertyMap& map, const VnString& part) {
    const int32_t header = part.Find(kDispositionHeader);
    if (header < 0) {
        return;
    }
    VnString disposition =
        TextUpTo(part, header + static_cast<int32_t>(std::size(kDispositionHeader)) - 1, L";");
    disposition.Trim();
    const int32_t quote = part.Find(kNameStart, header);
    if (!disposition.EqualsNoCase(L"form-data") || quote < 0) {
        return;
    }
    const int32_t nameStart = quote + static_cast<int32_t>(std::size(kNameStart)) - 1;
    const int32_t nameEnd = part.Find(L'"', nameStart);
    if (nameEnd < 0) {
        return;
    }
    VnString value = part.Mid(nameEnd + 1);
    value.Trim(L"\r\n");
    map.SetString(part.Mid(nameStart, nameEnd - nameStart), value);
}

} // namespace

VnFormData::VnFormData(bool multipart) : Multipart(multipart), Boundary(kBoundary) {
}

void VnFormData::SetBoundary(const VnString& boundary) {
    Boundary = boundary;
}

void VnFormData::AddText(const VnString& text) {
    VnBuffer bytes;
    text.GetUTF8(bytes);
    Bytes.Append(bytes.GetData(), bytes.GetSize());
}

void VnFormData::AddBoundary(bool last) {
    AddText(L"--" + Boundary + (last ? L"--\r\n" : L"\r\n"));
}

void VnFormData::AddLineEnd() {
    AddText(L"\r\n");
}

void VnFormData::AddField(const VnString& disposition, const VnString& value) {
    AddBoundary(false);
    AddText(L"Content-Disposition: form-data; " + disposition + L"\r\n\r\n" + value + L"\r\n");
}

void VnFormData::AddBinary(const VnBuffer& data,
                           const VnString& disposition,
                           const VnString& contentType) {
    AddBoundary(false);
    AddText(L"Content-Disposition: form-data; " + disposition + L"\r\n");
    if (!contentType.IsEmpty()) {
        AddText(L"Content-Type: " + contentType + L"\r\n");
    }
    AddLineEnd();
    if (data.GetSize() > 0) {
        Bytes.Append(data.GetData(), data.GetSize());
    }
    AddLineEnd();
}

bool VnFormData::AddFile(const VnString& name, const VnFilename& path) {
    VnBuffer data;
    if (!CFileLoader::LoadFile(data, path, -1, /*useReader=*/true)) {
        return false;
    }
    const VnString disposition =
        L"name=\"" + name + L"\"; filename=\"" + path.GetNameAndExtension(false) + L"\"";
    AddBinary(data, disposition, GetContentType(path.GetExtension(true)));
    return true;
}

void VnFormData::AddPair(const VnString& key, const VnString& value) {
    if (Multipart) {
        AddField(L"name=\"" + key + L"\"", value);
        return;
    }
    VnString encodedKey = key;
    VnString encodedValue = value;
    encodedKey.EncodeURL(L'%', /*keepSlash=*/false);
    encodedValue.EncodeURL(L'%', /*keepSlash=*/false);
    AddText((Bytes.IsEmpty() ? L"" : L"&") + encodedKey + L"=" + encodedValue);
}

void ParseFormData(VnPropertyMap& map, const VnString& url, const VnString& body, bool decode) {
    // Both may be values of the map.
    const VnString address = url;
    const VnString form = body;
    map.Clear();
    const int32_t query = address.Find(L'?');
    if (query >= 0) {
        ParseQuery(map, address.Mid(query + 1), decode);
    }
    if (form.IsEmpty()) {
        return;
    }
    const VnString delimiter = form.LeftUpTo(L"\r\n");
    VnStringArray parts;
    parts.Split(form, delimiter, /*trim=*/false, /*skipEmptyText=*/true);
    for (const VnString& part : parts) {
        ParsePart(map, part);
    }
}
