#include "drive/CItemText.h"

#include "text/VnXMLDocument.h"

#include <cwchar>
#include <string_view>

namespace {

constexpr std::wstring_view kFieldStart = L"<Field Name=\"";
constexpr std::wstring_view kNameEnd = L"\">";
constexpr std::wstring_view kFieldEnd = L"</Field>";

/// Moves `position` behind `wanted` when that stands there.
bool Skip(const wchar_t*& position, const wchar_t* end, std::wstring_view wanted) {
    if (static_cast<size_t>(end - position) < wanted.size()
        || std::wmemcmp(position, wanted.data(), wanted.size()) != 0) {
        return false;
    }
    position += wanted.size();
    return true;
}

/// The stretch up to the next `ch`, behind which `position` then stands; null when there is none.
const wchar_t* FindNext(const wchar_t* position, const wchar_t* end, wchar_t ch) {
    return std::wmemchr(position, ch, static_cast<size_t>(end - position));
}

bool IsXMLSpace(wchar_t ch) {
    return ch == L' ' || ch == L'\t' || ch == L'\r' || ch == L'\n';
}

} // namespace

bool CItemText::FindSlices(const VnString& text) {
    Slices.clear();
    const wchar_t* position = text.GetText();
    const wchar_t* const end = position + text.GetLength();
    while (position != end) {
        if (!Skip(position, end, kFieldStart)) {
            return false;
        }
        const wchar_t* nameEnd = FindNext(position, end, L'"');
        if (nameEnd == nullptr) {
            return false;
        }
        const CSlice name{position, static_cast<int32_t>(nameEnd - position)};
        position = nameEnd;
        if (!Skip(position, end, kNameEnd)) {
            return false;
        }
        const wchar_t* valueEnd = FindNext(position, end, L'<');
        if (valueEnd == nullptr) {
            return false;
        }
        Slices.push_back(name);
        Slices.push_back({position, static_cast<int32_t>(valueEnd - position)});
        position = valueEnd;
        if (!Skip(position, end, kFieldEnd)) {
            return false;
        }
        while (position != end && IsXMLSpace(*position)) {
            ++position;
        }
    }
    return !Slices.empty();
}

void CItemText::Store(const CSlice& slice) {
    Offsets.push_back(Storage.size());
    const auto length = static_cast<size_t>(slice.Length);
    if (std::wmemchr(slice.Start, L'&', length) == nullptr) {
        Storage.append(slice.Start, length);
    } else {
        const VnString decoded = VnXMLDocument::DecodeXMLText(slice.Start, slice.Length);
        Storage.append(decoded.GetText(), static_cast<size_t>(decoded.GetLength()));
    }
    Storage.push_back(L'\0');
}

bool CItemText::Read(const VnString& text) {
    Fields.clear();
    if (!FindSlices(text)) {
        return false;
    }
    Storage.clear();
    Offsets.clear();
    for (const CSlice& slice : Slices) {
        Store(slice);
    }
    for (size_t i = 0; i + 1 < Offsets.size(); i += 2) {
        Fields.push_back({Storage.data() + Offsets[i], Storage.data() + Offsets[i + 1]});
    }
    return true;
}
