#include "data/VnDate.h"

#include "core/VnString.h"
#include "data/VnDateNames.h"

#include <algorithm>
#include <cwchar>

namespace {

/// One run of Format over one date.
class CDateFormatter {
public:
    CDateFormatter(const VnDate& date, uint32_t flags)
        : Date(date)
        , Parts(date.GetParts())
        , Flags(flags) {}

    VnString Run(const wchar_t* format) {
        while (*format != 0) {
            format += Step(format);
        }
        return Out;
    }

private:
    using Writer = void (CDateFormatter::*)();

    struct Keyword {
        const wchar_t* Name;
        Writer Write;
    };

    /// Writes what stands at `at`; the result is the number of characters that it took.
    int32_t Step(const wchar_t* at) {
        if (*at == L'"') {
            return Quoted(at);
        }
        int32_t taken = (Flags & VnDate::kNoKeywords) != 0 ? 0 : TakeKeyword(at);
        if (taken == 0 && (Flags & VnDate::kNoPatternLetters) == 0) {
            taken = TakePattern(at);
        }
        if (taken == 0 && *at == L'%' && (Flags & VnDate::kNoPercentCodes) == 0 && at[1] != 0) {
            PutCode(at[1]);
            taken = 2;
        }
        if (taken == 0) {
            Out += *at;
            taken = 1;
        }
        return taken;
    }

    /// Text in quotes as it stands; two quotes are one.
    int32_t Quoted(const wchar_t* at) {
        if (at[1] == L'"') {
            Out += L'"';
            return 2;
        }
        const wchar_t* end = std::wcschr(at + 1, L'"');
        const auto length = static_cast<int32_t>(
            end == nullptr ? std::wcslen(at + 1) : static_cast<std::size_t>(end - at - 1));
        Out.Append(at + 1, length);
        return length + (end == nullptr ? 1 : 2);
    }

    int32_t TakeKeyword(const wchar_t* at) {
        for (const Keyword& keyword : kKeywords) {
            const wchar_t* name = keyword.Name;
            const wchar_t* here = at;
            while (*name != 0 && VnStringGlobals::ToLower(*here) == *name) {
                ++name;
                ++here;
            }
            if (*name == 0) {
                (this->*keyword.Write)();
                return static_cast<int32_t>(here - at);
            }
        }
        return 0;
    }

    /// Writes a run of one pattern letter, of which at most as many count as its longest pattern
    /// has.
    int32_t TakePattern(const wchar_t* at) {
        const auto run = [at](int32_t most) {
            int32_t count = 1;
            while (count < most && at[count] == *at) {
                ++count;
            }
            return count;
        };
        int32_t count = 0;
        switch (*at) {
        case L'd':
            count = run(4);
            count > 2 ? PutWeekday(count == 3) : PutNumber(Parts.Day, count);
            break;
        case L'M':
            count = run(4);
            count > 2 ? PutMonth(count == 3) : PutNumber(Parts.GetFullMonth(), count);
            break;
        case L'y':
            count = run(4);
            count -= count == 3 ? 1 : 0;
            PutYear(count);
            break;
        case L'h':
            count = run(2);
            PutNumber(GetTwelveHour(), count);
            break;
        case L'H':
            count = run(2);
            PutNumber(Parts.Hour, count);
            break;
        case L'm':
            count = run(2);
            PutNumber(Parts.Minute, count);
            break;
        case L's':
            count = run(2);
            PutNumber(Parts.Second, count);
            break;
        case L't':
            count = run(2);
            Out += VnDateNames::GetDayHalf(Parts.Hour, count == 2);
            break;
        default:
            break;
        }
        return count;
    }

    void PutCode(wchar_t code) {
        switch (code) {
        case L'%':
            Out += L'%';
            break;
        case L'A':
        case L'a':
            PutWeekday(code == L'a');
            break;
        case L'B':
        case L'b':
            PutMonth(code == L'b');
            break;
        case L'H':
            PutNumber(Parts.Hour, 2);
            break;
        case L'I':
            PutNumber(GetTwelveHour(), 2);
            break;
        case L'M':
            PutNumber(Parts.Minute, 2);
            break;
        case L'S':
            PutNumber(Parts.Second, 2);
            break;
        case L'Y':
            PutNumber(Parts.GetFullYear(), 4);
            break;
        case L'y':
            PutYear(2);
            break;
        case L'd':
            PutNumber(Parts.Day, 2);
            break;
        case L'm':
            PutNumber(Parts.GetFullMonth(), 2);
            break;
        case L'j':
            PutNumber(Parts.DayOfYear + 1, 3);
            break;
        case L'U':
            PutNumber(VnDate::WeekOfYear(Date, 0), 2);
            break;
        case L'W':
            PutNumber(VnDate::WeekOfYear(Date, 1), 2);
            break;
        case L'w':
            PutNumber(Parts.Weekday, 1);
            break;
        case L'p':
            Out += VnDateNames::GetDayHalf(Parts.Hour, true);
            break;
        case L'c':
            Out += Date.FormatLong(true);
            break;
        case L'x':
            Out += Date.FormatLong(false);
            break;
        case L'X':
            PutTime();
            break;
        default:
            Out += L'%';
            Out += code;
            break;
        }
    }

