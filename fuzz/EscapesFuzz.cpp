#include "fuzz/FuzzText.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const VnString text = TextOf(data, size);
    VnString decoded(text);
    decoded.DecodeEscapes(true, true);
    Require(decoded.GetLength() <= text.GetLength());
    Require(text.Find(L'\\') >= 0 || decoded == text);

    VnString escaped(text);
    escaped.EscapeBackslash();
    Require(escaped.FindOneOf(L"\b\t\n\f\r") < 0);
    escaped = text;
    escaped.EscapeChars(L"\r\n\t,;", L'\\');
    Require(escaped.FindOneOf(L"\r\n\t") < 0);
    escaped.UnescapeChars(L"\r\n\t,;", L'\\');
    Require(escaped == text);
    escaped = text;
    escaped.EscapeXML(62);
    Require(escaped.FindOneOf(L"<>\"'") < 0);

    const VnString quoted = text.QuoteForShell();
    VnString unquoted = quoted;
    unquoted.RemoveEnds(1, 1);
    unquoted.Replace(L"'\\''", L"'");
    Require(unquoted == text);
    return 0;
}
