#pragma once

#include <cstdint>

class IVnDllString;

/// Names, order and zone of dates. Weekdays count from 0 (Sunday), months from 1. `neutral` asks
/// for English names.
class IVnDateService {
public:
    /// Slot 0. The serial date of a free text, 0.0 when it cannot be read.
    virtual double ParseText(const wchar_t* text, bool flag) = 0;
    /// Slot 1. 1 to 12 for the name of a month, full or abbreviated, in the user's language or
    /// English; 0 otherwise.
    virtual int32_t GetMonthNumber(const wchar_t* name) = 0;
    /// Slot 2. 1 (Sunday) to 7 likewise for a weekday; 0 otherwise.
    virtual int32_t GetWeekdayNumber(const wchar_t* name) = 0;
    /// Slot 3.
    virtual void
    GetWeekdayName(int32_t weekday, bool abbreviated, bool neutral, IVnDllString& name) = 0;
    /// Slot 4.
    virtual void
    GetMonthName(int32_t month, bool abbreviated, bool neutral, IVnDllString& name) = 0;
    /// Slot 5. "a" or "p" of the short, "AM" or "PM" of the long form.
    virtual void GetDayHalfText(bool afternoon, bool longForm, IVnDllString& text) = 0;
    /// Slot 6. The word for "ago", with the blank that parts it from what stands ahead.
    virtual void GetAgoText(IVnDllString& text) = 0;
    /// Slot 7. Local standard time minus UTC, in days.
    virtual double GetZoneBias() = 0;
    /// Slot 8. The order of the parts of a date: 0 day, 1 month, 2 year.
    virtual void GetPartOrder(int32_t& first, int32_t& second, int32_t& third) = 0;

protected:
    ~IVnDateService() = default;
};
