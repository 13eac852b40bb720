#include "data/VnDate.h"

#include "core/VnString.h"

#include <algorithm>

namespace {

/// Years of two digits below this number of years behind 2000 are in this century.
constexpr int32_t kFirstYearOfLastCentury = 2026;

constexpr int32_t kMonthDays[12] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};

bool IsMonth(int32_t month) {
    return month >= 1 && month <= 12;
}

/// Leap days from the year 1 to the end of `year`; negative ahead of the year 1.
int64_t CountLeapDays(int64_t year) {
    const auto floorDivide = [year](int64_t divisor) {
        return (year >= 0 ? year : year - divisor + 1) / divisor;
    };
    return floorDivide(4) - floorDivide(100) + floorDivide(400);
}

} // namespace

int32_t VnDate::ExpandShortYear(int32_t year) {
    if (year < 1 || year > 99) {
        return year;
    }
    return year + 2000 < kFirstYearOfLastCentury ? year + 2000 : year + 1900;
}

int32_t VnDate::ParseYearText(const wchar_t* text) {
    const VnString digits(text);
    const int32_t length = digits.GetLength();
    if (length != 2 && length != 4) {
        return 0;
    }
    for (int32_t i = 0; i < length; ++i) {
        if (!VnStringGlobals::IsDigit(digits[i])) {
            return 0;
        }
    }
    return ExpandShortYear(digits.ToInt());
}

bool VnDate::IsLeapYear(int32_t year) {
    return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

int32_t VnDate::DaysInMonth(int32_t month, int32_t year) {
    if (!IsMonth(month)) {
        return 0;
    }
    return kMonthDays[month - 1] + (month == 2 && IsLeapYear(year) ? 1 : 0);
}

int32_t VnDate::DayOfYear(int32_t year, int32_t month, int32_t day) {
    if (!IsMonth(month)) {
        return 0;
    }
    int32_t days = day;
    for (int32_t earlier = 1; earlier < month; ++earlier) {
        days += DaysInMonth(earlier, year);
    }
    return days;
}

int32_t VnDate::Weekday(int32_t year, int32_t month, int32_t day) {
    if (!IsMonth(month)) {
        return 0;
    }
    // Day 1 of the year 1 was a Monday; every year before this one moved the weekday by its days.
    const int64_t yearsBefore = int64_t{year} - 1;
    const int64_t days =
        yearsBefore * 365 + CountLeapDays(yearsBefore) + DayOfYear(year, month, day);
    return static_cast<int32_t>((days % 7 + 7) % 7) + 1;
}

int32_t VnDate::LeapDaysBetween(int32_t firstYear, int32_t lastYear) {
    if (lastYear < firstYear) {
        return 0;
    }
    return static_cast<int32_t>(CountLeapDays(lastYear) - CountLeapDays(int64_t{firstYear} - 1));
}

int32_t VnDate::WeekOfYear(const VnDate& date, int32_t firstDay) {
    const VnDateParts parts = date.GetParts(false);
    if (!parts.IsValid) {
        return 0;
    }
    const int32_t daysIntoWeek = (parts.Weekday - firstDay % 7 + 7) % 7;
    return (parts.DayOfYear + 7 - daysIntoWeek) / 7;
}

VnDate VnDate::NthWeekday(int32_t year, int32_t month, int32_t weekday, int32_t n) {
    VnDate result;
    if (n < 1 || weekday < 1 || weekday > 7 || !IsMonth(month)) {
        return result;
    }
    constexpr int32_t kMostWeeks = 5;
    const int32_t first = 1 + (weekday - Weekday(year, month, 1) + 7) % 7;
    int32_t day = first + 7 * ((n < kMostWeeks ? n : kMostWeeks) - 1);
    if (day > 31) {
        day -= 7;
    }
    // By way of StoreDay the year counts as it stands, as it did for the weekday. Far years are
    // refused there; the clamp keeps its arithmetic from overflowing.
    result.StoreDay(std::clamp(year, -100000, 100000), month, day, /*noMark=*/true);
    return result;
}

VnDate VnDate::LastWeekday(int32_t year, int32_t month, int32_t weekday) {
    for (int32_t n = 5; n > 0; --n) {
        // A fifth one may lie in the next month.
        const VnDate date = NthWeekday(year, month, weekday, n);
        const VnDateParts parts = date.GetParts(false);
        if (parts.IsValid && parts.GetFullMonth() == month) {
            return date;
        }
    }
    return VnDate();
}
