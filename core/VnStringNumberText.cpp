#include "core/VnString.h"

#include "core/VnNumberText.h"
#include "core/VnStringDetail.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cwchar>
#include <iterator>

namespace {

/// Powers of ten up to the most decimals that SetDouble writes.
constexpr double kPowers[] = {1e0, 1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7, 1e8,
                              1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15, 1e16};
constexpr int32_t kMostDecimals = 16;

/// An integer part of more characters stands alone, without its fraction.
constexpr int32_t kLongestInteger = 191;

/// Below this a double's integer part fits into 64 bits.
constexpr double kLargestInt64 = 9.2e18;

/// Sets `text` by one of the integer writers.
template<typename NUMBER, typename WRITER>
void SetByWriter(VnString& text,
                 WRITER write,
                 NUMBER value,
                 int32_t minimumDigits,
                 int32_t base,
                 uint32_t flags) {
    constexpr int32_t kUsualRoom = 128;
    const int32_t room = VnNumberText::GetRoom(minimumDigits);
    int32_t length = 0;
    if (room <= kUsualRoom) {
        // By way of the stack the text gets a block of its own size.
        wchar_t digits[kUsualRoom];
        write(digits, kUsualRoom, length, value, minimumDigits, base, flags);
        text.Assign(digits, length);
        return;
    }
    wchar_t* buffer = text.GetBuffer(room, false, false);
    write(buffer, room, length, value, minimumDigits, base, flags);
    text.ReleaseBuffer(length);
}

/// std::floor and std::round of a value without sign, which the compiler calls as functions.
double Floor(double value) {
    return value < kLargestInt64 ? static_cast<double>(static_cast<int64_t>(value)) : value;
}
double Round(double value) {
    const double floor = Floor(value);
    return value - floor >= 0.5 ? floor + 1 : floor;
}

/// A value without sign, split at the decimal point.
struct DecimalParts {
    /// `value` rounded half up to as few decimals as it needs, at most `precision` (-1: as many as
    /// there can be), with `keepZeros` to exactly that many.
    DecimalParts(double value, int32_t precision, bool keepZeros) : Integer(Floor(value)) {
        if (precision < 0 || precision > kMostDecimals) {
            precision = kMostDecimals;
        }
        const double fraction = value - Integer;
        while (Places < precision
               && fraction * kPowers[Places] != Floor(fraction * kPowers[Places])) {
            ++Places;
        }
        const double scaled = Round(fraction * kPowers[Places]);
        if (scaled >= kPowers[Places]) {
            Integer += 1;
        } else {
            Fraction = static_cast<uint64_t>(scaled);
        }
        if (keepZeros) {
            Zeros = precision - Places;
        } else {
            DropTrailingZeros();
        }
    }

    double Integer;
    uint64_t Fraction = 0; ///< the decimals as a number of `Places` digits
    int32_t Places = 0;
    int32_t Zeros = 0; ///< to write behind the decimals

private:
    void DropTrailingZeros() {
        while (Places > 0 && Fraction % 10 == 0) {
            Fraction /= 10;
            --Places;
        }
    }
};

/// Up to so many digits a number is put together on the stack.
constexpr int32_t kUsualDigits = 64;

void PutSign(wchar_t* buffer, int32_t& length, double value, uint32_t flags) {
    if (value < 0) {
        buffer[length++] = L'-';
    } else if (value > 0 && (flags & VnString::kDoublePlus) != 0) {
        buffer[length++] = L'+';
    }
}

VnString IntegerText(double integer, int32_t minimumDigits) {
    VnString text;
    if (integer < kLargestInt64) {
        text.SetInt(static_cast<uint64_t>(integer), minimumDigits);
        return text;
    }
    char digits[400];
    static_cast<void>(std::snprintf(digits, sizeof digits, "%.0f", integer));
    text.SetBytes(digits);
    text.Prepend(L'0', std::min(minimumDigits, 0x10000) - text.GetLength());
    return text;
}

} // namespace

wchar_t VnString::GetDecimalSeparator() {
    static const wchar_t separator = [] {
        wchar_t sample[8] = {};
        const int written = std::swprintf(sample, std::size(sample), L"%.1f", 1.1);
        return written > 1 && (sample[1] == L',' || sample[1] == L'.') ? sample[1] : L'.';
    }();
    return separator;
}

