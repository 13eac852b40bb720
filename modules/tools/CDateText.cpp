#include "modules/tools/CDateText.h"

#include "core/VnString.h"
#include "runtime/IVnDateService.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <ctime>
#include <cwctype>
#include <iterator>

namespace {

constexpr double kUnixEpoch = 25569.0; ///< serial of 1 January 1970
constexpr double kDayMark = 1.1574074074074074e-6;
constexpr double kMidnightMark = 2.3148148148148148e-6;
constexpr size_t kMaximumText = 200;
constexpr int32_t kShortYearTurn = 26; ///< years 0 to 25 are of this century

struct ZoneName {
    const wchar_t* Name;
    int32_t Hours;
};

/// The names that RFC 822 gives meaning to.
constexpr ZoneName kZones[] = {
    {L"z", 0},    {L"gmt", 0},  {L"ut", 0},   {L"utc", 0},  {L"est", -5}, {L"edt", -4},
    {L"cst", -6}, {L"cdt", -5}, {L"mst", -7}, {L"mdt", -6}, {L"pst", -8}, {L"pdt", -7},
};

int32_t ToNumber(const std::wstring& digits) {
    return digits.size() > 9 ? -1 : static_cast<int32_t>(std::wcstol(digits.c_str(), nullptr, 10));
}

bool IsDigit(wchar_t ch) {
    return ch >= L'0' && ch <= L'9';
}

} // namespace

/// "2004-05-31", "2004-05-31T12:30:15" and "2004-05-31T12:30:15Z", the forms that are read by the
/// thousand. False, with nothing taken, for any other text, which may be a date all the same.
bool CDateText::TakeISO(const wchar_t* text) {
    constexpr wchar_t kForm[] = L"0000-00-00T00:00:00Z"; // a blank may stand for the T
    constexpr int32_t kDateLength = 10;
    constexpr int32_t kTimeLength = 19;
    int32_t parts[7] = {};
    int32_t* part = parts;
    int32_t length = 0;
    for (; text[length] != 0; length++) {
        const wchar_t ch = text[length];
        const wchar_t form = kForm[length];
        if (form == L'0' && IsDigit(ch)) {
            *part = *part * 10 + (ch - L'0');
        } else if (form != L'0' && (ch == form || (form == L'T' && ch == L' '))) {
            part++;
        } else {
            return false;
        }
    }
    // A month above 12 may be the day.
    if ((length != kDateLength && length < kTimeLength) || parts[1] > 12) {
        return false;
    }
    Year = parts[0];
    Month = parts[1];
    Day = parts[2];
    Hour = parts[3];
    Minute = parts[4];
    Second = parts[5];
    HasTime = length > kDateLength;
    HasZone = length > kTimeLength;
    return true;
}

int32_t CDateText::Number(size_t index) const {
    return ToNumber(Tokens[index].Text);
}

void CDateText::Split(const wchar_t* text) {
    Tokens.clear();
    wchar_t before = 0;
    while (*text != 0) {
        const wchar_t* end = text;
        const bool number = IsDigit(*text);
        if (number) {
            while (IsDigit(*end)) {
                end++;
            }
        } else {
            while (std::iswalpha(static_cast<wint_t>(*end)) != 0) {
                end++;
            }
        }
        if (end == text) {
            before = *text++;
            continue;
        }
        std::wstring word(text, end);
        std::transform(word.begin(), word.end(), word.begin(), VnStringGlobals::ToLower);
        Tokens.push_back({number, word, before, *end});
        before = number ? L'0' : L'a'; // the next token touches this one
        text = end;
    }
}

/// 20240131 and 20240131T235959, which are one run of digits each.
bool CDateText::TakeCompact() {
    if (Tokens.empty() || !Tokens[0].IsNumber || Tokens[0].Text.size() != 8) {
        return true;
    }
    const std::wstring date = Tokens[0].Text;
    Year = ToNumber(date.substr(0, 4));
    Month = ToNumber(date.substr(4, 2));
    Day = ToNumber(date.substr(6, 2));
    Tokens.erase(Tokens.begin());
    if (Month == 0 || Day == 0) {
        return false;
    }
    if (Tokens.size() >= 2 && Tokens[0].Text == L"t" && Tokens[1].IsNumber
        && Tokens[1].Text.size() == 6) {
        const std::wstring time = Tokens[1].Text;
        Hour = ToNumber(time.substr(0, 2));
        Minute = ToNumber(time.substr(2, 2));
        Second = ToNumber(time.substr(4, 2));
        HasTime = true;
        Tokens.erase(Tokens.begin(), Tokens.begin() + 2);
    }
    return true;
}

