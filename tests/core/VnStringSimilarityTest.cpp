#include "core/VnString.h"

#include "tests/support/TestText.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <tuple>
#include <vector>

namespace {

constexpr int32_t kTooFar = 0x7fffffff;

/// The textbook table, without any short cut, at some cost of a character in the place of another.
int32_t PlainDistance(const std::wstring& a, const std::wstring& b, int32_t replaceCost) {
    std::vector<std::vector<int32_t>> table(a.size() + 1, std::vector<int32_t>(b.size() + 1));
    for (size_t i = 0; i <= a.size(); ++i) {
        for (size_t j = 0; j <= b.size(); ++j) {
            if (i == 0 || j == 0) {
                table[i][j] = static_cast<int32_t>(i + j);
                continue;
            }
            table[i][j] =
                std::min({table[i - 1][j] + 1, table[i][j - 1] + 1,
                          table[i - 1][j - 1] + (a[i - 1] == b[j - 1] ? 0 : replaceCost)});
        }
    }
    return table[a.size()][b.size()];
}

bool IsSubsequence(const std::wstring& part, const std::wstring& whole) {
    size_t next = 0;
    for (const wchar_t ch : whole) {
        next += next < part.size() && part[next] == ch ? 1 : 0;
    }
    return next == part.size();
}

std::wstring RandomText(std::mt19937& random) {
    std::wstring text(random() % 12, L'a');
    for (wchar_t& ch : text) {
        ch = static_cast<wchar_t>(L'a' + random() % 3);
    }
    return text;
}

} // namespace

TEST(VnStringSimilarity, AgreesWithTheFullTables) {
    for (uint32_t seed = 0; seed < 400; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 random(seed);
        const std::wstring a = RandomText(random);
        const std::wstring b = RandomText(random);
        const VnString common = VnString::LongestCommonSubsequence(a.c_str(), b.c_str());
        // When replacing costs as much as removing and adding, what is left alone is common.
        EXPECT_EQ(2 * common.GetLength() + PlainDistance(a, b, 2),
                  static_cast<int32_t>(a.size() + b.size()));
        EXPECT_TRUE(IsSubsequence(common.GetText(), a) && IsSubsequence(common.GetText(), b));
        const int32_t distance = PlainDistance(a, b, 1);
        EXPECT_EQ(VnString(a.c_str()).Levenshtein(b.c_str()), distance);
        for (int32_t limit = -1; limit < 13; ++limit) {
            EXPECT_EQ(VnString(a.c_str()).Levenshtein(b.c_str(), limit),
                      distance <= limit ? distance : kTooFar)
                << "limit " << limit;
        }
    }
}

TEST(VnStringSimilarity, CompareIsFolded) {
    EXPECT_EQ(VnString(L"Kitten").Levenshtein(L"sITTING"), 3);
    EXPECT_EQ(VnString(L"abc").Levenshtein(nullptr), 3);
    EXPECT_EQ(ToBytes(VnString::LongestCommonSubsequence(L"AbCdE", L"xaxbxe")), "AbE")
        << "the spelling of the first";
}

TEST(VnStringSimilarity, IsSimilarGrowsWithThisText) {
    constexpr std::tuple<const wchar_t*, const wchar_t*, bool> kRows[] = {
        {L"abcd", L"abcf", true},
        {L"abc", L"abd", false},
        {L"abc", L"ABC", true},
        {L"abcdefgh", L"abcdefxy", true},
        {L"abcdefgh", L"abcdexyz", false},
        {L"abcdefghijklmnopqrstuvwxyz", L"bcdefghijklmnopqrstuvw", false},
        {L"abcdefghijklmnopqrstuvwxyz", L"bcdefghijklmnopqrstuvwxy", true},
        {L"", L"", true}};
    for (const auto& [text, other, similar] : kRows) {
        EXPECT_EQ(VnString(text).IsSimilar(other), similar) << ToBytes(text);
    }
}

TEST(VnStringSimilarity, PatternClassesAndEnds) {
    constexpr std::tuple<const wchar_t*, const wchar_t*, bool, bool> kRows[] = {
        {L"", L"", true, true},        {L"a", L"", true, false},
        {L"", L"a", true, false},      {L"7", L"\\#", true, true},
        {L"x", L"\\#", true, false},   {L"x", L"\\a", true, true},
        {L"7", L"\\a", true, false},   {L"x7", L"\\$\\$", true, true},
        {L"-", L"\\$", true, false},   {L"fA9", L"\\h\\h\\h", true, true},
        {L"g", L"\\h", true, false},   {L"\\", L"\\\\", true, true},
        {L"a", L"\\\\", true, false},  {L"ABC", L"abc", false, true},
        {L"ABC", L"abc", true, false}, {L"abc", L"ab", true, false},
        {L"ab", L"abc", true, false},  {L"a", L"\\", true, false}};
    for (const auto& [text, pattern, caseFlag, matches] : kRows) {
        EXPECT_EQ(VnString(text).MatchesPattern(pattern, caseFlag), matches)
            << ToBytes(text) << " against " << ToBytes(pattern);
    }
}

TEST(VnStringSimilarity, MadeOfAndNumber) {
    EXPECT_TRUE(VnString(L"ab1-").IsMadeOf(true, true, L"-", 0, 10));
    EXPECT_FALSE(VnString(L"ab1").IsMadeOf(true, false, nullptr, 0, 10));
    EXPECT_FALSE(VnString(L"ab").IsMadeOf(false, true, L"a", 0, 10));
    EXPECT_FALSE(VnString(L"abc").IsMadeOf(true, true, nullptr, 0, 2));
    EXPECT_FALSE(VnString(L"").IsMadeOf(true, true, nullptr, 1, 2));
    EXPECT_TRUE(VnString(L"").IsMadeOf(false, false, nullptr, 0, 2));

    EXPECT_TRUE(VnString(L"-12").IsNumber());
    EXPECT_FALSE(VnString(L"1-2").IsNumber());
    EXPECT_FALSE(VnString(L"1.5").IsNumber());
    EXPECT_TRUE(VnString(L"1,000.5").IsNumber(false, true));
    EXPECT_FALSE(VnString(L"").IsNumber());
    EXPECT_TRUE(VnString(L"").IsNumber(true));
    EXPECT_TRUE(VnString(L"12345678901234567890123456789012").IsNumber());
    EXPECT_FALSE(VnString(L"123456789012345678901234567890123").IsNumber());
}
