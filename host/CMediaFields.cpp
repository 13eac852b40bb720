#include "host/CMediaFields.h"

#include "host/HostText.h"

#include <algorithm>

namespace {

constexpr wchar_t kEndOfField = 0x1E;
constexpr wchar_t kEndOfName = 0x1F;

void AppendSafely(std::wstring& out, std::wstring_view text) {
    for (const wchar_t ch : text) {
        out += ch == kEndOfField || ch == kEndOfName ? L' ' : ch;
    }
}

auto FindEntry(auto& entries, std::wstring_view name) {
    return std::find_if(entries.begin(), entries.end(), [name](const CMediaFields::Entry& entry) {
        return HostEqualsNoCase(entry.first, name);
    });
}

} // namespace

const std::wstring& CMediaFields::Get(std::wstring_view name) const {
    static const std::wstring none;
    const auto fields = GetEntries();
    const auto entry = FindEntry(fields, name);
    return entry == fields.end() ? none : entry->second;
}

bool CMediaFields::Has(std::wstring_view name) const {
    const auto fields = GetEntries();
    return FindEntry(fields, name) != fields.end();
}

void CMediaFields::Set(std::wstring_view name, std::wstring_view value) {
    const std::span<Entry> fields(Entries.data(), Count);
    const auto entry = FindEntry(fields, name);
    if (entry != fields.end()) {
        if (value.empty()) {
            std::rotate(entry, entry + 1, fields.end());
            --Count;
        } else {
            entry->second = value;
        }
    } else if (!value.empty()) {
        if (Count == Entries.size()) {
            Entries.emplace_back();
        }
        Entries[Count].first = name;
        Entries[Count].second = value;
        ++Count;
    }
}

std::wstring CMediaFields::Pack() const {
    std::wstring packed;
    for (const auto& [name, value] : GetEntries()) {
        AppendSafely(packed, name);
        packed += kEndOfName;
        AppendSafely(packed, value);
        packed += kEndOfField;
    }
    return packed;
}

CMediaFields CMediaFields::Unpack(std::wstring_view packed) {
    CMediaFields fields;
    while (!packed.empty()) {
        const size_t end = packed.find(kEndOfField);
        const std::wstring_view field = packed.substr(0, end);
        if (const size_t middle = field.find(kEndOfName); middle != std::wstring_view::npos) {
            fields.Entries.emplace_back(field.substr(0, middle), field.substr(middle + 1));
            ++fields.Count;
        }
        packed.remove_prefix(end == std::wstring_view::npos ? packed.size() : end + 1);
    }
    return fields;
}
