#include "data/VnDate.h"

#include "core/VnString.h"
#include "runtime/VnSiblingModules.h"
#include "tests/support/TestText.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdlib>
#include <ctime>
#include <string>
#include <utility>
#include <vector>

namespace {

constexpr double kDayMark = 1.1574074074074074e-6;
constexpr double kMidnightMark = 2.3148148148148148e-6;
constexpr double kEpoch = 25569.0;
constexpr uint32_t kNeutral = VnDate::kNeutralNames;

/// Year, month, day and, when known, the time.
template<typename... PARTS>
VnDate Make(PARTS... parts) {
    return VnDate().FromYMDHMS(parts...);
}

std::string ISO(const VnDate& date) {
    return ToBytes(date.FormatISO(false, true));
}

std::array<int, 8> Fields(const std::tm& date) {
    return {date.tm_year, date.tm_mon,  date.tm_mday, date.tm_wday,
            date.tm_yday, date.tm_hour, date.tm_min,  date.tm_sec};
}

TEST(VnDate, MarksTellWhatIsKnown) {
    const struct {
        const char* What;
        double Serial;
        std::string Text; ///< a year alone, a day, or a day with its time
    } rows[] = {
        {"no date", 0.0, ""},
        {"year", kEpoch, "1970"},
        {"day of 1 January", kEpoch + kDayMark, "1970-01-01"},
        {"midnight", kEpoch + kMidnightMark, "1970-01-01T00:00:00"},
        {"another day", kEpoch + 1, "1970-01-02"},
        {"another day, marked", kEpoch + 1 + kDayMark, "1970-01-02"},
        {"noon", kEpoch + 0.5, "1970-01-01T12:00:00"},
        {"a fraction below the tolerance", kEpoch + 5e-8, "1970"},
        {"a fraction between the marks and a second", kEpoch + 7e-6, "1970"},
        {"just above a second", kEpoch + 1.2e-5, "1970-01-01T00:00:01"},
        {"a hair ahead of the day", kEpoch - 5e-8, "1970"},
        {"ahead of the scale's zero", -364.0, "1898-12-31"},
        {"half a day ahead of it", -364.0 + 0.75, "1898-12-31T18:00:00"},
        {"the last second", kEpoch + 1 - 1.0 / 86400, "1970-01-01T23:59:59"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.What);
        const VnDate date(row.Serial);
        EXPECT_EQ(ISO(date), row.Text);
        EXPECT_EQ(date.HasTime(), row.Text.size() > 10);
        EXPECT_EQ(date.IsYearOnly(), row.Text.size() == 4);
    }
}

TEST(VnDate, PartsAgreeWithTheSystemLibrary) {
    for (int64_t day = -800000; day < 1100000; day += 997) {
        const std::time_t seconds = day * 86400 + 45296;
        std::tm expected{};
        ASSERT_NE(gmtime_r(&seconds, &expected), nullptr);
        const VnDate date(kEpoch + static_cast<double>(seconds) / 86400);
        const VnDateParts parts = date.GetParts();
        ASSERT_TRUE(parts.IsValid) << day;
        EXPECT_EQ(Fields(parts.GetTm()), Fields(expected)) << day;
        if (expected.tm_year >= -1900 && expected.tm_year < 1100) {
            EXPECT_NEAR(VnDate().FromParts(parts).GetSerial(), date.GetSerial(), 1e-8) << day;
        }
        const int32_t year = parts.GetFullYear();
        EXPECT_EQ(VnDate::Weekday(year, parts.GetFullMonth(), parts.Day), expected.tm_wday + 1)
            << day;
        EXPECT_EQ(VnDate::DayOfYear(year, parts.GetFullMonth(), parts.Day), expected.tm_yday + 1)
            << day;
        char week[8];
        std::strftime(week, sizeof week, "%U", &expected);
        EXPECT_EQ(VnDate::WeekOfYear(date, 0), std::atoi(week)) << day;
        std::strftime(week, sizeof week, "%W", &expected);
        EXPECT_EQ(VnDate::WeekOfYear(date, 1), std::atoi(week)) << day;
    }
}

TEST(VnDate, PartsOnRequest) {
    const VnDate date(kEpoch + 40.0 + 43199.5 / 86400); // 10 February 1970, 11:59:59.5
    EXPECT_EQ(date.GetParts(true, false).Second, 59);
    const VnDateParts rounded = date.GetParts(true, true);
    EXPECT_EQ(rounded.Hour, 12);
    EXPECT_EQ(rounded.Second, 0);
    const VnDateParts timeOnly = date.GetParts(true, false, false);
    EXPECT_TRUE(timeOnly.IsValid);
    EXPECT_EQ(timeOnly.Hour, 11);
    EXPECT_EQ(timeOnly.Day, 0);
    const VnDateParts dateOnly = date.GetParts(false);
    EXPECT_EQ(dateOnly.Hour, 0);
    EXPECT_EQ(dateOnly.Month, 1);
    // Rounding up may reach the next day.
    const VnDateParts next = VnDate(kEpoch + 1 - 0.5 / 86400).GetParts(true, true);
    EXPECT_EQ(next.Day, 2);
    EXPECT_EQ(next.Hour, 0);
    EXPECT_EQ(VnDate(kEpoch + kMidnightMark).GetParts(true, true).Second, 0);
    for (const double serial : {0.0, 1e9, -1e9, HUGE_VAL, std::nan("")}) {
        EXPECT_FALSE(VnDate(serial).GetParts().IsValid) << serial;
    }
}

TEST(VnDate, FromPartsRefuses) {
    constexpr int32_t kMost = 0x7fffffff;
    const struct {
        int32_t Year, Month, Day, Hour, Minute, Second;
        const char* Text;
    } rows[] = {
        {2020, 2, 29, 1, 2, 3, "2020-02-29T01:02:03"},
        {2021, 2, 31, 0, 0, 0, "2021-03-03"}, // days beyond the month count on
        {25, 6, 1, 0, 0, 0, "2025-06-01"},    // short years
        {26, 6, 1, 0, 0, 0, "1926-06-01"},
        {-9999, 6, 1, 0, 0, 0, "-9999-06-01"},
        {9999, 12, 31, 0, 0, 0, "9999-12-31"},
        {1899, 12, 30, 0, 0, 0, "1899-12-30"}, // the scale's zero
    };
    for (const auto& row : rows) {
        EXPECT_EQ(ISO(Make(row.Year, row.Month, row.Day, row.Hour, row.Minute, row.Second)),
                  row.Text);
    }
    const int32_t refused[][6] = {
        {-10000, 6, 1, 0, 0, 0},     {10000, 1, 2, 0, 0, 0}, {kMost, 1, 2, 0, 0, 0},
        {-kMost - 1, 1, 2, 0, 0, 0}, {2020, 0, 1, 0, 0, 0},  {2020, 13, 1, 0, 0, 0},
        {2020, 1, 0, 0, 0, 0},       {2020, 1, 32, 0, 0, 0}, {2020, 1, 1, 24, 0, 0},
        {2020, 1, 1, 0, 60, 0},      {2020, 1, 1, 0, 0, 60}, {2020, 1, 1, 0, 0, -1}};
    for (const auto& [year, month, day, hour, minute, second] : refused) {
        VnDate date(12345);
        EXPECT_TRUE(date.FromYMDHMS(year, month, day, hour, minute, second).IsEmpty())
            << year << ' ' << month << ' ' << day << ' ' << hour << ' ' << minute << ' ' << second;
    }
    EXPECT_EQ(Make(1899, 12, 30).GetSerial(), kDayMark);
    EXPECT_EQ(Make(1900, 1, 1).GetSerial(), 2.0);
    EXPECT_TRUE(VnDate(5).FromParts(VnDateParts()).IsEmpty());
}

TEST(VnDate, ClockForms) {
    EXPECT_EQ(VnDate().FromTimeT(0).GetSerial(), kEpoch);
    EXPECT_TRUE(VnDate(1).FromTimeT(0, 0, false, true).IsEmpty());
    EXPECT_EQ(VnDate().FromTimeT(86400 * 3 + 60, 60).GetSerial(), kEpoch + 3);
    EXPECT_EQ(VnDate().FromTimeT(-2209161600).GetSerial(), kDayMark) << "a moment, not no date";
    for (const int64_t seconds :
         {int64_t{1}, int64_t{1000000000}, int64_t{1700000001}, int64_t{253402300799}}) {
        EXPECT_EQ(VnDate().FromTimeT(seconds).ToTimeT(), seconds);
    }
    EXPECT_EQ(Make(1970, 1, 2).ToTimeT(-86400), 0);
    EXPECT_EQ(Make(1970, 1, 2).ToTimeT(5), 86405);
    EXPECT_EQ(Make(1960, 1, 2).ToTimeT(), 0);
    EXPECT_EQ(VnDate().ToTimeT(500), 0);

    int64_t seconds = 9;
    int64_t microseconds = 9;
    VnDate().ToTimeVal(seconds, microseconds);
    EXPECT_EQ(seconds, 0);
    EXPECT_EQ(microseconds, 0);
    VnDate().FromTimeT(1000000000, 0, true).ToTimeVal(seconds, microseconds);
    EXPECT_EQ(seconds, 1000000000);
    EXPECT_NEAR(static_cast<double>(microseconds), 1000000000 % 86400 / 86400.0 * 1e6, 1);

    uint32_t low = 9;
    uint32_t high = 9;
    const auto units = [&] { return static_cast<uint64_t>(high) << 32U | low; };
    VnDate().ToFileTime(low, high);
    EXPECT_EQ(units(), 0U);
    Make(1950, 1, 1).ToFileTime(low, high);
    EXPECT_EQ(units(), 116444736000000000U);
    VnDate().FromTimeT(1000000000, 0, true).ToFileTime(low, high);
    EXPECT_EQ(units(), 126444736000000000U);
}

TEST(VnDate, LocalTimeFollowsTheZone) {
    ASSERT_NE(VnGetToolsRoot(), nullptr);
    EXPECT_TRUE(VnDate().ToLocal().IsEmpty());
    EXPECT_TRUE(VnDate().ToUTC().IsEmpty());
    const VnDate date = Make(2001, 2, 3, 4, 5, 6);
    EXPECT_NEAR(date.ToLocal().ToUTC().GetSerial(), date.GetSerial(), 1e-9);
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    EXPECT_NEAR((date.ToLocal().GetSerial() - date.GetSerial()) * 86400,
                static_cast<double>(local.tm_gmtoff), 1);
    EXPECT_NEAR(VnDate::Now().ToUTC().GetSerial(), kEpoch + static_cast<double>(now) / 86400,
                5.0 / 86400);
    EXPECT_NEAR(VnDate::NowCached().GetSerial(), VnDate::Now().GetSerial(), 5.0 / 86400);
    EXPECT_NEAR(static_cast<double>(VnDate::NowTimeTCached()), static_cast<double>(now), 5);
}

TEST(VnDate, DaylightRules) {
    using D = VnDate;
    const struct {
        VnDate Date;
        D::DaylightRule Rule;
        bool Inside;
    } rows[] = {
        {Make(2024, 3, 10, 1, 59, 59), D::kDaylightSecondSunday, false},
        {Make(2024, 3, 10, 2, 0, 1), D::kDaylightSecondSunday, true},
        {Make(2024, 11, 3, 0, 59, 59), D::kDaylightSecondSunday, true},
        {Make(2024, 11, 3, 1, 0, 1), D::kDaylightSecondSunday, false},
        {Make(2024, 3, 31, 1, 59, 59), D::kDaylightLastSunday, false},
        {Make(2024, 3, 31, 2, 0, 1), D::kDaylightLastSunday, true},
        {Make(2024, 10, 27, 0, 59, 59), D::kDaylightLastSunday, true},
        {Make(2024, 10, 27, 1, 0, 1), D::kDaylightLastSunday, false},
        {VnDate(), D::kDaylightLastSunday, false},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(row.Date.IsDaylightSaving(row.Rule), row.Inside) << ISO(row.Date);
    }
    const VnDate start = Make(2024, 10, 1);
    const VnDate end = Make(2024, 4, 1);
    EXPECT_TRUE(Make(2024, 12, 1).IsInDaylightRange(start, end));
    EXPECT_TRUE(Make(2024, 2, 1).IsInDaylightRange(start, end));
    EXPECT_FALSE(Make(2024, 7, 1).IsInDaylightRange(start, end));
}

TEST(VnDate, Calendar) {
    constexpr std::pair<const wchar_t*, int32_t> kYears[] = {
        {L"1984", 1984}, {L"25", 2025}, {L"26", 1926}, {L"01", 2001},  {L"99", 1999},
        {L"00", 0},      {L"", 0},      {L"984", 0},   {L"19840", 0},  {L"-198", 0},
        {L"19a4", 0},    {L" 84", 0},   {nullptr, 0},  {L"0100", 100}, {L"0099", 1999}};
    for (const auto& [text, year] : kYears) {
        EXPECT_EQ(VnDate::ParseYearText(text), year) << ToBytes(text);
    }
    EXPECT_EQ(VnDate::ExpandShortYear(-5), -5);
    EXPECT_EQ(VnDate::DayOfYear(1900, 12, 31), 365);
    EXPECT_EQ(VnDate::DayOfYear(2000, 12, 31), 366);
    EXPECT_EQ(VnDate::DaysInMonth(2, 2024), 29);
    EXPECT_EQ(VnDate::DaysInMonth(13, 2024), 0);
    EXPECT_EQ(VnDate::LeapDaysBetween(2000, 2000), 1);
    EXPECT_EQ(VnDate::LeapDaysBetween(2001, 2003), 0);
    EXPECT_EQ(VnDate::LeapDaysBetween(1896, 1904), 2);
    EXPECT_EQ(VnDate::LeapDaysBetween(-4, 4), 3);
    EXPECT_EQ(VnDate::LeapDaysBetween(2004, 2000), 0);
    const struct {
        int32_t Year, Month, Weekday, N;
        const char* Text;
    } days[] = {
        // March 2024 has five Sundays and four Mondays.
        {2024, 3, 1, 5, "2024-03-31"},
        {2024, 3, 2, 5, "2024-03-25"},
        {2024, 3, 2, 99, "2024-03-25"},
        {2024, 3, 6, 1, "2024-03-01"},
        {25, 3, 1, 1, "0025-03-02"}, // no short year
        {2024, 3, 1, 0, ""},
        {2024, 3, 8, 1, ""},
        {2024, 0, 1, 1, ""},
    };
    for (const auto& row : days) {
        const VnDate date = VnDate::NthWeekday(row.Year, row.Month, row.Weekday, row.N);
        EXPECT_EQ(ISO(date), row.Text);
    }
    EXPECT_EQ(ISO(VnDate::LastWeekday(2024, 3, 2)), "2024-03-25");
    EXPECT_EQ(ISO(VnDate::LastWeekday(2023, 2, 4)), "2023-02-22");
    EXPECT_EQ(ISO(VnDate::LastWeekday(2024, 4, 3)), "2024-04-30");
    EXPECT_EQ(ISO(VnDate::LastWeekday(2024, 4, 4)), "2024-04-24") << "31 April is no day";
}

TEST(VnDate, SettersKeepWhatIsKnown) {
    using D = VnDate;
    const D year = Make(2020, 1, 1);
    const D day = Make(2020, 5, 6);
    const D moment = Make(2020, 5, 6, 7, 8, 9);
    const auto to2010 = [](D& d) { d.SetYear(2010); };
    const std::string thisYear = std::to_string(VnDate::Now().GetParts().GetFullYear());
    const struct {
        const char* What;
        D Before;
        void (*Set)(D& date);
        std::string After;
    } rows[] = {
        {"year of a day", day, to2010, "2010-05-06"},
        {"year of a time", moment, to2010, "2010-05-06T07:08:09"},
        {"year of a marked day", D(year.GetSerial() + kDayMark), to2010, "2010-01-01"},
        {"year of midnight", D(year.GetSerial() + kMidnightMark), to2010, "2010-01-01T00:00:00"},
        {"year of a year", year, [](D& d) { d.SetYear(10); }, "2010"},
        {"year of no date", D(), to2010, "2010"},
        {"year alone", day, [](D& d) { d.SetYear(2010, true); }, "2010"},
        {"year 0", day, [](D& d) { d.SetYear(0); }, ""},
        {"year text", day, [](D& d) { d.SetYearText(L"26"); }, "1926-05-06"},
        {"leap day", Make(2020, 2, 29), [](D& d) { d.SetYear(2021); }, "2021-03-01"},
        {"day of a year", year, [](D& d) { d.SetDay(1); }, "2020-01-01"},
        {"day of a year, no mark", year, [](D& d) { d.SetDay(1, true); }, "2020"},
        {"day 0", moment, [](D& d) { d.SetDay(0); }, "2020"},
        {"day 0 of no date", D(), [](D& d) { d.SetDay(0); }, ""},
        {"day of a time", moment, [](D& d) { d.SetDay(10); }, "2020-05-10T07:08:09"},
        {"day of no date", D(), [](D& d) { d.SetDay(9); }, thisYear + "-01-09"},
        {"day out of range", day, [](D& d) { d.SetDay(32); }, ""},
        {"month number", day, [](D& d) { d.SetMonth(L"12"); }, "2020-12-06"},
        {"month name", moment, [](D& d) { d.SetMonth(L"February"); }, "2020-02-06T07:08:09"},
        {"month of a year", year, [](D& d) { d.SetMonth(L"March"); }, "2020-03-01"},
        {"January of a year", year, [](D& d) { d.SetMonth(L"1"); }, "2020-01-01"},
        {"January, no mark", year, [](D& d) { d.SetMonth(L"1", true); }, "2020"},
        {"month 0", day, [](D& d) { d.SetMonth(L"0"); }, "2020"},
        {"no month", day, [](D& d) { d.SetMonth(nullptr); }, "2020"},
        {"month 13", day, [](D& d) { d.SetMonth(L"13"); }, ""},
        {"month of no date", D(), [](D& d) { d.SetMonth(L"4"); }, thisYear + "-04-01"},
        {"time of day", day, [](D& d) { d.SetTimeOfDay(1, 2, 3); }, "2020-05-06T01:02:03"},
        {"time of no date", D(), [](D& d) { d.SetTimeOfDay(1, 2, 3); }, ""},
        {"round up", Make(2020, 5, 6, 1, 2, 31), [](D& d) { d.RoundToMinute(); },
         "2020-05-06T01:03:00"},
        {"round down", Make(2020, 5, 6, 1, 2, 29), [](D& d) { d.RoundToMinute(); },
         "2020-05-06T01:02:00"},
        {"date only", moment, [](D& d) { d = d.DateOnly(); }, "2020-05-06"},
        {"clamped future", Make(9000, 5, 6), [](D& d) { d.ClampToNow(); }, "9000-05-06"},
        {"clamped no date", D(), [](D& d) { d.ClampToNow(); }, ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.What);
        D date = row.Before;
        row.Set(date);
        EXPECT_EQ(ISO(date), row.After);
        EXPECT_EQ(date.IsYearOnly(), row.After.size() == 4);
    }
    EXPECT_EQ(VnDate(0.25).DateOnly().GetSerial(), kDayMark);
    VnDate past = Make(2000, 1, 2);
    past.ClampToNow();
    EXPECT_NEAR(past.GetSerial(), VnDate::NowCached().GetSerial(), 1e-4);
}

TEST(VnDate, Questions) {
    EXPECT_NEAR(Make(2020, 5, 6, 1, 2, 3).SecondsOfDay(), 3723, 1e-4);
    EXPECT_EQ(Make(2020, 5, 6).SecondsOfDay(), 0);
    EXPECT_TRUE(VnDate(100.9).IsSameDay(VnDate(100.1)));
    EXPECT_FALSE(VnDate(100.9).IsSameDay(VnDate(101)));
    EXPECT_FALSE(VnDate(0.5).IsSameDay(VnDate()));
    EXPECT_TRUE(VnDate(100.9999999).IsSameDate(VnDate(101)));
    EXPECT_FALSE(VnDate(100.9).IsSameDate(VnDate(101)));
    EXPECT_TRUE(Make(2024, 3, 30).IsWeekend() && Make(2024, 3, 31).IsWeekend());
    EXPECT_FALSE(Make(2024, 3, 29).IsWeekend() || VnDate().IsWeekend());
    EXPECT_TRUE(Make(2000, 1, 1).IsPast() && !Make(2000, 1, 1).IsFuture());
    EXPECT_TRUE(Make(9000, 1, 1).IsFuture() && !Make(9000, 1, 1).IsPast());
    EXPECT_FALSE(VnDate().IsPast() || VnDate().IsFuture());
}

TEST(VnDate, RangesOverlap) {
    const auto at = [](double hour) { return VnDate(100 + hour / 24); };
    const struct {
        double Start1, End1, Start2, End2, Margin;
        int32_t Relation;
        double Overlap;
    } rows[] = {
        {5, 6, 1, 2, 0, 1, 0},    {5, 6, 1, 5, 0, 1, 0},        {1, 2, 5, 6, 0, 2, 0},
        {1, 5, 5, 6, 0, 2, 0},    {3, 6, 1, 4, 0, 3, 3600},     {1, 6, 3, 4, 0, 5, 3600},
        {1, 3, 2, 6, 0, 4, 3600}, {2, 3, 1, 6, 0, 4, 3600},     {1, 2, 1, 2, 0, 4, 3600},
        {5, 6, 1, 5, 60, 3, 0},   {1, 2, 3, 4, 7200, 4, -3600}, {2, 3, 2, 3, 60, 5, 3600},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(&row - rows);
        double overlap = -1;
        EXPECT_EQ(VnDate::RangesOverlap(at(row.Start1), at(row.End1), at(row.Start2), at(row.End2),
                                        overlap, row.Margin),
                  row.Relation);
        EXPECT_NEAR(overlap, row.Overlap, 1e-3);
    }
}

TEST(VnDate, ParsesText) {
    VnDate date(5);
    EXPECT_FALSE(date.ParseText(L"no date at all"));
    EXPECT_TRUE(date.IsEmpty());
    EXPECT_TRUE(date.ParseText(L"2020-05-06"));
    EXPECT_EQ(ISO(date).substr(0, 10), "2020-05-06");
    constexpr std::pair<const wchar_t*, double> kDurations[] = {
        {L"1:02:03", 3723}, {L"1:02:03:04", 3723}, {L"2:30", 150}, {L"90", 90}, {L"1.5", 1.5},
        {L"", 0},           {nullptr, 0},          {L"::5", 5},    {L"5:", 5},  {L"1:2:", 62},
    };
    for (const auto& [text, seconds] : kDurations) {
        EXPECT_EQ(VnDate::ParseDurationText(text), seconds) << ToBytes(text);
    }
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
