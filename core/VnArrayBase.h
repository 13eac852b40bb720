#pragma once

#include <cstdint>

/// Bookkeeping and growth of every array: how many elements are in use and how many there is room
/// for. It neither holds the elements nor knows their type.
struct VnArrayBase {
    /// Value of GrowStep that asks for the built-in capacities: 4, 64, 256, 1024, 4096, 16384,
    /// 65536, and 65536 more than needed from there on.
    static constexpr int32_t kBuiltInSteps = -1;

    int32_t Count = 0;    ///< elements in use
    int32_t Capacity = 0; ///< elements allocated
    int32_t GrowStep =
        kBuiltInSteps; ///< capacities are multiples of this; kBuiltInSteps for the table

    /// Makes room for `needed` elements of `elementSize` bytes. A capacity that suffices already
    /// changes nothing; growth never shrinks.
    ///
    /// With `exact` the new capacity is `needed`, otherwise it follows GrowStep. With `keep` the
    /// used elements go over bytewise, so their type has to be movable by its bytes. With `zero`
    /// all bytes behind Count are cleared. `data` is what an earlier call gave, or null; it is
    /// freed when it is replaced. Returns the array to use from now on, which FreeData frees.
    /// Throws std::bad_alloc, or std::bad_array_new_length for a size beyond the address space, and
    /// then leaves everything as it was.
    void* Grow(void* data, int64_t elementSize, int32_t needed, bool exact, bool zero, bool keep);

    /// The capacity that Grow picks for `needed` elements when it is not asked for an exact one.
    int32_t GetGrownCapacity(int32_t needed) const;

    /// Count plus `added`. A sum beyond int32 comes out negative, which Grow refuses.
    int32_t GetCountWith(int32_t added) const {
        return static_cast<int32_t>(static_cast<uint32_t>(Count) + static_cast<uint32_t>(added));
    }

    /// Frees what Grow gave; null is ignored. The elements have been released before.
    static void FreeData(void* data);
};

static_assert(sizeof(VnArrayBase) == 12);
