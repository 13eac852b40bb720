#pragma once

#include "core/VnString.h"

#include <cstdint>

/// A text reduced to its 64-bit hash (VnString::Hash64); two texts of equal hash count as the same.
/// With CASE off the hash folds letter case. A map hashes it by its low 32 bits and compares
/// all 64.
template<bool CASE>
class VnStringHashBase {
public:
    VnStringHashBase() = default;
    VnStringHashBase(const VnString& text) // NOLINT(google-explicit-constructor)
        : Hash(text.Hash64(!CASE)) {}
    VnStringHashBase(const wchar_t* text) // NOLINT(google-explicit-constructor)
        : Hash(VnString::Hash64Of(text, !CASE)) {}
    /// A hash that the caller made, for instance by another case rule.
    explicit VnStringHashBase(uint64_t hash) : Hash(hash) {}

    explicit operator uint64_t() const { return Hash; }
    bool operator==(const VnStringHashBase&) const = default;

private:
    uint64_t Hash = 0;
};

static_assert(sizeof(VnStringHashBase<false>) == 8);
