#include "core/VnStringParser.h"

#include "core/VnStringGetLeadingCharacters.h"
#include "tests/support/TestText.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>

namespace {

constexpr const char* kNoMatch = "no<-|->";

/// A pattern, a text, and what a pattern with two texts at most leaves: "head<first|second>tail",
/// "-" for a text that was not written.
const std::tuple<const wchar_t*, const wchar_t*, const char*> kMatches[] = {
    {L"", L"abc", "<-|->"},
    {L"abc", L"xxabcyy", "xx<-|->yy"},
    {L"aa", L"xaaa", "x<-|->a"},
    {L"^ab$", L"ab", "<-|->"},
    {L"^$", L"", "<-|->"},
    {L"ab$", L"abab", "ab<-|->"},
    {L"a\\%b", L"xa%by", "x<-|->y"},
    {L"\\^a\\$", L"^a$", "<-|->"},
    {L"\\\\", L"a\\b", "a<-|->b"},
    {L"%s: %s", L"a: b: c", "<a: b|c>"},
    {L"^%s - %s$", L"Artist - Title", "<Artist|Title>"},
    {L"%*s", L"", "<|->"},
    {L"a%*sb", L"ab", "<|->"},
    {L"a%?sb", L"xaqb", "x<q|->"},
    {L"%*s%?s", L"ab", "<a|b>"},
    {L"%[0-9]s", L"ab12cd", "ab<12|->cd"},
    {L"%[!,]s", L"ab,cd", "<ab|->,cd"},
    {L"%[a-cx]s%[!a-c]s", L"abxzz", "<abx|zz>"},
    {L"%[a-]s", L"x-a-y", "x<-a-|->y"},
    {L"%[0-9][a-f]s", L"g12afg", "g<12af|->g"},
    {L"%[]s", L"ab", "<ab|->"},
    {L"%+*s|", L"|", "<|->"},
    {L"a%wb", L"a \t b", "< \t |->"},
    {L"a%*wb%s", L"ab c", "<| c>"},
    {L"%[0-9]s.%[0-9]s", L"v1.22x", "v<1|22>x"},
    {L"(%s)%s", L"(a)(b) c", "<a)(b| c>"},
    {L"abc", L"ab", kNoMatch},
    {L"^abc", L"xabc", kNoMatch},
    {L"^ab$", L"abab", kNoMatch},
    {L"^$", L"x", kNoMatch},
    {L"%s", L"", kNoMatch},
    {L"%+s", L"", kNoMatch},
    {L"a%sb", L"ab", kNoMatch},
    {L"a%?sb", L"aqqb", kNoMatch},
    {L"a%?s", L"a", kNoMatch},
    {L"%[!]s", L"ab", kNoMatch},
};

/// What parsing leaves, in the form of kMatches; ahead of it "no" after a failure.
std::string Parsed(const wchar_t* pattern, const VnString& text) {
    VnString first(L"-");
    VnString second(L"-");
    VnString head(L"old");
    VnString tail(L"old");
    const int32_t result = text.ParseWithRest(pattern, head, tail, 1, &first, &second);
    EXPECT_EQ(text.Parse(pattern, 1, &first, &second), result);
    return (result == 1 ? "" : "no") + ToBytes(head) + "<" + ToBytes(first) + "|" + ToBytes(second)
           + ">" + ToBytes(tail);
}

TEST(VnStringParser, Texts) {
    for (const auto& [pattern, text, result] : kMatches) {
        EXPECT_EQ(Parsed(pattern, text), result) << ToBytes(pattern);
    }
    for (const wchar_t* wrong :
         {L"abc\\", L"abc%", L"%*", L"%%", L"%5s", L"%[abc", L"%[", L"%[z-a]s", L"%q", L"%s%q"}) {
        EXPECT_EQ(Parsed(wrong, L"abc"), kNoMatch) << ToBytes(wrong);
    }
}

TEST(VnStringParser, Numbers) {
    // The number is 77 when there is no match.
    const std::tuple<const wchar_t*, const wchar_t*, int32_t, const char*> rows[] = {
        {L"^%d", L"-12x", -12, "x"},    {L"%d$", L"12x", 77, ""},
        {L"%d", L"ab+7.", 7, "."},      {L"%d", L"-", 77, ""},
        {L"^%*d$", L"", 0, ""},         {L"^%?d", L"42", 4, "2"},
        {L"%x", L"zFFz", 255, "z"},     {L"%x", L"ffffffff", -1, ""},
        {L"%[0-4]d", L"9312", 312, ""}, {L"%d", L"99999999999", 2147483647, ""},
        {L"%d", L"\u0661", 77, ""},
    };
    for (const auto& [pattern, text, expected, rest] : rows) {
        SCOPED_TRACE(ToBytes(pattern) + " on " + ToBytes(text));
        int32_t number = 77;
        VnString head;
        VnString tail;
        EXPECT_EQ(VnString(text).ParseWithRest(pattern, head, tail, 1, &number),
                  expected == 77 ? 0 : 1);
        EXPECT_EQ(number, expected);
        EXPECT_EQ(ToBytes(tail), rest);
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

TEST(VnStringGetLeadingCharacters, WordsAndNumbers) {
    // The result is kind, start and run.
    const std::tuple<const wchar_t*, int32_t, bool, const char*> rows[] = {
        {L"one two", 0, true, "2 0 one"},       {L"one two", 5, true, "2 4 two"},
        {L"one two", 3, true, "0 -1 "},         {L"one two", 7, true, "0 -1 "},
        {L"one two", -1, true, "0 -1 "},        {L"don't stop", 0, true, "2 0 don't"},
        {L"don't stop", 0, false, "2 0 don"},   {L"don't stop", 4, true, "2 4 t"},
        {L"rock-and", 6, true, "2 0 rock-and"}, {L"rock- and", 0, true, "2 0 rock"},
        {L"a\u2012b", 2, true, "2 0 a\u2012b"}, {L"'tis", 0, true, "0 -1 "},
        {L"No. 1234x", 6, true, "3 4 1234"},    {L"", 0, true, "0 -1 "}};
    for (const auto& [text, place, wordMode, result] : rows) {
        int32_t kind = 9;
        int32_t start = 9;
        const VnString run = VnString(text).GetWordAt(place, kind, start, wordMode);
        EXPECT_EQ(ToBytes(VnString::Formatted(L"%d %d %s", kind, start, run)), result)
            << ToBytes(text) << " at " << place;
    }
    int32_t position = 2;
    VnString run(L"old");
    EXPECT_FALSE(VnStringLeadingAlphaCharacters().GetLeadingCharacters(L"ab1", position, run));
    EXPECT_EQ(position, 2);
    EXPECT_EQ(run, L"old");
}

} // namespace
