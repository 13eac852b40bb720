#include "core/VnString.h"

#include "tests/support/TestText.h"

#include <gtest/gtest.h>

namespace {

struct Row {
    const wchar_t* Before;
    const wchar_t* After;
};

} // namespace

TEST(VnStringEscapes, EncodeURL) {
    constexpr Row kRows[] = {
        {L"a b/c", L"a%20b%2Fc"},
        {L"\u00E9", L"%C3%A9"},
        {L"\u20AC", L"%E2%82%AC"},
        {L"\U0001F600", L"%F0%9F%98%80"},
        {L"\x01%", L"%01%25"},
        {L"AZaz09-._~", L"AZaz09-._~"},
        {L"", L""},
    };
    for (const Row& row : kRows) {
        EXPECT_EQ(ToBytes(VnString::URLEncoded(row.Before)), ToBytes(row.After));
    }
    VnString path(L"a b/c");
    path.EncodeURL(L'%', true);
    EXPECT_EQ(ToBytes(path), "a%20b/c");
    VnString other(L"a b");
    other.EncodeURL(L'=', false);
    EXPECT_EQ(ToBytes(other), "a=20b");
}

TEST(VnStringEscapes, DecodeURL) {
    struct DecodeRow {
        const wchar_t* Before;
        bool KeepEscaped;
        bool PlusAsSpace;
        const wchar_t* After;
    };
    constexpr DecodeRow kRows[] = {
        {L"%C3%A9", true, true, L"\u00E9"},
        {L"%2541", true, false, L"%41"},
        {L"%2541", false, false, L"A"},
        {L"%25414141", true, false, L"%414141"},
        {L"%25xy", true, false, L"%xy"},
        {L"a+b", false, true, L"a b"},
        {L"a+b", false, false, L"a+b"},
        {L"%2B+", false, true, L"+ "},
        {L"+", false, true, L" "},
        {L"%4", false, false, L"%4"},
        {L"%4g%", false, false, L"%4g%"},
        {L"%e9", false, false, L"\u00E9"},
        {L"%00%C3%A9", false, false, L""},
        {L"%%34%31", false, false, L"%41"},
        {L"", false, true, L""},
    };
    for (const DecodeRow& row : kRows) {
        VnString text(row.Before);
        const VnString twin(text);
        text.DecodeURL(L'%', row.KeepEscaped, row.PlusAsSpace);
        EXPECT_EQ(ToBytes(text), ToBytes(row.After)) << "of " << ToBytes(row.Before);
        EXPECT_EQ(ToBytes(twin), ToBytes(row.Before));
    }
}

TEST(VnStringEscapes, EveryCharacterBelow65536SurvivesAURL) {
    for (wchar_t ch = 1; ch < 0x10000; ++ch) {
        const VnString text(ch);
        const VnString encoded = VnString::URLEncoded(text);
        ASSERT_EQ(VnString::URLDecoded(encoded), text) << static_cast<int>(ch);
    }
}

TEST(VnStringEscapes, EscapeXML) {
    struct XMLRow {
        const wchar_t* Before;
        int32_t Flags;
        const wchar_t* After;
    };
    constexpr XMLRow kRows[] = {
        {L"a<b>&c", 0, L"a&lt;b&gt;&amp;c"},
        {L"'\"", 0, L"'\""},
        {L"'\"", 4, L"&apos;\""},
        {L"'\"", 8, L"'&quot;"},
        {L"\x1F", 0, L"\x1F"},
        {L"\x1F", 16, L"&#x1f;"},
        {L"\x1F", 48, L"?"},
        {L"\x1F", 32, L"\x1F"},
        {L"\x01\x0B", 48, L"&#x1;?"},
        {L"\t\n\r", 62, L"\t\n\r"},
        {L"<<<<<<<<<<<<<<<<<<<<", 0,
         L"&lt;&lt;&lt;&lt;&lt;&lt;&lt;&lt;&lt;&lt;&lt;&lt;&lt;&lt;&lt;&lt;&lt;&lt;&lt;&lt;"},
        {L"", 62, L""},
        {L"plain \u00E9 \U0001F600", 62, L"plain \u00E9 \U0001F600"},
    };
    for (const XMLRow& row : kRows) {
        VnString text(row.Before);
        text.EscapeXML(row.Flags);
        EXPECT_EQ(ToBytes(text), ToBytes(row.After)) << "flags " << row.Flags;
        EXPECT_EQ(text.GetLength(), VnString(row.After).GetLength());
    }
}

TEST(VnStringEscapes, TextWithoutWorkKeepsItsSharedBlock) {
    VnString text(L"Plain-Text_1.0~");
    const VnString twin(text);
    text.EncodeURL(L'%', false);
    text.EscapeXML(62);
    text.EscapeBackslash();
    text.EscapeChars(L",", L'\\');
    text.DecodeEntities();
    EXPECT_EQ(text.GetText(), twin.GetText());
}

TEST(VnStringEscapes, DecodeEscapes) {
    struct EscapeRow {
        const wchar_t* Before;
        bool Unicode;
        bool Hexadecimal;
        const wchar_t* After;
    };
    constexpr EscapeRow kRows[] = {
        {L"\\u00e9\\U0041", true, false, L"\u00E9A"},
        {L"\\x41", true, false, L"\\x41"},
        {L"\\x41\\u0042", false, true, L"A\\u0042"},
        {L"\\x41\\u0042", true, true, L"AB"},
        {L"\\u12", true, true, L"\\u12"},
        {L"\\u00g9", true, false, L"\\u00g9"},
        {L"x\\u0041y", true, false, L"xAy"},
        {L"\\u0041", false, false, L"\\u0041"},
    };
    for (const EscapeRow& row : kRows) {
        VnString text(row.Before);
        text.DecodeEscapes(row.Unicode, row.Hexadecimal);
        EXPECT_EQ(ToBytes(text), ToBytes(row.After)) << "of " << ToBytes(row.Before);
    }
    VnString pair(L"\\uD83D\\uDE00");
    pair.DecodeEscapes(true, false);
    EXPECT_EQ(pair.GetLength(), 2);
    VnString zero(L"\\U00000041"); // "U" takes four digits too
    zero.DecodeEscapes(true, false);
    EXPECT_EQ(zero, VnString(L"\0"
                             L"0041",
                             5));
}

TEST(VnStringEscapes, EscapeBackslash) {
    VnString text(L"\b\t\n\f\r\"\\/a");
    text.EscapeBackslash();
    EXPECT_EQ(ToBytes(text), "\\b\\t\\n\\f\\r\\\"\\\\/a");
}
