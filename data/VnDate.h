#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <ctime>

class VnString;

/// A date taken apart, in the shape of the system library's `tm` behind a flag.
struct VnDateParts {
    bool IsValid = false;  ///< false for no date; the other fields are 0 then
    int32_t Second = 0;    ///< 0 to 59
    int32_t Minute = 0;    ///< 0 to 59
    int32_t Hour = 0;      ///< 0 to 23
    int32_t Day = 0;       ///< of the month, 1 to 31
    int32_t Month = 0;     ///< 0 to 11
    int32_t Year = 0;      ///< year minus 1900
    int32_t Weekday = 0;   ///< 0 is Sunday
    int32_t DayOfYear = 0; ///< 0 to 365

    /// The year as people write it.
    int32_t GetFullYear() const { return Year + 1900; }
    /// The month as people write it, 1 to 12.
    int32_t GetFullMonth() const { return Month + 1; }
    /// The same as the system library's structure.
    std::tm GetTm() const;
};

/// A date and time in one double, which also tells how much of the moment is known.
///
/// The serial 0.0 is no date. Otherwise its integer part counts days (2 is 1 January 1900, 25569 is
/// 1 January 1970, days before 0 are negative) and its fraction is the time of day. Tiny fractions
/// are marks: 0.1 s means that the day is known but not the time, 0.2 s that the time is known to
/// be midnight. Without a mark, 1 January stands for its year alone and any other day for the day
/// alone. A calculation that would give exactly 0.0 gives the day mark instead.
///
/// An operation on no date gives empty text, 0 or no date; nothing fails otherwise. Names come from
/// the date service of the tools module; without it they are empty. An object is a plain value for
/// one thread at a time; the calendar operations and the cached clocks may be called from any
/// thread.
class VnDate {
public:
    /// Tolerance of every compare of a fraction, in days (0.01 s).
    static constexpr double kTolerance = 1.1574074074074073e-7;
    /// The mark of a known day without a time, in days (0.1 s).
    static constexpr double kDayMark = 1.1574074074074074e-6;
    /// The mark of a time that is known to be midnight, in days (0.2 s).
    static constexpr double kMidnightMark = 2.3148148148148148e-6;
    /// A fraction above this is a time, in days (1 s).
    static constexpr double kLeastTime = 1.1574074074074073e-5;
    /// The serial of 1 January 1970.
    static constexpr double kUnixEpoch = 25569.0;

    VnDate() = default;
    explicit VnDate(double serial) : Serial(serial) {}

    bool operator==(const VnDate& other) const = default;
    auto operator<=>(const VnDate& other) const = default; // NOLINT(modernize-use-nullptr)

    /// The serial as it stands; see the class.
    double GetSerial() const { return Serial; }
    bool IsEmpty() const { return Serial == 0.0; }
    void Empty() { Serial = 0.0; }

    // What is known: VnDate.cpp

    /// True when the time of day is known.
    bool HasTime() const;
    /// True when only the year is known.
    bool IsYearOnly() const;

    // Conversions: VnDate.cpp

    /// The date taken apart. Without `withTime` the hour, minute and second stay 0, without
    /// `withDate` the other fields; `wholeSeconds` rounds milliseconds up to whole seconds. Invalid
    /// for no date and for a year minus 1900 outside -34668 to 30867.
    VnDateParts
    GetParts(bool withTime = true, bool wholeSeconds = false, bool withDate = true) const;

    /// Stores the date of its parts, from year, month, day, hour, minute and second; a day beyond
    /// the month's end counts on into the next month. No date for parts that are invalid or out of
    /// range, and for a year outside -9999 to 9999. The result is this object, as it is of the next
    /// two.
    VnDate& FromParts(const VnDateParts& parts);

    /// As FromParts with the year and the month (1 to 12) as people write them; a year of 1 to 99
    /// is a short year.
    VnDate& FromYMDHMS(int32_t year,
                       int32_t month,
                       int32_t day,
                       int32_t hour = 0,
                       int32_t minute = 0,
                       int32_t second = 0);

    /// Stores `seconds` since 1970 less `subtracted`. `toLocal` turns the result into local time;
    /// with `nullMeansNone` 0 seconds are no date.
    VnDate& FromTimeT(int64_t seconds,
                      int64_t subtracted = 0,
                      bool toLocal = false,
                      bool nullMeansNone = false);

    /// Seconds since 1970 plus `added`, rounded; 0 for no date and where that is not positive.
    /// `toUTC` takes the value for local time.
    int64_t ToTimeT(int64_t added = 0, bool toUTC = false) const;

    /// Seconds and microseconds since 1970 of a local time; both 0 for no date.
    void ToTimeVal(int64_t& seconds, int64_t& microseconds) const;

    /// 100 ns units since 1601 of a local time, as two halves; 0 for no date, and those of 1
    /// January 1970 for that moment and all before it.
    void ToFileTime(uint32_t& low, uint32_t& high) const;

