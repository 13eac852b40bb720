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

TEST(CBlockDataContainer, MakesNoBlockBeforeTheFirstPiece) {
    CBlockDataContainer container(64, 8);
    EXPECT_EQ(container.GetOpenBlockCount(), 0);
    container.Allocate("0123456", 8);
    EXPECT_EQ(container.GetOpenBlockCount(), 1);
}

TEST(CBlockDataContainer, GivesALargePieceABlockOfItsOwn) {
    CBlockDataContainer container(64, 1);
    ASSERT_NE(container.Allocate(nullptr, 1000), nullptr);
    EXPECT_EQ(container.GetOpenBlockCount(), 1);
    container.Allocate(nullptr, 8);
    // The full block has no room left and retires at the next walk.
    EXPECT_EQ(container.GetFullBlockCount(), 1);
    EXPECT_EQ(container.GetOpenBlockCount(), 1);
}

TEST(CBlockDataContainer, RetiresBlocksBelowTheMinimum) {
    CBlockDataContainer container(64, 16);
    container.Allocate(nullptr, 40); // 24 bytes left: stays open.
    container.Allocate(nullptr, 40);
    EXPECT_EQ(container.GetFullBlockCount(), 0);
    EXPECT_EQ(container.GetOpenBlockCount(), 2);
    container.Allocate(nullptr, 16); // Fits the first: 8 bytes left.
    EXPECT_EQ(container.GetFullBlockCount(), 0);
    container.Allocate(nullptr, 16); // Passes over the first, which retires.
    EXPECT_EQ(container.GetFullBlockCount(), 1);
    EXPECT_EQ(container.GetOpenBlockCount(), 1);
}

TEST(CBlockDataContainer, KeepsABlockOfExactlyTheMinimum) {
    CBlockDataContainer container(64, 24);
    container.Allocate(nullptr, 40);
    container.Allocate(nullptr, 40);
    EXPECT_EQ(container.GetFullBlockCount(), 0);
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
