#include "data/CBlockDataContainer.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

namespace {

/// Bytes between two pieces.
int64_t Distance(const void* from, const void* to) {
    return static_cast<const unsigned char*>(to) - static_cast<const unsigned char*>(from);
}

TEST(CBlockDataContainer, AlignsBySize) {
    struct {
        int64_t First;
        int64_t Second;
        int64_t Distance;
    } constexpr kRows[] = {{1, 1, 1}, {1, 2, 2}, {1, 3, 4}, {1, 4, 4},    {1, 5, 8},
                           {1, 8, 8}, {3, 2, 4}, {5, 4, 8}, {16, 24, 16}, {9, 1, 9}};
    for (const auto& row : kRows) {
        CBlockDataContainer container(256, 0);
        const void* first = container.Allocate(nullptr, row.First);
        const void* second = container.Allocate(nullptr, row.Second);
        EXPECT_EQ(Distance(first, second), row.Distance) << row.First << ", " << row.Second;
    }
}

TEST(CBlockDataContainer, RetiresBlocksThatAreTooFull) {
    const struct {
        const char* What;
        int64_t MinimumFree;
        std::vector<int64_t> Sizes;
        int32_t Open;
        int32_t Full;
    } rows[] = {
        {"no block before the first piece", 8, {}, 0, 0},
        {"a large piece has a block of its own", 1, {1000}, 1, 0},
        {"which retires at the next walk", 1, {1000, 8}, 1, 1},
        {"24 bytes are left: above the minimum", 16, {40, 40}, 2, 0},
        {"just the minimum", 24, {40, 40}, 2, 0},
        {"below it", 25, {40, 40}, 1, 1},
        {"a small piece fits the first block", 16, {40, 40, 16}, 2, 0},
        {"and the next passes over it", 16, {40, 40, 16, 16}, 1, 1},
    };
    for (const auto& row : rows) {
        CBlockDataContainer container(64, row.MinimumFree);
        for (const int64_t size : row.Sizes) {
            container.Allocate(nullptr, size);
        }
        EXPECT_EQ(container.GetOpenBlockCount(), row.Open) << row.What;
        EXPECT_EQ(container.GetFullBlockCount(), row.Full) << row.What;
    }
}

TEST(CBlockDataContainer, KeepsAtMostEightBlocksThatAreTooSmall) {
    CBlockDataContainer container(64, 0);
    for (int block = 0; block < 30; ++block) {
        container.Allocate(nullptr, 40);
        // The block that took the last piece stands behind the eight.
        EXPECT_LE(container.GetOpenBlockCount(), CBlockDataContainer::kOpenBlockLimit + 1);
        EXPECT_EQ(container.GetOpenBlockCount() + container.GetFullBlockCount(), block + 1);
    }
}

TEST(CBlockDataContainer, ResetReusesTheBlocksFromTheStart) {
    CBlockDataContainer container(64, 64);
    const void* first = container.Allocate(nullptr, 40);
    container.Allocate(nullptr, 40);
    container.Allocate(nullptr, 40);
    EXPECT_EQ(container.GetFullBlockCount(), 2);
    const void* open = container.Allocate(nullptr, 8);
    container.Reset();
    EXPECT_EQ(container.GetFullBlockCount(), 0);
    EXPECT_EQ(container.GetOpenBlockCount(), 3);
    // The block that was still open comes first, the retired ones follow in their order.
    EXPECT_EQ(Distance(container.Allocate(nullptr, 40), open), 40);
    EXPECT_EQ(container.Allocate(nullptr, 40), first);
}

TEST(CBlockDataContainer, PiecesOfAnySizeAreApartAndKeepTheirBytes) {
    std::mt19937 random(11);
    CBlockDataContainer container(512, 24);
    struct CPiece {
        const unsigned char* Bytes;
        std::vector<unsigned char> Expected;
    };
    for (int round = 0; round < 3; ++round) {
        std::vector<CPiece> pieces;
        for (int number = 0; number < 3000; ++number) {
            std::vector<unsigned char> bytes(1 + random() % 60, static_cast<unsigned char>(number));
            const auto size = static_cast<int64_t>(bytes.size());
            void* piece = container.Allocate(bytes.data(), size);
            ASSERT_NE(piece, nullptr);
            ASSERT_EQ(reinterpret_cast<uintptr_t>(piece)
                          % (size > 4   ? 8
                             : size > 2 ? 4
                                        : size),
                      0U);
            pieces.push_back({static_cast<unsigned char*>(piece), bytes});
        }
        for (const CPiece& piece : pieces) {
            ASSERT_EQ(std::memcmp(piece.Bytes, piece.Expected.data(), piece.Expected.size()), 0);
        }
        container.Reset();
    }
}

} // namespace
