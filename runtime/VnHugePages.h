#pragma once

#include <sys/mman.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>

/// Asks for huge pages behind a block that was just allocated, to be filled. Filling memory for the
/// first time costs several times as much by small pages: a fault for each 4 KiB. What is left
/// empty at the block's end may take up to 2 MiB more.
///
/// This is advice: small blocks are left alone, a refusal changes nothing, and errno stays. The
/// pages that the block's ends lie on may belong to neighbours, whom it does no harm.
inline void VnAdviseHugePages(void* block, std::size_t bytes) {
    constexpr std::size_t kHugePage = std::size_t{2} << 20;
    constexpr uintptr_t kPage = 4096;
    if (bytes < kHugePage) {
        return;
    }
    const auto address = reinterpret_cast<uintptr_t>(block);
    const uintptr_t begin = address / kPage * kPage;
    const uintptr_t end = (address + bytes + kPage - 1) / kPage * kPage;
    const int error = errno;
    static_cast<void>(madvise(reinterpret_cast<void*>(begin), end - begin, MADV_HUGEPAGE));
    errno = error;
}
