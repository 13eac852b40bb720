#include "core/VnDllString.h"
#include "core/VnPropertyMap.h"
#include "core/VnResult.h"
#include "core/VnStringArray.h"
#include "core/VnUniqueList.h"
#include "drive/CItemText.h"
#include "drive/CPortableDriveGeneric.h"
#include "files/VnFileScanner.h"
#include "files/VnFileSystem.h"
#include "files/VnFilename.h"
#include "files/VnFilenameArray.h"
#include "files/VnURL.h"
#include "plugin/IVnHandheldFile.h"
#include "plugin/IVnHandheldFileList.h"
#include "runtime/IVnLogManager.h"
#include "runtime/IVnTagReader.h"
#include "runtime/IVnToolsRoot.h"
#include "runtime/VnLog.h"
#include "runtime/VnSharedText.h"
#include "runtime/VnSiblingModules.h"
#include "text/VnXMLDocument.h"

#include <memory>

namespace {

/// Path components of a location, as they stand.
int32_t CountComponents(const VnString& location) {
    VnStringArray pieces;
    return pieces.Split(location, L"/", /*trim=*/false, /*skipEmptyText=*/true);
}

std::unique_ptr<IVnTagReader> MakeTagReader(int32_t mode) {
    IVnToolsRoot* root = VnGetToolsRoot();
    std::unique_ptr<IVnTagReader> reader(root == nullptr ? nullptr : root->CreateTagReader());
    if (reader) {
        reader->SetReadMode(mode);
        reader->SetFieldMode(1);
        reader->SetListMode(mode);
    }
    return reader;
}

/// A line of a playlist as the host wrote it: without the root that stands ahead of it, with "/"
/// for each token.
VnString UndoRewrite(VnString line, const VnString& root, const VnString& token) {
    if (!root.IsEmpty()) {
        line.RemovePrefix(root);
    }
    if (!token.IsEmpty()) {
        line.Replace(token, L"/");
    }
    return line;
}

/// Whether the search of an earlier root finds everything below root number `index` anyway.
bool IsCovered(const VnStringArray& roots, int32_t index) {
    const VnString& root = roots[index];
    for (int32_t i = 0; i < index; ++i) {
        if (root.StartsWith(roots[i])) {
            const VnString rest = root.Mid(roots[i].GetLength());
            if (!rest.StartsWith(L'.') && !rest.Contains(L"/.")) {
                return true;
            }
        }
    }
    return false;
}

} // namespace

/// The reporting half of one GetFiles call.
class CPortableDriveGeneric::CScan {
public:
    CScan(CPortableDriveGeneric& drive, VnLogScope& log, IVnHandheldFileList& list)
        : Drive(drive)
        , Log(log)
        , List(list) {
        Fields.Split(VnTakeSharedText(list.GetFieldList(1).Characters), L"|", /*trim=*/false,
                     /*skipEmptyText=*/true);
    }

    void Report(const VnStringArray& files);
    /// A record was added during this call.
    bool IsDatabaseChanged() const { return Changed; }
    /// Files that had a record when their turn came.
    int32_t GetKnownCount() const { return Known; }

private:
    void ReportFile(const VnString& path);
    void ReportStored(int32_t index);
    void SetItemFields(IVnHandheldFile& record) const;
    void ReportFields(const VnString& itemText, IVnHandheldFile& record);
    const VnString* AddRecord(const VnString& path);

    CPortableDriveGeneric& Drive;
    VnLogScope& Log;
    IVnHandheldFileList& List;
    VnStringArray Fields;                    ///< names that the host wants in each record
    std::unique_ptr<IVnTagReader> TagReader; ///< made at the first file without a record
    bool TagReaderMade = false;
    CItemText Item;         ///< of the record at hand
    VnXMLDocument Document; ///< the same, for a record that Item does not read
    bool Changed = false;
    int32_t Known = 0;
};

