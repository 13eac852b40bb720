#include "core/VnString.h"

#include "core/VnBuffer.h"
#include "core/VnStringDetail.h"
#include "core/VnUTF8Steps.h"

#include <algorithm>
#include <cstring>

namespace {

/// First and later capacity of the UTF-8 decoder: most texts of a library fit into the first two.
constexpr int32_t kFirstDecodeSize = 31;
constexpr int32_t kSecondDecodeSize = 260;

/// A byte that is no UTF-8 stands in text from the file system as this plus the byte.
constexpr uint32_t kEscapedByte = 0xDC00;

/// A character, and the bytes that it took.
struct Decoded {
    uint32_t Character;
    uint32_t Size;
};

uint32_t ByteAt(const char* bytes) {
    return static_cast<unsigned char>(*bytes);
}

/// Whether the bytes from the second to number `count` are there and all of the form 10xxxxxx.
bool HasContinuation(const char* bytes, std::size_t left, std::size_t count) {
    return left >= count && std::all_of(bytes + 1, bytes + count, [](char byte) {
               return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
           });
}

/// The value of a sequence of `size` bytes whose form was tested.
uint32_t Combine(const char* bytes, uint32_t size) {
    uint32_t value = ByteAt(bytes) & (0xFFU >> (size + 1));
    for (uint32_t i = 1; i < size; ++i) {
        value = value << 6U | (ByteAt(bytes + i) & 0x3FU);
    }
    return value;
}

/// The bytes that a lead byte announces, 1 for one that is no lead byte.
uint32_t SequenceSize(uint32_t lead) {
    if (lead < 0xC0 || lead > 0xF7) {
        return 1;
    }
    return lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
}

/// Any text: what is malformed comes in as characters of the bytes' own values, four bytes as "?".
struct LenientDecoder {
    static constexpr bool kLossless = false;
    static Decoded Decode(const char* bytes, std::size_t left) {
        const uint32_t size = SequenceSize(ByteAt(bytes));
        if (size == 1 || !HasContinuation(bytes, left, size)) {
            return {ByteAt(bytes), 1};
        }
        return {size == 4 ? U'?' : Combine(bytes, size), size};
    }
};

/// Text of the file system: only what the encoder gives back as the same bytes counts as a
/// character, so forms that are longer than need be, surrogates and values above U+10FFFF are
/// escaped byte by byte.
struct LosslessDecoder {
    static constexpr bool kLossless = true;
    static Decoded Decode(const char* bytes, std::size_t left) {
        const uint32_t lead = ByteAt(bytes);
        const uint32_t size = SequenceSize(lead);
        if (size > 1 && HasContinuation(bytes, left, size)) {
            const uint32_t value = Combine(bytes, size);
            const bool isSurrogate = value >= 0xD800 && value < 0xE000;
            if (VnStringDetail::SizeInUTF8(value) == size && !isSurrogate && value < 0x110000) {
                return {value, size};
            }
        }
        return {lead < 0x80 ? lead : kEscapedByte + lead, 1};
    }
};

template<typename DECODER>
void Decode(VnString& text, const char* bytes, std::size_t count) {
    if (count == 0) {
        text.Empty();
        return;
    }
    wchar_t* target = text.GetBuffer(kFirstDecodeSize, true, false);
    int32_t capacity = text.GetCapacity() - 1;
    int32_t length = 0;
    std::size_t at = 0;
    while (at < count) {
        if (length == capacity) {
            text.ReleaseBuffer(length);
            const int32_t wanted =
                capacity < kSecondDecodeSize
                    ? kSecondDecodeSize
                    : VnStringDetail::AddLengths(capacity, static_cast<int64_t>(count - at));
            target = text.GetBuffer(wanted, true, true);
            capacity = text.GetCapacity() - 1;
        }
        const std::size_t room = std::min(count - at, static_cast<std::size_t>(capacity - length));
        const std::size_t run = VnStringDetail::WidenASCII(bytes + at, room, target + length);
        at += run;
        length += static_cast<int32_t>(run);
        if (run == room) {
            continue;
        }
        using Steps = VnUTF8Steps;
        std::size_t taken = 0;
        do {
            taken = 0;
            if (static_cast<std::size_t>(capacity - length) >= Steps::kDecodeStep
                && count - at >= Steps::kDecodeReads) {
                taken = Steps::DecodeEight<DECODER::kLossless>(bytes + at, target + length);
            }
            at += taken;
            length += taken > 0 ? static_cast<int32_t>(Steps::kDecodeStep) : 0;
            // As many bytes as characters are ASCII again.
        } while (taken > Steps::kDecodeStep);
        if (taken == 0 && at < count && length < capacity) {
            const Decoded decoded = DECODER::Decode(bytes + at, count - at);
            target[length++] = static_cast<wchar_t>(decoded.Character);
            at += decoded.Size;
        }
    }
    text.ReleaseBuffer(length);
}

/// Whether a character stands for a byte of the file system that is no UTF-8.
bool IsEscapedByte(uint32_t ch) {
    return ch >= kEscapedByte + 0x80 && ch <= kEscapedByte + 0xFF;
}

/// Bytes of the UTF-8 form. With `unescape` a character that stands for a byte counts as that byte.
std::size_t EncodedSize(const wchar_t* text, std::size_t count, bool unescape) {
    const std::size_t size = VnStringDetail::GetSizeInUTF8(text, count);
    if (!unescape || size == count) {
        return size;
    }
    const auto escaped = std::count_if(
        text, text + count, [](wchar_t ch) { return IsEscapedByte(static_cast<uint32_t>(ch)); });
    return size - 2 * static_cast<std::size_t>(escaped);
}

__m128i LoadFour(const wchar_t* text) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(text));
}

