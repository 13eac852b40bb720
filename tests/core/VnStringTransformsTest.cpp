#include "core/VnString.h"

#include "core/VnNumberArray.h"
#include "core/VnStringArray.h"
#include "tests/support/TestText.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace {

struct Row {
    const wchar_t* Before;
    const wchar_t* After;
};

template<typename CHANGE, size_t N>
void ExpectChanges(const Row (&rows)[N], CHANGE change) {
    for (const Row& row : rows) {
        VnString text(row.Before);
        change(text);
        EXPECT_EQ(ToBytes(text), ToBytes(row.After)) << "of " << ToBytes(row.Before);
        EXPECT_EQ(text.GetLength(), VnString(row.After).GetLength());
    }
}

} // namespace

TEST(VnStringTransforms, SplitWords) {
    constexpr Row kRows[] = {
        {L"TrackNumber", L"Track Number"},
        {L"HTMLParser", L"HTML Parser"},
        {L"PlayMP3", L"Play MP 3"},
        {L"Disc12", L"Disc 12"},
        {L"1.5", L"1.5"},
        {L"McDonald", L"McDonald"},
        {L"O'Brien (Live) A-B_C", L"O'Brien (Live) A-B_C"},
        {L"already Split", L"already Split"},
        {L"", L""},
    };
    ExpectChanges(kRows, [](VnString& text) { text.SplitWords(); });
}

TEST(VnStringTransforms, LineEnds) {
    constexpr Row kSingle[] = {
        {L"a\r\nb\rc\nd", L"a|b|c|d"},
        {L"a\r\n\r\nb", L"a||b"},
        {L"a\n\rb", L"a||b"},
        {L"none", L"none"},
    };
    ExpectChanges(kSingle, [](VnString& text) { text.ConvertLineEnds(L"|"); });
    constexpr Row kMerged[] = {
        {L"a\r\n\r\nb\n", L"a|b|"},
    };
    ExpectChanges(kMerged, [](VnString& text) { text.ConvertLineEnds(L"|", true); });
    constexpr Row kOneLine[] = {
        {L"a\r\nb", L"a"}, {L"a\nb", L"a"}, {L"a\rb", L"a\rb"}, {L"\nb", L""}, {L"\r\nb", L""},
    };
    ExpectChanges(kOneLine, [](VnString& text) { text.CutToOneLine(); });
    constexpr Row kDuplicates[] = {
        {L"a\r\na\r\nb\r\n", L"a\r\nb\r\n"},
        {L"a\r\n  a\r\n\ta\r\nb", L"a\r\nb"},
        {L"a\r\nb\r\na\r\n", L"a\r\nb\r\na\r\n"},
        {L"a\r\na", L"a\r\na"},
        {L"\r\n\r\n", L"\r\n"},
    };
    ExpectChanges(kDuplicates, [](VnString& text) { text.RemoveDuplicateLines(); });
}

TEST(VnStringTransforms, MarkupAndNumbers) {
    constexpr Row kMarkup[] = {
        {L"a<b>c</b>d", L"acd"},
        {L"a<b", L"a<b"},
        {L"a>b<c>", L"a>b"},
        {L"<<x>>", L">"},
    };
    ExpectChanges(kMarkup, [](VnString& text) { text.RemoveMarkup(); });
    constexpr Row kBothEnds[] = {
        {L"Track 12b", L" 12"},
        {L"x(1,5.)y", L"(1,5.)"},
        {L"abc", L""},
    };
    ExpectChanges(kBothEnds, [](VnString& text) { text.KeepNumericEnds(true); });
    constexpr Row kStart[] = {
        {L"x1y", L"1y"},
    };
    ExpectChanges(kStart, [](VnString& text) { text.KeepNumericEnds(false); });
    constexpr Row kPadded[] = {
        {L"5", L"005"},    {L"5.25", L"005.25"}, {L"-5", L"-005"},
        {L"0005", L"005"}, {L"1234", L"1234"},   {L"00000", L"000"},
    };
    ExpectChanges(kPadded, [](VnString& text) { text.PadNumber(3, L'0'); });
    constexpr Row kStripped[] = {
        {L"0000", L"0"},
        {L"007", L"7"},
        {L"00.5", L"0.5"},
    };
    ExpectChanges(kStripped, [](VnString& text) { text.PadNumber(1, L'0'); });
}

