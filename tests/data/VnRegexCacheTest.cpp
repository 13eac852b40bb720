#include "data/VnRegexCache.h"

#include "core/VnStringArray.h"
#include "tests/support/TestText.h"

#include <gtest/gtest.h>

#include <string>

namespace {

constexpr auto kFlags = static_cast<uint32_t>(std::regex_constants::ECMAScript);

std::string Patterns(const VnRegexCache& cache) {
    std::string all;
    for (const VnRegexCacheEntry* entry : cache) {
        all += ToBytes(entry->Pattern);
    }
    return all;
}

} // namespace

TEST(VnRegexCache, DropsWhatWasCompiledFirst) {
    VnRegexCache cache(2);
    cache.Get(L"a", kFlags);
    cache.Get(L"b", kFlags);
    EXPECT_EQ(&cache.Get(L"a", kFlags), &cache.Get(L"a", kFlags));
    EXPECT_EQ(Patterns(cache), "ba");
    cache.Get(L"c", kFlags);
    EXPECT_EQ(Patterns(cache), "cb");
    cache.Get(L"c", kFlags | static_cast<uint32_t>(std::regex_constants::icase));
    EXPECT_EQ(Patterns(cache), "cc");
    EXPECT_THROW(cache.Get(L"(", kFlags), std::regex_error);
    EXPECT_EQ(Patterns(cache), "cc");
    VnRegexCache unlimited(-1);
    for (const wchar_t* pattern : {L"a", L"b", L"c", L"d"}) {
        unlimited.Get(pattern, kFlags);
    }
    EXPECT_EQ(unlimited.GetCount(), 4);
}

TEST(VnRegexCache, SearchGivesGroupsAndSurroundings) {
    VnRegexCache cache(4);
    for (VnRegexCache* used : {static_cast<VnRegexCache*>(nullptr), &cache}) {
        VnStringArray groups;
        groups.Add(L"old");
        int32_t before = -5;
        int32_t after = -5;
        EXPECT_TRUE(VnString(L"abc").RegexSearch(L"b", groups, true, used, &before, &after));
        EXPECT_EQ(groups.GetCount(), 0);
        EXPECT_EQ(before, 1);
        EXPECT_EQ(after, 1);
        EXPECT_TRUE(VnString(L"y").RegexSearch(L"(x)|(y)", groups, true, used));
        ASSERT_EQ(groups.GetCount(), 2);
        EXPECT_TRUE(groups[0].IsEmpty());
        EXPECT_EQ(ToBytes(groups[1]), "y");
        EXPECT_FALSE(VnString(L"ABC").RegexSearch(L"(b)", groups, true, used));
        EXPECT_EQ(groups.GetCount(), 0);
        EXPECT_TRUE(VnString(L"ABC").RegexSearch(L"(b)", groups, false, used));
        before = -5;
        EXPECT_FALSE(VnString(L"abc").RegexSearch(L"$", groups, true, used, &before));
        EXPECT_EQ(before, -5);
        EXPECT_FALSE(VnString(L"abc").RegexSearch(L"(", groups, true, used));
        EXPECT_FALSE(VnString(L"abc").RegexFindAll(L"(", groups, true, used));
    }
    EXPECT_EQ(cache.GetCount(), 4);
    EXPECT_EQ(cache.Get(L"$", kFlags).mark_count(), 0U);
}

TEST(VnRegexCache, FindAllGathersTheGroupsOfEveryMatch) {
    VnStringArray groups;
    EXPECT_TRUE(VnString(L"a=1, b=22").RegexFindAll(L"(\\w)=(\\d+)", groups, true));
    EXPECT_EQ(ToBytes(groups.Join(L"|")), "a|1|b|22");
    EXPECT_TRUE(VnString(L"none").RegexFindAll(L"(x)", groups, true));
    EXPECT_EQ(groups.GetCount(), 0);
    EXPECT_TRUE(VnString(L"aaa").RegexFindAll(L"a", groups, true));
    EXPECT_EQ(groups.GetCount(), 0);
}
