#include "core/VnString.h"

#include "core/VnBuffer.h"
#include "core/VnDllBuffer.h"
#include "core/VnDllString.h"
#include "tests/support/TestText.h"
#include "tests/support/TextSubject.h"

#include <gtest/gtest.h>

#include <atomic>
#include <new>
#include <thread>
#include <utility>
#include <vector>

namespace {

using Access = VnStringTestAccess;

/// Takes every block out of the pool for the length of a scope, so that a test decides what is in
/// it.
class EmptyPool {
public:
    EmptyPool() {
        VnStringGlobals& globals = VnStringGlobals::Get();
        while (globals.GetPoolCount() > 0) {
            Taken.push_back(globals.AllocateBlock(0, true));
        }
    }
    EmptyPool(const EmptyPool&) = delete;
    EmptyPool& operator=(const EmptyPool&) = delete;
    ~EmptyPool() {
        for (VnStringHeader* header : Taken) {
            VnStringGlobals::Get().FreeBlock(header);
        }
    }

private:
    std::vector<VnStringHeader*> Taken;
};

TEST(VnStringManager, PoolGivesTheTightestBlockAndTheFirstOfEquals) {
    EmptyPool pool;
    VnStringGlobals& globals = VnStringGlobals::Get();
    std::vector<VnStringHeader*> blocks;
    for (const int32_t length : {299, 99, 199, 199, 59}) {
        blocks.push_back(globals.AllocateBlock(length, false));
    }
    for (VnStringHeader* block : blocks) {
        globals.FreeBlock(block);
    }
    ASSERT_EQ(globals.GetPoolCount(), 5);
    VnStringHeader* tight = globals.AllocateBlock(120, true);
    EXPECT_EQ(tight, blocks[2]);
    EXPECT_EQ(tight->Capacity, 200);
    EXPECT_EQ(tight->Length, 120);
    EXPECT_EQ(tight->ReferenceCount, 1);
    // An excess of 15 ends the scan; the later block of excess 1 is not looked at.
    VnStringHeader* good = globals.AllocateBlock(44, true);
    EXPECT_EQ(good, blocks[4]);
    VnStringHeader* fresh = globals.AllocateBlock(400, true);
    EXPECT_EQ(fresh->Capacity, 401);
    for (VnStringHeader* block : {tight, good, fresh}) {
        globals.FreeBlock(block);
    }
    for (int32_t i = 0; i < 6; ++i) {
        blocks.push_back(globals.AllocateBlock(0, true));
    }
    for (std::size_t i = 5; i < blocks.size(); ++i) {
        globals.FreeBlock(blocks[i]);
    }
}

TEST(VnStringManager, ScanEndsAtAGoodFit) {
    EmptyPool pool;
    VnStringGlobals& globals = VnStringGlobals::Get();
    VnStringHeader* good = globals.AllocateBlock(115, false);
    VnStringHeader* exact = globals.AllocateBlock(100, false);
    globals.FreeBlock(good);
    globals.FreeBlock(exact);
    VnStringHeader* taken = globals.AllocateBlock(100, true);
    EXPECT_EQ(taken, good) << "an excess of 15 is good enough";
    globals.FreeBlock(taken);
    // One more character of excess, and the exact block is found.
    VnStringHeader* other = globals.AllocateBlock(99, true);
    EXPECT_EQ(other, exact);
    globals.FreeBlock(other);
}

TEST(VnStringManager, PoolTakesSixteenBlocksOfUpTo1031Characters) {
    EmptyPool pool;
    VnStringGlobals& globals = VnStringGlobals::Get();
    globals.FreeBlock(globals.AllocateBlock(1031, true));
    EXPECT_EQ(globals.GetPoolCount(), 0) << "capacity 1032 never enters";
    std::vector<VnStringHeader*> blocks;
    for (int32_t i = 0; i < 17; ++i) {
        blocks.push_back(globals.AllocateBlock(1030, true));
    }
    for (VnStringHeader* block : blocks) {
        globals.FreeBlock(block);
    }
    EXPECT_EQ(globals.GetPoolCount(), 16);
    globals.FreeBlock(nullptr);
}

TEST(VnStringManager, CreateStringTable) {
    struct Row {
        const wchar_t* Characters;
        int32_t Length;
        int32_t Capacity;
        bool Force;
        bool Exact;
        int32_t ExpectedLength;
        int32_t ExpectedCapacity; ///< 1 for the shared empty text
    };
    const Row rows[] = {
        {L"abc", -1, -1, false, true, 3, 4},  {L"abc", 2, -1, false, true, 2, 3},
        {L"a\0c", 3, -1, false, true, 3, 4},  {L"a\0c", 3, -1, false, false, 1, 2},
        {L"abc", -1, 10, false, true, 3, 11}, {L"abc", -1, 2, false, true, 2, 3},
        {nullptr, 5, -1, false, true, 0, 1},  {nullptr, 5, 8, false, true, 0, 9},
        {L"", -1, 0, true, true, 0, 1},
    };
    VnStringGlobals& globals = VnStringGlobals::Get();
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::PrintToString(&row - rows));
        wchar_t* made = globals.CreateString(row.Characters, row.Length, row.Capacity, row.Force,
                                             row.Exact, false);
        VnStringHeader* header = VnStringHeader::FromCharacters(made);
        EXPECT_EQ(header->Length, row.ExpectedLength);
        EXPECT_EQ(header->Capacity, row.ExpectedCapacity);
        EXPECT_EQ(made[row.ExpectedLength], 0);
        const bool isShared = made == globals.GetEmpty();
        EXPECT_EQ(isShared, row.ExpectedCapacity == 1 && !row.Force);
        if (!isShared) {
            globals.FreeBlock(header);
        }
    }
    EXPECT_EQ(globals.CreateFromBytes(""), globals.GetEmpty());
    EXPECT_EQ(globals.CreateFromBytes(nullptr), globals.GetEmpty());
    EXPECT_EQ(globals.CreateBlank(0), globals.GetEmpty());
    VnString bytes;
    Access::Adopt(bytes, globals.CreateFromBytes("a\xE9"));
    EXPECT_EQ(bytes, L"a\u00E9");
    VnString blank;
    Access::Adopt(blank, globals.CreateBlank(3));
    EXPECT_EQ(blank, VnString(L"\0\0\0", 3));
    VnString own;
    Access::Adopt(own, globals.CreatePrivateEmpty());
    EXPECT_EQ(Access::Count(own), 1);
    EXPECT_TRUE(own.IsEmpty());
}

