#include "core/VnStringParser.h"

#include "core/VnStringGetLeadingCharacters.h"
#include "tests/support/TestText.h"

#include <gtest/gtest.h>

#include <string>

namespace {

/// Patterns that take two texts at most.
struct TextCase {
    const wchar_t* Pattern;
    const wchar_t* Text;
    bool Matches;
    const char* First;
    const char* Second;
    const char* Head;
    const char* Tail;
};

const TextCase kTextCases[] = {
    {L"", L"abc", true, "-", "-", "", ""},
    {L"abc", L"xxabcyy", true, "-", "-", "xx", "yy"},
    {L"abc", L"abcabc", true, "-", "-", "", "abc"},
    {L"abc", L"ab", false, "-", "-", "", ""},
    {L"aa", L"xaaa", true, "-", "-", "x", "a"},
    {L"^abc", L"xabc", false, "-", "-", "", ""},
    {L"^ab$", L"ab", true, "-", "-", "", ""},
    {L"^ab$", L"abab", false, "-", "-", "", ""},
    {L"^$", L"", true, "-", "-", "", ""},
    {L"^$", L"x", false, "-", "-", "", ""},
    {L"ab$", L"abab", true, "-", "-", "ab", ""},
    {L"a\\%b", L"xa%by", true, "-", "-", "x", "y"},
    {L"\\^a\\$", L"^a$", true, "-", "-", "", ""},
    {L"\\\\", L"a\\b", true, "-", "-", "a", "b"},
    {L"%s: %s", L"a: b: c", true, "a: b", "c", "", ""},
    {L"^%s - %s$", L"Artist - Title", true, "Artist", "Title", "", ""},
    {L"%s", L"", false, "-", "-", "", ""},
    {L"%+s", L"", false, "-", "-", "", ""},
    {L"%*s", L"", true, "", "-", "", ""},
    {L"a%*sb", L"ab", true, "", "-", "", ""},
    {L"a%sb", L"ab", false, "-", "-", "", ""},
    {L"a%?sb", L"xaqb", true, "q", "-", "x", ""},
    {L"a%?sb", L"aqqb", false, "-", "-", "", ""},
    {L"a%?s", L"a", false, "-", "-", "", ""},
    {L"%[0-9]s", L"ab12cd", true, "12", "-", "ab", "cd"},
    {L"%[!,]s", L"ab,cd", true, "ab", "-", "", ",cd"},
    {L"%[a-cx]s%[!a-c]s", L"abxzz", true, "abx", "zz", "", ""},
    {L"%[a-]s", L"x-a-y", true, "-a-", "-", "x", "y"},
    {L"%[0-9][a-f]s", L"g12afg", true, "12af", "-", "g", "g"},
    {L"%[]s", L"ab", true, "ab", "-", "", ""},
    {L"%[!]s", L"ab", false, "-", "-", "", ""},
    {L"%+*s|", L"|", true, "", "-", "", ""},
    {L"a%wb", L"a \t b", true, " \t ", "-", "", ""},
    {L"a%*wb%s", L"ab c", true, "", " c", "", ""},
    {L"%[0-9]s.%[0-9]s", L"v1.22x", true, "1", "22", "v", "x"},
    {L"(%s)%s", L"(a)(b) c", true, "a)(b", " c", "", ""},
    // Templates that are wrong
    {L"abc\\", L"abc", false, "-", "-", "", ""},
    {L"abc%", L"abc", false, "-", "-", "", ""},
    {L"%*", L"abc", false, "-", "-", "", ""},
    {L"%%", L"%", false, "-", "-", "", ""},
    {L"%5s", L"abc", false, "-", "-", "", ""},
    {L"%[abc", L"abc", false, "-", "-", "", ""},
    {L"%[", L"abc", false, "-", "-", "", ""},
    {L"%[z-a]s", L"abc", false, "-", "-", "", ""},
    {L"%q", L"abc", false, "-", "-", "", ""},
};

TEST(VnStringParser, Texts) {
    for (const TextCase& row : kTextCases) {
        SCOPED_TRACE(ToBytes(row.Pattern) + " on " + ToBytes(row.Text));
        VnString first(L"-");
        VnString second(L"-");
        VnString head(L"old");
        VnString tail(L"old");
        const VnString text(row.Text);
        EXPECT_EQ(text.ParseWithRest(row.Pattern, head, tail, 1, &first, &second),
                  row.Matches ? 1 : 0);
        EXPECT_EQ(ToBytes(first), row.First);
        EXPECT_EQ(ToBytes(second), row.Second);
        EXPECT_EQ(ToBytes(head), row.Head);
        EXPECT_EQ(ToBytes(tail), row.Tail);
        EXPECT_EQ(text.Parse(row.Pattern, 1, &first, &second), row.Matches ? 1 : 0);
    }
}

TEST(VnStringParser, Numbers) {
    const struct {
        const wchar_t* Pattern;
        const wchar_t* Text;
        bool Matches;
        int32_t Number;
        const char* Tail;
    } rows[] = {
        {L"^%d", L"-12x", true, -12, "x"},    {L"%d$", L"12x", false, 77, ""},
        {L"%d", L"ab+7.", true, 7, "."},      {L"%d", L"-", false, 77, ""},
        {L"^%*d$", L"", true, 0, ""},         {L"^%?d", L"42", true, 4, "2"},
        {L"%x", L"zFFz", true, 255, "z"},     {L"%x", L"ffffffff", true, -1, ""},
        {L"%[0-4]d", L"9312", true, 312, ""}, {L"%d", L"99999999999", true, 2147483647, ""},
        {L"%d", L"\u0661", false, 77, ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(ToBytes(row.Pattern) + " on " + ToBytes(row.Text));
        int32_t number = 77;
        VnString head;
        VnString tail;
        EXPECT_EQ(VnString(row.Text).ParseWithRest(row.Pattern, head, tail, 1, &number),
                  row.Matches ? 1 : 0);
        EXPECT_EQ(number, row.Number);
        EXPECT_EQ(ToBytes(tail), row.Tail);
    }
    int64_t large = 0;
    int32_t small = 0;
    VnString text;
    EXPECT_EQ(VnString(L"9999999999/3 of x").Parse(L"^%l/%d of %s$", 1, &large, &small, &text), 1);
    EXPECT_EQ(large, 9999999999);
    EXPECT_EQ(small, 3);
    EXPECT_EQ(text, L"x");
}

TEST(VnStringParser, AnyCaseGoesThroughTheToolsModule) {
    VnString text;
    EXPECT_EQ(VnString(L"TITLE=x").Parse(L"^title=%s", 1, &text), 0);
    EXPECT_EQ(VnString(L"TITLE=x").Parse(L"^title=%s", 0, &text), 1);
    EXPECT_EQ(text, L"x");
    EXPECT_EQ(VnString(L"ABab").Parse(L"^%[a-z]s", 0, &text), 0) << "a set is always exact";
}

TEST(VnStringParser, LongTextsEndInTime) {
    std::wstring long1(3000, L'a');
    long1 += L"-end";
    VnString first;
    VnString second;
    EXPECT_EQ(VnString(long1.c_str()).Parse(L"%s-%s", 1, &first, &second), 1);
    EXPECT_EQ(first.GetLength(), 3000);
    EXPECT_EQ(second, L"end");
}

TEST(VnStringGetLeadingCharacters, WordsAndNumbers) {
    const struct {
        const wchar_t* Text;
        int32_t Position;
        bool WordMode;
        int32_t Kind;
        int32_t Start;
        const char* Word;
    } rows[] = {
        {L"one two", 0, true, 2, 0, "one"},
        {L"one two", 5, true, 2, 4, "two"},
        {L"one two", 3, true, 0, -1, ""},
        {L"one two", 7, true, 0, -1, ""},
        {L"one two", -1, true, 0, -1, ""},
        {L"don't stop", 0, true, 2, 0, "don't"},
        {L"don't stop", 0, false, 2, 0, "don"},
        {L"don't stop", 4, true, 2, 4, "t"},
        {L"rock-and", 6, true, 2, 0, "rock-and"},
        {L"rock- and", 0, true, 2, 0, "rock"},
        {L"a\u2012b", 2, true, 2, 0,
         "a\xE2\x80\x92"
         "b"},
        {L"'tis", 0, true, 0, -1, ""},
        {L"No. 1234x", 6, true, 3, 4, "1234"},
        {L"x12", 0, true, 2, 0, "x"},
        {L"", 0, true, 0, -1, ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(ToBytes(row.Text) + " at " + std::to_string(row.Position));
        int32_t kind = 9;
        int32_t start = 9;
        EXPECT_EQ(ToBytes(VnString(row.Text).GetWordAt(row.Position, kind, start, row.WordMode)),
                  row.Word);
        EXPECT_EQ(kind, row.Kind);
        EXPECT_EQ(start, row.Start);
    }
    int32_t position = 2;
    VnString run(L"old");
    EXPECT_FALSE(VnStringLeadingAlphaCharacters().GetLeadingCharacters(L"ab1", position, run));
    EXPECT_EQ(position, 2);
    EXPECT_EQ(run, L"old");
    EXPECT_FALSE(VnStringLeadingAlphaCharacters().GetLeadingCharacters(nullptr, position, run));
}

} // namespace
