#include "data/CBlockDataContainer.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace {

/// Alignment of a piece, which depends on its size only.
uintptr_t GetAlignment(int64_t size) {
    if (size <= 1) {
        return 1;
    }
    if (size <= 2) {
        return 2;
    }
    return size <= 4 ? 4 : 8;
}

void FreeBlocks(const CBlockDataContainer::CBlockList& blocks) {
    for (CBlockDataContainerItem* block : blocks) {
        ::operator delete(block);
    }
}

} // namespace

CBlockDataContainer::CBlockDataContainer(int64_t blockSize, int64_t minimumFree)
    : BlockSize(blockSize)
    , MinimumFree(minimumFree) {
}

CBlockDataContainer::~CBlockDataContainer() {
    FreeBlocks(OpenBlocks);
    FreeBlocks(FullBlocks);
}

void* CBlockDataContainer::Allocate(const void* source, int64_t size) {
    int32_t index = 0;
    while (index < OpenBlocks.GetCount()) {
        CBlockDataContainerItem* block = OpenBlocks[index];
        if (void* piece = Carve(*block, source, size)) {
            return piece;
        }
        if (index >= kOpenBlockLimit || block->Free < MinimumFree) {
            FullBlocks.Add(block);
            OpenBlocks.RemoveAt(index);
        } else {
            ++index;
        }
    }
    return Carve(*MakeBlock(std::max(size, BlockSize)), source, size);
}

void CBlockDataContainer::Reset() {
    OpenBlocks.Append(FullBlocks);
    FullBlocks.Empty();
    for (CBlockDataContainerItem* block : OpenBlocks) {
        block->Free = block->Size;
    }
}

/// A piece from the front of the block's free bytes, or null when they are too few.
void* CBlockDataContainer::Carve(CBlockDataContainerItem& block, const void* source, int64_t size) {
    if (size > block.Free) {
        return nullptr; // and the sum below cannot overflow
    }
    unsigned char* next = block.GetBytes() + (block.Size - block.Free);
    const uintptr_t alignment = GetAlignment(size);
    const auto past = static_cast<int64_t>(reinterpret_cast<uintptr_t>(next) % alignment);
    const int64_t padding = past == 0 ? 0 : static_cast<int64_t>(alignment) - past;
    if (padding + size > block.Free) {
        return nullptr;
    }
    unsigned char* piece = next + padding;
    block.Free -= padding + size;
    if (source != nullptr && size > 0) {
        std::memcpy(piece, source, static_cast<size_t>(size));
    }
    return piece;
}

CBlockDataContainerItem* CBlockDataContainer::MakeBlock(int64_t size) {
    OpenBlocks.Reserve(OpenBlocks.GetCount() + 1, /*exact=*/false);
    void* memory = ::operator new(sizeof(CBlockDataContainerItem) + static_cast<size_t>(size));
    auto* block = new (memory) CBlockDataContainerItem{size, size};
    OpenBlocks.Add(block);
    return block;
}
