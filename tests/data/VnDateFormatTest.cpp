#include "data/VnDate.h"

#include "core/VnString.h"
#include "runtime/VnSiblingModules.h"
#include "tests/support/TestText.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

namespace {

constexpr uint32_t kNeutral = VnDate::kNeutralNames;

/// Year, month, day and, when known, the time.
template<typename... PARTS>
VnDate Make(PARTS... parts) {
    return VnDate().FromYMDHMS(parts...);
}

/// Names come from the tools module.
class VnDateFormat : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_NE(VnGetToolsRoot(), nullptr) << "the tools module must be built";
    }

    // A Tuesday.
    VnDate Date = Make(2003, 2, 4, 15, 6, 7);
};

TEST_F(VnDateFormat, FixedForms) {
    EXPECT_EQ(ToBytes(Date.FormatISO()), "2003-02-04T15:06:07");
    EXPECT_EQ(ToBytes(Date.FormatISO(true)), "2003-02-04T15:06:07Z");
    EXPECT_EQ(ToBytes(Date.FormatISO(true, true)), "2003-02-04T15:06:07Z");
    EXPECT_EQ(ToBytes(Make(2003, 1, 1).FormatISO(true, false)), "2003-01-01T00:00:00Z");
    EXPECT_EQ(ToBytes(Date.FormatICal()), "20030204T150607Z");
    EXPECT_EQ(ToBytes(Date.FormatRFC1123()), "Tue, 4 Feb 2003 15:06:07 GMT");
    const VnDate nothing;
    EXPECT_EQ(nothing.FormatISO() + nothing.FormatICal() + nothing.FormatRFC1123()
                  + nothing.ToSerialText() + nothing.FormatShort() + nothing.FormatLong(),
              L"");
    EXPECT_EQ(ToBytes(VnDate(25569.25).ToSerialText()), "25569.25");
    EXPECT_NEAR(Date.ToSerialText().ToDouble(nullptr, true), Date.GetSerial(), 1e-11);
    const std::string now = ToBytes(VnDate::FormatRFC1123Now());
    EXPECT_EQ(now, ToBytes(VnDate::NowCached().ToUTC().FormatRFC1123()));
}

TEST_F(VnDateFormat, Patterns) {
    const struct {
        const wchar_t* Format;
        uint32_t Flags;
        const char* Text;
    } rows[] = {
        // Pattern letters
        {L"d dd ddd dddd M MM MMM MMMM", kNeutral, "4 04 Tue Tuesday 2 02 Feb February"},
        {L"y yy yyy yyyy yyyyy", 0, "3 03 033 2003 20033"},
        {L"h hh hhh H HH m mm s ss", 0, "3 03 033 15 15 6 06 7 07"},
        {L"ddddd D.Y", kNeutral, "Tuesday4 D.Y"},
        // Quotes
        {L"\"d\" d", 0, "d 4"},
        {L"d\"\"d", 0, "4\"4"},
        {L"\"open d", 0, "open d"},
        // Percent codes
        {L"%A %a %B %b", kNeutral, "Tuesday Tue February Feb"},
        {L"%H %I %M %S %Y %y %d %m %j", 0, "15 03 06 07 2003 03 04 02 035"},
        {L"%U %W %w %% %q %", 0, "05 05 2 % %q %"},
        // Keywords, in any case, ahead of letters
        {L"year YEAR", 0, "2003 2003"},
        {L"day dayordinal", kNeutral, "4 4th"},
        {L"dayname, month", kNeutral, "Tuesday, February"},
        {L"hour:minute:second", 0, "15:6:7"},
        {L"filename decade", 0, "20030204-150607 2000's"},
        {L"shorttime time", 0, "03:06 pm 03:06:07 pm"},
        {L"shortdatetime", VnDate::kNoKeywords | VnDate::kNoPatternLetters, "shortdatetime"},
        // Switched off
        {L"d %d day", VnDate::kNoPatternLetters, "d 04 4"},
        {L"d %d day", VnDate::kNoPercentCodes, "4 %4 4"},
        {L"d %d da", VnDate::kNoKeywords, "4 04 4a"},
        {L"plain: \u00E9", VnDate::kNoPatternLetters, "plain: \xC3\xA9"},
        {L"", 0, ""},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(ToBytes(Date.Format(row.Format, row.Flags)), row.Text) << ToBytes(row.Format);
    }
    EXPECT_EQ(ToBytes(VnDate().Format(L"year", 0, L"none")), "none");
    EXPECT_EQ(ToBytes(Date.Format(nullptr)), "");
}

