#include "files/VnFilename.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>

namespace {

constexpr const wchar_t* kFileScheme = L"file://";

/// Cuts "file://" off the text, and the host behind it when that is "localhost"; the path keeps its
/// "/".
bool StripFileURL(VnString& text) {
    if (!text.RemovePrefix(kFileScheme, /*caseFlag=*/false)) {
        return false;
    }
    if (text.StartsWith(L"localhost/", /*caseFlag=*/false)) {
        text.RemoveLeft(9);
    }
    return true;
}

/// The bytes that a text with percent-escapes spells.
std::string UnescapeBytes(std::string_view escaped) {
    std::string bytes;
    while (!escaped.empty()) {
        uint8_t value = 0;
        const bool isLong = escaped[0] == '%' && escaped.size() >= 3;
        const char* end = escaped.data() + (isLong ? 3 : 1);
        const bool isEscape =
            isLong && std::from_chars(escaped.data() + 1, end, value, 16).ptr == end;
        bytes += isEscape ? static_cast<char>(value) : escaped[0];
        escaped.remove_prefix(isEscape ? 3 : 1);
    }
    return bytes;
}

/// Decodes a text that VnString::DecodeURL would damage: one whose escapes spell a character above
/// U+FFFF, or that holds characters above U+00FF beside its escapes. False, and no change, for any
/// other, and where the bytes are no UTF-8.
bool DecodeWithoutLoss(VnString& text) {
    const std::wstring_view view(text.GetText(), static_cast<size_t>(text.GetLength()));
    const bool isWide = std::any_of(view.begin(), view.end(), [](wchar_t ch) { return ch > 0xFF; });
    if (!isWide && view.find(L"%F") == view.npos && view.find(L"%f") == view.npos) {
        return false;
    }
    const std::string bytes = UnescapeBytes(VnStringUTF8(text).GetBytes());
    const VnString decoded =
        VnString::FromFileSystemText(bytes.data(), static_cast<int64_t>(bytes.size()));
    const std::wstring_view result(decoded.GetText(), static_cast<size_t>(decoded.GetLength()));
    if (std::any_of(result.begin(), result.end(),
                    [](wchar_t ch) { return ch == 0 || (ch >= 0xDC80 && ch <= 0xDCFF); })) {
        return false;
    }
    text = decoded;
    return true;
}

void DecodeFileURL(VnString& text) {
    if (text.Find(L'%') < 0 || DecodeWithoutLoss(text)) {
        return;
    }
    // A "+" in a path is itself, and what an escaped "%" spells stays as it is.
    text.DecodeURL(L'%', /*keepEscaped=*/true, /*plusAsSpace=*/false);
}

void ConvertToForwardSlash(VnString& text, VnPathStyle from) {
    switch (from) {
    case PathStyleUnknown:
        if (text.Find(L'/') < 0) {
            text.ReplaceChar(L'\\', L'/');
        }
        break;
    case PathStyleGeneric:
    case PathStyleBackslash:
        text.ReplaceChar(L'\\', L'/');
        break;
    case PathStyleFileURL:
        if (StripFileURL(text)) {
            DecodeFileURL(text);
        }
        break;
    case PathStyleNative:
    case PathStyleForwardSlash:
        break;
    }
}

void ConvertToBackslash(VnString& text, VnPathStyle from) {
    if (from == PathStyleBackslash) {
        return;
    }
    if (from != PathStyleFileURL) {
        text.ReplaceChar(L'/', L'\\');
        return;
    }
    if (StripFileURL(text)) {
        if (text.StartsWith(L'/')) {
            text.RemoveLeft(1);
        }
        text.ReplaceChar(L'/', L'\\');
        DecodeFileURL(text);
    }
}

} // namespace

bool VnFilename::PathContains(const wchar_t* text, bool defaultResult) const {
    VnString wanted = text;
    if (wanted.IsEmpty()) {
        return defaultResult;
    }
    VnString path = Filename;
    path.ReplaceChar(L'/', L'\\');
    wanted.ReplaceChar(L'/', L'\\');
    return path.Contains(wanted, /*caseFlag=*/false);
}

bool VnFilename::IsAbsolutePath(const wchar_t* text) {
    return text != nullptr && text[0] == L'/';
}

bool VnFilename::IsAbsoluteOrHomePath(const wchar_t* text) {
    return IsAbsolutePath(text) || (text != nullptr && text[0] == L'~' && text[1] == L'/');
}

VnString VnFilename::GetRealPath(const VnString& text) {
    struct Free {
        void operator()(char* bytes) const { std::free(bytes); }
    };
    const std::unique_ptr<char, Free> path(realpath(VnStringUTF8(text), nullptr));
    return VnString::FromFileSystemText(path.get());
}

VnString VnFilename::GetLongPathName(const VnString& text) {
    return text;
}

void VnFilename::SetTrailingSeparator(VnString& text, wchar_t separator, bool keepDoubleRoot) {
    const int32_t length = text.GetLength();
    if (length == 0) {
        return;
    }
    int32_t run = 0;
    while (run < length && text[length - 1 - run] == separator) {
        ++run;
    }
    if (run == 0) {
        text += separator;
    } else if (run > 1 && !(keepDoubleRoot && length == 2)) {
        text.RemoveRight(run - 1);
    }
}

void VnFilename::AppendPathSegment(VnString& path, const VnString& segment) {
    SetTrailingSeparator(path, L'/', /*keepDoubleRoot=*/false);
    path += segment;
    SetTrailingSeparator(path, L'/', /*keepDoubleRoot=*/false);
}

VnPathStyle VnFilename::GetPathStyle(const wchar_t* text) {
    const VnString path = text;
    return path.Find(L'/') >= 0 ? PathStyleForwardSlash : PathStyleBackslash;
}

void VnFilename::ConvertPathStyle(VnString& text, VnPathStyle from, VnPathStyle to) {
    switch (to) {
    case PathStyleNative:
    case PathStyleForwardSlash:
        ConvertToForwardSlash(text, from);
        break;
    case PathStyleBackslash:
        ConvertToBackslash(text, from);
        break;
    case PathStyleUnknown:
    case PathStyleGeneric:
    case PathStyleFileURL:
        break;
    }
}