TEST(VnStringTransforms, EscapeAndUnescapeAreInverse) {
    VnString text(L"a,b\\c\r\n\td");
    const VnString original(text);
    text.EscapeChars(L",\r\n\t", L'\\');
    EXPECT_EQ(ToBytes(text), "a\\,b\\\\c\\r\\n\\td");
    text.UnescapeChars(L",\r\n\t", L'\\');
    EXPECT_EQ(ToBytes(text), ToBytes(original));

    VnString letters(L"rent");
    letters.EscapeChars(L"rnt", L'~');
    EXPECT_EQ(ToBytes(letters), "~re~n~t");
    letters.UnescapeChars(L"rnt", L'~');
    EXPECT_EQ(ToBytes(letters), "rent");

    VnString zero(L"a\0b", 3);
    zero.EscapeChars(L"", L'\\');
    EXPECT_EQ(ToBytes(zero), "a\\0b");
    zero.UnescapeChars(L"", L'\\');
    EXPECT_EQ(zero.GetLength(), 3);
    EXPECT_EQ(zero[1], L'\0');

    VnString open(L"a\\");
    open.UnescapeChars(L"", L'\\');
    EXPECT_EQ(ToBytes(open), "a\\");
}

TEST(VnStringTransforms, QuotedForTheShell) {
    EXPECT_EQ(ToBytes(VnString(L"it's").QuoteForShell()), "'it'\\''s'");
    EXPECT_EQ(ToBytes(VnString(L"").QuoteForShell()), "''");
}

TEST(VnStringTransforms, WordsHaveKinds) {
    VnStringArray words;
    VnNumberArray<int> kinds;
    VnString(L"Ab 12-c").GetWords(words, kinds, true);
    EXPECT_EQ(ToBytes(words.Join(L"|")), "Ab| |12|-|c");
    const int expected[] = {2, 1, 3, 4, 2};
    ASSERT_EQ(kinds.GetCount(), 5);
    EXPECT_TRUE(std::equal(kinds.begin(), kinds.end(), expected));
    VnString(L"a  b").GetWords(words, kinds, false);
    EXPECT_EQ(ToBytes(words.Join(L"|")), "a|b");
    EXPECT_EQ(kinds.GetCount(), 2);
}

TEST(VnStringTransforms, SentencesEndAtMarksButNotAtAbbreviations) {
    constexpr Row kRows[] = {
        {L"One here. Two there! Three where? Four", L"One here.|Two there!|Three where?|Four"},
        {L"Mr. Smith came. He left.", L"Mr. Smith came.|He left."},
        {L"The U.S. Army marched. Then", L"The U.S. Army marched.|Then"},
        {L"He said so. \"Yes.\" Then", L"He said so.|\"Yes.\" Then"},
        {L"Version 2. more", L"Version 2. more"},
        {L"One.Two", L"One.Two"},
        {L"", L""},
    };
    for (const Row& row : kRows) {
        VnStringArray sentences;
        VnString(row.Before).GetSentences(sentences);
        EXPECT_EQ(ToBytes(sentences.Join(L"|")), ToBytes(row.After));
    }
}

TEST(VnStringTransforms, ASCIIOnlyAndRandom) {
    VnString text(L"a\u00E9\u0141\t~\x7F");
    text.MakeASCII();
    EXPECT_EQ(ToBytes(text), "a???~?");

    VnString random;
    random.SetRandom(500, false, true);
    EXPECT_TRUE(random.IsMadeOf(false, true, nullptr, 500, 500));
    random.SetRandom(500, true, false);
    EXPECT_TRUE(random.IsMadeOf(true, false, nullptr, 500, 500));
    EXPECT_GT(random.Count(random.Left(1)), 0);
    EXPECT_LT(random.Count(random.Left(1)), 100);
    random.SetRandom(5, false, false);
    EXPECT_TRUE(random.IsEmpty());
}
