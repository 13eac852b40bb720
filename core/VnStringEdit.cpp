#include "core/VnString.h"

#include "core/VnStringDetail.h"

#include <algorithm>
#include <cstring>
#include <cwchar>
#include <functional>
#include <iterator>

namespace {

/// A run of characters that is to be appended.
struct Piece {
    const wchar_t* Text;
    int32_t Count;
};

void CopyPiece(wchar_t* target, const Piece& piece) {
    std::memcpy(target, piece.Text, static_cast<std::size_t>(piece.Count) * sizeof(wchar_t));
}

/// Offset of `text` when it points into `owner` itself, -1 otherwise. Growing moves such a text.
int32_t OwnOffset(const VnString& owner, const wchar_t* text) {
    const wchar_t* begin = owner.GetText();
    const std::less<const wchar_t*> before;
    if (before(text, begin) || before(begin + owner.GetLength(), text)) {
        return -1;
    }
    return static_cast<int32_t>(text - begin);
}

/// Room for `length` characters with the present ones kept, in steps of `growBy` when that is above
/// 0.
wchar_t* GrowForAppend(VnString& text, int32_t length, int32_t growBy) {
    if (growBy <= 0 || text.GetCapacity() > length) {
        return text.GetBuffer(length, false, true);
    }
    const int64_t steps = (static_cast<int64_t>(length) + 1) / growBy + 1;
    return text.GetBuffer(VnStringDetail::AddLengths(steps * growBy, 0), true, true);
}

template<std::size_t N>
void AppendPieces(VnString& text, const Piece (&pieces)[N], int32_t growBy) {
    int32_t offsets[N];
    const int32_t oldLength = text.GetLength();
    int32_t length = oldLength;
    for (std::size_t i = 0; i < N; ++i) {
        offsets[i] = OwnOffset(text, pieces[i].Text);
        length = VnStringDetail::AddLengths(length, pieces[i].Count);
    }
    if (length == oldLength) {
        return;
    }
    wchar_t* buffer = GrowForAppend(text, length, growBy);
    wchar_t* target = buffer + oldLength;
    for (std::size_t i = 0; i < N; ++i) {
        const auto count = static_cast<std::size_t>(pieces[i].Count);
        if (count > 0) {
            std::wmemmove(target, offsets[i] < 0 ? pieces[i].Text : buffer + offsets[i], count);
            target += count;
        }
    }
    text.ReleaseBuffer(length);
}

Piece MakePiece(const wchar_t* text, int32_t count) {
    return {text, VnStringDetail::Measure(text, count)};
}

/// Opens a gap of `count` characters ahead of `index` and gives its first place.
wchar_t* OpenGap(VnString& text, int32_t index, int32_t count) {
    const int32_t length = text.GetLength();
    wchar_t* buffer =
        text.GetBuffer(VnStringDetail::AddLengths(length, count), false, true) + index;
    std::wmemmove(buffer + count, buffer, static_cast<std::size_t>(length - index));
    return buffer;
}

/// Removes the characters for which `isUnwanted` holds; the result is their number.
template<typename TEST>
int32_t RemoveMatching(VnString& text, TEST isUnwanted) {
    const int32_t length = text.GetLength();
    const wchar_t* characters = text.GetText();
    const wchar_t* first = std::find_if(characters, characters + length, isUnwanted);
    const auto kept = static_cast<int32_t>(first - characters);
    if (kept == length) {
        return 0;
    }
    wchar_t* buffer = text.GetBuffer();
    const wchar_t* end = std::remove_if(buffer + kept, buffer + length, isUnwanted);
    const auto newLength = static_cast<int32_t>(end - buffer);
    text.ReleaseBuffer(newLength);
    return length - newLength;
}

/// Cuts the characters for which `isUnwanted` holds from the wanted ends.
template<typename TEST>
void TrimEnds(VnString& text, bool left, bool right, TEST isUnwanted) {
    const wchar_t* characters = text.GetText();
    int32_t start = 0;
    int32_t end = text.GetLength();
    while (right && end > start && isUnwanted(characters[end - 1])) {
        --end;
    }
    while (left && start < end && isUnwanted(characters[start])) {
        ++start;
    }
    text.RemoveEnds(start, text.GetLength() - end);
}

auto IsCharacter(wchar_t wanted) {
    return [wanted](wchar_t ch) { return ch == wanted; };
}

auto IsInSet(const VnStringDetail::CCharacterSet& set) {
    return [&set](wchar_t ch) { return set.Has(ch); };
}

/// Maps every character, leaving a text that does not change its shared block.
template<typename MAP>
void MapCharacters(VnString& text, MAP map) {
    const int32_t length = text.GetLength();
    const wchar_t* characters = text.GetText();
    int32_t index = 0;
    while (index < length && map(characters[index]) == characters[index]) {
        ++index;
    }
    if (index == length) {
        return;
    }
    wchar_t* buffer = text.GetBuffer();
    std::transform(buffer + index, buffer + length, buffer + index, map);
    text.ReleaseBuffer(length);
}

VnString
Concatenate(const wchar_t* left, int32_t leftCount, const wchar_t* right, int32_t rightCount) {
    VnString result;
    result.Append(left, leftCount, right, rightCount);
    return result;
}

} // namespace

