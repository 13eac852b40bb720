#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// The fields of one media file: names and values in the order of their coming. Names compare in
/// any letter case; a file has about a dozen, which a walk finds faster than a tree. Not for two
/// threads at a time.
class CMediaFields {
public:
    using Entry = std::pair<std::wstring, std::wstring>;

    /// The value of a field; empty when there is none.
    const std::wstring& Get(std::wstring_view name) const;

    bool Has(std::wstring_view name) const;

    /// Stores a value; an empty one takes the field away.
    void Set(std::wstring_view name, std::wstring_view value);

    /// Takes all fields away. Their memory stays for the next ones: a scan fills one object again
    /// and again.
    void Clear() { Count = 0; }

    std::span<const Entry> GetEntries() const { return {Entries.data(), Count}; }

    /// One text of all fields, and back. Names and values may hold anything but U+001E and U+001F,
    /// which become blanks.
    std::wstring Pack() const;
    static CMediaFields Unpack(std::wstring_view packed);

private:
    std::vector<Entry> Entries; ///< the fields, and behind them what may be filled again
    size_t Count = 0;           ///< of fields
};
