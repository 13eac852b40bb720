#pragma once

#include <emmintrin.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

/// Steps of the UTF-8 conversions for text that is not all ASCII. They take several characters
/// without a branch that depends on one of them: in text of several scripts each such branch is a
/// guess, and a wrong one costs more than the character.
class VnUTF8Steps {
public:
    VnUTF8Steps() = delete;

    /// Characters that one step of the decoder gives, and the bytes that it reads.
    static constexpr size_t kDecodeStep = 8;
    static constexpr size_t kDecodeReads = 32;

    /// Characters that one step of the encoder takes, and the bytes that it writes to at most.
    static constexpr size_t kEncodeStep = 4;
    static constexpr size_t kEncodeWrites = 16;

    /// Decodes eight sequences of one to three bytes from `bytes` on; the result is their bytes
    /// together. 0, with `target` written over, when one of them is longer or malformed, or, with
    /// LOSSLESS, would not come back as the same bytes.
    template<bool LOSSLESS>
    static size_t DecodeEight(const char* bytes, wchar_t* target);

    /// Writes the UTF-8 forms of the four characters, all below 0x10000, to `target` and gives the
    /// place behind them.
    static char* EncodeFour(__m128i characters, char* target);

private:
    /// Four characters, each from the bytes of a sequence, the first byte the lowest. With LOSSLESS
    /// `wrong` gets bits where one does not come back.
    template<bool LOSSLESS>
    static __m128i DecodeFour(__m128i words, __m128i& wrong);

    static __m128i Repeat(int32_t value) { return _mm_set1_epi32(value); }
    static __m128i Choose(__m128i mask, __m128i yes, __m128i no) {
        return _mm_or_si128(_mm_and_si128(mask, yes), _mm_andnot_si128(mask, no));
    }
    /// A bit for each byte of a block that, taken as signed, is above `limit`.
    static uint32_t FindAbove(__m128i block, int8_t limit) {
        return static_cast<uint32_t>(
            _mm_movemask_epi8(_mm_cmpgt_epi8(block, _mm_set1_epi8(limit))));
    }

    /// Places of four characters by which of them are longer than one and than two bytes.
    struct Places {
        uint8_t Second;
        uint8_t Third;
        uint8_t Fourth;
        uint8_t End;
    };
    static constexpr std::array<Places, 256> kPlaces = [] {
        std::array<Places, 256> places{};
        for (uint32_t mask = 0; mask < places.size(); ++mask) {
            const auto size = [mask](uint32_t at) {
                return 1U + (mask >> at & 1U) + (mask >> (at + 4) & 1U);
            };
            const uint32_t third = size(0) + size(1);
            const uint32_t fourth = third + size(2);
            places[mask] = {static_cast<uint8_t>(size(0)), static_cast<uint8_t>(third),
                            static_cast<uint8_t>(fourth), static_cast<uint8_t>(fourth + size(3))};
        }
        return places;
    }();
};

template<bool LOSSLESS>
__m128i VnUTF8Steps::DecodeFour(__m128i words, __m128i& wrong) {
    const __m128i lead = _mm_and_si128(words, Repeat(0xFF));
    const __m128i second = _mm_and_si128(_mm_srli_epi32(words, 8), Repeat(0x3F));
    const __m128i third = _mm_and_si128(_mm_srli_epi32(words, 16), Repeat(0x3F));
    const __m128i isLong = _mm_cmpgt_epi32(lead, Repeat(0xBF));
    const __m128i isLongest = _mm_cmpgt_epi32(lead, Repeat(0xDF));
    const __m128i two = _mm_or_si128(_mm_slli_epi32(_mm_and_si128(lead, Repeat(0x1F)), 6), second);
    const __m128i three =
        _mm_or_si128(_mm_or_si128(_mm_slli_epi32(_mm_and_si128(lead, Repeat(0xF)), 12), third),
                     _mm_slli_epi32(second, 6));
    const __m128i values = Choose(isLongest, three, Choose(isLong, two, lead));
    if constexpr (LOSSLESS) {
        const __m128i least = Choose(isLongest, Repeat(0x800), _mm_and_si128(isLong, Repeat(0x80)));
        const __m128i isSurrogate =
            _mm_cmpeq_epi32(_mm_srli_epi32(values, 11), Repeat(0xD800 >> 11));
        wrong = _mm_or_si128(wrong, _mm_or_si128(_mm_cmplt_epi32(values, least), isSurrogate));
    }
    return values;
}

