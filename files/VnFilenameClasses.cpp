#include "files/VnFilename.h"

#include "core/VnStringDetail.h"

#include <algorithm>
#include <cwchar>
#include <string_view>

namespace {

/// Length from which on a URL is taken for a streaming link rather than the name of a file.
constexpr int32_t kLongURL = 251;

std::wstring_view View(const wchar_t* text) {
    return text == nullptr ? std::wstring_view() : std::wstring_view(text);
}

bool EqualNoCase(std::wstring_view left, std::wstring_view right) {
    return left.size() == right.size()
           && VnStringDetail::EqualRuns(left.data(), right.data(),
                                        static_cast<int32_t>(left.size()), /*caseFlag=*/false);
}

bool StartsWithNoCase(std::wstring_view text, std::wstring_view prefix) {
    return text.size() >= prefix.size() && EqualNoCase(text.substr(0, prefix.size()), prefix);
}

bool ContainsNoCase(std::wstring_view text, std::wstring_view part) {
    return VnStringDetail::FindIn(text, part, 0, /*caseFlag=*/false) >= 0;
}

/// "(0x", eight hexadecimal digits, "):/": the digits themselves are not looked at.
bool IsPseudoDrive(std::wstring_view text) {
    return text.size() >= 14 && text.starts_with(L"(0x") && text[11] == L')' && text[12] == L':'
           && text[13] == L'/';
}

/// "(", one or more decimal digits, ":".
bool IsNumberedName(std::wstring_view text) {
    if (text.empty() || text[0] != L'(') {
        return false;
    }
    const size_t end = text.find_first_not_of(L"0123456789", 1);
    return end != std::wstring_view::npos && end > 1 && text[end] == L':';
}

} // namespace

bool VnFilename::GetIsFileRemote(const wchar_t* text) {
    if (text == nullptr) {
        return false;
    }
    for (const wchar_t* at = std::wcschr(text, L':'); at != nullptr;
         at = std::wcschr(at + 1, L':')) {
        if (at[1] == L'/' && at[2] == L'/') {
            return true;
        }
    }
    return false;
}

bool VnFilename::GetIsFileLocal(
    bool allowEmpty, bool allowPseudoDrive, bool allowURL, bool allowSpecial, bool allowUNC) const {
    return GetIsFileLocal(Filename.GetText(), allowEmpty, allowPseudoDrive, allowURL, allowSpecial,
                          allowUNC);
}

bool VnFilename::GetIsFileLocal(const wchar_t* text,
                                bool allowEmpty,
                                bool allowPseudoDrive,
                                bool allowURL,
                                bool allowSpecial,
                                bool allowUNC) {
    const std::wstring_view view = View(text);
    if (!allowEmpty && view.empty()) {
        return false;
    }
    if (!allowPseudoDrive && IsPseudoDrive(view)) {
        return false;
    }
    if (!allowURL && GetIsFileRemote(text)) {
        return false;
    }
    if (!allowSpecial && GetIsSpecialName(text)) {
        return false;
    }
    return allowUNC || !view.starts_with(L"\\\\");
}

bool VnFilename::GetIsSpecialName(const wchar_t* text) {
    const std::wstring_view view = View(text);
    // All three endings of recordings have their dot first: nearly every text is settled by its
    // dots.
    for (size_t dot = view.find(L'.'); dot != std::wstring_view::npos;
         dot = view.find(L'.', dot + 1)) {
        const std::wstring_view tail = view.substr(dot, 5);
        if (tail == L".tvlb" || tail == L".vntv" || tail == L".tvgd") {
            return true;
        }
    }
    return IsNumberedName(view) || StartsWithNoCase(view, L"<XMLPH version=")
           || StartsWithNoCase(view, L"Radio Paradise: ");
}

bool VnFilename::GetIsLibraryServerURL(const wchar_t* text) {
    return GetIsFileRemote(text) && ContainsNoCase(text, L"thws");
}

bool VnFilename::GetIsConversionURL(const wchar_t* text) {
    return GetIsLibraryServerURL(text) && ContainsNoCase(text, L"conversion");
}

bool VnFilename::GetIsRTMP(const wchar_t* text) {
    const std::wstring_view view = View(text);
    return StartsWithNoCase(view, L"rtmp://") || StartsWithNoCase(view, L"rtmps://")
           || StartsWithNoCase(view, L"rtmpe://") || StartsWithNoCase(view, L"rtmpt://");
}

bool VnFilename::GetIsTVFile() const {
    const VnString extension = GetExtension(/*useFileType=*/true);
    return EqualNoCase(View(extension), L"vtv") || EqualNoCase(View(extension), L"vts")
           || EqualNoCase(View(extension), L"vntv");
}

bool VnFilename::GetIsTVFile(const wchar_t* text) {
    return VnFilename(text).GetIsTVFile();
}

bool VnFilename::GetIsLongStreamingURL() const {
    if (Filename.GetLength() < kLongURL || !GetIsFileRemote()) {
        return false;
    }
    static constexpr std::wstring_view kFiles[] = {
        L"m4a", L"mp4", L"ra", L"rm", L"ram", L"flv", L"mkv",
    };
    const VnString extension = GetExtension(/*useFileType=*/true);
    return std::find(std::begin(kFiles), std::end(kFiles), View(extension)) == std::end(kFiles);
}

bool VnFilename::GetIsLongStreamingURL(const wchar_t* text) {
    return VnFilename(text).GetIsLongStreamingURL();
}

int32_t VnFilename::GetURLScheme(VnString& scheme) const {
    if (scheme.IsEmpty()) {
        scheme = GetScheme();
    }
    const std::wstring_view view = View(scheme);
    if (StartsWithNoCase(view, L"https")) {
        return 4;
    }
    if (StartsWithNoCase(view, L"http")) {
        return 3;
    }
    return StartsWithNoCase(view, L"ftp") ? 1 : 0;
}

int32_t VnFilename::GetURLScheme() const {
    VnString scheme;
    return GetURLScheme(scheme);
}

int32_t VnFilename::GetURLScheme(const wchar_t* text, VnString& scheme) {
    return VnFilename(text).GetURLScheme(scheme);
}
