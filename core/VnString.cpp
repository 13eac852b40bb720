#include "core/VnString.h"

#include <algorithm>
#include <bit>
#include <cwchar>
#include <limits>
#include <new>

namespace {

/// Up to here a growing block doubles; above, it grows by whole steps of this size.
constexpr int32_t kLargestDoubling = 0x100000;

/// The capacity that a growing block asks for, so that appending stays amortised.
int32_t RoundUpCapacity(int32_t minLength) {
    if (minLength < 1) {
        return 1;
    }
    if (minLength > kLargestDoubling) {
        const int64_t steps =
            (static_cast<int64_t>(minLength) + kLargestDoubling - 1) / kLargestDoubling;
        const int64_t rounded = steps * kLargestDoubling;
        if (rounded > std::numeric_limits<int32_t>::max()) {
            throw std::bad_array_new_length();
        }
        return static_cast<int32_t>(rounded);
    }
    return static_cast<int32_t>(std::bit_floor(static_cast<uint32_t>(minLength)) << 1U);
}

wchar_t SwapCharacter(wchar_t ch) {
    return static_cast<wchar_t>(__builtin_bswap32(static_cast<uint32_t>(ch)));
}

} // namespace

VnString::VnString(const VnString& other) : Characters(VnStringGlobals::Get().GetEmpty()) {
    AssignShared(other);
}

VnString::VnString(const wchar_t* text)
    : Characters(VnStringGlobals::Get().CreateString(text, -1, -1, false, true, true)) {
}

VnString::VnString(const wchar_t* text, int32_t length)
    : Characters(VnStringGlobals::Get().CreateString(text, length, -1, false, true, true)) {
}

VnString::VnString(wchar_t ch)
    : Characters(VnStringGlobals::Get().CreateString(&ch, ch == 0 ? 0 : 1, -1, false, true, true)) {
}

VnString& VnString::operator=(const VnString& other) {
    if (this != &other) {
        AssignShared(other);
    }
    return *this;
}

// Copies, and so may end the process for want of memory, only where blocks of two managers or
// locked ones meet. NOLINTNEXTLINE(bugprone-exception-escape)
VnString& VnString::operator=(VnString&& other) noexcept {
    if (this == &other) {
        return *this;
    }
    const VnStringHeader* mine = GetHeader();
    const VnStringHeader* theirs = other.GetHeader();
    IVnStringManager* manager = mine->Manager;
    const bool locked = mine->ReferenceCount == VnStringHeader::kLockedCount
                        || theirs->ReferenceCount == VnStringHeader::kLockedCount;
    if (locked || manager != theirs->Manager) {
        AssignShared(other);
        return *this;
    }
    Release();
    Characters = std::exchange(other.Characters, manager->GetEmpty());
    return *this;
}

VnString& VnString::operator=(const wchar_t* text) {
    Assign(text, -1);
    return *this;
}

VnString& VnString::operator=(wchar_t ch) {
    Assign(&ch, ch == 0 ? 0 : 1);
    return *this;
}

void VnString::Assign(const wchar_t* text, int32_t length, bool detectMark, bool swapBytes) {
    if (text == Characters && length < 0 && !detectMark && !swapBytes) {
        return;
    }
    if (detectMark && text != nullptr && length != 0 && (text[0] == 0xFFFE || text[0] == 0xFEFF)) {
        swapBytes = swapBytes || text[0] == 0xFFFE;
        ++text;
        length -= length > 0 ? 1 : 0;
    }
    // The new block comes first: the text may stand in the old one.
    Adopt(GetHeader()->Manager->CreateString(text, length, -1, false, true, true));
    if (swapBytes && !IsEmpty()) {
        const bool wasLocked = GetHeader()->ReferenceCount == VnStringHeader::kLockedCount;
        const int32_t count = GetLength();
        wchar_t* target = GetBuffer();
        std::transform(target, target + count, target, SwapCharacter);
        if (!wasLocked) {
            ReleaseBuffer(count);
        }
    }
}

void VnString::Empty() {
    IVnStringManager* manager = GetHeader()->Manager;
    Release();
    Characters = manager->GetEmpty();
}

