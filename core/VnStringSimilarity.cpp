#include "core/VnString.h"

#include "core/VnHexDigits.h"

#include <algorithm>
#include <cwchar>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

namespace {

constexpr int32_t kTooFar = std::numeric_limits<int32_t>::max();

/// The longest text that IsNumber takes for a number.
constexpr int32_t kLongestNumber = 32;

std::wstring Fold(std::wstring_view text) {
    std::wstring folded(text);
    std::transform(folded.begin(), folded.end(), folded.begin(), VnStringGlobals::ToLower);
    return folded;
}

/// Drops what two texts have in common at both ends, which never changes their distance.
void DropCommonEnds(std::wstring_view& a, std::wstring_view& b) {
    const auto heads = std::mismatch(a.begin(), a.end(), b.begin(), b.end());
    const auto head = static_cast<size_t>(heads.first - a.begin());
    a.remove_prefix(head);
    b.remove_prefix(head);
    const auto tails = std::mismatch(a.rbegin(), a.rend(), b.rbegin(), b.rend());
    const auto tail = static_cast<size_t>(tails.first - a.rbegin());
    a.remove_suffix(tail);
    b.remove_suffix(tail);
}

/// Edit distance of two folded texts if it is at most `limit`, otherwise kTooFar. A cell further
/// than `limit` off the diagonal cannot lie on a path within the limit, so each row computes only
/// the band around it.
int32_t GetDistance(std::wstring_view a, std::wstring_view b, int32_t limit) {
    const auto rows = static_cast<int32_t>(a.size());
    const auto columns = static_cast<int32_t>(b.size());
    std::vector<int32_t> row(b.size() + 1);
    const int32_t band = std::min(limit, std::max(rows, columns));
    const int32_t outside = rows + columns + 1;
    for (int32_t j = 0; j <= columns; ++j) {
        row[static_cast<size_t>(j)] = j <= band ? j : outside;
    }
    for (int32_t i = 1; i <= rows; ++i) {
        const int32_t first = std::max(1, i - band);
        const int32_t last = std::min(columns, i + band);
        int32_t diagonal = row[static_cast<size_t>(first - 1)];
        int32_t left = first == 1 ? i : outside;
        row[static_cast<size_t>(first - 1)] = left;
        for (int32_t j = first; j <= last; ++j) {
            int32_t& cell = row[static_cast<size_t>(j)];
            const bool same = a[static_cast<size_t>(i - 1)] == b[static_cast<size_t>(j - 1)];
            const int32_t changed = diagonal + (same ? 0 : 1);
            diagonal = cell;
            cell = std::min({changed, cell + 1, left + 1});
            left = cell;
        }
        if (last == columns && row.back() - (rows - i) > limit) {
            return kTooFar;
        }
    }
    return row.back() > limit ? kTooFar : row.back();
}

/// One matched pair of characters is worth 1: fills `scores` with the length of the longest common
/// subsequence of `a` and each head of `b`. `previous` is working space of the same size.
template<typename ITER>
void ScoreHeads(ITER aBegin,
                ITER aEnd,
                ITER bBegin,
                ITER bEnd,
                std::vector<int32_t>& scores,
                std::vector<int32_t>& previous) {
    const auto columns = static_cast<size_t>(bEnd - bBegin);
    scores.assign(columns + 1, 0);
    for (ITER a = aBegin; a != aEnd; ++a) {
        previous.swap(scores);
        scores.assign(columns + 1, 0);
        ITER b = bBegin;
        for (size_t j = 1; j <= columns; ++j, ++b) {
            scores[j] = *a == *b ? previous[j - 1] + 1 : std::max(previous[j], scores[j - 1]);
        }
    }
}

/// Hirschberg's method: the best split of `b` for the two halves of `a`, then each half alone.
class CCommonSubsequence {
public:
    CCommonSubsequence(const wchar_t* original, const std::wstring& first)
        : Original(original)
        , First(first.data()) {}

    void Collect(std::wstring_view a, std::wstring_view b) {
        if (a.empty() || b.empty()) {
            return;
        }
        if (a.size() == 1) {
            if (b.find(a[0]) != std::wstring_view::npos) {
                Result.push_back(Original[a.data() - First]);
            }
            return;
        }
        const size_t half = a.size() / 2;
        const size_t split = FindSplit(a.substr(0, half), a.substr(half), b);
        Collect(a.substr(0, half), b.substr(0, split));
        Collect(a.substr(half), b.substr(split));
    }

