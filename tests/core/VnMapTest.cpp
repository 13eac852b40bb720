#include "core/VnMap.h"

#include "core/VnOwnedPtrMap.h"
#include "core/VnStringMap.h"
#include "core/VnUniqueList.h"
#include "core/VnUniqueStringArray.h"
#include "tests/support/TextSubject.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cstdint>
#include <map>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace {

using NumberMap = VnMap<int, int, int, int, false>;
using TextMap = VnStringMap<VnString, false, VnString, const VnString&, true>;
using ExactMap = VnStringMap<VnString, true, int, int, false>;

/// Keys in the order of the cursor, which has to end at bucket -1.
template<typename MAP>
auto GetKeys(const MAP& map) {
    auto cursor = map.GetFirst();
    std::vector<std::remove_cvref_t<decltype(cursor.Item->Key)>> keys;
    for (; cursor.Item != nullptr; map.GetNext(cursor)) {
        keys.push_back(cursor.Item->Key);
    }
    EXPECT_EQ(cursor.Bucket, -1);
    return keys;
}

TEST(VnMapTable, HasTheBucketsOfTheGrowthRule) {
    constexpr std::pair<int32_t, int32_t> kRows[] = {
        {0, 0},    {1, 7},     {7, 7},     {16, 7},     {17, 31},    {64, 31},
        {65, 127}, {256, 127}, {257, 511}, {1024, 511}, {1025, 2047}};
    NumberMap map;
    for (const auto& [keys, buckets] : kRows) {
        while (map.GetCount() < keys) {
            map.SetAt(map.GetCount(), 0);
        }
        EXPECT_EQ(map.GetBucketCount(), buckets) << keys << " keys";
    }
    map.RemoveAll();
    EXPECT_EQ(map.GetBucketCount(), 2047) << "the table shrank";
}

TEST(VnMapTable, PreparesForAFifthMore) {
    // n * 120 / 100 keys, and the smallest 2^k - 1 above that (7 up to 7 keys).
    constexpr std::pair<int32_t, int32_t> kRows[] = {{1, 7},   {6, 7},   {7, 15},  {12, 15},
                                                     {13, 15}, {14, 31}, {26, 31}, {27, 63}};
    for (const auto& [asked, buckets] : kRows) {
        NumberMap map;
        map.Reserve(asked);
        EXPECT_EQ(map.GetBucketCount(), buckets) << asked;
    }
}

TEST(VnMapTable, EnumeratesBucketsInOrderAndReversesChainsOnGrowth) {
    NumberMap map;
    for (const int key : {7, 0, 14, 1, 38, 31}) {
        map.SetAt(key, key);
    }
    // 38 and 31 share bucket 3 of 7; of 31 they go to the heads of the chains of 7 and of 0.
    EXPECT_EQ(GetKeys(map), (std::vector<int>{7, 0, 14, 1, 38, 31}));
    map.Reserve(20);
    ASSERT_EQ(map.GetBucketCount(), 31);
    EXPECT_EQ(GetKeys(map), (std::vector<int>{31, 0, 1, 38, 7, 14}));
}

TEST(VnMapTable, HashesByTheLow32BitsAndComparesAll) {
    constexpr unsigned long kTwin = 5 + (1UL << 32);
    VnUniqueList<unsigned long, unsigned long> list;
    EXPECT_TRUE(list.Add(5));
    EXPECT_TRUE(list.Add(kTwin));
    EXPECT_EQ(list.HashKey(kTwin), 5U);
    EXPECT_TRUE(list.RemoveKey(5));
    EXPECT_FALSE(list.Contains(5));
    EXPECT_TRUE(list.Contains(kTwin));
}

TEST(VnMapTable, NodesOfSetsHoldTheKeyOnly) {
    static_assert(sizeof(NumberMap) == 32);
    EXPECT_EQ((VnUniqueList<unsigned long, unsigned long>().GetNodeSize()), 16);
    EXPECT_EQ((VnStringCRCUniqueList<false>().GetNodeSize()), 16);
    EXPECT_EQ((VnStringUniqueList<VnString, false>().GetNodeSize()), 24);
    EXPECT_EQ(TextMap().GetNodeSize(), 24);
}

