#include "modules/tools/CDateService.h"

#include "core/VnDllString.h"
#include "core/VnString.h"
#include "modules/tools/CDateText.h"
#include "modules/tools/ToolsText.h"

#include <unicode/dtptngen.h>
#include <unicode/smpdtfmt.h>

#include <ctime>

namespace {

constexpr double kSecondsPerDay = 86400.0;
constexpr time_t kDaylightSeconds = 3600;

std::vector<std::string> Convert(const icu::UnicodeString* names, int32_t count, int32_t skip) {
    std::vector<std::string> texts;
    for (int32_t i = skip; i < count; i++) {
        names[i].toUTF8String(texts.emplace_back());
    }
    return texts;
}

/// Without the dot that some languages put behind an abbreviation, in lower case.
std::string Simplified(const std::string& name) {
    VnString text = VnString::FromUTF8(name.c_str());
    text.Trim();
    text.TrimRight(L'.');
    text.MakeLower();
    return ToUTF8(text);
}

icu::Locale GetUserLocale() {
    const icu::Locale locale = icu::Locale::getDefault();
    return std::string(locale.getVariant()) == "POSIX" ? icu::Locale::getUS() : locale;
}

} // namespace

void CDateService::LoadNames(const icu::Locale& locale, Names& names) {
    UErrorCode failure = U_ZERO_ERROR;
    const icu::DateFormatSymbols symbols(locale, failure);
    if (U_FAILURE(failure)) {
        return;
    }
    using Symbols = icu::DateFormatSymbols;
    int32_t count = 0;
    // ICU counts weekdays from 1 and leaves the entry ahead of them empty.
    const auto* list = symbols.getMonths(count, Symbols::FORMAT, Symbols::WIDE);
    names.Months = Convert(list, count, 0);
    list = symbols.getMonths(count, Symbols::FORMAT, Symbols::ABBREVIATED);
    names.ShortMonths = Convert(list, count, 0);
    list = symbols.getWeekdays(count, Symbols::FORMAT, Symbols::WIDE);
    names.Weekdays = Convert(list, count, 1);
    list = symbols.getWeekdays(count, Symbols::FORMAT, Symbols::ABBREVIATED);
    names.ShortWeekdays = Convert(list, count, 1);
}

void CDateService::Load() {
    std::call_once(Loaded, [this] {
        const icu::Locale locale = GetUserLocale();
        LoadNames(locale, User);
        LoadNames(icu::Locale::getEnglish(), English);
        UErrorCode failure = U_ZERO_ERROR;
        const std::unique_ptr<icu::DateTimePatternGenerator> generator(
            icu::DateTimePatternGenerator::createInstance(locale, failure));
        if (U_FAILURE(failure)) {
            return;
        }
        const icu::UnicodeString pattern =
            generator->getBestPattern(icu::UnicodeString("yMMMd"), failure);
        int32_t found = 0;
        for (int32_t i = 0; i < pattern.length() && found < 3; i++) {
            const char16_t ch = pattern[i];
            const int32_t part = ch == u'd'                 ? 0
                                 : ch == u'M' || ch == u'L' ? 1
                                 : ch == u'y'               ? 2
                                                            : -1;
            if (part >= 0 && (i == 0 || pattern[i - 1] != ch)) {
                Order[found++] = part;
            }
        }
    });
}

int32_t CDateService::FindName(const std::string& wanted,
                               const std::vector<std::string>& names,
                               const std::vector<std::string>& shortNames) {
    for (const auto* list : {&names, &shortNames}) {
        for (size_t i = 0; i < list->size(); i++) {
            if (wanted == Simplified((*list)[i])) {
                return static_cast<int32_t>(i) + 1;
            }
        }
    }
    return 0;
}

int32_t CDateService::GetMonthNumber(const wchar_t* name) {
    Load();
    const std::string wanted = Simplified(ToUTF8(name));
    if (wanted.empty()) {
        return 0;
    }
    const int32_t number = FindName(wanted, User.Months, User.ShortMonths);
    return number != 0 ? number : FindName(wanted, English.Months, English.ShortMonths);
}

int32_t CDateService::GetWeekdayNumber(const wchar_t* name) {
    Load();
    const std::string wanted = Simplified(ToUTF8(name));
    if (wanted.empty()) {
        return 0;
    }
    const int32_t number = FindName(wanted, User.Weekdays, User.ShortWeekdays);
    return number != 0 ? number : FindName(wanted, English.Weekdays, English.ShortWeekdays);
}

void CDateService::GetWeekdayName(int32_t weekday,
                                  bool abbreviated,
                                  bool neutral,
                                  IVnDllString& name) {
    Load();
    const Names& names = neutral ? English : User;
    const auto& list = abbreviated ? names.ShortWeekdays : names.Weekdays;
    const auto index = static_cast<size_t>(weekday);
    SetUTF8(name, weekday >= 0 && index < list.size() ? list[index] : std::string());
}

void CDateService::GetMonthName(int32_t month, bool abbreviated, bool neutral, IVnDllString& name) {
    Load();
    const Names& names = neutral ? English : User;
    const auto& list = abbreviated ? names.ShortMonths : names.Months;
    const auto index = static_cast<size_t>(month) - 1;
    SetUTF8(name, month >= 1 && index < list.size() ? list[index] : std::string());
}

void CDateService::GetDayHalfText(bool afternoon, bool longForm, IVnDllString& text) {
    text.Set(longForm ? (afternoon ? L"PM" : L"AM") : (afternoon ? L"p" : L"a"), -1);
}

void CDateService::GetAgoText(IVnDllString& text) {
    text.Set(L" ago", -1);
    Translator.Translate(text);
}

double CDateService::GetZoneBias() {
    const time_t now = std::time(nullptr);
    std::tm local = {};
    if (::localtime_r(&now, &local) == nullptr) {
        return 0.0;
    }
    const time_t daylight = local.tm_isdst > 0 ? kDaylightSeconds : 0;
    return static_cast<double>(local.tm_gmtoff - daylight) / kSecondsPerDay;
}

void CDateService::GetPartOrder(int32_t& first, int32_t& second, int32_t& third) {
    Load();
    first = Order[0];
    second = Order[1];
    third = Order[2];
}

double CDateService::ParseText(const wchar_t* text, bool flag) {
    Load();
    return CDateText(*this, Order).Parse(text, flag);
}
