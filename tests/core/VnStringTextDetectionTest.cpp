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
    int32_t Encoding;
    bool DropZeros;
    const wchar_t* Text;
};

const Row kRows[] = {
    {"empty", "", 0, false, L""},
    {"ASCII", "abc", 0, false, L"abc"},
    {"8-bit", "caf\xE9\x80", 0, false, L"caf\u00E9\u0080"},
    {"UTF-8", "caf\xC3\xA9", 0, false, L"caf\u00E9"},
    {"UTF-8 with mark", "\xEF\xBB\xBFx\xC3\xA9", 0, false, L"x\u00E9"},
    {"valid and invalid lead", "\xC3\xA9\x80", 0, false, L"\u00C3\u00A9\u0080"},
    {"UTF-16 little endian with mark",
     "\xFF\xFE"
     "a\0\xAC\x20"s,
     0, false, L"a\u20AC"},
    {"UTF-16 big endian with mark", "\xFE\xFF\0a\x20\xAC"s, 0, false, L"a\u20AC"},
    {"UTF-16 without mark", "a\0b\0"s, 0, false, L"ab"},
    {"UTF-16 with a lead byte first", "\xE9\0a\0"s, 0, false, L"\u00E9a"},
    {"32 bits", "a\0\0\0b\0\0\0"s, 0, false, L"ab"},
    {"32 bits with a lead byte first", "\xE9\0\0\0b\0\0\0"s, 0, false,
     L"\u00E9"
     L"b"},
    {"trailing zeros", "abc\0\0\0"s, 0, false, L"abc"},
    {"only zeros", "\0\0\0\0"s, 0, false, L""},
    {"only zeros, dropped", "\0\0\0\0"s, 0, true, L""},
    {"cut sequence", "ab\xC3", 0, false, L"ab\u00C3"},
    {"8-bit forced", "\xC3\xA9", 1, false, L"\u00C3\u00A9"},
    {"UTF-8 forced keeps a mark", "\xEF\xBB\xBFx", 2, false, L"\uFEFFx"},
    {"UTF-8 with optional mark", "\xEF\xBB\xBFx", 5, false, L"x"},
    {"UTF-8 with optional mark absent", "x", 5, false, L"x"},
    {"UTF-16 forced, odd size", "a\0b"s, 3, false, L"ab"},
    {"8-bit ends at a zero", "ab\0cd"s, 1, false, L"ab"},
    {"8-bit, zeros dropped", "ab\0cd"s, 1, true, L"abcd"},
    {"UTF-16, zeros dropped", "a\0\0\0b\0"s, 3, true, L"ab"},
};

} // namespace

TEST(VnStringTextDetection, FormIsFoundAndRead) {
    for (const Row& row : kRows) {
        SCOPED_TRACE(row.What);
        VnBuffer buffer;
        buffer.Set(row.Bytes.data(), static_cast<int64_t>(row.Bytes.size()));
        VnString text(L"old");
        EXPECT_TRUE(text.SetFromBuffer(buffer, row.Encoding, row.DropZeros));
        EXPECT_EQ(ToBytes(text), ToBytes(row.Text));
        ASSERT_EQ(buffer.GetSize(), static_cast<int64_t>(row.Bytes.size()));
        EXPECT_TRUE(row.Bytes.empty()
                    || std::string(reinterpret_cast<char*>(buffer.GetData()), row.Bytes.size())
                           == row.Bytes);
    }
}
