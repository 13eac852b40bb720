#pragma once

#include <cstdint>

/// The hexadecimal digits in upper case, by value.
inline constexpr wchar_t kHexDigits[] = L"0123456789ABCDEF";

/// The value of an ASCII hexadecimal digit of either case; -1 for any other character.
constexpr int32_t GetHexDigitValue(wchar_t ch) {
    if (ch >= L'0' && ch <= L'9') {
        return ch - L'0';
    }
    if (ch >= L'a' && ch <= L'f') {
        return ch - L'a' + 10;
    }
    if (ch >= L'A' && ch <= L'F') {
        return ch - L'A' + 10;
    }
    return -1;
}