TEST_F(VnDateFormat, YearsAloneAndHalves) {
    const VnDate year = Make(1985, 1, 1);
    EXPECT_EQ(ToBytes(year.Format(L"year[month][day]", kNeutral)), "1985[][]");
    EXPECT_EQ(ToBytes(year.FormatShort(true)), "1985");
    EXPECT_EQ(ToBytes(year.FormatLong(true)), "1985");
    EXPECT_EQ(ToBytes(year.Format(L"decade")), "1980's");
    EXPECT_EQ(ToBytes(Make(-5, 3, 1).Format(L"[decade]")), "[]");
    EXPECT_EQ(ToBytes(Make(2003, 2, 4, 0, 30, 0).Format(L"h hh H %I")), "12 12 0 12");
    EXPECT_EQ(ToBytes(Make(2003, 2, 4, 12, 30, 0).Format(L"h %I")), "12 12");
    EXPECT_EQ(ToBytes(Date.Format(L"tt %p")), "PM PM");
    EXPECT_EQ(Date.Format(L"t").GetLength(), 1);
    EXPECT_EQ(ToBytes(Make(2003, 2, 4, 9, 0, 0).Format(L"tt")), "AM");
}

TEST_F(VnDateFormat, Times) {
    using D = VnDate;
    const VnDateParts parts = Date.GetParts();
    const VnDateParts full = Make(2003, 2, 4, 9, 5, 0).GetParts();
    EXPECT_EQ(ToBytes(D::FormatTime(parts, true, D::kSecondsNone)), "03:06 pm");
    EXPECT_EQ(ToBytes(D::FormatTime(parts, true, D::kSecondsAlways)), "03:06:07 pm");
    EXPECT_EQ(ToBytes(D::FormatTime(full, true, D::kSecondsNotZero)), "09:05 am");
    EXPECT_EQ(ToBytes(D::FormatTime(parts, false, D::kSecondsNotZero)), "15:06:07");
    EXPECT_EQ(ToBytes(D::FormatTime(full, false, D::kSecondsAlways)), "09:05:00");
    EXPECT_EQ(ToBytes(D::FormatTime(full, false, D::kSecondsNone)), "09:05");
    EXPECT_EQ(ToBytes(D::FormatTime(VnDateParts(), false, D::kSecondsNone)), "");
    EXPECT_EQ(ToBytes(D::FormatTimeOrName(Make(2003, 2, 4, 12, 0, 0).GetParts())), "Noon");
    EXPECT_EQ(ToBytes(D::FormatTimeOrName(VnDate(40000 + D::kMidnightMark).GetParts())),
              "Midnight");
    EXPECT_EQ(ToBytes(D::FormatTimeOrName(Make(2003, 2, 4, 12, 0, 1).GetParts())), "12:00 pm");
}

TEST_F(VnDateFormat, ShortAndLong) {
    // The order of the parts is the user's; all of them must be there whatever it is.
    const std::string other = ToBytes(Date.FormatShort());
    EXPECT_NE(other.find("2003"), std::string::npos) << other;
    EXPECT_NE(other.find('4'), std::string::npos) << other;
    const int32_t thisYear = VnDate::Now().GetParts().GetFullYear();
    const VnDate recent = Make(thisYear, 5, 6);
    EXPECT_EQ(ToBytes(recent.FormatShort()).find(std::to_string(thisYear)), std::string::npos);
    EXPECT_EQ(Date.FormatShort(true), Date.FormatShort() + L" 03:06 pm");
    EXPECT_EQ(recent.FormatShort(true), recent.FormatShort()) << "no time is known";
    EXPECT_NE(ToBytes(Date.FormatLong()).find("2003"), std::string::npos)
        << "four digits of the year";
    EXPECT_EQ(Date.FormatLong(true), Date.FormatLong() + L" 03:06:07 pm");
    EXPECT_EQ(Date.Format(L"datetime|date|%c|%x|%X"),
              Date.FormatLong(true) + L"|" + Date.FormatLong() + L"|" + Date.FormatLong(true) + L"|"
                  + Date.FormatLong() + L"|03:06:07 pm");
    EXPECT_EQ(Date.Format(L"shortdatetime|shortdate"),
              Date.FormatShort(true) + L"|" + Date.FormatShort());
    EXPECT_EQ(VnDate().FormatLong(true, L"never"), L"never");
}

