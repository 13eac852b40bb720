#include "host/CPathCleaner.h"
#include "host/HostText.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

TEST(PathCleaner, MakesNamesThatEveryFileSystemHolds) {
    const std::pair<std::wstring, std::wstring> kRows[] = {
        {L"", L""},
        {L"Plain name", L"Plain name"},
        {L"a/b\\c", L"a_b_c"},
        {L"\"*:<>?|", L"_______"},
        {L"a\nb\tc\x7F\x85", L"a_b_c__"},
        {L"  both ends  ", L"both ends"},
        {L"Paris. . .", L"Paris"},
        {L".", L"_"},
        {L"..", L"_"},
        {L" .. ", L"_"},
        {L"...", L"_"},
        {L"..a", L"..a"},
        {L"../../etc/passwd", L".._.._etc_passwd"},
        {L"$(rm -rf ~) `x` 'q'", L"$(rm -rf ~) `x` 'q'"},
        {L"con", L"con_"},
        {L"NUL.txt", L"NUL_.txt"},
        {L"Com1", L"Com1_"},
        {L"COM0", L"COM0"},
        {L"LPT9.a.b", L"LPT9_.a.b"},
        {L"console", L"console"},
        {L"日本 🌬", L"日本 🌬"},
        {std::wstring(L"byte ") + static_cast<wchar_t>(0xDCE9), L"byte _"},
        {std::wstring(L"a\0b", 3), L"a_b"},
    };
    const auto printable = [](std::wstring_view text) { return HostPrintable(text); };
    for (const auto& [text, clean] : kRows) {
        EXPECT_EQ(printable(CPathCleaner::CleanSegment(text)), printable(clean)) << printable(text);
    }
}

TEST(PathCleaner, CutsAtACharactersBorder) {
    for (const wchar_t ch : {L'x', L'é', L'語', static_cast<wchar_t>(0x1F32C)}) {
        for (size_t reserved = 0; reserved < 6; ++reserved) {
            SCOPED_TRACE(HostNarrow(std::wstring(1, ch)) + " with room for "
                         + std::to_string(reserved));
            const std::wstring clean = CPathCleaner::CleanSegment(std::wstring(1000, ch), reserved);
            const size_t bytes = HostNarrow(clean).size();
            EXPECT_LE(bytes + reserved, 255U);
            EXPECT_GT(bytes + reserved + 4, 255U);
            EXPECT_EQ(clean, std::wstring(clean.size(), ch));
        }
    }
}

TEST(PathCleaner, CutsNeitherAccentsNorEndsInADot) {
    EXPECT_EQ(CPathCleaner::Cut(L"abce\u0301", 5), L"abc");
    EXPECT_EQ(CPathCleaner::Cut(L"ab. cd", 4), L"ab");
    EXPECT_EQ(CPathCleaner::Cut(L"abc", 3), L"abc");
}

TEST(HostText, PrintsNothingThatATerminalObeys) {
    const std::pair<std::string, std::string> kRows[] = {
        {"plain.mp3", "plain.mp3"},
        {"a\nb\rc\td", "a\\nb\\rc\\td"},
        {"\x1B[2Jx\x7F", "\\x1B[2Jx\\x7F"},
        {"\xC2\x9B[2J", "\\x9B[2J"},
        {"caf\xE9", "caf\\xE9"},
        {"\xE6\x97\xA5", "\xE6\x97\xA5"},
    };
    for (const auto& [bytes, printed] : kRows) {
        EXPECT_EQ(HostPrintable(std::string_view(bytes)), printed);
    }
}
