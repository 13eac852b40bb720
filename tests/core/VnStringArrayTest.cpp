#include "core/VnStringArray.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

namespace {

using Texts = std::vector<std::wstring>;

Texts ToTexts(const VnStringArray& strings) {
    Texts texts;
    for (const VnString& text : strings) {
        texts.emplace_back(text.GetText(), static_cast<size_t>(text.GetLength()));
    }
    return texts;
}

VnStringArray ToArray(const Texts& texts) {
    VnStringArray strings;
    for (const std::wstring& text : texts) {
        strings.Add(text.c_str());
    }
    return strings;
}

struct SplitCase {
    const wchar_t* Text;
    const wchar_t* Separator;
    bool Trim;
    bool SkipEmptyText;
    Texts Parts;
};

const SplitCase kSplitCases[] = {
    {L"a,b,c", L",", false, false, {L"a", L"b", L"c"}},
    {L"a,b,", L",", false, false, {L"a", L"b"}},
    {L",a", L",", false, false, {L"", L"a"}},
    {L"a,,b", L",", false, false, {L"a", L"", L"b"}},
    {L",", L",", false, false, {L""}},
    {L",,", L",", false, false, {L"", L""}},
    {L"abc", L",", false, false, {L"abc"}},
    {L"a,b", L"", false, false, {L"a,b"}},
    {L"a,b", nullptr, false, false, {L"a,b"}},
    {L"", L",", false, false, {L""}},
    {L"", L",", false, true, {}},
    {nullptr, L",", false, false, {L""}},
    {nullptr, L",", false, true, {}},
    {L"aXbxc", L"x", false, false, {L"aXb", L"c"}},
    {L"a::b:c", L"::", false, false, {L"a", L"b:c"}},
    {L"aaa", L"aa", false, false, {L"", L"a"}},
    // White space goes around the separators only.
    {L" a ,\t b , c ", L",", true, false, {L" a", L"b", L"c "}},
    {L" a ", L",", true, false, {L" a "}},
    {L"a , ", L",", true, false, {L"a"}},
    {L"a , ", L",", false, false, {L"a ", L" "}},
    {L"a, ,b", L",", true, false, {L"a", L"", L"b"}},
};

TEST(VnStringArraySplit, GivesThePartsInEveryForm) {
    for (const SplitCase& row : kSplitCases) {
        SCOPED_TRACE(
            testing::PrintToString(std::wstring(row.Text == nullptr ? L"(null)" : row.Text)));
        // The parts replace more and fewer old elements than there are.
        for (const Texts& before : {Texts{}, Texts{L"old"}, Texts(9, L"old")}) {
            VnStringArray strings = ToArray(before);
            const int32_t count =
                strings.Split(row.Text, row.Separator, row.Trim, row.SkipEmptyText);
            EXPECT_EQ(ToTexts(strings), row.Parts);
            EXPECT_EQ(count, static_cast<int32_t>(row.Parts.size()));
        }
        VnStringArray appended = ToArray({L"old"});
        Texts expected = row.Parts;
        expected.insert(expected.begin(), L"old");
        appended.AppendSplit(row.Text, row.Separator, row.Trim, row.SkipEmptyText);
        EXPECT_EQ(ToTexts(appended), expected);

        VnStringArray first;
        first.Add(row.Text);
        first.Add(L"old");
        first.SplitFirst(row.Separator, row.Trim, row.SkipEmptyText);
        EXPECT_EQ(ToTexts(first), row.Parts);
    }
}

TEST(VnStringArraySplit, TakesTextAndSeparatorFromTheArray) {
    VnStringArray strings = ToArray({L"a;b;c", L";"});
    strings.Split(strings[0], strings[1]);
    EXPECT_EQ(ToTexts(strings), (Texts{L"a", L"b", L"c"}));

    VnString numbers;
    for (int number = 0; number < 300; ++number) {
        numbers.AppendFormat(L"%d;", number);
    }
    for (const int32_t place : {0, 5}) {
        strings.SetSize(0);
        strings.SetSize(400);
        strings[place] = numbers;
        ASSERT_EQ(strings.Split(strings[place], L";"), 300);
        EXPECT_EQ(strings.Join(L";") + L";", numbers);
    }
    strings.SetSize(0);
    EXPECT_EQ(strings.SplitFirst(L","), 0);
}

TEST(VnStringArraySplit, ByCharacterDropsALastEmptyPart) {
    struct {
        const wchar_t* Text;
        Texts Parts;
    } const kRows[] = {
        {L"a|b", {L"a", L"b"}}, {L"a|", {L"a"}}, {L"a||", {L"a"}},
        {L"|a", {L"", L"a"}},   {L"|", {}},      {L"", {}},
    };
    for (const auto& row : kRows) {
        VnStringArray strings;
        EXPECT_EQ(strings.SplitByChar(row.Text, L'|'), static_cast<int32_t>(row.Parts.size()));
        EXPECT_EQ(ToTexts(strings), row.Parts) << testing::PrintToString(std::wstring(row.Text));
    }
}

TEST(VnStringArrayJoin, FollowsItsArguments) {
    struct {
        Texts Elements;
        const wchar_t* Separator;
        bool Reverse;
        int32_t MaxCount;
        const wchar_t* Joined;
        bool WasCut;
    } const kRows[] = {
        {{L"a", L"b", L"c"}, L", ", false, -1, L"a, b, c", false},
        {{L"a", L"b", L"c"}, L", ", true, -1, L"c, b, a", false},
        {{L"a", L"b", L"c"}, L"-", false, 2, L"a-b", true},
        {{L"a", L"b", L"c"}, L"-", true, 2, L"c-b", true},
        {{L"a", L"b", L"c"}, L"-", false, 3, L"a-b-c", false},
        {{L"a", L"b", L"c"}, L"-", false, 4, L"a-b-c", false},
        {{L"a", L"b", L"c"}, L"-", false, 1, L"a", true},
        {{L"a", L"b", L"c"}, L"-", false, 0, L"", true},
        {{L"a", L"", L"c"}, nullptr, false, -1, L"ac", false},
        {{L"", L""}, L"-", false, -1, L"-", false},
        {{}, L"-", false, -1, L"", false},
    };
    for (const auto& row : kRows) {
        bool wasCut = !row.WasCut;
        const VnString joined =
            ToArray(row.Elements).Join(row.Separator, row.Reverse, row.MaxCount, &wasCut);
        EXPECT_EQ(joined, row.Joined) << testing::PrintToString(std::wstring(joined));
        EXPECT_EQ(wasCut, row.WasCut);
    }
}

TEST(VnStringArrayJoin, SharesASingleElementAndAppendsTheTailWhenCut) {
    const VnStringArray strings = ToArray({L"first", L"second", L"third"});
    EXPECT_EQ(strings.Join(L"-", /*reverse=*/true, 1).GetText(), strings[2].GetText());
    EXPECT_EQ(strings.JoinWithTail(2, L"...", L", "), L"first, second, ...");
    EXPECT_EQ(strings.JoinWithTail(3, L"...", L", "), L"first, second, third");
    EXPECT_EQ(strings.JoinWithTail(-1, L"...", L", "), L"first, second, third");
}

TEST(VnStringArrayFind, KnowsWholePrefixAndPart) {
    const VnStringArray strings = ToArray({L"Alpha", L"beta", L"ALPHABET", L""});
    struct {
        const wchar_t* Text;
        bool CaseFlag;
        bool Whole;
        bool Prefix;
        int32_t Index;
    } constexpr kRows[] = {
        {L"alpha", false, true, false, 0},       {L"alpha", true, true, false, -1},
        {L"alphabet", false, true, false, 2},    {L"alph", false, true, false, -1},
        {L"ALPH", true, false, true, 2},         {L"ALPH", false, true, true, 0},
        {L"bet", false, false, false, 1},        {L"BET", true, false, false, 2},
        {L"eta", false, false, true, -1},        {L"", false, true, false, 3},
        {L"", false, false, false, 0},           {nullptr, true, true, false, 3},
        {L"alphabets", false, false, false, -1},
    };
    for (const auto& row : kRows) {
        EXPECT_EQ(strings.Find(row.Text, row.CaseFlag, row.Whole, row.Prefix), row.Index)
            << testing::PrintToString(std::wstring(row.Text == nullptr ? L"" : row.Text));
    }
}

TEST(VnStringArrayRemoveDuplicates, KeepsTheFirstOfEachGroup) {
    for (const int32_t padding : {0, 12, 13, 40}) {
        SCOPED_TRACE(padding);
        // With 4 texts of its own, 12 more stay at the pairwise limit of 16 and 13 exceed it.
        Texts texts = {L"B", L"a"};
        Texts expected = texts;
        for (int32_t number = 0; number < padding; ++number) {
            texts.push_back(L"x" + std::to_wstring(number));
            expected.push_back(texts.back());
        }
        texts.insert(texts.end(), {L"b", L"A"});
        VnStringArray strings = ToArray(texts);
        strings.RemoveDuplicates();
        EXPECT_EQ(ToTexts(strings), expected);
    }
}

TEST(VnStringArrayRemoveDuplicates, ComparesTextsUpTo16ElementsAndHashesAbove) {
    // 'a' * 0x1003F + 0x100A0 is 'b' * 0x1003F + 'a': two texts of equal hash.
    for (const int32_t count : {16, 17}) {
        VnStringArray strings = ToArray({L"a\U000100a0", L"ba"});
        strings.AppendNumbers(1, count - 2);
        strings.RemoveDuplicates();
        EXPECT_EQ(strings.Contains(L"ba"), count == 16) << count;
        EXPECT_EQ(strings.GetCount(), 16) << count;
    }
}

TEST(VnStringArrayEdit, RemovesReplacesAndMoves) {
    VnStringArray strings = ToArray({L"ab", L"AB", L"abc", L"x"});
    EXPECT_EQ(strings.RemoveMatching(strings[1], /*caseFlag=*/true), 1);
    EXPECT_EQ(ToTexts(strings), (Texts{L"ab", L"abc", L"x"}));
    EXPECT_EQ(strings.RemoveMatching(L"B", false, /*whole=*/false), 2);
    EXPECT_EQ(ToTexts(strings), (Texts{L"x"}));

    strings = ToArray({L"a", L"A", L"ab"});
    EXPECT_EQ(strings.ReplaceValue(L"a", L"z", /*caseFlag=*/true), 1);
    EXPECT_EQ(strings.ReplaceValue(L"a", L"y"), 1);
    EXPECT_EQ(ToTexts(strings), (Texts{L"z", L"y", L"ab"}));

    // A neighbour on either side of what goes, and a run at each end.
    strings = ToArray({L"x", L"x", L"a", L"x", L"b", L"c", L"x"});
    EXPECT_EQ(strings.RemoveMatching(L"X"), 4);
    EXPECT_EQ(ToTexts(strings), (Texts{L"a", L"b", L"c"}));
    EXPECT_EQ(strings.RemoveMatching(L"d"), 0);
    EXPECT_EQ(ToTexts(strings), (Texts{L"a", L"b", L"c"}));

    struct {
        int32_t Index;
        int32_t Delta;
        int32_t Place;
        const wchar_t* Order;
    } constexpr kMoves[] = {
        {0, 1, 1, L"bacd"}, {0, 9, 3, L"bcda"},         {3, -1, 2, L"abdc"},  {3, -9, 0, L"dabc"},
        {1, 0, 1, L"abcd"}, {0, INT32_MAX, 3, L"bcda"}, {4, -1, -1, L"abcd"}, {-1, 1, -1, L"abcd"},
    };
    for (const auto& row : kMoves) {
        VnStringArray letters = ToArray({L"a", L"b", L"c", L"d"});
        EXPECT_EQ(letters.Move(row.Index, row.Delta), row.Place);
        EXPECT_EQ(letters.Join(nullptr), row.Order) << row.Index << " by " << row.Delta;
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
    ASSERT_EQ(strings.GetCount(), kPairs);
    EXPECT_EQ(strings[kPairs - 1], VnString::FromInt(kPairs - 1));
    ASSERT_EQ(twin.GetCount(), kPairs + 1);
    EXPECT_EQ(twin[1], L"again");
    EXPECT_EQ(twin[kPairs], VnString::FromInt(kPairs - 1));
}

TEST(VnStringArrayEdit, LocatesACharacterOfAllElements) {
    const VnStringArray strings = ToArray({L"ab", L"", L"c"});
    struct {
        int32_t Position;
        bool Found;
        int32_t Index;
        int32_t Offset;
    } constexpr kRows[] = {
        {0, true, 0, 0}, {1, true, 0, 1}, {2, true, 2, 0}, {3, false, -1, -1}, {-1, false, -1, -1}};
    for (const auto& row : kRows) {
        int32_t index = 77;
        int32_t offset = 77;
        EXPECT_EQ(strings.Locate(row.Position, index, offset), row.Found) << row.Position;
        EXPECT_EQ(index, row.Index);
        EXPECT_EQ(offset, row.Offset);
    }
}

TEST(VnStringArrayEdit, FindsAFreeName) {
    const VnStringArray strings = ToArray({L"Song", L"song (1)", L"Song (2)"});
    VnString text = L"Song";
    EXPECT_TRUE(strings.MakeUnique(text));
    EXPECT_EQ(text, L"Song (3)");
    EXPECT_FALSE(strings.MakeUnique(text));
}

TEST(VnStringArrayRecords, WriteAndReadBack) {
    const VnStringArray strings = ToArray({L"abc", L"", L"(2:x)"});
    VnString text = L">";
    strings.Serialize(text);
    EXPECT_EQ(text, L">(1:1)(1:3)(3:abc)(0:)(5:(2:x))");

    VnStringArray read = ToArray({L"old"});
    int32_t position = 1;
    EXPECT_TRUE(read.Deserialize(text, position));
    EXPECT_TRUE(read == strings);
    EXPECT_EQ(position, text.GetLength());
}

TEST(VnStringArrayRecords, RefuseAnotherVersionAndBoundTheCount) {
    struct {
        const wchar_t* Text;
        bool Result;
        int32_t Count;
    } constexpr kRows[] = {
        {L"(1:2)(1:1)(1:a)", false, 0},
        {L"", false, 0},
        {L"(1:1)", true, 0},
        {L"(1:1)(2:-5)(1:a)", true, 0},
        {L"(1:1)(10:2000000000)(1:a)", true, 1},
    };
    for (const auto& row : kRows) {
        VnStringArray strings = ToArray({L"old"});
        EXPECT_EQ(strings.Deserialize(row.Text), row.Result);
        EXPECT_EQ(strings.GetCount(), row.Count) << testing::PrintToString(std::wstring(row.Text));
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
    EXPECT_EQ(strings.Join(L" "), L"7 -2147483648 -1 0 1");
    strings.Empty();
    strings.AppendNumbers(INT32_MAX, INT32_MAX);
    EXPECT_EQ(strings.GetCount(), 1);
}

} // namespace
