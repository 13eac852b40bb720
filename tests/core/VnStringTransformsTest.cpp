#include "core/VnString.h"

#include "core/VnNumberArray.h"
#include "core/VnStringArray.h"
#include "tests/support/TextRows.h"

#include <gtest/gtest.h>

#include <algorithm>

TEST(VnStringTransforms, SplitWords) {
    ExpectChanges(
        {"TrackNumber HTMLParser PlayMP3 | Track Number HTML Parser Play MP 3",
         "Disc12 1.5 1,5 7up | Disc 12 1.5 1,5 7up",
         "McDonald O'Brien \"Quoted (Live) A-B_C | McDonald O'Brien \"Quoted (Live) A-B_C",
         "already Split | already Split", " | "},
        [](VnString& text) { text.SplitWords(); });
}

TEST(VnStringTransforms, LineEnds) {
    ExpectChanges({"a\r\nb\rc\nd | a;b;c;d", "a\r\n\r\nb | a;;b", "a\n\rb | a;;b", "none | none"},
                  [](VnString& text) { text.ConvertLineEnds(L";"); });
    ExpectChanges({"a\r\n\r\nb\n | a;b;"},
                  [](VnString& text) { text.ConvertLineEnds(L";", true); });
    ExpectChanges({"a\r\nb | a", "a\nb | a", "a\rb | a\rb", "\nb | ", "\r\nb | "},
                  [](VnString& text) { text.CutToOneLine(); });
    ExpectChanges({"a\r\na\r\nb\r\n | a\r\nb\r\n", "a\r\n  a\r\n\ta\r\nb | a\r\nb",
                   "a\r\na | a\r\na", "a\r\nb\r\na\r\n | a\r\nb\r\na\r\n", "\r\n\r\n | \r\n"},
                  [](VnString& text) { text.RemoveDuplicateLines(); });
}

TEST(VnStringTransforms, MarkupAndNumbers) {
    ExpectChanges({"a<b>c</b>d | acd", "a<b | a<b", "a>b<c> | a>b", "<<x>> | >"},
                  [](VnString& text) { text.RemoveMarkup(); });
    ExpectChanges({"Track 12b |  12", "x(1,5.)y | (1,5.)", "abc | "},
                  [](VnString& text) { text.KeepNumericEnds(true); });
    ExpectChanges({"x1y | 1y"}, [](VnString& text) { text.KeepNumericEnds(false); });
    ExpectChanges(
        {"5 | 005", "5.25 | 005.25", "-5 | -005", "0005 | 005", "1234 | 1234", "00000 | 000"},
        [](VnString& text) { text.PadNumber(3, L'0'); });
    ExpectChanges({"0000 | 0", "007 | 7", "00.5 | 0.5"},
                  [](VnString& text) { text.PadNumber(1, L'0'); });
}

TEST(VnStringTransforms, EscapesAndQuotes) {
    const auto escape = [](VnString& text) { text.EscapeChars(L",\r\n\t", L'\\'); };
    const auto unescape = [](VnString& text) { text.UnescapeChars(L",\r\n\t", L'\\'); };
    ExpectChanges({"a,b\\c\r\n\td | a\\,b\\\\c\\r\\n\\td"}, escape);
    ExpectChanges({"a\\,b\\\\c\\r\\n\\td | a,b\\c\r\n\td", "a\\ | a\\"}, unescape);
    ExpectChanges({"rent | ~re~n~t"}, [](VnString& text) { text.EscapeChars(L"rnt", L'~'); });
    ExpectChanges({"~re~n~t | rent"}, [](VnString& text) { text.UnescapeChars(L"rnt", L'~'); });
    ExpectChanges({"it's | 'it'\\''s'", " | ''"},
                  [](VnString& text) { text = text.QuoteForShell(); });

    VnString zero(L"a\0b", 3);
    zero.EscapeChars(L"", L'\\');
    EXPECT_EQ(ToBytes(zero), "a\\0b");
    zero.UnescapeChars(L"", L'\\');
    EXPECT_EQ(zero, VnString(L"a\0b", 3));
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
    words[0] = L"a text of the array itself";
    words[0].GetWords(words, kinds, false);
    EXPECT_EQ(ToBytes(words.Join(L"|")), "a|text|of|the|array|itself");
}

TEST(VnStringTransforms, SentencesEndAtMarksButNotAtAbbreviations) {
    ExpectChanges(
        {"One here. Two there! Three where? Four | One here./Two there!/Three where?/Four",
         "Mr. Smith came. He left. | Mr. Smith came./He left.",
         "The U.S. Army marched. Then | The U.S. Army marched./Then",
         "He said so. \"Yes.\" Then | He said so./\"Yes.\" Then",
         "Version 2. more | Version 2. more", "One.Two | One.Two", " | "},
        [](VnString& text) {
            VnStringArray sentences;
            sentences.Add(text);
            sentences[0].GetSentences(sentences);
            text = sentences.Join(L"/");
        });
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