void CPortableDriveGeneric::CScan::Report(const VnStringArray& files) {
    Log.Write("Creating file list");
    for (const VnString& path : files) {
        if (Drive.IsCancelled()) {
            break;
        }
        ReportFile(path);
    }
}

void CPortableDriveGeneric::CScan::ReportFile(const VnString& path) {
    if (const int32_t stored = Drive.Stored.Find(path); stored >= 0) {
        ++Known;
        ReportStored(stored);
        return;
    }
    const VnString* itemText = Drive.GetDatabaseMap().Lookup(path);
    if (itemText != nullptr) {
        ++Known;
    } else {
        itemText = AddRecord(path);
    }
    IVnHandheldFile* record = itemText == nullptr ? nullptr : List.CreateRecord();
    if (record != nullptr) {
        ReportFields(*itemText, *record);
    }
}

void CPortableDriveGeneric::CScan::ReportStored(int32_t index) {
    IVnHandheldFile* record = List.CreateRecord();
    if (record == nullptr) {
        return;
    }
    if (Item.Read(Drive.Stored.GetBytes(index))) {
        SetItemFields(*record);
    } else {
        ReportFields(Drive.Stored.GetItemText(index), *record);
    }
}

void CPortableDriveGeneric::CScan::SetItemFields(IVnHandheldFile& record) const {
    for (const CItemText::CField& field : Item.GetFields()) {
        record.SetField(field.Name, field.Value);
    }
}

void CPortableDriveGeneric::CScan::ReportFields(const VnString& itemText, IVnHandheldFile& record) {
    if (Item.Read(itemText)) {
        SetItemFields(record);
        return;
    }
    Document.SetDocument(
        itemText); // a text without one root counts as ill-formed, but its elements are there
    while (Document.FindElement(L"Field")) {
        const int32_t element = Document.GetMainPosition();
        record.SetField(Document.GetAttribute(element, L"Name"), Document.GetData(element));
    }
}

const VnString* CPortableDriveGeneric::CScan::AddRecord(const VnString& path) {
    Log.Write("File '%s' not found in the device database", path);
    if (!TagReaderMade) {
        TagReader = MakeTagReader(IVnTagReader::kMediaFile);
        TagReaderMade = true;
    }
    if (!TagReader) {
        return nullptr;
    }
    TagReader->SetFile(path);
    IVnTagReaderItem* item = TagReader->GetItem(0);
    if (item == nullptr) {
        return nullptr;
    }
    Drive.DatabaseMap.SetAt(path, MakeItemText(item, Fields));
    Changed = Changed || CanBeStored(path);
    return Drive.DatabaseMap.Lookup(path);
}

int32_t CPortableDriveGeneric::GetDepth(const wchar_t* location) {
    VnString cleaned(location);
    if (const int32_t mark = cleaned.Find(L"(/media/"); mark > 0) {
        if (const int32_t end = cleaned.Find(L')', mark); end > 0) {
            cleaned.Remove(mark, end + 1 - mark);
        }
        cleaned.Trim();
    }
    return CountComponents(cleaned);
}

int32_t CPortableDriveGeneric::GetFiles(const wchar_t* location, IVnHandheldFileList* list) {
    VnLogScope log(kLogHandheld, "CPortableDriveGeneric::GetFiles");
    log.Result = kResultOk;
    if (list == nullptr) {
        return kResultOk;
    }
    const int32_t depth = GetDepth(location);
    const bool wholeDevice = depth < 2;
    if (wholeDevice) {
        ForgetRecords();
    }
    LoadDatabase();
    VnStringArray files;
    bool distinct = false;
    bool complete = true;
    if (wholeDevice) {
        distinct = FindFiles(files, complete);
    } else if (depth == 2) {
        log.Write("Getting playlist files");
        FindPlaylistFiles(VnString(location), files);
    }
    CScan scan(*this, log, *list);
    scan.Report(files);
    if (wholeDevice && !IsCancelled()) {
        if (scan.IsDatabaseChanged()) {
            log.Write("Device database is out-of-date, saving the new database");
            SaveDatabase();
        } else {
            // With no file listed twice, as many known files as records leave no record without its
            // file.
            const int32_t records = DatabaseMap.GetCount() + Stored.GetCount();
            const bool allPresent = distinct && scan.GetKnownCount() == records;
            RemoveVanishedRecords(allPresent ? nullptr : &files, complete);
        }
    }
    return kResultOk;
}