template<bool LOSSLESS>
size_t VnUTF8Steps::DecodeEight(const char* bytes, wchar_t* target) {
    const auto* blocks = reinterpret_cast<const __m128i*>(bytes);
    const __m128i low = _mm_loadu_si128(blocks);
    const __m128i high = _mm_loadu_si128(blocks + 1);
    const auto above = [&](int8_t limit) {
        return FindAbove(low, limit) | FindAbove(high, limit) << 16U;
    };
    // As signed bytes, those from 0x80 up are the negative ones, in the same order.
    const uint32_t isASCII = above(-1);
    uint32_t starts = above(static_cast<int8_t>(0xBF));
    const uint32_t following = ~starts;
    const uint32_t isLong = starts & ~isASCII;
    const uint32_t isLongest = above(static_cast<int8_t>(0xDF)) & ~isASCII;
    const uint32_t isTooLong = above(static_cast<int8_t>(0xEF)) & ~isASCII;

    const auto takeWord = [&] {
        // Where nothing starts any more the last place is read, for a word that is not used. It is
        // four bytes ahead of the end; eight sequences begin no later than at byte 21.
        const auto at = static_cast<uint32_t>(__builtin_ctz(starts | 1U << 28U));
        starts &= starts - 1;
        int32_t word = 0;
        std::memcpy(&word, bytes + at, sizeof word);
        return _mm_cvtsi32_si128(word);
    };
    const auto takeFour = [&] {
        const __m128i first = takeWord();
        const __m128i firstTwo = _mm_unpacklo_epi32(first, takeWord());
        const __m128i third = takeWord();
        return _mm_unpacklo_epi64(firstTwo, _mm_unpacklo_epi32(third, takeWord()));
    };
    const __m128i words = takeFour();
    const __m128i nextWords = takeFour();
    const auto end = static_cast<uint32_t>(__builtin_ctz(starts | 1U << 31U));
    // The byte behind the eight must begin another one, too, or the last of them is cut short.
    const uint32_t taken = (2U << end) - 1;
    const uint32_t announced = isLong << 1U | isLongest << 2U;
    if ((((announced ^ following) | isTooLong) & taken) != 0 || starts == 0) {
        return 0;
    }
    __m128i wrong = _mm_setzero_si128();
    auto* out = reinterpret_cast<__m128i*>(target);
    _mm_storeu_si128(out, DecodeFour<LOSSLESS>(words, wrong));
    _mm_storeu_si128(out + 1, DecodeFour<LOSSLESS>(nextWords, wrong));
    return LOSSLESS && _mm_movemask_epi8(wrong) != 0 ? 0 : end;
}

inline char* VnUTF8Steps::EncodeFour(__m128i characters, char* target) {
    const __m128i isLong = _mm_cmpgt_epi32(characters, Repeat(0x7F));
    const __m128i isLongest = _mm_cmpgt_epi32(characters, Repeat(0x7FF));
    const __m128i last = _mm_or_si128(_mm_and_si128(characters, Repeat(0x3F)), Repeat(0x80));
    const __m128i middle = _mm_and_si128(_mm_slli_epi32(characters, 2), Repeat(0x3F00));
    const __m128i two = _mm_or_si128(_mm_or_si128(_mm_srli_epi32(characters, 6), Repeat(0xC0)),
                                     _mm_slli_epi32(last, 8));
    const __m128i three = _mm_or_si128(_mm_or_si128(_mm_srli_epi32(characters, 12), middle),
                                       _mm_or_si128(_mm_slli_epi32(last, 16), Repeat(0x80E0)));
    const __m128i words = Choose(isLongest, three, Choose(isLong, two, characters));
    const auto mask = static_cast<uint32_t>(_mm_movemask_ps(_mm_castsi128_ps(isLong))
                                            | _mm_movemask_ps(_mm_castsi128_ps(isLongest)) << 4);
    const Places& places = kPlaces[mask];
    const auto put = [](char* place, __m128i word) {
        const int32_t bytes = _mm_cvtsi128_si32(word);
        std::memcpy(place, &bytes, sizeof bytes);
    };
    put(target, words);
    put(target + places.Second, _mm_srli_si128(words, 4));
    put(target + places.Third, _mm_srli_si128(words, 8));
    put(target + places.Fourth, _mm_srli_si128(words, 12));
    return target + places.End;
}
