#include "core/VnBuffer.h"
#include "core/VnDllString.h"
#include "core/VnPropertyMap.h"
#include "core/VnStringArray.h"
#include "data/CFileLoader.h"
#include "drive/CDatabaseText.h"
#include "drive/CPortableDriveGeneric.h"
#include "drive/CRecordSource.h"
#include "files/VnFileSystem.h"
#include "files/VnFilename.h"
#include "plugin/IVnHandheldFile.h"
#include "runtime/IVnLogManager.h"
#include "runtime/IVnTagReader.h"
#include "runtime/VnLog.h"
#include "runtime/VnSharedText.h"
#include "text/VnXMLDocument.h"

#include <algorithm>
#include <cwchar>
#include <limits>
#include <vector>

namespace {

constexpr const wchar_t* kLogName = L"CPortableDriveGeneric::GetFiles";
constexpr const wchar_t* kHead =
    L"<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\" ?>\r\n<MPL Version=\"2.0\">\r\n";
constexpr const wchar_t* kTail = L"</MPL>";
constexpr const wchar_t* kItemStart = L"<Item>\r\n";
constexpr const wchar_t* kItemEnd = L"</Item>\r\n";
constexpr const wchar_t* kFilenameStart = L"<Field Name=\"Filename\">";
constexpr const wchar_t* kFieldEnd = L"</Field>";
constexpr int32_t kCurrentVersion = 20; // "2.0" without its dot

constexpr uint32_t kAttributeNormal = 0x80;
constexpr uint32_t kAttributeHiddenSystem = 6;

/// The record's key: what stands between the literal marks of its file name field, decoded.
VnString GetRecordKey(const VnString& itemText) {
    const int32_t mark = itemText.Find(kFilenameStart);
    if (mark < 0) {
        return VnString();
    }
    const int32_t start =
        mark + static_cast<int32_t>(std::char_traits<wchar_t>::length(kFilenameStart));
    const int32_t end = itemText.Find(kFieldEnd, start);
    if (end < 0) {
        return VnString();
    }
    VnString key = itemText.Mid(start, end - start);
    key.DecodeEntities();
    return key;
}

} // namespace

VnString CPortableDriveGeneric::GetDatabasePath() {
    return GetDatabaseBasePath() + L".Database.mpl";
}

void CPortableDriveGeneric::LoadDatabase() {
    VnBuffer bytes;
    if (!IsPlainFile(GetDatabasePath())
        || !CFileLoader::LoadFile(bytes, VnFilename(GetDatabasePath()), -1, /*useReader=*/false)) {
        VnLog(kLogHandheld, kLogName, L"Unable load the device database file");
        return;
    }
    if (GetDatabaseMap().GetCount() == 0 && Stored.Open(bytes)) {
        VnLog(kLogHandheld, kLogName, L"Device database file found and loaded");
        VnLog(kLogHandheld, kLogName, L"Device database contains %d entries", Stored.GetCount());
        return;
    }
    CDatabaseText plain;
    if (plain.Open({reinterpret_cast<const char*>(bytes.GetData()),
                    static_cast<size_t>(bytes.GetSize())})) {
        VnLog(kLogHandheld, kLogName, L"Device database file found and loaded");
        DatabaseMap.Reserve(DatabaseMap.GetCount() + plain.GetCount());
        for (int32_t i = 0; i < plain.GetCount(); ++i) {
            const VnString itemText = plain.GetItemText(i);
            DatabaseMap.SetAt(GetRecordKey(itemText), itemText);
        }
    } else if (!LoadDocument(bytes)) {
        return;
    }
    VnLog(kLogHandheld, kLogName, L"Device database contains %d entries", DatabaseMap.GetCount());
}

CPortableDriveGeneric::CDatabaseMap& CPortableDriveGeneric::GetDatabaseMap() {
    if (Stored.GetCount() > 0) {
        DatabaseMap.Reserve(DatabaseMap.GetCount() + Stored.GetCount());
        for (int32_t i = 0; i < Stored.GetCount(); ++i) {
            DatabaseMap.SetAt(Stored.GetKey(i), Stored.GetItemText(i));
        }
        Stored.Close();
    }
    return DatabaseMap;
}

void CPortableDriveGeneric::ForgetRecords() {
    DatabaseMap.RemoveAll();
    Stored.Close();
}

