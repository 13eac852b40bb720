#include "core/VnArrayBase.h"

#include "runtime/VnHugePages.h"

#include <cstring>
#include <limits>
#include <new>

namespace {

/// Built-in capacities; above the last one a fixed reserve is added.
constexpr int32_t kSteps[] = {4, 64, 256, 1024, 4096, 16384, 65536};
constexpr int32_t kReserveAboveSteps = 65536;

int32_t ClampCapacity(int64_t capacity) {
    constexpr int64_t kLargest = std::numeric_limits<int32_t>::max();
    return static_cast<int32_t>(capacity > kLargest ? kLargest : capacity);
}

} // namespace

int32_t VnArrayBase::GetGrownCapacity(int32_t needed) const {
    if (GrowStep > 0) {
        const int64_t step = GrowStep;
        return ClampCapacity(step * (needed / step + 1));
    }
    for (const int32_t step : kSteps) {
        if (needed <= step) {
            return step;
        }
    }
    return ClampCapacity(static_cast<int64_t>(needed) + kReserveAboveSteps);
}

void* VnArrayBase::Grow(
    void* data, int64_t elementSize, int32_t needed, bool exact, bool zero, bool keep) {
    if (needed < 0) {
        // A count that ran over the range of int32.
        throw std::bad_array_new_length();
    }
    if (Capacity >= needed) {
        return data;
    }
    const int32_t capacity = exact ? needed : GetGrownCapacity(needed);
    const auto size = static_cast<size_t>(elementSize);
    auto* grown =
        static_cast<unsigned char*>(::operator new[](size* static_cast<size_t>(capacity)));
    VnAdviseHugePages(grown, size * static_cast<size_t>(capacity));
    const size_t used = size * static_cast<size_t>(Count);
    if (keep && used > 0) {
        std::memcpy(grown, data, used);
    }
    if (zero) {
        std::memset(grown + used, 0, size * static_cast<size_t>(capacity) - used);
    }
    FreeData(data);
    Capacity = capacity;
    return grown;
}

void VnArrayBase::FreeData(void* data) {
    ::operator delete[](data);
}
