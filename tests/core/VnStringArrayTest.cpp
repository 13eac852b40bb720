#include "core/VnStringArray.h"

#include "tests/support/TestText.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <cwchar>
#include <string>
#include <tuple>
#include <vector>

namespace {

using Texts = std::vector<std::string>;

Texts ToTexts(const VnStringArray& strings) {
    Texts texts;
    for (const VnString& text : strings) {
        texts.push_back(ToBytes(text));
    }
    return texts;
}

VnStringArray ToArray(const Texts& texts) {
    VnStringArray strings;
    for (const std::string& text : texts) {
        strings.Add(ToText(text));
    }
    return strings;
}

TEST(VnStringArraySplit, GivesThePartsInEveryForm) {
    const std::tuple<const wchar_t*, const wchar_t*, bool, bool, Texts> kRows[] = {
        {L"a,b,c", L",", false, false, {"a", "b", "c"}},
        {L"a,b,", L",", false, false, {"a", "b"}},
        {L",a", L",", false, false, {"", "a"}},
        {L"a,,b", L",", false, false, {"a", "", "b"}},
        {L",", L",", false, false, {""}},
        {L",,", L",", false, false, {"", ""}},
        {L"abc", L",", false, false, {"abc"}},
        {L"a,b", L"", false, false, {"a,b"}},
        {L"a,b", nullptr, false, false, {"a,b"}},
        {L"", L",", false, false, {""}},
        {L"", L",", false, true, {}},
        {nullptr, L",", false, false, {""}},
        {nullptr, L",", false, true, {}},
        {L"aXbxc", L"x", false, false, {"aXb", "c"}},
        {L"a::b:c", L"::", false, false, {"a", "b:c"}},
        {L"aaa", L"aa", false, false, {"", "a"}},
        // White space goes around the separators only.
        {L" a ,\t b , c ", L",", true, false, {" a", "b", "c "}},
        {L" a ", L",", true, false, {" a "}},
        {L"a , ", L",", true, false, {"a"}},
        {L"a , ", L",", false, false, {"a ", " "}},
        {L" , ,b", L",", true, false, {"", "", "b"}},
    };
    for (const auto& [text, separator, trim, skipEmptyText, parts] : kRows) {
        SCOPED_TRACE(text == nullptr ? "(null)" : ToBytes(text));
        const auto count = static_cast<int32_t>(parts.size());
        // The parts replace more and fewer old elements than there are.
        for (const size_t old : {0, 1, 9}) {
            VnStringArray strings = ToArray(Texts(old, "old"));
            EXPECT_EQ(strings.Split(text, separator, trim, skipEmptyText), count);
            EXPECT_EQ(ToTexts(strings), parts);
        }
        VnStringArray strings = ToArray({"old"});
        EXPECT_EQ(strings.AppendSplit(text, separator, trim, skipEmptyText), count);
        EXPECT_EQ(strings[0], L"old");
        strings.RemoveAt(0);
        EXPECT_EQ(ToTexts(strings), parts);

        strings = ToArray({"first", "old"});
        strings[0] = text;
        EXPECT_EQ(strings.SplitFirst(separator, trim, skipEmptyText), count);
        EXPECT_EQ(ToTexts(strings), parts);

        if (separator != nullptr && std::wcslen(separator) == 1) {
            // By a character: a last part that is empty goes.
            Texts left = parts;
            if (!left.empty() && left.back().empty()) {
                left.pop_back();
            }
            EXPECT_EQ(strings.SplitByChar(text, *separator, trim, skipEmptyText),
                      static_cast<int32_t>(left.size()));
            EXPECT_EQ(ToTexts(strings), left);
        }
    }
}

TEST(VnStringArraySplit, TakesTextAndSeparatorFromTheArray) {
    for (const int32_t place : {0, 1, 8}) {
        VnStringArray strings = ToArray(Texts(9, ","));
        strings[place] = L"a,b,c,d";
        strings.Split(strings[place], strings[2]);
        EXPECT_EQ(ToTexts(strings), (Texts{"a", "b", "c", "d"})) << place;
    }
    VnStringArray empty;
    EXPECT_EQ(empty.SplitFirst(L","), 0);
}

TEST(VnStringArrayJoin, FollowsItsArguments) {
    const std::tuple<Texts, const wchar_t*, bool, int32_t, const char*, bool> kRows[] = {
        {{"a", "b", "c"}, L", ", false, -1, "a, b, c", false},
        {{"a", "b", "c"}, L", ", true, -1, "c, b, a", false},
        {{"a", "b", "c"}, L"-", false, 2, "a-b", true},
        {{"a", "b", "c"}, L"-", true, 2, "c-b", true},
        {{"a", "b", "c"}, L"-", false, 3, "a-b-c", false},
        {{"a", "b", "c"}, L"-", false, 4, "a-b-c", false},
        {{"a", "b", "c"}, L"-", false, 0, "", true},
        {{"a", "", "c"}, nullptr, false, -1, "ac", false},
        {{"", ""}, L"-", false, -1, "-", false},
        {{}, L"-", false, -1, "", false},
    };
    for (const auto& [elements, separator, reverse, maxCount, expected, isCut] : kRows) {
        bool wasCut = !isCut;
        const VnString joined = ToArray(elements).Join(separator, reverse, maxCount, &wasCut);
        EXPECT_EQ(ToBytes(joined), expected);
        EXPECT_EQ(wasCut, isCut) << expected;
    }
}

TEST(VnStringArrayJoin, SharesASingleElementAndAppendsTheTailWhenCut) {
    const VnStringArray strings = ToArray({"a", "b", "c"});
    EXPECT_EQ(strings.Join(L"-", /*reverse=*/true, 1).GetText(), strings[2].GetText());
    EXPECT_EQ(strings.JoinWithTail(2, L"...", L", "), L"a, b, ...");
    EXPECT_EQ(strings.JoinWithTail(3, L"...", L", "), L"a, b, c");
    EXPECT_EQ(strings.JoinWithTail(-1, L"...", L", "), L"a, b, c");
}

TEST(VnStringArrayFind, KnowsWholePrefixAndPart) {
    const VnStringArray strings = ToArray({"Alpha", "beta", "ALPHABET", ""});
    constexpr std::tuple<const wchar_t*, bool, bool, bool, int32_t> kRows[] = {
        {L"alpha", false, true, false, 0},    {L"alpha", true, true, false, -1},
        {L"alphabet", false, true, false, 2}, {L"alph", false, true, false, -1},
        {L"ALPH", true, false, true, 2},      {L"ALPH", false, true, true, 0},
        {L"bet", false, false, false, 1},     {L"BET", true, false, false, 2},
        {L"eta", false, false, true, -1},     {L"alphabets", false, false, false, -1},
        {L"", false, false, false, 0},        {nullptr, true, true, false, 3},
    };
    for (const auto& [text, caseFlag, whole, prefix, index] : kRows) {
        EXPECT_EQ(strings.Find(text, caseFlag, whole, prefix), index)
            << ToBytes(text) << caseFlag << whole << prefix;
    }
}

TEST(VnStringArrayRemoveDuplicates, ComparesTextsUpTo16ElementsAndHashesAbove) {
    // 'a' * 0x1003F + 0x100A0 is 'b' * 0x1003F + 'a': "ba" has the hash of the text ahead of it.
    for (const int32_t count : {6, 16, 17, 40}) {
        SCOPED_TRACE(count);
        VnStringArray strings = ToArray({"B", "a\xF0\x90\x82\xA0", "ba"});
        strings.AppendNumbers(1, count - 5);
        VnStringArray expected = strings;
        if (count > 16) {
            expected.RemoveAt(2);
        }
        strings.AppendSplit(L"b,BA", L",");
        ASSERT_EQ(strings.GetCount(), count);
        strings.RemoveDuplicates();
        EXPECT_EQ(ToTexts(strings), ToTexts(expected));
    }
    VnStringArray zeros;
    zeros.Add(VnString(L"a\0b", 3));
    zeros.Add(VnString(L"a\0B", 3));
    zeros.Add(VnString(L"a\0c", 3));
    zeros.RemoveDuplicates();
    EXPECT_EQ(zeros.GetCount(), 2) << "what stands behind a zero character counts";
}

TEST(VnStringArrayEdit, RemovesAndReplaces) {
    // A neighbour on either side of what goes, and a run at each end.
    VnStringArray strings = ToArray({"x", "X", "a", "x", "xb", "c", "X"});
    EXPECT_EQ(strings.RemoveMatching(strings[0], /*caseFlag=*/true), 2);
    EXPECT_EQ(ToTexts(strings), (Texts{"X", "a", "xb", "c", "X"}));
    for (const int32_t removed : {2, 0}) {
        EXPECT_EQ(strings.RemoveMatching(L"x"), removed);
        EXPECT_EQ(ToTexts(strings), (Texts{"a", "xb", "c"}));
    }
    EXPECT_EQ(strings.RemoveMatching(L"B", false, /*whole=*/false), 1);
    strings.AppendSplit(L"A,aa", L",");
    EXPECT_EQ(strings.ReplaceValue(strings[0], L"z", /*caseFlag=*/true), 1);
    EXPECT_EQ(strings.ReplaceValue(L"a", L"y"), 1);
    EXPECT_EQ(ToTexts(strings), (Texts{"z", "c", "y", "aa"}));
}

TEST(VnStringArrayEdit, Moves) {
    constexpr std::tuple<int32_t, int32_t, int32_t, const char*> kRows[] = {
        {0, 1, 1, "bacd"}, {0, 9, 3, "bcda"},         {3, -1, 2, "abdc"},  {3, -9, 0, "dabc"},
        {1, 0, 1, "abcd"}, {0, INT32_MAX, 3, "bcda"}, {4, -1, -1, "abcd"}, {-1, 1, -1, "abcd"},
    };
    for (const auto& [index, delta, place, order] : kRows) {
        VnStringArray letters = ToArray({"a", "b", "c", "d"});
        EXPECT_EQ(letters.Move(index, delta), place);
        EXPECT_EQ(ToBytes(letters.Join(nullptr)), order) << index << " by " << delta;
    }
}

/// Moving the tail for each text that goes would take minutes here.
TEST(VnStringArrayEdit, RemovesManyAtOnce) {
    constexpr int32_t kPairs = 300000;
    VnStringArray strings;
    for (int32_t number = 0; number < kPairs; ++number) {
        strings.Add(VnString::FromInt(number));
        strings.Add(L"again");
    }
    VnStringArray twin = strings;
    const auto started = std::chrono::steady_clock::now();
    EXPECT_EQ(strings.RemoveMatching(L"again"), kPairs);
    twin.RemoveDuplicates();
    EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::seconds(10));
    EXPECT_EQ(twin.RemoveMatching(L"again"), 1);
    EXPECT_TRUE(twin == strings);
}