bool CPortableDriveGeneric::LoadDocument(VnBuffer& bytes) {
    VnString text;
    text.SetFileSystemText(reinterpret_cast<const char*>(bytes.GetData()), bytes.GetSize());
    bytes.Empty();
    VnXMLDocument document;
    if (!document.SetDocument(text) || !document.FindElement(L"MPL")) {
        VnLog(kLogHandheld, kLogName, L"Unable load the device database file");
        return false;
    }
    text.Empty();
    VnLog(kLogHandheld, kLogName, L"Device database file found and loaded");
    VnString version = document.GetAttribute(document.GetMainPosition(), L"Version");
    version.Remove(L'.');
    if (version.ToInt() != kCurrentVersion) {
        return false;
    }
    document.IntoElement();
    while (document.FindElement(L"Item")) {
        VnString itemText = document.GetInnerText(document.GetMainPosition());
        itemText.Trim();
        DatabaseMap.SetAt(GetRecordKey(itemText), itemText);
    }
    return true;
}

bool CPortableDriveGeneric::CanBeStored(const VnString& path) {
    const wchar_t* const end = path.GetText() + path.GetLength();
    return std::none_of(path.GetText(), end,
                        [](wchar_t ch) { return ch < L' ' || (ch >= 0xDC80 && ch <= 0xDCFF); });
}

VnString CPortableDriveGeneric::MakeDatabaseText() {
    CDatabaseMap& map = GetDatabaseMap();
    std::vector<const VnString*> records;
    records.reserve(static_cast<size_t>(map.GetCount()));
    int64_t length = std::wcslen(kHead) + std::wcslen(kTail);
    for (auto cursor = map.GetFirst(); cursor.Item != nullptr; map.GetNext(cursor)) {
        if (CanBeStored(cursor.Item->Key)) {
            records.push_back(&cursor.Item->Value);
            length += static_cast<int64_t>(std::wcslen(kItemStart) + std::wcslen(kItemEnd))
                      + cursor.Item->Value.GetLength();
        }
    }
    VnString text;
    if (length > std::numeric_limits<int32_t>::max() / 8) {
        return text; // no text of this size can be held; millions of records
    }
    text.GetBuffer(static_cast<int32_t>(length), /*exact=*/true);
    text.ReleaseBuffer(0);
    text.Append(kHead);
    for (const VnString* record : records) {
        text.Append(kItemStart, -1, record->GetText(), record->GetLength(), kItemEnd, -1);
    }
    text.Append(kTail);
    return text;
}

void CPortableDriveGeneric::SaveDatabase() {
    VnLogScope log(kLogHandheld, "CPortableDriveGeneric::SaveDatabase");
    const VnString path = GetDatabasePath();
    if (!MayWrite(path)) {
        log.Write("Not on the device: %s", path);
        return;
    }
    const VnString text = MakeDatabaseText();
    VnFileSystem::SetFileAttributes(path, kAttributeNormal);
    if (text.IsEmpty() || !text.SaveToFile(path, kEncodingUTF8)) {
        log.Write("Unable to save %s", path);
    }
    VnFileSystem::SetFileAttributes(path, kAttributeHiddenSystem);
}

VnString CPortableDriveGeneric::CRecordSource::GetField(const VnString& name) const {
    if (File != nullptr) {
        return VnTakeSharedText(File->GetField(name, 0).Characters);
    }
    VnString value;
    VnDllString adapter(value);
    if (Item == nullptr || !Item->GetField(name, adapter)) {
        return VnString();
    }
    return value;
}

void CPortableDriveGeneric::AddFieldsToItem(const CRecordSource& source,
                                            VnXMLDocument& document,
                                            const VnStringArray& names) {
    for (const VnString& name : names) {
        AddItemField(source, document, name);
    }
}

void CPortableDriveGeneric::AddItemField(const CRecordSource& source,
                                         VnXMLDocument& document,
                                         const VnString& name) {
    const VnString value = source.GetField(name);
    if (value.IsEmpty()) {
        return;
    }
    document.AddElement(L"Field", value);
    document.SetAttribute(document.GetMainPosition(), L"Name", name);
}

VnString CPortableDriveGeneric::MakeItemText(IVnHandheldFile* file, const VnStringArray& names) {
    VnXMLDocument document;
    AddFieldsToItem(CRecordSource(file), document, names);
    return document.GetText();
}

VnString CPortableDriveGeneric::MakeItemText(IVnTagReaderItem* item, const VnStringArray& names) {
    VnXMLDocument document;
    AddFieldsToItem(CRecordSource(item), document, names);
    return document.GetText();
}
