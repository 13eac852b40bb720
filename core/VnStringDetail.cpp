#include "core/VnStringDetail.h"

#include "core/VnStringManager.h"

#include <emmintrin.h>

#include <algorithm>
#include <iterator>

namespace {

/// The first characters of the ten digits of each script that counts, beside the ASCII ones.
constexpr uint32_t kDigitBlocks[] = {
    0xFF10, 0x0660, 0x06F0, 0x0966, 0x09E6, 0x0A66, 0x0AE6, 0x0B66, 0x0C66,
    0x0CE6, 0x0D66, 0x0E50, 0x0ED0, 0x0F20, 0x1040, 0x17E0, 0x1810,
};

/// Bytes that one step of the widening loops takes.
constexpr std::size_t kStep = 16;

/// Stores 16 bytes as 16 characters.
void WidenStep(__m128i bytes, wchar_t* target) {
    const __m128i zero = _mm_setzero_si128();
    const __m128i low = _mm_unpacklo_epi8(bytes, zero);
    const __m128i high = _mm_unpackhi_epi8(bytes, zero);
    auto* out = reinterpret_cast<__m128i*>(target);
    _mm_storeu_si128(out, _mm_unpacklo_epi16(low, zero));
    _mm_storeu_si128(out + 1, _mm_unpackhi_epi16(low, zero));
    _mm_storeu_si128(out + 2, _mm_unpacklo_epi16(high, zero));
    _mm_storeu_si128(out + 3, _mm_unpackhi_epi16(high, zero));
}

__m128i LoadBytes(const char* bytes) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes));
}

wchar_t Widen(char byte) {
    return static_cast<wchar_t>(static_cast<unsigned char>(byte));
}

__m128i LoadCharacters(const wchar_t* characters) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(characters));
}

/// Characters of equal runs that one comparison step takes.
constexpr std::ptrdiff_t kFindStep = 8;

bool IsAt(const wchar_t* place, std::wstring_view pattern) {
    std::size_t index = 0;
    while (index < pattern.size() && place[index] == pattern[index]) {
        ++index;
    }
    return index == pattern.size();
}

/// First match that begins in the range from `at` to `end`. Steps of eight places look at the first
/// and the last character of the pattern, which seldom are both there by chance.
const wchar_t* FindByEnds(const wchar_t* at, const wchar_t* end, std::wstring_view pattern) {
    const std::size_t ahead = pattern.size() - 1;
    const __m128i first = _mm_set1_epi32(pattern.front());
    const __m128i last = _mm_set1_epi32(pattern.back());
    const auto hits = [&](const wchar_t* place) {
        return _mm_and_si128(_mm_cmpeq_epi32(LoadCharacters(place), first),
                             _mm_cmpeq_epi32(LoadCharacters(place + ahead), last));
    };
    for (; end - at >= kFindStep; at += kFindStep) {
        // Two bits for each of the eight places.
        auto candidates = static_cast<uint32_t>(
            _mm_movemask_epi8(_mm_packs_epi32(hits(at), hits(at + kFindStep / 2))));
        while (candidates != 0) {
            const int place = __builtin_ctz(candidates) / 2;
            if (IsAt(at + place, pattern)) {
                return at + place;
            }
            candidates &= candidates - 1;
            candidates &= candidates - 1;
        }
    }
    while (at < end && !IsAt(at, pattern)) {
        ++at;
    }
    return at < end ? at : nullptr;
}

int32_t FindExact(std::wstring_view text, std::wstring_view pattern, int32_t start) {
    const wchar_t* const end = text.data() + text.size() - pattern.size() + 1;
    const wchar_t* at = text.data() + start;
    // The fastest way over a text that lacks the first character.
    at = std::wmemchr(at, pattern.front(), static_cast<std::size_t>(end - at));
    if (at != nullptr && !IsAt(at, pattern)) {
        at = FindByEnds(at + 1, end, pattern);
    }
    return at == nullptr ? -1 : static_cast<int32_t>(at - text.data());
}

int32_t FindFolded(std::wstring_view text, std::wstring_view pattern, int32_t start) {
    const wchar_t first = VnStringGlobals::ToLower(pattern.front());
    const auto last = static_cast<int32_t>(text.size() - pattern.size());
    const auto count = static_cast<int32_t>(pattern.size());
    for (int32_t at = start; at <= last; ++at) {
        const wchar_t* here = text.data() + at;
        if (VnStringGlobals::ToLower(*here) == first
            && VnStringDetail::EqualRuns(here, pattern.data(), count, false)) {
            return at;
        }
    }
    return -1;
}

} // namespace

bool VnStringDetail::EqualRuns(const wchar_t* left,
                               const wchar_t* right,
                               int32_t count,
                               bool caseFlag) {
    if (caseFlag) {
        return count < 1 || std::wmemcmp(left, right, static_cast<std::size_t>(count)) == 0;
    }
    return std::equal(left, left + count, right, [](wchar_t one, wchar_t other) {
        return one == other || VnStringGlobals::ToLower(one) == VnStringGlobals::ToLower(other);
    });
}