TEST(VnStringArrayEdit, LocatesACharacterOfAllElements) {
    const VnStringArray strings = ToArray({"ab", "", "c"});
    constexpr std::tuple<int32_t, int32_t, int32_t> kRows[] = {
        {0, 0, 0}, {1, 0, 1}, {2, 2, 0}, {3, -1, -1}, {-1, -1, -1}};
    for (const auto& [position, element, place] : kRows) {
        int32_t index = 77;
        int32_t offset = 77;
        EXPECT_EQ(strings.Locate(position, index, offset), element >= 0) << position;
        EXPECT_EQ(index, element) << position;
        EXPECT_EQ(offset, place) << position;
    }
}

TEST(VnStringArrayEdit, FindsAFreeName) {
    const VnStringArray strings = ToArray({"Song", "song (1)", "Song (2)"});
    VnString text = L"Song";
    EXPECT_TRUE(strings.MakeUnique(text));
    EXPECT_EQ(text, L"Song (3)");
    EXPECT_FALSE(strings.MakeUnique(text));
    VnStringArray own = ToArray({"Song", "Other", "song"});
    EXPECT_FALSE(own.MakeUnique(own[1])) << "an element is no other text";
    EXPECT_TRUE(own.MakeUnique(own[0]));
    EXPECT_EQ(own[0], L"Song (1)");
}