// Append

void VnString::Append(const VnString& text) {
    const Piece piece{text.Characters, text.GetLength()};
    if (piece.Count < 1) {
        return;
    }
    if (wchar_t* target = GetHeader()->Extend(piece.Count)) {
        CopyPiece(target, piece);
    } else if (GetHeader()->ReferenceCount == VnStringHeader::kStaticCount) {
        *this = text; // a block of its own would stay, for the room that was made in it
    } else {
        AppendPieces(*this, {piece}, 0);
    }
}

void VnString::Append(const wchar_t* text, int32_t count, int32_t growBy) {
    const Piece piece = MakePiece(text, count);
    if (wchar_t* target = piece.Count < 1 ? nullptr : GetHeader()->Extend(piece.Count)) {
        CopyPiece(target, piece);
    } else {
        AppendPieces(*this, {piece}, growBy);
    }
}

void VnString::Append(const wchar_t* first,
                      int32_t firstCount,
                      const wchar_t* second,
                      int32_t secondCount,
                      const wchar_t* third,
                      int32_t thirdCount,
                      const wchar_t* fourth,
                      int32_t fourthCount) {
    const Piece pieces[] = {MakePiece(first, firstCount), MakePiece(second, secondCount),
                            MakePiece(third, thirdCount), MakePiece(fourth, fourthCount)};
    AppendPieces(*this, pieces, 0);
}

void VnString::AppendBytes(const char* text, int32_t count) {
    const std::size_t added = VnStringDetail::MeasureBytes(text, count);
    if (added == 0) {
        return;
    }
    const int32_t length = GetLength();
    const int32_t newLength = VnStringDetail::AddLengths(length, static_cast<int64_t>(added));
    VnStringDetail::WidenBytes(text, added, GetBuffer(newLength, false, true) + length);
    ReleaseBuffer(newLength);
}

void VnString::AppendLineFeeds(int32_t count) {
    if (count < 1) {
        return;
    }
    const int32_t length = GetLength();
    const int32_t newLength = VnStringDetail::AddLengths(length, count);
    std::fill_n(GetBuffer(newLength, false, true) + length, count, L'\n');
    ReleaseBuffer(newLength);
}

VnString operator+(const VnString& left, const VnString& right) {
    return Concatenate(left.GetText(), left.GetLength(), right.GetText(), right.GetLength());
}

VnString operator+(const VnString& left, const wchar_t* right) {
    return Concatenate(left.GetText(), left.GetLength(), right, -1);
}

VnString operator+(const wchar_t* left, const VnString& right) {
    return Concatenate(left, -1, right.GetText(), right.GetLength());
}

VnString operator+(const VnString& left, wchar_t right) {
    return Concatenate(left.GetText(), left.GetLength(), &right, 1);
}

VnString operator+(wchar_t left, const VnString& right) {
    return Concatenate(&left, 1, right.GetText(), right.GetLength());
}

// Insert

