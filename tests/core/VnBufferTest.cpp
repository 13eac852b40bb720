#include "core/VnBuffer.h"

#include "core/VnString.h"
#include "tests/support/TestEnvironment.h"
#include "tests/support/TestText.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <tuple>
#include <utility>

namespace {

const std::tuple<const char*, std::string, void (*)(VnBuffer&), std::string> kEditCases[] = {
    {"append", "ab", [](VnBuffer& b) { b.Append("cd", 2); }, "abcd"},
    {"append of itself", "ab", [](VnBuffer& b) { b.Append(b.GetData(), b.GetSize()); }, "abab"},
    {"append of null", "ab", [](VnBuffer& b) { b.Append(nullptr, 3); }, "ab"},
    {"append of less than nothing", "ab", [](VnBuffer& b) { b.Append("x", -1); }, "ab"},
    {"reserve, zeroed and counted", "ab", [](VnBuffer& b) { b.Reserve(2, true, 0, true); },
     std::string("ab\0\0", 4)},
    {"reserve, not counted", "ab", [](VnBuffer& b) { std::memset(b.Reserve(9), 'x', 9); }, "ab"},
    {"set its own tail", "abcd", [](VnBuffer& b) { b.Set(b.GetData() + 2, 2); }, "cd"},
    {"set nothing", "abcd", [](VnBuffer& b) { b.Set(nullptr, 2); }, ""},
    {"swap pairs", "ab", [](VnBuffer& b) { b.Set("1234567", 7, 2); }, "2143657"},
    {"swap fours", "ab", [](VnBuffer& b) { b.Set("123456789", 9, 4); }, "432187659"},
    {"swap itself", "1234", [](VnBuffer& b) { b.Set(b.GetData(), 4, 4); }, "4321"},
    {"wide", "ab", [](VnBuffer& b) { b.SetWide(L"a"); }, std::string("a\0\0\0\0\0\0\0", 8)},
    {"wide, empty", "ab", [](VnBuffer& b) { b.SetWide(L""); }, std::string(4, 0)},
    {"remove left", "abcd", [](VnBuffer& b) { b.RemoveLeft(3); }, "d"},
    {"remove left of all", "abcd", [](VnBuffer& b) { b.RemoveLeft(9); }, ""},
    {"remove left of none", "abcd", [](VnBuffer& b) { b.RemoveLeft(-1); }, "abcd"},
    {"remove right", "abcd", [](VnBuffer& b) { b.RemoveRight(1); }, "abc"},
    {"remove right of all", "abcd", [](VnBuffer& b) { b.RemoveRight(5); }, ""},
    {"smaller", "abcd", [](VnBuffer& b) { b.SetSize(2); }, "ab"},
    {"empty by size", "abcd", [](VnBuffer& b) { b.SetSize(-2); }, ""},
    {"reverse", "abc", [](VnBuffer& b) { b.Reverse(); }, "cba"},
    {"pad", "abcde", [](VnBuffer& b) { b.Pad(4, '.'); }, "abcde..."},
    {"pad of a multiple", "abcd", [](VnBuffer& b) { b.Pad(4, '.'); }, "abcd"},
    {"pad of no multiple", "abc", [](VnBuffer& b) { b.Pad(0, '.'); }, "abc"},
    {"assigned to itself", "abc", [](VnBuffer& b) { b = static_cast<const VnBuffer&>(b); }, "abc"},
    // x = 1 * 214013 + 2531011 = 0x29E2C0; then 0xC823F683.
    {"random", "ab", [](VnBuffer& b) { b.FillRandom(1); }, "\x29\x23"},
};

TEST(VnBuffer, Changes) {
    for (const auto& [what, before, edit, after] : kEditCases) {
        SCOPED_TRACE(what);
        VnBuffer buffer = ToBuffer(before);
        const VnBuffer twin(buffer);
        edit(buffer);
        EXPECT_EQ(ToBytes(buffer), after);
        EXPECT_GE(buffer.GetAllocatedSize(), buffer.GetSize());
        EXPECT_EQ(ToBytes(twin), before);
    }
}

TEST(VnBuffer, Storage) {
    VnBuffer buffer;
    EXPECT_EQ(buffer.Reserve(-5), nullptr);
    EXPECT_EQ(buffer.GetData(), nullptr);
    buffer.Reserve(10, false, 16384);
    EXPECT_EQ(buffer.GetAllocatedSize(), 16384);
    EXPECT_TRUE(buffer.IsEmpty());
    const uint8_t* block = buffer.GetData();
    buffer.Append("abc", 3, 16384);
    EXPECT_EQ(buffer.GetData(), block);
    buffer.Compact(16382);
    EXPECT_EQ(buffer.GetAllocatedSize(), 16384) << "less than the slack is free";
    buffer.Compact(16381);
    EXPECT_EQ(buffer.GetAllocatedSize(), 3);
    EXPECT_THROW(buffer.Reserve(INT64_MAX), std::bad_array_new_length);
    EXPECT_THROW(buffer.Reserve(INT64_MAX - 3, false, 4096), std::bad_array_new_length);
    VnBuffer moved(std::move(buffer));
    buffer = VnBuffer(4, true); // NOLINT(bugprone-use-after-move): a moved buffer is empty
    EXPECT_EQ(ToBytes(buffer), std::string(4, 0));
    buffer.Swap(moved);
    EXPECT_EQ(ToBytes(buffer), "abc");
    int64_t size = 0;
    const std::unique_ptr<uint8_t[]> copy(buffer.CreateCopy(size));
    EXPECT_EQ(std::string(reinterpret_cast<char*>(copy.get()), static_cast<std::size_t>(size)),
              "abc");
    buffer.Empty();
    EXPECT_EQ(buffer.GetData(), nullptr);
    EXPECT_EQ(buffer.CreateCopy(size), nullptr);
    EXPECT_EQ(size, 0);
}

TEST(VnBuffer, ManySmallAppendsReallocateRarely) {
    VnBuffer buffer;
    int32_t moves = 0;
    const uint8_t* block = nullptr;
    for (int32_t i = 0; i < 100000; ++i) {
        buffer.Append("x", 1);
        moves += buffer.GetData() != block ? 1 : 0;
        block = buffer.GetData();
    }
    EXPECT_LT(moves, 60);
}

TEST(VnBuffer, Finds) {
    const VnBuffer buffer = ToBuffer("abcABCabc");
    const std::tuple<const char*, int64_t, int64_t> rows[] = {
        {"first", buffer.Find("abc", 3), 0},
        {"later", buffer.Find("abc", 3, 1), 6},
        {"at a stride", buffer.Find("abc", 3, 1, 5), 6},
        {"off the stride", buffer.Find("abc", 3, 1, 2), -1},
        {"too long", buffer.Find("abcd", 4, 6), -1},
        {"nothing", buffer.Find("", 0), -1},
        {"null", buffer.Find(nullptr, 1), -1},
        {"negative start", buffer.Find("a", 1, -1), -1},
        {"start past the end", buffer.Find("a", 1, 99), -1},
        {"stride 0", buffer.Find("a", 1, 0, 0), -1},
        {"a huge stride", buffer.Find("c", 1, 1, INT64_MAX), -1},
        {"text", buffer.FindText("ABC"), 3},
        {"text folded", buffer.FindText("BcA", false), 1},
        {"text folded, later", buffer.FindText("ABC", false, 1), 3},
        {"text folded, missing", buffer.FindText("abcd", false), -1},
        {"empty text", buffer.FindText("", false), -1},
        {"in an empty buffer", VnBuffer().FindText("a", false), -1},
    };
    for (const auto& [what, result, expected] : rows) {
        EXPECT_EQ(result, expected) << what;
    }
}

TEST(VnBuffer, Bits) {
    const VnBuffer buffer = ToBuffer(std::string("\xA5\x0F\xFF\x00\x81", 5));
    const std::tuple<int64_t, int32_t, uint32_t> rows[] = {
        {0, 4, 0xA},         {4, 8, 0x50},      {0, 32, 0xA50FFF00}, {7, 32, 0x87FF8040},
        {0, 40, 0xA50FFF00}, {39, 1, 1},        {36, 8, 0x10},       {400, 8, 0},
        {3, 0, 0},           {INT64_MAX, 8, 0}, {-4, 8, 0xA},        {INT64_MIN, 32, 0},
    };
    for (const auto& [position, count, expected] : rows) {
        EXPECT_EQ(buffer.GetBits(position, count), expected) << position << ", " << count;
    }
}

/// Gives its bytes in small pieces, and fails at the end when told to.
class Pieces final : public VnBuffer::IStream {
public:
    Pieces(std::string bytes, bool fails) : Left(std::move(bytes)), Fails(fails) {}
    int32_t Read(void* target, int32_t count) override {
        const std::size_t size =
            std::min({Left.size(), static_cast<std::size_t>(count), std::size_t{70000}});
        std::memcpy(target, Left.data(), size);
        Left.erase(0, size);
        return size == 0 && Fails ? -1 : static_cast<int32_t>(size);
    }

private:
    std::string Left;
    bool Fails;
};

TEST(VnBuffer, StreamsAndFiles) {
    std::string bytes;
    for (int32_t i = 0; i < 200000; ++i) {
        bytes += static_cast<char>(i * 7);
    }
    VnBuffer buffer = ToBuffer("old");
    Pieces whole(bytes, false);
    EXPECT_TRUE(buffer.LoadFromStream(whole));
    EXPECT_EQ(ToBytes(buffer), bytes);
    Pieces broken(bytes, true);
    EXPECT_FALSE(VnBuffer().LoadFromStream(broken));

    const TestFolder folder;
    for (const std::string& contents : {bytes, std::string("x"), std::string()}) {
        EXPECT_TRUE(ToBuffer(contents).SaveToFile(ToText(folder / "a/b/file.bin")));
        EXPECT_TRUE(folder.Exists("a/b/file.bin"));
        EXPECT_EQ(folder.Read("a/b/file.bin"), contents);
    }
    EXPECT_FALSE(buffer.SaveToFile(ToText(folder / "a/b/file.bin/under")));
    EXPECT_FALSE(buffer.SaveToFile(L""));
    const FileSizeLimit limit(100000);
    EXPECT_FALSE(buffer.SaveToFile(ToText(folder / "limited")));
    EXPECT_EQ(folder.Read("limited").size(), 100000U);
}

} // namespace