/// Whether four characters are all below 0x10000 and, with UNESCAPE, below those that may stand for
/// a byte.
template<bool UNESCAPE>
bool IsShort(const wchar_t* text) {
    const __m128i four = LoadFour(text);
    const __m128i last = _mm_set1_epi32(UNESCAPE ? 0xDBFF : 0xFFFF);
    const __m128i isLarge =
        _mm_or_si128(_mm_cmpgt_epi32(four, last), _mm_cmplt_epi32(four, _mm_setzero_si128()));
    return _mm_movemask_epi8(isLarge) == 0;
}

/// Writes the UTF-8 form; `target` holds what EncodedSize gives for the same arguments.
template<bool UNESCAPE>
void Encode(const wchar_t* text, std::size_t count, char* target) {
    using Steps = VnUTF8Steps;
    // Characters behind a run of ASCII that are taken in small steps before the next run is tried.
    constexpr std::size_t kBetweenRuns = 16;
    std::size_t at = 0;
    while (at < count) {
        const std::size_t run = VnStringDetail::NarrowASCII(text + at, count - at, target);
        at += run;
        target += run;
        for (const std::size_t end = std::min(at + kBetweenRuns, count); at < end;) {
            // Each character has a byte of its own, so that there is room for what the step
            // writes.
            if (count - at >= Steps::kEncodeWrites && IsShort<UNESCAPE>(text + at)) {
                target = Steps::EncodeFour(LoadFour(text + at), target);
                at += Steps::kEncodeStep;
                continue;
            }
            const auto ch = static_cast<uint32_t>(text[at++]);
            if (UNESCAPE && IsEscapedByte(ch)) {
                *target++ = static_cast<char>(ch - kEscapedByte);
            } else {
                target = VnStringDetail::EncodeUTF8(ch, target);
            }
        }
    }
}

char* NewEncoded(const wchar_t* text, int32_t length) {
    const auto count = static_cast<std::size_t>(VnStringDetail::Measure(text, length));
    const std::size_t size = EncodedSize(text, count, true);
    auto* bytes = new char[size + 1];
    Encode<true>(text, count, bytes);
    bytes[size] = 0;
    return bytes;
}

char Narrow(wchar_t ch) {
    const auto code = static_cast<uint32_t>(ch);
    return code < 256 ? static_cast<char>(code) : '?';
}

wchar_t SwapUnit(uint16_t unit) {
    return static_cast<wchar_t>(__builtin_bswap16(unit));
}

} // namespace

// UTF-8

void VnString::SetUTF8(const char* bytes, int64_t length) {
    Decode<LenientDecoder>(*this, bytes, VnStringDetail::MeasureBytes(bytes, length));
}

void VnString::SetFileSystemText(const char* bytes, int64_t length) {
    Decode<LosslessDecoder>(*this, bytes, VnStringDetail::MeasureBytes(bytes, length));
}