void VnString::Prepend(const VnString& text) {
    if (GetHeader()->ReferenceCount == VnStringHeader::kStaticCount) {
        *this = text;
        return;
    }
    const VnString kept(text); // it may be this very text, which moves
    const int32_t count = kept.GetLength();
    if (count > 0) {
        const int32_t newLength = VnStringDetail::AddLengths(GetLength(), count);
        std::wmemcpy(OpenGap(*this, 0, count), kept, static_cast<std::size_t>(count));
        ReleaseBuffer(newLength);
    }
}

void VnString::Prepend(wchar_t ch, int32_t count) {
    if (count < 1) {
        return;
    }
    const int32_t newLength = VnStringDetail::AddLengths(GetLength(), count);
    std::fill_n(OpenGap(*this, 0, count), count, ch);
    ReleaseBuffer(newLength);
}

int32_t VnString::Insert(int32_t index, wchar_t ch) {
    const int32_t length = GetLength();
    if (index < 0 || index > length) {
        return length;
    }
    *OpenGap(*this, index, 1) = ch;
    ReleaseBuffer(length + 1);
    return length + 1;
}

int32_t VnString::Insert(int32_t index, const wchar_t* text) {
    const int32_t length = GetLength();
    const int32_t count = VnStringDetail::Measure(text);
    if (index < 0 || index > length || count == 0) {
        return length;
    }
    if (OwnOffset(*this, text) >= 0) {
        return Insert(index, VnString(text).GetText());
    }
    wchar_t* gap = OpenGap(*this, index, count);
    std::wmemcpy(gap, text, static_cast<std::size_t>(count));
    ReleaseBuffer(length + count);
    return length + count;
}

// Remove

void VnString::RemoveLeft(int32_t count) {
    RemoveEnds(count, 0);
}

void VnString::RemoveRight(int32_t count) {
    RemoveEnds(0, count);
}

void VnString::RemoveEnds(int32_t left, int32_t right) {
    if (left <= 0 && right <= 0) {
        return;
    }
    const int32_t length = GetLength();
    left = std::clamp(left, 0, length);
    KeepRange(left, length - left - std::clamp(right, 0, length - left));
}

void VnString::Remove(int32_t start, int32_t count) {
    const int32_t length = GetLength();
    if (start < 0 || start >= length || count < 1) {
        return;
    }
    count = std::min(count, length - start);
    if (start == 0 || start + count == length) {
        RemoveEnds(start == 0 ? count : 0, start == 0 ? 0 : count);
        return;
    }
    wchar_t* hole = GetBuffer() + start;
    std::wmemmove(hole, hole + count, static_cast<std::size_t>(length - start - count));
    ReleaseBuffer(length - count);
}

int32_t VnString::Remove(wchar_t ch) {
    return RemoveMatching(*this, IsCharacter(ch));
}

int32_t VnString::RemoveChars(const wchar_t* set) {
    const VnString kept(set); // the set may stand in the characters that move
    const VnStringDetail::CCharacterSet members(kept);
    return RemoveMatching(*this, IsInSet(members));
}

int32_t VnString::RemoveAll(const wchar_t* text, bool caseFlag) {
    const VnString kept(text);
    const std::wstring_view pattern(kept, static_cast<std::size_t>(kept.GetLength()));
    const std::wstring_view all(Characters, static_cast<std::size_t>(GetLength()));
    int32_t hit = pattern.empty() ? -1 : VnStringDetail::FindIn(all, pattern, 0, caseFlag);
    if (hit < 0) {
        return 0;
    }
    VnString result;
    wchar_t* target = result.GetBuffer(GetLength());
    int32_t hits = 0;
    int32_t from = 0;
    while (hit >= 0) {
        target = std::copy(Characters + from, Characters + hit, target);
        from = hit + kept.GetLength();
        ++hits;
        hit = VnStringDetail::FindIn(all, pattern, from, caseFlag);
    }
    std::copy(Characters + from, Characters + GetLength(), target);
    result.ReleaseBuffer(GetLength() - hits * kept.GetLength());
    Swap(result);
    return hits;
}

