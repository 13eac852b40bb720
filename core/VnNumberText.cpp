#include "core/VnNumberText.h"

#include "core/VnString.h"

#include <algorithm>
#include <array>
#include <bit>
#include <type_traits>

namespace {

/// A 64-bit number has as many digits in base 2.
constexpr int32_t kMostDigits = 64;

/// Sign or plus, "0x", and the two letters of an ordinal.
constexpr int32_t kMostExtras = 8;

/// More leading zeros than this serve no reader; the limit keeps a mistyped template from filling
/// memory.
constexpr int32_t kMostMinimumDigits = 0x10000;

/// Writes into a buffer up to its end and marks a number that did not fit.
class CWriter {
public:
    CWriter(wchar_t* buffer, int32_t size, int32_t& position)
        : Buffer(buffer)
        , Size(size)
        , Position(position) {}

    void Put(wchar_t ch) {
        if (Position < Size) {
            Buffer[Position++] = ch;
        } else {
            Buffer[Size - 1] = L'?';
        }
    }

    /// Room for `count` places that the caller fills, or null when they do not fit.
    wchar_t* Take(int32_t count) {
        if (count > Size - Position) {
            return nullptr;
        }
        wchar_t* const taken = Buffer + Position;
        Position += count;
        return taken;
    }

    void Put(const wchar_t* text) {
        for (; *text != 0; ++text) {
            Put(*text);
        }
    }

private:
    wchar_t* Buffer;
    int32_t Size;
    int32_t& Position;
};

/// The smallest number of one digit more: a number at or above the n-th has n + 2 digits or more.
constexpr auto kPowersOfTen = [] {
    std::array<uint64_t, 19> powers{};
    uint64_t power = 1;
    for (uint64_t& entry : powers) {
        entry = power *= 10;
    }
    return powers;
}();

int32_t CountDigits(uint64_t value, uint32_t base) {
    int32_t count = 1;
    switch (base) {
    case 10:
        for (const uint64_t power : kPowersOfTen) {
            if (value < power) {
                break;
            }
            ++count;
        }
        return count;
    case 16:
        return (static_cast<int32_t>(std::bit_width(value | 1U)) + 3) / 4;
    default:
        while ((value /= base) != 0) {
            ++count;
        }
        return count;
    }
}

template<typename BASE>
void WriteDigitsTo(wchar_t* end, uint64_t value, BASE base, const wchar_t* letters) {
    do {
        *--end = letters[value % base];
        value /= base;
    } while (value != 0);
}

/// Writes the digits of a number so that the last one stands ahead of `end`.
void WriteDigits(wchar_t* end, uint64_t value, uint32_t base, const wchar_t* letters) {
    // A division by a constant is none; nearly all numbers are in one of these bases.
    switch (base) {
    case 10:
        WriteDigitsTo(end, value, std::integral_constant<uint32_t, 10>(), letters);
        break;
    case 16:
        WriteDigitsTo(end, value, std::integral_constant<uint32_t, 16>(), letters);
        break;
    default:
        WriteDigitsTo(end, value, base, letters);
        break;
    }
}

/// Writes a number with leading zeros or blanks; `separator` 0 writes no groups.
void PutNumber(CWriter& writer,
               uint64_t value,
               uint32_t base,
               int32_t minimumDigits,
               uint32_t flags,
               wchar_t separator) {
    const wchar_t* letters = (flags & VnString::kNumberLowerCase) != 0
                                 ? L"0123456789abcdefghijklmnopqrstuvwxyz"
                                 : L"0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ";
    const bool blanks = (flags & VnString::kNumberBlanks) != 0;
    const wchar_t filler = blanks ? L' ' : L'0';
    const int32_t count = CountDigits(value, base);
    const int32_t total = std::max(count, std::min(minimumDigits, kMostMinimumDigits));
    if (wchar_t* target = separator == 0 ? writer.Take(total) : nullptr) {
        std::fill_n(target, total - count, filler);
        WriteDigits(target + total, value, base, letters);
        return;
    }
    wchar_t digits[kMostDigits];
    WriteDigits(digits + count, value, base, letters);
    for (int32_t place = total - 1; place >= 0; --place) {
        const bool isLeading = place >= count;
        writer.Put(isLeading ? filler : digits[count - 1 - place]);
        // Blanks are no digits, so no separator stands between them.
        if (separator != 0 && place > 0 && place % 3 == 0 && !(isLeading && blanks)) {
            writer.Put(separator);
        }
    }
}

/// `value` is without its sign and was written in `base`.
const wchar_t* OrdinalSuffix(uint64_t value, uint32_t base) {
    if (value / base % base == 1) {
        return L"th";
    }
    switch (value % base) {
    case 1:
        return L"st";
    case 2:
        return L"nd";
    case 3:
        return L"rd";
    default:
        return L"th";
    }
}

bool CanWrite(int32_t size, int32_t position, int32_t base, int32_t largestBase) {
    return position >= 0 && size - position >= VnNumberText::kLeastRoom && base >= 2
           && base <= largestBase;
}

void PutPrefix(CWriter& writer, int32_t base, uint32_t flags) {
    if (base == 16 && (flags & VnString::kNumberHexPrefix) != 0) {
        writer.Put(L"0x");
    }
}

} // namespace

int32_t VnNumberText::GetRoom(int32_t minimumDigits) {
    const int32_t digits = std::clamp(minimumDigits, kMostDigits, kMostMinimumDigits);
    return digits + digits / 3 + kMostExtras;
}

bool VnNumberText::WriteSigned(wchar_t* buffer,
                               int32_t size,
                               int32_t& position,
                               int64_t value,
                               int32_t minimumDigits,
                               int32_t base,
                               uint32_t flags) {
    if (!CanWrite(size, position, base, 36)) {
        return false;
    }
    CWriter writer(buffer, size, position);
    if (value < 0) {
        writer.Put(L'-');
    } else if (value > 0 && (flags & VnString::kNumberPlus) != 0) {
        writer.Put(L'+');
    }
    PutPrefix(writer, base, flags);
    const auto bits = static_cast<uint64_t>(value);
    const uint64_t magnitude = value < 0 ? 0 - bits : bits;
    wchar_t separator = 0;
    if ((flags & VnString::kNumberGroups) != 0) {
        separator = VnString::GetDecimalSeparator() == L'.' ? L',' : L'.';
    }
    PutNumber(writer, magnitude, static_cast<uint32_t>(base), minimumDigits, flags, separator);
    if ((flags & VnString::kNumberOrdinal) != 0) {
        writer.Put(OrdinalSuffix(magnitude, static_cast<uint32_t>(base)));
    }
    return true;
}

bool VnNumberText::WriteUnsigned(wchar_t* buffer,
                                 int32_t size,
                                 int32_t& position,
                                 uint64_t value,
                                 int32_t minimumDigits,
                                 int32_t base,
                                 uint32_t flags) {
    if (!CanWrite(size, position, base, 16)) {
        return false;
    }
    CWriter writer(buffer, size, position);
    if ((flags & VnString::kNumberPlus) != 0) {
        writer.Put(L'+');
    }
    PutPrefix(writer, base, flags);
    PutNumber(writer, value, static_cast<uint32_t>(base), minimumDigits, flags, 0);
    return true;
}
