#include "core/VnString.h"

#include "core/VnArray.h"
#include "core/VnStringDetail.h"
#include "runtime/IVnToolsRoot.h"
#include "runtime/VnSiblingModules.h"

#include <algorithm>
#include <cwchar>
#include <string_view>
#include <vector>

/// One match of ReplaceList.
struct VnString::VnStringReplaceHit {
    int32_t Pattern;  ///< index of the old text
    int32_t Position; ///< first character of the match
};

namespace {

using HitList = VnArray<VnString::VnStringReplaceHit, const VnString::VnStringReplaceHit&, true>;

/// The old texts of one run, each with the place of its next match. A place stays good until the
/// scan has passed it, so every text is searched for once a match and not once a step.
class CPatternSearch {
public:
    CPatternSearch(const VnString& text, const wchar_t* const* patterns, int32_t count, bool exact)
        : Text(text.GetText(), static_cast<size_t>(text.GetLength()))
        , Owner(text)
        , Exact(exact) {
        Patterns.reserve(static_cast<size_t>(count));
        for (int32_t i = 0; i < count; ++i) {
            CPattern pattern{patterns[i], 0};
            pattern.Next = Find(pattern, 0);
            Patterns.push_back(pattern);
        }
    }

    /// The nearest match at or behind `position`, the lowest index of equal ones; Position is -1
    /// when there is none.
    VnString::VnStringReplaceHit FindNearest(int32_t position) {
        VnString::VnStringReplaceHit nearest{0, -1};
        for (size_t i = 0; i < Patterns.size(); ++i) {
            CPattern& pattern = Patterns[i];
            if (pattern.Next >= 0 && pattern.Next < position) {
                pattern.Next = Find(pattern, position);
            }
            if (pattern.Next >= 0 && (nearest.Position < 0 || pattern.Next < nearest.Position)) {
                nearest = {static_cast<int32_t>(i), pattern.Next};
            }
        }
        return nearest;
    }

    /// The text that a hit found.
    std::wstring_view GetMatch(const VnString::VnStringReplaceHit& hit) const {
        return Text.substr(static_cast<size_t>(hit.Position),
                           Patterns[static_cast<size_t>(hit.Pattern)].Wanted.size());
    }

private:
    struct CPattern {
        std::wstring_view Wanted;
        int32_t Next; ///< place of the next match, -1 when there is none left
    };

    int32_t Find(const CPattern& pattern, int32_t start) const {
        return Exact ? VnStringDetail::FindIn(Text, pattern.Wanted, start, true)
                     : Owner.FindNoCase(pattern.Wanted.data(), start);
    }

    std::wstring_view Text;
    const VnString& Owner;
    bool Exact;
    std::vector<CPattern> Patterns;
};

/// Writes the pieces of a text whose length is known beforehand.
class CPieceWriter {
public:
    explicit CPieceWriter(wchar_t* target) : Next(target) {}

    void Write(const wchar_t* text, int32_t count) {
        if (count > 0) {
            std::wmemcpy(Next, text, static_cast<size_t>(count));
            Next += count;
        }
    }
    void Write(std::wstring_view text) { Write(text.data(), static_cast<int32_t>(text.size())); }

private:
    wchar_t* Next;
};

std::wstring_view View(const wchar_t* text) {
    return text == nullptr ? std::wstring_view() : std::wstring_view(text);
}

/// Whether there is a search in any letter case; without it such a search is made in exact case.
bool HasStringTools() {
    IVnToolsRoot* root = VnGetToolsRoot();
    return root != nullptr && root->GetStringTools(1) != nullptr;
}

bool HasEmptyText(const wchar_t* const* texts, int32_t count) {
    return texts == nullptr || std::any_of(texts, texts + count, [](const wchar_t* text) {
               return text == nullptr || text[0] == 0;
           });
}

} // namespace

int32_t VnString::Replace(const wchar_t* oldText, const wchar_t* newText, bool caseFlag) {
    return ReplaceList(&oldText, &newText, 1, caseFlag);
}

