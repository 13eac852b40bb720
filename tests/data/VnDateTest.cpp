#include "data/VnDate.h"

#include "core/VnString.h"
#include "runtime/VnSiblingModules.h"
#include "tests/support/TestText.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdlib>
#include <ctime>

namespace {

constexpr double kDayMark = 1.1574074074074074e-6;
constexpr double kMidnightMark = 2.3148148148148148e-6;
constexpr double kEpoch = 25569.0;

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
        bool HasTime;
        bool YearOnly;
        const char* Text;
    } rows[] = {
        {"no date", 0.0, false, false, ""},
        {"year", kEpoch, false, true, "1970"},
        {"day of 1 January", kEpoch + kDayMark, false, false, "1970-01-01"},
        {"midnight", kEpoch + kMidnightMark, true, false, "1970-01-01T00:00:00"},
        {"another day", kEpoch + 1, false, false, "1970-01-02"},
        {"another day, marked", kEpoch + 1 + kDayMark, false, false, "1970-01-02"},
        {"noon", kEpoch + 0.5, true, false, "1970-01-01T12:00:00"},
        {"a fraction below the tolerance", kEpoch + 5e-8, false, true, "1970"},
        {"a fraction between the marks and a second", kEpoch + 7e-6, false, true, "1970"},
        {"just above a second", kEpoch + 1.2e-5, true, false, "1970-01-01T00:00:01"},
        {"a hair ahead of the day", kEpoch - 5e-8, false, true, "1970"},
        {"ahead of the scale's zero", -364.0, false, false, "1898-12-31"},
        {"half a day ahead of it", -364.0 + 0.75, true, false, "1898-12-31T18:00:00"},
        {"the last second", kEpoch + 1 - 1.0 / 86400, true, false, "1970-01-01T23:59:59"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.What);
        const VnDate date(row.Serial);
        EXPECT_EQ(date.HasTime(), row.HasTime);
        EXPECT_EQ(date.IsYearOnly(), row.YearOnly);
        EXPECT_EQ(ISO(date), row.Text);
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
        {2020, 2, 31, 0, 0, 0, "2020-03-02"},
        {25, 6, 1, 0, 0, 0, "2025-06-01"}, // short years
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
    EXPECT_LE(VnDate::NowCached(), VnDate(VnDate::NowCached().GetSerial() + 1e-6));
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
    const struct {
        const wchar_t* Text;
        int32_t Year;
    } years[] = {{L"1984", 1984}, {L"25", 2025}, {L"26", 1926}, {L"01", 2001},  {L"99", 1999},
                 {L"00", 0},      {L"", 0},      {L"984", 0},   {L"19840", 0},  {L"-198", 0},
                 {L"19a4", 0},    {L" 84", 0},   {nullptr, 0},  {L"0100", 100}, {L"0099", 1999}};
    for (const auto& row : years) {
        EXPECT_EQ(VnDate::ParseYearText(row.Text), row.Year) << ToBytes(row.Text);
    }
    EXPECT_EQ(VnDate::ExpandShortYear(-5), -5);
    EXPECT_FALSE(VnDate::IsLeapYear(1900));
    EXPECT_TRUE(VnDate::IsLeapYear(2000));
    EXPECT_TRUE(VnDate::IsLeapYear(2024));
    EXPECT_FALSE(VnDate::IsLeapYear(2023));
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
    const double year2020 = Make(2020, 1, 1).GetSerial();
    const int32_t thisYear = VnDate::Now().GetParts().GetFullYear();
    const std::string thisYearText = std::to_string(thisYear);
    const struct {
        const char* What;
        VnDate Before;
        void (*Set)(VnDate& date);
        std::string After;
    } rows[] = {
        {"year of a day", Make(2020, 5, 6), [](D& d) { d.SetYear(2010); }, "2010-05-06"},
        {"year of a time", Make(2020, 5, 6, 7, 8, 9), [](D& d) { d.SetYear(2010); },
         "2010-05-06T07:08:09"},
        {"year of a marked day", VnDate(year2020 + kDayMark), [](D& d) { d.SetYear(2010); },
         "2010-01-01"},
        {"year of midnight", VnDate(year2020 + kMidnightMark), [](D& d) { d.SetYear(2010); },
         "2010-01-01T00:00:00"},
        {"year of a year", VnDate(year2020), [](D& d) { d.SetYear(10); }, "2010"},
        {"year of no date", VnDate(), [](D& d) { d.SetYear(2010); }, "2010"},
        {"year alone", Make(2020, 5, 6), [](D& d) { d.SetYear(2010, true); }, "2010"},
        {"year 0", Make(2020, 5, 6), [](D& d) { d.SetYear(0); }, ""},
        {"year text", Make(2020, 5, 6), [](D& d) { d.SetYearText(L"26"); }, "1926-05-06"},
        {"wrong year text", Make(2020, 5, 6), [](D& d) { d.SetYearText(L"x"); }, ""},
        {"leap day", Make(2020, 2, 29), [](D& d) { d.SetYear(2021); }, "2021-03-01"},
        {"day of a year", VnDate(year2020), [](D& d) { d.SetDay(1); }, "2020-01-01"},
        {"day of a year, no mark", VnDate(year2020), [](D& d) { d.SetDay(1, true); }, "2020"},
        {"day 0", Make(2020, 5, 6, 1, 2, 3), [](D& d) { d.SetDay(0); }, "2020"},
        {"day 0 of no date", VnDate(), [](D& d) { d.SetDay(0); }, ""},
        {"day of a time", Make(2020, 5, 6, 7, 8, 9), [](D& d) { d.SetDay(10); },
         "2020-05-10T07:08:09"},
        {"day of no date", VnDate(), [](D& d) { d.SetDay(9); }, thisYearText + "-01-09"},
        {"day out of range", Make(2020, 5, 6), [](D& d) { d.SetDay(32); }, ""},
        {"month number", Make(2020, 5, 6), [](D& d) { d.SetMonth(L"12"); }, "2020-12-06"},
        {"month name", Make(2020, 5, 6, 7, 8, 9), [](D& d) { d.SetMonth(L"February"); },
         "2020-02-06T07:08:09"},
        {"month of a year", VnDate(year2020), [](D& d) { d.SetMonth(L"March"); }, "2020-03-01"},
        {"January of a year", VnDate(year2020), [](D& d) { d.SetMonth(L"1"); }, "2020-01-01"},
        {"January, no mark", VnDate(year2020), [](D& d) { d.SetMonth(L"1", true); }, "2020"},
        {"month 0", Make(2020, 5, 6), [](D& d) { d.SetMonth(L"0"); }, "2020"},
        {"no month", Make(2020, 5, 6), [](D& d) { d.SetMonth(nullptr); }, "2020"},
        {"month 13", Make(2020, 5, 6), [](D& d) { d.SetMonth(L"13"); }, ""},
        {"month of no date", VnDate(), [](D& d) { d.SetMonth(L"4"); }, thisYearText + "-04-01"},
        {"time of day", Make(2020, 5, 6), [](D& d) { d.SetTimeOfDay(1, 2, 3); },
         "2020-05-06T01:02:03"},
        {"time of no date", VnDate(), [](D& d) { d.SetTimeOfDay(1, 2, 3); }, ""},
        {"round up", Make(2020, 5, 6, 1, 2, 31), [](D& d) { d.RoundToMinute(); },
         "2020-05-06T01:03:00"},
        {"round down", Make(2020, 5, 6, 1, 2, 29), [](D& d) { d.RoundToMinute(); },
         "2020-05-06T01:02:00"},
        {"date only", Make(2020, 5, 6, 1, 2, 29), [](D& d) { d = d.DateOnly(); }, "2020-05-06"},
        {"clamped future", Make(9000, 5, 6), [](D& d) { d.ClampToNow(); }, "9000-05-06"},
        {"clamped no date", VnDate(), [](D& d) { d.ClampToNow(); }, ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.What);
        VnDate date = row.Before;
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
    const struct {
        const wchar_t* Text;
        double Seconds;
    } rows[] = {
        {L"1:02:03", 3723}, {L"1:02:03:04", 3723}, {L"2:30", 150}, {L"90", 90}, {L"1.5", 1.5},
        {L"", 0},           {nullptr, 0},          {L"::5", 5},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(VnDate::ParseDurationText(row.Text), row.Seconds) << ToBytes(row.Text);
    }
}

} // namespace
