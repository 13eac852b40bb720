#include "core/VnString.h"

#include "files/VnFileSystem.h"
#include "runtime/VnSiblingModules.h"
#include "tests/support/TestText.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <tuple>

namespace {

/// The word lists are read once a process, so they stand in the user's folder before any test.
class VnStringCapitalize : public testing::Test {
protected:
    static void SetUpTestSuite() {
        const std::filesystem::path folder =
            ToBytes(VnFileSystem::GetDirectoryUser()) + "Data/Custom Resources";
        std::filesystem::create_directories(folder);
        std::ofstream(folder / "CapitalizationExclusion.txt") << "the\r\nof\r\nAND\r\n";
        std::ofstream(folder / "CapitalizationAllCaps.txt") << "usa\r\nREM";
    }
};

} // namespace

TEST_F(VnStringCapitalize, ModesAndWordLists) {
    constexpr std::tuple<VnCapitalizeMode, const wchar_t*, const wchar_t*> kRows[] = {
        {kCapitalizeTitle, L"the end of the road", L"The End of the Road"},
        {kCapitalizeTitle, L"THE TOP OF", L"The Top Of"},
        {kCapitalizeTitle, L"rock-the (of) and roll", L"Rock-The (Of) And Roll"},
        {kCapitalizeTitle, L"live in the usa", L"Live In the USA"},
        {kCapitalizeEveryWord, L"end of rem", L"End Of REM"},
        {kCapitalizeEveryWord, L"o'brien", L"O'Brien"},
        {kCapitalizeEveryWord, L"i'm", L"I'm"},
        {kCapitalizeEveryWord, L"mccartney mc", L"McCartney Mc"},
        {kCapitalizeEveryWord, L"2nd take", L"2nd Take"},
        {kCapitalizeEveryWord, L"LOUD-a\u2026b (c).d/e&f!g", L"Loud-A\u2026B (C).D/E&F!G"},
        {kCapitalizeEveryWord, L"\\a_b[c]d;e,f", L"\\A_B[C]D;E,f"},
        {kCapitalizeFirstWord, L"FIRST of Rem", L"First of REM"},
        {kCapitalizeUpper, L"mixed Case", L"MIXED CASE"},
        {kCapitalizeLower, L"END OF REM", L"end of rem"},
        {kCapitalizeUnchanged, L"mIxEd", L"mIxEd"},
        {kCapitalizeNone, L"mIxEd", L"mIxEd"},
        {kCapitalizeTitle, L"", L""},
    };
    for (const auto& [mode, before, after] : kRows) {
        VnString text(before);
        text.Capitalize(mode);
        EXPECT_EQ(ToBytes(text), ToBytes(after)) << "mode " << mode;
    }
}

TEST_F(VnStringCapitalize, CleanUpStepsByTheirArguments) {
    // First the letters of the steps that are asked for, "c" to capitalise.
    const std::tuple<const char*, const wchar_t*, const wchar_t*> rows[] = {
        {"unt", L"some_song  --  ( live )", L"some song - (live)"},
        {"te", L"- wait... . . . -", L"wait\u2026 \u2026"},
        {"q", L"\u201CIt\u2019s\u201D \u2018x", L"\"It's\" 'x"},
        {"c", L"one two\n\nthree", L"One Two\n\nThree"},
        {"", L"a_b  --\u2019...", L"a_b  --\u2019..."},
    };
    for (const auto& [steps, before, after] : rows) {
        const auto wants = [&](char step) { return std::strchr(steps, step) != nullptr; };
        VnString text(before);
        text.CleanUp(wants('u'), wants('c') ? kCapitalizeEveryWord : kCapitalizeNone, wants('n'),
                     wants('t'), VnString::kArticleKeep, wants('e'), wants('q'));
        EXPECT_EQ(ToBytes(text), ToBytes(after));
    }
}

TEST_F(VnStringCapitalize, AGivenArticleMoves) {
    VnString text(L"the Beatles");
    text.MoveArticleToEnd(L"The");
    EXPECT_EQ(ToBytes(text), "Beatles, The");
    text.MoveArticleToFront(L"The");
    EXPECT_EQ(ToBytes(text), "The Beatles");
    VnString theatre(L"Theatre");
    theatre.MoveArticleToEnd(L"The");
    theatre.MoveArticleToFront(L"The");
    theatre.MoveArticleToEnd(nullptr);
    EXPECT_EQ(ToBytes(theatre), "Theatre");
}

TEST_F(VnStringCapitalize, ArticlesOfTheToolsModuleMove) {
    if (VnGetToolsRoot() == nullptr) {
        GTEST_SKIP() << "the tools module is not built: nothing is known about articles";
    }
    VnString text(L"The Beatles");
    EXPECT_TRUE(text.HasArticle(true, false));
    EXPECT_FALSE(text.HasArticle(false, true));
    text.CleanUp(false, kCapitalizeNone, false, false, VnString::kArticleToEnd, false, false);
    EXPECT_EQ(ToBytes(text), "Beatles, The");
    EXPECT_TRUE(text.HasArticle(false, true));
    VnString stripped(text);
    stripped.StripArticle(true, true);
    EXPECT_EQ(ToBytes(stripped), "Beatles");
    text.CleanUp(false, kCapitalizeNone, false, false, VnString::kArticleToFront, false, false);
    EXPECT_EQ(ToBytes(text), "The Beatles");
    text.StripArticle(true, false);
    EXPECT_EQ(ToBytes(text), "Beatles");
}
