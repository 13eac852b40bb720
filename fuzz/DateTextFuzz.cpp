#include "modules/tools/CDateText.h"
#include "runtime/IVnDateService.h"

#include <cmath>
#include <cwchar>

#include "fuzz/FuzzText.h"

namespace {

/// English names, cut to three letters.
class CNames : public IVnDateService {
public:
    double ParseText(const wchar_t*, bool) override { return 0; }
    int32_t GetMonthNumber(const wchar_t* name) override {
        return Find(L"janfebmaraprmayjunjulaugsepoctnovdec", name);
    }
    int32_t GetWeekdayNumber(const wchar_t* name) override {
        return Find(L"sunmontuewedthufrisat", name);
    }
    void GetWeekdayName(int32_t, bool, bool, IVnDllString&) override {}
    void GetMonthName(int32_t, bool, bool, IVnDllString&) override {}
    void GetDayHalfText(bool, bool, IVnDllString&) override {}
    void GetAgoText(IVnDllString&) override {}
    double GetZoneBias() override { return 0; }
    void GetPartOrder(int32_t&, int32_t&, int32_t&) override {}

private:
    static int32_t Find(const wchar_t* names, const wchar_t* name) {
        const wchar_t* hit = std::wcslen(name) == 3 ? std::wcsstr(names, name) : nullptr;
        return hit != nullptr && (hit - names) % 3 == 0 ? static_cast<int32_t>(hit - names) / 3 + 1
                                                        : 0;
    }
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static constexpr int32_t kOrders[][3] = {{1, 0, 2}, {0, 1, 2}, {2, 1, 0}};
    CNames names;
    const uint8_t choice = TakeByte(data, size);
    const VnString text = TextOf(data, size);
    const double serial =
        CDateText(names, kOrders[choice % std::size(kOrders)]).Parse(text, /*toUTC=*/true);
    // From the day ahead of year 1, which a zone may reach, to the one behind year 9999.
    Require(serial == 0.0 || (serial >= -693595 && serial <= 2958467));
    return 0;
}
