#include "core/VnDllString.h"
#include "data/VnDate.h"
#include "runtime/IVnDateService.h"
#include "runtime/IVnToolsRoot.h"
#include "runtime/VnSiblingModules.h"
#include "tests/support/TestText.h"

#include <gtest/gtest.h>

#include <ctime>
#include <string>
#include <utility>

namespace {

IVnDateService& Service() {
    return *VnGetToolsRoot()->GetDateService(1);
}

/// The date that a text names, in the form that leaves away what is not known.
std::string Parsed(const wchar_t* text) {
    return ToBytes(VnDate(Service().ParseText(text, /*toUTC=*/true)).FormatISO(false, true));
}

/// A text and the date in it.
constexpr std::pair<const wchar_t*, const char*> kReadable[] = {
    {L"Sun, 06 Nov 1994 08:49:37 GMT", "1994-11-06T08:49:37"},
    {L"Sunday, 06-Nov-94 08:49:37 GMT", "1994-11-06T08:49:37"},
    {L"Sun Nov  6 08:49:37 1994", "1994-11-06T08:49:37"},
    {L"2004", "2004"},
    {L"2004-05", "2004-05-01"},
    {L"2004-05-31", "2004-05-31"},
    {L"2004/05/31", "2004-05-31"},
    {L"2004-05-31T12:30:15", "2004-05-31T12:30:15"},
    {L"2004-05-31 12:30", "2004-05-31T12:30:00"},
    {L"2004-05-31T12:30:15Z", "2004-05-31T12:30:15"},
    {L"2004-05-31t12:30:15z", "2004-05-31T12:30:15"},
    {L"2004-31-05 12:30:15", "2004-05-31T12:30:15"},
    {L"2004-05-31T12:30:15.75Z", "2004-05-31T12:30:15"},
    {L"2004-05-31T23:30:00-0200", "2004-06-01T01:30:00"},
    {L"2004-06-01T01:30:00+02:00", "2004-05-31T23:30:00"},
    {L"2004-06-01T01:30:00+02", "2004-05-31T23:30:00"},
    {L"20040531", "2004-05-31"},
    {L"20040531T123015", "2004-05-31T12:30:15"},
    {L"31 May 2004", "2004-05-31"},
    {L"May 31, 2004", "2004-05-31"},
    {L"may 31st, 2004", "2004-05-31"},
    {L"May 2004", "2004-05-01"},
    {L"5/31/2004", "2004-05-31"},
    {L"31.5.2004", "2004-05-31"},
    {L"5/6/99", "1999-05-06"},
    {L"5/6/25", "2025-05-06"},
    {L"5/6/26", "1926-05-06"},
    {L"2004-05-31 12:30 pm", "2004-05-31T12:30:00"},
    {L"2004-05-31 12:05:00 AM", "2004-05-31T00:05:00"},
    {L"2004-05-31 00:00:00", "2004-05-31T00:00:00"},
    {L"2004-02-29", "2004-02-29"},
    {L"Wed, 01 Jan 2020 00:00:00 EST", "2020-01-01T05:00:00"},
};

constexpr const wchar_t* kUnreadable[] = {
    L"",
    L"hello",
    L"2003-02-29",
    L"2004-13-13",
    L"31 Foo 2004",
    L"12:30",
    L"2004-05-31 25:00",
    L"2004-05-31T24:00:00",
    L"2004-05-31T12:30:15Zx",
    L"2004-05-31 12:60",
    L"2004-05-31 13:00 pm",
    L"1 2 3 4",
    L"99999999999",
    L"2004-00-10",
    L"5 May",
    L"20040000",
    L"2004-05-31T12:30:00+99:00",
    nullptr,
};

} // namespace

TEST(DateService, ReadsDatesInManyForms) {
    for (const auto& [text, date] : kReadable) {
        EXPECT_EQ(Parsed(text), date) << text;
    }
}

TEST(DateService, RefusesWhatIsNoDate) {
    for (const wchar_t* text : kUnreadable) {
        EXPECT_EQ(Parsed(text), "") << (text == nullptr ? L"null" : text);
    }
}

TEST(DateService, TurnsZonesIntoLocalTimeAsTheFoundationDoes) {
    VnDate local;
    ASSERT_TRUE(local.ParseText(L"Sun, 06 Nov 1994 08:49:37 GMT", false));
    VnDate universal;
    ASSERT_TRUE(universal.ParseText(L"Sun, 06 Nov 1994 08:49:37 GMT", true));
    EXPECT_NEAR(local.GetSerial(), universal.ToLocal().GetSerial(), 1e-8);
}

TEST(DateService, KnowsNamesInEnglish) {
    VnString name;
    VnDllString adapter(name);
    const auto weekday = [&](int32_t number, bool isShort) {
        Service().GetWeekdayName(number, isShort, true, adapter);
        return ToBytes(name);
    };
    const auto month = [&](int32_t number, bool isShort) {
        Service().GetMonthName(number, isShort, true, adapter);
        return ToBytes(name);
    };
    EXPECT_EQ(weekday(0, true) + weekday(6, false), "SunSaturday");
    EXPECT_EQ(month(1, true) + month(12, false), "JanDecember");
    EXPECT_EQ(weekday(-1, true) + weekday(7, true) + month(0, true) + month(13, true), "");
    EXPECT_EQ(Service().GetMonthNumber(L"SEPTEMBER"), 9);
    EXPECT_EQ(Service().GetMonthNumber(L"sep"), 9);
    EXPECT_EQ(Service().GetMonthNumber(L"Foo"), 0);
    EXPECT_EQ(Service().GetMonthNumber(L""), 0);
    EXPECT_EQ(Service().GetWeekdayNumber(L"sunday"), 1);
    EXPECT_EQ(Service().GetWeekdayNumber(L"Sat"), 7);
    Service().GetDayHalfText(true, true, adapter);
    EXPECT_EQ(ToBytes(name), "PM");
    Service().GetDayHalfText(false, false, adapter);
    EXPECT_EQ(ToBytes(name), "a");
    Service().GetAgoText(adapter);
    EXPECT_EQ(ToBytes(name), " ago");
}

TEST(DateService, TellsTheZoneAndTheOrder) {
    constexpr std::pair<const char*, double> kZones[] = {
        {"UTC0", 0.0}, {"XST-5:30", 5.5 / 24}, {"EST5EDT", -5.0 / 24}};
    const char* before = std::getenv("TZ");
    const std::string kept = before == nullptr ? "" : before;
    for (const auto& [zone, days] : kZones) {
        ::setenv("TZ", zone, 1);
        ::tzset();
        EXPECT_NEAR(Service().GetZoneBias(), days, 1e-9) << zone;
    }
    before == nullptr ? ::unsetenv("TZ") : ::setenv("TZ", kept.c_str(), 1);
    ::tzset();
    int32_t order[3] = {};
    Service().GetPartOrder(order[0], order[1], order[2]);
    EXPECT_EQ(order[0] + order[1] + order[2], 3);
    EXPECT_NE(order[0], order[1]);
}