    bool AsksNeutral() const { return (Flags & VnDate::kNeutralNames) != 0; }
    int32_t GetTwelveHour() const { return Parts.Hour % 12 == 0 ? 12 : Parts.Hour % 12; }

    void PutNumber(int32_t value, int32_t digits) { Out += VnString::FromInt(value, digits); }
    void PutWeekday(bool abbreviated) {
        Out += VnDateNames::GetWeekday(Parts.Weekday, abbreviated, AsksNeutral());
    }
    void PutMonth(bool abbreviated) {
        Out += VnDateNames::GetMonth(Parts.GetFullMonth(), abbreviated, AsksNeutral());
    }

    /// The last one or two digits of the year, or all of it.
    void PutYear(int32_t digits) {
        const int32_t year = Parts.GetFullYear();
        if (digits > 2) {
            PutNumber(year, 1);
        } else {
            PutNumber(std::abs(year) % (digits == 1 ? 10 : 100), digits);
        }
    }

    // Keywords

    void PutFullYear() { PutNumber(Parts.GetFullYear(), 1); }
    void PutMonthName() {
        if (!Date.IsYearOnly()) {
            PutMonth(false);
        }
    }
    void PutDayOrdinal() {
        VnString text;
        text.SetInt(Parts.Day, 0, 10, VnString::kNumberOrdinal);
        Out += text;
    }
    void PutDayName() { PutWeekday(false); }
    void PutDay() {
        if (!Date.IsYearOnly()) {
            PutNumber(Parts.Day, 1);
        }
    }
    void PutHour() { PutNumber(Parts.Hour, 1); }
    void PutMinute() { PutNumber(Parts.Minute, 1); }
    void PutSecond() { PutNumber(Parts.Second, 1); }
    void PutFilename() {
        Out.AppendFormat(L"%04d%02d%02d-%02d%02d%02d", Parts.GetFullYear(), Parts.GetFullMonth(),
                         Parts.Day, Parts.Hour, Parts.Minute, Parts.Second);
    }
    void PutElapsed() {
        const double days = VnDate::NowCached().GetSerial() - Date.GetSerial();
        Out += VnDate::FormatElapsed(days * 86400, VnDate::kElapsedOneUnit);
    }
    void PutElapsedAgo() {
        PutElapsed();
        Out += VnDateNames::GetAgo();
    }
    void PutShortDateTime() { Out += Date.FormatShort(true); }
    void PutShortDate() { Out += Date.FormatShort(false); }
    void PutShortTime() { Out += VnDate::FormatTime(Parts, true, VnDate::kSecondsNone); }
    void PutDateTime() { Out += Date.FormatLong(true); }
    void PutDate() { Out += Date.FormatLong(false); }
    void PutTime() { Out += VnDate::FormatTime(Parts, true, VnDate::kSecondsNotZero); }
    void PutDecade() {
        const int32_t year = Parts.GetFullYear();
        if (year > 0) {
            Out.AppendFormat(L"%d's", year - year % 10);
        }
    }

    /// In the order in which they are tried: a word stands ahead of those that it begins with.
    static const Keyword kKeywords[18];

    const VnDate& Date;
    VnDateParts Parts;
    uint32_t Flags;
    VnString Out;
};

const CDateFormatter::Keyword CDateFormatter::kKeywords[18] = {
    {L"year", &CDateFormatter::PutFullYear},
    {L"month", &CDateFormatter::PutMonthName},
    {L"dayordinal", &CDateFormatter::PutDayOrdinal},
    {L"dayname", &CDateFormatter::PutDayName},
    {L"day", &CDateFormatter::PutDay},
    {L"hour", &CDateFormatter::PutHour},
    {L"minute", &CDateFormatter::PutMinute},
    {L"second", &CDateFormatter::PutSecond},
    {L"filename", &CDateFormatter::PutFilename},
    {L"elapsedago", &CDateFormatter::PutElapsedAgo},
    {L"elapsed", &CDateFormatter::PutElapsed},
    {L"shortdatetime", &CDateFormatter::PutShortDateTime},
    {L"shortdate", &CDateFormatter::PutShortDate},
    {L"shorttime", &CDateFormatter::PutShortTime},
    {L"datetime", &CDateFormatter::PutDateTime},
    {L"date", &CDateFormatter::PutDate},
    {L"time", &CDateFormatter::PutTime},
    {L"decade", &CDateFormatter::PutDecade},
};

} // namespace

VnString VnDate::Format(const wchar_t* format, uint32_t flags) const {
    return Format(format, flags, VnString());
}

VnString VnDate::Format(const wchar_t* format, uint32_t flags, const VnString& noDateText) const {
    CDateFormatter formatter(*this, flags);
    if (!GetParts(false).IsValid) {
        return noDateText;
    }
    return format == nullptr ? VnString() : formatter.Run(format);
}
