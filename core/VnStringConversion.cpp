#include "core/VnString.h"

#include "core/VnBuffer.h"
#include "core/VnStringDetail.h"

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
Decoded DecodeLenient(const char* bytes, std::size_t left) {
    const uint32_t size = SequenceSize(ByteAt(bytes));
    if (size == 1 || !HasContinuation(bytes, left, size)) {
        return {ByteAt(bytes), 1};
    }
    return {size == 4 ? U'?' : Combine(bytes, size), size};
}

/// Text of the file system: only what the encoder gives back as the same bytes counts as a
/// character, so forms that are longer than need be, surrogates and values above U+10FFFF are
/// escaped byte by byte.
Decoded DecodeLossless(const char* bytes, std::size_t left) {
    const uint32_t lead = ByteAt(bytes);
    if (lead < 0x80) {
        return {lead, 1};
    }
    const uint32_t size = SequenceSize(lead);
    if (size > 1 && HasContinuation(bytes, left, size)) {
        const uint32_t value = Combine(bytes, size);
        const bool isSurrogate = value >= 0xD800 && value < 0xE000;
        if (VnStringDetail::SizeInUTF8(value) == size && !isSurrogate && value < 0x110000) {
            return {value, size};
        }
    }
    return {kEscapedByte + lead, 1};
}

template<typename DECODER>
void Decode(VnString& text, const char* bytes, std::size_t count, DECODER decode) {
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
        if (run < room) {
            const Decoded decoded = decode(bytes + at, count - at);
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

std::size_t EncodedSize(const wchar_t* text, std::size_t count, bool unescape) {
    std::size_t size = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const auto ch = static_cast<uint32_t>(text[i]);
        size += unescape && IsEscapedByte(ch) ? 1U : VnStringDetail::SizeInUTF8(ch);
    }
    return size;
}

/// Writes the UTF-8 form; `target` holds what EncodedSize gives for the same arguments.
void Encode(const wchar_t* text, std::size_t count, bool unescape, char* target) {
    std::size_t at = 0;
    while (at < count) {
        const std::size_t run = VnStringDetail::NarrowASCII(text + at, count - at, target);
        at += run;
        target += run;
        if (at < count) {
            const auto ch = static_cast<uint32_t>(text[at++]);
            if (unescape && IsEscapedByte(ch)) {
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
    Encode(text, count, true, bytes);
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
    Decode(*this, bytes, VnStringDetail::MeasureBytes(bytes, length), DecodeLenient);
}

void VnString::SetFileSystemText(const char* bytes, int64_t length) {
    Decode(*this, bytes, VnStringDetail::MeasureBytes(bytes, length), DecodeLossless);
}

void VnString::GetUTF8(VnBuffer& bytes, int32_t length) const {
    const auto all = static_cast<std::size_t>(GetLength());
    // -1 ends at the terminator, which an embedded zero is not.
    const std::size_t count = length < 0 ? all : std::min(all, static_cast<std::size_t>(length));
    bytes.Empty();
    if (count > 0) {
        const std::size_t size = EncodedSize(Characters, count, false);
        uint8_t* target = bytes.Reserve(static_cast<int64_t>(size), false, 0, true);
        Encode(Characters, count, false, reinterpret_cast<char*>(target));
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
