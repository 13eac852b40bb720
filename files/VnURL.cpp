#include "files/VnURL.h"

#include "core/VnBuffer.h"
#include "files/VnFilename.h"
#include "runtime/IVnReader.h"
#include "runtime/VnSiblingModules.h"

#include <algorithm>
#include <cwchar>
#include <limits>
#include <string>
#include <string_view>

namespace {

/// Longest scheme, host and port that IsValidURL takes.
constexpr int32_t kLongestScheme = 16;
constexpr int32_t kLongestHost = 512;
constexpr int32_t kLongestPort = 5;

/// The first of the characters of `set` from `start` on, or the terminator.
const wchar_t* FindEnd(const wchar_t* start, const wchar_t* set) {
    return start + std::wcscspn(start, set);
}

/// host = "[" address "]" [ ":" port ]. False unless the bracket is closed and only a port follows
/// it.
bool FindBracketEnd(VnURLMarks& marks) {
    const wchar_t* bracket = std::find(marks.HostStart, marks.AuthorityEnd, L']');
    if (bracket == marks.AuthorityEnd) {
        return false;
    }
    marks.HostEnd = bracket + 1;
    return marks.HostEnd == marks.AuthorityEnd || *marks.HostEnd == L':';
}

/// authority = [ userinfo "@" ] host [ ":" port ]
bool ParseAuthority(VnURLMarks& marks) {
    const wchar_t* at = std::find(marks.AuthorityStart, marks.AuthorityEnd, L'@');
    marks.HostStart = at == marks.AuthorityEnd ? marks.AuthorityStart : at + 1;
    if (marks.HostStart < marks.AuthorityEnd && *marks.HostStart == L'[') {
        return FindBracketEnd(marks);
    }
    const wchar_t* colon = std::find(marks.HostStart, marks.AuthorityEnd, L':');
    marks.HostEnd = colon > marks.HostStart ? colon : marks.AuthorityEnd;
    return true;
}

/// The part of `text` through `end`, where the marks of the text start at `start`.
VnString Through(const wchar_t* start, const wchar_t* end) {
    return {start, static_cast<int32_t>(end - start)};
}

/// Takes the last segment off a path that is being built.
void CutLastSegment(std::wstring& path) {
    const size_t slash = path.rfind(L'/');
    if (slash != std::wstring::npos) {
        path.resize(slash);
    }
}

/// RFC 3986, section 5.2.4, where "/.." and "/." count wherever a segment begins with them. The
/// result begins with "/".
std::wstring RemoveDots(std::wstring input) {
    std::wstring output;
    size_t start = 0;
    // Puts a "/" in front of what is left behind `count` characters, in the place of the last of
    // them.
    const auto skipToSlash = [&](size_t count) {
        start += count - 1;
        input[start] = L'/';
    };
    while (start < input.size()) {
        const std::wstring_view rest = std::wstring_view(input).substr(start);
        if (rest.starts_with(L"../")) {
            start += 3;
        } else if (rest.starts_with(L"./") || rest.starts_with(L"/./")) {
            start += 2;
        } else if (rest.starts_with(L"/../")) {
            start += 3;
            CutLastSegment(output);
        } else if (rest.starts_with(L"/..")) {
            skipToSlash(3);
            CutLastSegment(output);
        } else if (rest.starts_with(L"/.")) {
            skipToSlash(2);
        } else if (rest == L"." || rest == L"..") {
            break;
        } else {
            const std::wstring_view segment = rest.substr(0, rest.find(L'/', 1));
            output += segment;
            start += segment.size();
        }
    }
    if (!output.starts_with(L'/')) {
        output.insert(output.begin(), L'/');
    }
    return output;
}

/// The base's path through its last "/"; empty when it has none.
std::wstring GetBaseDirectory(const VnURLMarks& base) {
    const std::wstring_view path(base.AuthorityEnd,
                                 static_cast<size_t>(base.PathEnd - base.AuthorityEnd));
    return std::wstring(path.substr(0, path.rfind(L'/') + 1));
}

/// Merges a parsed reference with a parsed base.
VnString Merge(const VnURLMarks& reference, const VnURLMarks& base) {
    const bool isRelative = !reference.HasScheme() && !reference.HasAuthority();
    const bool isEmptyPath = isRelative && !reference.HasPath();
    VnString result;
    if (isEmptyPath) {
        result = Through(base.Start, reference.HasQuery() ? base.PathEnd : base.QueryEnd);
    } else if (isRelative) {
        result = Through(base.Start, base.AuthorityEnd);
    } else if (!reference.HasScheme()) {
        result = Through(base.Start, base.SchemeEnd);
    }
    result += Through(reference.Start, reference.AuthorityEnd);

    // With the base's own path taken over there is nothing left to merge.
    if (!isEmptyPath) {
        std::wstring path(reference.AuthorityEnd, reference.PathEnd);
        const bool useBase = isRelative && path[0] != L'/' && base.HasPath();
        if (useBase) {
            path.insert(0, GetBaseDirectory(base));
        }
        if (useBase || reference.HasAuthority() || (isRelative && base.HasAuthority())) {
            path = RemoveDots(std::move(path));
        }
        result.Append(path.data(), static_cast<int32_t>(path.size()));
    }
    result += reference.PathEnd;
    return result;
}

} // namespace