TEST(VnStringManager, TooLongATextIsTheArraysFailure) {
    EXPECT_THROW(VnStringGlobals::Get().AllocateBlock(0x7fffffff, true), std::bad_array_new_length);
    VnString text(L"a");
    EXPECT_THROW(text.Prepend(L'x', 0x7fffffff), std::bad_array_new_length);
    EXPECT_EQ(text, L"a");
}

TEST(VnStringManager, CharacterClasses) {
    EXPECT_TRUE(VnStringGlobals::IsPrintable(160));
    EXPECT_TRUE(VnStringGlobals::IsDigit(L'7'));
    EXPECT_FALSE(VnStringGlobals::IsDigit(L'x'));
    EXPECT_TRUE(VnStringGlobals::IsSpace(L'\t'));
    EXPECT_TRUE(VnStringGlobals::IsPunctuation(L'!'));
    EXPECT_TRUE(VnStringGlobals::IsUpper(L'A') && !VnStringGlobals::IsLower(L'A'));
    EXPECT_FALSE(VnStringGlobals::IsPrintable(7));
    EXPECT_EQ(VnStringGlobals::ToLower(L'Q'), L'q');
    EXPECT_EQ(VnStringGlobals::ToUpper(L'q'), L'Q');
}

TEST(VnString, CopiesShareUnlessTheSourceIsEmptyLockedOrForeign) {
    VnString source(L"abc");
    VnString copy(source);
    EXPECT_EQ(copy.GetText(), source.GetText());
    EXPECT_EQ(Access::Count(source), 2);
    {
        const VnString third = copy;
        EXPECT_EQ(Access::Count(source), 3);
    }
    EXPECT_EQ(Access::Count(source), 2);
    copy = VnString();
    EXPECT_EQ(Access::Count(source), 1);

    VnString empty;
    VnString emptyCopy(empty);
    EXPECT_EQ(emptyCopy.GetText(), VnStringGlobals::Get().GetEmpty());
    EXPECT_EQ(Access::Count(emptyCopy), VnStringHeader::kStaticCount);
    empty.GetBuffer();
    empty.ReleaseBuffer(0);
    EXPECT_EQ(Access::Count(empty), 1);
    emptyCopy = empty;
    EXPECT_EQ(emptyCopy.GetText(), VnStringGlobals::Get().GetEmpty());

    wchar_t* buffer = source.GetBuffer();
    buffer[1] = 0; // not told to the string yet
    const VnString fromLocked(source);
    EXPECT_NE(fromLocked.GetText(), source.GetText());
    EXPECT_EQ(fromLocked, L"a");
    source.ReleaseBuffer();

    ForeignManager manager;
    {
        VnString foreign;
        Access::Adopt(foreign, manager.CreateString(L"xyz", -1, -1, false, true, false));
        VnString mine = foreign;
        EXPECT_EQ(mine, L"xyz");
        EXPECT_NE(mine.GetText(), foreign.GetText());
        EXPECT_EQ(Access::Header(mine).Manager, &VnStringGlobals::Get());
        VnString moved;
        moved = std::move(foreign);
        EXPECT_EQ(Access::Header(moved).Manager, &VnStringGlobals::Get());
        EXPECT_EQ(moved, L"xyz");
    }
    EXPECT_EQ(manager.Live, 0);
}

