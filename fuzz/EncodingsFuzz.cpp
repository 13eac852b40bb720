#include "core/VnBuffer.h"
#include "core/VnStringArray.h"

#include "fuzz/FuzzText.h"

namespace {

void CheckRoundTrips(const uint8_t* data, size_t size) {
    VnString text;
    VnBuffer bytes;
    text.SetBase64(data, static_cast<int32_t>(size), (size & 1) != 0);
    Require(text.GetBase64(bytes));
    Require(bytes.GetSize() == static_cast<int64_t>(size));
    Require(size == 0 || std::equal(data, data + size, bytes.GetData()));
    text.SetHexBytes(data, static_cast<int32_t>(size));
    text.GetHexBytes(bytes);
    Require(bytes.GetSize() == static_cast<int64_t>(size));
    // Names of files come back byte for byte.
    const std::string name(data, std::find(data, data + size, 0));
    Require(name == VnStringUTF8(VnString::FromFileSystemText(name.c_str())).GetBytes());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    CheckRoundTrips(data, size);
    const VnString text = TextOf(data, size);
    VnBuffer bytes;
    text.GetBase64(bytes);
    text.GetHexBytes(bytes);
    VnString(text).DecodeEntities();
    VnString(text).DecodeEscapes(true, true);
    VnString(text).DecodeURL(L'%', true, true);
    VnString escaped(text);
    escaped.EscapeXML(62);
    Require(escaped.Find(L'<') < 0 && escaped.Find(L'"') < 0);
    VnString url(text);
    url.EncodeURL(L'%', false);
    Require(url.Find(L' ') < 0);
    VnString quoted = text.QuoteForShell();
    Require(quoted.GetLength() >= text.GetLength() + 2);
    VnBuffer detected;
    detected.Append(data, static_cast<int64_t>(size));
    for (int32_t encoding = 0; encoding <= 5; ++encoding) {
        VnString out;
        VnBuffer copy(detected);
        Require(out.SetFromBuffer(copy, encoding, (encoding & 1) != 0));
        Require(copy.GetSize() == detected.GetSize());
    }
    text.ToDouble(nullptr, true, 0x7fffffff, true);
    text.ToInt64();
    text.ToHexInt64();
    text.ToSize();
    VnString().Format(text, 1, L"two", 3.0, "four");
    VnString(text).CleanName();
    VnString(text).MakeUnique();
    VnString(text).RemoveMarkup();
    return 0;
}
