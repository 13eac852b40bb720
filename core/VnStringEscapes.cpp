#include "core/VnString.h"

#include "core/VnBuffer.h"
#include "core/VnHexDigits.h"
#include "core/VnStringDetail.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace {

// URL escapes, RFC 3986

constexpr int32_t kURLEscapeLength = 3;

constexpr std::array<bool, 128> MakeUnreservedTable() {
    std::array<bool, 128> table{};
    for (wchar_t ch = 0; ch < 128; ++ch) {
        table[static_cast<size_t>(ch)] = (ch >= L'0' && ch <= L'9') || (ch >= L'A' && ch <= L'Z')
                                         || (ch >= L'a' && ch <= L'z') || ch == L'-' || ch == L'.'
                                         || ch == L'_' || ch == L'~';
    }
    return table;
}

constexpr std::array<bool, 128> kUnreserved = MakeUnreservedTable();

bool NeedsURLEscape(wchar_t ch, bool keepSlash) {
    const auto code = static_cast<uint32_t>(ch);
    return code >= kUnreserved.size() || (!kUnreserved[code] && !(keepSlash && ch == L'/'));
}

/// The value of the escape whose last character stands right ahead of `end`; -1 when there is none.
int32_t GetURLEscape(const wchar_t* end, wchar_t escape) {
    if (end[-3] != escape) {
        return -1;
    }
    const int32_t high = GetHexDigitValue(end[-2]);
    const int32_t low = GetHexDigitValue(end[-1]);
    return high < 0 || low < 0 ? -1 : high << 4 | low;
}

/// Cuts every character to a byte and reads the bytes as UTF-8.
void DecodeNarrowed(VnString& text) {
    const int32_t length = text.GetLength();
    VnBuffer bytes(length);
    std::transform(text.GetText(), text.GetText() + length, bytes.GetData(),
                   [](wchar_t ch) { return static_cast<uint8_t>(ch); });
    if (length == 0 || bytes.GetData()[0] == 0) {
        text.Empty();
    } else {
        text.SetUTF8(reinterpret_cast<const char*>(bytes.GetData()), length);
    }
}

// XML escapes

/// Stands for a character that is always replaced; no flag of EscapeXML has this value.
constexpr uint8_t kAlwaysEscaped = 1;

/// For each character up to ">", behind which none ever needs work, what demands it: kAlwaysEscaped
/// or a flag.
constexpr std::array<uint8_t, L'>' + 1> MakeXMLTable() {
    std::array<uint8_t, L'>' + 1> table{};
    for (size_t ch = 0; ch < L' '; ++ch) {
        table[ch] = VnString::kEscapeControl;
    }
    table[L'\t'] = table[L'\n'] = table[L'\r'] = 0;
    table[L'&'] = table[L'<'] = table[L'>'] = kAlwaysEscaped;
    table[L'\''] = VnString::kEscapeApostrophe;
    table[L'"'] = VnString::kEscapeQuote;
    return table;
}

constexpr std::array<uint8_t, L'>' + 1> kXMLTable = MakeXMLTable();

bool NeedsXMLEscape(wchar_t ch, int32_t flags) {
    const auto code = static_cast<uint32_t>(ch);
    return code < kXMLTable.size() && (kXMLTable[code] & (flags | kAlwaysEscaped)) != 0;
}

/// The text that stands for a character which needs an escape; `control` is working space.
std::wstring_view GetXMLText(wchar_t ch, int32_t flags, wchar_t (&control)[6]) {
    switch (ch) {
    case L'&':
        return L"&amp;";
    case L'<':
        return L"&lt;";
    case L'>':
        return L"&gt;";
    case L'\'':
        return L"&apos;";
    case L'"':
        return L"&quot;";
    default:
        break;
    }
    if ((flags & VnString::kEscapeControlAsMark) != 0 && ch != 1) {
        return L"?";
    }
    wchar_t* out = std::copy_n(L"&#x", 3, control);
    if (ch >= 16) {
        *out++ = L'1';
    }
    *out++ = L"0123456789abcdef"[ch & 15];
    *out++ = L';';
    return {control, static_cast<size_t>(out - control)};
}

