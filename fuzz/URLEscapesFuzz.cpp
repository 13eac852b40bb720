#include <algorithm>

#include "fuzz/FuzzText.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const VnString text = TextOf(data, size);
    for (const bool keepEscaped : {false, true}) {
        VnString decoded(text);
        decoded.DecodeURL(L'%', keepEscaped, (size & 1) != 0);
        Require(decoded.GetLength() <= text.GetLength());
        Require(text.FindOneOf(L"%+") >= 0 || decoded == text);
    }

    VnString encoded(text);
    encoded.EncodeURL(L'%', (size & 1) != 0);
    Require(std::all_of(encoded.GetText(), encoded.GetText() + encoded.GetLength(),
                        [](wchar_t ch) { return ch > L' ' && ch < 0x7F && ch != L'+'; }));
    encoded.DecodeURL(L'%', /*keepEscaped=*/true, /*plusAsSpace=*/true);
    // A character above U+FFFF comes back as a question mark, and a zero ends nothing but the text.
    const bool isPlain = std::all_of(text.GetText(), text.GetText() + text.GetLength(),
                                     [](wchar_t ch) { return ch > 0 && ch < 0x10000; });
    Require(!isPlain || encoded == text);
    return 0;
}
