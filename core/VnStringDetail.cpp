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

int32_t FindExact(std::wstring_view text, std::wstring_view pattern, int32_t start) {
    const wchar_t* at = text.data() + start;
    const wchar_t* end = text.data() + text.size() - pattern.size() + 1;
    while (at < end) {
        at = std::wmemchr(at, pattern.front(), static_cast<std::size_t>(end - at));
        if (at == nullptr) {
            return -1;
        }
        if (std::wmemcmp(at, pattern.data(), pattern.size()) == 0) {
            return static_cast<int32_t>(at - text.data());
        }
        ++at;
    }
    return -1;
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
        if (_mm_movemask_epi8(step) != 0) {
            break;
        }
        WidenStep(step, target + done);
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
    const auto load = [characters](std::size_t at) {
        return _mm_loadu_si128(reinterpret_cast<const __m128i*>(characters + at));
    };
    const __m128i highBits = _mm_set1_epi32(~0x7F);
    std::size_t done = 0;
    for (; count - done >= kStep; done += kStep) {
        const __m128i one = load(done);
        const __m128i two = load(done + 4);
        const __m128i three = load(done + 8);
        const __m128i four = load(done + 12);
        const __m128i all = _mm_or_si128(_mm_or_si128(one, two), _mm_or_si128(three, four));
        const __m128i high = _mm_cmpeq_epi32(_mm_and_si128(all, highBits), _mm_setzero_si128());
        if (_mm_movemask_epi8(high) != 0xFFFF) {
            break;
        }
        const __m128i packed =
            _mm_packus_epi16(_mm_packs_epi32(one, two), _mm_packs_epi32(three, four));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(target + done), packed);
    }
    while (done < count && static_cast<uint32_t>(characters[done]) < 0x80U) {
        target[done] = static_cast<char>(characters[done]);
        ++done;
    }
    return done;
}
