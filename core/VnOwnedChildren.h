#pragma once

#include "core/VnOwnedPtrArray.h"

#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

/// Base of a tree node: the children that it owns. T derives from VnOwnedChildren<T>.
///
/// The array of children is made for the first child, so that a leaf costs one null pointer.
template<typename T>
class VnOwnedChildren {
public:
    VnOwnedChildren() = default;
    VnOwnedChildren(const VnOwnedChildren&) = delete;
    VnOwnedChildren& operator=(const VnOwnedChildren&) = delete;
    ~VnOwnedChildren() { DeleteChildren(); }

    int32_t GetChildCount() const { return Children == nullptr ? 0 : Children->GetCount(); }

    /// The child at `index`; null for an index outside the children.
    T* GetChild(int32_t index) const {
        return index < 0 || index >= GetChildCount() ? nullptr : (*Children)[index];
    }

    /// Adds `child` at the end, takes it over and returns it.
    T* AddChild(T* child) { return InsertChild(GetChildCount(), child); }

    /// Inserts `child` ahead of the child at `index` (clamped), takes it over and returns it.
    T* InsertChild(int32_t index, T* child) {
        std::unique_ptr<T> owned(child); // there may be no memory for its place
        if (Children == nullptr) {
            Children = new VnOwnedPtrArray<T, false>();
        }
        // Most nodes have a few children; an array's own steps would give five of them room for 64.
        const int32_t count = Children->GetCount();
        if (count == Children->GetCapacity() && count < kSmallCount) {
            Children->Reserve(count < 1 ? 2 : 2 * count);
        }
        Children->InsertAt(index, child);
        return owned.release();
    }

    /// Index of `child` among the children; -1 when it is none of them.
    int32_t FindChild(const T* child) const {
        return Children == nullptr ? -1 : Children->Find(const_cast<T*>(child));
    }

    /// Deletes the child at `index`, and with it all that is below it. False for a bad index.
    bool RemoveChild(int32_t index) { return Children != nullptr && Children->RemoveAt(index); }

    /// Takes the child at `index` out; it belongs to the caller now. Null for a bad index.
    T* DetachChild(int32_t index) {
        return Children == nullptr ? nullptr : Children->Detach(index);
    }

    /// Deletes all children and the array that held them.
    void DeleteChildren();

private:
    /// Up to here the room for children doubles; from there on it grows by the array's steps.
    static constexpr int32_t kSmallCount = 64;

protected:
    VnOwnedPtrArray<T, false>* Children = nullptr; ///< null until there is a child
};

template<typename T>
void VnOwnedChildren<T>::DeleteChildren() {
    if (Children == nullptr) {
        return;
    }
    // The lists that are being emptied stand on a stack of its own: deleting a child with all below
    // it would go as deep into the call stack as the tree is high, and the height is in the hands
    // of whoever wrote the document. Children go in their order, which is mostly that in which they
    // were allocated.
    struct COpenList {
        VnOwnedPtrArray<T, false>* List;
        int32_t Next; ///< child to come
    };
    std::vector<COpenList> open{{std::exchange(Children, nullptr), 0}};
    while (!open.empty()) {
        COpenList& top = open.back();
        if (top.Next == top.List->GetCount()) {
            top.List->SetOwn(false); // they are gone
            delete top.List;
            open.pop_back();
            continue;
        }
        T* const child = (*top.List)[top.Next];
        VnOwnedChildren<T>* const node = child;
        if (node != nullptr && node->Children != nullptr) {
            open.push_back({std::exchange(node->Children, nullptr), 0});
        } else {
            ++top.Next;
            delete child;
        }
    }
}
