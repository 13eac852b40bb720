#include "data/VnRegexCache.h"

VnRegexCache::VnRegexCache(int32_t maximum) : Maximum(maximum) {
}

const std::wregex& VnRegexCache::Get(const VnString& pattern, uint32_t flags) {
    for (const VnRegexCacheEntry* entry : *this) {
        if (entry->Flags == flags && entry->Pattern == pattern) {
            return *entry->Regex;
        }
    }
    auto entry = std::make_unique<VnRegexCacheEntry>();
    entry->Pattern = pattern;
    entry->Flags = flags;
    entry->Regex =
        std::make_unique<std::wregex>(pattern.GetText(), static_cast<size_t>(pattern.GetLength()),
                                      static_cast<std::regex_constants::syntax_option_type>(flags));
    const std::wregex& regex = *entry->Regex;
    InsertAt(0, entry.get());
    static_cast<void>(entry.release()); // the array owns it now
    if (Maximum >= 0 && GetCount() > Maximum) {
        RemoveAt(Maximum, GetCount() - Maximum);
    }
    return regex;
}
