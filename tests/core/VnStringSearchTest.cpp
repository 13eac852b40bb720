#include "core/VnString.h"

#include "runtime/VnSiblingModules.h"
#include "tests/support/TestText.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <tuple>

namespace {

TEST(VnStringSearch, Extracts) {
    const VnString text(L"a/b/c.d");
    const std::tuple<const char*, VnString, const wchar_t*> rows[] = {
        {"left", text.Left(3), L"a/b"},
        {"left negative", text.Left(-1), L""},
        {"right", text.Right(3), L"c.d"},
        {"right of all", text.Right(0x7fffffff), L"a/b/c.d"},
        {"mid", text.Mid(2, 3), L"b/c"},
        {"mid clamps", text.Mid(-5, 3), L"a/b"},
        {"mid past the end", text.Mid(9, 3), L""},
        {"mid of a long rest", text.Mid(5, 0x7fffffff), L".d"},
        {"mid negative count", text.Mid(2, -1), L""},
        {"mid to the end", text.Mid(5), L".d"},
        {"up to", text.LeftUpTo(L"/"), L"a"},
        {"up to, with", text.LeftUpTo(L"/", true), L"a/"},
        {"up to, folded", text.LeftUpTo(L"B/", false, false), L"a/"},
        {"up to nothing", text.LeftUpTo(L"x"), L"a/b/c.d"},
        {"up to empty", text.LeftUpTo(L""), L"a/b/c.d"},
        {"from", text.RightFrom(L"/"), L"c.d"},
        {"from, with", text.RightFrom(L"/", true), L"/c.d"},
        {"from nothing", text.RightFrom(nullptr), L"a/b/c.d"},
        {"span including", text.SpanIncluding(L"/ba"), L"a/b/"},
        {"span excluding", text.SpanExcluding(L"."), L"a/b/c"},
        {"span including right", text.SpanIncludingRight(L".dx"), L".d"},
        {"span excluding right", text.SpanExcludingRight(L"/"), L"c.d"},
        {"span of a null set", text.SpanExcluding(nullptr), L"a/b/c.d"},
        {"every second", text.Slice(0, -1, 2), L"abcd"},
        {"every third backwards", text.Slice(0, -1, -3), L"d/a"},
        {"slice", text.Slice(1, 5, 2), L"//"},
        {"slice backwards", text.Slice(1, 6, -2), L".//"},
        {"slice of step 0", text.Slice(0, 3, 0), L""},
        {"slice of nothing", text.Slice(5, 2, 1), L""},
        {"slice of a huge step", text.Slice(0, 99, static_cast<int32_t>(0x80000000)), L"d"},
    };
    for (const auto& [what, result, expected] : rows) {
        EXPECT_EQ(ToBytes(result), ToBytes(expected)) << what;
    }
    EXPECT_EQ(text.Left(7).GetText(), text.GetText()) << "the whole text shares its block";
    EXPECT_EQ(text.Right(7).GetText(), text.GetText());
}

TEST(VnStringSearch, Positions) {
    const VnString text(L"abcABCabc");
    const VnString none;
    const std::tuple<const char*, int32_t, int32_t> rows[] = {
        {"character", text.Find(L'b'), 1},
        {"character later", text.Find(L'b', 2), 7},
        {"start at the length", text.Find(L'c', 9), -1},
        {"start negative", text.Find(L'a', -1), -1},
        {"in the empty text", none.Find(L'a'), -1},
        {"text", text.Find(L"abc", 1), 6},
        {"text too long", text.Find(L"abcd", 6), -1},
        {"text at the end", text.Find(L"c", 8), 8},
        {"null text", text.Find(nullptr), -1},
        {"one of", text.FindOneOf(L"CB"), 4},
        {"one of, later", text.FindOneOf(L"ab", 2), 6},
        {"one of none", text.FindOneOf(L""), -1},
        {"one of null", text.FindOneOf(nullptr), -1},
        {"reverse character", text.ReverseFind(L'b'), 7},
        {"reverse character from", text.ReverseFind(L'b', 6), 1},
        {"reverse from past the end", text.ReverseFind(L'c', 99), 8},
        {"reverse at its own place", text.ReverseFind(L'b', 1), 1},
        {"reverse in the empty text", none.ReverseFind(L'a'), -1},
        {"reverse text folded", text.Left(6).ReverseFind(L"abc", false), 3},
        {"reverse text of null", text.ReverseFind(nullptr), -1},
        {"reverse of a set", text.ReverseFindOneOf(L"AB"), 4},
        {"reverse of a set from", text.ReverseFindOneOf(L"AB", 3), 3},
        {"count", text.Count(L"abc"), 2},
        {"count folded", text.Count(L"ABC", false), 3},
        {"count without overlap", VnString(L"aaaa").Count(L"aa"), 2},
        {"count of nothing", text.Count(L""), 0},
        {"second", text.FindNth(L"a", 2), 6},
        {"third folded", text.FindNth(L"a", 3, false), 6},
        {"one too many", text.FindNth(L"a", 3), -1},
        {"number zero", text.FindNth(L"a", 0), -1},
        {"nearest the middle", VnString(L"- a - b - c").FindNearestMiddle(L"-"), 4},
        {"nearest, right of it", VnString(L"-abcd-ef").FindNearestMiddle(L"-"), 5},
        {"nearest, first of equals", VnString(L"-a-").FindNearestMiddle(L"-"), 0},
        {"nearest of none", text.FindNearestMiddle(L"x"), -1},
    };
    for (const auto& [what, result, expected] : rows) {
        EXPECT_EQ(result, expected) << what;
    }
}

TEST(VnStringSearch, Compares) {
    const std::tuple<const wchar_t*, const wchar_t*, int32_t, int32_t> rows[] = {
        {L"abc", L"abc", 0, 0},  {L"abc", L"abd", -1, -1}, {L"abc", L"ab", 1, 1},
        {L"ABC", L"abc", -1, 0}, {L"", L"", 0, 0},         {L"", nullptr, 0, 0},
        {L"a", nullptr, 1, 1},   {L"Z", L"a", -1, 1},      {L"\U0001F600", L"\uFFFF", 1, 1},
        {L"_", L"A", 1, -1},
    };
    for (const auto& [first, second, exact, folded] : rows) {
        const VnString left(first);
        SCOPED_TRACE(ToBytes(left) + " and " + ToBytes(second));
        EXPECT_EQ(left.Compare(second), exact);
        EXPECT_EQ(left.Compare(second, false), folded);
        EXPECT_EQ(left == second, exact == 0);
        EXPECT_EQ(second == left, exact == 0);
        EXPECT_EQ(left != VnString(second), exact != 0);
        EXPECT_EQ(left < VnString(second), exact < 0);
        EXPECT_EQ(left.EqualsNoCase(second), folded == 0);
    }
}

TEST(VnStringSearch, Ends) {
    const VnString text(L"Abc");
    EXPECT_TRUE(text.CompareLeft(L"Ab") && !text.CompareLeft(L"ab"));
    EXPECT_TRUE(text.CompareLeft(L"aB", false) && !text.CompareLeft(L"Abcd"));
    EXPECT_TRUE(text.CompareLeft(L"", true, true) && !text.CompareLeft(nullptr, true, false));
    EXPECT_TRUE(text.CompareRight(L"Abc") && !text.CompareRight(L"xAbc"));
    EXPECT_TRUE(text.CompareRight(L"BC", false) && !text.CompareRight(L"BC"));
    EXPECT_FALSE(text.CompareRight(L"", true, false));
    EXPECT_TRUE(text.StartsWith(L'A') && !text.StartsWith(L'b'));
    EXPECT_TRUE(text.EndsWith(L'c') && !text.EndsWith(L'b'));
    EXPECT_FALSE(VnString().StartsWith(L'\0') || VnString().EndsWith(L'\0'));
}

TEST(VnStringSearch, AgreesWithAPlainSearch) {
    std::mt19937 random(4711);
    for (int32_t round = 0; round < 3000; ++round) {
        std::wstring text;
        std::wstring pattern;
        for (uint32_t i = random() % 40; i > 0; --i) {
            text += static_cast<wchar_t>(L'a' + random() % 2);
        }
        for (uint32_t i = random() % 4 + 1; i > 0; --i) {
            pattern += static_cast<wchar_t>(L'a' + random() % 2);
        }
        SCOPED_TRACE(testing::PrintToString(text) + " " + testing::PrintToString(pattern));
        const VnString subject(text.c_str());
        EXPECT_EQ(subject.Find(pattern.c_str()),
                  text.empty() ? -1 : static_cast<int32_t>(text.find(pattern)));
        EXPECT_EQ(subject.ReverseFind(pattern.c_str()), static_cast<int32_t>(text.rfind(pattern)));
    }
}

TEST(VnStringSearch, AnyCaseGoesThroughTheToolsModule) {
    ASSERT_NE(VnGetToolsRoot(), nullptr) << "the tools module must be built";
    const VnString text(L"One \u00C9t\u00E9 two \u00E9T\u00C9");
    EXPECT_EQ(text.FindNoCase(L"\u00E9t\u00E9"), 4);
    EXPECT_EQ(text.FindNoCase(L"\u00E9t\u00E9", 5), 12);
    EXPECT_EQ(text.FindNoCase(L"TWO", 0, true), 11);
    EXPECT_EQ(text.FindNoCase(L"three"), -1);
    EXPECT_EQ(text.FindNoCase(L"one", -1), -1);
    EXPECT_EQ(text.FindNoCase(L"one", text.GetLength()), -1);
    EXPECT_EQ(text.FindNoCase(nullptr), -1);
}

} // namespace