/// hours ":" minutes [":" seconds ["." fraction]] ["am" | "pm"]
bool CDateText::TakeTime() {
    for (size_t i = 0; i + 1 < Tokens.size(); i++) {
        if (!Tokens[i].IsNumber || Tokens[i].After != L':' || !Tokens[i + 1].IsNumber
            || Tokens[i].Before == L'+' || HasTime) {
            continue;
        }
        size_t end = i + 2;
        Hour = Number(i);
        Minute = Number(i + 1);
        if (end < Tokens.size() && Tokens[end].IsNumber && Tokens[end].Before == L':') {
            Second = Number(end++);
            if (end < Tokens.size() && Tokens[end].IsNumber
                && (Tokens[end].Before == L'.' || Tokens[end].Before == L',')
                && (Tokens[end - 1].After == L'.' || Tokens[end - 1].After == L',')) {
                end++; // parts of a second are dropped
            }
        }
        if (end < Tokens.size() && (Tokens[end].Text == L"am" || Tokens[end].Text == L"pm")) {
            if (Hour < 1 || Hour > 12) {
                return false;
            }
            Hour = Hour % 12 + (Tokens[end].Text == L"pm" ? 12 : 0);
            end++;
        }
        // The blank between day and time may be a "T".
        const size_t start = i > 0 && Tokens[i - 1].Text == L"t" ? i - 1 : i;
        Tokens.erase(Tokens.begin() + static_cast<std::ptrdiff_t>(start),
                     Tokens.begin() + static_cast<std::ptrdiff_t>(end));
        HasTime = true;
        if (start < Tokens.size() && Tokens[start].IsNumber && !TakeOffset(start)) {
            return false;
        }
        break;
    }
    return true;
}

/// "+hh:mm", "+hhmm" or "+hh" right behind the time; any other number there belongs to the date.
bool CDateText::TakeOffset(size_t index) {
    const Token& token = Tokens[index];
    if (token.Before != L'+' && token.Before != L'-') {
        return true;
    }
    const int32_t sign = token.Before == L'-' ? -1 : 1;
    const int32_t value = Number(index);
    size_t taken = 1;
    if (token.Text.size() == 4) {
        OffsetMinutes = value / 100 * 60 + value % 100;
    } else if (token.Text.size() == 2) {
        OffsetMinutes = value * 60;
        if (token.After == L':' && index + 1 < Tokens.size() && Tokens[index + 1].IsNumber) {
            OffsetMinutes += Number(index + 1);
            taken = 2;
        }
    } else {
        return false;
    }
    OffsetMinutes *= sign;
    HasZone = true;
    const auto first = Tokens.begin() + static_cast<std::ptrdiff_t>(index);
    Tokens.erase(first, first + static_cast<std::ptrdiff_t>(taken));
    return OffsetMinutes > -24 * 60 && OffsetMinutes < 24 * 60;
}

bool CDateText::TakeZone() {
    for (size_t i = 0; HasTime && i < Tokens.size(); i++) {
        for (const ZoneName& zone : kZones) {
            if (Tokens[i].Text != zone.Name) {
                continue;
            }
            HasZone = true;
            OffsetMinutes = zone.Hours * 60;
            Tokens.erase(Tokens.begin() + static_cast<std::ptrdiff_t>(i));
            return i >= Tokens.size() || !Tokens[i].IsNumber || TakeOffset(i);
        }
    }
    return true;
}

/// Names of months and weekdays, and the ends of ordinal numbers; any other word is none of a date.
bool CDateText::TakeNames() {
    for (size_t i = Tokens.size(); i-- > 0;) {
        const Token& token = Tokens[i];
        if (token.IsNumber) {
            continue;
        }
        const int32_t month = Names.GetMonthNumber(token.Text.c_str());
        const bool ordinal = (token.Before == L'0')
                             && (token.Text == L"st" || token.Text == L"nd" || token.Text == L"rd"
                                 || token.Text == L"th");
        if (month != 0 && Month == 0) {
            Month = month;
        } else if (!ordinal && Names.GetWeekdayNumber(token.Text.c_str()) == 0) {
            return false;
        }
        Tokens.erase(Tokens.begin() + static_cast<std::ptrdiff_t>(i));
    }
    return true;
}