bool ParseURLMarks(VnURLMarks& marks, const wchar_t* url) {
    if (url == nullptr || *url == 0) {
        return false;
    }
    VnURLMarks found;
    found.Start = url;
    const wchar_t* delimiter = FindEnd(url, L":/?#");
    found.SchemeEnd = *delimiter == L':' ? delimiter + 1 : url;
    found.AuthorityStart = found.SchemeEnd;
    if (found.SchemeEnd[0] == L'/' && found.SchemeEnd[1] == L'/') {
        found.AuthorityStart += 2;
        found.AuthorityEnd = FindEnd(found.AuthorityStart, L"/?#");
        if (!ParseAuthority(found)) {
            return false;
        }
    } else {
        found.HostStart = found.HostEnd = found.AuthorityEnd = found.SchemeEnd;
    }
    found.PathEnd = FindEnd(found.AuthorityEnd, L"?#");
    found.QueryEnd = *found.PathEnd == L'?' ? FindEnd(found.PathEnd, L"#") : found.PathEnd;
    marks = found;
    return true;
}

bool ResolveRelativeURL(VnString& reference, VnString& base) {
    if (reference.IsEmpty()) {
        return false;
    }
    const VnString fullBase = base.StartsWith(L"//") ? L"http:" + base : base;
    if (reference.StartsWith(L"//")) {
        const int32_t colon = fullBase.Find(L"://", 1);
        const VnString result =
            (colon < 0 ? VnString(L"http:") : fullBase.Left(colon + 1)) + reference;
        base = fullBase; // ahead of the reference, which may be the same object
        reference = result;
        return true;
    }
    VnURLMarks referenceMarks;
    VnURLMarks baseMarks;
    if (!ParseURLMarks(referenceMarks, reference) || !ParseURLMarks(baseMarks, fullBase)) {
        return false;
    }
    VnString result = Merge(referenceMarks, baseMarks);
    if (result.StartsWith(L"//")) {
        result.Prepend(L"http:");
    }
    base = fullBase;
    reference = result;
    return true;
}

bool IsValidURL(const VnString& text) {
    if (text.IsEmpty()) {
        return false;
    }
    VnString rest = text;
    const int32_t scheme = rest.Find(L"://");
    if (scheme > 0) {
        if (!rest.Left(scheme).IsMadeOf(true, true, L"", 1, kLongestScheme)) {
            return false;
        }
        rest.RemoveLeft(scheme + 3);
    }
    const int32_t at = rest.Find(L'@');
    const int32_t slash = rest.Find(L'/');
    if (at >= 0 && (slash < 0 || at < slash)) {
        rest.RemoveLeft(at + 1);
    }
    VnString host = rest.SpanExcluding(L"/");
    const int32_t colon = host.ReverseFind(L':');
    if (colon >= 0) {
        if (!host.Mid(colon + 1).IsMadeOf(false, true, L"", 1, kLongestPort)) {
            return false;
        }
        host = host.Left(colon);
    }
    return host.IsMadeOf(true, true, L"-.", 1, kLongestHost);
}

bool ConvertPrivateScheme(VnString& text) {
    if (text.RemovePrefix(L"m01p://", /*caseFlag=*/false)) {
        text.Prepend(L"http://");
        return true;
    }
    if (text.RemovePrefix(L"m01ps://", /*caseFlag=*/false)) {
        text.Prepend(L"https://");
        return true;
    }
    return false;
}

bool ReadURLData(const VnFilename& filename,
                 std::unique_ptr<IVnReader>& reader,
                 VnBuffer& buffer,
                 int32_t size,
                 bool openFirst,
                 int32_t timeoutMS) {
    buffer.Empty();
    if (openFirst) {
        reader.reset(CreateInternetReaderDLL(filename.Filename));
        if (reader == nullptr) {
            return false;
        }
        reader->SetTimeout(timeoutMS);
        if (!reader->Open()) {
            return false;
        }
    }
    if (reader == nullptr || size < 1) {
        return false;
    }
    buffer.SetSize(size);
    const int32_t count = reader->Read(buffer.GetData(), size);
    buffer.SetSize(std::max(count, 0));
    return count > 0;
}
