#pragma once

#include "core/VnCoreArray.h"

#include <algorithm>
#include <cstdint>
#include <type_traits>

/// Growable array of values with the typed operations: add, insert, find, copy, compare.
///
/// A value may come from the array itself. Copies hold copies of the elements; for raw pointers
/// that is the pointer, and nobody's ownership changes.
template<typename T, typename ARG = const T&, bool PLAIN = std::is_trivially_copyable_v<T>>
class VnArray : public VnCoreArray<T, ARG, PLAIN> {
public:
    using ElementType = T;

    VnArray() = default;
    VnArray(const VnArray& other) : VnCoreArray<T, ARG, PLAIN>() { Append(other); }
    VnArray(VnArray&& other) noexcept { this->SwapStorage(other); }
    ~VnArray() override = default;

    VnArray& operator=(const VnArray& other) {
        if (this != &other) {
            this->Empty();
            Append(other);
        }
        return *this;
    }
    VnArray& operator=(VnArray&& other) noexcept {
        if (this != &other) {
            this->Empty();
            this->SwapStorage(other);
        }
        return *this;
    }

    /// Adds `value` at the end and returns its index.
    int32_t Add(ARG value) {
        if (this->Base.Count == this->Base.Capacity) {
            return InsertAt(this->Base.Count, value);
        }
        this->SetElement(this->Base.Count, value, /*releaseOld=*/false);
        return this->Base.Count++;
    }

    /// Inserts `value` ahead of the element at `index`, which is clamped to 0 to the count. Returns
    /// the index at which the value stands.
    int32_t InsertAt(int32_t index, ARG value);

    /// Adds copies of all elements of `other`, which may be this array.
    void Append(const VnArray& other);

    /// Replaces the element at `index`, which is not checked; the old one is released.
    void Set(int32_t index, ARG value) { this->SetElement(index, value, /*releaseOld=*/true); }

    /// Index of the first element equal to `value` at or after `start`; -1 when there is none.
    int32_t Find(ARG value, int32_t start = 0) const;

    /// True when an element equals `value`.
    bool Contains(ARG value) const { return Find(value) >= 0; }

    /// Same count, and equal elements in the same order.
    bool operator==(const VnArray& other) const {
        return std::equal(this->begin(), this->end(), other.begin(), other.end());
    }

    /// Exchanges the contents; no element is touched.
    void Swap(VnArray& other) noexcept { this->SwapStorage(other); }
};

template<typename T, typename ARG, bool PLAIN>
int32_t VnArray<T, ARG, PLAIN>::InsertAt(int32_t index, ARG value) {
    index = std::clamp(index, 0, this->Base.Count);
    if (index == this->Base.Count && index < this->Base.Capacity) {
        return Add(value);
    }
    if constexpr (std::is_reference_v<ARG>) {
        // The value may be an element of this array, which is about to change its place.
        const T copy(value);
        this->OpenGap(index, 1);
        this->SetElement(index, copy, /*releaseOld=*/false);
    } else {
        this->OpenGap(index, 1);
        this->SetElement(index, value, /*releaseOld=*/false);
    }
    return index;
}

template<typename T, typename ARG, bool PLAIN>
void VnArray<T, ARG, PLAIN>::Append(const VnArray& other) {
    const int32_t added = other.Base.Count;
    // Exact room suits a copy; an array that is appended to again and again grows by its steps.
    this->Reserve(this->Base.GetCountWith(added), /*exact=*/this->IsEmpty());
    for (int32_t index = 0; index < added; ++index) {
        this->SetElement(this->Base.Count, other.Data[index], /*releaseOld=*/false);
        ++this->Base.Count;
    }
}

template<typename T, typename ARG, bool PLAIN>
int32_t VnArray<T, ARG, PLAIN>::Find(ARG value, int32_t start) const {
    for (int32_t index = std::max(start, 0); index < this->Base.Count; ++index) {
        if (this->Data[index] == value) {
            return index;
        }
    }
    return -1;
}
