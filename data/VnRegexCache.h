#pragma once

#include "core/VnOwnedPtrArray.h"
#include "core/VnString.h"

#include <cstdint>
#include <memory>
#include <regex>

/// One compiled expression of a VnRegexCache.
struct VnRegexCacheEntry {
    VnString Pattern;                   ///< the text of the regular expression
    uint32_t Flags = 0;                 ///< the syntax options it was compiled with
    std::unique_ptr<std::wregex> Regex; ///< the compiled expression
};

/// Keeps compiled regular expressions, since compiling one is far dearer than matching with it.
///
/// Index 0 is the newest expression. A full cache drops the one that was compiled longest ago,
/// however often it was used since. Look-ups walk the entries one by one: keep the limit small. The
/// cache has no lock and belongs to one thread at a time.
class VnRegexCache : public VnOwnedPtrArray<VnRegexCacheEntry, false> {
public:
    using CEntry = VnRegexCacheEntry;

    /// An empty cache for at most `maximum` expressions; a negative value means no limit, and 0 is
    /// not allowed.
    explicit VnRegexCache(int32_t maximum);

    /// The compiled form of `pattern` with `flags` (std::regex_constants::syntax_option_type). The
    /// cache keeps it; the reference lives until a later call evicts the entry. A malformed pattern
    /// leaves the cache as it was and goes up as a std::regex_error.
    const std::wregex& Get(const VnString& pattern, uint32_t flags);

private:
    int32_t Maximum; ///< the entry limit; negative means none
};