/// Random steps on a map, reached as a BASE, and on std::map side by side, with nodes from the heap
/// and from blocks. `makeKeys` gives a key for the one and for the other.
template<typename MAP, typename BASE, typename MAKEKEYS>
void CompareWithModel(const MAKEKEYS& makeKeys) {
    for (const bool useBlocks : {false, true}) {
        SCOPED_TRACE(useBlocks ? "blocks" : "heap");
        std::mt19937 random(1);
        MAP map;
        BASE& subject = map;
        std::map<decltype(makeKeys(random).second), int> model;
        subject.SetNodeAllocator(useBlocks, 256);
        for (int step = 0; step < 20000; ++step) {
            const auto [key, modelKey] = makeKeys(random);
            const auto found = model.find(modelKey);
            const uint32_t kind = random() % 8;
            if (kind < 3) {
                ASSERT_TRUE(subject.SetAt(key, step));
                model[modelKey] = step;
            } else if (kind == 3) {
                ASSERT_EQ(subject.SetAt(key, step, /*overwrite=*/false), found == model.end());
                model.emplace(modelKey, step);
            } else if (kind < 6) {
                ASSERT_EQ(subject.RemoveKey(key), model.erase(modelKey) > 0);
            } else if (kind == 6 && step % 500 == 0) {
                subject.RemoveAll();
                model.clear();
            } else {
                int held = -77;
                ASSERT_EQ(subject.Lookup(key, held), found != model.end());
                ASSERT_EQ(held, found == model.end() ? -77 : found->second);
            }
            ASSERT_EQ(subject.GetCount(), static_cast<int32_t>(model.size()));
        }
        EXPECT_EQ(GetKeys(subject).size(), model.size());
        for (const auto& [key, value] : model) {
            int held = -77;
            EXPECT_TRUE(subject.Lookup(key, held));
            EXPECT_EQ(held, value);
        }
    }
}

TEST(VnMapModel, NumberKeysMatchAStandardMap) {
    CompareWithModel<NumberMap, NumberMap>([](std::mt19937& random) {
        const int key = static_cast<int>(random() % 700) - 350;
        return std::pair(key, key);
    });
}

/// Texts of every length around the steps of the hash and of the compare, in random letter case,
/// many of which differ in one place only; some letters are beyond the lower table.
template<bool CASE>
void CompareTextKeys() {
    constexpr std::wstring_view kLower = L"xxxxxxxxxxxxxxxxxxxxxq\u00E4\u0436";
    constexpr std::wstring_view kUpper = L"XXXXXXXXXXXXXXXXXXXXXQ\u00C4\u0416";
    const auto makeKeys = [&](std::mt19937& random) {
        VnString spelled(kLower.data(), static_cast<int32_t>(random() % 21));
        VnString key = spelled;
        for (int32_t index = 0; index < key.GetLength(); ++index) {
            const size_t letter = random() % kLower.size();
            spelled.SetAt(index, random() % 8 == 0 ? kUpper[letter] : kLower[letter]);
            key.SetAt(index, CASE ? spelled[index] : kLower[letter]);
        }
        return std::pair(spelled, key);
    };
    using Map = VnStringMap<VnString, CASE, int, int, false>;
    CompareWithModel<Map, Map>(makeKeys);
    CompareWithModel<Map, VnMap<VnString, const wchar_t*, int, int, false>>(makeKeys);
}