// Backslash escapes

/// The hexadecimal number of `count` digits right ahead of `end`, if a backslash and a letter that
/// `isLetter` takes stand ahead of them; otherwise -1. `available` characters may be looked at.
template<typename ISLETTER>
int32_t
GetBackslashEscape(const wchar_t* end, int64_t available, int32_t count, ISLETTER isLetter) {
    if (available < count + 2 || end[-count - 2] != L'\\' || !isLetter(end[-count - 1])) {
        return -1;
    }
    int32_t value = 0;
    for (const wchar_t* digit = end - count; digit != end; ++digit) {
        const int32_t digitValue = GetHexDigitValue(*digit);
        if (digitValue < 0) {
            return -1;
        }
        value = value << 4 | digitValue;
    }
    return value;
}

/// The letter behind the backslash for a character that EscapeBackslash works on; 0 for the rest.
wchar_t GetBackslashLetter(wchar_t ch) {
    switch (ch) {
    case L'\b':
        return L'b';
    case L'\t':
        return L't';
    case L'\n':
        return L'n';
    case L'\f':
        return L'f';
    case L'\r':
        return L'r';
    case L'"':
    case L'\\':
        return ch;
    default:
        return L'\0';
    }
}

} // namespace

void VnString::DecodeURL(wchar_t escape, bool keepEscaped, bool plusAsSpace) {
    const bool hasEscape = GetLength() >= kURLEscapeLength && Find(escape) >= 0;
    if (!hasEscape) {
        if (plusAsSpace) {
            ReplaceChar(L'+', L' ');
        }
        return;
    }
    const int32_t length = GetLength();
    wchar_t* text = GetBuffer();
    int32_t written = 0;
    bool hasHighByte = false;
    for (int32_t read = 0; read < length;) {
        const wchar_t ch = text[read++];
        text[written++] = plusAsSpace && ch == L'+' ? L' ' : ch;
        const int32_t value =
            written < kURLEscapeLength ? -1 : GetURLEscape(text + written, escape);
        if (value < 0) {
            continue;
        }
        written -= kURLEscapeLength;
        text[written++] = static_cast<wchar_t>(value);
        hasHighByte = hasHighByte || value >= 0x80;
        if (keepEscaped && value == escape) {
            for (int32_t i = 0; i < 3 && read < length && GetHexDigitValue(text[read]) >= 0; ++i) {
                text[written++] = text[read++];
            }
        }
    }
    ReleaseBuffer(written);
    if (hasHighByte) {
        DecodeNarrowed(*this);
    }
}

VnString VnString::URLDecoded(const wchar_t* text) {
    VnString result(text);
    result.DecodeURL(L'%', true, true);
    return result;
}

void VnString::EncodeURL(wchar_t escape, bool keepSlash) {
    const wchar_t* const begin = Characters;
    const wchar_t* const end = begin + GetLength();
    const auto needsEscape = [keepSlash](wchar_t ch) { return NeedsURLEscape(ch, keepSlash); };
    const wchar_t* const first = std::find_if(begin, end, needsEscape);
    if (first == end) {
        return;
    }
    int64_t newLength = first - begin;
    for (const wchar_t* in = first; in != end; ++in) {
        const auto size =
            static_cast<int64_t>(VnStringDetail::SizeInUTF8(static_cast<uint32_t>(*in)));
        newLength += needsEscape(*in) ? size * kURLEscapeLength : 1;
    }
    const int32_t length = VnStringDetail::AddLengths(newLength, 0);
    VnString result;
    wchar_t* out = std::copy(begin, first, result.GetBuffer(length, true, false));
    for (const wchar_t* in = first; in != end; ++in) {
        if (!needsEscape(*in)) {
            *out++ = *in;
            continue;
        }
        char bytes[4];
        const char* bytesEnd = VnStringDetail::EncodeUTF8(static_cast<uint32_t>(*in), bytes);
        for (const char* byte = bytes; byte != bytesEnd; ++byte) {
            const auto value = static_cast<uint8_t>(*byte);
            *out++ = escape;
            *out++ = kHexDigits[value >> 4];
            *out++ = kHexDigits[value & 15];
        }
    }
    result.ReleaseBuffer(length);
    Swap(result);
}

