#include "core/VnString.h"

#include "core/VnBuffer.h"
#include "core/VnHexDigits.h"
#include "core/VnStringDetail.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>

namespace {

// The alphabet of RFC 4648, section 4.
constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// Lines are put together in registers.
static_assert(std::endian::native == std::endian::little);

/// The two digits of 12 bits, the first one in the low byte.
constexpr std::array<uint16_t, 4096> kDigitPairs = [] {
    std::array<uint16_t, 4096> pairs{};
    for (uint32_t bits = 0; bits < pairs.size(); ++bits) {
        pairs[bits] = static_cast<uint16_t>(kAlphabet[bits >> 6] | kAlphabet[bits & 63] << 8);
    }
    return pairs;
}();

constexpr int64_t kLineLength = 64;
constexpr int64_t kLineBytes = kLineLength / 4 * 3;
constexpr int64_t kDecodeGrowStep = 16384;

constexpr uint8_t kPadding = 64; ///< class of "="; the digits have their value
constexpr uint8_t kLineEnd = 65; ///< class of CR and LF
constexpr uint8_t kNoDigit = 66;

constexpr std::array<uint8_t, 256> MakeDigitTable() {
    std::array<uint8_t, 256> table{};
    table.fill(kNoDigit);
    for (uint8_t value = 0; value < 64; ++value) {
        table[static_cast<uint8_t>(kAlphabet[value])] = value;
    }
    table['='] = kPadding;
    table['\r'] = kLineEnd;
    table['\n'] = kLineEnd;
    return table;
}

constexpr std::array<uint8_t, 256> kDigits = MakeDigitTable();

uint8_t GetDigitClass(wchar_t ch) {
    const auto code = static_cast<uint32_t>(ch);
    return code < kDigits.size() ? kDigits[code] : kNoDigit;
}

/// Takes the digits of a lenient Base64 text one by one. Line ends are skipped, padding counts and
/// is 0, and so is a character that is no digit.
class CDigitReader {
public:
    CDigitReader(const wchar_t* text, int32_t length) : Next(text), End(text + length) {}

    /// Skips line ends; false at the end of the text.
    bool HasMore() {
        while (Next != End && GetDigitClass(*Next) == kLineEnd) {
            ++Next;
        }
        return Next != End;
    }

    /// The value of the next digit, 0 behind the end of the text.
    uint32_t Take() {
        if (!HasMore()) {
            return 0;
        }
        const uint8_t digit = GetDigitClass(*Next++);
        if (digit == kPadding) {
            ++PaddingCount;
        }
        return digit < kPadding ? digit : 0;
    }

    /// Takes a whole group of plain digits in one step, which is nearly every group there is.
    bool TakePlainGroup(uint32_t& group) {
        if (End - Next < 4) {
            return false;
        }
        const uint32_t a = GetDigitClass(Next[0]);
        const uint32_t b = GetDigitClass(Next[1]);
        const uint32_t c = GetDigitClass(Next[2]);
        const uint32_t d = GetDigitClass(Next[3]);
        if (((a | b | c | d) & ~63U) != 0) {
            return false;
        }
        group = a << 18 | b << 12 | c << 6 | d;
        Next += 4;
        return true;
    }

    int32_t GetPaddingCount() const { return PaddingCount; }

private:
    const wchar_t* Next;
    const wchar_t* End;
    int32_t PaddingCount = 0;
};

/// Writes the digits of a whole line, of which two more bytes are read.
void EncodeLine(const uint8_t* bytes, wchar_t* target) {
    char digits[kLineLength];
    for (char* place = digits; place < digits + kLineLength; place += sizeof(uint64_t)) {
        uint64_t group = 0;
        std::memcpy(&group, bytes, sizeof group);
        group = __builtin_bswap64(group); // the first six bytes stand on top now
        const uint64_t eight = uint64_t{kDigitPairs[group >> 52]}
                               | uint64_t{kDigitPairs[group >> 40 & 4095]} << 16
                               | uint64_t{kDigitPairs[group >> 28 & 4095]} << 32
                               | uint64_t{kDigitPairs[group >> 16 & 4095]} << 48;
        std::memcpy(place, &eight, sizeof eight);
        bytes += 6;
    }
    VnStringDetail::WidenBytes(digits, sizeof digits, target);
}

void DecodeBase64(const wchar_t* text, int32_t length, VnBuffer& bytes) {
    bytes.Empty();
    if (length < 1) {
        return;
    }
    // Every group holds four characters of the text but the last, which may be short.
    const int64_t capacity = int64_t{length} / 4 * 3 + 3;
    uint8_t* const start = bytes.Reserve(capacity, false, kDecodeGrowStep, /*setSize=*/true);
    uint8_t* out = start;
    CDigitReader reader(text, length);
    while (true) {
        uint32_t group = 0;
        if (!reader.TakePlainGroup(group)) {
            if (!reader.HasMore()) {
                break;
            }
            for (int32_t i = 0; i < 4; ++i) {
                group = group << 6 | reader.Take();
            }
        }
        *out++ = static_cast<uint8_t>(group >> 16);
        *out++ = static_cast<uint8_t>(group >> 8);
        *out++ = static_cast<uint8_t>(group);
    }
    const int64_t size = std::max<int64_t>(out - start - reader.GetPaddingCount(), 0);
    bytes.RemoveRight(capacity - size);
}

} // namespace

