#include "data/VnDate.h"

#include <cmath>
#include <cstring>

#include "fuzz/FuzzText.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    double serial = 0;
    std::memcpy(&serial, data, std::min(size, sizeof(serial)));
    data += std::min(size, sizeof(serial));
    size -= std::min(size, sizeof(serial));
    const VnString text = TextOf(data, size);
    const VnDate date(serial);
    date.Format(text, static_cast<uint32_t>(size & 15), L"none");
    date.FormatISO(true, true);
    date.FormatICal();
    date.ToSerialText();
    const VnDateParts parts = date.GetParts();
    if (parts.IsValid && parts.GetFullYear() >= -9999 && parts.GetFullYear() <= 9999) {
        VnDate again;
        again.FromParts(parts);
        Require(again.GetParts().Month == parts.Month && again.GetParts().Day == parts.Day);
    }
    Require(!std::isnan(VnDate::ParseDurationText(text)));
    const int32_t year = VnDate::ParseYearText(text);
    Require(year >= 0 && year <= 9999);
    VnDate::FormatDuration(serial, 1, static_cast<int32_t>(size & 7), true);
    return 0;
}
