#include "modules/reader/CInternetReader.h"

#include "core/VnDllString.h"
#include "core/VnStringArray.h"
#include "files/VnURL.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace {

constexpr const wchar_t* kRequestKeys[] = {
    L"HTTPREQUEST_TYPE", L"INFO_HEADERS", L"USE_CACHE", L"RANGE_START", L"SUCCEED_ON_ERROR",
};

bool IsRequestKey(const VnString& text) {
    return std::any_of(std::begin(kRequestKeys), std::end(kRequestKeys),
                       [&text](const wchar_t* key) { return text.EqualsNoCase(key); });
}

/// The address in the characters that a request line may hold: all others are percent-encoded, and
/// so is nothing that is encoded already.
std::string EncodeAddress(const VnString& url) {
    VnString address = url;
    ConvertPrivateScheme(address);
    const VnStringUTF8 bytes(address);
    std::string encoded;
    for (const char* at = bytes; *at != '\0'; at++) {
        const auto byte = static_cast<unsigned char>(*at);
        if (byte <= ' ' || byte >= 0x7f || std::strchr("\"<>\\^`{|}", byte) != nullptr) {
            char code[4];
            static_cast<void>(std::snprintf(code, sizeof(code), "%%%02X", byte));
            encoded += code;
        } else {
            encoded += *at;
        }
    }
    return encoded;
}

} // namespace

CInternetReader::CInternetReader(const VnString& url, const VnString& userAgent) {
    Request.URL = EncodeAddress(url);
    Request.UserAgent = VnStringUTF8(userAgent).GetBytes();
}

CInternetReader::~CInternetReader() = default;

void CInternetReader::SetPostData(const void* data, int64_t size) {
    Request.Body = data;
    Request.BodySize = data == nullptr ? 0 : size;
}

/// Keys and values in turn, joined with "|". A value may hold that character itself: what is no key
/// belongs to the value ahead of it.
void CInternetReader::SetProperties(const wchar_t* text) {
    VnStringArray pieces;
    pieces.Split(text, L"|");
    for (int32_t i = 0; i < pieces.GetCount();) {
        const VnString key = pieces[i++];
        VnString value;
        for (bool first = true; i < pieces.GetCount() && (first || !IsRequestKey(pieces[i])); i++) {
            value += first ? L"" : L"|";
            value += pieces[i];
            first = false;
        }
        SetRequestProperty(key, value);
    }
}

void CInternetReader::SetRequestProperty(const VnString& key, const VnString& value) {
    if (key.EqualsNoCase(L"HTTPREQUEST_TYPE")) {
        VnString verb = value;
        verb.MakeUpper();
        Request.Verb = VnStringUTF8(verb).GetBytes();
    } else if (key.EqualsNoCase(L"INFO_HEADERS")) {
        VnStringArray lines;
        lines.Split(value, L"\n", /*trim=*/true, /*skipEmptyText=*/true);
        Request.Headers.clear();
        for (const VnString& line : lines) {
            Request.Headers.emplace_back(VnStringUTF8(line).GetBytes());
        }
    } else if (key.EqualsNoCase(L"RANGE_START")) {
        Request.RangeStart = std::max<int64_t>(value.ToInt64(), 0);
    } else if (key.EqualsNoCase(L"SUCCEED_ON_ERROR")) {
        Request.SucceedOnError = value.ToBool();
    }
    // "USE_CACHE" asks for nothing here: the condition that goes with it is a header of its own.
}

bool CInternetReader::OpenAt(int64_t start) {
    auto transfer = std::make_shared<CCurlTransfer>();
    {
        const std::lock_guard<std::mutex> guard(Lock);
        if (ClosedEarly) {
            ClosedEarly = false;
            return false;
        }
        Transfer = transfer;
    }
    CCurlRequest request = Request;
    request.RangeStart += start;
    Position = start;
    FirstByte = start;
    return transfer->Open(request);
}

bool CInternetReader::Open() {
    return OpenAt(0);
}

int32_t CInternetReader::Read(void* target, int32_t count) {
    // The owner keeps the transfer while another thread may cancel it.
    const std::shared_ptr<CCurlTransfer> transfer = Transfer;
    if (transfer == nullptr || count < 1) {
        return 0;
    }
    const int64_t got = std::max<int64_t>(transfer->Read(target, count), 0);
    Position += got;
    return static_cast<int32_t>(got);
}

int64_t CInternetReader::GetLength() {
    if (Transfer == nullptr || Transfer->GetResponse().ContentLength < 0) {
        return -1;
    }
    return FirstByte + Transfer->GetResponse().ContentLength;
}

int64_t CInternetReader::Seek(int64_t offset, int32_t origin) {
    const int64_t length = GetLength();
    if (Transfer == nullptr || (origin == kFromEnd && length < 0)) {
        return -1;
    }
    const int64_t wanted = origin == kFromCurrent ? Position + offset
                           : origin == kFromEnd   ? length + offset
                                                  : offset;
    if (wanted < 0) {
        return -1;
    }
    return wanted == Position || OpenAt(wanted) ? wanted : -1;
}

void CInternetReader::GetProperty(const wchar_t* name, IVnDllString& value) {
    value.Empty();
    if (Transfer == nullptr || name == nullptr) {
        return;
    }
    const CCurlResponse& response = Transfer->GetResponse();
    const VnString wanted = name;
    std::string text;
    if (wanted.EqualsNoCase(L"Location")) {
        text = response.Location;
    } else if (wanted.EqualsNoCase(L"AllHeaders")) {
        text = response.Headers;
    } else if (wanted.EqualsNoCase(L"StatusCode")) {
        text = response.StatusCode == 0 ? std::string() : std::to_string(response.StatusCode);
    } else if (wanted.EqualsNoCase(L"ContentType")) {
        text = response.ContentType;
    } else if (wanted.EqualsNoCase(L"ContentEncoding")) {
        text = response.ContentEncoding;
    } else if (wanted.EqualsNoCase(L"ContentLength") && response.ContentLength >= 0) {
        text = std::to_string(response.ContentLength);
    }
    const VnString result = VnString::FromUTF8(text.c_str(), static_cast<int64_t>(text.size()));
    value.Set(result, result.GetLength());
}

void CInternetReader::Close() {
    const std::lock_guard<std::mutex> guard(Lock);
    if (Transfer != nullptr) {
        Transfer->Cancel();
    } else {
        ClosedEarly = true;
    }
}
