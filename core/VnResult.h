#pragma once

#include <cstdint>

/// The call did what was asked.
constexpr int32_t kResultOk = 0;

/// General failure of an operation that reports by a 32-bit code (0x80004005).
constexpr int32_t kResultFailure = static_cast<int32_t>(0x80004005U);
