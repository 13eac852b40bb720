#include "host/CFlacEnd.h"

#include <algorithm>
#include <cstring>
#include <optional>

namespace {

constexpr size_t kTagsBehind = 4096;        // an ID3v1 or APE tag may follow the last frame
constexpr size_t kUnknownFrame = 1U << 20U; // of a stream that does not tell its largest frame

uint8_t CRC8(const uint8_t* bytes, size_t count) {
    uint8_t crc = 0;
    for (size_t index = 0; index < count; ++index) {
        crc = static_cast<uint8_t>(crc ^ bytes[index]);
        for (int bit = 0; bit < 8; ++bit) {
            crc = static_cast<uint8_t>((crc & 0x80) != 0 ? (crc << 1) ^ 0x07 : crc << 1);
        }
    }
    return crc;
}

/// Whether a frame and its check sum end at the end of the file, or at a tag behind it: the sum
/// over both is then 0.
bool EndsWhole(const uint8_t* frame, size_t size) {
    uint16_t crc = 0;
    for (size_t index = 0; index < size; ++index) {
        if (crc == 0 && index > 6 && size - index >= 4
            && (std::memcmp(frame + index, "TAG", 3) == 0
                || std::memcmp(frame + index, "APET", 4) == 0)) {
            return true;
        }
        crc = static_cast<uint16_t>(crc ^ (frame[index] << 8));
        for (int bit = 0; bit < 8; ++bit) {
            crc = static_cast<uint16_t>((crc & 0x8000) != 0 ? (crc << 1) ^ 0x8005 : crc << 1);
        }
    }
    return crc == 0;
}

/// The number in the form of a long UTF-8 sequence; moves `offset` past it.
std::optional<uint64_t> ReadCodedNumber(const uint8_t* bytes, size_t size, size_t& offset) {
    if (offset >= size) {
        return std::nullopt;
    }
    const uint8_t first = bytes[offset++];
    if (first < 0x80) {
        return first;
    }
    int following = 0;
    while (following < 6 && (first & (0x40 >> following)) != 0) {
        ++following;
    }
    if (following == 0) {
        return std::nullopt;
    }
    uint64_t value = first & (0x3F >> following);
    for (int index = 0; index < following; ++index) {
        if (offset >= size || (bytes[offset] & 0xC0) != 0x80) {
            return std::nullopt;
        }
        value = value << 6 | (bytes[offset++] & 0x3F);
    }
    return value;
}

/// The samples of a frame by the code in its header; moves `offset` past the bytes that some codes
/// need.
std::optional<uint32_t>
ReadBlockSize(uint8_t code, const uint8_t* bytes, size_t size, size_t& offset) {
    if (code == 0) {
        return std::nullopt;
    }
    if (code == 1) {
        return 192;
    }
    if (code <= 5) {
        return 576U << (code - 2U);
    }
    if (code >= 8) {
        return 256U << (code - 8U);
    }
    const size_t count = code == 6 ? 1 : 2;
    if (offset + count > size) {
        return std::nullopt;
    }
    uint32_t value = bytes[offset++];
    if (count == 2) {
        value = value << 8 | bytes[offset++];
    }
    return value + 1;
}

} // namespace

CFlacEnd::CFlacEnd(const uint8_t* streamInfo)
    : SmallestBlock(static_cast<uint32_t>(streamInfo[0]) << 8 | streamInfo[1])
    , LargestBlock(static_cast<uint32_t>(streamInfo[2]) << 8 | streamInfo[3])
    , TotalSamples(static_cast<uint64_t>(streamInfo[13] & 0x0F) << 32
                   | static_cast<uint64_t>(streamInfo[14]) << 24
                   | static_cast<uint64_t>(streamInfo[15]) << 16
                   | static_cast<uint64_t>(streamInfo[16]) << 8 | streamInfo[17])
    , TailSize(static_cast<size_t>(streamInfo[7]) << 16 | static_cast<size_t>(streamInfo[8]) << 8
               | streamInfo[9]) {
    TailSize = (TailSize == 0 ? kUnknownFrame : TailSize) + kTagsBehind;
}

bool CFlacEnd::HasLastFrame(const uint8_t* bytes, size_t size) const {
    if (TotalSamples == 0) {
        return true;
    }
    for (size_t start = size; start-- > 0;) {
        if (bytes[start] == 0xFF && IsLastFrame(bytes + start, size - start)) {
            return true;
        }
    }
    return false;
}

bool CFlacEnd::IsLastFrame(const uint8_t* frame, size_t size) const {
    if (size < 6 || (frame[1] & 0xFE) != 0xF8) {
        return false;
    }
    size_t offset = 4;
    const std::optional<uint64_t> number = ReadCodedNumber(frame, size, offset);
    const std::optional<uint32_t> samples = ReadBlockSize(frame[2] >> 4, frame, size, offset);
    if (!number || !samples) {
        return false;
    }
    const uint8_t rate = frame[2] & 0x0F;
    offset += rate == 12 ? 1 : rate == 13 || rate == 14 ? 2 : 0;
    if (offset >= size || CRC8(frame, offset) != frame[offset]) {
        return false;
    }
    const bool variable = (frame[1] & 1) != 0;
    const uint64_t first = variable ? *number : *number * std::max(SmallestBlock, LargestBlock);
    return first + *samples == TotalSamples && EndsWhole(frame, size);
}