wchar_t* VnString::GetBuffer(int32_t minLength, bool exact, bool keepContents) {
    VnStringHeader* header = GetHeader();
    const int32_t count = header->ReferenceCount;
    const bool isPrivate = count < 2;
    if (isPrivate && (minLength < 0 || header->Capacity > minLength)) {
        header->SetPrivateCount(VnStringHeader::kLockedCount);
        return Characters;
    }
    // A locked block was written to since its length was stored: the terminator rules there.
    const bool lengthIsExact = !isPrivate || count != VnStringHeader::kLockedCount;
    const int32_t capacity = !isPrivate || exact ? minLength : RoundUpCapacity(minLength);
    wchar_t* made =
        header->Manager->CreateString(keepContents ? Characters : nullptr, header->Length, capacity,
                                      !isPrivate, lengthIsExact, true);
    Release();
    Characters = made;
    GetHeader()->SetPrivateCount(VnStringHeader::kLockedCount);
    return Characters;
}

void VnString::ReleaseBuffer(int32_t newLength) {
    VnStringHeader* header = GetHeader();
    const int32_t count = header->ReferenceCount;
    if (count > 1) {
        return; // nothing was handed out, and others read this block
    }
    const int32_t largest = header->Capacity - 1;
    if (newLength < 0) {
        newLength = static_cast<int32_t>(wcsnlen(Characters, static_cast<std::size_t>(largest)));
    }
    newLength = std::min(newLength, largest);
    Characters[newLength] = 0;
    header->Length = newLength;
    if (count == VnStringHeader::kLockedCount) {
        header->SetPrivateCount(1);
    }
}

void VnString::FreeExtra(int32_t slack) {
    const VnStringHeader* header = GetHeader();
    if (header->ReferenceCount != 1
        || static_cast<int64_t>(header->Length) + slack > header->Capacity) {
        return;
    }
    Adopt(header->Manager->CreateString(Characters, header->Length, header->Length, false, true,
                                        false));
}

void VnString::SetAt(int32_t index, wchar_t ch) {
    const int32_t length = GetLength();
    if (index < 0 || index >= length) {
        return;
    }
    GetBuffer()[index] = ch;
    ReleaseBuffer(ch == 0 ? index : length);
}

wchar_t* VnString::CreateCopy() const {
    const auto count = static_cast<std::size_t>(GetLength()) + 1;
    auto* copy = new wchar_t[count];
    std::wmemcpy(copy, Characters, count);
    return copy;
}

void VnString::Release() {
    VnStringHeader* header = GetHeader();
    const int32_t count = header->ReferenceCount;
    if (count == VnStringHeader::kStaticCount) {
        return;
    }
    // A count of 1 is this string's own, so nobody else can raise or lower it.
    if (count < 2 || header->ReferenceCount.fetch_sub(1) <= 1) {
        header->Manager->FreeBlock(header);
    }
}

void VnString::KeepRange(int32_t start, int32_t count) {
    if (count < 1) {
        Empty();
        return;
    }
    if (GetHeader()->ReferenceCount > 1) {
        Assign(Characters + start, count); // copies only what stays
        return;
    }
    wchar_t* target = GetBuffer();
    if (start > 0) {
        std::wmemmove(target, target + start, static_cast<std::size_t>(count));
    }
    ReleaseBuffer(count);
}

void VnString::AssignShared(const VnString& other) {
    VnStringHeader* source = other.GetHeader();
    IVnStringManager* manager = GetHeader()->Manager;
    if (source->Length == 0) {
        Adopt(manager->GetEmpty());
        return;
    }
    const bool sourceIsLocked = source->ReferenceCount == VnStringHeader::kLockedCount;
    if (!sourceIsLocked && source->Manager == manager) {
        source->ReferenceCount.fetch_add(1);
        Adopt(other.Characters);
        return;
    }
    Adopt(
        manager->CreateString(other.Characters, source->Length, -1, false, !sourceIsLocked, true));
}

// Copies, as the move assignment does between two managers.
// NOLINTNEXTLINE(bugprone-exception-escape)
void VnString::SwapTexts(VnString& other) noexcept {
    const VnString mine(*this);
    *this = other;
    other = mine;
}

void VnString::Adopt(wchar_t* characters) {
    const bool wasLocked = GetHeader()->ReferenceCount == VnStringHeader::kLockedCount;
    Release();
    Characters = characters;
    if (wasLocked) {
        GetBuffer(-1, false, true);
    }
}
