#pragma once

#include "runtime/VnCriticalSection.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cwctype>

class IVnStringManager;

/// What stands immediately ahead of the characters of every text block.
///
/// The reference count is one of three kinds of value: 1 and up counts the strings that share the
/// block; kLockedCount means that the characters were handed out for writing, so the block has one
/// owner and is never shared; kStaticCount marks the manager's shared empty text, which is neither
/// counted nor freed.
struct VnStringHeader {
    IVnStringManager* Manager; ///< made the block, and is the only one to free it
    int32_t Length;            ///< characters in use, without the terminator
    int32_t Capacity;          ///< characters that the block can hold, with the terminator
    std::atomic<int32_t> ReferenceCount; ///< see above

    static constexpr int32_t kLockedCount = -1;
    static constexpr int32_t kStaticCount = 0x7ffffc17;

    /// Sets the count of a block that one string alone has, which needs no exchange: no other
    /// thread looks at it until that string is handed over, and a handover orders more than this.
    void SetPrivateCount(int32_t count) { ReferenceCount.store(count, std::memory_order_relaxed); }

    /// The characters behind the header.
    wchar_t* GetCharacters() { return reinterpret_cast<wchar_t*>(this + 1); }

    /// Uses `count` more characters, which the caller writes, and gives their place. Null, and no
    /// change, unless one string alone has the block and there is room: nobody else sees such a
    /// block, so that it need not be locked while it is written to.
    wchar_t* Extend(int32_t count) {
        const int32_t length = Length;
        if (ReferenceCount != 1 || Capacity - length <= count) {
            return nullptr;
        }
        Length = length + count;
        GetCharacters()[length + count] = 0;
        return GetCharacters() + length;
    }
    /// Extend by one character; false where that gives null.
    bool Put(wchar_t ch) {
        wchar_t* const place = Extend(1);
        return place != nullptr && (*place = ch, true);
    }

    /// The header ahead of a block's characters.
    static VnStringHeader* FromCharacters(wchar_t* characters) {
        return reinterpret_cast<VnStringHeader*>(characters) - 1;
    }
};

/// Owner of text blocks. Every module of a process has one of its own; a block may travel between
/// modules, and always goes back to the manager that its header names. Slots are only ever
/// appended.
class IVnStringManager {
public:
    /// Slot 0. A block for `length` characters: count 1, length and manager set. The caller writes
    /// the characters and the terminator. Small blocks come from the pool when `usePool` is set.
    virtual VnStringHeader* AllocateBlock(int32_t length, bool usePool) = 0;

    /// Slot 1. Takes a block back, for the pool or the heap. Null is ignored.
    virtual void FreeBlock(VnStringHeader* header) = 0;

    /// Slot 2. A block with a copy of `characters` (null counts as empty). `length` -1 measures to
    /// the terminator; `capacity` -1 takes the length. A given length is cut at the first zero
    /// character inside it unless `lengthIsExact`. With a capacity of 0 and `forceBlock` off the
    /// result is the shared empty text. Returns the characters of the block.
    virtual wchar_t* CreateString(const wchar_t* characters,
                                  int32_t length,
                                  int32_t capacity,
                                  bool forceBlock,
                                  bool lengthIsExact,
                                  bool usePool) = 0;

    /// Slot 3. Each byte widened unchanged to one character; null or empty gives the shared empty
    /// text.
    virtual wchar_t* CreateFromBytes(const char* bytes) = 0;

    /// Slot 4. A block of `length` zero characters; length 0 gives the shared empty text.
    virtual wchar_t* CreateBlank(int32_t length) = 0;

    /// Slot 5. An empty text in a block of its own, count 1.
    virtual wchar_t* CreatePrivateEmpty() = 0;

    /// Slot 6. The shared empty text.
    virtual wchar_t* GetEmpty() = 0;

protected:
    ~IVnStringManager() = default;
};

/// The module's string manager: its block pool, its shared empty text and its character tables.
///
/// One instance a module, made on the heap at first use and never destroyed, so that strings work
/// in static initialisers and destructors. Any thread may call it. The tables are written at
/// construction and by RebuildTables, and read without a lock.
class VnStringGlobals final : public IVnStringManager {
public:
    /// Bits of the class table.
    enum CharacterClass : uint32_t {
        kDigit = 1,
        kLetter = 2,
        kSpace = 4,
        kUpper = 8,
        kLower = 16,
        kPunctuation = 32,
        kPrintable = 64,
    };

