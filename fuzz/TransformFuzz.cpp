#include "core/VnNumberArray.h"
#include "core/VnStringArray.h"

#include "fuzz/FuzzText.h"

namespace {

/// Applies `change` to a copy; a second time it must change nothing more.
template<typename CHANGE>
VnString Settled(const VnString& text, CHANGE change) {
    VnString once(text);
    change(once);
    VnString twice(once);
    change(twice);
    Require(twice == once);
    return once;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const VnString text = TextOf(data, size);
    const VnString plain = Settled(text, [](VnString& t) { t.RemoveMarkup(); });
    const int32_t open = plain.Find(L'<');
    Require(open < 0 || plain.Find(L'>', open) < 0);

    const VnString lines = Settled(text, [](VnString& t) { t.ConvertLineEnds(L"\r\n"); });
    Require(lines.Count(L"\n") == lines.Count(L"\r\n"));
    Settled(text, [](VnString& t) { t.CutToOneLine(); });
    Settled(text, [](VnString& t) { t.MakeASCII(); });
    Settled(text, [](VnString& t) { t.KeepNumericEnds(true); });
    Settled(text, [](VnString& t) { t.CleanName(); });
    Settled(text, [](VnString& t) { t.SplitWords(); });
    VnString unique(text);
    unique.MakeUnique();
    Require(unique != text && unique.EndsWith(L')'));

    VnStringArray parts;
    VnNumberArray<int> kinds;
    text.GetWords(parts, kinds, /*withSpace=*/true);
    Require(parts.GetCount() == kinds.GetCount() && parts.Join(L"") == text);
    text.GetSentences(parts);
    Require(parts.Join(L" ") == text);
    Settled(text, [](VnString& t) { t.RemoveDuplicateLines(); });
    return 0;
}