/// Gives the numbers that are left their places in the user's order, a year of four digits ahead of
/// all.
bool CDateText::AssignParts(const std::vector<int32_t>& numbers) {
    std::vector<int32_t> rest = numbers;
    std::vector<int32_t> parts(std::begin(Order), std::end(Order));
    const auto drop = [&parts](int32_t part) { std::erase(parts, part); };
    if (Month != 0) {
        drop(1);
    }
    for (size_t i = 0; i < Tokens.size(); i++) {
        if (Tokens[i].Text.size() == 4) {
            Year = rest[i];
            rest.erase(rest.begin() + static_cast<std::ptrdiff_t>(i));
            drop(2);
            // What begins with the year goes on with month and day.
            if (i == 0 && parts.size() == 2) {
                parts = {1, 0};
            }
            break;
        }
    }
    if (rest.empty()) {
        return true;
    }
    if (rest.size() == 1 && parts.size() == 2) {
        parts = {Year != 0 ? 1 : 0}; // "2004-05" is a month; "5 May" is no date without a year
    }
    if (rest.size() != parts.size()) {
        return false;
    }
    const auto monthAt = std::find(parts.begin(), parts.end(), 1);
    const auto dayAt = std::find(parts.begin(), parts.end(), 0);
    if (monthAt != parts.end() && dayAt != parts.end()) {
        int32_t& month = rest[static_cast<size_t>(monthAt - parts.begin())];
        int32_t& day = rest[static_cast<size_t>(dayAt - parts.begin())];
        if (month > 12 && day <= 12) {
            std::swap(month, day);
        }
    }
    for (size_t i = 0; i < rest.size(); i++) {
        (parts[i] == 0 ? Day : parts[i] == 1 ? Month : Year) = rest[i];
    }
    if (std::find(parts.begin(), parts.end(), 2) != parts.end() && Year < 100) {
        Year += Year < kShortYearTurn ? 2000 : 1900;
    }
    return true;
}

bool CDateText::TakeDate() {
    if (Year != 0) {
        return Tokens.empty(); // came as one run of digits
    }
    if (Tokens.empty() || Tokens.size() > 3) {
        return false;
    }
    std::vector<int32_t> numbers;
    for (size_t i = 0; i < Tokens.size(); i++) {
        numbers.push_back(Number(i));
    }
    return AssignParts(numbers) && Year != 0;
}

bool CDateText::IsInRange() const {
    if (Year < 1 || Year > 9999 || Month < 0 || Month > 12 || Hour > 23 || Minute > 59
        || Second > 60) {
        return false;
    }
    if (Day == 0) {
        return true;
    }
    using std::chrono::day;
    using std::chrono::month;
    using std::chrono::year;
    return Month != 0
           && std::chrono::year_month_day(year(Year), month(static_cast<unsigned>(Month)),
                                          day(static_cast<unsigned>(Day)))
                  .ok();
}

double CDateText::GetSerial(bool toUTC) const {
    using std::chrono::day;
    using std::chrono::month;
    using std::chrono::year;
    const std::chrono::sys_days date =
        std::chrono::year_month_day(year(Year), month(static_cast<unsigned>(std::max(Month, 1))),
                                    day(static_cast<unsigned>(std::max(Day, 1))));
    int64_t seconds = date.time_since_epoch().count() * int64_t{86400};
    if (!HasTime) {
        const int64_t days = seconds / 86400;
        const double whole = static_cast<double>(days) + kUnixEpoch;
        // Only the first of January leaves open whether more than the year is known.
        return Month == 1 && Day <= 1 ? whole + kDayMark : whole;
    }
    seconds += Hour * 3600 + Minute * 60 + Second;
    if (HasZone) {
        seconds -= int64_t{OffsetMinutes} * 60;
        if (!toUTC) {
            // The rule of the foundation's own conversion: the offset that is in force now.
            const time_t now = std::time(nullptr);
            std::tm local = {};
            seconds += ::localtime_r(&now, &local) == nullptr ? 0 : local.tm_gmtoff;
        }
    }
    const double serial = static_cast<double>(seconds) / 86400.0 + kUnixEpoch;
    return seconds % 86400 == 0 ? serial + kMidnightMark : serial;
}

double CDateText::Parse(const wchar_t* text, bool toUTC) {
    if (text == nullptr) {
        return 0.0;
    }
    if (TakeISO(text)) {
        return IsInRange() ? GetSerial(toUTC) : 0.0;
    }
    if (std::wcslen(text) > kMaximumText) {
        return 0.0;
    }
    Split(text);
    const bool read = TakeCompact() && TakeTime() && TakeZone() && TakeNames() && TakeDate();
    return read && IsInRange() ? GetSerial(toUTC) : 0.0;
}