VnString VnString::URLEncoded(const wchar_t* text) {
    VnString result(text);
    result.EncodeURL(L'%', false);
    return result;
}

void VnString::EscapeXML(int32_t flags) {
    const wchar_t* const begin = Characters;
    const wchar_t* const end = begin + GetLength();
    const wchar_t* const first =
        std::find_if(begin, end, [flags](wchar_t ch) { return NeedsXMLEscape(ch, flags); });
    if (first == end) {
        return;
    }
    wchar_t control[6];
    int64_t newLength = GetLength();
    for (const wchar_t* in = first; in != end; ++in) {
        if (NeedsXMLEscape(*in, flags)) {
            newLength += static_cast<int64_t>(GetXMLText(*in, flags, control).size()) - 1;
        }
    }
    const int32_t length = VnStringDetail::AddLengths(newLength, 0);
    // Escaped text tends to be appended to, so a little room is kept behind it.
    const int64_t roomy = int64_t{GetLength()} * 110 / 100;
    VnString result;
    wchar_t* out =
        result.GetBuffer(VnStringDetail::AddLengths(std::max(roomy, newLength), 0), true, false);
    out = std::copy(begin, first, out);
    for (const wchar_t* in = first; in != end; ++in) {
        if (NeedsXMLEscape(*in, flags)) {
            const std::wstring_view text = GetXMLText(*in, flags, control);
            out = std::copy(text.begin(), text.end(), out);
        } else {
            *out++ = *in;
        }
    }
    result.ReleaseBuffer(length);
    Swap(result);
}

void VnString::DecodeEscapes(bool unicode, bool hexadecimal) {
    const int32_t length = GetLength();
    const int32_t first = Find(L'\\');
    if (first < 0 || (!unicode && !hexadecimal)) {
        return;
    }
    wchar_t* text = GetBuffer();
    int32_t written = first;
    for (int32_t read = first; read < length; ++read) {
        text[written++] = text[read];
        const wchar_t* end = text + written;
        int32_t width = 0;
        int32_t value = -1;
        if (hexadecimal) {
            width = 2;
            value = GetBackslashEscape(end, written, width, [](wchar_t ch) { return ch == L'x'; });
        }
        if (value < 0 && unicode) {
            width = 4;
            value = GetBackslashEscape(end, written, width,
                                       [](wchar_t ch) { return ch == L'u' || ch == L'U'; });
        }
        if (value >= 0) {
            written -= width + 2;
            text[written++] = static_cast<wchar_t>(value);
        }
    }
    ReleaseBuffer(written);
}

void VnString::EscapeBackslash() {
    const auto needsEscape = [](wchar_t ch) { return GetBackslashLetter(ch) != 0; };
    const auto count = std::count_if(Characters, Characters + GetLength(), needsEscape);
    if (count == 0) {
        return;
    }
    const int32_t length = VnStringDetail::AddLengths(GetLength(), count);
    VnString result;
    wchar_t* out = result.GetBuffer(length, true, false);
    for (int32_t i = 0; i < GetLength(); ++i) {
        const wchar_t letter = GetBackslashLetter(Characters[i]);
        if (letter != 0) {
            *out++ = L'\\';
        }
        *out++ = letter != 0 ? letter : Characters[i];
    }
    result.ReleaseBuffer(length);
    Swap(result);
}
