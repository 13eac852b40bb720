#pragma once

#include "core/VnMap.h"
#include "core/VnStringHashBase.h"

#include <cstdint>

/// Set of keys. Its nodes hold just the link and the key: 16 bytes for a number or a text hash. The
/// values of the map below it are not to be used: a key that the set has added has no room for one.
template<typename KEY, typename KEYARG>
class VnUniqueList : public VnMap<KEY, KEYARG, int, int, false> {
    using Base = VnMap<KEY, KEYARG, int, int, false>;

public:
    using CKeyNode = typename Base::CKeyNode;
    using CKeyCursor = typename Base::template CPosition<const CKeyNode>;

    VnUniqueList() = default;
    ~VnUniqueList() override { this->RemoveAll(); }

    void FreeNode(VnMapNode* node) override {
        std::destroy_at(static_cast<CKeyNode*>(node));
        this->FreeNodeMemory(node);
    }
    int64_t GetNodeSize() const override { return sizeof(CKeyNode); }

    /// Adds `key`; false when it is there already.
    bool Add(KEYARG key) {
        CKeyNode* found = nullptr;
        const auto make = [&] { return this->template MakeNode<CKeyNode>(key); };
        return this->Insert(typename Base::CVirtualRule(*this, key), found, make) != nullptr;
    }

    /// True when `key` is there.
    bool Contains(KEYARG key) const {
        return this->FindNode(typename Base::CVirtualRule(*this, key)) != nullptr;
    }

    /// The first key, or the end cursor of an empty set; GetNext steps on.
    CKeyCursor GetFirst() const { return this->template FirstOf<const CKeyNode>(); }

    // There is no value in a node to read or write.
    void Lookup(KEYARG key) const = delete;
    void SetAt(KEYARG key, int value, bool overwrite = true) = delete;
};

/// Set of texts of which only the 64-bit hash is kept. CASE is the case sensitivity.
template<bool CASE>
class VnStringCRCUniqueList : public VnUniqueList<VnStringHashBase<CASE>, VnStringHashBase<CASE>> {
};
