#include "data/VnDate.h"

#include "core/VnString.h"
#include "data/VnDateNames.h"
#include "runtime/VnTranslation.h"

#include <langinfo.h>

#include <clocale>
#include <ctime>

namespace {

constexpr const wchar_t* kWeekdayNames[] = {L"Sun", L"Mon", L"Tue", L"Wed", L"Thu", L"Fri", L"Sat"};
constexpr const wchar_t* kMonthNames[] = {L"Jan", L"Feb", L"Mar", L"Apr", L"May", L"Jun",
                                          L"Jul", L"Aug", L"Sep", L"Oct", L"Nov", L"Dec"};

/// The text of a date, put together on the stack: dates are written by the thousand.
class CDateDigits {
public:
    void Put(wchar_t ch) { Text[Length++] = ch; }

    /// 0 to 99 in two digits.
    void PutPair(int32_t value) {
        Put(static_cast<wchar_t>(L'0' + value / 10));
        Put(static_cast<wchar_t>(L'0' + value % 10));
    }

    /// A year in four digits or more, behind its sign.
    void PutYear(int32_t year) {
        if (year < 0) {
            Put(L'-');
            year = -year;
        }
        if (year >= 10000) {
            Put(static_cast<wchar_t>(L'0' + year / 10000));
            year %= 10000;
        }
        PutPair(year / 100);
        PutPair(year % 100);
    }

    void PutDate(const VnDateParts& parts, wchar_t separator) {
        PutYear(parts.GetFullYear());
        PutNext(separator, parts.GetFullMonth());
        PutNext(separator, parts.Day);
    }
    void PutTime(const VnDateParts& parts, wchar_t separator) {
        Put(L'T');
        PutPair(parts.Hour);
        PutNext(separator, parts.Minute);
        PutNext(separator, parts.Second);
    }

    VnString Get() const { return VnString(Text, Length); }

private:
    /// A pair behind its separator, which is 0 for none.
    void PutNext(wchar_t separator, int32_t value) {
        if (separator != 0) {
            Put(separator);
        }
        PutPair(value);
    }

    wchar_t Text[32]; ///< a year has five digits at most, and a sign
    int32_t Length = 0;
};

VnString
FormatRFC1123Parts(const VnDateParts& parts, const VnString& weekday, const VnString& month) {
    return VnString::Formatted(L"%s, %d %s %d %02d:%02d:%02d GMT", weekday, parts.Day, month,
                               parts.GetFullYear(), parts.Hour, parts.Minute, parts.Second);
}

/// The parts through strftime, whose result is in the charset of the locale.
VnString FormatByLibrary(const VnDateParts& parts, const char* format) {
    char text[256];
    const std::tm broken = parts.GetTm();
    const std::size_t size = std::strftime(text, sizeof text, format, &broken);
    return VnString::FromUTF8(text, static_cast<int64_t>(size));
}

/// The date format of the user's locale with the year in four digits.
VnString GetLocaleDateFormat() {
    // The locale is taken from the environment once: doing so affects the whole process.
    [[maybe_unused]] static const char* const locale = std::setlocale(LC_ALL, "");
    VnString format;
    format.SetUTF8(nl_langinfo(D_FMT));
    format.Replace(L"%y", L"%Y");
    return format;
}

} // namespace

VnString VnDate::ToSerialText() const {
    VnString text;
    if (!IsEmpty()) {
        text.SetDouble(Serial, -1, false, 0, VnString::kDoublePoint);
    }
    return text;
}

VnString VnDate::FormatISO(bool zSuffix, bool shorten) const {
    const VnDateParts parts = GetParts();
    if (!parts.IsValid) {
        return VnString();
    }
    if (shorten && IsYearOnly()) {
        return VnString::FromInt(parts.GetFullYear());
    }
    CDateDigits text;
    text.PutDate(parts, L'-');
    if (!shorten || HasTime()) {
        text.PutTime(parts, L':');
        if (zSuffix) {
            text.Put(L'Z');
        }
    }
    return text.Get();
}

VnString VnDate::FormatICal() const {
    const VnDateParts parts = GetParts();
    if (!parts.IsValid) {
        return VnString();
    }
    CDateDigits text;
    text.PutDate(parts, 0);
    text.PutTime(parts, 0);
    text.Put(L'Z');
    return text.Get();
}

VnString VnDate::FormatRFC1123() const {
    const VnDateParts parts = GetParts();
    if (!parts.IsValid) {
        return VnString();
    }
    return FormatRFC1123Parts(parts, VnDateNames::GetWeekday(parts.Weekday, true, true),
                              VnDateNames::GetMonth(parts.GetFullMonth(), true, true));
}

VnString VnDate::FormatRFC1123Now() {
    const VnDateParts parts = NowCached().ToUTC().GetParts();
    if (!parts.IsValid) {
        return VnString();
    }
    return FormatRFC1123Parts(parts, kWeekdayNames[parts.Weekday], kMonthNames[parts.Month]);
}

VnString VnDate::FormatTime(const VnDateParts& parts, bool twelveHours, SecondsMode seconds) {
    if (!parts.IsValid) {
        return VnString();
    }
    const bool withSeconds =
        seconds == kSecondsAlways || (seconds == kSecondsNotZero && parts.Second != 0);
    if (!twelveHours) {
        return FormatByLibrary(parts, withSeconds ? "%T" : "%R");
    }
    VnString text = FormatByLibrary(parts, withSeconds ? "%I:%M:%S %p" : "%I:%M %p");
    text.Replace(L"AM", L"am");
    text.Replace(L"PM", L"pm");
    return text;
}

VnString VnDate::FormatTimeOrName(const VnDateParts& parts) {
    if (parts.IsValid && parts.Minute == 0 && parts.Second == 0) {
        if (parts.Hour == 12) {
            return VnTranslated(L"Noon");
        }
        if (parts.Hour == 0) {
            return VnTranslated(L"Midnight");
        }
    }
    return FormatTime(parts, true, kSecondsNone);
}

VnString VnDate::FormatShort(bool withTime) const {
    const VnDateParts parts = GetParts();
    if (!parts.IsValid) {
        return VnString();
    }
    if (IsYearOnly()) {
        return VnString::FromInt(parts.GetFullYear());
    }
    const bool isThisYear = NowCached().GetParts(false).Year == parts.Year;
    const wchar_t* pattern = isThisYear ? L"MMM d" : L"MMM d yyyy";
    switch (VnDateNames::GetOrder()) {
    case VnDateNames::DayMonthYear:
        pattern = isThisYear ? L"d MMM" : L"d MMM yyyy";
        break;
    case VnDateNames::YearMonthDay:
        pattern = isThisYear ? L"MMM d" : L"yyyy MMM d";
        break;
    case VnDateNames::MonthDayYear:
        break;
    }
    VnString text = Format(pattern, kNoPercentCodes | kNoKeywords);
    if (withTime && HasTime()) {
        text += L' ';
        text += FormatTimeOrName(parts);
    }
    return text;
}

VnString VnDate::FormatLong(bool withTime) const {
    return FormatLong(withTime, VnString());
}

VnString VnDate::FormatLong(bool withTime, const VnString& noDateText) const {
    const VnDateParts parts = GetParts();
    if (!parts.IsValid) {
        return noDateText;
    }
    if (IsYearOnly()) {
        return VnString::FromInt(parts.GetFullYear());
    }
    VnString text = FormatByLibrary(parts, VnStringUTF8(GetLocaleDateFormat()));
    if (withTime && HasTime()) {
        text += L' ';
        text += FormatTime(parts, true, kSecondsNotZero);
    }
    return text;
}
