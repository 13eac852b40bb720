#include "core/VnString.h"

#include "core/VnStringArray.h"
#include "data/VnGUID.h"
#include "data/VnRegexCache.h"
#include "runtime/VnLargeStack.h"

#include <algorithm>
#include <exception>
#include <functional>
#include <regex>

namespace {

/// Stack that the matcher of the standard library takes, at most, per character of the text and of
/// the pattern; the sanitizers' frames are larger.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr int64_t kStackPerStep = 4096;
#else
constexpr int64_t kStackPerStep = 512;
#endif

/// Stack for a search, which recurses for each state that it passes: at each character all that
/// stand for the pattern, where a count such as "{4}" multiplies them.
int64_t EstimateStack(const VnString& pattern, const VnString& text) {
    constexpr double kTooMuch = 1e18;
    double states = pattern.GetLength() + 8.0;
    for (int32_t at = pattern.Find(L'{'); at >= 0; at = pattern.Find(L'{', at + 1)) {
        const int32_t end = pattern.Find(L'}', at);
        int32_t count = pattern.Mid(at + 1).ToInt();
        const int32_t comma = pattern.Find(L',', at);
        if (comma >= 0 && comma < end) {
            count = std::max(count, pattern.Mid(comma + 1).ToInt());
        }
        states = std::min(states * std::max(count, 1), kTooMuch);
    }
    // The compiler recurses for each bracket of the pattern, whatever the text.
    const double steps = states * (text.GetLength() + 1.0) + pattern.GetLength() * 16.0;
    return static_cast<int64_t>(std::min(steps * kStackPerStep, kTooMuch));
}

/// Runs `search` with the expression from the cache, or one that lives for this call. Whatever the
/// regular expressions throw, above all for a malformed pattern, ends in false; so does a search
/// that needs more stack than there is.
bool WithRegex(const VnString& pattern,
               const VnString& text,
               bool caseSensitive,
               VnRegexCache* cache,
               const std::function<bool(const std::wregex&)>& search) {
    auto flags = std::regex_constants::ECMAScript;
    if (!caseSensitive) {
        flags |= std::regex_constants::icase;
    }
    bool isFound = false;
    const bool hasRun = VnRunWithStack(EstimateStack(pattern, text), [&] {
        try {
            isFound = cache != nullptr
                          ? search(cache->Get(pattern, static_cast<uint32_t>(flags)))
                          : search(std::wregex(pattern.GetText(),
                                               static_cast<size_t>(pattern.GetLength()), flags));
        } catch (const std::exception&) {
            isFound = false;
        }
    });
    return hasRun && isFound;
}

void AppendGroups(const std::wcmatch& match, VnStringArray& groups) {
    for (size_t i = 1; i < match.size(); ++i) {
        groups.Add(VnString(match[i].first, static_cast<int32_t>(match[i].length())));
    }
}

} // namespace

void VnString::SetGUID(const VnGUID* guid) {
    VnGUID created;
    if (guid == nullptr) {
        CreateGUID(created);
        guid = &created;
    }
    *this = GUIDToString(*guid);
}

VnGUID VnString::GetGUID() const {
    return StringToGUID(*this);
}

bool VnString::RegexSearch(const VnString& pattern,
                           VnStringArray& groups,
                           bool caseSensitive,
                           VnRegexCache* cache,
                           int32_t* before,
                           int32_t* after) const {
    const VnString text(*this); // the groups may hold this very string, or the pattern
    const VnString expression(pattern);
    groups.Empty();
    return WithRegex(expression, text, caseSensitive, cache, [&](const std::wregex& regex) {
        const wchar_t* const begin = text.GetText();
        const wchar_t* const end = begin + text.GetLength();
        std::wcmatch match;
        if (!std::regex_search(begin, end, match, regex) || match.prefix().second == end) {
            return false;
        }
        AppendGroups(match, groups);
        if (before != nullptr) {
            *before = static_cast<int32_t>(match.prefix().length());
        }
        if (after != nullptr) {
            *after = static_cast<int32_t>(match.suffix().length());
        }
        return true;
    });
}

bool VnString::RegexFindAll(const VnString& pattern,
                            VnStringArray& groups,
                            bool caseSensitive,
                            VnRegexCache* cache) const {
    const VnString text(*this);
    const VnString expression(pattern);
    groups.Empty();
    return WithRegex(expression, text, caseSensitive, cache, [&](const std::wregex& regex) {
        const wchar_t* const begin = text.GetText();
        const std::wcregex_iterator end;
        for (std::wcregex_iterator match(begin, begin + text.GetLength(), regex); match != end;
             ++match) {
            AppendGroups(*match, groups);
        }
        return true;
    });
}
