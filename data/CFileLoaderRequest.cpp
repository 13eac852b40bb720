#include "data/CFileLoader.h"

#include "data/VnFormData.h"
#include "data/VnOrderedPropertyMap.h"
#include "files/VnFilename.h"

namespace {

constexpr wchar_t kVerb[] = L"HTTPREQUEST_TYPE";
constexpr wchar_t kHeaders[] = L"INFO_HEADERS";
constexpr wchar_t kSucceedOnError[] = L"SUCCEED_ON_ERROR";
constexpr wchar_t kAcceptGzip[] = L"Accept-Encoding: gzip";

/// Index of a key in a list of keys and values in turn; -1 when it is not there.
int32_t FindKey(const VnStringArray& list, const wchar_t* key) {
    for (int32_t i = 0; i + 1 < list.GetCount(); i += 2) {
        if (list[i].EqualsNoCase(key)) {
            return i;
        }
    }
    return -1;
}

VnString DocumentHeaders(const wchar_t* type, int64_t size) {
    return VnString::Formatted(
        L"Content-Type: %s; charset=UTF-8\r\nAccept-Encoding: gzip\r\nContent-length: %d", type,
        size);
}

} // namespace

bool CFileLoader::SetProperty(const VnString& key, const VnString& value) {
    if (key.IsEmpty() || value.IsEmpty()) {
        return false;
    }
    const int32_t index = FindKey(RequestProperties, key);
    if (index >= 0) {
        RequestProperties[index + 1] = value;
    } else {
        RequestProperties.Add(key);
        RequestProperties.Add(value);
    }
    return true;
}

VnString CFileLoader::GetProperty(const VnString& key) const {
    const int32_t index = FindKey(RequestProperties, key);
    return index < 0 ? VnString() : RequestProperties[index + 1];
}

bool CFileLoader::SetRequest(const VnStringArray* properties,
                             const void* data,
                             int64_t size,
                             bool copyData) {
    if (properties == nullptr) {
        RequestProperties.Empty();
    } else {
        RequestProperties = *properties;
    }
    const bool hasBody = data != nullptr && size >= 1;
    if (hasBody && FindKey(RequestProperties, kVerb) < 0) {
        SetProperty(kVerb, L"POST");
    }
    if (FindKey(RequestProperties, kHeaders) < 0) {
        VnStringArray headers;
        if (hasBody) {
            headers.Add(L"Content-Type: text/xml");
        }
        SetHeaders(headers, /*addAcceptEncoding=*/true);
    }
    return SetPostData(data, size, copyData);
}

bool CFileLoader::SetHeaders(const VnStringArray& headers, bool addAcceptEncoding) {
    VnStringArray lines;
    for (const VnString& header : headers) {
        if (!header.IsEmpty()) {
            lines.Add(header);
        }
    }
    if (addAcceptEncoding) {
        lines.Add(kAcceptGzip);
    }
    lines.RemoveDuplicates();
    const VnString joined = lines.Join(L"\n");
    return joined.IsEmpty() || SetProperty(kHeaders, joined);
}

bool CFileLoader::AddInfoHeader(const VnString& name, const VnString& value) {
    const VnString present = GetProperty(kHeaders);
    const VnString line = name + L": " + value;
    return SetProperty(kHeaders, present.IsEmpty() ? line : present + L"\n" + line);
}

bool CFileLoader::SetPostData(const void* data, int64_t size, bool copyData) {
    OwnPostData.Empty();
    PostData = data;
    PostSize = data == nullptr || size < 1 ? 0 : size;
    if (copyData && PostSize > 0) {
        OwnPostData.Set(data, PostSize);
        PostData = OwnPostData.GetData();
    }
    return true;
}

bool CFileLoader::SendData(const void* data,
                           int64_t size,
                           const VnString& contentType,
                           const VnString& verb,
                           bool copyData) {
    return SetProperty(kHeaders, DocumentHeaders(contentType, size)) && SetProperty(kVerb, verb)
           && SetPostData(data, size, copyData);
}

bool CFileLoader::SendXML(const VnString& text, const VnString& verb) {
    VnBuffer bytes;
    text.GetUTF8(bytes);
    return SendData(bytes.GetData(), bytes.GetSize(), L"text/xml", verb, /*copyData=*/true);
}

bool CFileLoader::PutData(const void* data, int64_t size) {
    return SetProperty(kVerb, L"PUT") && SetPostData(data, size, /*copyData=*/false);
}

bool CFileLoader::PutXML(const VnString& text) {
    return SendXML(text, L"PUT");
}

bool CFileLoader::PostXML(const VnString& text) {
    VnBuffer bytes;
    text.GetUTF8(bytes);
    VnStringArray properties;
    properties.Add(kHeaders);
    properties.Add(DocumentHeaders(L"text/xml", bytes.GetSize()));
    return SetRequest(&properties, bytes.GetData(), bytes.GetSize(), /*copyData=*/true);
}

bool CFileLoader::PostJSON(const VnString& text) {
    VnBuffer bytes;
    text.GetUTF8(bytes);
    VnStringArray properties;
    properties.Add(kHeaders);
    properties.Add(DocumentHeaders(L"application/json", bytes.GetSize()));
    return SetRequest(&properties, bytes.GetData(), bytes.GetSize(), /*copyData=*/true);
}

bool CFileLoader::SetRequestProperties(const VnOrderedPropertyMap& list) {
    RequestProperties.Empty();
    for (int32_t i = 0; i < list.GetCount(); i++) {
        RequestProperties.Add(list.GetKey(i));
        RequestProperties.Add(list.GetValue(i));
    }
    return true;
}

bool CFileLoader::PostForm(VnFormData& form, bool finish, bool copyData) {
    VnBuffer& bytes = form.GetBytes();
    VnString headers;
    if (form.IsMultipart()) {
        form.AddBoundary(/*last=*/true);
        headers = L"Content-Type: multipart/form-data; boundary=" + form.GetBoundary();
    } else {
        if (finish) {
            bytes.Append("", 1);
        }
        headers = L"Content-Type: application/x-www-form-urlencoded";
    }
    headers.AppendFormat(L"\r\nAccept-Encoding: gzip\r\nContent-length: %d", bytes.GetSize());
    VnStringArray properties;
    properties.Add(kHeaders);
    properties.Add(headers);
    return SetRequest(&properties, bytes.GetData(), bytes.GetSize(), copyData);
}

bool CFileLoader::PostProperties(const VnOrderedPropertyMap& list) {
    VnFormData form(/*multipart=*/false);
    for (int32_t i = 0; i < list.GetCount(); i++) {
        form.AddPair(list.GetKey(i), list.GetValue(i));
    }
    return PostForm(form, /*finish=*/false, /*copyData=*/true);
}

VnString CFileLoader::SubmitForm(VnFormData& form,
                                 const VnFilename& url,
                                 int32_t timeoutMS,
                                 bool succeedOnError) {
    CFileLoader loader;
    loader.SetTimeout(timeoutMS);
    loader.PostForm(form, /*finish=*/true, /*copyData=*/false);
    if (succeedOnError) {
        loader.SetProperty(kSucceedOnError, L"1");
    }
    VnString text;
    loader.LoadToString(url, text);
    return text;
}
