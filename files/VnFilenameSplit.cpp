#include "files/VnFilename.h"

#include "core/VnStringManager.h"

#include <algorithm>
#include <cwchar>
#include <string_view>

namespace {

/// A part of the text that is being split, by position and length.
struct Span {
    int32_t Start = 0;
    int32_t Length = 0;
};

/// What the scan of a local path finds. Lengths of what is missing are 0.
struct LocalSpans {
    Span Drive;
    Span Directory;
    Span Name;
    Span Extension;
    bool UpperDrive = false;    ///< a drive letter, which is given in upper case
    bool RootDirectory = false; ///< an empty directory is given as "/"
};

bool IsSeparator(wchar_t ch) {
    return ch == L'/' || ch == L'\\';
}

/// Gives a part to the caller. A block of the caller's that is large enough is used again, which
/// spares a loop over many names one allocation a part.
void Store(VnString* target, const wchar_t* text, int32_t length) {
    if (target == nullptr) {
        return;
    }
    if (length < 1) {
        target->Empty();
    } else if (target->GetCapacity() > length) {
        std::wmemcpy(target->GetBuffer(length, /*exact=*/true, /*keepContents=*/false), text,
                     length);
        target->ReleaseBuffer(length);
    } else {
        target->Assign(text, length);
    }
}

void Store(VnString* target, std::wstring_view text, Span span) {
    Store(target, text.data() + span.Start, span.Length);
}

/// The extension in lower case; nearly all fit the array, which spares them a second block.
void StoreLowerCase(VnString* target, std::wstring_view text, Span span) {
    constexpr int32_t kUsual = 32;
    if (target == nullptr) {
        return;
    }
    if (span.Length > kUsual) {
        Store(target, text, span);
        target->MakeLower();
        return;
    }
    wchar_t lower[kUsual];
    const wchar_t* source = text.data() + span.Start;
    std::transform(source, source + span.Length, lower, VnStringGlobals::ToLower);
    Store(target, lower, span.Length);
}

/// Whether the dot at `index`, the first from the right, starts an extension. A name that begins
/// with a dot has none, unless the text begins with it.
bool StartsExtension(std::wstring_view text, size_t index) {
    if (index == 0) {
        return true;
    }
    if (IsSeparator(text[index - 1])) {
        return false;
    }
    return !(index > 1 && text[index - 1] == L'.' && IsSeparator(text[index - 2]));
}

/// Whether "/dev/" begins the text, so that a device node takes the place of a drive.
bool IsDevicePath(std::wstring_view text) {
    return text.size() > 4 && text[4] == L'/' && text[0] == L'/'
           && VnStringGlobals::ToLower(text[1]) == L'd' && VnStringGlobals::ToLower(text[2]) == L'e'
           && VnStringGlobals::ToLower(text[3]) == L'v';
}

/// Scan of a local path from its end. The characters at index 4 and 1 are looked at even behind the
/// name: they tell a device, a drive letter and a server apart.
class LocalScan {
public:
    explicit LocalScan(std::wstring_view text)
        : Text(text)
        , Length(static_cast<int32_t>(text.size())) {}

    LocalSpans Run() {
        ScanLastSegment();
        if (Separator >= 4 && IsDevicePath(Text)) {
            // A node without a path behind it is all drive, so its last segment is no name.
            if (Separator > 4) {
                CaptureName(Separator + 1);
            }
            EndDrive(FindFrom(L'/', 5));
        } else if (Separator >= 1 && Text[1] == L':') {
            CaptureName(Separator + 1);
            EndLetter();
        } else if (Separator >= 1 && IsSeparator(Text[0]) && IsSeparator(Text[1])) {
            CaptureName(Separator + 1);
            EndDrive(FindFrom(L'\\', 3));
        } else if (Separator < 0 && EndedAtColon) {
            EndLetter();
        } else {
            CaptureName(Separator + 1);
            Spans.Directory = {0, Separator + 1};
        }
        Spans.Extension = {Length - std::max(ExtensionLength - 1, 0),
                           std::max(ExtensionLength - 1, 0)};
        return Spans;
    }

private:
    /// Finds the last separator, and the extension behind it.
    void ScanLastSegment() {
        for (int32_t index = Length - 1; index >= 0; --index) {
            const wchar_t ch = Text[static_cast<size_t>(index)];
            if (IsSeparator(ch)) {
                Separator = index;
                return;
            }
            if (ch == L':' && index == 1) {
                EndedAtColon = true;
                return;
            }
            if (ch == L'.' && ExtensionLength == 0
                && StartsExtension(Text, static_cast<size_t>(index))) {
                ExtensionLength = Length - index;
            }
        }
    }

    void CaptureName(int32_t start) { Spans.Name = {start, Length - ExtensionLength - start}; }

    /// The directory runs from behind the drive to the name.
    void EndAt(int32_t driveLength) {
        const int32_t end = Length - ExtensionLength - Spans.Name.Length;
        Spans.Drive = {0, driveLength};
        Spans.Directory = {driveLength, std::max(end - driveLength, 0)};
        Spans.RootDirectory = true;
    }

    void EndLetter() {
        Spans.UpperDrive = true;
        EndAt(2);
    }

    /// A drive that ends ahead of `position`, or with the text.
    void EndDrive(int32_t position) { EndAt(position < 0 ? Length : position); }

    int32_t FindFrom(wchar_t ch, size_t start) const {
        const size_t found = Text.find(ch, start);
        return found == std::wstring_view::npos ? -1 : static_cast<int32_t>(found);
    }

