#include "core/VnString.h"

#include "core/VnBuffer.h"
#include "tests/support/TestText.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>
#include <tuple>
#include <vector>

namespace {

std::wstring Wide(const VnString& text) {
    return {text.GetText(), static_cast<std::size_t>(text.GetLength())};
}

const std::tuple<const char*, std::string, std::wstring, std::wstring> kDecodeCases[] = {
    {"empty", "", L"", L""},
    {"ascii", "abc", L"abc", L"abc"},
    {"two bytes", "\xC3\xA9", L"\u00E9", L"\u00E9"},
    {"three bytes", "\xE2\x82\xAC", L"\u20AC", L"\u20AC"},
    {"four bytes", "\xF0\x9F\x98\x80", L"?", L"\U0001F600"},
    {"a byte alone", "\xE9", L"\u00E9", L"\xDCE9"},
    {"a byte ahead of text", "\xC3Z", L"\u00C3Z", L"\xDCC3Z"},
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
    for (const auto& [what, bytes, lenient, lossless] : kDecodeCases) {
        // The odd bytes at every place of texts around the decoder's steps and buffer sizes.
        for (const std::size_t ahead : {0U, 1U, 15U, 16U, 30U, 31U, 32U, 258U, 259U, 260U, 700U}) {
            SCOPED_TRACE(what + std::string(" behind ") + std::to_string(ahead));
            const std::string in = std::string(ahead, 'x') + bytes + "end";
            const std::wstring head(ahead, L'x');
            VnString text(L"old");
            text.SetUTF8(in.data(), static_cast<int64_t>(in.size()));
            EXPECT_EQ(Wide(text), head + lenient + L"end");
            text.SetFileSystemText(in.data(), static_cast<int64_t>(in.size()));
            EXPECT_EQ(Wide(text), head + lossless + L"end");
            EXPECT_EQ(text.GetText()[text.GetLength()], 0);
        }
    }
    // Behind every number of other characters, with enough behind it that several are taken at
    // once.
    for (const auto& [what, bytes, lenient, lossless] : kDecodeCases) {
        std::string in(300, 'x');
        std::wstring head(300, L'x');
        for (int32_t before = 0; before < 17; ++before) {
            SCOPED_TRACE(what + std::string(" behind others: ") + std::to_string(before));
            const std::string all = in + bytes + "\xC3\xA9\xE2\x82\xAC" + std::string(40, 'y');
            const std::wstring tail = L"\u00E9\u20AC" + std::wstring(40, L'y');
            const auto size = static_cast<int64_t>(all.size());
            EXPECT_EQ(Wide(VnString::FromUTF8(all.data(), size)), head + lenient + tail);
            EXPECT_EQ(Wide(VnString::FromFileSystemText(all.data(), size)), head + lossless + tail);
            in += before % 3 == 0 ? "\xE2\x82\xAC" : "\xC3\xA9";
            head += before % 3 == 0 ? L'\u20AC' : L'\u00E9';
        }
    }
    for (const char* whole : {"abc", "\xC3\xA9", "\xE2\x82\xAC", "\xF0\x9F\x98\x80"}) {
        const auto cut = static_cast<int64_t>(std::strlen(whole)) - 1;
        EXPECT_EQ(VnString::FromUTF8(whole, cut).GetLength(), cut) << "none behind it is read";
        EXPECT_EQ(VnString::FromFileSystemText(whole, cut).GetLength(), cut);
    }
    EXPECT_EQ(VnString::FromUTF8("abc"), L"abc");
    EXPECT_EQ(VnString::FromUTF8(nullptr, 7), L"");
}

TEST(VnStringConversion, TheDecoderGrowsByWhatIsLeft) {
    const int32_t capacity = VnString::FromUTF8(std::string(5000, 'x').c_str()).GetCapacity();
    EXPECT_GE(capacity, 5001);
    EXPECT_LE(capacity, 5261) << "and not by doubling";
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
        std::string Out;
        const char* ForCalls = nullptr; ///< of VnStringUTF8 where it differs
    } rows[] = {
        {L"", ""},
        {L"a\x7F", "a\x7F"},
        {L"\x80\u07FF", "\xC2\x80\xDF\xBF"},
        {L"\u0800\uFFFF", "\xE0\xA0\x80\xEF\xBF\xBF"},
        {L"\U00010000\U0010FFFF", "\xF0\x90\x80\x80\xF4\x8F\xBF\xBF"},
        {L"\xDC80\xDCFF", "\xED\xB2\x80\xED\xB3\xBF", "\x80\xFF"},
        {L"\xDC7F", "\xED\xB1\xBF"},
        {std::wstring(40, L'x') + L"\u00E9" + std::wstring(17, L'y'),
         std::string(40, 'x') + "\xC3\xA9" + std::string(17, 'y')},
        {std::wstring(15, L'x') + L"\u0100", std::string(15, 'x') + "\xC4\x80"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.Out);
        VnBuffer buffer(3);
        VnString(row.In.c_str()).GetUTF8(buffer);
        EXPECT_EQ(ToBytes(buffer), row.Out);
        EXPECT_STREQ(VnStringUTF8(row.In.c_str()),
                     row.ForCalls == nullptr ? row.Out.c_str() : row.ForCalls);
    }
    VnBuffer buffer;
    VnString(L"\u00E9tude").GetUTF8(buffer, 2);
    EXPECT_EQ(ToBytes(buffer), "\xC3\xA9t");
    VnString(L"ab").GetUTF8(buffer, 99);
    EXPECT_EQ(ToBytes(buffer), "ab");
    EXPECT_STREQ(VnStringUTF8(nullptr), "");
    EXPECT_STREQ(VnStringUTF8(L"abc", 2), "ab");
}

TEST(VnStringConversion, EightBitText) {
    std::string all;
    std::wstring widened;
    for (int32_t i = 0; i < 256; ++i) {
        all += static_cast<char>(i);
        widened += static_cast<wchar_t>(i);
    }
    VnString text;
    text.SetBytes(all.data(), 256);
    EXPECT_EQ(Wide(text), widened);
    VnBuffer buffer;
    text.GetBytes(buffer);
    EXPECT_EQ(ToBytes(buffer), all);
    text.SetBytes("ab\0c", 4, true);
    EXPECT_EQ(Wide(text), L"ab");
    text.SetBytes("ab\0c", 4);
    EXPECT_EQ(text.GetLength(), 4);
    text.SetBytes(nullptr);
    EXPECT_TRUE(text.IsEmpty());
    const VnStringBytes narrow(L"a\u00FF\u0100\U0001F600");
    EXPECT_STREQ(narrow, "a\xFF??");
    EXPECT_EQ(narrow.GetString(), L"a\u00FF??");
    EXPECT_STREQ(VnStringBytes(nullptr), "");
    EXPECT_STREQ(VnStringBytes(L"abc", 1), "a");
}

TEST(VnStringConversion, SixteenBitText) {
    using Units = std::vector<uint16_t>;
    const std::tuple<const char*, Units, int32_t, bool, bool, std::wstring> rows[] = {
        {"null", {}, 4, false, false, L""},
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
    for (const auto& [what, in, length, detect, swap, out] : rows) {
        VnString text(L"old");
        text.SetUTF16(in.empty() ? nullptr : in.data(), length, detect, swap);
        EXPECT_EQ(Wide(text), out) << what;
    }
    EXPECT_EQ(VnStringUTF16(L"a\u20AC\U0001F600").GetString(), L"a\u20AC\uF600");
}

} // namespace