int32_t VnString::ReplaceList(const wchar_t* const* oldTexts,
                              const wchar_t* const* newTexts,
                              int32_t count,
                              bool caseFlag,
                              int32_t maximumHits,
                              bool keepMatch,
                              const wchar_t* before,
                              const wchar_t* after) {
    if (count < 1 || maximumHits < 1 || IsEmpty() || HasEmptyText(oldTexts, count)
        || (newTexts == nullptr && !keepMatch)) {
        return 0;
    }
    CPatternSearch search(*this, oldTexts, count, caseFlag || !HasStringTools());

    const std::wstring_view ahead = View(before);
    const std::wstring_view behind = View(after);
    std::vector<std::wstring_view> replacements(static_cast<size_t>(count));
    std::transform(newTexts, newTexts + (keepMatch ? 0 : count), replacements.begin(), View);
    const auto getReplacement = [&](const VnStringReplaceHit& hit) {
        return keepMatch ? search.GetMatch(hit) : replacements[static_cast<size_t>(hit.Pattern)];
    };

    HitList hits;
    int64_t newLength = GetLength();
    for (int32_t position = 0; hits.GetCount() < maximumHits;) {
        const VnStringReplaceHit hit = search.FindNearest(position);
        if (hit.Position < 0) {
            break;
        }
        hits.Add(hit);
        const auto matchLength = static_cast<int32_t>(search.GetMatch(hit).size());
        newLength += static_cast<int64_t>(ahead.size() + getReplacement(hit).size() + behind.size())
                     - matchLength;
        position = hit.Position + matchLength;
    }
    if (hits.GetCount() == 0) {
        return 0;
    }

    // The result is a block of its own until it is complete, since the arguments may point into
    // this one.
    const int32_t length = VnStringDetail::AddLengths(newLength, 0);
    VnString result;
    CPieceWriter writer(result.GetBuffer(length, true, false));
    int32_t position = 0;
    for (const VnStringReplaceHit& hit : hits) {
        writer.Write(Characters + position, hit.Position - position);
        writer.Write(ahead);
        writer.Write(getReplacement(hit));
        writer.Write(behind);
        position = hit.Position + static_cast<int32_t>(search.GetMatch(hit).size());
    }
    writer.Write(Characters + position, GetLength() - position);
    result.ReleaseBuffer(length);
    Swap(result);
    return hits.GetCount();
}

int32_t VnString::ReplaceFirst(const wchar_t* oldText, const wchar_t* newText, int32_t start) {
    if (oldText == nullptr || oldText[0] == 0) {
        return -1;
    }
    const int32_t position = Find(oldText, start);
    if (position >= 0) {
        ReplaceRange(position, VnStringDetail::Measure(oldText), newText);
    }
    return position;
}

int32_t VnString::ReplaceChar(wchar_t oldChar, wchar_t newChar) {
    const int32_t first = oldChar == newChar ? -1 : Find(oldChar);
    if (first < 0) {
        return 0;
    }
    const int32_t length = GetLength();
    wchar_t* text = GetBuffer();
    int32_t count = 0;
    for (int32_t i = first; i < length; ++i) {
        if (text[i] == oldChar) {
            text[i] = newChar;
            ++count;
        }
    }
    ReleaseBuffer(newChar == 0 ? first : length);
    return count;
}

void VnString::ReplaceRange(int32_t start, int32_t count, const wchar_t* text) {
    const int32_t oldLength = GetLength();
    start = std::clamp(start, 0, oldLength);
    count = std::clamp(count, 0, oldLength - start);
    const int32_t textLength = VnStringDetail::Measure(text);
    if (count == 0 && textLength == 0) {
        return;
    }
    const int32_t length = VnStringDetail::AddLengths(int64_t{oldLength} - count, textLength);
    VnString result;
    CPieceWriter writer(result.GetBuffer(length, true, false));
    writer.Write(Characters, start);
    writer.Write(text, textLength);
    writer.Write(Characters + start + count, oldLength - start - count);
    result.ReleaseBuffer(length);
    Swap(result);
}
