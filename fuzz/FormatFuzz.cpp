#include <cstring>

#include "fuzz/FuzzText.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    int64_t number = 0;
    std::memcpy(&number, data, std::min(size, sizeof(number)));
    const VnString text = TextOf(data, size);
    // Wide fields are made as they are asked for; a few are enough.
    int32_t digits = 0;
    for (int32_t i = 0; i < text.GetLength(); ++i) {
        const bool isDigit = text[i] >= L'0' && text[i] <= L'9';
        digits = isDigit ? digits + 1 : 0;
        if (digits > 3) {
            return 0;
        }
    }
    const VnString self = text.Left(20);
    VnString written;
    written.Format(text, number, L"wide", 2.5, "bytes", self, static_cast<uint8_t>(number), number,
                   -1.0e300, nullptr == data);
    if (text.Find(L'%') < 0) {
        Require(written == text.GetText());
    }
    VnString twice(L"x");
    twice.AppendFormat(text, number, L"wide", 2.5, "bytes", self, static_cast<uint8_t>(number),
                       number, -1.0e300, nullptr == data);
    Require(twice == L"x" + written);
    return 0;
}