TEST(VnString, AssigningToALockedTextKeepsItLocked) {
    const VnString source(L"new");
    VnString text(L"old");
    text.GetBuffer();
    text = source;
    EXPECT_EQ(Access::Count(text), VnStringHeader::kLockedCount);
    EXPECT_NE(text.GetText(), source.GetText());
    text.ReleaseBuffer();
    EXPECT_EQ(text, L"new");
    EXPECT_EQ(Access::Count(text), 1);
}

TEST(VnString, SelfAssignmentAndMoves) {
    VnString text(L"abc");
    VnString& same = text;
    text = same;
    EXPECT_EQ(text, L"abc");
    text = text.GetText() + 1;
    EXPECT_EQ(text, L"bc");
    text.Assign(text.GetText(), 1);
    EXPECT_EQ(text, L"b");
    VnString target(L"gone");
    target = std::move(text);
    EXPECT_EQ(target, L"b");
    EXPECT_EQ(Access::Count(target), 1);
    text = L"again"; // NOLINT(bugprone-use-after-move): a moved text is empty and usable
    EXPECT_EQ(text, L"again");
    target = std::move(same);
    EXPECT_EQ(target, L"again");
    target = L'x';
    EXPECT_EQ(target, L"x");
    target = L'\0';
    EXPECT_TRUE(target.IsEmpty());
}

struct BufferCase {
    const char* What;
    int32_t MinLength;
    bool Exact;
    int32_t Capacity; ///< with the terminator, of a private text of 3 characters
};

TEST(VnString, GetBufferGrowsByTheRule) {
    const BufferCase cases[] = {
        {"fits", 3, false, 4},
        {"no size", -1, false, 4},
        {"just not", 4, false, 9},
        {"below a power", 255, false, 257},
        {"at a power", 256, false, 513},
        {"exact", 256, true, 257},
        {"at a mebi", 0x100000, false, 0x200001},
        {"above a mebi", 0x100001, false, 0x200001},
        {"at two mebi", 0x200000, false, 0x200001},
    };
    EmptyPool pool;
    for (const BufferCase& row : cases) {
        SCOPED_TRACE(row.What);
        VnString text(L"abc");
        Access::Adopt(text, VnStringGlobals::Get().CreateString(L"abc", 3, -1, false, true, false));
        text.GetBuffer(row.MinLength, row.Exact);
        EXPECT_EQ(text.GetCapacity(), row.Capacity);
        EXPECT_EQ(Access::Count(text), VnStringHeader::kLockedCount);
        text.ReleaseBuffer();
        EXPECT_EQ(text, L"abc");
        EXPECT_EQ(Access::Count(text), 1);
    }
}

TEST(VnString, GetBufferTrustsTheTerminatorOfALockedText) {
    VnString text(L"abcdef");
    text.GetBuffer()[2] = 0;
    text.GetBuffer(1000);
    EXPECT_EQ(text.GetLength(), 2);
    text.ReleaseBuffer();
    EXPECT_EQ(text, L"ab");
}

TEST(VnString, GetBufferOfASharedTextMakesAPrivateOne) {
    VnString text(L"abc");
    const VnString twin(text);
    wchar_t* buffer = text.GetBuffer(10);
    EXPECT_EQ(Access::Count(text), VnStringHeader::kLockedCount);
    buffer[0] = L'x';
    text.ReleaseBuffer(2);
    EXPECT_EQ(text, L"xb");
    EXPECT_EQ(twin, L"abc");
    const VnString second(text);
    text.GetBuffer(5, false, false);
    EXPECT_EQ(*text.GetText(), 0) << "nothing is kept";
    text.ReleaseBuffer();
    EXPECT_EQ(second, L"xb");
}

