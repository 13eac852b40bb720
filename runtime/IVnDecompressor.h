#pragma once

#include <cstdint>

/// A decoding stream over a caller's bytes.
class IVnDecompressor {
public:
    /// Slots 0 and 1.
    virtual ~IVnDecompressor() = default;
    /// Slot 2. Up to `size` decoded bytes; 0 at the end, -1 on damaged data.
    virtual int32_t Read(void* target, int32_t size) = 0;
};
