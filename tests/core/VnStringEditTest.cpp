#include "core/VnString.h"

#include "core/VnNumberArray.h"
#include "tests/support/TestText.h"
#include "tests/support/TextSubject.h"

#include <gtest/gtest.h>

#include <tuple>

namespace {

template<typename... INT>
void RemoveRanges(VnString& text, INT... bounds) {
    VnNumberArray<int> ranges;
    (ranges.Add(bounds), ...);
    text.RemoveRanges(ranges);
}

const std::tuple<const char*, const wchar_t*, void (*)(VnString&), const wchar_t*> kEditCases[] = {
    // Append
    {"append of itself", L"ab", [](VnString& t) { t.Append(t); }, L"abab"},
    {"append of its own tail", L"abc", [](VnString& t) { t.Append(t.GetText() + 1); }, L"abcbc"},
    {"append of its terminator", L"abc", [](VnString& t) { t.Append(t.GetText() + 3); }, L"abc"},
    {"append with a count", L"a", [](VnString& t) { t.Append(L"xyz", 2); }, L"axy"},
    {"append of null", L"a", [](VnString& t) { t.Append(nullptr, 2); }, L"a"},
    {"append to empty", L"", [](VnString& t) { t.Append(VnString(L"xy")); }, L"xy"},
    {"append of a character", L"a", [](VnString& t) { t.Append(L'\U0001F600'); }, L"a\U0001F600"},
    {"append of pieces, one null", L"a",
     [](VnString& t) { t.Append(L"bc", -1, nullptr, 7, t.GetText(), 1, L"xyz", 2); }, L"abcaxy"},
    {"append of bytes", L"a", [](VnString& t) { t.AppendBytes("\xE9z"); }, L"a\u00E9z"},
    {"append of counted bytes", L"a", [](VnString& t) { t.AppendBytes("xyz", 2); }, L"axy"},
    {"line feeds", L"a", [](VnString& t) { t.AppendLineFeeds(2); }, L"a\n\n"},
    {"plus operators", L"m", [](VnString& t) { t = L'<' + (L"[" + t + L"]") + L'>'; }, L"<[m]>"},
    // Insert
    {"prepend of itself", L"ab", [](VnString& t) { t.Prepend(t); }, L"abab"},
    {"prepend of characters", L"ab", [](VnString& t) { t.Prepend(L'-', 3); }, L"---ab"},
    {"insert past the end", L"ab", [](VnString& t) { t.Insert(3, L'x'); }, L"ab"},
    {"insert ahead of the start", L"ab", [](VnString& t) { t.Insert(-1, L"x"); }, L"ab"},
    {"insert inside", L"ab", [](VnString& t) { t.Insert(1, L"xyz"); }, L"axyzb"},
    {"insert of itself", L"ab", [](VnString& t) { t.Insert(1, t.GetText()); }, L"aabb"},
    {"insert of null", L"ab", [](VnString& t) { t.Insert(1, nullptr); }, L"ab"},
    // Remove
    {"left", L"abc", [](VnString& t) { t.RemoveLeft(2); }, L"c"},
    {"left of none", L"abc", [](VnString& t) { t.RemoveLeft(-1); }, L"abc"},
    {"right", L"abc", [](VnString& t) { t.RemoveRight(1); }, L"ab"},
    {"both ends", L"abcd", [](VnString& t) { t.RemoveEnds(1, 2); }, L"b"},
    {"both ends overlap", L"abcd", [](VnString& t) { t.RemoveEnds(0x7fffffff, 0x7fffffff); }, L""},
    {"one end negative", L"abcd", [](VnString& t) { t.RemoveEnds(-5, 1); }, L"abc"},
    {"range", L"abcd", [](VnString& t) { t.Remove(1, 2); }, L"ad"},
    {"range past the end", L"abcd", [](VnString& t) { t.Remove(2, 0x7fffffff); }, L"ab"},
    {"range outside", L"abcd", [](VnString& t) { t.Remove(4, 1); }, L"abcd"},
    {"character", L"abab", [](VnString& t) { t.Remove(L'a'); }, L"bb"},
    {"chars of a set", L"a-b_\u2010", [](VnString& t) { t.RemoveChars(L"-_\u2010"); }, L"ab"},
    {"characters of itself", L"abc", [](VnString& t) { t.RemoveChars(t.GetText() + 1); }, L"a"},
    {"all hits, folded", L"xAbxaBx", [](VnString& t) { t.RemoveAll(L"ab", false); }, L"xxx"},
    {"all hits, no overlap", L"aaa", [](VnString& t) { t.RemoveAll(L"aa"); }, L"a"},
    {"all of an empty text", L"aaa", [](VnString& t) { t.RemoveAll(L""); }, L"aaa"},
    {"all of itself", L"ab", [](VnString& t) { t.RemoveAll(t.GetText()); }, L""},
    {"prefix", L"The A", [](VnString& t) { t.RemovePrefix(L"the ", false); }, L"A"},
    {"prefix of other case", L"The A", [](VnString& t) { t.RemovePrefix(L"the "); }, L"The A"},
    {"suffix of itself", L"abc", [](VnString& t) { t.RemoveSuffix(t.GetText() + 1); }, L"a"},
    {"up to a position", L"abc", [](VnString& t) { t.RemoveUpTo(1, false); }, L"bc"},
    {"up to a character", L"a:b:c", [](VnString& t) { t.RemoveUpTo(L':', true); }, L"b:c"},
    {"up to a text", L"a::b", [](VnString& t) { t.RemoveUpTo(L"::", false); }, L"::b"},
    {"up to a text too", L"a::b", [](VnString& t) { t.RemoveUpTo(L"::", true); }, L"b"},
    {"up to nothing", L"a::b", [](VnString& t) { t.RemoveUpTo(L"", true); }, L"a::b"},
    {"from a position", L"abc", [](VnString& t) { t.RemoveFrom(1, true); }, L"a"},
    {"behind a position", L"abc", [](VnString& t) { t.RemoveFrom(1, false); }, L"ab"},
    {"from a character", L"a:b:c", [](VnString& t) { t.RemoveFrom(L':', true); }, L"a"},
    {"behind a text", L"a::b", [](VnString& t) { t.RemoveFrom(L"::", false); }, L"a::"},
    {"from a text that is missing", L"ab", [](VnString& t) { t.RemoveFrom(L"x", true); }, L"ab"},
    {"ranges", L"0123456789", [](VnString& t) { RemoveRanges(t, 0, 2, 3, 4, 8, 10); }, L"24567"},
    {"ranges out of bounds", L"012", [](VnString& t) { RemoveRanges(t, -5, 1, 2, 99, 1, 2); },
     L"1"},
    {"no ranges", L"012", [](VnString& t) { RemoveRanges(t, 1); }, L"012"},
    // Trim
    {"trim", L" \t a b\n ", [](VnString& t) { t.Trim(); }, L"a b"},
    {"trim of blanks alone", L"   ", [](VnString& t) { t.Trim(); }, L""},
    {"trim right", L"  a ", [](VnString& t) { t.TrimRight(); }, L"  a"},
    {"trim of a character", L"--a-", [](VnString& t) { t.Trim(L'-'); }, L"a"},
    {"trim left of a set", L"-_a-_", [](VnString& t) { t.TrimLeft(L"_-"); }, L"a-_"},
    {"trim right of a set", L"-_a-_", [](VnString& t) { t.TrimRight(L"_-"); }, L"-_a"},
    {"trim of its own set", L"aba", [](VnString& t) { t.Trim(t.GetText()); }, L""},
    {"trim of a null set", L" a ",
     [](VnString& t) { t.Trim(static_cast<const wchar_t*>(nullptr)); }, L" a "},
    // Case and ends
    {"upper", L"abC1", [](VnString& t) { t.MakeUpper(); }, L"ABC1"},
    {"lower", L"ABc1", [](VnString& t) { t.MakeLower(); }, L"abc1"},
    {"trailing missing", L"a", [](VnString& t) { t.EnsureTrailing(L'/'); }, L"a/"},
    {"trailing run", L"a///", [](VnString& t) { t.EnsureTrailing(L'/'); }, L"a/"},
    {"trailing just two", L"//", [](VnString& t) { t.EnsureTrailing(L'/'); }, L"//"},
    {"trailing of three", L"///", [](VnString& t) { t.EnsureTrailing(L'/'); }, L"/"},
    {"reverse", L"abc", [](VnString& t) { t.Reverse(); }, L"cba"},
    {"empty", L"abc", [](VnString& t) { t.Empty(); }, L""},
    {"set a character", L"abc", [](VnString& t) { t.SetAt(1, L'x'); }, L"axc"},
    {"set a zero character", L"abc", [](VnString& t) { t.SetAt(1, 0); }, L"a"},
    {"set past the end", L"abc", [](VnString& t) { t.SetAt(3, L'x'); }, L"abc"},
    {"set ahead of the start", L"abc", [](VnString& t) { t.SetAt(-1, L'x'); }, L"abc"},
    {"utf-8", L"abc", [](VnString& t) { t.SetUTF8("x\xC3\xA9"); }, L"x\u00E9"},
    {"number", L"abc", [](VnString& t) { t.SetInt(-12); }, L"-12"},
    {"format of itself", L"ab", [](VnString& t) { t.Format(L"<%s|%s>", t, t.GetText()); },
     L"<ab|ab>"},
    {"format append with itself", L"ab",
     [](VnString& t) { t.AppendFormat(L"<%s|%s>", t, t.GetText()); }, L"ab<ab|ab>"},
    {"record of itself", L"ab", [](VnString& t) { t.AppendSerialized(t); }, L"ab(2:ab)"},
};

TEST(VnStringEdit, ChangesThisTextAndNoOther) {
    for (const auto& [what, before, edit, after] : kEditCases) {
        for (const Storage storage : kStorages) {
            SCOPED_TRACE(std::string(what) + ", " + Name(storage));
            TextSubject subject(storage, before);
            edit(subject.Text);
            EXPECT_EQ(ToBytes(subject.Text), ToBytes(after));
            EXPECT_EQ(subject.Text.GetLength(), static_cast<int32_t>(wcslen(after)));
            EXPECT_EQ(subject.Damage(), "");
        }
    }
}

TEST(VnStringEdit, TellsWhatItDid) {
    VnString text(L"abcabc");
    EXPECT_EQ(text.Insert(7, L'x'), 6);
    EXPECT_EQ(text.Insert(6, L"xy"), 8);
    EXPECT_EQ(text.Remove(L'b'), 2);
    EXPECT_EQ(text.Remove(L'b'), 0);
    EXPECT_EQ(text.RemoveChars(L"xy"), 2);
    EXPECT_EQ(text.RemoveAll(L"AC", false), 2);
    EXPECT_EQ(text.RemoveAll(L"ac"), 0);
    text = L"a:b";
    EXPECT_FALSE(text.RemovePrefix(L"") || text.RemovePrefix(L"a:bc"));
    EXPECT_TRUE(text.RemovePrefix(L"a"));
    EXPECT_FALSE(text.RemoveSuffix(nullptr));
    EXPECT_TRUE(text.RemoveSuffix(L"B", false));
    EXPECT_FALSE(text.RemoveUpTo(L'x', true) || text.RemoveUpTo(1, true));
    EXPECT_TRUE(text.RemoveFrom(0, false));
    EXPECT_EQ(text, L":");
}

TEST(VnStringEdit, EmbeddedZerosAreCharacters) {
    VnString text(L"a\0b", 3);
    text += VnString(L"\0c", 2);
    EXPECT_EQ(text, VnString(L"a\0b\0c", 5));
    EXPECT_EQ(text.Find(L'c'), 4);
    EXPECT_EQ(text.Mid(1, 2), VnString(L"\0b", 2));
    EXPECT_NE(text, L"a");
    EXPECT_EQ(text.Remove(L'\0'), 2);
    EXPECT_EQ(text, L"abc");
}

TEST(VnStringEdit, NothingToChangeKeepsTheSharedBlock) {
    const VnString source(L"abc");
    void (*const edits[])(VnString&) = {
        [](VnString& t) { t.MakeLower(); },
        [](VnString& t) { t.Trim(); },
        [](VnString& t) { t.Remove(L'x'); },
        [](VnString& t) { t.RemoveChars(L"xyz"); },
        [](VnString& t) { t.RemoveAll(L"xy"); },
        [](VnString& t) { t.EnsureTrailing(L'c'); },
        [](VnString& t) { t = t.Left(3); },
        [](VnString& t) { t = t.Mid(0); },
        [](VnString& t) { t.Replace(L"x", L"y"); },
        [](VnString& t) { t.ReplaceChar(L'x', L'y'); },
        [](VnString& t) { t.EncodeURL(L'%', false); },
        [](VnString& t) { t.EscapeXML(62); },
        [](VnString& t) { t.EscapeBackslash(); },
        [](VnString& t) { t.EscapeChars(L",", L'\\'); },
        [](VnString& t) { t.DecodeEntities(); },
    };
    for (const auto edit : edits) {
        SCOPED_TRACE(&edit - edits);
        VnString text(source);
        edit(text);
        EXPECT_EQ(text.GetText(), source.GetText());
    }
}

TEST(VnStringEdit, ArgumentsInsideALargeText) {
    // Too large for the pool: the block of the old text is gone once it has grown.
    constexpr int32_t kLarge = 100000;
    void (*const edits[])(VnString&) = {
        [](VnString& t) { t.Append(t); },
        [](VnString& t) { t.Append(t.GetText(), kLarge, 64); },
        [](VnString& t) { t.Insert(0, t.GetText()); },
        [](VnString& t) { t.Append(t.GetText(), kLarge / 2, t.GetText(), kLarge / 2); },
        [](VnString& t) {
            t = t.GetText();
            t.Append(t.GetText());
        },
        [](VnString& t) {
            t.AppendSerialized(t);
            t.RemoveAll(L"(100000:");
            t.RemoveAll(L")");
        },
    };
    for (const auto edit : edits) {
        SCOPED_TRACE(&edit - edits);
        VnString text;
        text.Prepend(L'x', kLarge);
        edit(text);
        EXPECT_EQ(text.GetLength(), 2 * kLarge);
        EXPECT_EQ(text.Count(L"x"), 2 * kLarge);
    }
}

TEST(VnStringEdit, AppendGrowsInSteps) {
    VnString text;
    text.Append(L"abc", 3, 1000);
    // (4 / 1000 + 1) * 1000 characters and the terminator.
    EXPECT_EQ(text.GetCapacity(), 1001);
    const wchar_t* block = text.GetText();
    for (int32_t i = 0; i < 997; ++i) {
        text.Append(L"x", 1, 1000);
    }
    EXPECT_EQ(text.GetText(), block);
    text.Append(L"x", 1, 1000);
    EXPECT_EQ(text.GetCapacity(), 2001);
    EXPECT_EQ(text.GetLength(), 1001);
}

} // namespace
