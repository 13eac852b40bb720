#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

/// The hexadecimal digits in upper case, by value.
inline constexpr wchar_t kHexDigits[] = L"0123456789ABCDEF";

/// Values of the characters from 0 to 255, -1 for what is no hexadecimal digit.
inline constexpr std::array<int8_t, 256> kHexDigitValues = [] {
    std::array<int8_t, 256> values{};
    values.fill(-1);
    for (int8_t value = 0; value < 16; ++value) {
        values[static_cast<size_t>(kHexDigits[value])] = value;
        values[static_cast<size_t>(kHexDigits[value] | 0x20)] = value; // digits have that bit
    }
    return values;
}();

/// The value of an ASCII hexadecimal digit of either case; -1 for any other character.
constexpr int32_t GetHexDigitValue(wchar_t ch) {
    const auto code = static_cast<uint32_t>(ch);
    return code < kHexDigitValues.size() ? kHexDigitValues[code] : -1;
}