int32_t VnStringDetail::FindIn(std::wstring_view text,
                               std::wstring_view pattern,
                               int32_t start,
                               bool caseFlag) {
    const auto begin = static_cast<std::size_t>(std::max(start, 0));
    if (begin > text.size() || pattern.size() > text.size() - begin) {
        return -1;
    }
    if (pattern.empty()) {
        return static_cast<int32_t>(begin);
    }
    return caseFlag ? FindExact(text, pattern, static_cast<int32_t>(begin))
                    : FindFolded(text, pattern, static_cast<int32_t>(begin));
}

int32_t VnStringDetail::DigitValue(wchar_t ch) {
    const auto code = static_cast<uint32_t>(ch);
    if (code - U'0' < 10) {
        return static_cast<int32_t>(code - U'0');
    }
    if (code < 123) {
        return -1;
    }
    const auto* block = std::find_if(std::begin(kDigitBlocks), std::end(kDigitBlocks),
                                     [code](uint32_t first) { return code - first < 10; });
    return block == std::end(kDigitBlocks) ? -1 : static_cast<int32_t>(code - *block);
}

std::size_t VnStringDetail::WidenASCII(const char* bytes, std::size_t count, wchar_t* target) {
    std::size_t done = 0;
    for (; count - done >= kStep; done += kStep) {
        const __m128i step = LoadBytes(bytes + done);
        const int others = _mm_movemask_epi8(step);
        WidenStep(step, target + done);
        if (others != 0) {
            return done + static_cast<std::size_t>(__builtin_ctz(static_cast<uint32_t>(others)));
        }
        if (done == 0) {
            // A long run is written in aligned steps, so the next one begins a little earlier.
            done -= reinterpret_cast<uintptr_t>(target) % kStep / sizeof(wchar_t);
        }
    }
    while (done < count && (static_cast<unsigned char>(bytes[done]) & 0x80U) == 0) {
        target[done] = Widen(bytes[done]);
        ++done;
    }
    return done;
}

void VnStringDetail::WidenBytes(const char* bytes, std::size_t count, wchar_t* target) {
    std::size_t done = 0;
    for (; count - done >= kStep; done += kStep) {
        WidenStep(LoadBytes(bytes + done), target + done);
    }
    std::transform(bytes + done, bytes + count, target + done, Widen);
}

std::size_t
VnStringDetail::NarrowASCII(const wchar_t* characters, std::size_t count, char* target) {
    const __m128i highBits = _mm_set1_epi32(~0x7F);
    const __m128i zero = _mm_setzero_si128();
    const auto isASCII = [&](__m128i four) {
        return _mm_cmpeq_epi32(_mm_and_si128(four, highBits), zero);
    };
    std::size_t done = 0;
    for (; count - done >= kStep; done += kStep) {
        const __m128i one = LoadCharacters(characters + done);
        const __m128i two = LoadCharacters(characters + done + 4);
        const __m128i three = LoadCharacters(characters + done + 8);
        const __m128i four = LoadCharacters(characters + done + 12);
        const __m128i packed =
            _mm_packus_epi16(_mm_packs_epi32(one, two), _mm_packs_epi32(three, four));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(target + done), packed);
        const __m128i all = _mm_or_si128(_mm_or_si128(one, two), _mm_or_si128(three, four));
        if (_mm_movemask_epi8(isASCII(all)) != 0xFFFF) {
            const __m128i bytes = _mm_packs_epi16(_mm_packs_epi32(isASCII(one), isASCII(two)),
                                                  _mm_packs_epi32(isASCII(three), isASCII(four)));
            const auto others = ~static_cast<uint32_t>(_mm_movemask_epi8(bytes));
            return done + static_cast<std::size_t>(__builtin_ctz(others));
        }
    }
    while (done < count && static_cast<uint32_t>(characters[done]) < 0x80U) {
        target[done] = static_cast<char>(characters[done]);
        ++done;
    }
    return done;
}

std::size_t VnStringDetail::GetSizeInUTF8(const wchar_t* characters, std::size_t count) {
    // The comparisons are signed; the highest bit turned round makes them one without sign.
    const __m128i highest = _mm_set1_epi32(std::numeric_limits<int32_t>::min());
    const auto limit = [&](int32_t last) { return _mm_xor_si128(_mm_set1_epi32(last), highest); };
    const __m128i oneByte = limit(0x7F);
    const __m128i twoBytes = limit(0x7FF);
    const __m128i threeBytes = limit(0xFFFF);
    // Below 0 by one for each byte that a character takes beyond its first.
    __m128i extra = _mm_setzero_si128();
    std::size_t done = 0;
    for (; count - done >= 4; done += 4) {
        const __m128i four = _mm_xor_si128(LoadCharacters(characters + done), highest);
        extra = _mm_add_epi32(extra, _mm_cmpgt_epi32(four, oneByte));
        extra = _mm_add_epi32(extra, _mm_cmpgt_epi32(four, twoBytes));
        extra = _mm_add_epi32(extra, _mm_cmpgt_epi32(four, threeBytes));
    }
    uint32_t lanes[4];
    _mm_storeu_si128(reinterpret_cast<__m128i*>(lanes), extra);
    std::size_t size = done;
    for (const uint32_t lane : lanes) {
        size += 0U - lane;
    }
    for (; done < count; ++done) {
        size += SizeInUTF8(static_cast<uint32_t>(characters[done]));
    }
    return size;
}
