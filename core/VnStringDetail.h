#pragma once

#include <cstddef>
#include <cstdint>
#include <cwchar>
#include <limits>
#include <new>
#include <string_view>

/// Helpers that several sources of VnString and VnBuffer share. No public header includes this one.
/// They work on characters and counts and know nothing of the blocks.
class VnStringDetail {
public:
    VnStringDetail() = delete;

    /// The length of a text with null counting as empty.
    static int32_t Measure(const wchar_t* text) {
        return text == nullptr ? 0 : static_cast<int32_t>(std::wcslen(text));
    }

    /// The length of a text of `count` characters, where -1 means up to the terminator; null is
    /// empty.
    static int32_t Measure(const wchar_t* text, int32_t count) {
        return text != nullptr && count >= 0 ? count : Measure(text);
    }

    /// The bytes of a text of `count` bytes, where -1 means up to the zero byte; null is empty.
    static std::size_t MeasureBytes(const char* bytes, int64_t count) {
        if (bytes == nullptr) {
            return 0;
        }
        return count >= 0 ? static_cast<std::size_t>(count) : std::char_traits<char>::length(bytes);
    }

    /// The sum of two lengths; raises the failure of an array that is too long when int32 cannot
    /// hold it.
    static int32_t AddLengths(int64_t left, int64_t right) {
        if (left + right >= std::numeric_limits<int32_t>::max()) {
            throw std::bad_array_new_length();
        }
        return static_cast<int32_t>(left + right);
    }

    /// Whether two runs of `count` characters are equal, exactly or in any letter case.
    static bool EqualRuns(const wchar_t* left, const wchar_t* right, int32_t count, bool caseFlag);

    /// Position of `pattern` in `text` at or behind `start`, -1 when there is none. An empty
    /// pattern is found at `start`. Zero characters count like any other.
    static int32_t
    FindIn(std::wstring_view text, std::wstring_view pattern, int32_t start, bool caseFlag);

    /// The value of a decimal digit of any script that counts, -1 for every other character.
    static int32_t DigitValue(wchar_t ch);

    /// Widens bytes below 0x80 up to the first other byte or the end; the result is their number.
    /// All `count` characters of the target may be written to.
    static std::size_t WidenASCII(const char* bytes, std::size_t count, wchar_t* target);

    /// Widens every byte unchanged.
    static void WidenBytes(const char* bytes, std::size_t count, wchar_t* target);

    /// Narrows characters below 0x80 up to the first other one or the end; the result is their
    /// number. All `count` bytes of the target may be written to.
    static std::size_t NarrowASCII(const wchar_t* characters, std::size_t count, char* target);

    /// Bytes that EncodeUTF8 writes for `ch`.
    static std::size_t SizeInUTF8(uint32_t ch) {
        return ch < 0x80 ? 1U : ch < 0x800 ? 2U : ch < 0x10000 ? 3U : 4U;
    }

    /// Bytes that EncodeUTF8 writes for all of `count` characters.
    static std::size_t GetSizeInUTF8(const wchar_t* characters, std::size_t count);

    /// Writes the UTF-8 form of `ch` and gives the place behind it.
    static char* EncodeUTF8(uint32_t ch, char* target) {
        const auto put = [&target](uint32_t byte) { *target++ = static_cast<char>(byte); };
        if (ch < 0x80) {
            put(ch);
            return target;
        }
        if (ch < 0x800) {
            put(0xC0U | ch >> 6U);
        } else {
            if (ch < 0x10000) {
                put(0xE0U | ch >> 12U);
            } else {
                put(0xF0U | (ch >> 18U & 7U));
                put(0x80U | (ch >> 12U & 0x3FU));
            }
            put(0x80U | (ch >> 6U & 0x3FU));
        }
        put(0x80U | (ch & 0x3FU));
        return target;
    }

    /// Members of a set of characters given as text; those below 256 are looked up in a bit map.
    class CCharacterSet {
    public:
        /// `characters` is read later too; null is the empty set.
        explicit CCharacterSet(const wchar_t* characters) {
            if (characters == nullptr) {
                return;
            }
            for (const wchar_t* at = characters; *at != 0; ++at) {
                const auto ch = static_cast<uint32_t>(*at);
                if (ch < 256) {
                    Low[ch / 64] |= uint64_t{1} << (ch % 64);
                } else {
                    All = characters;
                }
            }
        }

        bool Has(wchar_t ch) const {
            const auto code = static_cast<uint32_t>(ch);
            if (code < 256) {
                return (Low[code / 64] >> (code % 64) & 1U) != 0;
            }
            return All != nullptr && std::wcschr(All, ch) != nullptr;
        }

    private:
        uint64_t Low[4] = {};         ///< members below 256
        const wchar_t* All = nullptr; ///< the whole set, when it has members from 256 up
    };
};
