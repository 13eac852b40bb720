#include "files/VnFilename.h"

#include "core/VnStringDetail.h"
#include "files/VnFilenameDetail.h"
#include "runtime/CProcessInfo.h"

#include <string_view>

namespace {

/// Stands for the drive that the program is installed on, in any letter case.
constexpr std::wstring_view kInstallDrive = L"(Install Drive):";

/// Texts longer than this go into a stored list as their local path.
constexpr int32_t kLongPath = 4096;

/// "&", "<", ">", double quote and control characters.
constexpr int32_t kEscapeFlags = VnString::kEscapeQuote | VnString::kEscapeControl | 2;

bool StartsWithInstallDrive(const VnString& text) {
    // One look at the first character settles nearly every text.
    return text.StartsWith(L'(') && text.StartsWith(kInstallDrive.data(), /*caseFlag=*/false);
}

/// Drive of the install directory, which is empty unless that lies on a drive of its own.
VnString GetInstallDriveText() {
    const CProcessInfo* process = CProcessInfo::GetInstance();
    const VnString directory = process == nullptr ? VnString() : process->GetInstallDirectory();
    // An install directory that is spelled with the token would expand without end.
    return StartsWithInstallDrive(directory) ? VnString() : VnFilename::GetDrive(directory);
}

bool IsPortable() {
    const CProcessInfo* process = CProcessInfo::GetInstance();
    return process != nullptr && process->GetPortableData();
}

/// What CollapseInstallDrive puts in the place of the text of `filename`; empty for no change.
VnString GetCollapsed(const VnFilename& filename, bool onlyWhenPortable) {
    if ((onlyWhenPortable && !IsPortable())
        || !filename.GetDrive().EqualsNoCase(GetInstallDriveText())) {
        return {};
    }
    return kInstallDrive.data() + filename.GetDirectoryNameAndExtension();
}

/// A plain name that is only split, never taken apart.
VnFilename MakePlain(const VnString& text) {
    VnFilename filename;
    filename.Filename = text;
    return filename;
}

void ReplaceLongPath(VnString& text) {
    if (text.GetLength() > kLongPath && !text.StartsWith(L"\\\\?\\")) {
        text = VnFilename::GetLocalPath(text);
    }
}

void AppendItem(VnString& document, const VnString& key, VnString value, bool expandLongPath) {
    value.EscapeXML(kEscapeFlags);
    if (expandLongPath) {
        ReplaceLongPath(value);
    }
    document += L"<Item Name=\"";
    document.Append(key, key.GetLength(), L"\">", 2, value, value.GetLength(), L"</Item>", 7);
}

} // namespace

VnString VnFilename::GetXMLForm(bool expandLongPath) const {
    if (!HasProperties()) {
        VnString text = Filename;
        if (expandLongPath) {
            ReplaceLongPath(text);
        }
        return text;
    }
    VnString document = L"<XMLFN version=\"1.0\">";
    AppendItem(document, L"Filename", Filename, expandLongPath);
    const VnPropertyMap::CEntryMap& entries = *Properties.GetEntries();
    for (auto cursor = entries.GetFirst(); cursor.Item != nullptr; entries.GetNext(cursor)) {
        AppendItem(document, cursor.Item->Key, cursor.Item->Value, /*expandLongPath=*/false);
    }
    document += L"</XMLFN>";
    return document;
}

VnString VnFilename::GetStorageForm() const {
    const VnString collapsed = GetCollapsed(*this, /*onlyWhenPortable=*/true);
    VnString text = collapsed.IsEmpty() ? Filename : collapsed;
    const VnString channel = GetProperty(kTVChannel);
    const VnString agent = GetProperty(kUserAgent);
    if (channel.IsEmpty() && agent.IsEmpty()) {
        AppendPostExtensionData(text);
        return text;
    }
    VnFilename stored(text);
    stored.Properties.SetString(kTVChannel, channel, /*removeIfEmpty=*/true);
    stored.Properties.SetString(kUserAgent, agent, /*removeIfEmpty=*/true);
    return stored.GetXMLForm(/*expandLongPath=*/false);
}

void VnFilenameDetail::ReplaceNoCase(VnString& text,
                                     std::wstring_view token,
                                     const VnString& replacement) {
    const std::wstring_view view(text.GetText(), static_cast<size_t>(text.GetLength()));
    VnString result;
    int32_t start = 0;
    for (;;) {
        const int32_t hit = VnStringDetail::FindIn(view, token, start, /*caseFlag=*/false);
        const int32_t end = hit < 0 ? text.GetLength() : hit;
        result.Append(text.GetText() + start, end - start);
        if (hit < 0) {
            break;
        }
        result += replacement;
        start = hit + static_cast<int32_t>(token.size());
    }
    text = result;
}

bool VnFilename::ExpandInstallDrive() {
    VnString text = Filename;
    if (!ExpandInstallDrive(text)) {
        return false;
    }
    Set(text, /*clearProperties=*/false, /*lowerCaseExtension=*/true);
    return true;
}

bool VnFilename::ExpandInstallDrive(VnString& text) {
    if (!StartsWithInstallDrive(text)) {
        return false;
    }
    VnFilenameDetail::ReplaceNoCase(text, kInstallDrive, GetInstallDriveText());
    return true;
}

bool VnFilename::CollapseInstallDrive(bool onlyWhenPortable) {
    const VnString text = GetCollapsed(*this, onlyWhenPortable);
    if (text.IsEmpty()) {
        return false;
    }
    Filename = text;
    return true;
}

bool VnFilename::CollapseInstallDrive(VnString& text, bool onlyWhenPortable) {
    VnFilename filename = MakePlain(text);
    if (!filename.CollapseInstallDrive(onlyWhenPortable)) {
        return false;
    }
    text = filename.Filename;
    return true;
}

VnString VnFilename::GetSidecarFilename() const {
    const VnString extension = GetExtension(/*useFileType=*/true);
    return GetPathAndName() + L'_' + extension + L"_VnSidecar.xml";
}
