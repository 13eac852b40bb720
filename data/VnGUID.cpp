#include "data/VnGUID.h"

#include "core/VnHexDigits.h"

#include <uuid/uuid.h>

#include <cstring>

namespace {

constexpr const wchar_t* kPattern =
    L"\\h\\h\\h\\h\\h\\h\\h\\h-\\h\\h\\h\\h-\\h\\h\\h\\h-\\h\\h\\h\\h-\\h\\h\\h\\h\\h\\h\\h\\h\\h\\h\\h\\h";

/// Places of the bytes of Data4 in the text, counted from the first digit.
constexpr int32_t kData4Places[] = {19, 21, 24, 26, 28, 30, 32, 34};

/// The number that `count` hexadecimal digits make.
uint32_t ReadHex(const wchar_t* digits, int32_t count) {
    uint32_t value = 0;
    for (int32_t i = 0; i < count; ++i) {
        value = value << 4 | static_cast<uint32_t>(GetHexDigitValue(digits[i]));
    }
    return value;
}

/// Writes `count` hexadecimal digits and gives the place behind them.
wchar_t* WriteHex(wchar_t* out, uint32_t value, int32_t count) {
    for (int32_t i = count - 1; i >= 0; --i) {
        *out++ = kHexDigits[value >> (4 * i) & 15];
    }
    return out;
}

} // namespace

void CreateGUID(VnGUID& guid) {
    uuid_t bytes;
    uuid_generate_random(bytes);
    static_assert(sizeof(bytes) == sizeof(guid));
    std::memcpy(&guid, bytes, sizeof(guid));
}

VnString GUIDToString(const VnGUID& guid) {
    wchar_t text[38];
    wchar_t* out = text;
    *out++ = L'{';
    out = WriteHex(out, guid.Data1, 8);
    *out++ = L'-';
    out = WriteHex(out, guid.Data2, 4);
    *out++ = L'-';
    out = WriteHex(out, guid.Data3, 4);
    for (int32_t i = 0; i < 8; ++i) {
        if (i == 0 || i == 2) {
            *out++ = L'-';
        }
        out = WriteHex(out, guid.Data4[i], 2);
    }
    *out++ = L'}';
    return VnString(text, static_cast<int32_t>(out - text));
}

VnGUID StringToGUID(const VnString& text) {
    VnGUID guid;
    const wchar_t* digits = text.GetText();
    if (text.MatchesPattern(L"{" + VnString(kPattern) + L"}", /*caseFlag=*/false)) {
        ++digits;
    } else if (!text.MatchesPattern(kPattern, /*caseFlag=*/false)) {
        return guid;
    }
    guid.Data1 = ReadHex(digits, 8);
    guid.Data2 = static_cast<uint16_t>(ReadHex(digits + 9, 4));
    guid.Data3 = static_cast<uint16_t>(ReadHex(digits + 14, 4));
    for (int32_t i = 0; i < 8; ++i) {
        guid.Data4[i] = static_cast<uint8_t>(ReadHex(digits + kData4Places[i], 2));
    }
    return guid;
}
