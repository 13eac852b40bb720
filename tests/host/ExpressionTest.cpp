#include "host/CExpression.h"
#include "host/CMediaFields.h"
#include "host/HostText.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <utility>

namespace {

/// A file with the fields that the rows below speak of.
class Song final : public IExpressionItem {
public:
    Song() {
        Fields.Set(L"Name", L"Song");
        Fields.Set(L"Artist", L"The Band");
        Fields.Set(L"Album", L"AC/DC: Live.");
        Fields.Set(L"Track #", L"7");
        Fields.Set(L"File Size", L"1536");
        Fields.Set(L"Duration", L"75");
        Fields.Set(L"Media Type", L"Audio");
        Fields.Set(L"Up", L"..");
        Fields.Set(L"Blank", L" \t ");
        Fields.Set(L"Breaks", L"a\r\nb\\c");
    }
    std::wstring GetRawField(std::wstring_view name) const override { return Fields.Get(name); }
    std::wstring GetLibraryName() const override { return L"07 Vol. 2.flac"; }

    CMediaFields Fields;
};

/// An expression and its value.
using Row = std::pair<const wchar_t*, const wchar_t*>;

void Check(const Row& row, CExpression::Mode mode) {
    EXPECT_EQ(HostNarrow(CExpression(row.first).Evaluate(Song(), mode)), HostNarrow(row.second))
        << HostNarrow(row.first);
}

} // namespace

TEST(Expression, WorksOutFieldsAndFunctions) {
    constexpr Row kRows[] = {
        {L"", L""},
        {L"plain, text (with) signs\x01", L"plain, text (with) signs\x01"},
        {L"[Name]", L"Song"},
        {L"[ name ]-[NAME,0]", L"Song-Song"},
        {L"[Nothing]", L""},
        {L"[File Size]|[File Size, 0]", L"1.5 KB|1536"},
        {L"[Duration]|[Duration,0]", L"1:15|75"},
        {L"[Album Artist (auto)]", L"The Band"},
        {L"If(1, yes, no)", L"yes"},
        {L"If(0, yes, no)", L"no"},
        {L"If(, yes, no)", L"no"},
        {L"If([Nothing], yes)", L""},
        {L"If(IsEqual([Media Type], Image), , [Name]\x01)", L"Song\x01"},
        {L"if(isequal([Media Type], AUDIO), [Name], -)", L"Song"},
        {L"IsEqual(a, A, 1)IsEqual(a, a, 1)IsEqual(, )", L"011"},
        {L"IsEmpty([Nothing])IsEmpty([Name])", L"10"},
        {L"Clean( a  b )", L"a b"},
        {L"Clean([Artist], 1)", L"Band"},
        {L"Clean(The, 1)", L"The"},
        {L"Clean(The A-ha!, 2)", L"Aha"},
        {L"Clean([Album], 3)", L"AC_DC_ Live"},
        {L"FormatNumber([Track #, 0])", L"7"},
        {L"FormatNumber(007)FormatNumber()", L"70"},
        {L"FormatNumber(2.345, 2)|FormatNumber(-1.5)|FormatNumber(0.004, 2)", L"2.35|-2|0.00"},
        {L"TrackNumber()|TrackNumber(3)", L"7|007"},
        {L"FileName(,0)", L"07 Vol. 2"},
        {L"FileName(,1)", L"07 Vol. 2.flac"},
        {L"FileName(/a/b.c, 0)", L"b"},
        {L"If(IsEqual([Media Type], Image), [Name]\x01[File Size, 0]\x01, [Name]\x01"
         L"Clean([Artist], 1)\x01[Genre]\x01)",
         L"Song\x01"
         L"Band\x01\x01"},
        // What is no expression counts as text.
        {L"[Name", L"[Name"},
        {L"Name]", L"Name]"},
        {L"[]", L"[]"},
        {L"[[Name]", L"[Song"},
        {L"If(1, [Name]", L"If(1, Song"},
        {L"Unknown([Name])", L"Unknown(Song)"},
        {L"Notif(1, a, b)", L"Notif(1, a, b)"},
        {L"if", L"if"},
    };
    for (const Row& row : kRows) {
        Check(row, CExpression::Mode::Text);
    }
}

TEST(Expression, KeepsValuesInsideTheirFolder) {
    constexpr Row kRows[] = {
        {L"Music/[Artist]/[Album]/", L"Music/The Band/AC_DC_ Live/"},
        {L"Music/[Album Artist (auto)]/[Nothing]/", L"Music/The Band/Unknown Nothing/"},
        {L"[Nothing]x/[Up]/[Blank]/", L"x/_/_/"},
        {L"[Breaks]", L"a__b_c"},
        {L"a/b/", L"a/b/"},
        {L"If(IsEqual([Album], AC/DC: Live.), Live/[Name], -)", L"Live/Song"},
        {L"FileName(,0)", L"07 Vol. 2"},
        {L"[Up][Up]", L"__"},
    };
    for (const Row& row : kRows) {
        Check(row, CExpression::Mode::Path);
    }
}

TEST(Expression, KeepsRoomForTheExtension) {
    Song song;
    song.Fields.Set(L"Name", std::wstring(1000, L'ä'));
    const std::wstring name = CExpression(L"[Name]").Evaluate(song, CExpression::Mode::Path, 5);
    EXPECT_EQ(name, std::wstring(125, L'ä')); // 250 bytes
}

TEST(Expression, EndsSoonOnNestingWithoutEnd) {
    std::wstring text;
    for (int level = 0; level < 2000; ++level) {
        text += L"If(Clean(";
    }
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(CExpression(text).Evaluate(Song()), text);
    CExpression(text.substr(0, 2000) + L")").Evaluate(Song());
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
}
