#pragma once

#include "core/VnString.h"
#include "tests/support/TestText.h"

#include <cstddef>
#include <cwchar>
#include <memory>
#include <new>
#include <string>

/// Reaches the block of a string.
class VnStringTestAccess {
public:
    static VnStringHeader& Header(VnString& text) { return *text.GetHeader(); }
    static int32_t Count(VnString& text) { return text.GetHeader()->ReferenceCount; }
    static void Adopt(VnString& text, wchar_t* characters) { text.Adopt(characters); }
};

/// The string manager of another module: plain blocks without a pool, and a book of those that
/// live.
class ForeignManager final : public IVnStringManager {
public:
    ForeignManager() : Empty(NewBlock(0)) {
        Empty->ReferenceCount = VnStringHeader::kStaticCount;
        Empty->GetCharacters()[0] = 0;
    }
    ~ForeignManager() { Delete(Empty); }

    VnStringHeader* AllocateBlock(int32_t length, bool /*usePool*/) override {
        ++Live;
        return NewBlock(length);
    }
    void FreeBlock(VnStringHeader* header) override {
        --Live;
        Delete(header);
    }
    wchar_t* CreateString(const wchar_t* characters,
                          int32_t length,
                          int32_t capacity,
                          bool forceBlock,
                          bool lengthIsExact,
                          bool /*usePool*/) override {
        length = characters == nullptr ? 0
                 : length < 0          ? static_cast<int32_t>(wcslen(characters))
                                       : length;
        if (!lengthIsExact) {
            length = static_cast<int32_t>(wcsnlen(characters, static_cast<std::size_t>(length)));
        }
        capacity = capacity < 0 ? length : capacity;
        if (capacity == 0 && !forceBlock) {
            return GetEmpty();
        }
        VnStringHeader* header = AllocateBlock(capacity, false);
        header->Length = length < capacity ? length : capacity;
        wmemcpy(header->GetCharacters(), characters == nullptr ? L"" : characters,
                static_cast<std::size_t>(header->Length));
        header->GetCharacters()[header->Length] = 0;
        return header->GetCharacters();
    }
    wchar_t* CreateFromBytes(const char* /*bytes*/) override { return GetEmpty(); }
    wchar_t* CreateBlank(int32_t /*length*/) override { return GetEmpty(); }
    wchar_t* CreatePrivateEmpty() override {
        return CreateString(nullptr, 0, 0, true, true, false);
    }
    wchar_t* GetEmpty() override { return Empty->GetCharacters(); }

    int32_t Live = 0; ///< blocks handed out and not given back

private:
    VnStringHeader* NewBlock(int32_t length) {
        const std::size_t size =
            sizeof(VnStringHeader) + (static_cast<std::size_t>(length) + 1) * sizeof(wchar_t);
        auto* header = new (new std::byte[size]) VnStringHeader;
        header->Manager = this;
        header->Length = length;
        header->Capacity = length + 1;
        header->ReferenceCount = 1;
        return header;
    }
    static void Delete(VnStringHeader* header) { delete[] reinterpret_cast<std::byte*>(header); }

    VnStringHeader* Empty;
};

/// Where the text of a test is kept.
enum class Storage {
    Private,
    Shared,
    Spare,
    Foreign
};

inline constexpr Storage kStorages[] = {Storage::Private, Storage::Shared, Storage::Spare,
                                        Storage::Foreign};

inline const char* Name(Storage storage) {
    constexpr const char* kNames[] = {"private", "shared with a twin", "spare room",
                                      "another manager's"};
    return kNames[static_cast<int>(storage)];
}

/// A text in one kind of storage, which tells what an operation broke.
class TextSubject {
public:
    TextSubject(Storage storage, const VnString& before)
        : Before(before.GetText(), before.GetLength()) {
        if (storage == Storage::Foreign) {
            VnStringTestAccess::Adopt(
                Text, Manager->CreateString(before, before.GetLength(), -1, false, true, false));
        } else {
            Text = VnString(before.GetText(), before.GetLength());
        }
        Twin = storage == Storage::Shared ? Text : VnString(before.GetText(), before.GetLength());
        if (storage == Storage::Spare) {
            Text.GetBuffer(before.GetLength() + 100);
            Text.ReleaseBuffer(before.GetLength());
        }
    }
    TextSubject(const TextSubject&) = delete;
    TextSubject& operator=(const TextSubject&) = delete;

    /// What is wrong with the block, the twin or the manager's book; empty when all is well.
    std::string Damage() {
        const VnStringHeader& header = VnStringTestAccess::Header(Text);
        std::string damage;
        if (Text.GetText()[header.Length] != 0) {
            damage += "no terminator; ";
        }
        if (header.Capacity <= header.Length) {
            damage += "capacity too small; ";
        }
        if (header.ReferenceCount < 1) {
            damage += "left locked; ";
        }
        if (Twin != Before) {
            damage += "the twin changed; ";
        }
        Text = VnString();
        Text.FreeExtra();
        if (Manager->Live != 0) {
            damage += "a block of the other manager is lost; ";
        }
        return damage;
    }

private:
    // Outlives the text that has its block.
    std::unique_ptr<ForeignManager> Manager = std::make_unique<ForeignManager>();
    VnString Before;
    VnString Twin;

public:
    VnString Text;
};
