#include "core/VnString.h"

#include "core/VnHexDigits.h"
#include "core/VnStringArray.h"
#include "core/VnStringDetail.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <type_traits>

namespace {

/// U+2012, which some texts have for a minus sign.
constexpr wchar_t kFigureDash = 0x2012;

/// Exponents of exponents that are followed. Nobody writes even two; the limit bounds the
/// recursion.
constexpr int32_t kDeepestExponent = 8;

int32_t HexDigitValue(wchar_t ch) {
    const int32_t value = GetHexDigitValue(ch);
    return value >= 0 ? value : VnStringDetail::DigitValue(ch);
}

const wchar_t* SkipSpace(const wchar_t* at) {
    while (VnStringGlobals::IsSpace(*at)) {
        ++at;
    }
    return at;
}

/// Reads white space, a sign and digits, and leaves `at` behind them. A value above `largest`
/// becomes `overflow`; a "-" negates in the arithmetic of NUMBER.
template<typename NUMBER, typename DIGIT>
NUMBER ParseInteger(const wchar_t*& at, NUMBER largest, uint32_t base, DIGIT digitValue) {
    at = SkipSpace(at);
    const bool isNegative = *at == L'-';
    if (*at == L'-' || *at == L'+') {
        ++at;
    }
    using BITS = std::make_unsigned_t<NUMBER>;
    const auto limit = static_cast<BITS>(largest);
    BITS value = 0;
    bool overflow = false;
    for (int32_t digit = digitValue(*at); digit >= 0; digit = digitValue(*++at)) {
        overflow = overflow || value > (limit - static_cast<BITS>(digit)) / base;
        value = overflow ? limit : static_cast<BITS>(value * base + static_cast<BITS>(digit));
    }
    return static_cast<NUMBER>(isNegative ? BITS{0} - value : value);
}

template<typename NUMBER>
NUMBER ParseDecimal(const wchar_t* text) {
    return ParseInteger(text, std::numeric_limits<NUMBER>::max(), 10, VnStringDetail::DigitValue);
}

template<typename NUMBER>
NUMBER ParseHexadecimal(const wchar_t* text) {
    if (text[0] == L'0' && text[1] == L'x') {
        text += 2;
    }
    return ParseInteger(text, std::numeric_limits<NUMBER>::max(), 16, HexDigitValue);
}

/// The scan of one floating-point number.
class CDoubleScanner {
public:
    CDoubleScanner(const wchar_t* text, int32_t length, bool anySeparator, bool allowExponent)
        : Text(text)
        , Length(length)
        , AnySeparator(anySeparator)
        , AllowExponent(allowExponent) {}

    /// The number at the present position, which moves behind it.
    double Scan(int32_t depth = 0) {
        const bool isNegative = SkipSigns();
        CDigitSum integer;
        CDigitSum fraction;
        bool inFraction = false;
        double exponent = 0;
        for (; Position < Length; ++Position) {
            const wchar_t ch = Text[Position];
            const int32_t digit = VnStringDetail::DigitValue(ch);
            if (digit >= 0) {
                (inFraction ? fraction : integer).Add(digit);
            } else if ((ch == L',' || ch == L'.') && fraction.IsEmpty()) {
                inFraction = inFraction || AnySeparator || ch == VnString::GetDecimalSeparator();
            } else {
                if (AllowExponent && (ch == L'e' || ch == L'E') && depth < kDeepestExponent) {
                    ++Position;
                    exponent = std::trunc(Scan(depth + 1));
                }
                break;
            }
        }
        double value = integer.GetInteger() + fraction.GetFraction();
        if (exponent != 0 && value != 0) {
            // Digits beyond all bounds with an exponent below them are no number.
            const double scaled = value * std::pow(10.0, exponent);
            value = std::isnan(scaled) ? 0.0 : scaled;
        }
        return isNegative ? -value : value;
    }

    int32_t GetPosition() const { return Position; }

private:
    /// Digits gathered in 64 bits. Those that no longer fit count as places only: they are beyond
    /// what a double holds.
    class CDigitSum {
    public:
        void Add(int32_t digit) {
            if (Value > (std::numeric_limits<int64_t>::max() - 9) / 10) {
                ++Dropped;
                return;
            }
            Value = Value * 10 + digit;
            ++Places;
        }
        bool IsEmpty() const { return Places == 0; }
        double GetInteger() const {
            return static_cast<double>(Value) * (Dropped > 0 ? std::pow(10.0, Dropped) : 1.0);
        }
        double GetFraction() const {
            return Value == 0 ? 0.0 : static_cast<double>(Value) / std::pow(10.0, Places);
        }

