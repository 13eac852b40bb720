#include "core/VnString.h"

#include "tests/support/TestText.h"

#include <gtest/gtest.h>

namespace {

struct Row {
    const wchar_t* Before;
    const wchar_t* After;
};

template<typename CHANGE, size_t N>
void ExpectChanges(const Row (&rows)[N], CHANGE change) {
    for (const Row& row : rows) {
        VnString text(row.Before);
        const VnString twin(text);
        change(text);
        EXPECT_EQ(ToBytes(text), ToBytes(row.After)) << "of " << ToBytes(row.Before);
        EXPECT_EQ(ToBytes(twin), ToBytes(row.Before));
    }
}

} // namespace

TEST(VnStringNames, CleanNameDropsWhatEmptyFieldsLeave) {
    constexpr Row kRows[] = {
        {L"Artist -  - Title", L"Artist - Title"},
        {L"Title []", L"Title"},
        {L"Title ()", L"Title"},
        {L"[()]x", L""},
        {L"Title -  (Live)", L"Title (Live)"},
        {L"Title (1999 - )", L"Title (1999)"},
        {L"Title ( - 1999)", L"Title (1999)"},
        {L"([()])", L""},
        {L"  - - : a", L"a"},
        {L"a - -- ", L"a"},
        {L"x", L""},
        {L"xx", L"xx"},
        {L"-a", L"-a"},
        {L"A -   B", L"A  B"},
    };
    ExpectChanges(kRows, [](VnString& text) { text.CleanName(); });
}

TEST(VnStringNames, MakePlural) {
    constexpr Row kRows[] = {
        {L"people", L"people"},
        {L"Gallery", L"Galleries"},
        {L"city", L"cities"},
        {L"Track", L"Tracks"},
        {L"Track 1", L"Tracks 1"},
        {L"Albums", L"Albums"},
        {L"ALBUMS (2)", L"ALBUMS (2)"},
        {L"a\\1", L"a\\1"},
        {L"123", L"123"},
        {L"", L""},
        {L"capacity", L"capacitys"},
    };
    ExpectChanges(kRows, [](VnString& text) { text.MakePlural(); });
}

TEST(VnStringNames, MakeUniqueCountsOn) {
    constexpr Row kRows[] = {
        {L"Song", L"Song (1)"},
        {L"Song (1)", L"Song (2)"},
        {L"Song(1)", L"Song(2)"},
        {L"Song(09)", L"Song(09) (1)"},
        {L"Song (0)", L"Song (0) (1)"},
        {L"Song (9999)", L"Song (10000)"},
        {L"Song (10000)", L"Song (10000) (1)"},
        {L"Song ()", L"Song () (1)"},
        {L"Song (1a)", L"Song (1a) (1)"},
        {L"(5)", L"(6)"},
        {L"", L" (1)"},
        {L"a) (x)", L"a) (x) (1)"},
    };
    ExpectChanges(kRows, [](VnString& text) { text.MakeUnique(); });
    constexpr Row kRestarted[] = {
        {L"Song (7)", L"Song (1)"},
        {L"Song (2)", L"Song (1)"},
        {L"Song (1)", L"Song (2)"},
        {L"Song", L"Song (1)"},
    };
    ExpectChanges(kRestarted, [](VnString& text) { text.MakeUnique(true); });
}

TEST(VnStringNames, EntitiesByNameAndNumber) {
    constexpr Row kRows[] = {
        {L"&nbsp;", L" "},
        {L"&#65;", L"A"},
        {L"&#x41;", L"A"},
        {L"&#X0041;", L"A"},
        {L"&#00065;", L"A"},
        {L"&#0065;", L"A"},
        {L"&#065;", L"A"},
        {L"&065;", L"A"},
        {L"&65;", L"A"},
        {L"&#9;", L"&#9;"},
        {L"&#x041;", L"&#x041;"},
        {L"&#x1F600;", L"&#x1F600;"},
        {L"&#12a;", L"&#12a;"},
        {L"&#00;", L"&#00;"},
        {L"&foo;", L"&foo;"},
        {L"a & b", L"a & b"},
        {L"a & b; &lt;", L"a & b; <"},
        {L"&amp;lt;", L"&lt;"},
        {L"&&gt;", L"&>"},
        {L"&AMP;", L"&AMP;"},
        {L"&ndash;&mdash;&rsquo;&hellip;", L"--'\u2026"},
        {L"&eth;&ETH;&THORN;&yuml;&Yacute;", L"\u00F0\u00D0\u00DE\u00FF\u00DD"},
        {L"caf&eacute;", L"caf\u00E9"},
        {L"&;", L"&;"},
        {L"&gt", L"&gt"},
    };
    ExpectChanges(kRows, [](VnString& text) { text.DecodeEntities(); });
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
