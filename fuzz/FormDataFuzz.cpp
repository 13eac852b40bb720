#include "core/VnPropertyMap.h"
#include "data/VnFormData.h"

#include "fuzz/FuzzText.h"

namespace {

/// Whether the URL-encoded form gives the text back: its decoder reads characters above U+FFFF as
/// question marks and ends at a zero.
bool IsPlain(const VnString& text) {
    return std::all_of(text.GetText(), text.GetText() + text.GetLength(),
                       [](wchar_t ch) { return ch > 0 && ch < 0x10000; });
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const VnString key = TakeLine(data, size);
    const VnString value = TextOf(data, size);
    VnPropertyMap map;
    ParseFormData(map, key, value, (size & 1) != 0);

    if (IsPlain(key) && IsPlain(value)) {
        VnFormData form(/*multipart=*/false);
        form.AddPair(L"first", L"1");
        form.AddPair(key, value);
        VnBuffer& bytes = form.GetBytes();
        const VnString query =
            L"?"
            + VnString::FromUTF8(reinterpret_cast<const char*>(bytes.GetData()), bytes.GetSize());
        ParseFormData(map, query, VnString(), /*decode=*/true);
        Require(map.GetString(key) == value);
    }

    if (key.FindOneOf(L"\"\r") < 0 && key.Find(L'\0') < 0 && IsPlain(key) && IsPlain(value)
        && !value.Contains(L"--------ieoau")) {
        VnFormData form(/*multipart=*/true);
        form.AddPair(key, value);
        form.AddBoundary(/*last=*/true);
        const VnBuffer& bytes = form.GetBytes();
        ParseFormData(
            map, VnString(),
            VnString::FromUTF8(reinterpret_cast<const char*>(bytes.GetData()), bytes.GetSize()),
            /*decode=*/false);
        VnString trimmed(value);
        trimmed.Trim(L"\r\n");
        Require(map.GetString(key) == trimmed);
    }
    return 0;
}
