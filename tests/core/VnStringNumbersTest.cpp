#include "core/VnString.h"

#include "core/VnNumberText.h"
#include "tests/support/TestText.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <limits>
#include <string>

namespace {

TEST(VnStringNumbers, ParsesIntegers) {
    const struct {
        const wchar_t* Text;
        int32_t Int;
        uint32_t UInt;
        int64_t Int64;
        uint64_t UInt64;
    } rows[] = {
        {L"", 0, 0, 0, 0},
        {L"12abc", 12, 12, 12, 12},
        {L"  -7", -7, 0xFFFFFFF9, -7, 0xFFFFFFFFFFFFFFF9},
        {L"\t+5", 5, 5, 5, 5},
        {L"-", 0, 0, 0, 0},
        {L"+-5", 0, 0, 0, 0},
        {L"- 5", 0, 0, 0, 0},
        {L"--5", 0, 0, 0, 0},
        {L"2147483647", 2147483647, 2147483647, 2147483647, 2147483647},
        {L"2147483648", 2147483647, 2147483648, 2147483648, 2147483648},
        {L"-2147483648", -2147483647, 0x80000000, -2147483648, 0xFFFFFFFF80000000},
        {L"99999999999", 2147483647, 0xFFFFFFFF, 99999999999, 99999999999},
        {L"-99999999999", -2147483647, 1, -99999999999, 0xFFFFFFE8B7891801},
        {L"9223372036854775808", 2147483647, 0xFFFFFFFF, 9223372036854775807, 9223372036854775808U},
        {L"-9223372036854775809", -2147483647, 1, -9223372036854775807, 0x7FFFFFFFFFFFFFFF},
        {L"18446744073709551615", 2147483647, 0xFFFFFFFF, 9223372036854775807, 0xFFFFFFFFFFFFFFFF},
        {L"18446744073709551616", 2147483647, 0xFFFFFFFF, 9223372036854775807, 0xFFFFFFFFFFFFFFFF},
        {L"-18446744073709551616", -2147483647, 1, -9223372036854775807, 1},
        {L"\uFF11\u0662\u06F3\u0967", 1231, 1231, 1231, 1231},
        {L"\u0E53\u1815x", 35, 35, 35, 35},
        {L"\u0661\u0000", 1, 1, 1, 1},
        {L"\u065F", 0, 0, 0, 0},
    };
    for (const auto& row : rows) {
        const VnString text(row.Text);
        SCOPED_TRACE(ToBytes(text));
        EXPECT_EQ(text.ToInt(), row.Int);
        EXPECT_EQ(text.ToUInt(), row.UInt);
        EXPECT_EQ(text.ToInt64(), row.Int64);
        EXPECT_EQ(text.ToUInt64(), row.UInt64);
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
    const struct {
        const wchar_t* Text;
        uint32_t Hex;
        uint64_t Hex64;
    } rows[] = {
        {L"ff", 255, 255},
        {L"0xFF", 255, 255},
        {L"0x -1", 0xFFFFFFFF, 0xFFFFFFFFFFFFFFFF},
        {L"  1Fg", 31, 31},
        {L" 0x1", 0, 0},
        {L"FFFFFFFF", 0xFFFFFFFF, 0xFFFFFFFF},
        {L"100000000", 0xFFFFFFFF, 0x100000000},
        {L"-100000000", 1, 0xFFFFFFFF00000000},
        {L"10000000000000000", 0xFFFFFFFF, 0xFFFFFFFFFFFFFFFF},
        {L"\u0661a", 26, 26},
        {L"0x", 0, 0},
        {L"", 0, 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(ToBytes(row.Text));
        EXPECT_EQ(VnString(row.Text).ToHexInt(), row.Hex);
        EXPECT_EQ(VnString(row.Text).ToHexInt64(), row.Hex64);
    }
    const struct {
        const wchar_t* Text;
        int64_t Size;
    } sizes[] = {
        {L"10K", 10240},    {L"10 m", 10485760}, {L"10", 10}, {L"10 G", 10}, {L"-2k", -2048},
        {L"3 MB", 3145728}, {L"K", 0},           {L"", 0},    {L"1.5K", 1},  {L" 7\t kx", 7168},
    };
    for (const auto& row : sizes) {
        EXPECT_EQ(VnString(row.Text).ToSize(), row.Size) << ToBytes(row.Text);
    }
}

TEST(VnStringNumbers, ParsesDoubles) {
    const struct {
        const wchar_t* Text;
        bool AnySeparator;
        int32_t Maximum;
        bool Exponent;
        double Value;
        int32_t End;
    } rows[] = {
        {L"1,234.5", false, 99, false, 1234.5, 7},
        {L"1,234.5", true, 99, false, 1.234, 5},
        {L"  + +3", false, 99, false, 3, 6},
        {L"-2.25x", false, 99, false, -2.25, 5},
        {L"\u20127", false, 99, false, -7, 2},
        {L"--7", false, 99, false, 0, 1},
        {L"- 7", false, 99, false, 0, 1},
        {L"1.2.3", false, 99, false, 1.2, 3},
        {L"1.2,3", false, 99, false, 1.2, 3},
        {L".5", false, 99, false, 0.5, 2},
        {L"5.", false, 99, false, 5, 2},
        {L"1,5", true, 99, false, 1.5, 3},
        {L"12345", false, 3, false, 123, 3},
        {L"12345", false, 0, false, 0, 0},
        {L"12345", false, -1, false, 0, 0},
        {L"1e3", false, 99, false, 1, 1},
        {L"1e3", false, 99, true, 1000, 3},
        {L"1.5E-2", false, 99, true, 0.015, 6},
        {L"2e2.9", false, 99, true, 200, 5},
        {L"2e", false, 99, true, 2, 2},
        {L"1e1e1", false, 99, true, 1e10, 5},
        {L"0e999", false, 99, true, 0, 5},
        {L"\u0661\u0662.\u0663", false, 99, false, 12.3, 4},
        {L"12345678901234567890123", false, 99, false, 12345678901234567890123.0, 23},
        {L"0.12345678901234567890123", false, 99, false, 0.123456789012345678, 25},
        {L"abc", false, 99, false, 0, 0},
        {L"", false, 99, false, 0, 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(ToBytes(row.Text));
        int32_t end = -9;
        EXPECT_DOUBLE_EQ(
            VnString(row.Text).ToDouble(&end, row.AnySeparator, row.Maximum, row.Exponent),
            row.Value);
        EXPECT_EQ(end, row.End);
    }
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
    EXPECT_EQ(VnString(L"1.2.3.4").ToIPv4(true), 0x01020304U);
    EXPECT_EQ(VnString(L"1.2.3.4").ToIPv4(false), 0x04030201U);
    EXPECT_EQ(VnString(L"255.255.255.255").ToIPv4(true), 0xFFFFFFFFU);
    EXPECT_EQ(VnString(L"1.2.3").ToIPv4(true), 0U);
    EXPECT_EQ(VnString(L"1.2.3.4.5").ToIPv4(true), 0U);
    uint8_t bytes[6] = {9, 9, 9, 9, 9, 9};
    EXPECT_FALSE(VnString(L"00-11-22-33-44").ToMACAddress(bytes));
    EXPECT_FALSE(VnString(L"00-11-22-33-44-100").ToMACAddress(bytes));
    EXPECT_FALSE(VnString(L"00-11-22-33-44-55-66").ToMACAddress(bytes));
    EXPECT_EQ(bytes[0], 9) << "a failure leaves them alone";
    EXPECT_TRUE(VnString(L"00:1a.2B|fF-0:7").ToMACAddress(bytes));
    const uint8_t expected[6] = {0, 0x1A, 0x2B, 0xFF, 0, 7};
    EXPECT_TRUE(std::equal(bytes, bytes + 6, expected));
}

TEST(VnStringNumbers, WritesIntegers) {
    using S = VnString;
    const struct {
        int64_t Value;
        int32_t Digits;
        int32_t Base;
        uint32_t Flags;
        const char* Signed;
        const char* Unsigned; ///< null where a negative value or the base makes no sense
    } rows[] = {
        {0, 0, 10, 0, "0", "0"},
        {-7, 0, 10, 0, "-7", nullptr},
        {42, 5, 10, 0, "00042", "00042"},
        {42, 5, 10, S::kNumberBlanks, "   42", "   42"},
        {-42, 4, 10, 0, "-0042", nullptr},
        {255, 0, 16, 0, "FF", "FF"},
        {255, 0, 16, S::kNumberLowerCase | S::kNumberHexPrefix, "0xff", "0xff"},
        {-255, 4, 16, S::kNumberHexPrefix, "-0x00FF", nullptr},
        {255, 0, 10, S::kNumberHexPrefix, "255", "255"},
        {35, 0, 36, 0, "Z", nullptr},
        {5, 0, 2, 0, "101", "101"},
        {7, 0, 10, S::kNumberPlus, "+7", "+7"},
        {0, 0, 10, S::kNumberPlus, "0", "+0"},
        {999, 0, 10, S::kNumberGroups, "999", "999"},
        {1234567, 0, 10, S::kNumberGroups, "1,234,567", "1234567"},
        {-1000, 0, 10, S::kNumberGroups, "-1,000", nullptr},
        {1234, 6, 10, S::kNumberGroups | S::kNumberBlanks, "  1,234", nullptr},
        {1, 0, 10, S::kNumberOrdinal, "1st", "1"},
        {2, 0, 10, S::kNumberOrdinal, "2nd", "2"},
        {3, 0, 10, S::kNumberOrdinal, "3rd", "3"},
        {4, 0, 10, S::kNumberOrdinal, "4th", "4"},
        {11, 0, 10, S::kNumberOrdinal, "11th", "11"},
        {21, 0, 10, S::kNumberOrdinal, "21st", "21"},
        {112, 0, 10, S::kNumberOrdinal, "112th", "112"},
        {0, 0, 10, S::kNumberOrdinal, "0th", "0"},
        {5, 0, 1, 0, "", ""},
        {5, 0, 37, 0, "", ""},
        {5, 0, 17, 0, "5", ""},
        {std::numeric_limits<int64_t>::min(), 0, 10, 0, "-9223372036854775808", nullptr},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message()
                     << row.Value << " base " << row.Base << " flags " << row.Flags);
        VnString text(L"old");
        text.SetInt(row.Value, row.Digits, row.Base, row.Flags);
        EXPECT_EQ(ToBytes(text), row.Signed);
        if (row.Unsigned != nullptr) {
            text.SetInt(static_cast<uint64_t>(row.Value), row.Digits, row.Base, row.Flags);
            EXPECT_EQ(ToBytes(text), row.Unsigned);
        }
    }
    VnString text;
    text.SetInt(std::numeric_limits<uint64_t>::max(), 0, 2);
    EXPECT_EQ(ToBytes(text), std::string(64, '1'));
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
    using S = VnString;
    const struct {
        double Value;
        int32_t Precision;
        bool KeepZeros;
        int32_t Digits;
        uint32_t Flags;
        const char* Text;
    } rows[] = {
        {0, -1, false, 0, 0, "0"},
        {-0.0, -1, false, 0, 0, "0"},
        {1.5, -1, false, 0, 0, "1.5"},
        {-1.25, -1, false, 0, 0, "-1.25"},
        {0.1, -1, false, 0, 0, "0.1"},
        {2.0, 3, false, 0, 0, "2"},
        {2.0, 3, true, 0, 0, "2.000"},
        {1.005, 1, true, 0, 0, "1.0"},
        {1.25, 1, false, 0, 0, "1.3"},
        {0.999, 2, false, 0, 0, "1"},
        {0.999, 2, true, 0, 0, "1.00"},
        {9.5, 0, false, 0, 0, "10"},
        {9.49, 0, true, 0, 0, "9"},
        {1234.0625, 17, false, 0, 0, "1234.0625"},
        {3.5, 2, true, 4, 0, "0003.50"},
        {0.5, -1, false, 0, S::kDoubleDropZeroInteger, ".5"},
        {-0.5, -1, false, 0, S::kDoubleDropZeroInteger, "-.5"},
        {7, -1, false, 0, S::kDoublePlus, "+7"},
        {0, -1, false, 0, S::kDoublePlus, "0"},
        {0.0625, 2, false, 0, S::kDoublePoint, "0.06"},
        {std::numeric_limits<double>::infinity(), 2, false, 0, 0, "?"},
        {std::numeric_limits<double>::quiet_NaN(), 2, false, 0, 0, "?"},
        {1e22, 2, true, 0, 0, "10000000000000000000000.00"},
        {2251799813685249.5, 1, false, 0, 0, "2251799813685249.5"},
        {1e-9, 9, false, 0, 0, "0.000000001"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.Text);
        VnString text(L"old");
        text.SetDouble(row.Value, row.Precision, row.KeepZeros, row.Digits, row.Flags);
        EXPECT_EQ(ToBytes(text), row.Text);
    }
    VnString text;
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
