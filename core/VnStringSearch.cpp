#include "core/VnString.h"

#include "core/VnStringDetail.h"

#include <algorithm>
#include <cstdlib>
#include <cwchar>

namespace {

std::wstring_view View(const VnString& text) {
    return {text.GetText(), static_cast<std::size_t>(text.GetLength())};
}

std::wstring_view View(const wchar_t* text) {
    return text == nullptr ? std::wstring_view() : std::wstring_view(text);
}

int32_t Sign(int32_t left, int32_t right) {
    return left < right ? -1 : left > right ? 1 : 0;
}

/// The last occurrence of a pattern that is not empty.
int32_t FindLast(std::wstring_view text, std::wstring_view pattern, bool caseFlag) {
    const auto count = static_cast<int32_t>(pattern.size());
    for (auto at = static_cast<int32_t>(text.size()) - count; at >= 0; --at) {
        if (VnStringDetail::EqualRuns(text.data() + at, pattern.data(), count, caseFlag)) {
            return at;
        }
    }
    return -1;
}

/// Characters from `start` on, in the direction of `step`, for which the membership is `member`.
int32_t RunLength(std::wstring_view text,
                  const VnStringDetail::CCharacterSet& set,
                  bool fromEnd,
                  bool member) {
    const auto length = static_cast<int32_t>(text.size());
    int32_t count = 0;
    while (count < length
           && set.Has(text[static_cast<std::size_t>(fromEnd ? length - 1 - count : count)])
                  == member) {
        ++count;
    }
    return count;
}

} // namespace

// Extract

VnString VnString::Left(int32_t count) const {
    return Mid(0, count);
}

VnString VnString::Right(int32_t count) const {
    return Mid(GetLength() - std::clamp(count, 0, GetLength()));
}

VnString VnString::Mid(int32_t start, int32_t count) const {
    const int32_t length = GetLength();
    start = std::clamp(start, 0, length);
    count = std::clamp(count, 0, length - start);
    return count == length ? *this : VnString(Characters + start, count);
}

VnString VnString::Mid(int32_t start) const {
    return Mid(start, GetLength());
}

VnString VnString::LeftUpTo(const wchar_t* text, bool withText, bool caseFlag) const {
    const std::wstring_view pattern = View(text);
    const int32_t hit =
        pattern.empty() ? -1 : VnStringDetail::FindIn(View(*this), pattern, 0, caseFlag);
    if (hit < 0) {
        return *this;
    }
    return Left(hit + (withText ? static_cast<int32_t>(pattern.size()) : 0));
}

VnString VnString::RightFrom(const wchar_t* text, bool withText, bool caseFlag) const {
    const int32_t hit = ReverseFind(text, caseFlag);
    if (hit < 0) {
        return *this;
    }
    return Mid(hit + (withText ? 0 : VnStringDetail::Measure(text)));
}

VnString VnString::SpanIncluding(const wchar_t* set) const {
    return Left(RunLength(View(*this), VnStringDetail::CCharacterSet(set), false, true));
}

VnString VnString::SpanExcluding(const wchar_t* set) const {
    return Left(RunLength(View(*this), VnStringDetail::CCharacterSet(set), false, false));
}

VnString VnString::SpanIncludingRight(const wchar_t* set) const {
    return Right(RunLength(View(*this), VnStringDetail::CCharacterSet(set), true, true));
}

VnString VnString::SpanExcludingRight(const wchar_t* set) const {
    return Right(RunLength(View(*this), VnStringDetail::CCharacterSet(set), true, false));
}

VnString VnString::Slice(int32_t start, int32_t end, int32_t step) const {
    const int32_t length = GetLength();
    start = std::clamp(start, 0, length);
    end = end < 0 ? length : std::min(end, length);
    VnString result;
    if (step == 0 || start >= end) {
        return result;
    }
    const int64_t stride = std::abs(static_cast<int64_t>(step));
    const auto count = static_cast<int32_t>((end - start - 1) / stride + 1);
    const wchar_t* from = Characters + (step > 0 ? start : end - 1);
    wchar_t* target = result.GetBuffer(count);
    for (int32_t i = 0; i < count; ++i) {
        target[i] = from[static_cast<int64_t>(i) * step];
    }
    result.ReleaseBuffer(count);
    return result;
}

// Search

int32_t VnString::Find(wchar_t ch, int32_t start) const {
    const int32_t length = GetLength();
    if (start < 0 || start >= length) {
        return -1;
    }
    const wchar_t* hit =
        std::wmemchr(Characters + start, ch, static_cast<std::size_t>(length - start));
    return hit == nullptr ? -1 : static_cast<int32_t>(hit - Characters);
}

int32_t VnString::Find(const wchar_t* text, int32_t start) const {
    if (text == nullptr || start < 0 || start >= GetLength()) {
        return -1;
    }
    return VnStringDetail::FindIn(View(*this), View(text), start, true);
}

