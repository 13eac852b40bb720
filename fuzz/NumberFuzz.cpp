#include <cmath>
#include <cstring>

#include "fuzz/FuzzText.h"

namespace {

void CheckTexts(const VnString& text) {
    Require(static_cast<int64_t>(text.ToInt())
            == std::clamp<int64_t>(text.ToInt64(), -0x7fffffff, 0x7fffffff));
    VnString again;
    again.SetInt(text.ToInt64());
    Require(again.ToInt64() == text.ToInt64());
    again.SetInt(text.ToHexInt64(), 0, 16, VnString::kNumberHexPrefix);
    Require(again.ToHexInt64() == text.ToHexInt64());
    text.ToUInt();
    text.ToUInt64();
    text.ToSize();
    text.ToHexInt();
    text.ToBool();
    int32_t end = -1;
    Require(!std::isnan(text.ToDouble(&end, true, 0x7fffffff, true)));
    Require(end >= 0 && end <= text.GetLength());
    Require(!text.IsNumber() || text.GetLength() <= 32);

    const uint32_t address = text.ToIPv4(true);
    again.SetIPv4(address);
    Require(again.ToIPv4(true) == address);
    uint8_t bytes[6];
    text.ToMACAddress(bytes);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const VnString text = TextOf(data, size);
    CheckTexts(text);

    double value = 0;
    std::memcpy(&value, data, std::min(size, sizeof(value)));
    VnString written;
    written.SetDouble(value, -1, false, 0, VnString::kDoublePoint);
    Require(written.GetLength() >= 1 && written.GetLength() <= 400);
    if (std::fabs(value) >= 1e-3 && std::fabs(value) < 1e15) {
        const double back = written.ToDouble(nullptr, true);
        Require(std::fabs(back - value) <= std::fabs(value) * 1e-12);
    }
    int64_t integer = 0;
    std::memcpy(&integer, data, std::min(size, sizeof(integer)));
    written.SetInt(integer, 0, 10, 0);
    Require(written.ToInt64() == integer || integer == INT64_MIN);
    return 0;
}
