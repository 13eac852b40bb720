#include "host/HostText.h"

#include "core/VnString.h"

#include <locale.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <cwctype>

namespace {

constexpr wchar_t kByteBase = 0xDC00;

bool IsRawByte(wchar_t ch) {
    return ch > kByteBase + 0x7F && ch <= kByteBase + 0xFF;
}

void AppendUTF8(std::string& out, char32_t ch) {
    if (ch < 0x80) {
        out += static_cast<char>(ch);
    } else if (ch < 0x800) {
        out += static_cast<char>(0xC0 | (ch >> 6));
        out += static_cast<char>(0x80 | (ch & 0x3F));
    } else if (ch < 0x10000) {
        out += static_cast<char>(0xE0 | (ch >> 12));
        out += static_cast<char>(0x80 | ((ch >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (ch & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (ch >> 18));
        out += static_cast<char>(0x80 | ((ch >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((ch >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (ch & 0x3F));
    }
}

/// Printable ASCII, which is one byte in every form.
template<typename CHARACTER>
bool IsPlain(CHARACTER ch) {
    return ch >= 0x20 && ch < 0x7F;
}

/// Puts the plain characters at the start of `text` into `out`, which gets room for all of it;
/// their number.
size_t TakePlain(std::wstring_view text, std::string& out) {
    out.resize(text.size());
    size_t count = 0;
    while (count < text.size() && IsPlain(text[count])) {
        out[count] = static_cast<char>(text[count]);
        ++count;
    }
    out.resize(count);
    return count;
}

bool IsUnicode(wchar_t ch) {
    const auto code = static_cast<char32_t>(ch);
    return code <= 0x10FFFF && (code < 0xD800 || code > 0xDFFF);
}

wchar_t Lower(wchar_t ch) {
    if (static_cast<uint32_t>(ch) < 0x80) {
        return ch >= L'A' && ch <= L'Z' ? ch + (L'a' - L'A') : ch;
    }
    // Not the process locale: that is the user's, and may know no letters beyond ASCII.
    static const locale_t locale = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    return locale == nullptr ? static_cast<wchar_t>(std::towlower(static_cast<wint_t>(ch)))
                             : static_cast<wchar_t>(towlower_l(static_cast<wint_t>(ch), locale));
}

} // namespace

std::wstring HostWiden(std::string_view bytes) {
    return HostText(VnString::FromFileSystemText(bytes.data(), static_cast<int64_t>(bytes.size())));
}

std::string HostNarrow(std::wstring_view text) {
    std::string out;
    for (const wchar_t ch : text.substr(TakePlain(text, out))) {
        if (IsRawByte(ch)) {
            out += static_cast<char>(ch - kByteBase);
        } else if (IsUnicode(ch)) {
            AppendUTF8(out, static_cast<char32_t>(ch));
        } else {
            out += '?';
        }
    }
    return out;
}

std::wstring HostText(const VnString& text) {
    return std::wstring(text.GetText(), static_cast<size_t>(text.GetLength()));
}

std::wstring HostFold(std::wstring_view text) {
    std::wstring folded(text);
    for (wchar_t& ch : folded) {
        ch = Lower(ch);
    }
    return folded;
}

bool HostEqualsNoCase(std::wstring_view left, std::wstring_view right) {
    if (left.size() != right.size()) {
        return false;
    }
    for (size_t index = 0; index < left.size(); ++index) {
        if (left[index] != right[index] && Lower(left[index]) != Lower(right[index])) {
            return false;
        }
    }
    return true;
}

std::string HostPrintable(std::string_view bytes) {
    if (std::all_of(bytes.begin(), bytes.end(), IsPlain<char>)) {
        return std::string(bytes);
    }
    return HostPrintable(std::wstring_view(HostWiden(bytes)));
}

std::string HostPrintable(std::wstring_view text) {
    std::string out;
    for (const wchar_t ch : text.substr(TakePlain(text, out))) {
        std::array<char, 12> escape{};
        if (ch == L'\n') {
            out += "\\n";
        } else if (ch == L'\r') {
            out += "\\r";
        } else if (ch == L'\t') {
            out += "\\t";
        } else if (IsRawByte(ch)) {
            std::snprintf(escape.data(), escape.size(), "\\x%02X",
                          static_cast<unsigned>(ch - kByteBase));
            out += escape.data();
        } else if (static_cast<uint32_t>(ch) < 0x20 || (ch >= 0x7F && ch < 0xA0)) {
            std::snprintf(escape.data(), escape.size(), "\\x%02X", static_cast<unsigned>(ch));
            out += escape.data();
        } else {
            AppendUTF8(out, IsUnicode(ch) ? static_cast<char32_t>(ch) : U'\uFFFD');
        }
    }
    return out;
}

std::string HostUTF8(std::wstring_view text) {
    std::string out;
    out.reserve(text.size());
    for (const wchar_t ch : text) {
        AppendUTF8(out, IsUnicode(ch) ? static_cast<char32_t>(ch) : U'\uFFFD');
    }
    return out;
}

std::string HostFormatBytes(int64_t bytes) {
    constexpr std::array kUnits{"KB", "MB", "GB", "TB", "PB"};
    if (bytes > -1024 && bytes < 1024) {
        return std::to_string(bytes) + " bytes";
    }
    double value = static_cast<double>(bytes) / 1024;
    size_t unit = 0;
    while ((value >= 1024 || value <= -1024) && unit + 1 < kUnits.size()) {
        value /= 1024;
        ++unit;
    }
    std::array<char, 48> text{};
    const int decimals = value > -100 && value < 100 ? 1 : 0;
    std::snprintf(text.data(), text.size(), "%.*f %s", decimals, value, kUnits.at(unit));
    return text.data();
}

std::string HostFormatSeconds(double seconds) {
    const auto whole = static_cast<int64_t>(seconds < 0 ? 0 : seconds + 0.5);
    std::array<char, 48> text{};
    if (whole >= 3600) {
        std::snprintf(text.data(), text.size(), "%lld:%02lld:%02lld",
                      static_cast<long long>(whole / 3600), static_cast<long long>(whole / 60 % 60),
                      static_cast<long long>(whole % 60));
    } else {
        std::snprintf(text.data(), text.size(), "%lld:%02lld", static_cast<long long>(whole / 60),
                      static_cast<long long>(whole % 60));
    }
    return text.data();
}

std::vector<std::wstring> HostSplit(std::wstring_view text, wchar_t separator) {
    std::vector<std::wstring> pieces;
    if (text.empty()) {
        return pieces;
    }
    size_t start = 0;
    for (size_t end = text.find(separator); end != std::wstring_view::npos;
         end = text.find(separator, start)) {
        pieces.emplace_back(text.substr(start, end - start));
        start = end + 1;
    }
    pieces.emplace_back(text.substr(start));
    return pieces;
}

std::wstring_view HostTrim(std::wstring_view text) {
    constexpr std::wstring_view kBlanks = L" \t\r\n\f\v\u00A0";
    const size_t start = text.find_first_not_of(kBlanks);
    if (start == std::wstring_view::npos) {
        return {};
    }
    return text.substr(start, text.find_last_not_of(kBlanks) - start + 1);
}

std::wstring HostExtension(std::wstring_view path) {
    const std::wstring_view name = HostName(path);
    const size_t dot = name.rfind(L'.');
    return dot == std::wstring_view::npos || dot == 0 ? std::wstring()
                                                      : HostFold(name.substr(dot + 1));
}

std::wstring HostStem(std::wstring_view path) {
    const std::wstring_view name = HostName(path);
    const size_t dot = name.rfind(L'.');
    return std::wstring(dot == std::wstring_view::npos || dot == 0 ? name : name.substr(0, dot));
}

std::wstring_view HostName(std::wstring_view path) {
    const size_t slash = path.rfind(L'/');
    return slash == std::wstring_view::npos ? path : path.substr(slash + 1);
}

std::wstring_view HostFolder(std::wstring_view path) {
    const size_t slash = path.rfind(L'/');
    return slash == std::wstring_view::npos ? std::wstring_view() : path.substr(0, slash + 1);
}

std::string HostHash(std::string_view text) {
    uint64_t hash = 0xCBF29CE484222325U;
    for (const char ch : text) {
        hash = (hash ^ static_cast<unsigned char>(ch)) * 0x100000001B3U;
    }
    std::array<char, 17> digits{};
    std::snprintf(digits.data(), digits.size(), "%016llx", static_cast<unsigned long long>(hash));
    return digits.data();
}

std::string HostErrorText(int error) {
    std::array<char, 256> buffer{};
    return strerror_r(error, buffer.data(), buffer.size());
}
