#include "core/VnMap.h"

#include "core/VnOwnedPtrMap.h"
#include "core/VnStringMap.h"
#include "core/VnUniqueList.h"
#include "core/VnUniqueStringArray.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

namespace {

using NumberMap = VnMap<int, int, int, int, false>;
using TextMap = VnStringMap<VnString, false, VnString, const VnString&, true>;
using ExactMap = VnStringMap<VnString, true, int, int, false>;

template<typename MAP>
int32_t CountByCursor(const MAP& map) {
    int32_t count = 0;
    for (auto cursor = map.GetFirst(); cursor.Item != nullptr; map.GetNext(cursor)) {
        ++count;
    }
    return count;
}

TEST(VnMapTable, HasTheBucketsOfTheGrowthRule) {
    struct {
        int32_t Keys;
        int32_t Buckets;
    } constexpr kRows[] = {{0, 0},    {1, 7},     {7, 7},     {16, 7},     {17, 31},    {64, 31},
                           {65, 127}, {256, 127}, {257, 511}, {1024, 511}, {1025, 2047}};
    NumberMap map;
    for (const auto& row : kRows) {
        while (map.GetCount() < row.Keys) {
            map.SetAt(map.GetCount(), 0);
        }
        EXPECT_EQ(map.GetBucketCount(), row.Buckets) << row.Keys << " keys";
    }
    map.RemoveAll();
    EXPECT_EQ(map.GetBucketCount(), 2047) << "the table shrank";
}

TEST(VnMapTable, PreparesForAFifthMore) {
    struct {
        int32_t Asked;
        int32_t Buckets;
    } constexpr kRows[] = {{1, 7},   {6, 7},   {7, 15},  {12, 15},
                           {13, 15}, {14, 31}, {26, 31}, {27, 63}};
    for (const auto& row : kRows) {
        NumberMap map;
        map.Reserve(row.Asked);
        // n * 120 / 100 keys, and the smallest 2^k - 1 above that (7 up to 7 keys).
        EXPECT_EQ(map.GetBucketCount(), row.Buckets) << row.Asked;
    }
}

TEST(VnMapTable, EnumeratesBucketsInOrderAndReversesChainsOnGrowth) {
    NumberMap map;
    for (const int key : {7, 0, 14, 1}) {
        map.SetAt(key, key);
    }
    const auto keys = [&] {
        std::vector<int> found;
        for (auto cursor = map.GetFirst(); cursor.Item != nullptr; map.GetNext(cursor)) {
            found.push_back(cursor.Item->Key);
        }
        return found;
    };
    EXPECT_EQ(keys(), (std::vector<int>{7, 0, 14, 1}));
    // Both go to bucket 3 of 7; of 31 to the buckets of 7 and of 0, at the head of those chains.
    map.SetAt(38, 38);
    map.SetAt(31, 31);
    map.Reserve(20);
    ASSERT_EQ(map.GetBucketCount(), 31);
    EXPECT_EQ(keys(), (std::vector<int>{31, 0, 1, 38, 7, 14}));
    NumberMap::CCursor end = map.GetFirst();
    while (end.Item != nullptr) {
        map.GetNext(end);
    }
    EXPECT_EQ(end.Bucket, -1);
}

TEST(VnMapTable, HashesByTheLow32BitsAndComparesAll) {
    VnUniqueList<unsigned long, unsigned long> list;
    EXPECT_TRUE(list.Add(5));
    EXPECT_TRUE(list.Add(5 + (1UL << 32)));
    EXPECT_FALSE(list.Add(5));
    EXPECT_EQ(list.HashKey(5 + (1UL << 32)), 5U);
    EXPECT_TRUE(list.RemoveKey(5));
    EXPECT_FALSE(list.Contains(5));
    EXPECT_TRUE(list.Contains(5 + (1UL << 32)));
}

TEST(VnMapTable, NodesOfSetsHoldTheKeyOnly) {
    static_assert(sizeof(NumberMap) == 32);
    EXPECT_EQ((VnUniqueList<unsigned long, unsigned long>().GetNodeSize()), 16);
    EXPECT_EQ((VnStringCRCUniqueList<false>().GetNodeSize()), 16);
    EXPECT_EQ((VnStringUniqueList<VnString, false>().GetNodeSize()), 24);
    EXPECT_EQ(TextMap().GetNodeSize(), 24);
}

/// Random steps on a map and on std::map side by side, with nodes from the heap and from blocks.
template<typename MAP, typename KEY, typename MAKEKEY>
void CompareWithModel(MAP& subject, bool useBlocks, uint32_t seed, const MAKEKEY& makeKey) {
    SCOPED_TRACE(testing::Message() << "seed " << seed << (useBlocks ? ", blocks" : ", heap"));
    std::mt19937 random(seed);
    std::map<KEY, int> model;
    subject.SetNodeAllocator(useBlocks, 256);
    for (int step = 0; step < 20000; ++step) {
        const KEY key = makeKey(static_cast<int>(random() % 700));
        const auto found = model.find(key);
        const int value = static_cast<int>(random());
        switch (random() % 8) {
        case 0:
        case 1:
        case 2:
            ASSERT_TRUE(subject.SetAt(key, value));
            model[key] = value;
            break;
        case 3:
            ASSERT_EQ(subject.SetAt(key, value, /*overwrite=*/false), found == model.end());
            model.emplace(key, value);
            break;
        case 4:
        case 5:
            ASSERT_EQ(subject.RemoveKey(key), model.erase(key) > 0);
            break;
        case 6:
            if (random() % 500 == 0) {
                subject.RemoveAll();
                model.clear();
            }
            break;
        default: {
            int held = -77;
            ASSERT_EQ(subject.Lookup(key, held), found != model.end());
            ASSERT_EQ(held, found == model.end() ? -77 : found->second);
        }
        }
        ASSERT_EQ(subject.GetCount(), static_cast<int32_t>(model.size()));
    }
    EXPECT_EQ(CountByCursor(subject), subject.GetCount());
    for (auto cursor = subject.GetFirst(); cursor.Item != nullptr; subject.GetNext(cursor)) {
        const auto found = model.find(KEY(cursor.Item->Key));
        ASSERT_NE(found, model.end());
        EXPECT_EQ(cursor.Item->Value, found->second);
    }
}

TEST(VnMapModel, MatchesAStandardMapOverRandomSteps) {
    for (const bool useBlocks : {false, true}) {
        for (const uint32_t seed : {1U, 2U}) {
            NumberMap numbers;
            CompareWithModel<NumberMap, int>(numbers, useBlocks, seed,
                                             [](int key) { return key - 350; });
            // Texts that are the same in front, so that the compare reaches the end.
            ExactMap texts;
            CompareWithModel<ExactMap, VnString>(texts, useBlocks, seed, [](int key) {
                return VnString::Formatted(L"/media/player/Music/%d", key);
            });
        }
    }
}

/// Texts of every length around the steps of the hash and of the compare, in random letter case.
TEST(VnMapModel, FoldedKeysMatchAMapOfLowerCaseTexts) {
    std::mt19937 random(9);
    VnStringMap<VnString, false, int, int, false> subject;
    std::map<std::wstring, int> model;
    for (int step = 0; step < 20000; ++step) {
        std::wstring lower(random() % 21, L'x');
        std::wstring spelled = lower;
        for (size_t index = 0; index < lower.size(); ++index) {
            // Mostly one letter, so that many keys differ in a single place.
            lower[index] = random() % 8 == 0 ? L'q' : L'x';
            spelled[index] = static_cast<wchar_t>(lower[index] - (random() % 2 == 0 ? 32 : 0));
        }
        if (random() % 3 == 0) {
            ASSERT_EQ(subject.RemoveKey(spelled.c_str()), model.erase(lower) > 0);
        } else {
            ASSERT_EQ(subject.SetAt(VnString(spelled.c_str()), step, /*overwrite=*/false),
                      model.emplace(lower, step).second);
        }
    }
    EXPECT_EQ(subject.GetCount(), static_cast<int32_t>(model.size()));
    for (const auto& [key, value] : model) {
        const int* found = subject.Lookup(key.c_str());
        ASSERT_NE(found, nullptr);
        EXPECT_EQ(*found, value);
    }
}

TEST(VnStringMapKeys, ShareTheTextAndEndAtAZeroCharacter) {
    TextMap map;
    const VnString key = L"shared";
    map.SetAt(key, VnString());
    EXPECT_EQ(map.GetFirst().Item->Key.GetText(), key.GetText());
    map.SetAt(VnString(L"cut\0here", 8), VnString(L"1"));
    EXPECT_TRUE(map.Contains(L"CUT"));
    EXPECT_TRUE(map.RemoveKey(VnString(L"cut\0there", 9)));
    EXPECT_EQ(map.GetCount(), 1);
}

TEST(VnStringMapKeys, FoldOrCompareExactly) {
    TextMap folding;
    EXPECT_TRUE(folding.SetAt(L"Name", VnString(L"1")));
    EXPECT_EQ(folding.GetBucketCount(), 7);
    EXPECT_TRUE(folding.SetAt(L"nAME", VnString(L"2")));
    EXPECT_EQ(folding.GetCount(), 1);
    EXPECT_EQ(folding.GetFirst().Item->Key, L"Name") << "the spelling changed";
    ASSERT_NE(folding.Lookup(L"NAME"), nullptr);
    EXPECT_EQ(*folding.Lookup(L"NAME"), L"2");
    EXPECT_FALSE(folding.SetAt(L"name", VnString(L"3"), /*overwrite=*/false));
    EXPECT_EQ(*folding.Lookup(L"name"), L"2");
    EXPECT_EQ(folding.Lookup(L"nam"), nullptr);
    EXPECT_EQ(folding.Lookup(L"names"), nullptr);

    ExactMap exact;
    exact.SetAt(L"Name", 1);
    EXPECT_EQ(exact.Lookup(L"name"), nullptr);
    EXPECT_NE(exact.Lookup(L"Name"), nullptr);
}

TEST(VnStringMapKeys, DifferInAnyPlace) {
    const TextMap folding;
    const ExactMap exact;
    for (size_t length = 1; length <= 20; ++length) {
        const std::wstring text(length, L'x');
        for (size_t place = 0; place < length; ++place) {
            std::wstring other = text;
            other[place] = L'X';
            EXPECT_TRUE(folding.KeysEqual(text.c_str(), other.c_str())) << length << ", " << place;
            EXPECT_FALSE(exact.KeysEqual(text.c_str(), other.c_str())) << length << ", " << place;
            other[place] = L'q';
            EXPECT_FALSE(folding.KeysEqual(text.c_str(), other.c_str())) << length << ", " << place;
        }
        EXPECT_FALSE(folding.KeysEqual(text.c_str(), (text + L'x').c_str()));
    }
}

TEST(VnStringMapKeys, TakeNullAsEmpty) {
    TextMap map;
    EXPECT_EQ(map.Lookup(nullptr), nullptr);
    EXPECT_FALSE(map.RemoveKey(nullptr));
    map.SetAt(nullptr, VnString(L"x"));
    EXPECT_TRUE(map.Contains(L""));
    EXPECT_TRUE(map.KeysEqual(nullptr, L""));
    EXPECT_EQ(map.HashKey(nullptr), 0U);
}

TEST(VnStringMapKeys, HashAsWritten) {
    const TextMap folding;
    const ExactMap exact;
    EXPECT_EQ(folding.HashKey(L"abc"), 0x3025F862U);
    EXPECT_EQ(folding.HashKey(L"ABC"), 0x3025F862U);
    EXPECT_EQ(exact.HashKey(L"abc"), 0x3025F862U);
    // 0x41 * 0x1003F + 0x42, and that * 0x1003F + 0x43, in 32 bits.
    EXPECT_EQ(exact.HashKey(L"ABC"), 0x20440042U);
}

TEST(VnStringMapKeys, AnswerAlikeThroughTheBase) {
    TextMap map;
    map.SetAt(L"One", VnString(L"1"));
    VnMap<VnString, const wchar_t*, VnString, const VnString&, true>& base = map;
    ASSERT_NE(base.Lookup(L"ONE"), nullptr);
    EXPECT_TRUE(base.SetAt(L"oNE", VnString(L"2")));
    EXPECT_EQ(*map.Lookup(L"one"), L"2");
    EXPECT_TRUE(base.RemoveKey(L"one"));
    EXPECT_TRUE(map.IsEmpty());
}

TEST(VnMapRelease, TextsAreReleasedWithTheirNodes) {
    for (const bool useBlocks : {false, true}) {
        const VnString shared = L"shared between map and test";
        const auto getCount = [&] {
            return VnStringHeader::FromCharacters(const_cast<wchar_t*>(shared.GetText()))
                ->ReferenceCount.load();
        };
        {
            TextMap map;
            map.SetNodeAllocator(useBlocks);
            map.SetAt(L"a", shared);
            map.SetAt(L"b", shared);
            map.SetAt(L"c", shared);
            EXPECT_EQ(getCount(), 4);
            map.SetAt(L"a", VnString());
            EXPECT_EQ(getCount(), 3);
            map.RemoveKey(L"b");
            EXPECT_EQ(getCount(), 2);
            map.RemoveAll();
            EXPECT_EQ(getCount(), 1);
            map.SetAt(L"a", shared);
        }
        EXPECT_EQ(getCount(), 1) << "the destructor kept a value";
    }
}

TEST(VnMapRelease, SwitchingTheNodeAllocatorEmptiesTheMap) {
    TextMap map;
    map.SetAt(L"a", VnString(L"1"));
    map.SetNodeAllocator(true);
    EXPECT_EQ(map.GetCount(), 0);
    map.SetAt(L"a", VnString(L"1"));
    map.SetNodeAllocator(false);
    EXPECT_EQ(map.GetCount(), 0);
    EXPECT_EQ(map.Lookup(L"a"), nullptr);
    map.SetAt(L"a", VnString(L"1"));
    EXPECT_TRUE(map.Contains(L"a"));
}

struct CCounted {
    CCounted() { ++Alive; }
    ~CCounted() { --Alive; }
    static inline int Alive = 0;
};

TEST(VnMapRelease, AnOwningMapDeletesItsValues) {
    {
        VnStringToOwnedPtrMap<VnString, false, CCounted> map;
        map.SetAt(L"a", new CCounted);
        map.SetAt(L"b", new CCounted);
        map.SetAt(L"A", new CCounted);
        EXPECT_EQ(CCounted::Alive, 2) << "the overwritten value";
        map.SetAt(L"a", *map.Lookup(L"a"));
        EXPECT_EQ(CCounted::Alive, 2) << "the same pointer stored again";
        map.RemoveKey(L"B");
        EXPECT_EQ(CCounted::Alive, 1);
        map.RemoveAll();
        EXPECT_EQ(CCounted::Alive, 0);
        map.SetAt(L"a", new CCounted);
    }
    EXPECT_EQ(CCounted::Alive, 0);
    CCounted kept;
    {
        VnStringToOwnedPtrMap<VnString, false, CCounted> map(/*own=*/false);
        map.SetAt(L"a", &kept);
        map.SetAt(L"a", nullptr);
    }
    EXPECT_EQ(CCounted::Alive, 1);
}

TEST(VnUniqueLists, RefuseWhatIsThere) {
    VnStringUniqueList<VnString, false> texts;
    EXPECT_TRUE(texts.Add(L"a"));
    EXPECT_FALSE(texts.Add(L"A"));
    EXPECT_TRUE(texts.Contains(L"A"));

    VnStringCRCUniqueList<false> folded;
    EXPECT_TRUE(folded.Add(L"Text"));
    EXPECT_FALSE(folded.Add(VnString(L"TEXT")));
    VnStringCRCUniqueList<true> exact;
    EXPECT_TRUE(exact.Add(L"Text"));
    EXPECT_TRUE(exact.Add(L"TEXT"));
    EXPECT_EQ(CountByCursor(exact), 2);
}

TEST(VnUniqueLists, MakeWholeEntriesWhenReachedAsAMap) {
    for (const bool useBlocks : {false, true}) {
        VnUniqueList<unsigned long, unsigned long> list;
        list.SetNodeAllocator(useBlocks, 256);
        VnMap<unsigned long, unsigned long, int, int, false>& map = list;
        for (int key = 0; key < 40; ++key) {
            EXPECT_TRUE(map.SetAt(static_cast<unsigned long>(key), key));
        }
        for (int key = 0; key < 40; ++key) {
            EXPECT_TRUE(list.Contains(static_cast<unsigned long>(key)));
            EXPECT_EQ(*map.Lookup(static_cast<unsigned long>(key)), key);
        }
    }
}

TEST(VnUniqueLists, MatchAStandardSetOverRandomSteps) {
    for (const bool useBlocks : {false, true}) {
        std::mt19937 random(5);
        VnUniqueList<unsigned long, unsigned long> subject;
        subject.SetNodeAllocator(useBlocks);
        std::set<unsigned long> model;
        for (int step = 0; step < 20000; ++step) {
            const unsigned long key = random() % 3000 * 0x100000001UL;
            if (random() % 3 == 0) {
                ASSERT_EQ(subject.RemoveKey(key), model.erase(key) > 0);
            } else {
                ASSERT_EQ(subject.Add(key), model.insert(key).second);
            }
        }
        std::set<unsigned long> left;
        for (auto cursor = subject.GetFirst(); cursor.Item != nullptr; subject.GetNext(cursor)) {
            EXPECT_TRUE(left.insert(cursor.Item->Key).second);
        }
        EXPECT_EQ(left, model);
    }
}

TEST(VnUniqueStringArray, KeepsTheOrderAndRefusesDuplicates) {
    VnUniqueStringArray folding;
    EXPECT_EQ(folding.Add(L"a"), 0);
    EXPECT_EQ(folding.Add(L"A"), -1);
    EXPECT_EQ(folding.Add(L"b"), 1);
    EXPECT_EQ(folding.InsertAt(-3, L"c"), 0);
    EXPECT_EQ(folding.InsertAt(99, L"d"), 3);
    EXPECT_EQ(folding.InsertAt(0, L"D"), -1);
    EXPECT_EQ(folding.GetStrings().Join(nullptr), L"cabd");
    EXPECT_TRUE(folding.Contains(L"B"));
    folding.Empty();
    EXPECT_FALSE(folding.Contains(L"B"));
    EXPECT_EQ(folding.Add(L"a"), 0);

    // 'a' * 0x1003F + 0x100A0 is 'b' * 0x1003F + 'a': equal hashes count as the same text.
    EXPECT_EQ(folding.Add(L"a\U000100a0"), 1);
    EXPECT_EQ(folding.Add(L"ba"), -1);

    VnUniqueStringArray exact(/*caseFlag=*/true);
    EXPECT_EQ(exact.Add(L"a"), 0);
    EXPECT_EQ(exact.Add(L"A"), 1);
    EXPECT_EQ(exact.Add(L"a"), -1);
}

} // namespace
