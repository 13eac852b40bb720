#include "core/VnNumberText.h"

#include "core/VnString.h"

#include <algorithm>
#include <limits>
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

/// The digits of a number, the last one first.
struct Digits {
    Digits(uint64_t value, uint32_t base) {
        // A division by a constant is none; nearly all numbers are in one of these bases.
        switch (base) {
        case 10:
            Fill(value, std::integral_constant<uint32_t, 10>());
            break;
        case 16:
            Fill(value, std::integral_constant<uint32_t, 16>());
            break;
        default:
            Fill(value, base);
            break;
        }
    }

    uint8_t Values[kMostDigits]; // the first two are always set
    int32_t Count = 0;

private:
    template<typename BASE>
    void Fill(uint64_t value, BASE base) {
        Values[1] = 0;
        do {
            Values[Count++] = static_cast<uint8_t>(value % base);
            value /= base;
        } while (value != 0);
    }
};

/// Writes the digits with leading zeros or blanks; `separator` 0 writes no groups.
void PutDigits(CWriter& writer,
               const Digits& digits,
               int32_t minimumDigits,
               uint32_t flags,
               wchar_t separator) {
    const wchar_t* letters = (flags & VnString::kNumberLowerCase) != 0
                                 ? L"0123456789abcdefghijklmnopqrstuvwxyz"
                                 : L"0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ";
    const bool blanks = (flags & VnString::kNumberBlanks) != 0;
    const int32_t total = std::max(digits.Count, std::min(minimumDigits, kMostMinimumDigits));
    if (wchar_t* target = separator == 0 ? writer.Take(total) : nullptr) {
        target = std::fill_n(target, total - digits.Count, blanks ? L' ' : L'0');
        for (int32_t place = digits.Count - 1; place >= 0; --place) {
            *target++ = letters[digits.Values[place]];
        }
        return;
    }
    for (int32_t place = total - 1; place >= 0; --place) {
        const bool isLeading = place >= digits.Count;
        if (isLeading) {
            writer.Put(blanks ? L' ' : L'0');
        } else {
            writer.Put(letters[digits.Values[place]]);
        }
        // Blanks are no digits, so no separator stands between them.
        if (separator != 0 && place > 0 && place % 3 == 0 && !(isLeading && blanks)) {
            writer.Put(separator);
        }
    }
}

const wchar_t* OrdinalSuffix(const Digits& digits) {
    if (digits.Values[1] == 1) {
        return L"th";
    }
    switch (digits.Values[0]) {
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
    const Digits digits(value < 0 ? 0 - bits : bits, static_cast<uint32_t>(base));
    wchar_t separator = 0;
    if ((flags & VnString::kNumberGroups) != 0) {
        separator = VnString::GetDecimalSeparator() == L'.' ? L',' : L'.';
    }
    PutDigits(writer, digits, minimumDigits, flags, separator);
    if ((flags & VnString::kNumberOrdinal) != 0) {
        writer.Put(OrdinalSuffix(digits));
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
    PutDigits(writer, Digits(value, static_cast<uint32_t>(base)), minimumDigits, flags, 0);
    return true;
}
