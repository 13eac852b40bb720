#pragma once

#include <cstdint>
#include <string>
#include <vector>

class IVnDateService;

/// Reads a date from free text.
///
/// It knows ISO 8601 in its long and short forms, the three date forms of HTTP, and dates as people
/// write them: numbers, names of months and weekdays in the user's language or English, a time with
/// or without AM/PM, a zone. Three plain numbers are taken in the user's order of day, month and
/// year, unless their size says otherwise. Anything that is no part of a date makes the text
/// unreadable.
class CDateText {
public:
    /// `order` is that of the date's parts: 0 day, 1 month, 2 year.
    CDateText(IVnDateService& names, const int32_t (&order)[3]) : Names(names), Order(order) {}

    /// The serial date, with the marks that tell a year, a day and midnight apart; 0.0 when the
    /// text cannot be read. A moment with a zone is turned into local time, or into UTC with
    /// `toUTC`; one without stays as it stands.
    double Parse(const wchar_t* text, bool toUTC);

private:
    struct Token {
        bool IsNumber;
        std::wstring Text; ///< digits, or letters in lower case
        wchar_t Before;    ///< character ahead of the token, 0 at the start
        wchar_t After;     ///< character behind it, 0 at the end
    };

    bool TakeISO(const wchar_t* text);
    void Split(const wchar_t* text);
    bool TakeCompact();
    bool TakeTime();
    bool TakeZone();
    bool TakeOffset(size_t index);
    bool TakeNames();
    bool TakeDate();
    bool AssignParts(const std::vector<int32_t>& numbers);
    bool IsInRange() const;
    double GetSerial(bool toUTC) const;
    int32_t Number(size_t index) const;

    IVnDateService& Names;
    const int32_t (&Order)[3];
    std::vector<Token> Tokens; ///< what no step has taken yet
    int32_t Year = 0;
    int32_t Month = 0; ///< 0: not told
    int32_t Day = 0;   ///< 0: not told
    int32_t Hour = 0;
    int32_t Minute = 0;
    int32_t Second = 0;
    bool HasTime = false;
    bool HasZone = false;
    int32_t OffsetMinutes = 0; ///< zone minus UTC
};
