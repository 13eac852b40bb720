#pragma once

#include "core/VnMap.h"
#include "core/VnStringMap.h"

/// Map to pointers that deletes its values while its own flag is set: when an entry is removed or
/// overwritten, on RemoveAll and in the destructor. Storing the pointer that is there already
/// changes nothing.
template<typename KEY, typename KEYARG, typename T, bool RELEASE>
class VnOwnedPtrMap : public VnMap<KEY, KEYARG, T*, T*, RELEASE> {
    using Base = VnMap<KEY, KEYARG, T*, T*, RELEASE>;

public:
    explicit VnOwnedPtrMap(bool own = true) : Own(own) {}
    ~VnOwnedPtrMap() override { this->RemoveAll(); }

    void ReleaseNode(typename Base::CNode* node, bool freeNode) override {
        if (Own) {
            delete node->Value;
            node->Value = nullptr;
        }
        Base::ReleaseNode(node, freeNode);
    }

    /// Says whether values are deleted from now on.
    void SetOwn(bool own) { Own = own; }
    bool IsOwner() const { return Own; }

private:
    bool Own; ///< values are deleted when they leave
};

/// Map from texts to owned objects. CASE is the case sensitivity of the keys.
template<typename KEY, bool CASE, typename T>
class VnStringToOwnedPtrMap
    : public VnTextKeyMap<VnOwnedPtrMap<KEY, const wchar_t*, T, true>, KEY, CASE, T*, T*> {
public:
    explicit VnStringToOwnedPtrMap(bool own = true)
        : VnTextKeyMap<VnOwnedPtrMap<KEY, const wchar_t*, T, true>, KEY, CASE, T*, T*>(own) {}
};
