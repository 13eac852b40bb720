#pragma once

#include "core/VnArray.h"

#include <cstdint>

/// Header of one block; its bytes follow.
struct CBlockDataContainerItem {
    int64_t Size; ///< usable bytes of the block
    int64_t Free; ///< bytes not yet handed out: the last ones of the block

    unsigned char* GetBytes() { return reinterpret_cast<unsigned char*>(this + 1); }
};

static_assert(sizeof(CBlockDataContainerItem) == 16);

/// Carves small pieces out of big blocks, for containers that give all their pieces up at once.
///
/// A piece is aligned by its size: 1 byte to 1, 2 to 2, 3 and 4 to 4, more to 8. It lives until
/// Reset or the destructor. At most kOpenBlockLimit blocks whose room was too small for the last
/// piece stay open for smaller ones, so that the search stays short. Not thread-safe.
class CBlockDataContainer {
public:
    using CBlockList = VnArray<CBlockDataContainerItem*, CBlockDataContainerItem*, true>;

    /// Blocks of less room than asked for that are still tried.
    static constexpr int32_t kOpenBlockLimit = 8;

    /// `blockSize` is the usual size of a block in bytes; a block with less than `minimumFree`
    /// bytes left is not tried again. No block is made yet.
    CBlockDataContainer(int64_t blockSize, int64_t minimumFree);
    virtual ~CBlockDataContainer();
    CBlockDataContainer(const CBlockDataContainer&) = delete;
    CBlockDataContainer& operator=(const CBlockDataContainer&) = delete;

    /// A piece of `size` bytes, holding a copy of `source` unless that is null; the bytes are not
    /// initialised then. Null when a block made for it has no room left behind the alignment.
    /// Throws std::bad_alloc.
    void* Allocate(const void* source, int64_t size);

    /// Gives up all pieces; the blocks stay for later ones, those that were still open first.
    void Reset();

    /// Blocks that are tried, and blocks that are not.
    int32_t GetOpenBlockCount() const { return OpenBlocks.GetCount(); }
    int32_t GetFullBlockCount() const { return FullBlocks.GetCount(); }

private:
    static void* Carve(CBlockDataContainerItem& block, const void* source, int64_t size);
    CBlockDataContainerItem* MakeBlock(int64_t size);

    int64_t BlockSize;     ///< usual size of a new block
    int64_t MinimumFree;   ///< a block with less room is retired
    CBlockList OpenBlocks; ///< tried, oldest first
    CBlockList FullBlocks; ///< no longer tried
};
