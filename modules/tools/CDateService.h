#pragma once

#include "runtime/IVnDateService.h"
#include "runtime/IVnTranslator.h"

#include <unicode/dtfmtsym.h>

#include <memory>
#include <mutex>
#include <string>
#include <vector>

/// Names, zone and free text of dates. Names and the order of the parts are those of the user's
/// language, the zone is that of the process.
class CDateService final : public IVnDateService {
public:
    explicit CDateService(IVnTranslator& translator) : Translator(translator) {}

    double ParseText(const wchar_t* text, bool flag) override;
    int32_t GetMonthNumber(const wchar_t* name) override;
    int32_t GetWeekdayNumber(const wchar_t* name) override;
    void
    GetWeekdayName(int32_t weekday, bool abbreviated, bool neutral, IVnDllString& name) override;
    void GetMonthName(int32_t month, bool abbreviated, bool neutral, IVnDllString& name) override;
    void GetDayHalfText(bool afternoon, bool longForm, IVnDllString& text) override;
    void GetAgoText(IVnDllString& text) override;
    double GetZoneBias() override;
    void GetPartOrder(int32_t& first, int32_t& second, int32_t& third) override;

private:
    /// The names of one language, weekdays from Sunday on.
    struct Names {
        std::vector<std::string> Months;
        std::vector<std::string> ShortMonths;
        std::vector<std::string> Weekdays;
        std::vector<std::string> ShortWeekdays;
    };

    void Load();
    static void LoadNames(const icu::Locale& locale, Names& names);
    static int32_t FindName(const std::string& wanted,
                            const std::vector<std::string>& names,
                            const std::vector<std::string>& shortNames);

    IVnTranslator& Translator;
    std::once_flag Loaded;
    Names User;    ///< in the user's language
    Names English; ///< the neutral form
    int32_t Order[3] = {1, 0, 2};
};
