#pragma once

#include <cstdint>

/// The simple case folding of Unicode, which gives one character for one and depends on no locale.
class CaseFolding {
public:
    static wchar_t Fold(wchar_t ch) {
        return static_cast<uint32_t>(ch) < static_cast<uint32_t>(kTableSize) ? GetTable()[ch]
                                                                             : FoldByLibrary(ch);
    }

    /// As Fold, for loops that get the table once.
    static wchar_t Fold(const wchar_t* table, wchar_t ch) {
        return static_cast<uint32_t>(ch) < static_cast<uint32_t>(kTableSize) ? table[ch]
                                                                             : FoldByLibrary(ch);
    }

    /// Folded forms of the characters that most texts are made of: Latin, Greek and Cyrillic.
    static const wchar_t* GetTable();

private:
    static constexpr wchar_t kTableSize = 0x600;

    static wchar_t FoldByLibrary(wchar_t ch);
};