    private:
        int64_t Value = 0;
        int32_t Places = 0;
        int32_t Dropped = 0;
    };

    /// Skips blanks and plus signs, then one minus sign; true when there was a minus.
    bool SkipSigns() {
        while (Position < Length && (Text[Position] == L' ' || Text[Position] == L'+')) {
            ++Position;
        }
        if (Position < Length && (Text[Position] == L'-' || Text[Position] == kFigureDash)) {
            ++Position;
            return true;
        }
        return false;
    }

    const wchar_t* Text;
    int32_t Length;
    bool AnySeparator;
    bool AllowExponent;
    int32_t Position = 0;
};

} // namespace

int32_t VnString::ToInt() const {
    return ParseDecimal<int32_t>(Characters);
}

uint32_t VnString::ToUInt() const {
    return ParseDecimal<uint32_t>(Characters);
}

int64_t VnString::ToInt64() const {
    return ParseDecimal<int64_t>(Characters);
}

uint64_t VnString::ToUInt64() const {
    return ParseDecimal<uint64_t>(Characters);
}

int64_t VnString::ToSize() const {
    const wchar_t* at = Characters;
    const auto value = static_cast<uint64_t>(
        ParseInteger(at, std::numeric_limits<int64_t>::max(), 10, VnStringDetail::DigitValue));
    switch (*SkipSpace(at)) {
    case L'K':
    case L'k':
        return static_cast<int64_t>(value << 10U);
    case L'M':
    case L'm':
        return static_cast<int64_t>(value << 20U);
    default:
        return static_cast<int64_t>(value);
    }
}

uint32_t VnString::ToHexInt() const {
    return ParseHexadecimal<uint32_t>(Characters);
}

uint64_t VnString::ToHexInt64() const {
    return ParseHexadecimal<uint64_t>(Characters);
}

double VnString::ToDouble(int32_t* end,
                          bool anySeparator,
                          int32_t maximumCharacters,
                          bool allowExponent) const {
    const int32_t length = std::clamp(maximumCharacters, 0, GetLength());
    CDoubleScanner scanner(Characters, length, anySeparator, allowExponent);
    const double value = scanner.Scan();
    if (end != nullptr) {
        *end = scanner.GetPosition();
    }
    return value;
}

bool VnString::ToBool() const {
    if (VnStringGlobals::IsDigit(Characters[0])) {
        return GetLength() == 1 ? Characters[0] != L'0' : ToDouble() != 0;
    }
    return Compare(L"true", false) == 0 || Compare(L"yes", false) == 0;
}

uint32_t VnString::ToIPv4(bool bigEndianOrder) const {
    constexpr int32_t kParts = 4;
    VnStringArray parts;
    if (parts.Split(*this, L".") != kParts) {
        return 0;
    }
    uint32_t address = 0;
    for (int32_t index = 0; index < kParts; ++index) {
        // A part is a byte, so that no part runs into its neighbour.
        const double value = std::clamp(parts[index].ToDouble(), -1e9, 1e9);
        const uint32_t byte = static_cast<uint32_t>(static_cast<int64_t>(value)) & 0xFFU;
        address |= byte << 8 * (bigEndianOrder ? kParts - 1 - index : index);
    }
    return address;
}

bool VnString::ToMACAddress(uint8_t (&bytes)[6]) const {
    constexpr int32_t kParts = 6;
    VnString text(*this);
    for (const wchar_t separator : {L'.', L':', L'|'}) {
        text.ReplaceChar(separator, L'-');
    }
    VnStringArray parts;
    if (parts.Split(text, L"-") != kParts) {
        return false;
    }
    uint8_t parsed[kParts] = {};
    for (int32_t index = 0; index < kParts; ++index) {
        const uint32_t value = parts[index].ToHexInt();
        if (value > 0xFF) {
            return false;
        }
        parsed[index] = static_cast<uint8_t>(value);
    }
    std::copy(std::begin(parsed), std::end(parsed), bytes);
    return true;
}
