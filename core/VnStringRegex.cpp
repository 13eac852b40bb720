#include "core/VnString.h"

#include "core/VnStringArray.h"
#include "data/VnGUID.h"
#include "data/VnRegexCache.h"

#include <exception>
#include <functional>
#include <regex>

namespace {

/// Runs `search` with the expression from the cache, or one that lives for this call. Whatever the
/// regular expressions throw, above all for a malformed pattern, ends in false.
bool WithRegex(const VnString& pattern,
               bool caseSensitive,
               VnRegexCache* cache,
               const std::function<bool(const std::wregex&)>& search) {
    auto flags = std::regex_constants::ECMAScript;
    if (!caseSensitive) {
        flags |= std::regex_constants::icase;
    }
    try {
        if (cache != nullptr) {
            return search(cache->Get(pattern, static_cast<uint32_t>(flags)));
        }
        return search(
            std::wregex(pattern.GetText(), static_cast<size_t>(pattern.GetLength()), flags));
    } catch (const std::exception&) {
        return false;
    }
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
    const VnString text(*this); // the groups may hold this very string
    groups.Empty();
    return WithRegex(pattern, caseSensitive, cache, [&](const std::wregex& regex) {
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
    groups.Empty();
    return WithRegex(pattern, caseSensitive, cache, [&](const std::wregex& regex) {
        const wchar_t* const begin = text.GetText();
        const std::wcregex_iterator end;
        for (std::wcregex_iterator match(begin, begin + text.GetLength(), regex); match != end;
             ++match) {
            AppendGroups(*match, groups);
        }
        return true;
    });
}
