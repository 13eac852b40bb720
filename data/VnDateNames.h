#pragma once

#include <cstdint>

class VnString;

/// The words and the order of dates, from the date service of the tools module. Without the module
/// every word is empty and the order is that of the United States.
class VnDateNames {
public:
    VnDateNames() = delete;

    /// Name of a weekday, 0 for Sunday. `neutral` asks for English instead of the user's language.
    static VnString GetWeekday(int32_t weekday, bool abbreviated, bool neutral);
    /// Name of a month, 1 to 12.
    static VnString GetMonth(int32_t month, bool abbreviated, bool neutral);
    /// The short or long text for the half of the day that `hour` (0 to 23) is in.
    static VnString GetDayHalf(int32_t hour, bool longForm);
    /// The word for "ago", with the blank that parts it from the text ahead.
    static VnString GetAgo();

    /// Orders of the parts of a date that make a difference.
    enum Order : int32_t {
        MonthDayYear,
        DayMonthYear,
        YearMonthDay,
    };
    /// The user's order; every other one counts as MonthDayYear.
    static Order GetOrder();
};
