#include "core/VnString.h"

#include "tests/support/TextRows.h"

#include <gtest/gtest.h>

TEST(VnStringEscapes, EncodeURL) {
    ExpectChanges({"a b/c | a%20b%2Fc", "\xC3\xA9 | %C3%A9", "\xE2\x82\xAC | %E2%82%AC",
                   "\xF0\x9F\x98\x80 | %F0%9F%98%80", "\x01% | %01%25", "AZaz09-._~ | AZaz09-._~",
                   " | "},
                  [](VnString& text) { text = VnString::URLEncoded(text); });
    ExpectChanges({"a b/c | a%20b/c"}, [](VnString& text) { text.EncodeURL(L'%', true); });
    ExpectChanges({"a b | a=20b"}, [](VnString& text) { text.EncodeURL(L'=', false); });
}

TEST(VnStringEscapes, DecodeURL) {
    ExpectChanges({"%C3%A9 | \xC3\xA9", "%2541+ | %41 "},
                  [](VnString& text) { text = VnString::URLDecoded(text); });
    ExpectChanges({"%2541 | %41", "%25414141 | %414141", "%25xy | %xy"},
                  [](VnString& text) { text.DecodeURL(L'%', true, false); });
    ExpectChanges({"a+b | a b", "%2B+ | + ", "+ |  ", " | "},
                  [](VnString& text) { text.DecodeURL(L'%', false, true); });
    ExpectChanges({"%2541 | A", "a+b | a+b", "%4 | %4", "%4g% | %4g%", "%e9 | \xC3\xA9",
                   "%00%C3%A9 | ", "%%34%31 | %41"},
                  [](VnString& text) { text.DecodeURL(L'%', false, false); });
}

TEST(VnStringEscapes, EveryCharacterBelow65536SurvivesAURL) {
    for (wchar_t ch = 1; ch < 0x10000; ++ch) {
        const VnString text(ch);
        ASSERT_EQ(VnString::URLDecoded(VnString::URLEncoded(text)), text) << static_cast<int>(ch);
    }
}

TEST(VnStringEscapes, EscapeXML) {
    const auto expect = [](int32_t flags, std::initializer_list<const char*> rows) {
        SCOPED_TRACE(flags);
        ExpectChanges(rows, [flags](VnString& text) { text.EscapeXML(flags); });
    };
    expect(0, {"a<b>&c | a&lt;b&gt;&amp;c", "'\" | '\"", "\x1F | \x1F", "<<<< | &lt;&lt;&lt;&lt;"});
    expect(4, {"'\" | &apos;\""});
    expect(8, {"'\" | '&quot;"});
    expect(16, {"\x1F\x01 | &#x1f;&#x1;"});
    expect(32, {"\x1F | \x1F"});
    expect(48, {"\x1F | ?", "\x01\x0B | &#x1;?"});
    expect(62, {"\t\n\r | \t\n\r", "plain \xC3\xA9 | plain \xC3\xA9", " | "});
}

TEST(VnStringEscapes, DecodeEscapes) {
    ExpectChanges({"\\u00e9\\U0041 | \xC3\xA9"
                   "A",
                   "\\x41 | \\x41", "\\u00g9 | \\u00g9", "x\\u0041y | xAy"},
                  [](VnString& text) { text.DecodeEscapes(true, false); });
    ExpectChanges({"\\x41\\u0042 | A\\u0042"},
                  [](VnString& text) { text.DecodeEscapes(false, true); });
    ExpectChanges({"\\x41\\u0042 | AB", "\\u12 | \\u12"},
                  [](VnString& text) { text.DecodeEscapes(true, true); });
    ExpectChanges({"\\u0041 | \\u0041"}, [](VnString& text) { text.DecodeEscapes(false, false); });
    VnString pair(L"\\uD83D\\uDE00");
    pair.DecodeEscapes(true, false);
    EXPECT_EQ(pair.GetLength(), 2);
    VnString zero(L"\\U00000041"); // "U" takes four digits too
    zero.DecodeEscapes(true, false);
    EXPECT_EQ(zero, L'\0' + VnString(L"0041"));
}

TEST(VnStringEscapes, EscapeBackslash) {
    ExpectChanges({"\b\t\n\f\r\"\\/a | \\b\\t\\n\\f\\r\\\"\\\\/a"},
                  [](VnString& text) { text.EscapeBackslash(); });
}