void CPortableDriveGeneric::RemoveVanishedRecords(const VnStringArray* files, bool complete) {
    constexpr const wchar_t* kName = L"CPortableDriveGeneric::GetFiles";
    VnLog(kLogHandheld, kName,
          L"Looking for files in the database that are no longer on the device");
    if (files == nullptr) {
        return;
    }
    VnStringUniqueList<VnString, false> present;
    present.SetNodeAllocator(true, 0x10000);
    present.Reserve(files->GetCount());
    for (const VnString& path : *files) {
        present.Add(path);
    }
    VnStringArray vanished;
    CDatabaseMap& map = GetDatabaseMap();
    for (auto cursor = map.GetFirst(); cursor.Item != nullptr; map.GetNext(cursor)) {
        const VnString& path = cursor.Item->Key;
        if (!present.Contains(path) && (complete || !VnFileSystem::IsFile(path))) {
            vanished.Add(cursor.Item->Key);
        }
    }
    if (vanished.GetCount() == 0) {
        return;
    }
    for (const VnString& key : vanished) {
        map.RemoveKey(key);
    }
    if (!IsCancelled()) {
        VnLog(kLogHandheld, kName, L"Device database is out-of-date, saving the new database");
        SaveDatabase();
    }
}

bool CPortableDriveGeneric::FindFiles(VnStringArray& files, bool& complete) {
    constexpr const wchar_t* kName = L"CPortableDriveGeneric::GetFiles";
    VnLog(kLogHandheld, kName, L"Searching device for files");
    VnPropertyMap& info = GetDeviceInfo();
    VnString wanted = info.GetString(L"SupportedFileTypes", nullptr);
    wanted.Trim();
    VnStringArray types;
    types.Split(wanted, L";", /*trim=*/true, /*skipEmptyText=*/true);
    if (types.Find(L"*") >= 0) {
        types.Empty();
    }
    const VnString root = GetDriveRootFolder();
    VnStringArray roots;
    if (GetSearchEntireDevice()) {
        roots.Add(root);
    } else {
        for (const wchar_t* key :
             {L"AudioSearchPath", L"ImageSearchPath", L"VideoSearchPath", L"DataBasePath"}) {
            roots.Add(JoinDevicePath(root, info.GetString(key, nullptr), /*prefix=*/true,
                                     /*strip=*/true));
        }
    }
    const bool skipDotFolders =
        info.GetInt(L"IsAndroid", 0) != 0 && info.GetInt(L"ShowHiddenFolders", 0) == 0;
    for (int32_t i = 0; i < roots.GetCount(); ++i) {
        if (IsCovered(roots, i)) {
            continue;
        }
        VnFileScanner scanner(roots[i], types, /*recursive=*/true);
        scanner.SetSkipDotDirectories(skipDotFolders);
        scanner.SetSumSizes(false);
        scanner.SetResults(&files);
        scanner.Scan();
        complete = complete && scanner.IsComplete();
    }
    for (int32_t i = files.GetCount() - 1; i >= 0; --i) {
        if (files[i].StartsWith(L'.')) {
            files.RemoveAt(i);
        }
    }
    const bool distinct = roots.GetCount() > 1;
    if (distinct) {
        files.RemoveDuplicates();
    }
    VnLog(kLogHandheld, kName, L"%d files found", files.GetCount());
    return distinct;
}

