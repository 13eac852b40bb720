#pragma once

#include <cstdint>

/// Writers of numbers as text, into a caller's buffer at a moving position.
///
/// Those of integers refuse, with false and nothing written, a base out of range and a buffer with
/// fewer than 8 free places. A buffer that ends early is filled up and its last place becomes "?".
/// No terminator is written. Their `flags` are those of VnString::NumberFlags; 0 prints "0".
class VnNumberText {
public:
    VnNumberText() = delete;

    /// Places that must be free for a writer to begin.
    static constexpr int32_t kLeastRoom = 8;

    /// Writes `value` in `base` 2 to 36 with at least `minimumDigits` digits behind the sign.
    /// `position` moves behind what was written; `size` is that of the whole buffer.
    static bool WriteSigned(wchar_t* buffer,
                            int32_t size,
                            int32_t& position,
                            int64_t value,
                            int32_t minimumDigits,
                            int32_t base,
                            uint32_t flags);

    /// The same for a value without sign in `base` 2 to 16. Digit groups and ordinals do not apply.
    static bool WriteUnsigned(wchar_t* buffer,
                              int32_t size,
                              int32_t& position,
                              uint64_t value,
                              int32_t minimumDigits,
                              int32_t base,
                              uint32_t flags);

    /// Places that the writer of a floating-point number needs behind `position`.
    static constexpr int32_t kDoubleRoom = 192;

    /// Writes `value` as VnString::SetDouble does, with its flags. False, with nothing written, for
    /// a value that is not finite, an integer part beyond 64 bits and more than 64 digits of it.
    /// (In VnStringNumberText.cpp.)
    static bool WriteDouble(wchar_t* buffer,
                            int32_t& position,
                            double value,
                            int32_t precision,
                            bool keepZeros,
                            int32_t minimumIntegerDigits,
                            uint32_t flags);

    /// Places that a number with `minimumDigits` takes at most, in any base and with any flags.
    static int32_t GetRoom(int32_t minimumDigits);
};