TEST(VnMapModel, TextKeysMatchAMapOfFoldedTexts) {
    ASSERT_NE(std::setlocale(LC_ALL, "C.UTF-8"), nullptr);
    VnStringGlobals::Get().RebuildTables(false);
    CompareTextKeys<true>();
    CompareTextKeys<false>();
    std::setlocale(LC_ALL, "C");
    VnStringGlobals::Get().RebuildTables(false);
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

TEST(VnStringMapKeys, TakeNullAsEmptyAndHashAsWritten) {
    TextMap map;
    EXPECT_EQ(map.Lookup(nullptr), nullptr);
    EXPECT_FALSE(map.RemoveKey(nullptr));
    map.SetAt(nullptr, VnString(L"x"));
    EXPECT_TRUE(map.Contains(L""));
    EXPECT_TRUE(map.KeysEqual(nullptr, L""));
    EXPECT_EQ(map.HashKey(nullptr), 0U);
    EXPECT_EQ(map.HashKey(L"ABC"), 0x3025F862U);
    // 0x41 * 0x1003F + 0x42, and that * 0x1003F + 0x43, in 32 bits.
    EXPECT_EQ(ExactMap().HashKey(L"ABC"), 0x20440042U);
}

TEST(VnMapRelease, TextsAreReleasedWithTheirNodes) {
    for (const bool useBlocks : {false, true}) {
        VnString shared = L"shared between map and test";
        const auto getCount = [&] { return VnStringTestAccess::Count(shared); };
        {
            TextMap map;
            map.SetNodeAllocator(useBlocks);
            for (const wchar_t* key : {L"a", L"b", L"c"}) {
                map.SetAt(key, shared);
            }
            map.SetAt(L"a", VnString());
            EXPECT_EQ(getCount(), 3);
            map.RemoveKey(L"b");
            EXPECT_EQ(getCount(), 2);
            map.RemoveAll();
            EXPECT_EQ(getCount(), 1);
            map.SetAt(L"a", shared);
            map.SetNodeAllocator(!useBlocks);
            EXPECT_EQ(map.GetCount(), 0) << "nodes from both places in one table";
            EXPECT_EQ(getCount(), 1);
            map.SetAt(L"a", shared);
        }
        EXPECT_EQ(getCount(), 1) << "the destructor kept a value";
    }
}

struct CCounted {
    CCounted() { ++Alive; }
    ~CCounted() { --Alive; }
    static inline int Alive = 0;
};

TEST(VnMapRelease, AnOwningMapDeletesItsValues) {
    CCounted kept;
    {
        VnStringToOwnedPtrMap<VnString, false, CCounted> map;
        for (const wchar_t* key : {L"a", L"b", L"A"}) {
            map.SetAt(key, new CCounted);
        }
        EXPECT_EQ(CCounted::Alive, 3) << "the overwritten value";
        map.SetAt(L"a", *map.Lookup(L"a"));
        EXPECT_EQ(CCounted::Alive, 3) << "the same pointer stored again";
        map.RemoveKey(L"B");
        EXPECT_EQ(CCounted::Alive, 2);
        map.RemoveAll();
        EXPECT_EQ(CCounted::Alive, 1);
        map.SetAt(L"a", new CCounted);
        VnStringToOwnedPtrMap<VnString, false, CCounted> pointing(/*own=*/false);
        pointing.SetAt(L"a", &kept);
        pointing.SetAt(L"a", nullptr);
        pointing.SetAt(L"b", &kept);
    }
    EXPECT_EQ(CCounted::Alive, 1);
}

TEST(VnUniqueLists, RefuseWhatIsThere) {
    VnStringUniqueList<VnString, false> texts;
    VnStringCRCUniqueList<false> folded;
    VnStringCRCUniqueList<true> exact;
    for (const bool isNew : {true, false}) {
        const wchar_t* text = isNew ? L"Text" : L"TEXT";
        EXPECT_EQ(texts.Add(text), isNew);
        EXPECT_EQ(folded.Add(text), isNew);
        EXPECT_TRUE(exact.Add(text));
        EXPECT_FALSE(exact.Add(VnString(text)));
    }
}

TEST(VnUniqueLists, MakeShortNodesAndWholeEntriesWhenReachedAsAMap) {
    for (const bool useBlocks : {false, true}) {
        VnUniqueList<unsigned long, unsigned long> list;
        list.SetNodeAllocator(useBlocks, 256);
        VnMap<unsigned long, unsigned long, int, int, false>& map = list;
        for (unsigned long key = 0; key < 80; key += 2) {
            EXPECT_TRUE(map.SetAt(key, static_cast<int>(key)));
            EXPECT_TRUE(list.Add(key + 1));
            EXPECT_FALSE(list.Add(key));
        }
        for (unsigned long key = 0; key < 80; key += 2) {
            EXPECT_EQ(*map.Lookup(key), static_cast<int>(key));
            EXPECT_TRUE(list.RemoveKey(key + 1));
            EXPECT_FALSE(list.Contains(key + 1));
        }
        EXPECT_EQ(GetKeys(list).size(), 40U);
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
