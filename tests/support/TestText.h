#pragma once

#include "core/VnBuffer.h"
#include "core/VnString.h"

#include <cstddef>
#include <cstdint>
#include <string>

/// A text as bytes, so that a failed comparison prints it.
inline std::string ToBytes(const VnString& text) {
    return VnStringUTF8(text).GetBytes();
}

inline VnString ToText(const std::string& bytes) {
    return VnString::FromFileSystemText(bytes.data(), static_cast<int64_t>(bytes.size()));
}

inline std::string ToBytes(const VnBuffer& buffer) {
    return {reinterpret_cast<const char*>(buffer.GetData()),
            static_cast<std::size_t>(buffer.GetSize())};
}

inline VnBuffer ToBuffer(const std::string& bytes) {
    VnBuffer buffer;
    buffer.Set(bytes.data(), static_cast<int64_t>(bytes.size()));
    return buffer;
}
