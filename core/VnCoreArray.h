#pragma once

#include "core/VnArrayBase.h"

#include <cstdint>
#include <cstring>
#include <new>
#include <type_traits>
#include <utility>

/// Storage of a growable array and the hooks for its elements.
///
/// T is the stored type, ARG the type in which a value is passed. PLAIN says that elements are raw
/// values that need no release. T has to be movable by its bytes, because growth, insertion and
/// removal move elements bytewise; a text or a pointer is. Slots behind the count hold no element.
///
/// A class that overrides a hook calls Empty in its own destructor: the base can't reach the
/// override any more. Not thread-safe: whoever shares an array between threads guards it.
template<typename T, typename ARG, bool PLAIN>
class VnCoreArray {
public:
    /// Releases all elements and frees the memory.
    virtual ~VnCoreArray() {
        ReleaseRange(0, Base.Count);
        VnArrayBase::FreeData(Data);
    }

    /// Stores `value` in the slot at `index`, which is not checked. `releaseOld` tells that the
    /// slot holds an element, which is released first; otherwise it is free memory.
    virtual void SetElement(int32_t index, ARG value, bool releaseOld);

    /// Hook that gives up the element at `index`, which is not checked. Called for each element
    /// that leaves an array with PLAIN off; the slot counts as free memory afterwards. An owning
    /// array deletes here what the element points at.
    virtual void ReleaseElement(int32_t index);

    /// Elements in use.
    int32_t GetCount() const { return Base.Count; }
    bool IsEmpty() const { return Base.Count == 0; }

    /// Elements that fit without another growth.
    int32_t GetCapacity() const { return Base.Capacity; }

    /// Lets capacities be multiples of `step`, or, with VnArrayBase::kBuiltInSteps or any value
    /// below 1, follow the built-in steps.
    void SetGrowStep(int32_t step) { Base.GrowStep = step < 1 ? VnArrayBase::kBuiltInSteps : step; }

    /// Makes room for `count` elements in all: exactly so many with `exact`, else by the grow step.
    void Reserve(int32_t count, bool exact = true) {
        if (count < 0 || count > Base.Capacity) {
            Data = static_cast<T*>(
                Base.Grow(Data, sizeof(T), count, exact, /*zero=*/!PLAIN, /*keep=*/true));
        }
    }

    /// Sets the number of elements; below 0 counts as 0. Surplus elements are released and their
    /// slots cleared, the capacity stays. New elements are empty texts, null pointers or 0.
    void SetSize(int32_t count);

    /// Releases `count` elements from `index` on and moves the tail down. A range past the end is
    /// cut there. An index outside the array or a count below 1 changes nothing and gives false.
    bool RemoveAt(int32_t index, int32_t count = 1);

    /// Releases all elements. The memory stays for later elements unless `freeMemory` is set.
    void Empty(bool freeMemory = false);

    /// The element at `index`, which is not checked. Any change of the count ends the reference.
    T& operator[](int32_t index) { return Data[index]; }
    const T& operator[](int32_t index) const { return Data[index]; }

    /// The elements in one run; null while nothing was ever stored.
    T* GetData() { return Data; }
    const T* GetData() const { return Data; }

    T* begin() { return Data; }
    T* end() { return Data + Base.Count; }
    const T* begin() const { return Data; }
    const T* end() const { return Data + Base.Count; }

protected:
    VnCoreArray() = default;
    VnCoreArray(const VnCoreArray&) = delete;
    VnCoreArray& operator=(const VnCoreArray&) = delete;

    /// Opens `count` free slots at `index` (0 to the count) and counts them as used. The caller
    /// stores an element in each of them before anything else happens to the array.
    void OpenGap(int32_t index, int32_t count);

    /// Exchanges elements, capacity and grow step with `other`; no element is touched.
    void SwapStorage(VnCoreArray& other) noexcept {
        std::swap(Base, other.Base);
        std::swap(Data, other.Data);
    }

    VnArrayBase Base;  ///< count, capacity and grow step
    T* Data = nullptr; ///< Base.Capacity slots, of which the first Base.Count hold elements

private:
    void ReleaseRange(int32_t first, int32_t count) {
        if constexpr (!PLAIN) {
            for (int32_t index = first; index < first + count; ++index) {
                ReleaseElement(index);
            }
        }
    }

    /// Clears slots that hold no element.
    void ClearSlots(int32_t first, int32_t count) {
        if (count > 0) {
            std::memset(static_cast<void*>(Data + first), 0,
                        sizeof(T) * static_cast<size_t>(count));
        }
    }

    void MoveSlots(int32_t to, int32_t from, int32_t count) {
        if (count > 0) {
            std::memmove(static_cast<void*>(Data + to), static_cast<const void*>(Data + from),
                         sizeof(T) * static_cast<size_t>(count));
        }
    }
};

template<typename T, typename ARG, bool PLAIN>
void VnCoreArray<T, ARG, PLAIN>::SetElement(int32_t index, ARG value, bool releaseOld) {
    if constexpr (std::is_trivially_destructible_v<T>) {
        if constexpr (!PLAIN) {
            if (releaseOld && !(Data[index] == value)) {
                ReleaseElement(index);
            }
        }
        Data[index] = value;
    } else if (releaseOld) {
        // The element's own assignment releases the old content, and stands a value from this very
        // slot.
        Data[index] = value;
    } else {
        new (static_cast<void*>(Data + index)) T(value);
    }
}

template<typename T, typename ARG, bool PLAIN>
void VnCoreArray<T, ARG, PLAIN>::ReleaseElement(int32_t index) {
    if constexpr (!PLAIN && !std::is_trivially_destructible_v<T>) {
        Data[index].~T();
    }
}

template<typename T, typename ARG, bool PLAIN>
void VnCoreArray<T, ARG, PLAIN>::SetSize(int32_t count) {
    const int32_t oldCount = Base.Count;
    if (count <= oldCount) {
        const int32_t kept = count < 0 ? 0 : count;
        RemoveAt(kept, oldCount - kept);
        return;
    }
    Reserve(count, /*exact=*/false);
    if constexpr (std::is_trivially_default_constructible_v<T>) {
        ClearSlots(oldCount, count - oldCount);
        Base.Count = count;
    } else {
        while (Base.Count < count) {
            new (static_cast<void*>(Data + Base.Count)) T();
            ++Base.Count;
        }
    }
}

template<typename T, typename ARG, bool PLAIN>
bool VnCoreArray<T, ARG, PLAIN>::RemoveAt(int32_t index, int32_t count) {
    if (index < 0 || index >= Base.Count || count < 1) {
        return false;
    }
    if (count > Base.Count - index) {
        count = Base.Count - index;
    }
    ReleaseRange(index, count);
    MoveSlots(index, index + count, Base.Count - index - count);
    Base.Count -= count;
    ClearSlots(Base.Count, count);
    return true;
}

template<typename T, typename ARG, bool PLAIN>
void VnCoreArray<T, ARG, PLAIN>::Empty(bool freeMemory) {
    ReleaseRange(0, Base.Count);
    ClearSlots(0, Base.Count);
    Base.Count = 0;
    if (freeMemory) {
        VnArrayBase::FreeData(Data);
        Data = nullptr;
        Base.Capacity = 0;
    }
}

template<typename T, typename ARG, bool PLAIN>
void VnCoreArray<T, ARG, PLAIN>::OpenGap(int32_t index, int32_t count) {
    if (Base.Capacity - Base.Count < count) {
        Reserve(Base.GetCountWith(count), /*exact=*/false);
    }
    MoveSlots(index + count, index, Base.Count - index);
    Base.Count += count;
}
