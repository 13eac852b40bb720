#include "data/VnDate.h"

#include "core/VnString.h"
#include "data/VnDateService.h"

#include <cmath>

namespace {

constexpr double kSecondsPerDay = 86400.0;

int32_t GetYear(const VnDate& date) {
    const VnDateParts parts = date.GetParts(false);
    return parts.IsValid ? parts.GetFullYear() : 0;
}

int32_t GetCurrentYear() {
    return GetYear(VnDate::NowCached());
}

} // namespace

/// Stores a day and the time that the value had so far; a time that it did not have is not known.
void VnDate::StoreDay(int32_t year, int32_t month, int32_t day, bool noMark) {
    const double time = HasTime() ? GetFraction() : 0.0;
    VnDateParts parts;
    parts.IsValid = true;
    parts.Year = year - 1900;
    parts.Month = month - 1;
    parts.Day = day;
    FromParts(parts);
    if (IsEmpty()) {
        return;
    }
    Store(std::floor(Serial) + time);
    if (!noMark && IsYearOnly()) {
        Store(std::floor(Serial) + kDayMark);
    }
}

void VnDate::SetYear(int32_t year, bool yearOnly) {
    if (year == 0) {
        Serial = 0.0;
        return;
    }
    const VnDateParts parts = GetParts(false);
    if (yearOnly || !parts.IsValid || IsYearOnly()) {
        FromYMDHMS(year, 1, 1);
        return;
    }
    const double fraction = GetFraction();
    FromYMDHMS(year, parts.GetFullMonth(), parts.Day);
    if (!IsEmpty()) {
        Store(std::floor(Serial) + fraction);
    }
}

void VnDate::SetYearText(const wchar_t* text, bool yearOnly) {
    SetYear(ParseYearText(text), yearOnly);
}

void VnDate::SetMonth(const wchar_t* text, bool noMark) {
    IVnDateService* service = VnGetDateService();
    int32_t month = service == nullptr || text == nullptr ? 0 : service->GetMonthNumber(text);
    if (month == 0) {
        month = VnString(text).ToInt();
    }
    if (month == 0) {
        SetYear(GetYear(*this), true);
        return;
    }
    if (month < 0 || month > 12) {
        Serial = 0.0;
        return;
    }
    const VnDateParts parts = GetParts(false);
    if (!parts.IsValid) {
        StoreDay(GetCurrentYear(), month, 1, noMark);
    } else {
        StoreDay(parts.GetFullYear(), month, IsYearOnly() ? 1 : parts.Day, noMark);
    }
}

void VnDate::SetDay(int32_t day, bool noMark) {
    if (day == 0) {
        SetYear(GetYear(*this), true);
        return;
    }
    const VnDateParts parts = GetParts(false);
    if (!parts.IsValid) {
        StoreDay(GetCurrentYear(), 1, day, noMark);
    } else {
        StoreDay(parts.GetFullYear(), IsYearOnly() ? 1 : parts.GetFullMonth(), day, noMark);
    }
}

void VnDate::SetTimeOfDay(int32_t hour, int32_t minute, int32_t second) {
    if (!IsEmpty()) {
        Store(std::floor(Serial) + hour / 24.0 + minute / 1440.0 + second / kSecondsPerDay);
    }
}

void VnDate::RoundToMinute() {
    if (!IsEmpty()) {
        Store(std::round(Serial * 1440) / 1440);
    }
}

void VnDate::ClampToNow() {
    if (IsPast()) {
        *this = NowCached();
    }
}

VnDate VnDate::DateOnly() const {
    VnDate result;
    if (!IsEmpty()) {
        result.Store(std::floor(Serial));
    }
    return result;
}

double VnDate::SecondsOfDay() const {
    return GetFraction() * kSecondsPerDay;
}

bool VnDate::IsSameDay(const VnDate& other) const {
    return IsEmpty() == other.IsEmpty() && std::floor(Serial) == std::floor(other.Serial);
}

bool VnDate::IsSameDate(const VnDate& other) const {
    const VnDateParts mine = GetParts(false);
    const VnDateParts theirs = other.GetParts(false);
    return mine.IsValid == theirs.IsValid && mine.Year == theirs.Year && mine.Month == theirs.Month
           && mine.Day == theirs.Day;
}

bool VnDate::IsWeekend() const {
    const VnDateParts parts = GetParts(false);
    return parts.IsValid && (parts.Weekday == 0 || parts.Weekday == 6);
}

bool VnDate::IsPast() const {
    return !IsEmpty() && *this < NowCached();
}

bool VnDate::IsFuture() const {
    return !IsEmpty() && *this > NowCached();
}

VnDate::RangeRelation VnDate::RangesOverlap(const VnDate& start1,
                                            const VnDate& end1,
                                            const VnDate& start2,
                                            const VnDate& end2,
                                            double& overlap,
                                            double margin) {
    const double widenedStart = start1.Serial - margin / kSecondsPerDay;
    const double widenedEnd = end1.Serial + margin / kSecondsPerDay;
    overlap = 0;
    if (widenedStart >= end2.Serial) {
        return kRangeBehind;
    }
    if (start2.Serial >= widenedEnd) {
        return kRangeAhead;
    }
    if (widenedEnd > end2.Serial) {
        const bool contains = start2.Serial > widenedStart;
        overlap = (end2.Serial - (contains ? start2.Serial : start1.Serial)) * kSecondsPerDay;
        return contains ? kRangeContains : kRangeOver;
    }
    overlap = (end1.Serial - std::fmax(start1.Serial, start2.Serial)) * kSecondsPerDay;
    return kRangeEndsInside;
}
