#include "core/VnMapBase.h"

#include "data/CBlockDataContainer.h"

#include <algorithm>
#include <limits>
#include <new>

namespace {

constexpr int32_t kSmallestTable = 7;
constexpr int32_t kSmallestPower = 4;
constexpr int32_t kLargestPower = 30;

/// Buckets of a table that grows for `keyCount` keys.
int32_t GetTableSize(int32_t keyCount) {
    if (keyCount <= kSmallestTable) {
        return kSmallestTable;
    }
    int32_t power = kSmallestPower;
    while (power < kLargestPower && (1 << power) <= keyCount) {
        ++power;
    }
    return (1 << power) - 1;
}

} // namespace

VnMapBase::~VnMapBase() {
    // The entries are gone: the destructor that knows their type has freed them.
    delete[] Buckets;
    delete NodeAllocator;
}

void VnMapBase::RemoveAll() {
    for (int32_t bucket = 0; bucket < BucketCount && Count > 0; ++bucket) {
        VnMapNode* node = Buckets[bucket];
        Buckets[bucket] = nullptr;
        while (node != nullptr) {
            VnMapNode* next = node->Next;
            FreeNode(node);
            --Count;
            node = next;
        }
    }
    Count = 0;
    if (NodeAllocator != nullptr) {
        NodeAllocator->Reset();
    }
}

void VnMapBase::Reserve(int32_t count) {
    const int64_t planned = static_cast<int64_t>(count) * 120 / 100;
    GrowTable(
        static_cast<int32_t>(std::clamp<int64_t>(planned, 0, std::numeric_limits<int32_t>::max())));
}

void VnMapBase::SetNodeAllocator(bool enable, int64_t blockSize) {
    if (Count > 0) {
        RemoveAll();
    }
    if (enable && NodeAllocator == nullptr) {
        NodeAllocator = new CBlockDataContainer(blockSize, GetNodeSize());
    } else if (!enable) {
        delete NodeAllocator;
        NodeAllocator = nullptr;
    }
}

void VnMapBase::GrowTable(int32_t keyCount) {
    const int32_t newCount = GetTableSize(keyCount);
    if (newCount <= BucketCount) {
        return;
    }
    VnMapNode** oldBuckets = Buckets;
    const int32_t oldCount = BucketCount;
    Buckets = new VnMapNode*[static_cast<size_t>(newCount)]();
    BucketCount = newCount;
    for (int32_t oldBucket = 0; oldBucket < oldCount; ++oldBucket) {
        VnMapNode* node = oldBuckets[oldBucket];
        while (node != nullptr) {
            VnMapNode* next = node->Next;
            VnMapNode*& head = Buckets[GetBucket(node)];
            node->Next = head;
            head = node;
            node = next;
        }
    }
    delete[] oldBuckets;
}

void* VnMapBase::AllocateNode(int64_t size) {
    if (NodeAllocator == nullptr) {
        return ::operator new(static_cast<size_t>(size));
    }
    void* node = NodeAllocator->Allocate(nullptr, size);
    if (node == nullptr) {
        throw std::bad_alloc();
    }
    return node;
}

void VnMapBase::FreeNodeMemory(VnMapNode* node) const {
    if (NodeAllocator == nullptr) {
        ::operator delete(node);
    }
}

VnMapNode* VnMapBase::GetFirstFrom(int32_t& bucket) const {
    for (; bucket < BucketCount; ++bucket) {
        if (Buckets[bucket] != nullptr) {
            return Buckets[bucket];
        }
    }
    bucket = -1;
    return nullptr;
}
