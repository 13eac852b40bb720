#include "data/VnDateNames.h"

#include "core/VnDllString.h"
#include "core/VnString.h"
#include "data/VnDateService.h"

namespace {

/// What `ask` makes the service write; empty without the service.
template<typename ASK>
VnString AskService(ASK ask) {
    VnString text;
    if (IVnDateService* service = VnGetDateService(); service != nullptr) {
        VnDllString adapter(text);
        ask(*service, adapter);
    }
    return text;
}

} // namespace

VnString VnDateNames::GetWeekday(int32_t weekday, bool abbreviated, bool neutral) {
    return AskService([&](IVnDateService& service, IVnDllString& name) {
        service.GetWeekdayName(weekday, abbreviated, neutral, name);
    });
}

VnString VnDateNames::GetMonth(int32_t month, bool abbreviated, bool neutral) {
    return AskService([&](IVnDateService& service, IVnDllString& name) {
        service.GetMonthName(month, abbreviated, neutral, name);
    });
}

VnString VnDateNames::GetDayHalf(int32_t hour, bool longForm) {
    return AskService([&](IVnDateService& service, IVnDllString& text) {
        service.GetDayHalfText(hour >= 12, longForm, text);
    });
}

VnString VnDateNames::GetAgo() {
    return AskService(
        [](IVnDateService& service, IVnDllString& text) { service.GetAgoText(text); });
}

VnDateNames::Order VnDateNames::GetOrder() {
    constexpr int32_t kDay = 0;
    constexpr int32_t kMonth = 1;
    constexpr int32_t kYear = 2;
    int32_t first = kMonth;
    int32_t second = kDay;
    int32_t third = kYear;
    if (IVnDateService* service = VnGetDateService(); service != nullptr) {
        service->GetPartOrder(first, second, third);
    }
    if (second == kMonth && first == kDay && third == kYear) {
        return DayMonthYear;
    }
    if (second == kMonth && first == kYear && third == kDay) {
        return YearMonthDay;
    }
    return MonthDayYear;
}
