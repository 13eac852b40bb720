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
    VnString text = VnString::Formatted(L"%04d-%02d-%02d", parts.GetFullYear(),
                                        parts.GetFullMonth(), parts.Day);
    if (!shorten || HasTime()) {
        text.AppendFormat(L"T%02d:%02d:%02d%s", parts.Hour, parts.Minute, parts.Second,
                          zSuffix ? L"Z" : L"");
    }
    return text;
}

VnString VnDate::FormatICal() const {
    const VnDateParts parts = GetParts();
    if (!parts.IsValid) {
        return VnString();
    }
    return VnString::Formatted(L"%04d%02d%02dT%02d%02d%02dZ", parts.GetFullYear(),
                               parts.GetFullMonth(), parts.Day, parts.Hour, parts.Minute,
                               parts.Second);
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
