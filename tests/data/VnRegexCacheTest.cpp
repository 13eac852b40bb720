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
    VnRegexCache unlimited(-1);
    for (const wchar_t* pattern : {L"a", L"b", L"a", L"c"}) {
        EXPECT_EQ(&cache.Get(pattern, kFlags), &cache.Get(pattern, kFlags));
        unlimited.Get(pattern, kFlags);
    }
    EXPECT_EQ(Patterns(cache), "cb");
    EXPECT_EQ(Patterns(unlimited), "cba");
    cache.Get(L"c", kFlags | static_cast<uint32_t>(std::regex_constants::icase));
    EXPECT_THROW(cache.Get(L"(", kFlags), std::regex_error);
    EXPECT_EQ(Patterns(cache), "cc");
}

TEST(VnRegexCache, SearchGivesGroupsAndSurroundings) {
    struct SearchCase {
        const wchar_t* Text;
        const wchar_t* Pattern;
        bool CaseSensitive;
        const char* Found; ///< groups, characters before and after
    };
    constexpr SearchCase kCases[] = {
        {L"abc", L"b", true, ": 1 1"},          {L"y", L"(x)|(y)", true, "|y: 0 0"},
        {L"xaby", L"(q*)(a)", true, "|a: 1 2"}, {L"ABC", L"(b)", false, "B: 1 1"},
        {L"ABC", L"(b)", true, nullptr},        {L"abc", L"$", true, nullptr},
        {L"abc", L"(", true, nullptr},
    };
    VnRegexCache cache(-1);
    for (VnRegexCache* used : {static_cast<VnRegexCache*>(nullptr), &cache, &cache}) {
        for (const auto& [text, pattern, caseSensitive, found] : kCases) {
            VnStringArray groups;
            groups.Add(VnString(pattern)); // it goes when the groups are emptied
            int32_t before = -5;
            int32_t after = -5;
            EXPECT_EQ(
                VnString(text).RegexSearch(groups[0], groups, caseSensitive, used, &before, &after),
                found != nullptr);
            const VnString seen =
                VnString::Formatted(L"%s: %d %d", groups.Join(L"|"), before, after);
            EXPECT_EQ(ToBytes(seen), found == nullptr ? ": -5 -5" : found);
        }
    }
    EXPECT_EQ(cache.GetCount(), 6) << "all but the one that is no expression";
}

TEST(VnRegexCache, FindAllGathersTheGroupsOfEveryMatch) {
    VnStringArray groups;
    EXPECT_TRUE(VnString(L"a=1, b=22").RegexFindAll(L"(\\w)=(\\d+)", groups, true));
    EXPECT_EQ(ToBytes(groups.Join(L"|")), "a|1|b|22");
    EXPECT_FALSE(groups[0].RegexFindAll(L"(", groups, true));
    EXPECT_EQ(groups.GetCount(), 0);
    groups.Add(VnString(L"(x)"));
    EXPECT_TRUE(VnString(L"none").RegexFindAll(groups[0], groups, true));
    EXPECT_EQ(groups.GetCount(), 0);
}

// The matcher recurses for each character, the compiler for each bracket.
TEST(VnRegexCache, LongTextsAndDeepPatternsKeepTheStack) {
#ifdef __SANITIZE_THREAD__
    GTEST_SKIP() << "the thread sanitizer records 65,536 nested calls at most";
#endif
    const VnString text(std::wstring(100000, L'a').c_str());
    VnStringArray groups;
    EXPECT_FALSE(text.RegexSearch(L"^(a|c)*b", groups, true));
    EXPECT_TRUE(text.RegexFindAll(L"^((a|c)*)", groups, true));
    EXPECT_EQ(groups.GetCount() > 0 ? groups[0].GetLength() : 0, text.GetLength());
    EXPECT_FALSE(text.RegexFindAll(std::wstring(100000, L'(').c_str(), groups, true));
    // Brackets in a class close nothing, and loops in a row share the text.
    const VnString letters(std::wstring(2000, L'a').c_str());
    for (const wchar_t* pattern : {L"(?:(|b){300}a[[:alpha:])]?)*", L"(?:(|b){300}a[[:alpha:](]?)*",
                                   L"((|b){99}[[.a.])])+", L"((|b){99}(a|[\\c])]))+"}) {
        int32_t after = -1;
        EXPECT_TRUE(letters.RegexSearch(pattern, groups, true, nullptr, nullptr, &after))
            << pattern;
        EXPECT_EQ(after, 0) << pattern;
    }
    EXPECT_FALSE(letters.RegexSearch(L"(a", groups, true)
                 || letters.RegexSearch(L"a)", groups, true));
    const VnString pair = L"a=b;c;" + VnString(std::wstring(400000, L'-').c_str());
    EXPECT_TRUE(pair.RegexSearch(L"(\\w+)\\s*=\\s*(\\w+)\\s*;\\s*(\\w+)\\s*;", groups, true));
}

// Counts and escapes need no more stack than they pass states, whatever follows in the text.
TEST(VnRegexCache, CountsSideBySideAreSearchedInAnyText) {
    constexpr std::pair<const wchar_t*, const wchar_t*> kRows[] = {
        {L"([0-9a-f]{8}-[0-9a-f]{4}-[0-9a-f]{4}-[0-9a-f]{4}-[0-9a-f]{12})",
         L"01234567-89ab-cdef-0123-456789abcdef"},
        {L"(\\d{4}-\\d{2}-\\d{2}T\\d{2}:\\d{2}:\\d{2})", L"2026-11-23T12:00:00"},
        {L"(\\d{1,3}\\.\\d{1,3}\\.\\d{1,3}\\.\\d{1,3})", L"127.0.0.1"},
        {L"(\\{5000\\}\\{5000\\}[{9999]+)", L"{5000}{5000}9"},
    };
    for (const auto& [pattern, found] : kRows) {
        VnStringArray groups;
        const VnString text = found + VnString(std::wstring(100000, L' ').c_str());
        EXPECT_TRUE(text.RegexSearch(pattern, groups, true)) << ToBytes(pattern);
        EXPECT_EQ(ToBytes(groups.Join(L"|")), ToBytes(found));
    }
}
