#include "core/VnString.h"

#include "files/VnFileSystem.h"
#include "runtime/VnSiblingModules.h"
#include "tests/support/TestText.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace {

struct Row {
    VnCapitalizeMode Mode;
    const wchar_t* Before;
    const wchar_t* After;
};

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

TEST_F(VnStringCapitalize, TitlesUseTheWordLists) {
    constexpr Row kRows[] = {
        {kCapitalizeTitle, L"the end of the road", L"The End of the Road"},
        {kCapitalizeTitle, L"THE TOP OF", L"The Top Of"},
        {kCapitalizeTitle, L"rock-the (of) and roll", L"Rock-The (Of) And Roll"},
        {kCapitalizeTitle, L"live in the usa", L"Live In the USA"},
        {kCapitalizeEveryWord, L"end of rem", L"End Of REM"},
        {kCapitalizeFirstWord, L"end of rem", L"End of REM"},
        {kCapitalizeLower, L"END OF REM", L"end of rem"},
    };
    for (const Row& row : kRows) {
        VnString text(row.Before);
        text.Capitalize(row.Mode);
        EXPECT_EQ(ToBytes(text), ToBytes(row.After)) << "mode " << row.Mode;
    }
}

TEST_F(VnStringCapitalize, ModesOnWordsOutsideTheLists) {
    constexpr Row kRows[] = {
        {kCapitalizeEveryWord, L"o'brien", L"O'Brien"},
        {kCapitalizeEveryWord, L"i'm", L"I'm"},
        {kCapitalizeEveryWord, L"mccartney", L"McCartney"},
        {kCapitalizeEveryWord, L"mc", L"Mc"},
        {kCapitalizeEveryWord, L"2nd take", L"2nd Take"},
        {kCapitalizeEveryWord, L"SHOUTED-loud\u2026then (what)", L"Shouted-Loud\u2026Then (What)"},
        {kCapitalizeEveryWord, L"a.b/c&d!e", L"A.B/C&D!E"},
        {kCapitalizeFirstWord, L"FIRST Of All", L"First of all"},
        {kCapitalizeUpper, L"mixed Case", L"MIXED CASE"},
        {kCapitalizeLower, L"Mixed CASE", L"mixed case"},
        {kCapitalizeUnchanged, L"mIxEd", L"mIxEd"},
        {kCapitalizeNone, L"mIxEd", L"mIxEd"},
        {kCapitalizeTitle, L"", L""},
    };
    for (const Row& row : kRows) {
        VnString text(row.Before);
        text.Capitalize(row.Mode);
        EXPECT_EQ(ToBytes(text), ToBytes(row.After)) << "mode " << row.Mode;
    }
}

TEST_F(VnStringCapitalize, CleanUpStepsByTheirArguments) {
    VnString text(L"some_song  --  ( live )");
    text.CleanUp(true, kCapitalizeNone, true, true, VnString::kArticleKeep, false, false);
    EXPECT_EQ(ToBytes(text), "some song - (live)");
    VnString dots(L"- wait... . . . -");
    dots.CleanUp(false, kCapitalizeNone, false, true, VnString::kArticleKeep, true, false);
    EXPECT_EQ(ToBytes(dots), ToBytes(L"wait\u2026 \u2026"));
    VnString quotes(L"\u201CIt\u2019s\u201D \u2018x");
    quotes.CleanUp(false, kCapitalizeNone, false, false, VnString::kArticleKeep, false, true);
    EXPECT_EQ(ToBytes(quotes), "\"It's\" 'x");
    VnString lines(L"one two\nthree");
    lines.CleanUp(false, kCapitalizeEveryWord, false, false, VnString::kArticleKeep, false, false);
    EXPECT_EQ(ToBytes(lines), "One Two\nThree");
    VnString untouched(L"a_b  --\u2019");
    untouched.CleanUp(false, kCapitalizeNone, false, false, VnString::kArticleKeep, false, false);
    EXPECT_EQ(ToBytes(untouched), ToBytes(L"a_b  --\u2019"));
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
    text.MoveArticleToEnd();
    EXPECT_EQ(ToBytes(text), "Beatles, The");
    EXPECT_TRUE(text.HasArticle(false, true));
    VnString stripped(text);
    stripped.StripArticle(true, true);
    EXPECT_EQ(ToBytes(stripped), "Beatles");
    text.MoveArticleToFront();
    EXPECT_EQ(ToBytes(text), "The Beatles");
    text.StripArticle(true, false);
    EXPECT_EQ(ToBytes(text), "Beatles");
}
