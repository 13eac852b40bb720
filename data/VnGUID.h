#pragma once

#include "core/VnString.h"

#include <cstdint>

/// A globally unique identifier of 16 bytes.
///
/// The first three fields are numbers in the machine's byte order, so on a little-endian machine
/// the text form shows the bytes of a random identifier reversed in its first three groups.
struct VnGUID {
    uint32_t Data1 = 0;    ///< first group of the text form
    uint16_t Data2 = 0;    ///< second group
    uint16_t Data3 = 0;    ///< third group
    uint8_t Data4[8] = {}; ///< fourth group (two bytes) and fifth group (six), in byte order

    bool operator==(const VnGUID&) const = default;
};

static_assert(sizeof(VnGUID) == 16);

/// Fills `guid` with 16 random bytes, used as they come.
void CreateGUID(VnGUID& guid);

/// The text form "{XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}", with upper-case hexadecimal digits.
VnString GUIDToString(const VnGUID& guid);

/// Reads the text form, with or without the braces, digits in either case. Any other text gives
/// the identifier whose bytes are all zero.
VnGUID StringToGUID(const VnString& text);
