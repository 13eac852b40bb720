#include "host/CPathCleaner.h"

#include "host/HostText.h"

#include <algorithm>
#include <array>

namespace {

constexpr std::wstring_view kForbidden = L"\"*/:<>?\\|";

bool IsForbidden(wchar_t ch) {
    const auto code = static_cast<char32_t>(ch);
    if (code < 0x20 || (code >= 0x7F && code < 0xA0) || code > 0x10FFFF) {
        return true;
    }
    // Halves of a pair stand for bytes that are no UTF-8; the last two codes of each plane are no
    // characters.
    if ((code >= 0xD800 && code <= 0xDFFF) || (code & 0xFFFE) == 0xFFFE || code == 0x2028
        || code == 0x2029) {
        return true;
    }
    return kForbidden.find(ch) != std::wstring_view::npos;
}

size_t UTF8Length(wchar_t ch) {
    const auto code = static_cast<char32_t>(ch);
    return code < 0x80 ? 1 : code < 0x800 ? 2 : code < 0x10000 ? 3 : 4;
}

bool IsCombining(wchar_t ch) {
    const auto code = static_cast<char32_t>(ch);
    return (code >= 0x300 && code <= 0x36F) || (code >= 0x1AB0 && code <= 0x1AFF)
           || (code >= 0x20D0 && code <= 0x20FF) || (code >= 0xFE00 && code <= 0xFE0F)
           || code == 0x200D || (code >= 0x1F3FB && code <= 0x1F3FF) || code == 0x3099
           || code == 0x309A;
}

std::wstring_view TrimEnds(std::wstring_view text) {
    const size_t start = text.find_first_not_of(L" \u00A0");
    if (start == std::wstring_view::npos) {
        return {};
    }
    const size_t end = text.find_last_not_of(L" .\u00A0");
    return end == std::wstring_view::npos || end < start ? std::wstring_view()
                                                         : text.substr(start, end - start + 1);
}

} // namespace

std::wstring CPathCleaner::CleanValue(std::wstring_view value) {
    std::wstring clean(value);
    std::replace_if(clean.begin(), clean.end(), IsForbidden, L'_');
    const std::wstring_view trimmed = TrimEnds(clean);
    // A name of dots alone would be gone without a trace.
    return trimmed.empty() && !HostTrim(clean).empty() ? L"_" : std::wstring(trimmed);
}

std::wstring CPathCleaner::CleanSegment(std::wstring_view segment, size_t reserved) {
    std::wstring clean = CleanValue(segment);
    if (IsReserved(clean)) {
        clean.insert(std::min(clean.find(L'.'), clean.size()), 1, L'_');
    }
    return Cut(clean, reserved < kLongestName ? kLongestName - reserved : 1);
}

std::wstring CPathCleaner::Cut(std::wstring_view text, size_t bytes) {
    size_t used = 0;
    size_t count = 0;
    while (count < text.size() && used + UTF8Length(text[count]) <= bytes) {
        used += UTF8Length(text[count]);
        ++count;
    }
    if (count == text.size()) {
        return std::wstring(text);
    }
    size_t border = count;
    while (border > 0 && IsCombining(text[border])) {
        --border;
    }
    return std::wstring(TrimEnds(text.substr(0, border > 0 ? border : count)));
}

bool CPathCleaner::IsReserved(std::wstring_view name) {
    const std::wstring stem = HostFold(HostTrim(name.substr(0, name.find(L'.'))));
    if (stem == L"con" || stem == L"prn" || stem == L"aux" || stem == L"nul") {
        return true;
    }
    return stem.size() == 4 && (stem.starts_with(L"com") || stem.starts_with(L"lpt"))
           && stem[3] >= L'1' && stem[3] <= L'9';
}
