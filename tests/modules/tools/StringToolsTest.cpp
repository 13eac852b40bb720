#include "core/VnString.h"
#include "runtime/IVnStringTools.h"
#include "runtime/IVnToolsRoot.h"
#include "runtime/VnSiblingModules.h"

#include <gtest/gtest.h>

#include <cwchar>
#include <utility>

namespace {

IVnStringTools& Tools() {
    return *VnGetToolsRoot()->GetStringTools(1);
}

struct FindCase {
    const wchar_t* Source;
    const wchar_t* Text;
    int32_t Start;
    int32_t Found;
};

constexpr FindCase kFinds[] = {
    {L"Hello World", L"WORLD", 0, 6},
    {L"Hello World", L"o", 5, 7},
    {L"Hello World", L"World!", 0, -1},
    {L"aAbaab", L"AAB", 1, 3},
    {L"aaa", L"aaaa", 0, -1},
    {L"abc", L"c", 2, 2},
    {L"abc", L"c", 3, -1},
    {L"abc", L"", 3, 3},
    {L"abc", L"", 4, -1},
    {L"abc", L"a", -1, -1},
    {L"", L"a", 0, -1},
    {L"Stra\u00dfe ÄÖ", L"äö", 0, 7},
    {L"\u0424\u0418\u041b\u042c\u041c", L"\u043b\u044c", 0, 2},
    {L"x\U0001F3B5\U00010400", L"\U0001F3B5\U00010428", 0, 1},
    {nullptr, L"a", 0, -1},
    {L"a", nullptr, 0, -1},
};

/// Pairs in the order of mode 0.
constexpr std::pair<const wchar_t*, const wchar_t*> kOrder[] = {
    {L"Track 2", L"Track 10"}, {L"", L"a"},         {L"apple", L"Banana"},
    {L"Zoë", L"Zoo"},          {L"éclair", L"fig"}, {L"a", L"aa"},
    {L"cafe", L"café"},        {L"007", L"8"},      {L"Ärger", L"Zorn"},
};

struct ArticleCase {
    const wchar_t* Text;
    int32_t Leading;
    int32_t Trailing;
};

constexpr ArticleCase kArticles[] = {
    {L"The Beatles", 3, 0},
    {L"the", 0, 0},
    {L"the ", 0, 0},
    {L"Theatre", 0, 0},
    {L"A Day", 1, 0},
    {L"an hour", 2, 0},
    {L"Another", 0, 0},
    {L"Beatles, The", 0, 3},
    {L"Beatles,The", 0, 0},
    {L", The", 0, 0},
    {L"Day, A", 0, 1},
    {L"The Band, A", 3, 1},
    {L"", 0, 0},
    {nullptr, 0, 0},
    {L"Die Toten Hosen", 0, 0},
};

} // namespace

TEST(StringTools, FindTextsInAnyCase) {
    for (const FindCase& find : kFinds) {
        SCOPED_TRACE(testing::Message()
                     << (find.Source ? find.Source : L"null") << " / "
                     << (find.Text ? find.Text : L"null") << " from " << find.Start);
        EXPECT_EQ(Tools().FindNoCase(find.Source, -1, find.Text, find.Start, false), find.Found);
        const int32_t end =
            find.Found < 0 ? -1 : find.Found + static_cast<int32_t>(std::wcslen(find.Text));
        EXPECT_EQ(Tools().FindNoCase(find.Source, -1, find.Text, find.Start, true),
                  find.Text ? end : -1);
    }
    EXPECT_EQ(Tools().FindNoCase(L"abcabc", 4, L"CA", 0, false), 2);
    EXPECT_EQ(Tools().FindNoCase(L"abcabc", 3, L"CA", 0, false), -1);
}

TEST(StringTools, OrderTextsForPeople) {
    for (const auto& [before, after] : kOrder) {
        SCOPED_TRACE(testing::Message() << before << " / " << after);
        for (const bool flag : {false, true}) {
            EXPECT_LT(Tools().Compare(before, after, 0, flag, -1), 0);
            EXPECT_GT(Tools().Compare(after, before, 0, flag, -1), 0);
        }
        EXPECT_EQ(Tools().Compare(before, before, 0, true, -1), 0);
    }
}

TEST(StringTools, CompareByModeFlagAndLength) {
    EXPECT_EQ(Tools().Compare(L"ABC", L"abc", 0, false, -1), 0);
    EXPECT_NE(Tools().Compare(L"ABC", L"abc", 0, true, -1), 0);
    EXPECT_EQ(Tools().Compare(L"abcX", L"abcY", 0, true, 3), 0);
    EXPECT_EQ(Tools().Compare(nullptr, L"", 0, true, -1), 0);
    EXPECT_LT(Tools().Compare(L"The Apples", L"Bananas", 1, true, -1), 0);
    EXPECT_GT(Tools().Compare(L"The Apples", L"Bananas", 0, true, -1), 0);
    EXPECT_LT(Tools().Compare(L"Z", L"a", 2, true, -1), 0);
    EXPECT_GT(Tools().Compare(L"Z", L"a", 2, false, -1), 0);
    EXPECT_LT(Tools().Compare(L"Track 10", L"Track 2", 2, true, -1), 0);
    EXPECT_EQ(Tools().Compare(L"abX", L"abY", 2, true, 2), 0);
}

TEST(StringTools, KnowArticles) {
    for (const ArticleCase& article : kArticles) {
        SCOPED_TRACE(article.Text ? article.Text : L"null");
        EXPECT_EQ(Tools().GetLeadingArticleLength(article.Text), article.Leading);
        EXPECT_EQ(Tools().GetTrailingArticleLength(article.Text), article.Trailing);
    }
}

TEST(StringTools, ServeTheTextClass) {
    VnString text(L"One TWO three two");
    EXPECT_EQ(text.FindNoCase(L"two"), 4);
    EXPECT_EQ(text.FindNoCase(L"two", 5, true), 17);
    EXPECT_EQ(text.Replace(L"two", L"2", false), 2);
    EXPECT_TRUE(text == L"One 2 three 2");
    VnString name(L"The Wall");
    name.MoveArticleToEnd();
    EXPECT_TRUE(name == L"Wall, The");
    name.MoveArticleToFront();
    EXPECT_TRUE(name == L"The Wall");
}
