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
    const auto entry = FindEntry(Entries, name);
    return entry == Entries.end() ? none : entry->second;
}

bool CMediaFields::Has(std::wstring_view name) const {
    return FindEntry(Entries, name) != Entries.end();
}

void CMediaFields::Set(std::wstring_view name, std::wstring_view value) {
    const auto entry = FindEntry(Entries, name);
    if (entry == Entries.end()) {
        if (!value.empty()) {
            Entries.emplace_back(name, value);
        }
    } else if (value.empty()) {
        Entries.erase(entry);
    } else {
        entry->second = value;
    }
}

std::wstring CMediaFields::Pack() const {
    std::wstring packed;
    for (const auto& [name, value] : Entries) {
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
        }
        packed.remove_prefix(end == std::wstring_view::npos ? packed.size() : end + 1);
    }
    return fields;
}
