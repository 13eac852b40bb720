#include "core/VnBuffer.h"

#include <strings.h>

#include <algorithm>
#include <cstring>

namespace {

/// The generator of FillRandom and of the cipher keys: its factor and its summand.
constexpr uint32_t kRandomFactor = 214013;
constexpr uint32_t kRandomSummand = 2531011;

} // namespace

int64_t VnBuffer::Find(const void* bytes, int64_t count, int64_t start, int64_t stride) const {
    if (bytes == nullptr || count < 1 || start < 0 || stride < 1 || count > UsedSize - start) {
        return -1;
    }
    const auto size = static_cast<std::size_t>(count);
    if (stride == 1) {
        const void* hit =
            memmem(Data + start, static_cast<std::size_t>(UsedSize - start), bytes, size);
        return hit == nullptr ? -1 : static_cast<const uint8_t*>(hit) - Data;
    }
    const int64_t last = UsedSize - count;
    int64_t at = start;
    while (std::memcmp(Data + at, bytes, size) != 0) {
        if (stride > last - at) {
            return -1;
        }
        at += stride;
    }
    return at;
}

int64_t VnBuffer::FindText(const char* text, bool caseFlag, int64_t start) const {
    if (text == nullptr || start < 0) {
        return -1;
    }
    const std::size_t size = std::strlen(text);
    if (caseFlag) {
        return Find(text, static_cast<int64_t>(size), start);
    }
    for (int64_t at = start; size > 0 && at <= UsedSize - static_cast<int64_t>(size); ++at) {
        if (strncasecmp(reinterpret_cast<const char*>(Data + at), text, size) == 0) {
            return at;
        }
    }
    return -1;
}

uint32_t VnBuffer::GetBits(int64_t position, int32_t count) const {
    uint32_t bits = 0;
    for (int32_t i = 0; i < std::min(count, 32); ++i) {
        // Unsigned, so that a place ahead of the start lies far behind the end.
        const uint64_t at = static_cast<uint64_t>(position) + static_cast<uint64_t>(i);
        const bool isInside = at / 8 < static_cast<uint64_t>(UsedSize);
        bits = bits << 1U | (isInside ? Data[at / 8] >> (7 - at % 8) & 1U : 0U);
    }
    return bits;
}

void VnBuffer::FillRandom(uint32_t seed) {
    std::generate(Data, Data + UsedSize, [&seed] {
        seed = seed * kRandomFactor + kRandomSummand;
        return static_cast<uint8_t>(seed >> 16U);
    });
}
