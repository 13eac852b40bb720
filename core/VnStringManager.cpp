#include "core/VnStringManager.h"

#include "runtime/VnHugePages.h"

#include <algorithm>
#include <clocale>
#include <cstddef>
#include <cstring>
#include <cwchar>
#include <limits>
#include <new>
#include <utility>

namespace {

/// Slack that makes a pooled block good enough to end the scan for a better one.
constexpr int32_t kGoodFit = 15;

/// A block on the heap, with everything set but length and count.
VnStringHeader* NewBlock(int32_t capacity, IVnStringManager* manager) {
    const std::size_t bytes =
        sizeof(VnStringHeader) + static_cast<std::size_t>(capacity) * sizeof(wchar_t);
    auto* header = new (new std::byte[bytes]) VnStringHeader;
    VnAdviseHugePages(header, bytes);
    header->Manager = manager;
    header->Capacity = capacity;
    return header;
}

void DeleteBlock(VnStringHeader* header) {
    header->~VnStringHeader();
    delete[] reinterpret_cast<std::byte*>(header);
}

/// The class bits of one character, as the system library sees it now.
uint32_t ClassBits(wint_t ch) {
    uint32_t bits = 0;
    bits |= std::iswdigit(ch) != 0 ? VnStringGlobals::kDigit : 0U;
    bits |= std::iswalpha(ch) != 0 ? VnStringGlobals::kLetter : 0U;
    bits |= std::iswspace(ch) != 0 ? VnStringGlobals::kSpace : 0U;
    bits |= std::iswupper(ch) != 0 ? VnStringGlobals::kUpper : 0U;
    bits |= std::iswlower(ch) != 0 ? VnStringGlobals::kLower : 0U;
    bits |= std::iswpunct(ch) != 0 ? VnStringGlobals::kPunctuation : 0U;
    // The no-break space is printable in every locale: texts from tags are full of it.
    bits |= std::iswprint(ch) != 0 || ch == 160 ? VnStringGlobals::kPrintable : 0U;
    return bits;
}

/// Makes the manager while the module loads, so that no thread meets it unmade later.
[[maybe_unused]] const VnStringGlobals& GlobalsAtLoad = VnStringGlobals::Get();

} // namespace

VnStringGlobals& VnStringGlobals::Make() {
    // A local static is made once even when static initialisers of several threads get here.
    static auto* const made = new VnStringGlobals;
    Instance = made;
    Mark = kMade;
    return *made;
}

VnStringGlobals::VnStringGlobals() {
    std::fill(std::begin(PoolCapacities), std::end(PoolCapacities), -1);
    VnStringHeader* header = NewBlock(1, this);
    header->Length = 0;
    header->ReferenceCount = VnStringHeader::kStaticCount;
    Empty = header->GetCharacters();
    Empty[0] = 0;
    RebuildTables(false);
}

void VnStringGlobals::RebuildTables(bool useEnvironmentLocale) {
    if (useEnvironmentLocale) {
        // A locale that the machine lacks leaves the one in force, which is as good a base.
        static_cast<void>(std::setlocale(LC_ALL, ""));
    }
    for (uint32_t ch = 0; ch < 256; ++ch) {
        LowerTable[ch] = static_cast<uint32_t>(std::towlower(ch));
        ClassTable[ch] = ClassBits(ch);
    }
}

bool VnStringGlobals::IsClassByLibrary(wchar_t ch, CharacterClass wanted) {
    const auto character = static_cast<wint_t>(ch);
    switch (wanted) {
    case kDigit:
        return std::iswdigit(character) != 0;
    case kLetter:
        return std::iswalpha(character) != 0;
    case kSpace:
        return std::iswspace(character) != 0;
    case kUpper:
        return std::iswupper(character) != 0;
    case kLower:
        return std::iswlower(character) != 0;
    case kPunctuation:
        return std::iswpunct(character) != 0;
    case kPrintable:
        return std::iswprint(character) != 0;
    }
    return false;
}