TEST(VnStringArrayRecords, WriteAndReadBack) {
    const VnStringArray strings = ToArray({"abc", "", "(2:x)"});
    VnString text = L">";
    strings.Serialize(text);
    EXPECT_EQ(text, L">(1:1)(1:3)(3:abc)(0:)(5:(2:x))");

    VnStringArray read = ToArray({"old"});
    int32_t position = 1;
    EXPECT_TRUE(read.Deserialize(text, position));
    EXPECT_TRUE(read == strings);
    EXPECT_EQ(position, text.GetLength());
    read.Serialize(read[0]);
    EXPECT_EQ(read[0], L"abc(1:1)(1:3)(3:abc)(0:)(5:(2:x))");
}

TEST(VnStringArrayRecords, RefuseAnotherVersionAndBoundTheCount) {
    constexpr std::tuple<const wchar_t*, bool, int32_t> kRows[] = {
        {L"(1:2)(1:1)(1:a)", false, 0},
        {L"", false, 0},
        {L"(1:1)", true, 0},
        {L"(1:1)(2:-5)(1:a)", true, 0},
        {L"(1:1)(10:2147483647)(1:a)", true, 1},
    };
    for (const auto& [text, result, count] : kRows) {
        VnStringArray strings = ToArray({"old"});
        EXPECT_EQ(strings.Deserialize(text), result) << ToBytes(text);
        EXPECT_EQ(strings.GetCount(), count) << ToBytes(text);
    }
}

TEST(VnStringArrayRecords, TakeNumbers) {
    VnNumberArray<int> numbers;
    numbers.Add(7);
    numbers.Add(INT32_MIN);
    VnStringArray strings;
    strings.AppendNumbers(numbers);
    strings.AppendNumbers(-1, 1);
    strings.AppendNumbers(2, 1);
    strings.AppendNumbers(INT32_MAX, INT32_MAX);
    EXPECT_EQ(strings.Join(L" "), L"7 -2147483648 -1 0 1 2147483647");
}

} // namespace
