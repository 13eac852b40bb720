#include "data/VnDate.h"

#include "core/VnStringArray.h"
#include "data/VnDateService.h"
#include "runtime/VnTimer.h"

#include <algorithm>
#include <atomic>
#include <cmath>

namespace {

constexpr double kSecondsPerDay = 86400.0;
constexpr double kHour = 1.0 / 24;

/// Seconds from 1 January 1601 to 1 January 1970.
constexpr int64_t kFileTimeEpoch = 11644473600;
constexpr int64_t kFileTimeUnits = 10000000;

/// Years less 1900 that a broken-down date can have, and those that parts may come with.
constexpr int32_t kFirstYear = -34668;
constexpr int32_t kLastYear = 30867;
constexpr int32_t kFirstPartsYear = -11899;
constexpr int32_t kLastPartsYear = 8099;

/// Days beyond this are outside every year above; the limit keeps the casts defined.
constexpr double kLargestSerial = 2e7;

/// Milliseconds for which a cached clock trusts its last value.
constexpr double kCacheMS = 1000;

/// Days from 1 January 1970 to a day of the Gregorian calendar, whose months count from 0. The year
/// begins in March for the sum, so that the leap day is its last.
int64_t DaysFromCivil(int64_t year, int32_t month, int32_t day) {
    year -= month < 2 ? 1 : 0;
    const int64_t era = (year >= 0 ? year : year - 399) / 400;
    const int64_t yearOfEra = year - era * 400;
    const int64_t dayOfYear = (153 * ((month + 10) % 12) + 2) / 5 + day - 1;
    return era * 146097 + yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear - 719468;
}

/// Sets year, month, day and their companions from days since 1 January 1970; false for a year out
/// of range. The years begin in March, as in DaysFromCivil.
bool SetCivil(VnDateParts& parts, int32_t days) {
    constexpr int32_t kDaysToJanuary = 306;
    constexpr int32_t kDaysToMarch = 59;
    const int32_t shifted = days + 719468;
    const int32_t era = (shifted >= 0 ? shifted : shifted - 146096) / 146097;
    const int32_t dayOfEra = shifted - era * 146097;
    const int32_t yearOfEra =
        (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    const int32_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const int32_t monthFromMarch = (5 * dayOfYear + 2) / 153;
    const int32_t year = yearOfEra + era * 400 + (dayOfYear >= kDaysToJanuary ? 1 : 0);
    if (year - 1900 < kFirstYear || year - 1900 > kLastYear) {
        return false;
    }
    parts.Year = year - 1900;
    parts.Month = (monthFromMarch + 2) % 12;
    parts.Day = dayOfYear - (153 * monthFromMarch + 2) / 5 + 1;
    parts.Weekday = ((days + 4) % 7 + 7) % 7;
    parts.DayOfYear = dayOfYear >= kDaysToJanuary
                          ? dayOfYear - kDaysToJanuary
                          : dayOfYear + kDaysToMarch + (VnDate::IsLeapYear(year) ? 1 : 0);
    return true;
}

bool IsBetween(int32_t value, int32_t first, int32_t last) {
    return value >= first && value <= last;
}

bool IsAtMark(double fraction, double mark) {
    return std::fabs(fraction - mark) <= VnDate::kTolerance;
}

double GetZoneBias() {
    IVnDateService* service = VnGetDateService();
    return service == nullptr ? 0.0 : service->GetZoneBias();
}

/// A clock that asks the system at most once in kCacheMS.
struct CCachedClock {
    VnTimer Timer;
    std::atomic<double> Last{0.0}; ///< 0 before the first use

    /// Milliseconds since the last value was taken; negative when a new one is due.
    double GetAge() {
        const double age = Timer.GetElapsedMS();
        return Last.load(std::memory_order_relaxed) == 0.0 || age >= kCacheMS ? -1.0 : age;
    }

    void Store(double value) {
        Last.store(value, std::memory_order_relaxed);
        Timer.Reset();
    }
};

} // namespace

std::tm VnDateParts::GetTm() const {
    std::tm result{};
    result.tm_sec = Second;
    result.tm_min = Minute;
    result.tm_hour = Hour;
    result.tm_mday = Day;
    result.tm_mon = Month;
    result.tm_year = Year;
    result.tm_wday = Weekday;
    result.tm_yday = DayOfYear;
    return result;
}

/// The fraction, 0 where it is not valid.
double VnDate::GetFraction() const {
    const double fraction = Serial - std::floor(Serial);
    return fraction + kTolerance > 1.0 || fraction < kTolerance ? 0.0 : fraction;
}

/// Stores the result of a calculation, which is never taken for no date.
void VnDate::Store(double serial) {
    Serial = serial == 0.0 ? kDayMark : serial;
}

bool VnDate::HasTime() const {
    const double fraction = GetFraction();
    return fraction > kLeastTime || IsAtMark(fraction, kMidnightMark);
}

bool VnDate::IsYearOnly() const {
    const double fraction = GetFraction();
    if (IsEmpty() || fraction > kLeastTime || IsAtMark(fraction, kDayMark)
        || IsAtMark(fraction, kMidnightMark)) {
        return false;
    }
    const VnDateParts parts = GetParts(false);
    return parts.IsValid && parts.Month == 0 && parts.Day == 1;
}

VnDateParts VnDate::GetParts(bool withTime, bool wholeSeconds, bool withDate) const {
    VnDateParts parts;
    if (IsEmpty() || !(std::fabs(Serial) < kLargestSerial)) {
        return parts;
    }
    auto days = static_cast<int32_t>(std::floor(Serial - kUnixEpoch + kTolerance));
    int32_t seconds = 0;
    if (withTime) {
        const double fraction = GetFraction();
        auto milliseconds = static_cast<int32_t>(fraction * 86400000 + 0.5);
        // A mark is no time that could be rounded up.
        if (wholeSeconds && fraction > kLeastTime) {
            milliseconds = (milliseconds + 999) / 1000 * 1000;
            days += milliseconds / 86400000;
        }
        seconds = milliseconds / 1000 % 86400;
    }
    if (!SetCivil(parts, days)) {
        return parts;
    }
    if (!withDate) {
        parts = VnDateParts();
    }
    parts.Hour = seconds / 3600;
    parts.Minute = seconds / 60 % 60;
    parts.Second = seconds % 60;
    parts.IsValid = true;
    return parts;
}

VnDate& VnDate::FromParts(const VnDateParts& parts) {
    Serial = 0.0;
    if (parts.IsValid && IsBetween(parts.Year, kFirstPartsYear, kLastPartsYear)
        && IsBetween(parts.Month, 0, 11) && IsBetween(parts.Day, 1, 31)
        && IsBetween(parts.Hour, 0, 23) && IsBetween(parts.Minute, 0, 59)
        && IsBetween(parts.Second, 0, 59)) {
        const int64_t days = DaysFromCivil(int64_t{parts.Year} + 1900, parts.Month, parts.Day);
        Store(static_cast<double>(days) + kUnixEpoch + parts.Hour / 24.0 + parts.Minute / 1440.0
              + parts.Second / kSecondsPerDay);
    }
    return *this;
}

VnDate& VnDate::FromYMDHMS(
    int32_t year, int32_t month, int32_t day, int32_t hour, int32_t minute, int32_t second) {
    VnDateParts parts;
    // Far years are refused by FromParts; the clamp keeps the subtraction from overflowing.
    parts.Year = std::clamp(ExpandShortYear(year), -100000, 100000) - 1900;
    parts.Month = std::clamp(month, 0, 13) - 1;
    parts.Day = day;
    parts.Hour = hour;
    parts.Minute = minute;
    parts.Second = second;
    parts.IsValid = true;
    return FromParts(parts);
}

VnDate& VnDate::FromTimeT(int64_t seconds, int64_t subtracted, bool toLocal, bool nullMeansNone) {
    if (seconds == 0 && nullMeansNone) {
        Serial = 0.0;
        return *this;
    }
    const double moment = static_cast<double>(seconds) - static_cast<double>(subtracted);
    Store(moment / kSecondsPerDay + kUnixEpoch);
    if (toLocal) {
        *this = ToLocal();
    }
    return *this;
}

int64_t VnDate::ToTimeT(int64_t added, bool toUTC) const {
    if (IsEmpty()) {
        return 0;
    }
    const double serial = toUTC ? ToUTC().Serial : Serial;
    const double seconds =
        (serial - kUnixEpoch) * kSecondsPerDay + static_cast<double>(added) + 0.5;
    // 9e18 is the largest round number of seconds that the result holds.
    return seconds >= 1.0 ? static_cast<int64_t>(std::min(seconds, 9e18)) : 0;
}

void VnDate::ToTimeVal(int64_t& seconds, int64_t& microseconds) const {
    seconds = 0;
    microseconds = 0;
    if (!IsEmpty()) {
        const VnDate utc = ToUTC();
        seconds = utc.ToTimeT();
        microseconds = static_cast<int64_t>((utc.Serial - std::floor(utc.Serial)) * 1000000);
    }
}

void VnDate::ToFileTime(uint32_t& low, uint32_t& high) const {
    uint64_t units = 0;
    if (!IsEmpty()) {
        // Every year of a date fits; the limit keeps the product of others defined.
        const int64_t seconds = std::min<int64_t>(ToTimeT(0, true), 900000000000);
        units = static_cast<uint64_t>((seconds + kFileTimeEpoch) * kFileTimeUnits);
    }
    low = static_cast<uint32_t>(units);
    high = static_cast<uint32_t>(units >> 32U);
}

// The present moment

VnDate VnDate::Now() {
    return VnDate().FromTimeT(std::time(nullptr), 0, /*toLocal=*/true, /*nullMeansNone=*/true);
}

VnDate VnDate::NowCached() {
    static CCachedClock clock;
    const double age = clock.GetAge();
    if (age < 0) {
        const VnDate now = Now();
        clock.Store(now.Serial);
        return now;
    }
    return VnDate(clock.Last.load(std::memory_order_relaxed) + age / 86400000);
}

int64_t VnDate::NowTimeTCached() {
    static CCachedClock clock;
    const double age = clock.GetAge();
    if (age < 0) {
        const int64_t now = Now().ToTimeT(0, /*toUTC=*/true);
        clock.Store(static_cast<double>(now));
        return now;
    }
    const double last = clock.Last.load(std::memory_order_relaxed);
    return static_cast<int64_t>(last) + std::llround(age / 1000);
}

// Local time

VnDate VnDate::ToLocal() const {
    VnDate result;
    if (!IsEmpty()) {
        result.Store(Serial + GetZoneBias());
        if (result.IsDaylightSaving()) {
            result.Store(result.Serial + kHour);
        }
    }
    return result;
}

VnDate VnDate::ToUTC() const {
    VnDate result;
    if (!IsEmpty()) {
        result.Store(Serial - GetZoneBias() - (IsDaylightSaving() ? kHour : 0.0));
    }
    return result;
}

bool VnDate::IsDaylightSaving(DaylightRule rule) const {
    if (rule == kDaylightNow) {
        const std::time_t now = std::time(nullptr);
        std::tm local{};
        return localtime_r(&now, &local) != nullptr && local.tm_isdst > 0;
    }
    const VnDateParts parts = GetParts(false);
    if (!parts.IsValid) {
        return false;
    }
    constexpr int32_t kSunday = 1;
    constexpr int32_t kMarch = 3;
    const int32_t year = parts.GetFullYear();
    const bool bySecondSunday = rule == kDaylightSecondSunday;
    VnDate start =
        bySecondSunday ? NthWeekday(year, kMarch, kSunday, 2) : LastWeekday(year, kMarch, kSunday);
    VnDate end = bySecondSunday ? NthWeekday(year, 11, kSunday, 1) : LastWeekday(year, 10, kSunday);
    start.Store(start.Serial + 2 * kHour);
    end.Store(end.Serial + kHour);
    return IsInDaylightRange(start, end);
}

bool VnDate::IsInDaylightRange(const VnDate& start, const VnDate& end) const {
    if (start > end) {
        return *this >= start || *this <= end;
    }
    return *this >= start && *this <= end;
}

// Text

bool VnDate::ParseText(const wchar_t* text, bool flag) {
    IVnDateService* service = VnGetDateService();
    Serial = service == nullptr ? 0.0 : service->ParseText(text, flag);
    return !IsEmpty();
}

double VnDate::ParseDurationText(const wchar_t* text) {
    constexpr int32_t kMostPieces = 3;
    VnStringArray pieces;
    pieces.Split(text, L":");
    double seconds = 0;
    for (int32_t i = 0; i < std::min(pieces.GetCount(), kMostPieces); ++i) {
        seconds = seconds * 60 + pieces[i].ToDouble();
    }
    return seconds;
}