void CPortableDriveGeneric::FindPlaylistFiles(const VnString& location, VnStringArray& files) {
    VnString name(location);
    name.TrimRight(L'/');
    name = name.Mid(name.ReverseFind(L'/') + 1);
    const VnString base = GetPlaylistBasePath() + name;
    if (VnFilename(base + L".m3u").Exists()) {
        ReadPlaylistLines(base + L".m3u", files);
    } else if (VnFilename(base + L".asx").Exists()) {
        ReadASXPlaylist(base + L".asx", files);
    }
}

void CPortableDriveGeneric::ReadPlaylistLines(const VnString& path, VnStringArray& files) {
    VnPropertyMap& info = GetDeviceInfo();
    const VnString root = info.GetString(L"PlaylistPathRoot", nullptr);
    const VnString token = info.GetString(L"PlaylistPathToken", nullptr);
    VnString text;
    text.LoadFromFile(path, kEncodingBytes, /*dropZeros=*/true);
    VnStringArray lines;
    lines.Split(text, L"\n");
    for (const VnString& line : lines) {
        if (line.StartsWith(L'#') && (!root.IsEmpty() || !token.IsEmpty())) {
            continue;
        }
        VnString file;
        if (ResolvePlaylistLine(UndoRewrite(line, root, token), file)) {
            files.Add(file);
            continue;
        }
        // Many players write UTF-8 without saying so, some with a mark.
        VnString decoded = VnString::FromFileSystemText(VnStringBytes(line));
        decoded.TrimLeft(L'\xFEFF');
        if (ResolvePlaylistLine(UndoRewrite(decoded, root, token), file)) {
            files.Add(file);
        }
    }
}

void CPortableDriveGeneric::ReadASXPlaylist(const VnString& path, VnStringArray& files) {
    const std::unique_ptr<IVnTagReader> reader = MakeTagReader(IVnTagReader::kASXPlaylist);
    if (!reader) {
        return;
    }
    reader->SetFile(path);
    const int32_t count = reader->GetCount();
    for (int32_t i = 0; i < count; ++i) {
        IVnTagReaderItem* item = reader->GetItem(i);
        VnString line;
        VnDllString adapter(line);
        if (item != nullptr) {
            item->GetFilename(adapter);
        }
        if (VnString file; ResolvePlaylistLine(line, file)) {
            files.Add(file);
        }
    }
}

bool CPortableDriveGeneric::ResolvePlaylistLine(VnString line, VnString& path) {
    line.Trim();
    if (line.StartsWith(L'/') && !line.StartsWith(L"//")) {
        line.Prepend(VnFilename::GetDrive(GetDriveRoot()));
    }
    MakeAbsolute(line, GetPlaylistBasePath());
    const VnFilename name(line);
    if (line.IsEmpty() || !name.Exists()) {
        return false;
    }
    path = name.Filename;
    return true;
}

int32_t CPortableDriveGeneric::GetFolders(const wchar_t* location,
                                          wchar_t** names,
                                          int32_t* first,
                                          int32_t* second) {
    VnStringArray found;
    if (GetDepth(location) <= 1) {
        VnFilenameArray playlists;
        ListPlaylists(playlists);
        for (const VnString& path : playlists) {
            found.Add(VnFilename(path).GetName());
        }
    }
    if (names != nullptr) {
        *names = VnCreateSharedText(found.Join(L"\x01"));
    }
    if (first != nullptr) {
        *first = 0;
    }
    if (second != nullptr) {
        *second = 1;
    }
    return kResultOk;
}

void CPortableDriveGeneric::ListPlaylists(VnFilenameArray& playlists) {
    playlists.Clear();
    const VnString folder = GetPlaylistBasePath();
    if (folder.IsEmpty()) {
        return;
    }
    VnStringArray extensions;
    extensions.Add(L"m3u");
    extensions.Add(L"asx");
    VnFileScanner scanner(folder, extensions, /*recursive=*/false);
    scanner.SetResults(&playlists);
    scanner.Scan();
}