    std::wstring Result;

private:
    size_t FindSplit(std::wstring_view head, std::wstring_view tail, std::wstring_view b) {
        ScoreHeads(head.begin(), head.end(), b.begin(), b.end(), HeadScores, Working);
        ScoreHeads(tail.rbegin(), tail.rend(), b.rbegin(), b.rend(), TailScores, Working);
        size_t best = 0;
        int32_t bestScore = -1;
        for (size_t k = 0; k <= b.size(); ++k) {
            const int32_t score = HeadScores[k] + TailScores[b.size() - k];
            if (score > bestScore) {
                best = k;
                bestScore = score;
            }
        }
        return best;
    }

    const wchar_t* Original; ///< the first text as it is written
    const wchar_t* First;    ///< the same, folded
    std::vector<int32_t> HeadScores;
    std::vector<int32_t> TailScores;
    std::vector<int32_t> Working;
};

/// Whether `ch` belongs to the class behind a backslash; an unknown class has no members.
bool IsInPatternClass(wchar_t ch, wchar_t name) {
    switch (name) {
    case L'#':
        return VnStringGlobals::IsDigit(ch);
    case L'a':
        return VnStringGlobals::IsLetter(ch);
    case L'$':
        return VnStringGlobals::IsLetter(ch) || VnStringGlobals::IsDigit(ch);
    case L'h':
        return GetHexDigitValue(ch) >= 0;
    case L'\\':
        return ch == L'\\';
    default:
        return false;
    }
}

} // namespace

int32_t VnString::Levenshtein(const wchar_t* other, int32_t limit) const {
    const std::wstring_view otherText = other == nullptr ? L"" : std::wstring_view(other);
    const int64_t difference = int64_t{GetLength()} - static_cast<int64_t>(otherText.size());
    if (std::max(difference, -difference) > limit) {
        return kTooFar;
    }
    const std::wstring foldedThis =
        Fold(std::wstring_view(Characters, static_cast<size_t>(GetLength())));
    const std::wstring foldedOther = Fold(otherText);
    std::wstring_view a = foldedThis;
    std::wstring_view b = foldedOther;
    DropCommonEnds(a, b);
    return GetDistance(a, b, limit);
}

bool VnString::IsSimilar(const wchar_t* other) const {
    const int32_t limit = std::min(GetLength() / 4, 3);
    return Levenshtein(other, limit) <= limit;
}

VnString VnString::LongestCommonSubsequence(const VnString& first, const VnString& second) {
    const std::wstring a =
        Fold(std::wstring_view(first.GetText(), static_cast<size_t>(first.GetLength())));
    const std::wstring b =
        Fold(std::wstring_view(second.GetText(), static_cast<size_t>(second.GetLength())));
    CCommonSubsequence common(first.GetText(), a);
    common.Collect(a, b);
    return VnString(common.Result.data(), static_cast<int32_t>(common.Result.size()));
}

bool VnString::MatchesPattern(const wchar_t* pattern, bool caseFlag) const {
    const wchar_t* next = pattern == nullptr ? L"" : pattern;
    const int32_t length = GetLength();
    for (int32_t i = 0; i < length; ++i, ++next) {
        const wchar_t ch = Characters[i];
        if (*next == 0) {
            return false;
        }
        if (*next == L'\\') {
            ++next;
            if (*next == 0 || !IsInPatternClass(ch, *next)) {
                return false;
            }
        } else if (ch != *next
                   && (caseFlag
                       || VnStringGlobals::ToLower(ch) != VnStringGlobals::ToLower(*next))) {
            return false;
        }
    }
    return *next == 0;
}

bool VnString::IsMadeOf(bool allowLetters,
                        bool allowDigits,
                        const wchar_t* extraSet,
                        int32_t minimumLength,
                        int32_t maximumLength) const {
    const int32_t length = GetLength();
    if (length < minimumLength || length > maximumLength) {
        return false;
    }
    const std::wstring_view extra = extraSet == nullptr ? L"" : std::wstring_view(extraSet);
    return std::all_of(Characters, Characters + length, [&](wchar_t ch) {
        return (allowLetters && VnStringGlobals::IsLetter(ch))
               || (allowDigits && VnStringGlobals::IsDigit(ch))
               || extra.find(ch) != std::wstring_view::npos;
    });
}

bool VnString::IsNumber(bool allowEmpty, bool allowSeparators) const {
    const int32_t length = GetLength();
    if (length == 0) {
        return allowEmpty;
    }
    if (length > kLongestNumber) {
        return false;
    }
    for (int32_t i = 0; i < length; ++i) {
        const wchar_t ch = Characters[i];
        const bool isSeparator = allowSeparators && (ch == L',' || ch == L'.');
        if (!VnStringGlobals::IsDigit(ch) && !(ch == L'-' && i == 0) && !isSeparator) {
            return false;
        }
    }
    return true;
}
