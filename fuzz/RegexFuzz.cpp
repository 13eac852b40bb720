#include "core/VnStringArray.h"
#include "data/VnRegexCache.h"

#include "fuzz/FuzzText.h"

namespace {

/// Of the forms that titles, dates and playlists are taken apart with. Those from outside are
/// short and repeat little: a search tries every way to share a text between choices within
/// choices, and their number grows with a power of the text or beyond.
constexpr const wchar_t* kPatterns[] = {
    L"(\\d+)", L"^\\s*(\\w+)\\s*=\\s*(.*?)\\s*$", L"\\((19|20)(\\d\\d)\\)", L"([^/]*)/([^/]*)$",
    L"",
};
constexpr int32_t kLongestPattern = 12;
constexpr int32_t kLongestText = 8;
constexpr int32_t kMostChoices = 1;

bool IsCheap(const VnString& pattern, const VnString& text) {
    const wchar_t* const begin = pattern.GetText();
    const auto choices = std::count_if(begin, begin + pattern.GetLength(), [](wchar_t ch) {
        return std::wcschr(L"*+?|", ch) != nullptr;
    });
    return pattern.GetLength() <= kLongestPattern && text.GetLength() <= kLongestText
           && choices <= kMostChoices && pattern.Find(L'{') < 0;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static VnRegexCache cache(16);
    const uint8_t choice = TakeByte(data, size);
    const wchar_t* const fixed = kPatterns[choice % std::size(kPatterns)];
    const VnString pattern = *fixed == 0 ? TakeLine(data, size) : VnString(fixed);
    const VnString text = TextOf(data, size);
    if (*fixed == 0 && !IsCheap(pattern, text)) {
        return 0;
    }
    VnStringArray groups;
    int32_t before = -1;
    int32_t after = -1;
    if (text.RegexSearch(pattern, groups, (choice & 0x80) != 0, &cache, &before, &after)) {
        Require(before >= 0 && after >= 0 && before + after <= text.GetLength());
        for (const VnString& group : groups) {
            Require(text.Find(group) >= 0);
        }
        VnStringArray all;
        Require(text.RegexFindAll(pattern, all, (choice & 0x80) != 0, &cache));
        Require(all.GetCount() >= groups.GetCount());
    }
    return 0;
}
