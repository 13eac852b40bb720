#pragma once

#include <cstdint>

class CBlockDataContainer;

/// Link that every node of a hash table begins with.
struct VnMapNode {
    VnMapNode* Next = nullptr; ///< next node of the same bucket
};

/// Chained hash table without knowledge of keys and values: the buckets, their growth, and where
/// the memory of nodes comes from.
///
/// An empty map has no table. The table grows when the keys outnumber 2 * buckets + 2, to 7 buckets
/// or to the smallest 2^k - 1 (k at least 4) above the number of keys, and never shrinks. The order
/// of the entries is the order of the buckets and, in a bucket, of the chain; growth reverses
/// chains, so no caller may rely on more. Not thread-safe. Not copyable.
class VnMapBase {
public:
    virtual ~VnMapBase();
    VnMapBase(const VnMapBase&) = delete;
    VnMapBase& operator=(const VnMapBase&) = delete;

    /// Releases what `node` holds and its memory. The node has been unlinked, or the chain is given
    /// up as a whole.
    virtual void FreeNode(VnMapNode* node) = 0;

    /// The bucket of `node`: its key's hash modulo the number of buckets.
    virtual int32_t GetBucket(const VnMapNode* node) const = 0;

    /// Bytes that a node of this map takes.
    virtual int64_t GetNodeSize() const = 0;

    int32_t GetCount() const { return Count; }
    bool IsEmpty() const { return Count == 0; }

    /// Buckets of the table; 0 until the first entry.
    int32_t GetBucketCount() const { return BucketCount; }

    /// Frees every entry. The table stays for later entries.
    void RemoveAll();

    /// Prepares the table for `count` keys and a fifth more, so that it need not grow on the way
    /// there.
    void Reserve(int32_t count);

    /// With `enable`, carves nodes from blocks of `blockSize` bytes from now on instead of one heap
    /// allocation each; a map that does so already stays as it is. Without, goes back to the heap.
    /// A map with entries is emptied first. The memory of a single removed entry is then only
    /// reused after RemoveAll.
    void SetNodeAllocator(bool enable, int64_t blockSize = kNodeBlockSize);

    /// Block size that large maps use.
    static constexpr int64_t kNodeBlockSize = 0x10000;

protected:
    VnMapBase() = default;

    /// Whether a table of this size has to grow before it takes in key number `keyCount`.
    bool NeedsGrowth(int32_t keyCount) const {
        return BucketCount < 1 || 2 * static_cast<int64_t>(BucketCount) + 2 < keyCount;
    }

    /// Makes the table fit for `keyCount` keys by the growth rule of the class and puts every node
    /// in its new bucket. A table that is large enough stays.
    void GrowTable(int32_t keyCount);

    /// Memory for a node; throws std::bad_alloc when there is none.
    void* AllocateNode(int64_t size);

    /// Gives the memory of a node back; nodes of a node allocator stay in their block.
    void FreeNodeMemory(VnMapNode* node) const;

    /// Links `node` behind `tail`, or at the head of the bucket when `tail` is null, and counts it.
    void LinkNode(VnMapNode* node, VnMapNode* tail, int32_t bucket) {
        VnMapNode*& link = tail == nullptr ? Buckets[bucket] : tail->Next;
        node->Next = nullptr;
        link = node;
        ++Count;
    }

    /// Takes `node`, which `previous` (null: the bucket's head) points at, out of its chain.
    void UnlinkNode(VnMapNode* node, VnMapNode* previous, int32_t bucket) {
        VnMapNode*& link = previous == nullptr ? Buckets[bucket] : previous->Next;
        link = node->Next;
        --Count;
    }

    /// First node at or behind the head of `bucket`; sets `bucket` to its bucket, or to -1 with a
    /// null result when there is none.
    VnMapNode* GetFirstFrom(int32_t& bucket) const;

    int32_t Count = 0;       ///< entries
    int32_t BucketCount = 0; ///< 0 until the table exists
    CBlockDataContainer* NodeAllocator =
        nullptr;                   ///< owned; null means that nodes come from the heap
    VnMapNode** Buckets = nullptr; ///< head of each chain
};
