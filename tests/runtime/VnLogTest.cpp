#include "runtime/VnLog.h"

#include "runtime/VnTimer.h"
#include "tests/support/FakeTools.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;

TEST(VnLog, PassesArgumentsAtFixedSizes) {
    FakeTools tools;
    VnLog(kLogGeneral, L"f", L"none");
    VnLog(kLogDelete, L"f", L"%s %d", "na\xc3\xafve", -1);
    VnLog(32, VnString(L"g"), L"%d%d%d%d", 1, int64_t{2}, uint8_t{3}, true);
    VnLog(32, L"g", L"%d%s%f%s%d", 1, L"w", 0.5, VnString(L"s"), 5);
    VnLog(false, 32, L"g", L"not written");
    VnLog(true, 32, L"g", L"%d%d%d%d%d%d%d%d%d%d%d%d%d%d%d%d%d%d%d%d", 1, 2, 3, 4, 5, 6, 7, 8, 9, 0,
          1, 2, 3, 4, 5, 6, 7, 8, 9, 0);
    EXPECT_THAT(tools.Log.Lines, ElementsAre("1|f|none|0", "2048|f|na\u00efve -1|4", "32|g|1231|4",
                                             "32|g|1w0.5s5|20", "32|g|12345678901234567890|20"));
}

TEST(VnLogScope, FramesItsFunction) {
    FakeTools tools;
    {
        VnLogScope scope(kLogHandheld, "CThing::Work");
        scope.Write("stage");
        scope.Write(L"file %s", VnString(L"x"));
        scope.Write(false, "not written");
        scope.Write(true, "%d of %d", 1, 2);
    }
    EXPECT_THAT(tools.Log.Lines,
                ElementsAre("32|CThing::Work|Start|0", "32|CThing::Work|stage|0",
                            "32|CThing::Work|file x|4", "32|CThing::Work|1 of 2|4",
                            MatchesRegex("32\\|CThing::Work\\|Finish \\([0-9]+ ms\\)\\|4")));
}

TEST(VnLogScope, EndsWithItsTimeAndResult) {
    struct {
        int32_t Result;
        bool Framed;
        const char* Line;
    } constexpr kRows[] = {
        {0, true, "1\\|f\\|Finish \\(result: 0\\) \\([0-9]+ ms\\)\\|4"},
        {-5, true, "1\\|f\\|Finish \\(result: -5\\) \\([0-9]+ ms\\)\\|4"},
        {static_cast<int32_t>(0x8a33f231), true, "1\\|f\\|Finish \\([0-9]+ ms\\)\\|4"},
        {0, false, "1\\|f\\|stage\\|0"},
    };
    for (const auto& row : kRows) {
        FakeTools tools;
        {
            VnLogScope scope(kLogGeneral, L"f", row.Framed);
            scope.Write("stage");
            scope.Result = row.Result;
        }
        EXPECT_EQ(tools.Log.Lines.size(), row.Framed ? 3U : 1U);
        EXPECT_THAT(tools.Log.Lines.back(), MatchesRegex(row.Line));
    }
    VnLogScope scope(kLogGeneral, L"f", /*printStartFinish=*/false);
    VnSleep(25);
    EXPECT_GE(scope.GetElapsedMS(), 25);
    EXPECT_LT(scope.GetElapsedMS(), 5000);
}

TEST(VnLogScope, DumpsBytesInLines) {
    const uint8_t bytes[] = {0x41, 0x00, 0xff, '%', ' ', 0x7e, 0x7f, 0x0a, 0x42};
    struct {
        int64_t Size;
        int32_t Indent;
        int32_t BytesPerLine;
        bool ShowCharacters;
        std::vector<std::string> Lines;
    } const kRows[] = {
        {9, 0, 4, false, {"0x41 0x00 0xff 0x25 0x20 0x7e 0x7f 0x0a ", "0x42 "}},
        {2, 2, 8, false, {"  0x41 0x00 "}},
        {9, 1, 9, true, {" A    0x00 0xff %         ~    0x7f 0x0a B    "}},
        {8, 0, 8, true, {"A    0x00 0xff %         ~    0x7f 0x0a "}},
        {0, 3, 8, false, {}},
    };
    for (const auto& row : kRows) {
        FakeTools tools;
        VnLogScope scope(kLogGeneral, L"f", /*printStartFinish=*/false);
        scope.HexDump(bytes, row.Size, row.Indent, row.BytesPerLine, row.ShowCharacters);
        std::vector<std::string> expected;
        for (const std::string& line : row.Lines) {
            expected.push_back("1|f|" + line + "|4");
        }
        EXPECT_EQ(tools.Log.Lines, expected);
    }
}

TEST(CLogToStringItem, CollectsTheCategoriesOfItsMask) {
    FakeTools tools;
    {
        CLogToStringItem collector(kLogHandheld | kLogDelete);
        VnLog(kLogHandheld, L"f", L"first");
        VnLog(kLogGeneral, L"f", L"ignored");
        VnLog(kLogDelete | kLogGeneral, L"f", L"second");
        EXPECT_EQ(collector.GetLines().Join(L"|"), L"first|second");
        collector.Output(kLogHandheld, L"cut here", 3);
        EXPECT_EQ(collector.GetLines()[2], L"cut");
        EXPECT_EQ(tools.Log.Outputs.size(), 1U);
    }
    EXPECT_THAT(tools.Log.Outputs, IsEmpty());
}

TEST(VnLog, DoesNothingWithoutTheToolsModule) {
    const CLogToStringItem collector(kLogGeneral);
    VnLogScope scope(kLogGeneral, "f");
    scope.Write("stage %d", 1);
    VnLog(kLogGeneral, L"f", L"entry");
    scope.HexDump("x", 1);
    EXPECT_GE(scope.GetElapsedMS(), 0);
    EXPECT_EQ(collector.GetLines().GetCount(), 0);
}

} // namespace
