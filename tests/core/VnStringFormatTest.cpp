#include "core/VnString.h"

#include "tests/support/TestText.h"

#include <gtest/gtest.h>

#include <limits>
#include <utility>

namespace {

enum Colour {
    kGreen = 3
};

TEST(VnStringFormat, Conversions) {
    const VnString text(L"abcdefgh");
    const char* noBytes = nullptr;
    const wchar_t* noText = nullptr;
    const std::pair<VnString, const char*> rows[] = {
        {VnString::Formatted(L"plain"), "plain"},
        {VnString::Formatted(L"100%%!", 1), "100%!"},
        // Text
        {VnString::Formatted(L"%5s|%S", text, L"x"), "abcde|x"},
        {VnString::Formatted(L"%0s|", text), "|"},
        {VnString::Formatted(L"%2s", "\xC3\xA9z"), "\xC3\xA9"},
        {VnString::Formatted(L"%1s", "\xC3\xA9z"), "\xC3\x83"},
        {VnString::Formatted(L"%99s|", L"ab"), "ab|"},
        {VnString::Formatted(L"%s%s", noBytes, noText), "(null)(null)"},
        {VnString::Formatted(L"%ls", text), "abcdefgh"},
        // Integers
        {VnString::Formatted(L"%d %i", 42, -42), "42 -42"},
        {VnString::Formatted(L"%5d", 42), "00042"},
        {VnString::Formatted(L"% 5d", 42), "   42"},
        {VnString::Formatted(L"%.3d", 7), "007"},
        {VnString::Formatted(L"%5.3d", 7), "00007"},
        {VnString::Formatted(L"%d", std::numeric_limits<int64_t>::min()), "-9223372036854775808"},
        {VnString::Formatted(L"%u", std::numeric_limits<uint64_t>::max()), "18446744073709551615"},
        {VnString::Formatted(L"%I64d %I64u %ld %lu %lx", 1, 2, 3, 4, 0xAB), "1 2 3 4 ab"},
        {VnString::Formatted(L"%d|%u", L"x", 1.5), "0|0"},
        {VnString::Formatted(L"%200d", 1).Right(3), "001"},
        {VnString::Formatted(L"%d", kGreen), "3"},
        {VnString::Formatted(L"%d%d", true, L'A'), "165"},
        // Hexadecimal
        {VnString::Formatted(L"%x %X", 0xABC, 0xABC), "abc ABC"},
        {VnString::Formatted(L"%h", 255), "0x000000FF"},
        {VnString::Formatted(L"%10h", 255), "0x00000000FF"},
        {VnString::Formatted(L"%p", 255), "00000000000000FF"},
        {VnString::Formatted(L"%x", -1), "ffffffff"},
        {VnString::Formatted(L"%9x", -1), "ffffffffffffffff"},
        {VnString::Formatted(L"%p", -1), "FFFFFFFFFFFFFFFF"},
        {VnString::Formatted(L"%x", 0xFFFFFFFE00000000), "fffffffe00000000"},
        // Characters
        {VnString::Formatted(L"[%c%c%c%c%c]", 0, 65536, -1, L"x", 0xE9), "[\xC3\xA9]"},
        // Floating point
        {VnString::Formatted(L"%f", 1.5), "1.5"},
        {VnString::Formatted(L"%.2f", 1.5), "1.50"},
        {VnString::Formatted(L"%.0f", 2.5), "3"},
        {VnString::Formatted(L"%3.1f", 2.25), "002.3"},
        {VnString::Formatted(L"%f %.2f", 7, L"x"), "0 0.00"},
        // Anything else
        {VnString::Formatted(L"%q%5q%d", 7), "qq7"},
        {VnString::Formatted(L"%lf %d", 7), "lf 7"},
        {VnString::Formatted(L"%I32d %d", 7), "I32d 7"},
        {VnString::Formatted(L"end %5"), "end "},
        {VnString::Formatted(L"%d-%s-%f-%c-%x", 1), "1--0--0"},
        {VnString::Formatted(L"%d", 1, 2, 3), "1"},
    };
    for (const auto& [result, expected] : rows) {
        EXPECT_EQ(ToBytes(result), expected);
    }
}

TEST(VnStringFormat, UnknownTagsAndNullTexts) {
    VnFormatArg odd(L"x");
    odd.Tag = 9;
    VnFormatArg noString(L"x");
    noString.Tag = VnFormatArg::kStringText;
    noString.Text = nullptr;
    const VnFormatArg args[] = {odd, noString, odd, VnFormatArg(5)};
    VnString text(L"old");
    text.FormatList(L"[%s%s%d%d]", args, 4);
    EXPECT_EQ(text, L"[05]");
    text.FormatList(nullptr, args, 4);
    EXPECT_TRUE(text.IsEmpty());
    text.AppendFormatList(L"%s", nullptr, 0);
    EXPECT_TRUE(text.IsEmpty());
}

TEST(VnStringFormat, TwentyArguments) {
    VnString text;
    text.Format(L"%d%d%d%d%d%d%d%d%d%d%d%d%d%d%d%d%d%d%d%d", 1, 2, 3, 4, 5, 6, 7, 8, 9, 0, 1, 2, 3,
                4, 5, 6, 7, 8, 9, 0);
    EXPECT_EQ(text, L"12345678901234567890");
    text.AppendFormat(L"%s", text);
    EXPECT_EQ(text, L"1234567890123456789012345678901234567890");
}

} // namespace
