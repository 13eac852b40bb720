#include "core/VnString.h"

#include "core/VnNumberText.h"
#include "tests/support/TestText.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <tuple>

namespace {

TEST(VnStringNumbers, ParsesIntegers) {
    const std::tuple<const wchar_t*, int32_t, uint32_t, int64_t, uint64_t> rows[] = {
        {L"", 0, 0, 0, 0},
        {L"12abc", 12, 12, 12, 12},
        {L"  -7", -7, 0xFFFFFFF9, -7, 0xFFFFFFFFFFFFFFF9},
        {L"\t+5", 5, 5, 5, 5},
        {L"-", 0, 0, 0, 0},
        {L"--5", 0, 0, 0, 0},
        {L"2147483647", 2147483647, 2147483647, 2147483647, 2147483647},
        {L"2147483648", 2147483647, 2147483648, 2147483648, 2147483648},
        {L"-2147483648", -2147483647, 0x80000000, -2147483648, 0xFFFFFFFF80000000},
        {L"99999999999", 2147483647, 0xFFFFFFFF, 99999999999, 99999999999},
        {L"-99999999999", -2147483647, 1, -99999999999, 0xFFFFFFE8B7891801},
        {L"9223372036854775808", 2147483647, 0xFFFFFFFF, 9223372036854775807, 9223372036854775808U},
        {L"-9223372036854775809", -2147483647, 1, -9223372036854775807, 0x7FFFFFFFFFFFFFFF},
        {L"18446744073709551615", 2147483647, 0xFFFFFFFF, 9223372036854775807, 0xFFFFFFFFFFFFFFFF},
        {L"-18446744073709551616", -2147483647, 1, -9223372036854775807, 1},
    };
    for (const auto& [digits, asInt, asUInt, asInt64, asUInt64] : rows) {
        const VnString text(digits);
        SCOPED_TRACE(ToBytes(text));
        EXPECT_EQ(text.ToInt(), asInt);
        EXPECT_EQ(text.ToUInt(), asUInt);
        EXPECT_EQ(text.ToInt64(), asInt64);
        EXPECT_EQ(text.ToUInt64(), asUInt64);
    }
}

TEST(VnStringNumbers, EveryDigitBlockHasTenDigits) {
    const uint32_t blocks[] = {0xFF10, 0x0660, 0x06F0, 0x0966, 0x09E6, 0x0A66,
                               0x0AE6, 0x0B66, 0x0C66, 0x0CE6, 0x0D66, 0x0E50,
                               0x0ED0, 0x0F20, 0x1040, 0x17E0, 0x1810};
    for (const uint32_t first : blocks) {
        for (uint32_t digit = 0; digit < 10; ++digit) {
            EXPECT_EQ(VnString(static_cast<wchar_t>(first + digit)).ToInt(),
                      static_cast<int32_t>(digit))
                << first;
        }
        EXPECT_EQ(VnString(static_cast<wchar_t>(first + 10)).ToInt(), 0) << first;
        EXPECT_EQ(VnString(static_cast<wchar_t>(first - 1)).ToInt(), 0) << first;
    }
}

TEST(VnStringNumbers, ParsesHexadecimalAndSizes) {
    const std::tuple<const wchar_t*, uint32_t, uint64_t> rows[] = {
        {L"ff", 255, 255},
        {L"0xFg", 15, 15},
        {L"0x -1", 0xFFFFFFFF, 0xFFFFFFFFFFFFFFFF},
        {L" 0x1", 0, 0},
        {L"FFFFFFFF", 0xFFFFFFFF, 0xFFFFFFFF},
        {L"100000000", 0xFFFFFFFF, 0x100000000},
        {L"-100000000", 1, 0xFFFFFFFF00000000},
        {L"10000000000000000", 0xFFFFFFFF, 0xFFFFFFFFFFFFFFFF},
        {L"\u0661a", 26, 26},
        {L"0x", 0, 0},
    };
    for (const auto& [text, hex, hex64] : rows) {
        SCOPED_TRACE(ToBytes(text));
        EXPECT_EQ(VnString(text).ToHexInt(), hex);
        EXPECT_EQ(VnString(text).ToHexInt64(), hex64);
    }
    const std::pair<const wchar_t*, int64_t> sizes[] = {
        {L"10K", 10240},    {L"10 m", 10485760}, {L"10", 10}, {L"10 G", 10}, {L"-2k", -2048},
        {L"3 MB", 3145728}, {L"K", 0},           {L"", 0},    {L"1.5K", 1},  {L" 7\t kx", 7168},
    };
    for (const auto& [text, size] : sizes) {
        EXPECT_EQ(VnString(text).ToSize(), size) << ToBytes(text);
    }
}

TEST(VnStringNumbers, ParsesDoubles) {
    // The letter asks for any separator (a) or for exponents (e).
    const std::tuple<const wchar_t*, wchar_t, double, int32_t> rows[] = {
        {L"1,234.5", 0, 1234.5, 7},
        {L"1,234.5", 'a', 1.234, 5},
        {L"  + +3", 0, 3, 6},
        {L"\u20127", 0, -7, 2},
        {L"- 7", 0, 0, 1},
        {L"-1.2.3", 0, -1.2, 4},
        {L"1..5", 0, 1.5, 4},
        {L"1.,5", 0, 1.5, 4},
        {L".5", 0, 0.5, 2},
        {L"5.", 0, 5, 2},
        {L"abc", 0, 0, 0},
        {L"\u0661\u0662.\u0663", 0, 12.3, 4},
        {L"1e3", 0, 1, 1},
        {L"1e3", 'e', 1000, 3},
        {L"1.5E-2", 'e', 0.015, 6},
        {L"2e2.9", 'e', 200, 5},
        {L"2e", 'e', 2, 2},
        {L"1e1e1", 'e', 1e10, 5},
        {L"0e999", 'e', 0, 5},
        {L"12345678901234567890", 0, 12345678901234567890.0, 20},
        {L"0.12345678901234567890", 0, 0.1234567890123456789, 22},
    };
    for (const auto& [text, mode, value, expectedEnd] : rows) {
        SCOPED_TRACE(ToBytes(text));
        int32_t end = -9;
        EXPECT_DOUBLE_EQ(VnString(text).ToDouble(&end, mode == 'a', 99, mode == 'e'), value);
        EXPECT_EQ(end, expectedEnd);
    }
    EXPECT_EQ(VnString(L"12345").ToDouble(nullptr, false, 3), 123);
    EXPECT_EQ(VnString(L"12345").ToDouble(nullptr, false, 0), 0);
    std::wstring deep;
    for (int32_t i = 0; i < 200000; ++i) {
        deep += L"1e";
    }
    EXPECT_TRUE(std::isinf(VnString(deep.c_str()).ToDouble(nullptr, false, 0x7fffffff, true)));
}

TEST(VnStringNumbers, ParsesTheRest) {
    for (const wchar_t* text : {L"yes", L"TRUE", L"1", L"0.5", L"7", L"00.1", L"True"}) {
        EXPECT_TRUE(VnString(text).ToBool()) << ToBytes(text);
    }
    for (const wchar_t* text : {L"0", L"no", L"", L"0.0", L"00", L"yes!", L"-1", L" 1", L"on"}) {
        EXPECT_FALSE(VnString(text).ToBool()) << ToBytes(text);
    }
    const std::pair<const wchar_t*, uint32_t> addresses[] = {{L"1.2.3.4", 0x01020304},
                                                             {L"255.255.255.255", 0xFFFFFFFF},
                                                             {L"1.2.3", 0},
                                                             {L"1.2.3.4.5", 0},
                                                             {L"1.2.3.", 0}};
    for (const auto& [text, address] : addresses) {
        EXPECT_EQ(VnString(text).ToIPv4(true), address) << ToBytes(text);
    }
    EXPECT_EQ(VnString(L"1.2.3.4").ToIPv4(false), 0x04030201U);
    uint8_t bytes[6] = {9, 9, 9, 9, 9, 9};
    for (const wchar_t* text : {L"0-1-2-3-4", L"0-1-2-3-4-", L"0-1-2-3-4-100", L"0-1-2-3-4-5-6"}) {
        EXPECT_FALSE(VnString(text).ToMACAddress(bytes)) << ToBytes(text);
    }
    EXPECT_EQ(bytes[0], 9) << "a failure leaves them alone";
    EXPECT_TRUE(VnString(L"00:1a.2B|fF-0:7").ToMACAddress(bytes));
    const uint8_t expected[6] = {0, 0x1A, 0x2B, 0xFF, 0, 7};
    EXPECT_TRUE(std::equal(bytes, bytes + 6, expected));
}

TEST(VnStringNumbers, WritesIntegers) {
    using S = VnString;
    // The last is the text of the unsigned number, null where a negative value makes no sense.
    const std::tuple<int64_t, uint32_t, int32_t, int32_t, const char*, const char*> rows[] = {
        {0, 0, 10, 0, "0", "0"},
        {-7, 0, 10, 0, "-7", nullptr},
        {-42, 0, 10, 4, "-0042", nullptr},
        {42, S::kNumberBlanks, 10, 5, "   42", "   42"},
        {255, S::kNumberLowerCase | S::kNumberHexPrefix, 16, 0, "0xff", "0xff"},
        {-255, S::kNumberHexPrefix, 16, 4, "-0x00FF", nullptr},
        {255, S::kNumberHexPrefix, 10, 0, "255", "255"},
        {7, S::kNumberPlus, 10, 0, "+7", "+7"},
        {0, S::kNumberPlus, 10, 0, "0", "+0"},
        {1234567, S::kNumberGroups, 10, 0, "1,234,567", "1234567"},
        {-100, S::kNumberGroups, 10, 0, "-100", nullptr},
        {1234, S::kNumberGroups | S::kNumberBlanks, 10, 6, "  1,234", "  1234"},
        {112, S::kNumberOrdinal, 10, 0, "112th", "112"},
        {5, 0, 2, 0, "101", "101"},
        {5, 0, 17, 0, "5", ""},
        {35, 0, 36, 0, "Z", ""},
        {5, 0, 1, 0, "", ""},
        {5, 0, 37, 0, "", ""},
    };
    for (const auto& [value, flags, base, digits, asSigned, asUnsigned] : rows) {
        SCOPED_TRACE(testing::Message() << value << " base " << base);
        VnString text(L"old");
        text.SetInt(value, digits, base, flags);
        EXPECT_EQ(ToBytes(text), asSigned);
        if (asUnsigned != nullptr) {
            text.SetInt(static_cast<uint64_t>(value), digits, base, flags);
            EXPECT_EQ(ToBytes(text), asUnsigned);
        }
    }
    VnString text;
    for (const char* ordinal : {"0th", "1st", "2nd", "3rd", "4th", "11th", "21st"}) {
        text.SetInt(ToText(ordinal).ToInt(), 0, 10, S::kNumberOrdinal);
        EXPECT_EQ(ToBytes(text), ordinal);
    }
    text.SetInt(std::numeric_limits<uint64_t>::max(), 0, 2);
    EXPECT_EQ(ToBytes(text), std::string(64, '1'));
    text.SetInt(std::numeric_limits<int64_t>::min());
    EXPECT_EQ(text, L"-9223372036854775808");
    text.SetInt(uint32_t{0xFFFFFFFF});
    EXPECT_EQ(text, L"4294967295");
    text.SetInt(int32_t{-1}, 300);
    EXPECT_EQ(text.GetLength(), 301);
}

TEST(VnStringNumbers, WriterRefusesAndMarksShortBuffers) {
    wchar_t buffer[16] = L"...............";
    int32_t position = 9;
    EXPECT_FALSE(VnNumberText::WriteSigned(buffer, 16, position, 1, 0, 10, 0));
    EXPECT_EQ(position, 9);
    position = 8;
    EXPECT_TRUE(VnNumberText::WriteSigned(buffer, 16, position, 1234567890, 0, 10, 0));
    EXPECT_EQ(position, 16);
    EXPECT_EQ(std::wstring(buffer + 8, 8), L"1234567?");
    position = 0;
    EXPECT_TRUE(VnNumberText::WriteUnsigned(buffer, 16, position, 12345678, 0, 10, 0));
    EXPECT_EQ(position, 8);
    EXPECT_EQ(std::wstring(buffer, 8), L"12345678");
}

TEST(VnStringNumbers, WritesDoubles) {
    // Without the zeros at the end, and with them.
    const std::tuple<double, int32_t, const char*, const char*> rows[] = {
        {2, 3, "2", "2.000"},
        {1.005, 1, "1", "1.0"},
        {1.25, 1, "1.3", "1.3"},
        {0.999, 2, "1", "1.00"},
        {9.5, 0, "10", "10"},
        {-0.0, 0, "0", "0"},
        {-1.25, 3, "-1.25", "-1.250"},
        {0.1, -1, "0.1", "0.1000000000000000"},
        {0.5, 17, "0.5", "0.5000000000000000"},
        {2251799813685249.5, 1, "2251799813685249.5", "2251799813685249.5"},
        {1e22, 2, "10000000000000000000000", "10000000000000000000000.00"},
        {std::numeric_limits<double>::infinity(), 2, "?", "?"},
        {std::numeric_limits<double>::quiet_NaN(), 2, "?", "?"},
    };
    for (const auto& [value, precision, shortText, fullText] : rows) {
        VnString text(L"old");
        text.SetDouble(value, precision);
        EXPECT_EQ(ToBytes(text), shortText);
        text.SetDouble(value, precision, /*keepZeros=*/true);
        EXPECT_EQ(ToBytes(text), fullText);
    }
    using S = VnString;
    const std::tuple<double, uint32_t, const char*> flagged[] = {
        {0.5, S::kDoubleDropZeroInteger, ".5"},
        {-0.5, S::kDoubleDropZeroInteger, "-.5"},
        {7, S::kDoublePlus, "+07"},
        {0, S::kDoublePlus, "00"},
        {3.5, S::kDoublePoint, "03.5"},
    };
    VnString text;
    for (const auto& [value, flags, expected] : flagged) {
        text.SetDouble(value, -1, false, 2, flags);
        EXPECT_EQ(ToBytes(text), expected);
    }
    text.SetDouble(1e200, 2, true);
    EXPECT_EQ(text.GetLength(), 200) << "stops ahead of the fraction";
    text.SetDouble(1.5, 2, true, 192);
    EXPECT_EQ(ToBytes(text), std::string(191, '0') + "1");
}

TEST(VnStringNumbers, WritesTheRest) {
    VnString text;
    text.SetIPv4(0xC0A80101);
    EXPECT_EQ(text, L"192.168.1.1");
    text.SetHex(0xABC);
    EXPECT_EQ(text, L"ABC");
    text.SetHex(0xABC, true);
    EXPECT_EQ(text, L"0xABC");
    text.SetPointer(0x1234ABCD);
    EXPECT_EQ(text, L"000000001234ABCD");
    EXPECT_EQ(VnString::FromInt(-5, 3), L"-005");
}

} // namespace
