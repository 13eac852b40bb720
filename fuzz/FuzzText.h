#pragma once

#include "core/VnString.h"

#include <cstddef>
#include <cstdint>

/// The input as text, the way a file of the device comes in.
inline VnString TextOf(const uint8_t* data, size_t size) {
    return VnString::FromFileSystemText(reinterpret_cast<const char*>(data),
                                        static_cast<int64_t>(size));
}

/// Ends the program when a promise of the code under test does not hold.
inline void Require(bool holds) {
    if (!holds) {
        __builtin_trap();
    }
}