    /// The present moment, local.
    static VnDate Now();
    /// As Now, which it calls at most once in 1000 ms; in between the last value plus the time that
    /// has passed.
    static VnDate NowCached();
    /// The present moment in seconds since 1970, likewise.
    static int64_t NowTimeTCached();

    /// From UTC to local time and back, by the bias of the date service (0 without it) and daylight
    /// saving time.
    VnDate ToLocal() const;
    VnDate ToUTC() const;

    /// Which moments are in daylight saving time.
    enum DaylightRule : int32_t {
        kDaylightNow = 0, ///< all or none, as the present moment is; the rule in use
        kDaylightSecondSunday =
            1, ///< second Sunday of March, 2:00, to first Sunday of November, 1:00
        kDaylightLastSunday = 2, ///< last Sunday of March, 2:00, to last Sunday of October, 1:00
    };
    /// Whether the value is in daylight saving time by `rule`.
    bool IsDaylightSaving(DaylightRule rule = kDaylightNow) const;
    /// Whether the value is inside a saving time from `start` to `end`, both included; with a start
    /// behind the end, as in the south, whether it is at or behind the start or at or ahead of the
    /// end.
    bool IsInDaylightRange(const VnDate& start, const VnDate& end) const;

    /// Reads free text by the date service. `flag` is handed on. False, and no date, for a text
    /// that it cannot read and without the service.
    bool ParseText(const wchar_t* text, bool flag = false);

    /// Seconds of "hours:minutes:seconds", "minutes:seconds" or "seconds"; null or empty text gives
    /// 0.
    static double ParseDurationText(const wchar_t* text);

    // Calendar, on plain integers with months from 1 to 12: VnDateCalendar.cpp

    /// A year of 1 to 99 in full: 2000 and the year if that is below 2026, else 1900 and the year.
    /// Others stay.
    static int32_t ExpandShortYear(int32_t year);
    /// A year of exactly 2 or 4 digits, expanded when short; 0 for any other text.
    static int32_t ParseYearText(const wchar_t* text);
    static bool IsLeapYear(int32_t year);
    /// Days of a month; 0 for a month outside 1 to 12.
    static int32_t DaysInMonth(int32_t month, int32_t year);
    /// 1 for 1 January; 0 for a month outside 1 to 12.
    static int32_t DayOfYear(int32_t year, int32_t month, int32_t day);
    /// 1 for Sunday to 7 for Saturday; 0 for a month outside 1 to 12.
    static int32_t Weekday(int32_t year, int32_t month, int32_t day);
    /// Leap days from 1 January of the first year to 31 December of the last.
    static int32_t LeapDaysBetween(int32_t firstYear, int32_t lastYear);
    /// Whole weeks since the first Sunday (`firstDay` 0) or Monday (1) of the year, plus 1; 0 ahead
    /// of that day.
    static int32_t WeekOfYear(const VnDate& date, int32_t firstDay);
    /// The n-th weekday (1 Sunday to 7 Saturday) of a month, without a mark. A number that would
    /// lie behind day 31 steps back by weeks; n below 1 gives no date.
    static VnDate NthWeekday(int32_t year, int32_t month, int32_t weekday, int32_t n);
    /// The last such day of a month.
    static VnDate LastWeekday(int32_t year, int32_t month, int32_t weekday);

    // Changes, each of which keeps what is known: VnDateSetters.cpp

    /// Year 0 gives no date. Otherwise, without `yearOnly` and on more than a year, only the year
    /// changes; else the value becomes that year alone. A year of 1 to 99 is a short year.
    void SetYear(int32_t year, bool yearOnly = false);
    /// SetYear with the year of ParseYearText.
    void SetYearText(const wchar_t* text, bool yearOnly = false);
    /// Takes a name, by the date service, or a number. Month 0 reduces the value to its year. No
    /// date becomes day 1 of the month in the current year. A result of 1 January gets the day mark
    /// unless `noMark`.
    void SetMonth(const wchar_t* text, bool noMark = false);
    /// Day 0 reduces the value to its year. No date becomes that day of January of the current
    /// year; the mark as for SetMonth.
    void SetDay(int32_t day, bool noMark = false);
    /// Puts a time of day on the value's day.
    void SetTimeOfDay(int32_t hour, int32_t minute, int32_t second);
    /// To the nearest whole minute.
    void RoundToMinute();
    /// A value in the past becomes NowCached.
    void ClampToNow();

    // Questions: VnDateSetters.cpp

    /// The day without its time; the day mark alone for the scale's zero.
    VnDate DateOnly() const;
    /// Seconds since midnight with their fraction; 0 where the fraction is no time.
    double SecondsOfDay() const;
    /// Whether both lie in the same day of the scale, or both are no date.
    bool IsSameDay(const VnDate& other) const;
    /// Whether year, month and day of both are the same.
    bool IsSameDate(const VnDate& other) const;
    bool IsWeekend() const;
    /// Against NowCached; false for no date.
    bool IsPast() const;
    bool IsFuture() const;

