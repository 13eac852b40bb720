#include "core/VnString.h"

#include "tests/support/TextRows.h"

#include <gtest/gtest.h>

TEST(VnStringNames, CleanNameDropsWhatEmptyFieldsLeave) {
    ExpectChanges({"Artist -  - Title | Artist - Title", "Title [] | Title",
                   "Title -  (Live) | Title (Live)", "Title (1999 - ) | Title (1999)",
                   "Title ( - 1999) | Title (1999)", "([()]) | ", "  - - : a | a", "a - --  | a",
                   "x | ", "-a | -a", "A -   B | A  B"},
                  [](VnString& text) { text.CleanName(); });
}

TEST(VnStringNames, MakePlural) {
    ExpectChanges({"people | people", "Gallery | Galleries", "city | cities", "Track 1 | Tracks 1",
                   "Albums | Albums", "ALBUMS (2) | ALBUMS (2)", "a\\1 | a\\1", " | ",
                   "capacity | capacitys"},
                  [](VnString& text) { text.MakePlural(); });
}

TEST(VnStringNames, MakeUniqueCountsOn) {
    ExpectChanges({"Song | Song (1)", "Song(1) | Song(2)", "Song(09) | Song(09) (1)",
                   "Song (0) | Song (0) (1)", "Song (10000) | Song (10000) (1)",
                   "Song () | Song () (1)", "Song (1a) | Song (1a) (1)", "(5) | (6)", " |  (1)",
                   "a) (x) | a) (x) (1)"},
                  [](VnString& text) { text.MakeUnique(); });
    ExpectChanges({"Song (2) | Song (1)", "Song (1) | Song (2)", "Song | Song (1)"},
                  [](VnString& text) { text.MakeUnique(true); });
}

TEST(VnStringNames, EntitiesByNameAndNumber) {
    const char* const kept = "&#x041;&#x1F600;&#12a;&#00;&#9;&foo;&AMP;&;&gt";
    ExpectChanges({"&nbsp; |  ", "&#65; | A",
                   "&#X0041;&#00065;&#0065;&#065;&065;&65;&#x41; | AAAAAAA",
                   "a & b; &lt; | a & b; <", "&amp;lt; | &lt;", "&&gt; | &>",
                   "&ndash;&mdash;&rsquo;&hellip; | --'\xE2\x80\xA6",
                   "&eth;&ETH;&THORN;&yuml;&Yacute; | \xC3\xB0\xC3\x90\xC3\x9E\xC3\xBF\xC3\x9D",
                   (kept + std::string(" | ") + kept).c_str()},
                  [](VnString& text) { text.DecodeEntities(); });
}

TEST(VnStringNames, EllipsisStandsForWhatIsCut) {
    VnString text(L"abcdef");
    EXPECT_FALSE(text.ReplaceWithEllipsis(7));
    EXPECT_TRUE(text.ReplaceWithEllipsis(6));
    EXPECT_EQ(ToBytes(text), ToBytes(L"abcde\u2026"));
    VnString lines(L"ab\ncd\ref");
    EXPECT_FALSE(lines.ReplaceWithEllipsis(5, true));
    EXPECT_EQ(ToBytes(lines), "ab");
}
