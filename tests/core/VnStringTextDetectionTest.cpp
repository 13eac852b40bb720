#include "core/VnString.h"

#include "core/VnBuffer.h"
#include "tests/support/TestText.h"

#include <gtest/gtest.h>

#include <string>

using namespace std::string_literals;

namespace {

struct Row {
    const char* What;
    std::string Bytes;
    const wchar_t* Text;
    int32_t Encoding = 0;
    bool DropZeros = false;
};

const Row kRows[] = {
    {"empty", "", L""},
    {"ASCII", "abc", L"abc"},
    {"one byte", "\xE9", L"\u00E9"},
    {"8-bit", "caf\xE9\x80", L"caf\u00E9\u0080"},
    {"UTF-8", "caf\xC3\xA9", L"caf\u00E9"},
    {"UTF-8 with mark", "\xEF\xBB\xBFx\xC3\xA9", L"x\u00E9"},
    {"valid and invalid lead", "\xC3\xA9\x80", L"\u00C3\u00A9\u0080"},
    {"UTF-16 little endian with mark", "\xFF\xFEx\0\xAC\x20"s, L"x\u20AC"},
    {"UTF-16 big endian with mark", "\xFE\xFF\0a\x20\xAC"s, L"a\u20AC"},
    {"UTF-16 without mark", "a\0b\0"s, L"ab"},
    {"UTF-16 with a lead byte first", "\xE9\0x\0"s, L"\u00E9x"},
    {"32 bits", "a\0\0\0b\0\0\0"s, L"ab"},
    {"32 bits with a lead byte first", "\xE9\0\0\0x\0\0\0"s, L"\u00E9x"},
    {"trailing zeros", "abc\0\0\0"s, L"abc"},
    {"only zeros", "\0\0\0\0"s, L""},
    {"only zeros, dropped", "\0\0\0\0"s, L"", 0, true},
    {"cut sequence", "ab\xC3", L"ab\u00C3"},
    {"8-bit forced", "\xC3\xA9", L"\u00C3\u00A9", 1},
    {"UTF-8 forced keeps a mark", "\xEF\xBB\xBFx", L"\uFEFFx", 2},
    {"UTF-8 with optional mark", "\xEF\xBB\xBFx", L"x", 5},
    {"UTF-8 with optional mark absent", "x", L"x", 5},
    {"UTF-16 forced, odd size", "a\0b"s, L"ab", 3},
    {"8-bit ends at a zero", "ab\0cd"s, L"ab", 1},
    {"8-bit, zeros dropped", "ab\0cd"s, L"abcd", 1, true},
    {"UTF-16, zeros dropped", "a\0\0\0b\0"s, L"ab", 3, true},
    {"32 bits, zeros dropped", "a\0\0\0\0\0\0\0b\0\0\0"s, L"ab", 0, true},
};

} // namespace

TEST(VnStringTextDetection, FormIsFoundAndRead) {
    for (const Row& row : kRows) {
        SCOPED_TRACE(row.What);
        VnBuffer buffer = ToBuffer(row.Bytes);
        VnString text(L"old");
        EXPECT_TRUE(text.SetFromBuffer(buffer, row.Encoding, row.DropZeros));
        EXPECT_EQ(ToBytes(text), ToBytes(row.Text));
        EXPECT_EQ(ToBytes(buffer), row.Bytes);
    }
}