TEST_F(VnDateFormat, Durations) {
    const struct {
        double Seconds;
        int32_t Limit;
        int32_t Decimals;
        bool Pad;
        const char* Text;
    } rows[] = {{0, 1, 0, false, "0:00"},       {59.4, 1, 0, false, "0:59"},
                {59.7, 1, 0, false, "1:00"},    {125, 1, 0, false, "2:05"},
                {3599, 1, 0, false, "59:59"},   {3599.6, 1, 0, false, "1:00:00"},
                {3723, 1, 0, false, "1:02:03"}, {3723, 1, 0, true, "01:02:03"},
                {3723, -1, 0, false, "62:03"},  {3723, 2, 0, false, "62:03"},
                {65, 0, 0, false, "0:01:05"},   {1.25, 1, 1, false, "0:01.3"},
                {59.96, 1, 1, false, "1:00.0"}, {1, 1, 2, false, "0:01.00"},
                {-125, 1, 0, false, "-2:05"},   {-3723, 1, 0, true, "-01:02:03"},
                {-0.2, 1, 0, false, "-0:00"},   {360000, 1, 0, false, "100:00:00"},
                {HUGE_VAL, 1, 0, false, ""}};
    for (const auto& row : rows) {
        EXPECT_EQ(ToBytes(VnDate::FormatDuration(row.Seconds, row.Limit, row.Decimals, row.Pad)),
                  row.Text)
            << row.Seconds;
    }
}

TEST_F(VnDateFormat, Elapsed) {
    const struct {
        double Seconds;
        int32_t FirstMode;
        std::vector<const char*> Texts; ///< by this mode and the next
    } rows[] = {
        {-5, 0, {"-0:05", "-5 seconds"}},
        {59.4, 0, {"0:59", "59 seconds"}},
        {60, 0, {"1:00", "1 minutes"}},
        {7199, 0, {"1:59:59", "120 minutes"}},
        {7200, 0, {"2:00:00", "2.0 hours"}},
        {86399, 0, {"23:59:59", "24.0 hours"}},
        {172799, 0, {"48.0 hours", "48.0 hours"}},
        {172800, 0, {"2.0 days", "2.0 days"}},
        {31536000, 0, {"1.00 years", "1.00 years"}},
        {HUGE_VAL, 0, {"", "", "", "", "", ""}},
        {-90, 2, {"-90 seconds", "-90 seconds", "-90 seconds", "-1 minute"}},
        {1, 2, {"1 second", "1 second", "1 second", "1 second"}},
        {59, 2, {"59 seconds", "59 seconds", "59 seconds", "59 seconds"}},
        {89, 2, {"1 minute", "1 minute", "1 minute", "1 minute"}},
        {90, 2, {"2 minutes", "2 minutes", "2 minutes", "1 minute"}},
        {3569, 2, {"59 minutes", "59 minutes", "59 minutes", "59 minutes"}},
        {3570, 2, {"1 hour", "1 hour", "1 hour", "59 minutes"}},
        {3780, 2, {"1 hour 3 minutes", "1 hour", "1 hour", "1 hour 3 minutes"}},
        {3840, 2, {"1 hour 4 minutes", "1.1 hours", "1 hour", "1 hour 4 minutes"}},
        {3960, 2, {"1 hour 6 minutes", "1.1 hours", "1 hour 6 minutes", "1 hour 6 minutes"}},
        {7320, 2, {"2 hours 2 minutes", "2 hours", "2 hours", "2 hours 2 minutes"}},
    };
    for (const auto& row : rows) {
        int32_t mode = row.FirstMode;
        for (const char* text : row.Texts) {
            EXPECT_EQ(
                ToBytes(VnDate::FormatElapsed(row.Seconds, static_cast<VnDate::ElapsedMode>(mode))),
                text)
                << row.Seconds << " mode " << mode;
            ++mode;
        }
    }
    const VnDate old(VnDate::NowCached().GetSerial() - 10);
    EXPECT_EQ(ToBytes(old.Format(L"elapsed")), "10.0 days");
    const std::string ago = ToBytes(old.Format(L"elapsedago"));
    EXPECT_EQ(ago.substr(0, 9), "10.0 days");
    EXPECT_GT(ago.size(), 9U);
}

} // namespace
