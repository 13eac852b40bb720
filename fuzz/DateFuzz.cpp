#include "data/VnDate.h"

#include <cstring>

#include "fuzz/FuzzText.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < sizeof(double)) {
        return 0;
    }
    double serial = 0;
    std::memcpy(&serial, data, sizeof(serial));
    const VnString format = TextOf(data + sizeof(serial), size - sizeof(serial));
    const VnDate date(serial);
    date.Format(format, 0, L"none");
    date.FormatISO(true, true);
    VnDate::ParseDurationText(format);
    return 0;
}
