#pragma once

#include "core/VnString.h"

#include <string>

/// A text as bytes, so that a failed comparison prints it.
inline std::string ToBytes(const VnString& text) {
    return VnStringUTF8(text).GetBytes();
}

inline VnString ToText(const std::string& bytes) {
    return VnString::FromFileSystemText(bytes.data(), static_cast<int64_t>(bytes.size()));
}
