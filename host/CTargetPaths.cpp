#include "host/CTargetPaths.h"

#include "core/VnString.h"
#include "files/VnFileSystem.h"
#include "host/CDeviceProperties.h"
#include "host/CLibraryItem.h"
#include "host/CPathCleaner.h"
#include "host/HostText.h"

#include <algorithm>

namespace {

constexpr std::wstring_view kDefaultNameExpression = L"FileName(,0)";
constexpr int kPLAFormat = 6;

size_t ByteCount(std::wstring_view text) {
    return HostNarrow(text).size();
}

std::wstring CleanFolder(const std::wstring& folder) {
    VnString text(folder.c_str());
    VnFileSystem::CleanPathName(text, /*cleanSegments=*/true, L'_', /*limitLength=*/true,
                                /*keepDots=*/false);
    return HostText(text);
}

/// Android hides names with a dot at the start, so the drive takes the dots away.
std::wstring WithoutLeadingDots(std::wstring path) {
    bool atStart = true;
    for (wchar_t& ch : path) {
        const bool isDot = atStart && ch == L'.';
        atStart = isDot || ch == L'/';
        ch = isDot ? L'_' : ch;
    }
    return path;
}

} // namespace

CTargetPaths::CTargetPaths(const CDeviceProperties& properties,
                           std::function<bool(const std::wstring&)> exists)
    : Properties(properties)
    , Root(properties.Get(L"DrivePath"))
    , Exists(std::move(exists)) {
}

void CTargetPaths::Take(std::wstring_view path) {
    Taken.insert(HostFold(path));
}

void CTargetPaths::Free(std::wstring_view path) {
    Taken.erase(HostFold(path));
}

bool CTargetPaths::IsTaken(const std::wstring& path) const {
    return Taken.contains(HostFold(path)) || Exists(path);
}

std::wstring
CTargetPaths::Evaluate(std::wstring_view expression, const IExpressionItem& item, size_t reserved) {
    const size_t literal = expression.starts_with(Root) ? Root.size() : 0;
    std::wstring path(expression.substr(0, literal));
    path += Expressions.Get(expression.substr(literal))
                .Evaluate(item, CExpression::Mode::Path, reserved);
    return path;
}

std::wstring CTargetPaths::GetNameExpression() const {
    const std::wstring rule = Properties.Get(L"FilenameRule");
    return rule.empty() ? std::wstring(kDefaultNameExpression) : rule;
}

std::wstring CTargetPaths::GetPicturePath(std::wstring_view folder) const {
    const std::wstring name = Properties.Get(L"SaveCoverArtToFilename");
    return std::wstring(folder) + (name.empty() ? L"Folder.jpg" : name);
}

std::wstring CTargetPaths::GetTargetExtension(const CLibraryItem& item) {
    const std::wstring extension = HostExtension(HostWiden(item.Path));
    std::wstring clean = CPathCleaner::CleanSegment(extension, CPathCleaner::kLongestName / 2);
    // Behind a ";" the drive would take the rest for data that is no part of the name.
    std::replace(clean.begin(), clean.end(), L';', L'_');
    return clean.empty() ? item.Fields.Get(L"File Type") : clean;
}

std::wstring_view CTargetPaths::GetPlaylistExtension(int format) {
    switch (format) {
    case 3:
    case 4:
    case 5:
        return L"asx";
    case kPLAFormat:
        return L"pla";
    case 9:
    case 10:
    case 11:
        return L"wpl";
    case 14:
        return L"mpl";
    case 18:
        return L"pls";
    default:
        return L"m3u";
    }
}

std::wstring CTargetPaths::GetFolder(const CLibraryItem& item) {
    const std::wstring& type = item.Fields.Get(L"Media Type");
    const wchar_t* key = L"DataBasePath";
    if (type == L"Audio") {
        // The name alone tells an audio book of this kind: three characters and something ahead of
        // them.
        const bool isAudible =
            item.Path.size() >= 4
            && HostEqualsNoCase(HostWiden(item.Path.substr(item.Path.size() - 3)), L".aa");
        key = isAudible ? L"AudibleBasePath" : L"AudioBasePath";
    } else if (type == L"Video") {
        key = L"VideoBasePath";
    } else if (type == L"Image") {
        key = L"ImageBasePath";
    }
    std::wstring folder = Evaluate(Properties.GetBasePath(key), item);
    // Players of this kind show films from their video folder only.
    if (Properties.GetBasePath(L"AudioBasePath").find(L"PSP") != std::wstring::npos
        && item.Fields.Get(L"File Type") == L"mp4") {
        folder = Properties.GetBasePath(L"VideoBasePath");
    }
    if (!folder.ends_with(L'/')) {
        folder += L'/';
    }
    return CleanFolder(folder);
}

CTargetPaths::CTarget CTargetPaths::Choose(const CLibraryItem& item) {
    CTarget target;
    target.Folder = GetFolder(item);
    target.Extension = GetTargetExtension(item);
    target.Name = Evaluate(GetNameExpression(), item, ByteCount(target.Extension) + 1);
    const size_t start = HostFolder(target.Name).size();
    if (start == target.Name.size()) {
        target.Name += L"Unknown";
    } else if (target.Name[start] == L'.') {
        target.Name[start] = L'_'; // a hidden name would never be found again
    }
    if (Properties.GetInt(L"IsAndroid") != 0) {
        target.Folder =
            Root
            + WithoutLeadingDots(target.Folder.substr(std::min(Root.size(), target.Folder.size())));
        target.Name = WithoutLeadingDots(target.Name);
    }
    NumberName(target, [this](const std::wstring& path) { return !IsTaken(path); });
    Take(target.GetPath());
    return target;
}

CTargetPaths::CTarget
CTargetPaths::ChoosePlaylist(std::wstring_view name,
                             const std::function<bool(const std::wstring&)>& mayReplace) {
    CTarget target;
    target.Folder = Properties.GetBasePath(L"PlaylistBasePath");
    target.Extension = GetPlaylistExtension(Properties.GetInt(L"PlaylistFormat"));
    target.Name = CPathCleaner::CleanSegment(name, ByteCount(target.Extension) + 1);
    if (target.Name.empty()) {
        target.Name = L"Playlist";
    } else if (target.Name.front() == L'.') {
        target.Name.front() = L'_';
    }
    NumberName(target, [&](const std::wstring& path) {
        return !Taken.contains(HostFold(path)) && (mayReplace(path) || !Exists(path));
    });
    Take(target.GetPath());
    return target;
}

void CTargetPaths::NumberName(CTarget& target,
                              const std::function<bool(const std::wstring&)>& isFree) {
    const std::wstring folder(HostFolder(target.Name));
    const std::wstring name(HostName(target.Name));
    // A device that answers with nothing but errors has no free name; the upload then says so.
    constexpr int kMostNumbers = 100000;
    for (int number = 1; number <= kMostNumbers && !isFree(target.GetPath()); ++number) {
        const std::wstring suffix = L" (" + std::to_wstring(number) + L")";
        const size_t room =
            CPathCleaner::kLongestName - ByteCount(target.Extension) - 1 - suffix.size();
        target.Name = folder + CPathCleaner::Cut(name, room) + suffix;
    }
}
