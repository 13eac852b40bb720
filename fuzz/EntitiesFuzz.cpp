#include "fuzz/FuzzText.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const VnString text = TextOf(data, size);
    VnString decoded(text);
    decoded.DecodeEntities();
    Require(decoded.GetLength() <= text.GetLength());
    Require(text.Find(L'&') >= 0 || decoded == text);
    Require(text.Find(L';') >= 0 || decoded == text);

    VnString escaped(text);
    escaped.EscapeXML(VnString::kEscapeQuote | VnString::kEscapeApostrophe);
    Require(escaped.FindOneOf(L"<>\"'") < 0);
    escaped.DecodeEntities();
    Require(escaped == text);
    return 0;
}
