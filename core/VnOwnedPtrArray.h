#pragma once

#include "core/VnArray.h"

#include <cstdint>
#include <utility>

/// Array of pointers that deletes what leaves it.
///
/// While the own flag is set, removal, replacement, clearing and the destructor delete the element;
/// otherwise the array only points at objects of somebody else. Not copyable, as two owners would
/// delete twice.
template<typename T, bool PLAIN = false>
class VnOwnedPtrArray : public VnArray<T*, T*, PLAIN> {
public:
    /// An empty array; `own` is the own flag.
    explicit VnOwnedPtrArray(bool own = true) : Own(own) {}
    ~VnOwnedPtrArray() override { this->Empty(/*freeMemory=*/true); }
    VnOwnedPtrArray(const VnOwnedPtrArray&) = delete;
    VnOwnedPtrArray& operator=(const VnOwnedPtrArray&) = delete;

    /// Deletes the element while the own flag is set. Null elements are fine.
    void ReleaseElement(int32_t index) override {
        if (Own) {
            delete this->Data[index];
        }
    }

    /// Exchanges the elements, and who owns them.
    void Swap(VnOwnedPtrArray& other) noexcept {
        VnArray<T*, T*, PLAIN>::Swap(other);
        std::swap(Own, other.Own);
    }

    /// Says whether elements are deleted from now on.
    void SetOwn(bool own) { Own = own; }
    bool IsOwner() const { return Own; }

    /// Takes the element at `index` out without deleting it; it belongs to the caller now. Null for
    /// an index outside the array.
    T* Detach(int32_t index) {
        if (index < 0 || index >= this->GetCount()) {
            return nullptr;
        }
        T* element = this->Data[index];
        this->Data[index] = nullptr;
        this->RemoveAt(index);
        return element;
    }

private:
    bool Own; ///< elements are deleted when they leave
};
