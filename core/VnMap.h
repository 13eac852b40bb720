#pragma once

#include "core/VnMapBase.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <new>
#include <type_traits>

/// Hash map from KEY to VALUE; KEYARG and VALUEARG are the types in which they are passed.
///
/// RELEASE says that values need a release when they go (texts, owned pointers). Here a key is
/// hashed by its low 32 bits and compared by identity; derived classes replace HashKey and
/// KeysEqual. A class that overrides ReleaseNode or FreeNode calls RemoveAll in its own destructor.
///
/// Pointers to values and cursors end with the removal of their entry and with RemoveAll; a growth
/// of the table leaves pointers to values alone and invalidates cursors.
template<typename KEY, typename KEYARG, typename VALUE, typename VALUEARG, bool RELEASE>
class VnMap : public VnMapBase {
public:
    /// Part of a node that sets without values allocate.
    struct CKeyNode : VnMapNode {
        KEY Key{};
    };
    /// An entry. The key must not be changed.
    struct CNode : CKeyNode {
        VALUE Value{};
    };

    /// Place in an enumeration: bucket -1 and a null item at its end.
    template<typename NODE>
    struct CPosition {
        int32_t Bucket;
        NODE* Item;
    };
    using CCursor = CPosition<CNode>;
    using CConstCursor = CPosition<const CNode>;

    VnMap() = default;
    ~VnMap() override { this->RemoveAll(); }

    void FreeNode(VnMapNode* node) override { ReleaseNode(static_cast<CNode*>(node), true); }
    int32_t GetBucket(const VnMapNode* node) const override {
        return BucketOf(HashKey(static_cast<const CKeyNode*>(node)->Key));
    }
    int64_t GetNodeSize() const override { return sizeof(CNode); }

    /// Hash of a key. Keys that are equal have equal hashes.
    virtual uint32_t HashKey(KEYARG key) const;

    /// Whether two keys are the same.
    virtual bool KeysEqual(KEYARG a, KEYARG b) const { return a == b; }

    /// Releases what `node` holds. With `freeNode` key and value go, and the memory with them
    /// unless it belongs to a node allocator; without, the value is about to be overwritten, and
    /// only an owning map has something to do.
    virtual void ReleaseNode(CNode* node, bool freeNode);

    /// A new node with a copy of `key`, linked nowhere yet.
    virtual CNode* NewNode(KEYARG key) { return MakeNode<CNode>(key); }

    /// The value under `key`; null when the key is not there.
    VALUE* Lookup(KEYARG key) { return ValueOf(FindNode(CVirtualRule(*this, key))); }
    const VALUE* Lookup(KEYARG key) const { return ValueOf(FindNode(CVirtualRule(*this, key))); }

    /// Copies the value under `key` to `value`. False, and no change of `value`, when it is not
    /// there.
    bool Lookup(KEYARG key, VALUE& value) const { return CopyValue(Lookup(key), value); }

    /// True when `key` is there.
    bool Contains(KEYARG key) const { return Lookup(key) != nullptr; }

    /// Stores `value` under `key`. A key that is there keeps its spelling, and its value is
    /// replaced only with `overwrite`; false says that it was there and nothing changed.
    bool SetAt(KEYARG key, VALUEARG value, bool overwrite = true) {
        return Store(
            CVirtualRule(*this, key), [&] { return NewNode(key); }, value, overwrite);
    }

    /// Removes the entry of `key`; false when there is none.
    bool RemoveKey(KEYARG key) { return RemoveFound(CVirtualRule(*this, key)); }

    /// The first entry, or the end cursor for an empty map.
    CCursor GetFirst() { return FirstOf<CNode>(); }
    CConstCursor GetFirst() const { return FirstOf<const CNode>(); }

    /// Steps to the next entry, or to the end.
    template<typename NODE>
    void GetNext(CPosition<NODE>& cursor) const {
        VnMapNode* next = cursor.Item->Next;
        if (next == nullptr) {
            ++cursor.Bucket;
            next = GetFirstFrom(cursor.Bucket);
        }
        cursor.Item = static_cast<NODE*>(next);
    }

protected:
    /// How the search sees a key: its hash, and whether a stored key is the same. This one asks the
    /// virtual operations; a class whose key rule is final hands in one that the compiler can
    /// inline.
    class CVirtualRule {
    public:
        CVirtualRule(const VnMap& map, KEYARG key) : Map(map), Key(key), Hash(map.HashKey(key)) {}
        uint32_t GetHash() const { return Hash; }
        bool Matches(const KEY& other) const { return Map.KeysEqual(other, Key); }

    private:
        const VnMap& Map;
        KEYARG Key;
        uint32_t Hash;
    };

    int32_t BucketOf(uint32_t hash) const {
        return static_cast<int32_t>(hash % static_cast<uint32_t>(BucketCount));
    }

    /// The node whose key matches, or null.
    template<typename RULE>
    CKeyNode* FindNode(const RULE& rule) const {
        if (BucketCount < 1) {
            return nullptr;
        }
        auto* node = static_cast<CKeyNode*>(Buckets[BucketOf(rule.GetHash())]);
        while (node != nullptr && !rule.Matches(node->Key)) {
            node = static_cast<CKeyNode*>(node->Next);
        }
        return node;
    }

    /// SetAt with a search rule of the caller's, and with `make` to give the node of a new entry.
    template<typename RULE, typename MAKE>
    bool Store(const RULE& rule, const MAKE& make, VALUEARG value, bool overwrite);

