#include "core/VnString.h"

#include "runtime/VnSiblingModules.h"
#include "tests/support/TestText.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

constexpr int32_t kAll = 0x7fffffff;

struct ListCase {
    const char* What;
    const wchar_t* Text;
    std::vector<const wchar_t*> Old;
    std::vector<const wchar_t*> New;
    int32_t Hits;
    const wchar_t* Result;
    int32_t Maximum = kAll;
    bool KeepMatch = false;
    const wchar_t* Before = nullptr;
    const wchar_t* After = nullptr;
};

const ListCase kListCases[] = {
    {"nearest hit first, no overlap", L"aaa", {L"aa", L"a"}, {L"b", L"c"}, 2, L"bc"},
    {"lowest index at one place", L"abab", {L"a", L"ab"}, {L"1", L"2"}, 2, L"1b1b"},
    {"earlier hit of a later text", L"xyab", {L"ab", L"y"}, {L"", L"long"}, 2, L"xlong"},
    {"new text is not searched again", L"aa", {L"a"}, {L"aa"}, 2, L"aaaa"},
    {"maximum", L"a.a.a", {L"a"}, {L"b"}, 2, L"b.b.a", 2},
    {"maximum of 0", L"a", {L"a"}, {L"b"}, 0, L"a", 0},
    {"wrapped new text", L"a-", {L"a"}, {L"b"}, 1, L"<b>-", kAll, false, L"<", L">"},
    {"wrapped match", L"abc", {L"b"}, {nullptr}, 1, L"a[b]c", kAll, true, L"[", L"]"},
    {"null new text", L"abc", {L"b"}, {nullptr}, 1, L"ac"},
    {"empty old text spoils all", L"abc", {L"b", L""}, {L"x", L"y"}, 0, L"abc"},
    {"null old text spoils all", L"abc", {L"b", nullptr}, {L"x", L"y"}, 0, L"abc"},
    {"all gone", L"aa", {L"a"}, {L""}, 2, L""},
    {"nothing to search", L"", {L"a"}, {L"b"}, 0, L""},
};

} // namespace

TEST(VnStringReplace, ListGivesHitsAndText) {
    for (const ListCase& row : kListCases) {
        SCOPED_TRACE(row.What);
        VnString text(row.Text);
        const VnString twin(text);
        EXPECT_EQ(text.ReplaceList(row.Old.data(), row.New.data(),
                                   static_cast<int32_t>(row.Old.size()), true, row.Maximum,
                                   row.KeepMatch, row.Before, row.After),
                  row.Hits);
        EXPECT_EQ(ToBytes(text), ToBytes(row.Result));
        EXPECT_EQ(ToBytes(twin), ToBytes(row.Text));
        EXPECT_EQ(text.GetLength(), VnString(row.Result).GetLength());
    }
}

TEST(VnStringReplace, ArgumentsMayPointIntoTheText) {
    VnString text(L"ab-ab");
    EXPECT_EQ(text.Replace(text.GetText() + 3, text), 2);
    EXPECT_EQ(ToBytes(text), "ab-ab-ab-ab");
    VnString range(L"abc");
    range.ReplaceRange(1, 1, range);
    EXPECT_EQ(ToBytes(range), "aabcc");
    const wchar_t* const one = L"a";
    EXPECT_EQ(range.ReplaceList(nullptr, &one, 1) + range.ReplaceList(&one, nullptr, 1), 0);
}

TEST(VnStringReplace, AnyCaseReplacesEverySpelling) {
    ASSERT_NE(VnGetToolsRoot(), nullptr) << "the tools module must be built";
    VnString text(L"The the THE");
    EXPECT_EQ(text.Replace(L"tHe", L"a", false), 3);
    EXPECT_EQ(ToBytes(text), "a a a");
}

TEST(VnStringReplace, FirstCharAndRange) {
    VnString text(L"a.b.c");
    EXPECT_EQ(text.ReplaceFirst(L".", L"--", 2), 3);
    EXPECT_EQ(ToBytes(text), "a.b--c");
    EXPECT_EQ(text.ReplaceFirst(L"x", L"y"), -1);
    EXPECT_EQ(text.ReplaceFirst(L"", L"y"), -1);
    EXPECT_EQ(text.ReplaceChar(L'-', L'+'), 2);
    EXPECT_EQ(ToBytes(text), "a.b++c");
    text.ReplaceRange(-5, 2, L"Z");
    EXPECT_EQ(ToBytes(text), "Zb++c");
    text.ReplaceRange(4, 100, nullptr);
    EXPECT_EQ(ToBytes(text), "Zb++");
    text.ReplaceRange(100, 1, L"!");
    EXPECT_EQ(ToBytes(text), "Zb++!");
    EXPECT_EQ(text.ReplaceChar(L'+', L'\0'), 2);
    EXPECT_EQ(text.GetLength(), 2);
}