void VnString::SetHexBytes(const void* bytes, int32_t count) {
    if (bytes == nullptr || count < 1) {
        Empty();
        return;
    }
    const auto* in = static_cast<const uint8_t*>(bytes);
    const int32_t length = VnStringDetail::AddLengths(count, count);
    VnString result;
    wchar_t* out = result.GetBuffer(length, true, false);
    for (int32_t i = 0; i < count; ++i) {
        *out++ = kHexDigits[in[i] >> 4];
        *out++ = kHexDigits[in[i] & 15];
    }
    result.ReleaseBuffer(length);
    Swap(result);
}

void VnString::GetHexBytes(VnBuffer& bytes) const {
    bytes.Empty();
    const int32_t length = GetLength();
    if (length == 0) {
        return;
    }
    const int64_t capacity = (int64_t{length} + 1) / 2;
    uint8_t* out = bytes.Reserve(capacity, false, 0, /*setSize=*/true);
    int64_t size = 0;
    // A text of odd length is read as if a "0" stood in front of it.
    for (int32_t i = -(length & 1); i < length; i += 2) {
        const int32_t high = i < 0 ? 0 : GetHexDigitValue(Characters[i]);
        const int32_t low = GetHexDigitValue(Characters[i + 1]);
        if (high < 0 || low < 0) {
            break;
        }
        out[size++] = static_cast<uint8_t>(high << 4 | low);
    }
    bytes.RemoveRight(capacity - size);
}

void VnString::SetBase64(const void* bytes, int32_t count, bool lineBreaks) {
    if (bytes == nullptr || count < 1) {
        Empty();
        return;
    }
    const int64_t digits = (int64_t{count} + 2) / 3 * 4;
    const int64_t breaks = lineBreaks ? (digits + kLineLength - 1) / kLineLength - 1 : 0;
    const int32_t length = VnStringDetail::AddLengths(digits, breaks);
    VnString result;
    wchar_t* out = result.GetBuffer(length, true, false);
    const auto* in = static_cast<const uint8_t*>(bytes);
    const uint8_t* const end = in + count;
    const uint8_t* lineEnd = lineBreaks ? in + kLineBytes : end;
    const auto breakLine = [&] {
        if (in == lineEnd) {
            *out++ = L'\n';
            lineEnd += kLineBytes;
        }
    };
    for (; end - in >= kLineBytes + 2; in += kLineBytes) {
        breakLine();
        EncodeLine(in, out);
        out += kLineLength;
    }
    const auto putDigits = [&out](uint32_t group) {
        out[0] = static_cast<wchar_t>(kAlphabet[group >> 18]);
        out[1] = static_cast<wchar_t>(kAlphabet[group >> 12 & 63]);
        out[2] = static_cast<wchar_t>(kAlphabet[group >> 6 & 63]);
        out[3] = static_cast<wchar_t>(kAlphabet[group & 63]);
        out += 4;
    };
    for (; end - in >= 3; in += 3) {
        breakLine();
        putDigits(static_cast<uint32_t>(in[0]) << 16 | static_cast<uint32_t>(in[1]) << 8 | in[2]);
    }
    if (in != end) {
        breakLine();
        const bool hasTwo = end - in == 2;
        putDigits(static_cast<uint32_t>(in[0]) << 16
                  | (hasTwo ? static_cast<uint32_t>(in[1]) << 8 : 0));
        out[-1] = L'=';
        if (!hasTwo) {
            out[-2] = L'=';
        }
    }
    result.ReleaseBuffer(length);
    Swap(result);
}

bool VnString::GetBase64(VnBuffer& bytes) const {
    DecodeBase64(Characters, GetLength(), bytes);
    return true;
}

bool VnString::GetBase64Bytes(void* target, int32_t size) const {
    if (target == nullptr || size < 1) {
        return false;
    }
    std::memset(target, 0, static_cast<size_t>(size));
    VnBuffer bytes;
    DecodeBase64(Characters, GetLength(), bytes);
    if (bytes.GetSize() > size) {
        return false;
    }
    if (!bytes.IsEmpty()) {
        std::memcpy(target, bytes.GetData(), static_cast<size_t>(bytes.GetSize()));
    }
    return true;
}
