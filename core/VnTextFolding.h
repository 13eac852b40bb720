#pragma once

#include "core/VnStringManager.h"

#include <cstdint>
#include <cwchar>

/// Folding for loops over many characters: VnStringGlobals::ToLower with its table fetched once.
class VnTextFolding {
public:
    VnTextFolding() : Table(VnStringGlobals::Get().GetLowerTable()) {}

    /// `ch` in lower case.
    wchar_t operator()(wchar_t ch) const {
        const auto code = static_cast<uint32_t>(ch);
        if (code < 256U) [[likely]] {
            return static_cast<wchar_t>(Table[code]);
        }
        return VnStringGlobals::ToLower(ch);
    }

    /// The lower-case form of a character below 256.
    uint32_t FromTable(uint32_t code) const { return Table[code]; }

    /// Whether both characters are the same without regard to case.
    bool IsSame(wchar_t a, wchar_t b) const { return a == b || (*this)(a) == (*this)(b); }

    /// True when the first `length` characters of both runs are equal without regard to case.
    bool IsEqual(const wchar_t* a, const wchar_t* b, int32_t length) const {
        for (int32_t index = 0; index < length; ++index) {
            if (!IsSame(a[index], b[index])) {
                return false;
            }
        }
        return true;
    }

    /// IsEqual for keys: most that are equal are spelled alike, and those that are not begin alike
    /// more often than they end alike, as paths do.
    bool IsEqualKey(const wchar_t* a, const wchar_t* b, int32_t length) const {
        if (std::wmemcmp(a, b, static_cast<size_t>(length)) == 0) {
            return true;
        }
        for (int32_t index = length - 1; index >= 0; --index) {
            if (!IsSame(a[index], b[index])) {
                return false;
            }
        }
        return true;
    }

private:
    const uint32_t* Table;
};

/// A text key on its way through a hash table: its characters, their number and their hash.
struct VnTextKey {
    /// Factor of the text hash: h = h * kHashFactor + character, from h = 0, in 32 bits.
    static constexpr uint32_t kHashFactor = 0x1003fU;

    /// Measures and hashes `text` up to its terminator; null counts as empty. With CASE off each
    /// character is folded.
    template<bool CASE>
    static VnTextKey Make(const wchar_t* text);

    const wchar_t* Text; ///< never null
    int32_t Length;
    uint32_t Hash;
};

template<bool CASE>
VnTextKey VnTextKey::Make(const wchar_t* text) {
    constexpr uint32_t kFactor2 = kHashFactor * kHashFactor;
    constexpr uint32_t kFactor3 = kFactor2 * kHashFactor;
    constexpr uint32_t kFactor4 = kFactor3 * kHashFactor;
    if (text == nullptr) {
        text = L"";
    }
    const VnTextFolding fold;
    const auto code = [&](wchar_t ch) { return static_cast<uint32_t>(CASE ? ch : fold(ch)); };
    const size_t length = std::wcslen(text);
    uint32_t hash = 0;
    size_t index = 0;
    // Four characters a step: one by one, each multiplication would wait for the one before it.
    for (; index + 4 <= length; index += 4) {
        const uint32_t raw[] = {
            static_cast<uint32_t>(text[index]), static_cast<uint32_t>(text[index + 1]),
            static_cast<uint32_t>(text[index + 2]), static_cast<uint32_t>(text[index + 3])};
        hash *= kFactor4;
        if (!CASE && (raw[0] | raw[1] | raw[2] | raw[3]) < 256U) [[likely]] {
            hash += fold.FromTable(raw[0]) * kFactor3 + fold.FromTable(raw[1]) * kFactor2
                    + fold.FromTable(raw[2]) * kHashFactor + fold.FromTable(raw[3]);
        } else {
            hash += code(text[index]) * kFactor3 + code(text[index + 1]) * kFactor2
                    + code(text[index + 2]) * kHashFactor + code(text[index + 3]);
        }
    }
    for (; index < length; ++index) {
        hash = hash * kHashFactor + code(text[index]);
    }
    return {text, static_cast<int32_t>(length), hash};
}
