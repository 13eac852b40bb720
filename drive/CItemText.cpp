#include "drive/CItemText.h"

#include "core/VnStringDetail.h"
#include "text/VnXMLDocument.h"

#include <algorithm>
#include <cwchar>

namespace {

constexpr char kFieldStart[] = "<Field Name=\"";
constexpr char kNameEnd[] = "\">";
constexpr char kFieldEnd[] = "</Field>";

/// Moves `position` behind `wanted` when that stands there. The comparison is of fixed length and
/// in line: it runs three times for each field of each file.
template<typename CHARACTER, size_t SIZE>
bool Skip(std::basic_string_view<CHARACTER> text, size_t& position, const char (&wanted)[SIZE]) {
    constexpr size_t kLength = SIZE - 1;
    if (text.size() - position < kLength) {
        return false;
    }
    const CHARACTER* const at = text.data() + position;
    bool same = true;
    for (size_t index = 0; index < kLength; ++index) {
        same &= at[index] == static_cast<CHARACTER>(wanted[index]);
    }
    position += same ? kLength : 0;
    return same;
}

/// Where the next double quote stands, or the end. Names are short: a walk beats a call.
template<typename CHARACTER>
size_t FindQuote(std::basic_string_view<CHARACTER> text, size_t position) {
    while (position != text.size() && text[position] != CHARACTER{'"'}) {
        ++position;
    }
    return position;
}

template<typename CHARACTER>
bool IsXMLSpace(CHARACTER ch) {
    return ch == ' ' || ch == '\t' || ch == '\r' || ch == '\n';
}

/// Puts the decoded form of a slice at `out`, which has room for as many characters as the slice
/// has; the place behind it.
wchar_t* Decode(std::wstring_view slice, bool hasReferences, wchar_t* out) {
    if (!hasReferences) {
        return std::copy(slice.begin(), slice.end(), out);
    }
    const VnString decoded =
        VnXMLDocument::DecodeXMLText(slice.data(), static_cast<int32_t>(slice.size()));
    return std::copy_n(decoded.GetText(), decoded.GetLength(), out);
}

wchar_t* Decode(std::string_view slice, bool hasReferences, wchar_t* out) {
    if (!hasReferences
        && VnStringDetail::WidenASCII(slice.data(), slice.size(), out) == slice.size()) {
        return out + slice.size();
    }
    VnString text;
    text.SetFileSystemText(slice.data(), static_cast<int64_t>(slice.size()));
    return Decode(std::wstring_view(text.GetText(), static_cast<size_t>(text.GetLength())),
                  hasReferences, out);
}

} // namespace

template<typename CHARACTER>
bool CItemText::FindSlices(std::basic_string_view<CHARACTER> text) {
    Slices.clear();
    size_t position = 0;
    while (position != text.size()) {
        if (!Skip(text, position, kFieldStart)) {
            return false;
        }
        const size_t name = position;
        position = FindQuote(text, position);
        Slices.push_back({name, position - name});
        if (!Skip(text, position, kNameEnd)) {
            return false;
        }
        const size_t value = position;
        position = text.find(CHARACTER{'<'}, position);
        if (position == text.npos) {
            return false;
        }
        Slices.push_back({value, position - value});
        if (!Skip(text, position, kFieldEnd)) {
            return false;
        }
        while (position != text.size() && IsXMLSpace(text[position])) {
            ++position;
        }
    }
    return !Slices.empty();
}

template<typename CHARACTER>
bool CItemText::ReadText(std::basic_string_view<CHARACTER> text) {
    Fields.clear();
    if (!FindSlices(text)) {
        return false;
    }
    const bool hasReferences = text.find(CHARACTER{'&'}) != text.npos;
    // The marks around each text leave more room than its terminator takes.
    Storage.resize(std::max(Storage.size(), text.size()));
    wchar_t* out = Storage.data();
    for (size_t i = 0; i + 1 < Slices.size(); i += 2) {
        const wchar_t* const name = out;
        out = Decode(text.substr(Slices[i].Start, Slices[i].Length), hasReferences, out);
        *out++ = L'\0';
        const wchar_t* const value = out;
        out = Decode(text.substr(Slices[i + 1].Start, Slices[i + 1].Length), hasReferences, out);
        *out++ = L'\0';
        Fields.push_back({name, value});
    }
    return true;
}

bool CItemText::Read(const VnString& text) {
    return ReadText(std::wstring_view(text.GetText(), static_cast<size_t>(text.GetLength())));
}

bool CItemText::Read(std::string_view bytes) {
    return ReadText(bytes);
}
