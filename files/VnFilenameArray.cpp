#include "files/VnFilenameArray.h"

#include "files/VnFileFinder.h"
#include "files/VnFileInfo.h"
#include "files/VnFilename.h"
#include "runtime/VnTranslation.h"

#include <sys/stat.h>

#include <algorithm>
#include <string_view>
#include <utility>
#include <vector>

namespace {

constexpr std::wstring_view kFormStart = L"<XMLFN version=";
constexpr std::wstring_view kFormEnd = L"</XMLFN>";
constexpr std::wstring_view kQuotedSeparator = L"\" \"";

bool StartsWithNoCase(std::wstring_view text, std::wstring_view start) {
    return text.size() >= start.size()
           && std::equal(start.begin(), start.end(), text.begin(), [](wchar_t a, wchar_t b) {
                  return VnStringGlobals::ToLower(a) == VnStringGlobals::ToLower(b);
              });
}

/// Length of the separator at the start of `text`; 0 when there is none.
size_t GetSeparatorLength(std::wstring_view text) {
    if (text.starts_with(L'|')) {
        return 1;
    }
    return text.starts_with(kQuotedSeparator) ? kQuotedSeparator.size() : 0;
}

void AddName(VnFilenameArray& names, std::wstring_view text) {
    VnString name(text.data(), static_cast<int32_t>(text.size()));
    name.Trim(L'"');
    name.Trim(L' ');
    if (!name.IsEmpty()) {
        names.Add(name);
    }
}

/// Appends the files of whole trees, for AddWithDirectories.
class CTreeGatherer {
public:
    CTreeGatherer(VnFilenameArray& files,
                  IVnProgressText* progress,
                  VnStringArray* directories,
                  VnStringArray* relativeDirectories)
        : Files(files)
        , Progress(progress)
        , Directories(directories)
        , RelativeDirectories(relativeDirectories) {}

    void AddFile(const VnString& path, const VnString& relative) {
        Files.Add(path);
        if (RelativeDirectories != nullptr) {
            RelativeDirectories->Add(relative);
        }
    }

    void AddTree(const VnFileInfo& directory, const VnString& relative) {
        const std::pair<dev_t, ino_t> identity(directory.Stat.st_dev, directory.Stat.st_ino);
        if (std::find(Ancestors.begin(), Ancestors.end(), identity) != Ancestors.end()) {
            return;
        }
        Ancestors.push_back(identity);
        VnString path = directory.Filename.Filename;
        path.EnsureTrailing(L'/');
        VnFileFinder finder(path);
        VnFileInfo info;
        while (finder.Next(info)) {
            if (!info.IsDirectory()) {
                AddFile(info.Filename.Filename, relative);
                ReportCount();
                continue;
            }
            const VnString name = info.GetLastSegment();
            if (!name.IsEmpty()) {
                const VnString below = relative + name + L"/";
                if (Directories != nullptr) {
                    Directories->Add(below);
                }
                AddTree(info, below);
            }
        }
        Ancestors.pop_back();
    }

    void ReportCount() {
        if (Progress == nullptr) {
            return;
        }
        if (Format.IsEmpty()) {
            Format = VnTranslated(L"Gathering files (%d found)");
        }
        Progress->ShowProgress(VnString::Formatted(Format, Files.GetCount()));
    }

private:
    VnFilenameArray& Files;
    IVnProgressText* Progress;
    VnStringArray* Directories;
    VnStringArray* RelativeDirectories;
    VnString Format;                                ///< translated once
    std::vector<std::pair<dev_t, ino_t>> Ancestors; ///< of the current directory, and itself
};

/// The last segment of a path with a "/" behind it; empty for a path of one segment.
VnString GetRelativeRoot(VnString path) {
    path.TrimRight(L'/');
    const int32_t separator = path.ReverseFind(L'/');
    return separator > 1 ? path.Mid(separator + 1) + L"/" : VnString();
}

} // namespace

int32_t VnFilenameArray::SetFromText(const wchar_t* text) {
    const VnString kept(text); // the text may be one of the names that are dropped here
    Empty();
    if (text == nullptr) {
        return 0;
    }
    const std::wstring_view all(kept.GetText(), static_cast<size_t>(kept.GetLength()));
    size_t start = 0;
    bool inForm = false;
    for (size_t i = 0; i < all.size();) {
        const std::wstring_view rest = all.substr(i);
        const size_t separator = inForm ? 0 : GetSeparatorLength(rest);
        if (separator > 0) {
            AddName(*this, all.substr(start, i - start));
            i += separator;
            start = i;
            continue;
        }
        if (rest[0] == L'<' && StartsWithNoCase(rest, inForm ? kFormEnd : kFormStart)) {
            inForm = !inForm;
        }
        ++i;
    }
    AddName(*this, all.substr(start));
    return GetCount();
}

VnString VnFilenameArray::GetAsText() const {
    return Join(L"|");
}

void VnFilenameArray::Clear() {
    Empty();
}

bool VnFilenameArray::AddWithDirectories(const VnStringArray& files,
                                         IVnProgressText* progress,
                                         VnStringArray* directories,
                                         VnStringArray* relativeDirectories) {
    // The lists may be one and the same.
    const VnStringArray entries(files); // NOLINT(performance-unnecessary-copy-initialization)
    CTreeGatherer gatherer(*this, progress, directories, relativeDirectories);
    for (const VnString& entry : entries) {
        const VnFileInfo info(entry);
        if (info.IsDirectory()) {
            gatherer.AddTree(info, GetRelativeRoot(info.Filename.Filename));
        } else {
            gatherer.AddFile(entry, VnString());
        }
        gatherer.ReportCount();
    }
    return true;
}

void VnFilenameArray::RemoveMissing() {
    // What is there is gathered at the end, so that a long list is moved together only once.
    int32_t first = GetCount();
    for (int32_t i = GetCount() - 1; i >= 0; --i) {
        if (VnFilename((*this)[i]).Exists(true, 0)) {
            (*this)[--first].Swap((*this)[i]);
        }
    }
    RemoveAt(0, first);
}
