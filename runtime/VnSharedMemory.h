#pragma once

#include "core/VnString.h"

#include <cstdint>

/// A block of POSIX shared memory, mapped for reading and writing.
///
/// Whoever opens a name first creates the block and removes the name again when closing; everybody
/// else only maps it. The bytes of a new block are zero. One thread at a time.
class VnSharedMemory {
public:
    VnSharedMemory() = default;
    virtual ~VnSharedMemory();
    VnSharedMemory(const VnSharedMemory&) = delete;
    VnSharedMemory& operator=(const VnSharedMemory&) = delete;

    /// Closes what was open, then opens or creates the block `name` (a leading "/" is added when it
    /// has none) and maps `size` bytes, rounded up to whole pages. False for an empty name, a size
    /// below 1 and every failure, and the object is closed then.
    bool Open(const VnString& name, int32_t size);

    /// Unmaps and closes; the creator removes the name too.
    void Close();

    /// First byte of the block, null when closed. Ends with Close.
    void* GetMapping() const { return Mapping; }

    /// The block's descriptor, -1 when closed.
    int32_t GetDescriptor() const { return Descriptor; }

    /// Bytes that are mapped.
    int32_t GetSize() const { return Size; }

    /// True when this object made the block.
    bool IsCreator() const { return Creator; }

private:
    VnString Name;           ///< with its leading "/"
    int32_t Descriptor = -1; ///< -1 when closed
    int32_t Size = 0;        ///< length of the mapping
    bool Creator = false;
    void* Mapping = nullptr;
};