int32_t VnString::FindOneOf(const wchar_t* set, int32_t start) const {
    const VnStringDetail::CCharacterSet members(set);
    for (int32_t at = start; at >= 0 && at < GetLength(); ++at) {
        if (members.Has(Characters[at])) {
            return at;
        }
    }
    return -1;
}

int32_t VnString::ReverseFind(wchar_t ch, int32_t start) const {
    const int32_t last = GetLength() - 1;
    for (int32_t at = start < 0 || start > last ? last : start; at >= 0; --at) {
        if (Characters[at] == ch) {
            return at;
        }
    }
    return -1;
}

int32_t VnString::ReverseFind(const wchar_t* text, bool caseFlag) const {
    const std::wstring_view pattern = View(text);
    return pattern.empty() ? -1 : FindLast(View(*this), pattern, caseFlag);
}

int32_t VnString::ReverseFindOneOf(const wchar_t* set, int32_t start) const {
    const VnStringDetail::CCharacterSet members(set);
    const int32_t last = GetLength() - 1;
    for (int32_t at = start < 0 || start > last ? last : start; at >= 0; --at) {
        if (members.Has(Characters[at])) {
            return at;
        }
    }
    return -1;
}

int32_t VnString::Count(const wchar_t* text, bool caseFlag) const {
    const std::wstring_view pattern = View(text);
    const auto step = static_cast<int32_t>(pattern.size());
    int32_t count = 0;
    for (int32_t at = 0; step > 0; ++count) {
        const int32_t hit = VnStringDetail::FindIn(View(*this), pattern, at, caseFlag);
        if (hit < 0) {
            break;
        }
        at = hit + step;
    }
    return count;
}

int32_t VnString::FindNth(const wchar_t* text, int32_t n, bool caseFlag) const {
    const std::wstring_view pattern = View(text);
    if (pattern.empty() || n < 1) {
        return -1;
    }
    const auto step = static_cast<int32_t>(pattern.size());
    int32_t hit = -step;
    do {
        hit = VnStringDetail::FindIn(View(*this), pattern, hit + step, caseFlag);
    } while (hit >= 0 && --n > 0);
    return hit;
}

int32_t VnString::FindNearestMiddle(const wchar_t* text) const {
    const std::wstring_view pattern = View(text);
    if (pattern.empty()) {
        return -1;
    }
    // Twice the distance between the middle of an occurrence and the middle of the string.
    const auto distance = [this, &pattern](int64_t at) {
        return std::abs(2 * at + static_cast<int64_t>(pattern.size()) - GetLength());
    };
    int32_t nearest = -1;
    int32_t hit = VnStringDetail::FindIn(View(*this), pattern, 0, true);
    while (hit >= 0) {
        if (nearest < 0 || distance(hit) < distance(nearest)) {
            nearest = hit;
        }
        hit = VnStringDetail::FindIn(View(*this), pattern, hit + 1, true);
    }
    return nearest;
}

bool VnString::Contains(const wchar_t* text, bool caseFlag) const {
    return text != nullptr && VnStringDetail::FindIn(View(*this), View(text), 0, caseFlag) >= 0;
}

// Compare

int32_t VnString::Compare(const wchar_t* text, bool caseFlag) const {
    const wchar_t* left = Characters;
    const wchar_t* right = text == nullptr ? L"" : text;
    if (caseFlag) {
        return Sign(std::wcscmp(left, right), 0);
    }
    for (;; ++left, ++right) {
        const wchar_t one = VnStringGlobals::ToLower(*left);
        const wchar_t other = VnStringGlobals::ToLower(*right);
        if (one != other || one == 0) {
            return Sign(one, other);
        }
    }
}

bool VnString::CompareLeft(const wchar_t* text, bool caseFlag, bool resultIfEmpty) const {
    const int32_t count = VnStringDetail::Measure(text);
    if (count == 0) {
        return resultIfEmpty;
    }
    return count <= GetLength() && VnStringDetail::EqualRuns(Characters, text, count, caseFlag);
}

bool VnString::CompareRight(const wchar_t* text, bool caseFlag, bool resultIfEmpty) const {
    const int32_t count = VnStringDetail::Measure(text);
    if (count == 0) {
        return resultIfEmpty;
    }
    return count <= GetLength()
           && VnStringDetail::EqualRuns(Characters + GetLength() - count, text, count, caseFlag);
}

bool operator==(const VnString& left, const VnString& right) {
    return left.GetText() == right.GetText() || View(left) == View(right);
}

bool operator==(const VnString& left, const wchar_t* right) {
    return left.GetText() == right || View(left) == View(right);
}

bool operator<(const VnString& left, const VnString& right) {
    return View(left) < View(right);
}