    std::wstring_view Text;
    int32_t Length;
    int32_t Separator = -1;      ///< the last one
    int32_t ExtensionLength = 0; ///< with the dot; 0 is no extension
    bool EndedAtColon = false;   ///< a drive letter without any separator
    LocalSpans Spans;
};

void SplitLocal(std::wstring_view text, const VnFilenameParts& parts, bool lowerCaseExtension) {
    const LocalSpans spans = LocalScan(text).Run();
    Store(parts.Drive, text, spans.Drive);
    if (parts.Drive != nullptr && spans.UpperDrive) {
        parts.Drive->MakeUpper();
    }
    if (spans.RootDirectory && spans.Directory.Length == 0) {
        Store(parts.Directory, L"/", 1);
    } else {
        Store(parts.Directory, text, spans.Directory);
    }
    Store(parts.Name, text, spans.Name);
    if (lowerCaseExtension) {
        StoreLowerCase(parts.Extension, text, spans.Extension);
    } else {
        Store(parts.Extension, text, spans.Extension);
    }
    for (VnString* part : {parts.Query, parts.User, parts.Password, parts.Host, parts.PathOnHost}) {
        Store(part, nullptr, 0);
    }
    if (parts.Port != nullptr) {
        *parts.Port = 0;
    }
}

constexpr auto kNone = std::wstring_view::npos;

/// The higher of two positions, where none is the lowest.
size_t Higher(size_t left, size_t right) {
    return left == kNone ? right : right == kNone ? left : std::max(left, right);
}

/// Takes "user:password@host:port" apart.
void SplitAuthority(std::wstring_view authority, const VnFilenameParts& parts) {
    std::wstring_view user;
    std::wstring_view password;
    const size_t at = authority.find(L'@');
    if (at != kNone) {
        const std::wstring_view credentials = authority.substr(0, at);
        authority.remove_prefix(at + 1);
        const size_t colon = credentials.find(L':');
        user = credentials.substr(0, colon);
        if (colon != kNone) {
            password = credentials.substr(colon + 1);
            password = password.substr(0, password.find(L':'));
        }
    }
    int32_t port = 0;
    const size_t colon = authority.rfind(L':');
    if (colon != kNone) {
        const std::wstring_view digits = authority.substr(colon + 1);
        port = VnString(digits.data(), static_cast<int32_t>(digits.size())).ToInt();
        authority = authority.substr(0, colon);
    }
    Store(parts.User, user.data(), static_cast<int32_t>(user.size()));
    Store(parts.Password, password.data(), static_cast<int32_t>(password.size()));
    Store(parts.Host, authority.data(), static_cast<int32_t>(authority.size()));
    if (parts.Port != nullptr) {
        *parts.Port = port;
    }
}

/// Name and extension of a URL: only a tail of three or four characters counts as an extension,
/// since a URL may well end in a host or in a script's name with dots.
void SplitURLName(std::wstring_view name, const VnFilenameParts& parts) {
    std::wstring_view extension;
    const size_t dot = name.rfind(L'.');
    if (dot != kNone && (name.size() - dot == 4 || name.size() - dot == 5)) {
        extension = name.substr(dot + 1);
        name = name.substr(0, dot);
    }
    Store(parts.Name, name.data(), static_cast<int32_t>(name.size()));
    Store(parts.Extension, extension.data(), static_cast<int32_t>(extension.size()));
}

/// The part from `start` up to `end`, empty when they are the wrong way round.
std::wstring_view Between(std::wstring_view text, size_t start, size_t end) {
    return end > start ? text.substr(start, end - start) : std::wstring_view();
}

void SplitURL(std::wstring_view text, const VnFilenameParts& parts) {
    std::wstring_view query;
    const size_t mark = text.rfind(L'?');
    if (mark != kNone) {
        query = text.substr(mark + 1);
        text = text.substr(0, mark);
    }
    const size_t scheme = text.find(L"://");
    const size_t authority = scheme == kNone ? 0 : scheme + 3;
    size_t last = Higher(text.rfind(L'/'), text.rfind(L'\\'));
    if (last == kNone || last < authority) {
        last = text.empty() ? 0 : text.size() - 1; // a host alone counts as a directory
    }
    size_t first = Higher(text.find(L'/', authority), text.find(L'\\', authority));
    first = first == kNone ? text.size() : first;

    const auto store = [](VnString* target, std::wstring_view part) {
        Store(target, part.data(), static_cast<int32_t>(part.size()));
    };
    store(parts.Query, query);
    store(parts.Drive, text.substr(0, authority));
    store(parts.Directory, Between(text, authority, last + 1));
    if (parts.User != nullptr || parts.Password != nullptr || parts.Host != nullptr
        || parts.Port != nullptr) {
        SplitAuthority(Between(text, authority, first), parts);
    }
    store(parts.PathOnHost, Between(text, first, last + 1));
    if (parts.Name != nullptr || parts.Extension != nullptr) {
        SplitURLName(Between(text, last + 1, text.size()), parts);
    }
}

} // namespace

bool VnFilename::Split(const VnFilenameParts& parts) const {
    return Split(Filename, parts, LowerCaseExtension);
}

bool VnFilename::Split(const VnString& text,
                       const VnFilenameParts& parts,
                       bool lowerCaseExtension) {
    const VnString path = GetLocalPath(text);
    const std::wstring_view view(path.GetText(), static_cast<size_t>(path.GetLength()));
    const bool isURL = GetIsFileRemote(text);
    if (isURL) {
        SplitURL(view, parts);
    } else {
        SplitLocal(view, parts, lowerCaseExtension);
    }
    if (parts.IsURL != nullptr) {
        *parts.IsURL = isURL;
    }
    return true;
}