bool VnString::RemovePrefix(const wchar_t* text, bool caseFlag) {
    const int32_t count = VnStringDetail::Measure(text);
    if (!CompareLeft(text, caseFlag, false)) {
        return false;
    }
    RemoveLeft(count);
    return true;
}

bool VnString::RemoveSuffix(const wchar_t* text, bool caseFlag) {
    const int32_t count = VnStringDetail::Measure(text);
    if (!CompareRight(text, caseFlag, false)) {
        return false;
    }
    RemoveRight(count);
    return true;
}

bool VnString::RemoveUpTo(int32_t position, bool withItem) {
    if (position < 0 || position >= GetLength()) {
        return false;
    }
    RemoveLeft(position + (withItem ? 1 : 0));
    return true;
}

bool VnString::RemoveUpTo(wchar_t ch, bool withItem) {
    return RemoveUpTo(Find(ch), withItem);
}

bool VnString::RemoveUpTo(const wchar_t* text, bool withItem) {
    const int32_t count = VnStringDetail::Measure(text);
    const int32_t hit = count == 0 ? -1 : Find(text);
    if (hit < 0) {
        return false;
    }
    RemoveLeft(hit + (withItem ? count : 0));
    return true;
}

bool VnString::RemoveFrom(int32_t position, bool withItem) {
    if (position < 0 || position >= GetLength()) {
        return false;
    }
    RemoveRight(GetLength() - position - (withItem ? 0 : 1));
    return true;
}

bool VnString::RemoveFrom(wchar_t ch, bool withItem) {
    return RemoveFrom(Find(ch), withItem);
}

bool VnString::RemoveFrom(const wchar_t* text, bool withItem) {
    const int32_t count = VnStringDetail::Measure(text);
    const int32_t hit = count == 0 ? -1 : Find(text);
    if (hit < 0) {
        return false;
    }
    RemoveRight(GetLength() - hit - (withItem ? 0 : count));
    return true;
}

// Trim

void VnString::Trim() {
    TrimEnds(*this, true, true, VnStringGlobals::IsSpace);
}

void VnString::Trim(wchar_t ch) {
    TrimEnds(*this, true, true, IsCharacter(ch));
}

void VnString::Trim(const wchar_t* set) {
    const VnStringDetail::CCharacterSet members(set);
    TrimEnds(*this, true, true, IsInSet(members));
}

void VnString::TrimLeft() {
    TrimEnds(*this, true, false, VnStringGlobals::IsSpace);
}

void VnString::TrimLeft(wchar_t ch) {
    TrimEnds(*this, true, false, IsCharacter(ch));
}

void VnString::TrimLeft(const wchar_t* set) {
    const VnStringDetail::CCharacterSet members(set);
    TrimEnds(*this, true, false, IsInSet(members));
}

void VnString::TrimRight() {
    TrimEnds(*this, false, true, VnStringGlobals::IsSpace);
}

void VnString::TrimRight(wchar_t ch) {
    TrimEnds(*this, false, true, IsCharacter(ch));
}

void VnString::TrimRight(const wchar_t* set) {
    const VnStringDetail::CCharacterSet members(set);
    TrimEnds(*this, false, true, IsInSet(members));
}

// Case and ends

void VnString::MakeUpper() {
    MapCharacters(*this, VnStringGlobals::ToUpper);
}

void VnString::MakeLower() {
    MapCharacters(*this, VnStringGlobals::ToLower);
}

void VnString::EnsureTrailing(wchar_t ch) {
    const int32_t length = GetLength();
    if (length == 0) {
        return;
    }
    if (!EndsWith(ch)) {
        Append(ch);
        return;
    }
    // Two alone stay: as separators they are the start of a server path, which one alone is not.
    if (length == 2) {
        return;
    }
    int32_t end = length;
    while (end > 1 && Characters[end - 2] == ch) {
        --end;
    }
    RemoveRight(length - end);
}

void VnString::Reverse() {
    const int32_t length = GetLength();
    if (length > 1) {
        wchar_t* buffer = GetBuffer();
        std::reverse(buffer, buffer + length);
        ReleaseBuffer(length);
    }
}