TEST(VnString, ReleaseBufferNeverTouchesASharedBlock) {
    VnString text(L"abc");
    const VnString twin(text);
    text.ReleaseBuffer(1);
    EXPECT_EQ(twin, L"abc");
    VnString empty;
    empty.ReleaseBuffer(0);
    EXPECT_EQ(Access::Count(empty), VnStringHeader::kStaticCount);
}

TEST(VnString, FreeExtra) {
    EmptyPool pool;
    VnString text(L"abc");
    text.GetBuffer(100, true);
    text.ReleaseBuffer();
    text.FreeExtra(200);
    EXPECT_EQ(text.GetCapacity(), 101);
    {
        const VnString twin(text);
        text.FreeExtra(0);
        EXPECT_EQ(text.GetCapacity(), 101) << "shared";
    }
    text.FreeExtra(50);
    EXPECT_EQ(text.GetCapacity(), 4);
    EXPECT_EQ(text, L"abc");
}

TEST(VnString, AssignReadsMarksAndSwaps) {
    VnString text;
    text.Assign(L"\xFEFF"
                L"ab",
                -1, true);
    EXPECT_EQ(text, L"ab");
    const wchar_t swapped[] = {0xFFFE, 0x61000000, 0x62000000, 0};
    text.Assign(swapped, -1, true);
    EXPECT_EQ(text, L"ab");
    text.Assign(swapped, 2, true);
    EXPECT_EQ(text, L"a");
    text.Assign(swapped + 1, -1, false, true);
    EXPECT_EQ(text, L"ab");
    text.Assign(L"\xFEFF"
                L"a",
                -1);
    EXPECT_EQ(text.GetLength(), 2);
    text.Assign(nullptr, 5);
    EXPECT_TRUE(text.IsEmpty());
}

TEST(VnString, SetAtAndCopy) {
    VnString text(L"abc");
    text.SetAt(3, L'x');
    text.SetAt(-1, L'x');
    EXPECT_EQ(text, L"abc");
    text.SetAt(1, L'x');
    EXPECT_EQ(text, L"axc");
    text.SetAt(1, 0);
    EXPECT_EQ(text, L"a");
    EXPECT_EQ(text.GetLength(), 1);
    wchar_t* copy = text.CreateCopy();
    EXPECT_STREQ(copy, L"a");
    delete[] copy;
}

TEST(VnString, ManyThreadsMayShareOneBlock) {
    const VnString shared(L"a text that several threads copy and change");
    std::atomic<int32_t> wrong{0};
    std::vector<std::thread> threads;
    for (int32_t i = 0; i < 4; ++i) {
        threads.emplace_back([&shared, &wrong] {
            for (int32_t round = 0; round < 2000; ++round) {
                VnString mine = shared;
                const VnString twin = mine;
                mine += L'!';
                if (mine.GetLength() != twin.GetLength() + 1 || twin != shared) {
                    ++wrong;
                }
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(wrong, 0);
    VnString mine = shared;
    EXPECT_EQ(Access::Count(mine), 2);
}

TEST(VnDllString, ReachesTheText) {
    VnString text(L"abc");
    const VnString twin(text);
    VnDllString adapter(text);
    IVnDllString& far = adapter;
    EXPECT_STREQ(far.GetCharacters(), L"abc");
    far.Set(L"hello", 3);
    EXPECT_EQ(text, L"hel");
    far.Set(L"hello", -1);
    EXPECT_EQ(text, L"hello");
    far.GetBuffer(20, true)[0] = L'J';
    far.ReleaseBuffer(5);
    EXPECT_EQ(text, L"Jello");
    far.Empty();
    EXPECT_TRUE(text.IsEmpty());
    EXPECT_EQ(twin, L"abc");
}

TEST(VnDllBuffer, SizesTheBuffer) {
    VnBuffer buffer;
    VnDllBuffer adapter(buffer);
    IVnDllBuffer& far = adapter;
    EXPECT_EQ(far.GetData(), nullptr);
    far.SetSize(4);
    ASSERT_NE(far.GetData(), nullptr);
    static_cast<char*>(far.GetData())[0] = 'x';
    far.SetSize(2);
    EXPECT_EQ(far.GetSize(), 2);
    EXPECT_GE(buffer.GetAllocatedSize(), 4);
    far.SetSize(100);
    EXPECT_EQ(buffer.GetData()[0], 'x');
    far.SetSize(0);
    EXPECT_EQ(far.GetSize(), 0);
}

} // namespace
