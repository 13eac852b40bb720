#include "host/CHostObjects.h"

#include "core/VnString.h"
#include "host/CCoverArt.h"
#include "host/CLibraryItem.h"
#include "host/CTagSource.h"
#include "host/CTargetPaths.h"
#include "host/HostText.h"
#include "runtime/VnSharedText.h"

namespace {

VnHandheldText MakeText(std::wstring_view text) {
    return {VnCreateSharedText(VnString(text.data(), static_cast<int32_t>(text.size())))};
}

std::wstring_view ViewOf(const wchar_t* text) {
    return text == nullptr ? std::wstring_view() : std::wstring_view(text);
}

std::wstring EscapeXML(std::wstring_view text) {
    VnString escaped(text.data(), static_cast<int32_t>(text.size()));
    escaped.EscapeXML(VnString::kEscapeQuote);
    return HostText(escaped);
}

} // namespace

void CHandheldHost::OnProgress(int64_t bytesDone, int64_t bytesInAll, bool* cancel) {
    if (Progress && Progress(bytesDone, bytesInAll) && cancel != nullptr) {
        *cancel = true;
    }
}

VnHandheldText CHandheldRecord::GetField(const wchar_t* name, int32_t) {
    return MakeText(Fields.Get(ViewOf(name)));
}

VnHandheldText CHandheldRecord::GetLibraryPath() {
    return MakeText(Fields.Get(L"Filename"));
}

VnHandheldText CHandheldRecord::Evaluate(const wchar_t*, int32_t) {
    return {};
}

VnHandheldText CHandheldRecord::GetSourcePath() {
    return MakeText(Fields.Get(L"Filename"));
}

VnHandheldText CHandheldRecord::GetCoverArtPath(int32_t) {
    return {};
}

void CHandheldRecord::SetField(const wchar_t* name, const wchar_t* value) {
    Fields.Set(ViewOf(name), ViewOf(value));
}

VnHandheldText CHandheldRecord::GetFieldList(int32_t) {
    return MakeText(CTagSource::GetFieldList());
}

CHandheldUpload::CHandheldUpload(const CLibraryItem& item,
                                 CTargetPaths& paths,
                                 CCoverArt* covers,
                                 std::wstring name,
                                 std::function<bool()> mayHavePicture)
    : Item(item)
    , Paths(paths)
    , Covers(covers)
    , Name(std::move(name))
    , MayHavePicture(std::move(mayHavePicture)) {
}

VnHandheldText CHandheldUpload::GetField(const wchar_t* name, int32_t) {
    const std::wstring& changed = Changed.Get(ViewOf(name));
    return MakeText(changed.empty() ? Item.Fields.Get(ViewOf(name)) : changed);
}

VnHandheldText CHandheldUpload::GetLibraryPath() {
    return MakeText(HostWiden(Item.Path));
}

VnHandheldText CHandheldUpload::Evaluate(const wchar_t* expression, int32_t flag) {
    const std::wstring_view text = ViewOf(expression);
    if (!Name.empty() && text == Paths.GetNameExpression()) {
        return MakeText(Name);
    }
    return MakeText(flag == 0 ? CExpression(text).Evaluate(Item) : Paths.Evaluate(text, Item));
}

VnHandheldText CHandheldUpload::GetSourcePath() {
    const std::wstring path = HostWiden(Item.Path);
    const std::wstring extension = CTargetPaths::GetTargetExtension(Item);
    if (extension == HostExtension(path)) {
        return MakeText(path);
    }
    // The file keeps its name here and gets an extension there that every file system can hold.
    return MakeText(L"<XMLFN version=\"1.0\"><Item Name=\"Filename\">" + EscapeXML(path)
                    + L"</Item><Item Name=\"FileType\">" + EscapeXML(extension)
                    + L"</Item></XMLFN>");
}

VnHandheldText CHandheldUpload::GetCoverArtPath(int32_t) {
    if (Covers == nullptr || (MayHavePicture && !MayHavePicture())) {
        return {};
    }
    return MakeText(HostWiden(Covers->Find(Item)));
}

void CHandheldUpload::SetField(const wchar_t* name, const wchar_t* value) {
    Changed.Set(ViewOf(name), ViewOf(value));
    if (HostEqualsNoCase(ViewOf(name), L"Filename")) {
        DevicePath = ViewOf(value);
    }
}

VnHandheldText CHandheldUpload::GetFieldList(int32_t) {
    return MakeText(CTagSource::GetFieldList());
}

IVnHandheldFile* CHandheldList::GetItem(int32_t index) {
    return index >= 0 && index < GetCount() ? Items[static_cast<size_t>(index)] : nullptr;
}

VnHandheldText CHandheldList::GetFieldList(int32_t) {
    return MakeText(CTagSource::GetFieldList());
}

int32_t CHandheldList::WritePlaylist(const wchar_t* path, const wchar_t*) {
    return Writer && path != nullptr && Writer(path) ? 1 : 0;
}

CHandheldScanList::CHandheldScanList(std::function<void(const CMediaFields&)> sink,
                                     std::function<void()> beforeRecord)
    : Sink(std::move(sink))
    , BeforeRecord(std::move(beforeRecord)) {
}

IVnHandheldFile* CHandheldScanList::CreateRecord() {
    Finish();
    if (BeforeRecord) {
        BeforeRecord();
    }
    Record.Fields.Clear();
    IsOpen = true;
    ++Count;
    return &Record;
}

void CHandheldScanList::Finish() {
    if (IsOpen) {
        IsOpen = false;
        Sink(Record.Fields);
    }
}

VnHandheldText CHandheldScanList::GetFieldList(int32_t) {
    return MakeText(CTagSource::GetFieldList());
}

void CHandheldMenu::AddEntry(int32_t commandId, const wchar_t* text, int32_t, int32_t, int32_t) {
    Entries.push_back({commandId, std::wstring(ViewOf(text))});
}
