#pragma once

#include "core/VnString.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

/// The input as text, the way a file of the device comes in.
inline VnString TextOf(const uint8_t* data, size_t size) {
    return VnString::FromFileSystemText(reinterpret_cast<const char*>(data),
                                        static_cast<int64_t>(size));
}

/// Cuts the first line off an input, for targets that take several texts. The last line may be all
/// that is left.
inline VnString TakeLine(const uint8_t*& data, size_t& size) {
    const uint8_t* const end = std::find(data, data + size, '\n');
    const VnString line = TextOf(data, static_cast<size_t>(end - data));
    size -= static_cast<size_t>(end - data);
    data = end;
    if (size > 0) {
        ++data;
        --size;
    }
    return line;
}

/// Cuts one byte off an input, for targets that choose among operations; 0 at the end.
inline uint8_t TakeByte(const uint8_t*& data, size_t& size) {
    if (size == 0) {
        return 0;
    }
    --size;
    return *data++;
}

/// Ends the program when a promise of the code under test does not hold.
inline void Require(bool holds) {
    if (!holds) {
        __builtin_trap();
    }
}
