#include "core/VnString.h"

#include <string_view>

namespace {

/// What is left behind by a tag field that was empty, and what takes its place.
struct Leftover {
    const wchar_t* Text;
    const wchar_t* Replacement;
};

constexpr Leftover kLeftovers[] = {
    {L"[]", L""},    {L"()", L""},    {L" -  - ", L" - "}, {L" -  (", L" ("},
    {L" - )", L")"}, {L"( - ", L"("}, {L" -   ", L"  "},
};

/// The longest number that MakeUnique takes for one of its own.
constexpr int32_t kLongestUniqueNumber = 4;

constexpr wchar_t kEllipsis = L'\u2026';

/// The start of an end of the form "(n)", with n of 1 to 4 digits and no leading zero, or -1.
int32_t FindUniqueNumber(const VnString& text, int32_t& number) {
    const int32_t last = text.GetLength() - 1;
    const int32_t open = text.EndsWith(L')') ? text.ReverseFind(L'(') : -1;
    const int32_t digits = last - open - 1;
    if (open < 0 || digits < 1 || digits > kLongestUniqueNumber || text[open + 1] == L'0') {
        return -1;
    }
    number = 0;
    for (int32_t i = open + 1; i < last; ++i) {
        if (text[i] < L'0' || text[i] > L'9') {
            return -1;
        }
        number = number * 10 + (text[i] - L'0');
    }
    return open;
}

} // namespace

void VnString::CleanName() {
    for (bool changed = true; changed;) {
        changed = false;
        for (const Leftover& leftover : kLeftovers) {
            changed = Replace(leftover.Text, leftover.Replacement) > 0 || changed;
        }
    }
    TrimRight(L" -");
    int32_t start = 0;
    const auto isAt = [&](wchar_t ch) { return start < GetLength() && Characters[start] == ch; };
    for (bool changed = true; changed;) {
        while (isAt(L' ')) {
            ++start;
        }
        changed = (isAt(L'-') || isAt(L':')) && Characters[start + 1] == L' ';
        start += changed ? 2 : 0;
    }
    RemoveLeft(start);
    if (*this == L"x") {
        Empty();
    }
}

void VnString::MakePlural() {
    if (EqualsNoCase(L"people")) {
        return;
    }
    if (EqualsNoCase(L"gallery") || EqualsNoCase(L"city")) {
        RemoveRight(1);
        Append(L"ies");
        return;
    }
    for (int32_t i = GetLength() - 1; i >= 0; --i) {
        const wchar_t ch = Characters[i];
        if (ch == L'\\' || ch == L's' || ch == L'S') {
            return;
        }
        if (VnStringGlobals::IsLetter(ch)) {
            Insert(i + 1, L's');
            return;
        }
    }
}

void VnString::MakeUnique(bool restart) {
    int32_t number = 0;
    int32_t baseLength = FindUniqueNumber(*this, number);
    const wchar_t* separator = L"";
    if (baseLength < 0) {
        baseLength = GetLength();
        separator = L" ";
        number = 1;
    } else {
        number = restart && number >= 2 ? 1 : number + 1;
        if (baseLength > 0 && Characters[baseLength - 1] == L' ') {
            --baseLength;
            separator = L" ";
        }
    }
    VnString result = Left(baseLength);
    result.AppendFormat(L"%s(%d)", separator, number);
    Swap(result);
}

bool VnString::ReplaceWithEllipsis(int32_t maximumLength, bool cutAtLineEnd) {
    if (cutAtLineEnd) {
        RemoveFrom(L'\r', /*withItem=*/true);
        RemoveFrom(L'\n', /*withItem=*/true);
    }
    if (GetLength() < maximumLength) {
        return false;
    }
    VnString result = Left(maximumLength - 1);
    result.Append(kEllipsis);
    Swap(result);
    return true;
}