VnStringHeader* VnStringGlobals::TakeFromPool(int32_t capacity) {
    if (capacity > LargestInPool.load(std::memory_order_relaxed)) {
        return nullptr;
    }
    const VnShortLock guard(Lock);
    int32_t best = -1;
    int32_t bestExcess = std::numeric_limits<int32_t>::max();
    for (int32_t slot = 0; slot < kPoolSlots && bestExcess > kGoodFit; ++slot) {
        const int32_t excess = PoolCapacities[slot] - capacity; // below 0 for an empty slot too
        if (excess >= 0 && excess < bestExcess) {
            best = slot;
            bestExcess = excess;
        }
    }
    if (best < 0) {
        LargestInPool.store(*std::max_element(std::begin(PoolCapacities), std::end(PoolCapacities)),
                            std::memory_order_relaxed);
        return nullptr;
    }
    PoolCapacities[best] = -1;
    PoolCount.store(PoolCount.load(std::memory_order_relaxed) - 1, std::memory_order_relaxed);
    return std::exchange(Pool[best], nullptr);
}

VnStringHeader* VnStringGlobals::AllocateBlock(int32_t length, bool usePool) {
    if (length < 0 || length == std::numeric_limits<int32_t>::max()) {
        throw std::bad_array_new_length();
    }
    const int32_t capacity = length + 1;
    VnStringHeader* header = nullptr;
    if (usePool && capacity <= kLargestPooled) {
        header = TakeFromPool(capacity);
    }
    if (header == nullptr) {
        header = NewBlock(capacity, this);
    }
    header->Length = length;
    header->SetPrivateCount(1);
    header->Manager = this;
    return header;
}

void VnStringGlobals::FreeBlock(VnStringHeader* header) {
    if (header == nullptr) {
        return;
    }
    if (header->Capacity <= kLargestPooled
        && PoolCount.load(std::memory_order_relaxed) < kPoolSlots) {
        const VnShortLock guard(Lock);
        const int32_t count = PoolCount.load(std::memory_order_relaxed);
        if (count < kPoolSlots) {
            const auto slot = std::find(std::begin(Pool), std::end(Pool), nullptr) - Pool;
            Pool[slot] = header;
            PoolCapacities[slot] = header->Capacity;
            PoolCount.store(count + 1, std::memory_order_relaxed);
            if (header->Capacity > LargestInPool.load(std::memory_order_relaxed)) {
                LargestInPool.store(header->Capacity, std::memory_order_relaxed);
            }
            return;
        }
    }
    DeleteBlock(header);
}

wchar_t* VnStringGlobals::CreateString(const wchar_t* characters,
                                       int32_t length,
                                       int32_t capacity,
                                       bool forceBlock,
                                       bool lengthIsExact,
                                       bool usePool) {
    if (characters == nullptr) {
        length = 0;
    } else if (length < 0) {
        length = static_cast<int32_t>(std::wcslen(characters));
    } else if (!lengthIsExact) {
        length = static_cast<int32_t>(wcsnlen(characters, static_cast<std::size_t>(length)));
    }
    if (capacity < 0) {
        capacity = length;
    }
    if (capacity == 0 && !forceBlock) {
        return Empty;
    }
    VnStringHeader* header = AllocateBlock(capacity, usePool);
    const int32_t copied = std::min(length, capacity);
    wchar_t* target = header->GetCharacters();
    if (copied > 0) {
        std::memcpy(target, characters, static_cast<std::size_t>(copied) * sizeof(wchar_t));
    }
    target[copied] = 0;
    header->Length = copied;
    return target;
}

wchar_t* VnStringGlobals::CreateFromBytes(const char* bytes) {
    if (bytes == nullptr || *bytes == 0) {
        return Empty;
    }
    const std::size_t count = std::char_traits<char>::length(bytes);
    if (count >= static_cast<std::size_t>(std::numeric_limits<int32_t>::max())) {
        throw std::bad_array_new_length();
    }
    VnStringHeader* header = AllocateBlock(static_cast<int32_t>(count), true);
    wchar_t* target = header->GetCharacters();
    std::transform(bytes, bytes + count, target, [](char byte) {
        return static_cast<wchar_t>(static_cast<unsigned char>(byte));
    });
    target[count] = 0;
    return target;
}

wchar_t* VnStringGlobals::CreateBlank(int32_t length) {
    if (length == 0) {
        return Empty;
    }
    wchar_t* target = AllocateBlock(length, true)->GetCharacters();
    std::wmemset(target, 0, static_cast<std::size_t>(length) + 1);
    return target;
}

wchar_t* VnStringGlobals::CreatePrivateEmpty() {
    wchar_t* target = AllocateBlock(0, true)->GetCharacters();
    target[0] = 0;
    return target;
}
