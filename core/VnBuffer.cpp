#include "core/VnBuffer.h"

#include "core/VnStringDetail.h"
#include "runtime/VnHugePages.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <limits>
#include <new>
#include <utility>

namespace {

/// Copies `count` bytes and turns round each whole unit of `unit` bytes; a rest stays as it is.
void CopySwapped(const uint8_t* from, int64_t count, int64_t unit, uint8_t* target) {
    const int64_t whole = count - count % unit;
    for (int64_t at = 0; at < whole; at += unit) {
        std::reverse_copy(from + at, from + at + unit, target + at);
    }
    std::copy(from + whole, from + count, target + whole);
}

} // namespace

VnBuffer::VnBuffer(int64_t size, bool zeroFill) {
    Reserve(size, zeroFill, 0, true);
}

VnBuffer::VnBuffer(const VnBuffer& other) {
    Set(other.GetData(), other.UsedSize);
}

VnBuffer::VnBuffer(VnBuffer&& other) noexcept {
    Swap(other);
}

VnBuffer& VnBuffer::operator=(const VnBuffer& other) {
    if (this != &other) {
        Set(other.GetData(), other.UsedSize);
    }
    return *this;
}

VnBuffer& VnBuffer::operator=(VnBuffer&& other) noexcept {
    if (this != &other) {
        Empty();
        Swap(other);
    }
    return *this;
}

VnBuffer::~VnBuffer() {
    delete[] Data;
}

void VnBuffer::Grow(int64_t needed, int64_t growStep) {
    if (needed <= AllocatedSize) {
        return;
    }
    int64_t wanted = needed;
    if (growStep > 0) {
        if (needed > std::numeric_limits<int64_t>::max() - growStep) {
            throw std::bad_array_new_length();
        }
        wanted = (needed + growStep - 1) / growStep * growStep;
    } else if (AllocatedSize > 0) {
        // Half as much again keeps a buffer that is filled piece by piece amortised.
        wanted = std::max(needed, AllocatedSize + AllocatedSize / 2);
    }
    auto* grown = new uint8_t[static_cast<std::size_t>(wanted)];
    VnAdviseHugePages(grown, static_cast<std::size_t>(wanted));
    if (UsedSize > 0) {
        std::memcpy(grown, Data, static_cast<std::size_t>(UsedSize));
    }
    delete[] std::exchange(Data, grown);
    AllocatedSize = wanted;
}

uint8_t* VnBuffer::Reserve(int64_t extra, bool zeroFill, int64_t growStep, bool setSize) {
    extra = std::max<int64_t>(extra, 0);
    if (extra > std::numeric_limits<int64_t>::max() - UsedSize) {
        throw std::bad_array_new_length();
    }
    Grow(UsedSize + extra, growStep);
    if (AllocatedSize < 1) {
        return nullptr;
    }
    uint8_t* tail = Data + UsedSize;
    if (zeroFill && extra > 0) {
        std::memset(tail, 0, static_cast<std::size_t>(extra));
    }
    if (setSize) {
        UsedSize += extra;
    }
    return tail;
}

void VnBuffer::SetSize(int64_t size) {
    if (size < 1) {
        Empty();
    } else if (size > UsedSize) {
        Reserve(size - UsedSize, false, 0, true);
    } else {
        UsedSize = size;
    }
}

void VnBuffer::Empty() {
    delete[] std::exchange(Data, nullptr);
    UsedSize = 0;
    AllocatedSize = 0;
}

void VnBuffer::Append(const void* bytes, int64_t count, int64_t growStep) {
    if (bytes == nullptr || count < 1) {
        return;
    }
    const auto* from = static_cast<const uint8_t*>(bytes);
    if (from >= Data && from < Data + UsedSize) {
        const VnBuffer copy(*this); // growing would take the source away
        Append(copy.Data + (from - Data), count, growStep);
        return;
    }
    std::memcpy(Reserve(count, false, growStep, true), bytes, static_cast<std::size_t>(count));
}

void VnBuffer::Set(const void* bytes, int64_t count, int32_t swapUnit) {
    if (bytes == nullptr || count < 1) {
        Empty();
        return;
    }
    const auto* from = static_cast<const uint8_t*>(bytes);
    VnBuffer made;
    uint8_t* target = Data;
    const bool isOwn = from >= Data && from < Data + AllocatedSize;
    if (count > AllocatedSize || isOwn) {
        target = made.Reserve(count);
    }
    if (swapUnit == 2 || swapUnit == 4) {
        CopySwapped(from, count, swapUnit, target);
    } else {
        std::memcpy(target, from, static_cast<std::size_t>(count));
    }
    if (made.AllocatedSize > 0) {
        Swap(made);
    }
    UsedSize = count;
}

void VnBuffer::SetWide(const wchar_t* text) {
    if (text == nullptr) {
        Empty();
        return;
    }
    const int64_t characters = static_cast<int64_t>(VnStringDetail::Measure(text)) + 1;
    Set(text, characters * static_cast<int64_t>(sizeof(wchar_t)));
}

void VnBuffer::RemoveLeft(int64_t count) {
    if (count < 1) {
        return;
    }
    const int64_t kept = std::max<int64_t>(UsedSize - count, 0);
    if (kept > 0) {
        std::memmove(Data, Data + count, static_cast<std::size_t>(kept));
    }
    UsedSize = kept;
}

void VnBuffer::RemoveRight(int64_t count) {
    if (count > 0) {
        UsedSize = std::max<int64_t>(UsedSize - count, 0);
    }
}

void VnBuffer::Compact(int64_t slack) {
    const int64_t unused = AllocatedSize - UsedSize;
    if (unused < 1 || unused < slack) {
        return;
    }
    VnBuffer exact;
    exact.Set(Data, UsedSize);
    Swap(exact);
}

void VnBuffer::Swap(VnBuffer& other) noexcept {
    std::swap(Data, other.Data);
    std::swap(UsedSize, other.UsedSize);
    std::swap(AllocatedSize, other.AllocatedSize);
}

void VnBuffer::Reverse() {
    std::reverse(Data, Data + UsedSize);
}

void VnBuffer::Pad(int64_t multiple, uint8_t fill) {
    const int64_t excess = multiple < 1 ? 0 : UsedSize % multiple;
    if (excess > 0) {
        const int64_t missing = multiple - excess;
        std::memset(Reserve(missing, false, 0, true), fill, static_cast<std::size_t>(missing));
    }
}

uint8_t* VnBuffer::CreateCopy(int64_t& size) const {
    size = UsedSize;
    if (UsedSize < 1) {
        return nullptr;
    }
    auto* copy = new uint8_t[static_cast<std::size_t>(UsedSize)];
    std::memcpy(copy, Data, static_cast<std::size_t>(UsedSize));
    return copy;
}