void VnString::GetUTF8(VnBuffer& bytes, int32_t length) const {
    const auto all = static_cast<std::size_t>(GetLength());
    // -1 ends at the terminator, which an embedded zero is not.
    const std::size_t count = length < 0 ? all : std::min(all, static_cast<std::size_t>(length));
    bytes.Empty();
    if (count == 0) {
        return;
    }
    // As many bytes as characters are right for most texts, which are then done in one pass.
    uint8_t* target = bytes.Reserve(static_cast<int64_t>(count), false, 0, true);
    const std::size_t run =
        VnStringDetail::NarrowASCII(Characters, count, reinterpret_cast<char*>(target));
    if (run < count) {
        const std::size_t rest = VnStringDetail::GetSizeInUTF8(Characters + run, count - run);
        VnBuffer whole;
        target = whole.Reserve(static_cast<int64_t>(run + rest), false, 0, true);
        std::memcpy(target, bytes.GetData(), run);
        Encode<false>(Characters + run, count - run, reinterpret_cast<char*>(target + run));
        bytes.Swap(whole);
    }
}

VnString VnString::FromUTF8(const char* bytes, int64_t length) {
    VnString result;
    result.SetUTF8(bytes, length);
    return result;
}

VnString VnString::FromFileSystemText(const char* bytes, int64_t length) {
    VnString result;
    result.SetFileSystemText(bytes, length);
    return result;
}

// 8-bit text

void VnString::SetBytes(const char* bytes, int64_t length, bool stopAtZero) {
    std::size_t count = VnStringDetail::MeasureBytes(bytes, length);
    if (stopAtZero && count > 0) {
        count = strnlen(bytes, count);
    }
    if (count == 0) {
        Empty();
        return;
    }
    const int32_t newLength = VnStringDetail::AddLengths(0, static_cast<int64_t>(count));
    VnStringDetail::WidenBytes(bytes, count, GetBuffer(newLength, false, false));
    ReleaseBuffer(newLength);
}

void VnString::GetBytes(VnBuffer& bytes) const {
    bytes.Empty();
    const int32_t length = GetLength();
    if (length > 0) {
        uint8_t* target = bytes.Reserve(length, false, 0, true);
        std::transform(Characters, Characters + length, reinterpret_cast<char*>(target), Narrow);
    }
}

VnString VnString::FromBytes(const char* bytes, int64_t length) {
    VnString result;
    result.SetBytes(bytes, length);
    return result;
}

// 16-bit text

void VnString::SetUTF16(const uint16_t* units, int32_t length, bool detectMark, bool swapBytes) {
    if (units == nullptr || length == 0 || units[0] == 0) {
        Empty();
        return;
    }
    if (detectMark && (units[0] == 0xFFFE || units[0] == 0xFEFF)) {
        swapBytes = swapBytes || units[0] == 0xFFFE;
        ++units;
        length -= length > 0 ? 1 : 0;
    }
    int32_t count = 0;
    while (count != length && units[count] != 0) {
        ++count;
    }
    if (count == 0) {
        Empty();
        return;
    }
    wchar_t* target = GetBuffer(count, false, false);
    if (swapBytes) {
        std::transform(units, units + count, target, SwapUnit);
    } else {
        std::copy(units, units + count, target);
    }
    ReleaseBuffer(count);
}

// Holders

VnStringUTF8::VnStringUTF8(const wchar_t* text, int32_t length) : Bytes(NewEncoded(text, length)) {
}

VnStringUTF8::VnStringUTF8(const VnString& text)
    : Bytes(NewEncoded(text.GetText(), text.GetLength())) {
}

VnStringBytes::VnStringBytes(const wchar_t* text, int32_t length) {
    const int32_t count = VnStringDetail::Measure(text, length);
    Bytes = new char[static_cast<std::size_t>(count) + 1];
    std::transform(text, text + count, Bytes, Narrow);
    Bytes[count] = 0;
}

VnStringUTF16::VnStringUTF16(const wchar_t* text, int32_t length) {
    const int32_t count = VnStringDetail::Measure(text, length);
    Units = new uint16_t[static_cast<std::size_t>(count) + 1];
    std::transform(text, text + count, Units, [](wchar_t ch) { return static_cast<uint16_t>(ch); });
    Units[count] = 0;
}

VnString VnStringUTF16::GetString() const {
    VnString text;
    text.SetUTF16(Units);
    return text;
}
