#include "modules/tools/CaseFolding.h"

#include <unicode/uchar.h>

#include <array>

const wchar_t* CaseFolding::GetTable() {
    static const auto kTable = [] {
        std::array<wchar_t, static_cast<size_t>(kTableSize)> folded{};
        for (wchar_t ch = 0; ch < kTableSize; ch++) {
            folded[static_cast<size_t>(ch)] = FoldByLibrary(ch);
        }
        return folded;
    }();
    return kTable.data();
}

wchar_t CaseFolding::FoldByLibrary(wchar_t ch) {
    return static_cast<wchar_t>(u_foldCase(static_cast<UChar32>(ch), U_FOLD_CASE_DEFAULT));
}
