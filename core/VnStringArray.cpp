#include "core/VnStringArray.h"

#include "core/VnTextFolding.h"
#include "core/VnUniqueList.h"

#include <algorithm>
#include <cstdint>
#include <cwchar>

namespace {

/// Up to this count, comparing each pair is cheaper than hashing.
constexpr int32_t kPairwiseLimit = 16;

/// A text that many others are compared with.
class CTextMatcher {
public:
    CTextMatcher(const wchar_t* text, bool caseFlag)
        : Text(text == nullptr ? L"" : text)
        , Length(static_cast<int32_t>(std::wcslen(Text)))
        , CaseFlag(caseFlag) {}
    /// Of the whole text, what stands behind a zero character as well.
    CTextMatcher(const VnString& text, bool caseFlag)
        : Text(text.GetText())
        , Length(text.GetLength())
        , CaseFlag(caseFlag) {}

    bool Equals(const VnString& other) const {
        return other.GetLength() == Length && EqualsAt(other.GetText());
    }
    bool StartsOff(const VnString& other) const {
        return other.GetLength() >= Length && EqualsAt(other.GetText());
    }
    bool StandsIn(const VnString& other) const {
        const wchar_t* characters = other.GetText();
        for (int32_t start = 0; start <= other.GetLength() - Length; ++start) {
            if (EqualsAt(characters + start)) {
                return true;
            }
        }
        return false;
    }

private:
    bool EqualsAt(const wchar_t* characters) const {
        return CaseFlag ? std::wmemcmp(characters, Text, static_cast<size_t>(Length)) == 0
                        : Fold.IsEqual(characters, Text, Length);
    }

    const wchar_t* Text;
    int32_t Length;
    bool CaseFlag;
    VnTextFolding Fold;
};

void RemoveDuplicatesPairwise(VnStringArray& strings) {
    for (int32_t later = strings.GetCount() - 1; later > 0; --later) {
        const CTextMatcher matcher(strings[later], /*caseFlag=*/false);
        const auto equals = [&](const VnString& text) { return matcher.Equals(text); };
        if (std::any_of(strings.begin(), strings.begin() + later, equals)) {
            strings.RemoveAt(later);
        }
    }
}

/// Asks `leaves` for each element in order, removes those that it accepts and returns their number.
/// One pass: removal one by one would move the tail each time.
template<typename PREDICATE>
int32_t RemoveIf(VnStringArray& strings, const PREDICATE& leaves) {
    const int32_t count = strings.GetCount();
    int32_t kept = 0;
    for (int32_t index = 0; index < count; ++index) {
        if (!leaves(strings[index])) {
            strings[kept++].Swap(strings[index]);
        }
    }
    strings.SetSize(kept);
    return count - kept;
}

void RemoveDuplicatesByHash(VnStringArray& strings) {
    VnStringCRCUniqueList<false> seen;
    seen.SetNodeAllocator(true);
    seen.Reserve(strings.GetCount());
    RemoveIf(strings, [&seen](const VnString& text) { return !seen.Add(text); });
}

} // namespace

int32_t VnStringArray::Find(const wchar_t* text, bool caseFlag, bool whole, bool prefix) const {
    const CTextMatcher matcher(text, caseFlag);
    for (int32_t index = 0; index < GetCount(); ++index) {
        const VnString& element = Data[index];
        const bool found = prefix  ? matcher.StartsOff(element)
                           : whole ? matcher.Equals(element)
                                   : matcher.StandsIn(element);
        if (found) {
            return index;
        }
    }
    return -1;
}

void VnStringArray::RemoveDuplicates() {
    if (GetCount() < 2) {
        return;
    }
    if (GetCount() <= kPairwiseLimit) {
        RemoveDuplicatesPairwise(*this);
    } else {
        RemoveDuplicatesByHash(*this);
    }
}

int32_t VnStringArray::RemoveMatching(const wchar_t* text, bool caseFlag, bool whole) {
    // The text may be an element that goes itself.
    const VnString wanted(text);
    const CTextMatcher matcher(wanted.GetText(), caseFlag);
    return RemoveIf(*this, [&](const VnString& element) {
        return whole ? matcher.Equals(element) : matcher.StandsIn(element);
    });
}

int32_t VnStringArray::ReplaceValue(const wchar_t* oldText, const wchar_t* newText, bool caseFlag) {
    const VnString wanted(oldText);
    const VnString replacement(newText);
    const CTextMatcher matcher(wanted.GetText(), caseFlag);
    int32_t replaced = 0;
    for (int32_t index = 0; index < GetCount(); ++index) {
        if (matcher.Equals(Data[index])) {
            Set(index, replacement);
            ++replaced;
        }
    }
    return replaced;
}

int32_t VnStringArray::Move(int32_t index, int32_t delta) {
    if (index < 0 || index >= GetCount()) {
        return -1;
    }
    const VnString text = Data[index];
    RemoveAt(index);
    const int64_t target = static_cast<int64_t>(index) + delta;
    return InsertAt(static_cast<int32_t>(std::clamp<int64_t>(target, 0, GetCount())), text);
}

bool VnStringArray::Locate(int32_t position, int32_t& index, int32_t& offset) const {
    int64_t rest = position;
    for (int32_t element = 0; rest >= 0 && element < GetCount(); ++element) {
        const int32_t length = Data[element].GetLength();
        if (rest < length) {
            index = element;
            offset = static_cast<int32_t>(rest);
            return true;
        }
        rest -= length;
    }
    index = -1;
    offset = -1;
    return false;
}

bool VnStringArray::MakeUnique(VnString& text, bool caseFlag) const {
    // The text may be an element, which is no other text of its name.
    const auto isTaken = [&] {
        const CTextMatcher matcher(text.GetText(), caseFlag);
        return std::any_of(begin(), end(), [&](const VnString& element) {
            return &element != &text && matcher.Equals(element);
        });
    };
    bool changed = false;
    while (isTaken()) {
        text.MakeUnique();
        changed = true;
    }
    return changed;
}