void VnString::SetInt(int32_t value, int32_t minimumDigits, int32_t base, uint32_t flags) {
    SetByWriter<int64_t>(*this, VnNumberText::WriteSigned, value, minimumDigits, base, flags);
}

void VnString::SetInt(uint32_t value, int32_t minimumDigits, int32_t base, uint32_t flags) {
    SetByWriter<uint64_t>(*this, VnNumberText::WriteUnsigned, value, minimumDigits, base, flags);
}

void VnString::SetInt(int64_t value, int32_t minimumDigits, int32_t base, uint32_t flags) {
    SetByWriter(*this, VnNumberText::WriteSigned, value, minimumDigits, base, flags);
}

void VnString::SetInt(uint64_t value, int32_t minimumDigits, int32_t base, uint32_t flags) {
    SetByWriter(*this, VnNumberText::WriteUnsigned, value, minimumDigits, base, flags);
}

bool VnNumberText::WriteDouble(wchar_t* buffer,
                               int32_t& position,
                               double value,
                               int32_t precision,
                               bool keepZeros,
                               int32_t minimumIntegerDigits,
                               uint32_t flags) {
    if (!std::isfinite(value) || minimumIntegerDigits > kUsualDigits) {
        return false;
    }
    const DecimalParts parts(std::fabs(value), precision, keepZeros);
    if (parts.Integer >= kLargestInt64) {
        return false;
    }
    const int32_t size = position + kDoubleRoom;
    PutSign(buffer, position, value, flags);
    if (parts.Integer != 0 || (flags & VnString::kDoubleDropZeroInteger) == 0) {
        WriteUnsigned(buffer, size, position, static_cast<uint64_t>(parts.Integer),
                      minimumIntegerDigits, 10, 0);
    }
    if (parts.Places + parts.Zeros > 0) {
        buffer[position++] =
            (flags & VnString::kDoublePoint) != 0 ? L'.' : VnString::GetDecimalSeparator();
    }
    if (parts.Places > 0) {
        WriteUnsigned(buffer, size, position, parts.Fraction, parts.Places, 10, 0);
    }
    position = static_cast<int32_t>(std::fill_n(buffer + position, parts.Zeros, L'0') - buffer);
    return true;
}

void VnString::SetDouble(
    double value, int32_t precision, bool keepZeros, int32_t minimumIntegerDigits, uint32_t flags) {
    wchar_t buffer[VnNumberText::kDoubleRoom];
    int32_t length = 0;
    if (VnNumberText::WriteDouble(buffer, length, value, precision, keepZeros, minimumIntegerDigits,
                                  flags)) {
        Assign(buffer, length);
        return;
    }
    if (!std::isfinite(value)) {
        *this = L'?';
        return;
    }
    const DecimalParts parts(std::fabs(value), precision, keepZeros);
    wchar_t sign[1];
    int32_t signLength = 0;
    PutSign(sign, signLength, value, flags);
    VnString result(sign, signLength);
    if (parts.Integer != 0 || (flags & kDoubleDropZeroInteger) == 0) {
        const VnString integer = IntegerText(parts.Integer, minimumIntegerDigits);
        result += integer;
        if (integer.GetLength() > kLongestInteger) {
            *this = result;
            return;
        }
    }
    if (parts.Places + parts.Zeros > 0) {
        result += (flags & kDoublePoint) != 0 ? L'.' : GetDecimalSeparator();
        if (parts.Places > 0) {
            result += FromInt(static_cast<int64_t>(parts.Fraction), parts.Places);
        }
        for (int32_t i = 0; i < parts.Zeros; ++i) {
            result += L'0';
        }
    }
    *this = result;
}

void VnString::SetIPv4(uint32_t address) {
    Format(L"%d.%d.%d.%d", address >> 24U & 0xFFU, address >> 16U & 0xFFU, address >> 8U & 0xFFU,
           address & 0xFFU);
}

void VnString::SetHex(uint32_t value, bool prefix) {
    Format(prefix ? L"0x%X" : L"%X", value);
}

void VnString::SetPointer(uintptr_t value) {
    Format(L"%p", value);
}

VnString VnString::FromInt(int64_t value, int32_t minimumDigits) {
    VnString text;
    text.SetInt(value, minimumDigits);
    return text;
}