    /// Links a new node for `key` unless there is one: gives the node that is there in `found`, or
    /// null and the new node as the result. `make` gives the new node.
    template<typename RULE, typename MAKE>
    CKeyNode* Insert(const RULE& rule, CKeyNode*& found, const MAKE& make);

    template<typename RULE>
    bool RemoveFound(const RULE& rule);

    /// Allocates and constructs a NODE with a copy of `key`.
    template<typename NODE>
    NODE* MakeNode(KEYARG key);

    template<typename NODE>
    CPosition<NODE> FirstOf() const {
        CPosition<NODE> cursor{0, nullptr};
        cursor.Item = static_cast<NODE*>(GetFirstFrom(cursor.Bucket));
        return cursor;
    }

    static VALUE* ValueOf(CKeyNode* node) {
        return node == nullptr ? nullptr : &static_cast<CNode*>(node)->Value;
    }
    static bool CopyValue(const VALUE* found, VALUE& value) {
        if (found != nullptr) {
            value = *found;
        }
        return found != nullptr;
    }
};

template<typename KEY, typename KEYARG, typename VALUE, typename VALUEARG, bool RELEASE>
uint32_t VnMap<KEY, KEYARG, VALUE, VALUEARG, RELEASE>::HashKey(KEYARG key) const {
    if constexpr (std::is_pointer_v<KEYARG>) {
        return static_cast<uint32_t>(reinterpret_cast<uintptr_t>(key));
    } else {
        return static_cast<uint32_t>(static_cast<uint64_t>(key));
    }
}

template<typename KEY, typename KEYARG, typename VALUE, typename VALUEARG, bool RELEASE>
void VnMap<KEY, KEYARG, VALUE, VALUEARG, RELEASE>::ReleaseNode(CNode* node, bool freeNode) {
    if (freeNode) {
        std::destroy_at(node);
        FreeNodeMemory(node);
    }
}

template<typename KEY, typename KEYARG, typename VALUE, typename VALUEARG, bool RELEASE>
template<typename NODE>
NODE* VnMap<KEY, KEYARG, VALUE, VALUEARG, RELEASE>::MakeNode(KEYARG key) {
    // A set reached as a map makes whole entries, which take more than its own nodes.
    const auto size = std::max(GetNodeSize(), static_cast<int64_t>(sizeof(NODE)));
    auto* node = new (AllocateNode(size)) NODE();
    try {
        node->Key = key;
    } catch (...) {
        std::destroy_at(node);
        FreeNodeMemory(node);
        throw;
    }
    return node;
}

template<typename KEY, typename KEYARG, typename VALUE, typename VALUEARG, bool RELEASE>
template<typename RULE, typename MAKE>
auto VnMap<KEY, KEYARG, VALUE, VALUEARG, RELEASE>::Insert(const RULE& rule,
                                                          CKeyNode*& found,
                                                          const MAKE& make) -> CKeyNode* {
    int32_t bucket = -1;
    VnMapNode* tail = nullptr;
    const auto findTail = [&](bool matching) {
        bucket = BucketOf(rule.GetHash());
        tail = nullptr;
        for (VnMapNode* node = Buckets[bucket]; node != nullptr; node = node->Next) {
            if (matching && rule.Matches(static_cast<CKeyNode*>(node)->Key)) {
                return static_cast<CKeyNode*>(node);
            }
            tail = node;
        }
        return static_cast<CKeyNode*>(nullptr);
    };
    found = BucketCount < 1 ? nullptr : findTail(true);
    if (found != nullptr) {
        return nullptr;
    }
    if (NeedsGrowth(Count + 1)) {
        GrowTable(Count + 1);
        findTail(false);
    }
    CKeyNode* node = make();
    LinkNode(node, tail, bucket);
    return node;
}

template<typename KEY, typename KEYARG, typename VALUE, typename VALUEARG, bool RELEASE>
template<typename RULE, typename MAKE>
bool VnMap<KEY, KEYARG, VALUE, VALUEARG, RELEASE>::Store(const RULE& rule,
                                                         const MAKE& make,
                                                         VALUEARG value,
                                                         bool overwrite) {
    CKeyNode* found = nullptr;
    CKeyNode* added = Insert(rule, found, make);
    if (added != nullptr) {
        static_cast<CNode*>(added)->Value = value;
        return true;
    }
    if (!overwrite) {
        return false;
    }
    auto* node = static_cast<CNode*>(found);
    if constexpr (std::is_pointer_v<VALUE>) {
        if (node->Value == value) {
            // An owning map would delete the very object that it is given to keep.
            return true;
        }
    }
    ReleaseNode(node, /*freeNode=*/false);
    node->Value = value;
    return true;
}

template<typename KEY, typename KEYARG, typename VALUE, typename VALUEARG, bool RELEASE>
template<typename RULE>
bool VnMap<KEY, KEYARG, VALUE, VALUEARG, RELEASE>::RemoveFound(const RULE& rule) {
    if (BucketCount < 1) {
        return false;
    }
    const int32_t bucket = BucketOf(rule.GetHash());
    VnMapNode* previous = nullptr;
    VnMapNode* node = Buckets[bucket];
    while (node != nullptr && !rule.Matches(static_cast<CKeyNode*>(node)->Key)) {
        previous = node;
        node = node->Next;
    }
    if (node == nullptr) {
        return false;
    }
    UnlinkNode(node, previous, bucket);
    FreeNode(node);
    return true;
}
