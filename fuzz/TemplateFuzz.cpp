#include "fuzz/FuzzText.h"

namespace {

constexpr int32_t kMostVariables = 6;

/// Gives all variables one conversion, as the targets are of one type.
VnString WithConversion(VnString text, const wchar_t* others, wchar_t conversion) {
    for (; *others != 0; ++others) {
        text.ReplaceChar(*others, conversion);
    }
    return text;
}

template<typename TARGET>
void Check(const VnString& text, const VnString& pattern) {
    TARGET to[kMostVariables] = {};
    VnString head;
    VnString tail;
    const int32_t result = text.ParseWithRest(pattern, head, tail, /*caseSensitive=*/1, &to[0],
                                              &to[1], &to[2], &to[3], &to[4], &to[5]);
    Require(result == 1 || (result == 0 && head.IsEmpty() && tail.IsEmpty()));
    Require(head.GetLength() + tail.GetLength() <= text.GetLength());
    Require(text.Left(head.GetLength()) == head && text.Right(tail.GetLength()) == tail);
}

} // namespace

// Any letter case is for the tools module, which is not loaded here.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const VnString pattern = TakeLine(data, size);
    const VnString text = TextOf(data, size);
    // A range in a set is written out, character by character.
    const bool isWide = std::any_of(pattern.GetText(), pattern.GetText() + pattern.GetLength(),
                                    [](wchar_t ch) { return ch >= 0x800; });
    if (pattern.Count(L"%") > kMostVariables || isWide) {
        return 0;
    }
    Check<int32_t>(text, WithConversion(pattern, L"lsw", L'd'));
    Check<int64_t>(text, WithConversion(pattern, L"dxsw", L'l'));
    Check<VnString>(text, WithConversion(pattern, L"dxl", L's'));
    return 0;
}
