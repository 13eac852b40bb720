#include "core/VnString.h"

#include "core/VnBuffer.h"
#include "core/VnDllBuffer.h"
#include "core/VnDllString.h"
#include "tests/support/TestText.h"
#include "tests/support/TextSubject.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <clocale>
#include <cstddef>
#include <cstdlib>
#include <memory>
#include <new>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

namespace {

using Access = VnStringTestAccess;

/// Empties the pool, so that a test decides what is in it.
void EmptyPool() {
    VnStringGlobals& globals = VnStringGlobals::Get();
    while (globals.GetPoolCount() > 0) {
        delete[] reinterpret_cast<std::byte*>(globals.AllocateBlock(0, true));
    }
}

/// Runs before every static of the product: the manager must come into being for it.
__attribute__((init_priority(200))) VnString Early(L"early");

TEST(VnStringManager, WorksInStaticInitialisers) {
    EXPECT_EQ(Early, L"early");
    EXPECT_EQ(Access::Header(Early).Manager, &VnStringGlobals::Get());
}

TEST(VnStringManager, PoolGivesTheTightestBlockAndTheFirstOfEquals) {
    // Lengths of the blocks in the pool, and the index of the one that is given, -1 for a new one.
    const std::tuple<const char*, std::vector<int32_t>, int32_t, bool, int32_t> rows[] = {
        {"tightest, first of equals", {299, 99, 199, 199, 59}, 120, true, 2},
        {"an excess of 15 ends the scan", {115, 100}, 100, true, 0},
        {"one of 16 does not", {116, 100}, 100, true, 1},
        {"too small", {99, 399}, 400, true, -1},
        {"not asked", {100}, 100, false, -1},
    };
    VnStringGlobals& globals = VnStringGlobals::Get();
    for (const auto& [what, lengths, wanted, usePool, takenIndex] : rows) {
        SCOPED_TRACE(what);
        EmptyPool();
        std::vector<VnStringHeader*> blocks;
        for (const int32_t length : lengths) {
            blocks.push_back(globals.AllocateBlock(length, false));
        }
        for (VnStringHeader* block : blocks) {
            globals.FreeBlock(block);
        }
        const auto pooled = static_cast<int32_t>(blocks.size());
        ASSERT_EQ(globals.GetPoolCount(), pooled);
        VnStringHeader* given = globals.AllocateBlock(wanted, usePool);
        const bool isNew = takenIndex < 0;
        EXPECT_EQ(std::find(blocks.begin(), blocks.end(), given) - blocks.begin(),
                  isNew ? pooled : takenIndex);
        EXPECT_EQ(given->Capacity,
                  1 + (isNew ? wanted : lengths[static_cast<std::size_t>(takenIndex)]));
        EXPECT_EQ(given->Length, wanted);
        EXPECT_EQ(given->ReferenceCount, 1);
        EXPECT_EQ(globals.GetPoolCount(), pooled - (isNew ? 0 : 1));
        globals.FreeBlock(given);
    }
}

TEST(VnStringManager, PoolTakesSixteenBlocksOfUpTo1031Characters) {
    EmptyPool();
    VnStringGlobals& globals = VnStringGlobals::Get();
    globals.FreeBlock(globals.AllocateBlock(1031, true));
    EXPECT_EQ(globals.GetPoolCount(), 0) << "capacity 1032 never enters";
    std::vector<VnStringHeader*> blocks(17);
    for (VnStringHeader*& block : blocks) {
        block = globals.AllocateBlock(1030, true);
    }
    for (VnStringHeader* block : blocks) {
        globals.FreeBlock(block);
    }
    EXPECT_EQ(globals.GetPoolCount(), 16);
    globals.FreeBlock(nullptr);
}

TEST(VnStringManager, CreateStringTable) {
    const struct {
        const wchar_t* Characters;
        int32_t Length;
        int32_t Capacity;
        bool Force;
        bool Exact;
        int32_t ExpectedLength;
        int32_t ExpectedCapacity; ///< 1 for the shared empty text
    } rows[] = {
        {L"abc", -1, -1, false, true, 3, 4},  {L"abc", 2, -1, false, true, 2, 3},
        {L"a\0c", 3, -1, false, true, 3, 4},  {L"a\0c", 3, -1, false, false, 1, 2},
        {L"abc", -1, 10, false, true, 3, 11}, {L"abc", -1, 2, false, true, 2, 3},
        {nullptr, 5, -1, false, true, 0, 1},  {nullptr, 5, 8, false, true, 0, 9},
        {L"", -1, 0, true, true, 0, 1},
    };
    VnStringGlobals& globals = VnStringGlobals::Get();
    for (const auto& row : rows) {
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
    VnString text;
    Access::Adopt(text, globals.CreateFromBytes("a\xE9"));
    EXPECT_EQ(text, L"a\u00E9");
    Access::Adopt(text, globals.CreateBlank(3));
    EXPECT_EQ(text, VnString(L"\0\0\0", 3));
    Access::Adopt(text, globals.CreatePrivateEmpty());
    EXPECT_EQ(Access::Count(text), 1);
    EXPECT_EQ(text, L"");
}

TEST(VnStringManager, TooLongATextIsTheArraysFailure) {
    EXPECT_THROW(VnStringGlobals::Get().AllocateBlock(0x7fffffff, true), std::bad_array_new_length);
    VnString text(L"a");
    EXPECT_THROW(text.Prepend(L'x', 0x7fffffff), std::bad_array_new_length);
    EXPECT_EQ(text, L"a");
}

TEST(VnStringManager, TablesFollowTheLocaleWhenTheyAreRebuilt) {
    EXPECT_EQ(VnStringGlobals::ToLower(L'\u00C9'), L'\u00C9') << "no locale is set at load";
    EXPECT_TRUE(VnStringGlobals::IsPrintable(160) && !VnStringGlobals::IsPrintable(7));
    EXPECT_TRUE(VnStringGlobals::IsPunctuation(L'!') && VnStringGlobals::IsSpace(L'\t'));
    setenv("LC_ALL", "C.UTF-8", 1);
    VnStringGlobals::Get().RebuildTables(true);
    EXPECT_EQ(VnStringGlobals::ToLower(L'\u00C9'), L'\u00E9');
    EXPECT_EQ(VnStringGlobals::ToLower(L'\u0416'), L'\u0436');
    EXPECT_EQ(VnStringGlobals::ToUpper(L'\u00E9'), L'\u00C9');
    EXPECT_TRUE(VnStringGlobals::IsLetter(L'\u00E9') && VnStringGlobals::IsLetter(L'\u0416'));
    std::setlocale(LC_ALL, "C");
    VnStringGlobals::Get().RebuildTables(false);
}

TEST(VnString, CopiesShareUnlessTheSourceIsEmptyOrLocked) {
    VnString source(L"abc");
    VnString copy(source);
    EXPECT_EQ(copy.GetText(), source.GetText());
    EXPECT_EQ(Access::Count(source), 2);
    copy = VnString();
    EXPECT_EQ(Access::Count(source), 1);

    VnString empty;
    empty.GetBuffer();
    empty.ReleaseBuffer(0);
    EXPECT_EQ(Access::Count(empty), 1);
    for (VnString* from : {&empty, &copy}) {
        VnString emptyCopy(*from);
        EXPECT_EQ(emptyCopy.GetText(), VnStringGlobals::Get().GetEmpty());
        EXPECT_EQ(Access::Count(emptyCopy), VnStringHeader::kStaticCount);
    }

    source.GetBuffer()[1] = 0; // not told to the string yet
    copy = source;
    EXPECT_NE(copy.GetText(), source.GetText());
    EXPECT_EQ(copy, L"a");
}

TEST(VnString, BlocksStayWithTheirManager) {
    ForeignManager manager;
    {
        VnString foreign;
        Access::Adopt(foreign, manager.CreateString(L"xyz", -1, -1, false, true, false));
        VnString copied = foreign;
        VnString assigned;
        assigned = std::move(foreign);
        VnString swapped;
        swapped.Swap(foreign); // NOLINT(bugprone-use-after-move): other managers' texts are copied
        EXPECT_TRUE(foreign.IsEmpty());
        foreign = swapped;
        VnString moved(std::move(foreign));
        for (VnString* text : {&copied, &assigned, &swapped, &moved}) {
            EXPECT_EQ(Access::Header(*text).Manager, &VnStringGlobals::Get());
            EXPECT_EQ(*text, L"xyz");
        }
        foreign = moved; // NOLINT(bugprone-use-after-move)
        foreign.Replace(L"y", L"---");
        EXPECT_EQ(foreign, L"x---z");
        EXPECT_EQ(Access::Header(foreign).Manager, &manager);
    }
    EXPECT_EQ(manager.Live, 0);
}

TEST(VnString, AssigningToALockedTextKeepsItLocked) {
    const VnString source(L"new");
    void (*const assigns[])(VnString&, const VnString&) = {
        [](VnString& t, const VnString& from) { t = from; },
        [](VnString& t, const VnString& from) { t = VnString(from); },
        [](VnString& t, const VnString&) { t = L"new"; },
        [](VnString& t, const VnString&) { t.Assign(L"\x6E000000\x65000000", 2, false, true); },
        [](VnString& t, const VnString&) { t = VnString(); },
    };
    for (const auto assign : assigns) {
        SCOPED_TRACE(&assign - assigns);
        VnString text(L"old");
        text.GetBuffer();
        assign(text, source);
        EXPECT_EQ(Access::Count(text), VnStringHeader::kLockedCount);
        EXPECT_NE(text.GetText(), source.GetText());
        text.ReleaseBuffer();
        EXPECT_TRUE(source.StartsWith(text));
        EXPECT_EQ(Access::Count(text), 1);
    }
}

TEST(VnString, SelfAssignmentAndMoves) {
    VnString text(L"abc");
    VnString& same = text;
    text = same;
    text = text.GetText() + 1;
    EXPECT_EQ(text, L"bc");
    text.Assign(text.GetText(), 1);
    text = std::move(same);
    VnString target(L"gone");
    target = std::move(text);
    EXPECT_EQ(target, L"b");
    EXPECT_EQ(Access::Count(target), 1);
    EXPECT_TRUE(text.IsEmpty()); // NOLINT(bugprone-use-after-move): it stays usable
    target = L'x';
    EXPECT_EQ(target, L"x");
    const std::unique_ptr<wchar_t[]> copy(target.CreateCopy());
    EXPECT_STREQ(copy.get(), L"x");
    target = L'\0';
    EXPECT_TRUE(target.IsEmpty());
}

TEST(VnString, GetBufferGrowsByTheRule) {
    // The capacity, with the terminator, is that of a private text of 3 characters.
    const std::tuple<const char*, int32_t, bool, int32_t> cases[] = {
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
    EmptyPool();
    for (const auto& [what, minLength, exact, capacity] : cases) {
        SCOPED_TRACE(what);
        VnString text(L"abc");
        Access::Adopt(text, VnStringGlobals::Get().CreateString(L"abc", 3, -1, false, true, false));
        text.GetBuffer(minLength, exact);
        EXPECT_EQ(text.GetCapacity(), capacity);
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
}

TEST(VnString, GetBufferOfASharedTextMakesAPrivateOne) {
    VnString text(L"abc");
    const VnString twin(text);
    text.ReleaseBuffer(1);
    EXPECT_EQ(twin, L"abc") << "nothing was handed out";
    text.GetBuffer(10)[0] = L'x';
    EXPECT_EQ(Access::Count(text), VnStringHeader::kLockedCount);
    text.ReleaseBuffer(2);
    EXPECT_EQ(text, L"xb");
    EXPECT_EQ(twin, L"abc");
    text = twin;
    EXPECT_EQ(*text.GetBuffer(5, false, false), 0) << "nothing is kept";
    EXPECT_EQ(twin, L"abc");
}

TEST(VnString, FreeExtra) {
    EmptyPool();
    VnStringGlobals& globals = VnStringGlobals::Get();
    VnString text(L"abc");
    text.GetBuffer(100, true);
    text.ReleaseBuffer();
    EmptyPool(); // of the first block, which would be of the exact size
    globals.FreeBlock(globals.AllocateBlock(10, false));
    text.FreeExtra(99);
    EXPECT_EQ(text.GetCapacity(), 101) << "not as much is free";
    {
        const VnString twin(text);
        text.FreeExtra(0);
        EXPECT_EQ(text.GetCapacity(), 101) << "shared";
    }
    text.GetBuffer();
    text.FreeExtra(0);
    EXPECT_EQ(text.GetCapacity(), 101) << "locked";
    const VnString moved(std::move(text));
    EXPECT_EQ(moved, L"abc");
    EXPECT_NE(moved.GetText(), text.GetText()) << "locked"; // NOLINT(bugprone-use-after-move)
    text.ReleaseBuffer();
    text.FreeExtra(98);
    EXPECT_EQ(text.GetCapacity(), 4) << "and not the block of the pool";
    EXPECT_EQ(text, L"abc");
}

TEST(VnString, AssignReadsMarksAndSwaps) {
    const std::tuple<const wchar_t*, int32_t, bool, bool, const wchar_t*> rows[] = {
        {L"\xFEFF\x61\x62", -1, true, false, L"ab"},
        {L"\xFFFE\x61000000\x62000000", -1, true, false, L"ab"},
        {L"\xFFFE\x61000000\x62000000", 2, true, false, L"a"},
        {L"\x61000000\x62000000", -1, false, true, L"ab"},
        {L"\xFEFF\x61", -1, false, false, L"\xFEFF\x61"},
        {L"\xFEFF", 1, true, false, L""},
        {nullptr, 5, true, true, L""},
    };
    for (const auto& [in, length, detect, swap, out] : rows) {
        VnString text(L"old");
        text.Assign(in, length, detect, swap);
        EXPECT_EQ(text, out) << length << ToBytes(out);
    }
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

TEST(VnString, OtherModulesReachTextAndBytesThroughAdapters) {
    VnString text(L"abc");
    VnDllString adapter(text);
    IVnDllString& far = adapter;
    far.Set(L"hello", 3);
    EXPECT_STREQ(far.GetCharacters(), L"hel");
    far.GetBuffer(20, true)[0] = L'J';
    far.ReleaseBuffer(2);
    EXPECT_EQ(text, L"Je");
    far.Empty();
    EXPECT_TRUE(text.IsEmpty());

    VnBuffer buffer = ToBuffer("x");
    VnDllBuffer bufferAdapter(buffer);
    IVnDllBuffer& bytes = bufferAdapter;
    for (const int64_t size : {4, 2, 100}) {
        bytes.SetSize(size);
        EXPECT_EQ(bytes.GetSize(), size);
        EXPECT_EQ(buffer.GetAllocatedSize(), std::max<int64_t>(size, 4));
        EXPECT_EQ(bytes.GetData(), buffer.GetData());
        EXPECT_EQ(*buffer.GetData(), 'x');
    }
}

} // namespace