    /// How two ranges of time lie to each other.
    enum RangeRelation : int32_t {
        kRangeBehind = 1,     ///< the first begins at or behind the end of the second
        kRangeAhead = 2,      ///< the first ends at or ahead of the start of the second
        kRangeOver = 3,       ///< the first ends behind the second and does not begin ahead of it
        kRangeEndsInside = 4, ///< the first ends inside the second
        kRangeContains = 5,   ///< the first begins ahead of the second and ends behind it
    };
    /// Relation of the range from `start1` to `end1`, widened by `margin` seconds at both ends, to
    /// the range from `start2` to `end2`. `overlap` receives the seconds that they share, counted
    /// without the margin at the first's ends.
    static RangeRelation RangesOverlap(const VnDate& start1,
                                       const VnDate& end1,
                                       const VnDate& start2,
                                       const VnDate& end2,
                                       double& overlap,
                                       double margin = 0);

    // Text: VnDateText.cpp

    /// The serial with all its digits; empty for no date.
    VnString ToSerialText() const;
    /// ISO 8601, "1970-01-01T00:00:00", with "Z" behind it when `zSuffix`. `shorten` leaves away
    /// what is not known.
    VnString FormatISO(bool zSuffix = false, bool shorten = false) const;
    /// RFC 5545, "19700101T000000Z"; the value must be UTC.
    VnString FormatICal() const;
    /// RFC 1123 with the service's English names; the value must be UTC. Without the service the
    /// names are missing.
    VnString FormatRFC1123() const;
    /// RFC 1123 for the present moment, which needs no service.
    static VnString FormatRFC1123Now();
    /// "12:30:00" and the like: hours on the 12-hour clock with "am" or "pm", or on the 24-hour
    /// clock.
    enum SecondsMode : int32_t {
        kSecondsNone = 0,
        kSecondsAlways = 1,
        kSecondsNotZero = -1, ///< only when they are not 0
    };
    static VnString FormatTime(const VnDateParts& parts, bool twelveHours, SecondsMode seconds);
    /// The time on the 12-hour clock without seconds, or the user's word for noon or midnight.
    static VnString FormatTimeOrName(const VnDateParts& parts);
    /// A short date in the user's order of parts, without the year when that is the current one. A
    /// year alone is just the year.
    VnString FormatShort(bool withTime = false) const;
    /// A date in the process locale's form, with four digits of the year; `noDateText` for no date.
    VnString FormatLong(bool withTime, const VnString& noDateText) const;
    VnString FormatLong(bool withTime = false) const;

    // Pattern text: VnDateFormat.cpp

    /// Flags of Format.
    enum FormatFlags : uint32_t {
        kNoPatternLetters = 1,
        kNoPercentCodes = 2,
        kNoKeywords = 4,
        kNeutralNames = 8, ///< English names instead of the user's language
    };
    /// The value by a format of keywords ("year", "dayname", "shortdate", ...), pattern letters (d
    /// M y h H m s t), percent codes and text in double quotes; anything else is copied.
    /// `noDateText` for no date.
    VnString Format(const wchar_t* format, uint32_t flags, const VnString& noDateText) const;
    VnString Format(const wchar_t* format, uint32_t flags = 0) const;

    // Lengths of time: VnDateDuration.cpp

    /// "minutes:seconds", and "hours:minutes:seconds" from `hourLimit` hours up (never when that is
    /// negative), with `decimals` of the seconds. `padHours` gives the hours two digits;
    /// `numberFlags` are those of VnString::SetDouble, for the seconds. Empty, as is FormatElapsed,
    /// for what is no number.
    static VnString FormatDuration(double seconds,
                                   int32_t hourLimit = 1,
                                   int32_t decimals = 0,
                                   bool padHours = false,
                                   uint32_t numberFlags = 0);

    /// How FormatElapsed words a length of time.
    enum ElapsedMode : int32_t {
        kElapsedClock = 0,      ///< below a day as FormatDuration, else as kElapsedOneUnit
        kElapsedOneUnit = 1,    ///< the largest fitting unit, with decimals
        kElapsedMinutes = 2,    ///< hours and minutes, rounded to the minute
        kElapsedHourTenths = 3, ///< as 2, from an hour on as hours with one decimal
        kElapsedDropSmall = 4,  ///< as 2, without a rest of less than 6 minutes
        kElapsedCutMinutes = 5, ///< as 2, but not rounded
    };
    /// A length of time in the user's words, such as "2 hours 5 minutes".
    static VnString FormatElapsed(double seconds, ElapsedMode mode = kElapsedClock);

private:
    double GetFraction() const;
    void Store(double serial);
    void StoreDay(int32_t year, int32_t month, int32_t day, bool noMark);

    double Serial = 0.0; ///< see the class
};

static_assert(sizeof(VnDate) == sizeof(double));
static_assert(offsetof(VnDateParts, Second) == 4);