    /// Blocks of more characters than this, with the terminator, never enter the pool.
    static constexpr int32_t kLargestPooled = 1031;
    static constexpr int32_t kPoolSlots = 16;

    /// The module's manager; made when the mark word is not yet set.
    static VnStringGlobals& Get() {
        if (Mark == kMade) [[likely]] {
            return *Instance;
        }
        return Make();
    }

    VnStringHeader* AllocateBlock(int32_t length, bool usePool) override;
    void FreeBlock(VnStringHeader* header) override;
    wchar_t* CreateString(const wchar_t* characters,
                          int32_t length,
                          int32_t capacity,
                          bool forceBlock,
                          bool lengthIsExact,
                          bool usePool) override;
    wchar_t* CreateFromBytes(const char* bytes) override;
    wchar_t* CreateBlank(int32_t length) override;
    wchar_t* CreatePrivateEmpty() override;
    wchar_t* GetEmpty() override { return Empty; }

    /// Fills the character tables anew. With `useEnvironmentLocale` the process locale is first
    /// taken from the environment, which is an effect on the whole process.
    void RebuildTables(bool useEnvironmentLocale);

    /// `ch` in lower case: the table below 256, towlower above. This is the folding of every
    /// compare that ignores letter case.
    static wchar_t ToLower(wchar_t ch) {
        if (static_cast<uint32_t>(ch) < 256U) [[likely]] {
            return static_cast<wchar_t>(Get().LowerTable[static_cast<uint32_t>(ch)]);
        }
        return static_cast<wchar_t>(std::towlower(static_cast<wint_t>(ch)));
    }

    /// `ch` in upper case, by the system library.
    static wchar_t ToUpper(wchar_t ch) {
        return static_cast<wchar_t>(std::towupper(static_cast<wint_t>(ch)));
    }

    /// The lower-case forms of the characters 0 to 255, for loops that fold many characters.
    const uint32_t* GetLowerTable() const { return LowerTable; }

    static bool IsDigit(wchar_t ch) { return IsClass(ch, kDigit); }
    static bool IsLetter(wchar_t ch) { return IsClass(ch, kLetter); }
    static bool IsSpace(wchar_t ch) { return IsClass(ch, kSpace); }
    static bool IsUpper(wchar_t ch) { return IsClass(ch, kUpper); }
    static bool IsLower(wchar_t ch) { return IsClass(ch, kLower); }
    static bool IsPunctuation(wchar_t ch) { return IsClass(ch, kPunctuation); }
    static bool IsPrintable(wchar_t ch) { return IsClass(ch, kPrintable); }

    /// Blocks that the pool holds now, for tests and diagnostics.
    int32_t GetPoolCount() const { return PoolCount; }

private:
    static constexpr uint32_t kMade = 0xb23a8c33U;

    VnStringGlobals();
    static VnStringGlobals& Make();
    VnStringHeader* TakeFromPool(int32_t capacity);
    static bool IsClass(wchar_t ch, CharacterClass wanted) {
        if (static_cast<uint32_t>(ch) < 256U) [[likely]] {
            return (Get().ClassTable[static_cast<uint32_t>(ch)] & wanted) != 0;
        }
        return IsClassByLibrary(ch, wanted);
    }
    static bool IsClassByLibrary(wchar_t ch, CharacterClass wanted);

    VnCriticalSection Lock;                ///< guards the pool
    wchar_t* Empty = nullptr;              ///< characters of the shared empty text
    VnStringHeader* Pool[kPoolSlots] = {}; ///< free blocks; null is an empty slot
    /// Occupied slots. Written under the lock; a look at a full pool needs none.
    std::atomic<int32_t> PoolCount{0};
    int32_t PoolCapacities[kPoolSlots] = {}; ///< of the blocks in Pool, -1 for an empty slot
    /// No block in Pool has a larger capacity. Written and looked at as PoolCount: a pool that has
    /// filled up with small blocks must not be searched for each large one.
    std::atomic<int32_t> LargestInPool{-1};
    uint32_t LowerTable[256] = {}; ///< towlower of 0 to 255
    uint32_t ClassTable[256] = {}; ///< CharacterClass bits of 0 to 255

    static inline std::atomic<uint32_t> Mark{0}; ///< kMade once Instance stands
    static inline VnStringGlobals* Instance = nullptr;
};

static_assert(sizeof(VnStringHeader) == 24);
static_assert(offsetof(VnStringHeader, Length) == 8);
static_assert(offsetof(VnStringHeader, Capacity) == 12);
static_assert(offsetof(VnStringHeader, ReferenceCount) == 16);
