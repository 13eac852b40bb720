#include "core/VnString.h"

#include "core/VnBuffer.h"
#include "tests/support/TestText.h"

#include <gtest/gtest.h>

#include <cstring>
#include <cwchar>
#include <random>
#include <string>
#include <vector>

namespace {

std::string Bytes(const VnBuffer& buffer) {
    return {reinterpret_cast<const char*>(buffer.GetData()),
            static_cast<std::size_t>(buffer.GetSize())};
}

std::wstring Wide(const VnString& text) {
    return {text.GetText(), static_cast<std::size_t>(text.GetLength())};
}

struct DecodeCase {
    const char* What;
    std::string In;
    std::wstring Lenient;
    std::wstring Lossless;
};

const DecodeCase kDecodeCases[] = {
    {"empty", "", L"", L""},
    {"ascii", "abc", L"abc", L"abc"},
    {"two bytes", "\xC3\xA9", L"\u00E9", L"\u00E9"},
    {"three bytes", "\xE2\x82\xAC", L"\u20AC", L"\u20AC"},
    {"four bytes", "\xF0\x9F\x98\x80", L"?", L"\U0001F600"},
    {"a byte alone", "\xE9", L"\u00E9", L"\xDCE9"},
    {"a byte ahead of text",
     "\xC3"
     "A",
     L"\u00C3"
     L"A",
     L"\xDCC3"
     L"A"},
    {"cut two", "a\xC3", L"a\u00C3", L"a\xDCC3"},
    {"cut three", "\xE2\x82", L"\u00E2\u0082", L"\xDCE2\xDC82"},
    {"cut four", "\xF0\x9F\x98", L"\u00F0\u009F\u0098", L"\xDCF0\xDC9F\xDC98"},
    {"continuation alone", "\x80\xBF", L"\u0080\u00BF", L"\xDC80\xDCBF"},
    {"no lead byte", "\xF8\x88\x80\x80\x80", L"\u00F8\u0088\u0080\u0080\u0080",
     L"\xDCF8\xDC88\xDC80\xDC80\xDC80"},
    {"longer than need be", "\xC1\x81", std::wstring(1, 0x41), L"\xDCC1\xDC81"},
    {"a zero in two bytes", "\xC0\x80", std::wstring(1, 0), L"\xDCC0\xDC80"},
    {"a surrogate", "\xED\xA0\xBD", std::wstring(1, 0xD83D), L"\xDCED\xDCA0\xDCBD"},
    {"above the last plane", "\xF4\x90\x80\x80", L"?", L"\xDCF4\xDC90\xDC80\xDC80"},
    {"the last character", "\xF4\x8F\xBF\xBF", L"?", L"\U0010FFFF"},
    {"a zero byte", std::string("a\0b", 3), std::wstring(L"a\0b", 3), std::wstring(L"a\0b", 3)},
    {"a mark", "\xEF\xBB\xBFx", L"\uFEFFx", L"\uFEFFx"},
};

TEST(VnStringConversion, DecodesUTF8) {
    for (const DecodeCase& row : kDecodeCases) {
        // The odd bytes at every place of texts around the decoder's steps and buffer sizes.
        for (const std::size_t ahead : {0U, 1U, 15U, 16U, 30U, 31U, 32U, 258U, 259U, 260U, 700U}) {
            SCOPED_TRACE(row.What + std::string(" behind ") + std::to_string(ahead));
            const std::string in = std::string(ahead, 'x') + row.In + "end";
            const std::wstring head(ahead, L'x');
            VnString text;
            text.SetUTF8(in.data(), static_cast<int64_t>(in.size()));
            EXPECT_EQ(Wide(text), head + row.Lenient + L"end");
            text.SetFileSystemText(in.data(), static_cast<int64_t>(in.size()));
            EXPECT_EQ(Wide(text), head + row.Lossless + L"end");
            EXPECT_EQ(text.GetText()[text.GetLength()], 0);
        }
        const VnString alone =
            VnString::FromUTF8(row.In.data(), static_cast<int64_t>(row.In.size()));
        EXPECT_EQ(Wide(alone), row.Lenient) << row.What;
    }
    VnString text(L"old");
    text.SetUTF8(nullptr, 7);
    EXPECT_TRUE(text.IsEmpty());
    text.SetUTF8("abc", 2);
    EXPECT_EQ(text, L"ab");
    for (const char* whole : {"\xC3\xA9", "\xE2\x82\xAC", "\xF0\x9F\x98\x80"}) {
        const auto cut = static_cast<int64_t>(std::strlen(whole)) - 1;
        text.SetUTF8(whole, cut);
        EXPECT_EQ(text.GetLength(), cut) << "no byte behind the length is read";
        text.SetFileSystemText(whole, cut);
        EXPECT_EQ(text.GetLength(), cut);
    }
    text.SetUTF8("abc");
    EXPECT_EQ(text, L"abc");
}

TEST(VnStringConversion, DecoderBufferSizes) {
    const auto capacity = [](std::size_t count) {
        VnString text;
        text.SetUTF8(std::string(count, 'x').c_str());
        return text.GetCapacity();
    };
    EXPECT_GE(capacity(31), 32);
    EXPECT_GE(capacity(260), 261);
    EXPECT_GE(capacity(5000), 5001);
    EXPECT_LE(capacity(5000), 5261) << "grows by what is left, not by doubling";
}

TEST(VnStringConversion, FileSystemTextGivesTheSameBytesBack) {
    std::mt19937 random(99);
    const char* const pieces[] = {"a",
                                  "\xC3\xA9",
                                  "\xE2\x82\xAC",
                                  "\xF0\x9F\x98\x80",
                                  "\xC3",
                                  "\x80",
                                  "\xED\xB2\x80",
                                  "\xF4\x90",
                                  "\xFF",
                                  "\xC0\xAF",
                                  "/",
                                  "\xEF\xBF\xBD"};
    for (int32_t round = 0; round < 5000; ++round) {
        std::string bytes;
        for (uint32_t i = random() % 8 + 1; i > 0; --i) {
            bytes += round % 2 == 0 ? std::string(pieces[random() % std::size(pieces)])
                                    : std::string(1, static_cast<char>(random() % 255 + 1));
        }
        const VnString text = VnString::FromFileSystemText(bytes.c_str());
        ASSERT_STREQ(VnStringUTF8(text), bytes.c_str()) << "round " << round;
    }
}

TEST(VnStringConversion, EncodesUTF8) {
    const struct {
        std::wstring In;
        std::string Out;      ///< of GetUTF8
        std::string ForCalls; ///< of VnStringUTF8
    } rows[] = {
        {L"", "", ""},
        {L"a\x7F", "a\x7F", "a\x7F"},
        {L"\x80\u07FF", "\xC2\x80\xDF\xBF", "\xC2\x80\xDF\xBF"},
        {L"\u0800\uFFFF", "\xE0\xA0\x80\xEF\xBF\xBF", "\xE0\xA0\x80\xEF\xBF\xBF"},
        {L"\U00010000\U0010FFFF", "\xF0\x90\x80\x80\xF4\x8F\xBF\xBF",
         "\xF0\x90\x80\x80\xF4\x8F\xBF\xBF"},
        {L"\xDC80\xDCFF", "\xED\xB2\x80\xED\xB3\xBF", "\x80\xFF"},
        {L"\xDC7F", "\xED\xB1\xBF", "\xED\xB1\xBF"},
        {std::wstring(40, L'x') + L"\u00E9" + std::wstring(17, L'y'),
         std::string(40, 'x') + "\xC3\xA9" + std::string(17, 'y'),
         std::string(40, 'x') + "\xC3\xA9" + std::string(17, 'y')},
        {std::wstring(15, L'x') + L"\u0100", std::string(15, 'x') + "\xC4\x80",
         std::string(15, 'x') + "\xC4\x80"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.Out);
        const VnString text(row.In.c_str(), static_cast<int32_t>(row.In.size()));
        VnBuffer buffer(3);
        text.GetUTF8(buffer);
        EXPECT_EQ(Bytes(buffer), row.Out);
        EXPECT_STREQ(VnStringUTF8(text), row.ForCalls.c_str());
    }
    VnBuffer buffer;
    VnString(L"\u00E9tude").GetUTF8(buffer, 2);
    EXPECT_EQ(Bytes(buffer), "\xC3\xA9t");
    VnString(L"ab").GetUTF8(buffer, 99);
    EXPECT_EQ(Bytes(buffer), "ab");
    EXPECT_STREQ(VnStringUTF8(nullptr), "");
    EXPECT_STREQ(VnStringUTF8(L"abc", 2), "ab");
}

TEST(VnStringConversion, EightBitText) {
    VnString text;
    text.SetBytes("a\xE9\x80");
    EXPECT_EQ(Wide(text), L"a\u00E9\u0080");
    std::string all;
    std::wstring widened;
    for (int32_t i = 0; i < 256; ++i) {
        all += static_cast<char>(i);
        widened += static_cast<wchar_t>(i);
    }
    text.SetBytes(all.data(), 256);
    EXPECT_EQ(Wide(text), widened);
    VnBuffer buffer;
    text.GetBytes(buffer);
    EXPECT_EQ(Bytes(buffer), all);
    text.SetBytes("ab\0c", 4, true);
    EXPECT_EQ(Wide(text), L"ab");
    text.SetBytes("ab\0c", 4);
    EXPECT_EQ(text.GetLength(), 4);
    text.SetBytes(nullptr);
    EXPECT_TRUE(text.IsEmpty());
    EXPECT_STREQ(VnStringBytes(L"a\u00FF\u0100\U0001F600"), "a\xFF??");
    EXPECT_STREQ(VnStringBytes(nullptr), "");
    EXPECT_STREQ(VnStringBytes(L"abc", 1), "a");
}

TEST(VnStringConversion, SixteenBitText) {
    using Units = std::vector<uint16_t>;
    const struct {
        const char* What;
        Units In;
        int32_t Length;
        bool Detect;
        bool Swap;
        std::wstring Out;
    } rows[] = {
        {"to the zero", {0x61, 0x20AC, 0}, -1, false, false, L"a\u20AC"},
        {"length", {0x61, 0x62, 0x63}, 2, false, false, L"ab"},
        {"zero inside", {0x61, 0, 0x63}, 3, false, false, L"a"},
        {"empty first", {0, 0x61}, 2, false, false, L""},
        {"surrogates stay apart", {0xD83D, 0xDE00}, 2, false, false, std::wstring{0xD83D, 0xDE00}},
        {"mark", {0xFEFF, 0x61, 0}, -1, true, false, L"a"},
        {"mark counts in the length", {0xFEFF, 0x61, 0x62}, 2, true, false, L"a"},
        {"swapped mark", {0xFFFE, 0x6100, 0xAC20}, 3, true, false, L"a\u20AC"},
        {"mark alone", {0xFFFE, 0}, -1, true, false, L""},
        {"mark not looked for", {0xFEFF, 0x61}, 2, false, false, L"\uFEFFa"},
        {"swap", {0x6100}, 1, false, true, L"a"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.What);
        VnString text(L"old");
        text.SetUTF16(row.In.data(), row.Length, row.Detect, row.Swap);
        EXPECT_EQ(Wide(text), row.Out);
    }
    VnString text(L"old");
    text.SetUTF16(nullptr, 4);
    EXPECT_TRUE(text.IsEmpty());
    const VnStringUTF16 units(L"a\u20AC\U0001F600");
    const uint16_t expected[] = {0x61, 0x20AC, 0xF600, 0};
    EXPECT_EQ(std::memcmp(units, expected, sizeof expected), 0);
}

} // namespace
