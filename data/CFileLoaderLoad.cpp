#include "data/CFileLoaderTransfer.h"
#include "data/VnDate.h"
#include "files/VnFile.h"
#include "files/VnFileSystem.h"
#include "runtime/IVnDialogService.h"
#include "runtime/IVnReader.h"
#include "runtime/IVnToolsRoot.h"
#include "runtime/VnSiblingModules.h"
#include "runtime/VnTranslation.h"
#include "text/VnXMLDocument.h"

#include <algorithm>
#include <new>

namespace {

constexpr int32_t kNetworkBlock = 65536;
constexpr int32_t kLocalBlock = 1048576;
constexpr wchar_t kRangeStart[] = L"RANGE_START";

/// A server may claim any length: beyond this the buffer grows with what arrives. What is set aside
/// takes no memory before it is filled.
constexpr int64_t kLargestClaim = int64_t{1} << 30;

/// Two dates come to their serials in different ways: less than half a second apart, they are the
/// same.
bool IsNoLater(double serial, double other) {
    constexpr double kSecondsPerDay = 86400.0;
    return (serial - other) * kSecondsPerDay < 0.5;
}

} // namespace

/// The end of a load, also of one that somebody's callback breaks off with an exception.
class CFileLoader::CTurn {
public:
    explicit CTurn(CFileLoader& loader) : Loader(loader) {}
    ~CTurn() {
        Loader.CloseDialog();
        Loader.EndLoad();
    }
    CTurn(const CTurn&) = delete;
    CTurn& operator=(const CTurn&) = delete;
    CTurn(CTurn&&) = delete;
    CTurn& operator=(CTurn&&) = delete;

private:
    CFileLoader& Loader;
};

bool CFileLoader::Load(const VnFilename& source,
                       VnBuffer* buffer,
                       IVnReader* writer,
                       const VnFilename* destination,
                       bool& created,
                       double date) {
    const bool create = created;
    created = false;
    CTransfer transfer(source, buffer, writer, destination, created, date);
    transfer.Create = create;
    if (!TakeTurn(transfer)) {
        if (buffer != nullptr && !IsTarget(buffer)) {
            buffer->Empty();
        }
        return false;
    }
    const CTurn turn(*this);
    if (buffer != nullptr) {
        buffer->Empty();
    }
    bool loaded = false;
    if (CancelSource == &OwnCancel || !CancelSource->IsCancelled()) {
        BeginLoad();
        OpenDialog(source);
        loaded = RunLoad(transfer);
        CloseDialog();
    }
    if (!loaded && buffer != nullptr) {
        buffer->Empty();
    }
    SetRequest(nullptr, nullptr, 0, false); // a request lasts for one load
    return loaded;
}

bool CFileLoader::RunLoad(CTransfer& transfer) {
    try {
        return transfer.IsRemote || UseReaderForLocal || transfer.Writer != nullptr
                   ? LoadThroughReader(transfer)
                   : LoadDirectly(transfer);
    } catch (const std::bad_alloc&) {
        transfer.CloseWriter(); // the resource is larger than the memory
        return false;
    }
}

/// Makes this the running load; false while there is another one.
bool CFileLoader::TakeTurn(const CTransfer& transfer) {
    const VnCriticalSectionLock guard(Lock);
    if (Running.exchange(true)) {
        return false;
    }
    Current = &transfer;
    return true;
}

/// Whether the running load fills this buffer or file, which then is not for others to empty.
bool CFileLoader::IsTarget(const void* target) const {
    const VnCriticalSectionLock guard(Lock);
    return Current != nullptr && (target == Current->Buffer || target == Current->Destination);
}

void CFileLoader::BeginLoad() {
    {
        const VnCriticalSectionLock guard(Lock);
        Reader.reset();
        OwnCancel.Cancelled.store(false);
    }
    // Not under the lock: the source calls back while it holds its own.
    CancelSource->Link(this);
    Location.Empty();
    AllHeaders.Empty();
    StatusCode.Empty();
}

void CFileLoader::EndLoad() {
    {
        const VnCriticalSectionLock guard(Lock);
        Current = nullptr;
        Reader.reset();
    }
    CancelSource->Unlink(this);
    Running.store(false);
}

void CFileLoader::OpenDialog(const VnFilename& source) {
    IVnToolsRoot* const tools = ShowWaitDialog ? VnGetToolsRoot() : nullptr;
    IVnDialogService* const dialogs = tools == nullptr ? nullptr : tools->GetDialogService(1);
    if (dialogs == nullptr) {
        return;
    }
    ShownTitle = Title;
    if (ShownTitle.IsEmpty()) {
        ShownTitle =
            VnTranslated(source.GetIsFileRemote() ? L"Internet resource" : L"Local resource");
    }
    Dialog = dialogs->OpenWaitDialog(ShownTitle, DialogText, WaitDelay, DialogCancellable,
                                     &CancelSource->Cancelled, this);
}

void CFileLoader::CloseDialog() {
    if (Dialog != nullptr) {
        Dialog->Close();
        Dialog = nullptr;
    }
}

bool CFileLoader::LoadDirectly(CTransfer& transfer) {
    VnFile file(transfer.Source, VnFile::kAccessRead, VnFile::kShareRead | VnFile::kShareWrite,
                VnFile::OpenExisting);
    if (transfer.Buffer == nullptr || !file.Open()) {
        return false;
    }
    transfer.Total = file.GetLength();
    if (!LimitAmount(transfer) || transfer.Amount < 0) {
        return false;
    }
    ReserveOnce(transfer);
    transfer.Buffer->SetSize(transfer.Amount);
    int64_t count = 0;
    if (transfer.Amount > 0
        && (!file.Read(transfer.Buffer->GetData(), transfer.Amount, count)
            || count != transfer.Amount)) {
        return false;
    }
    transfer.Done = transfer.Amount;
    return PassesContentCheck(transfer, /*ended=*/true);
}

bool CFileLoader::LoadThroughReader(CTransfer& transfer) {
    if (transfer.IsRemote && !AllowInternet) {
        return false;
    }
    const bool read = MakeReader(transfer) && OpenReader(transfer) && PrepareTarget(transfer)
                      && TransferBlocks(transfer);
    transfer.CloseWriter();
    if (!read) {
        return false;
    }
    // The body is complete: a cancel that comes now only leaves it as it arrived.
    return CancelSource->IsCancelled() || Decode(transfer);
}

bool CFileLoader::MakeReader(const CTransfer& transfer) {
    const VnCriticalSectionLock guard(Lock);
    Reader.reset(CreateGenericReaderDLL(transfer.Source.GetXMLForm(false)));
    if (Reader != nullptr && transfer.IsRemote) {
        Reader->SetTimeout(Timeout);
        Reader->SetPostData(PostData, PostSize);
        Reader->SetProperties(RequestProperties.Join(L"|"));
    }
    return Reader != nullptr;
}

VnString CFileLoader::ReaderProperty(const wchar_t* name) const {
    VnString value;
    VnDllString adapter(value);
    Reader->GetProperty(name, adapter);
    return value;
}

bool CFileLoader::OpenReader(CTransfer& transfer) {
    if (CancelSource->IsCancelled()) {
        return false;
    }
    const bool opened = Reader->Open();
    Location = ReaderProperty(L"Location");
    AllHeaders = ReaderProperty(L"AllHeaders");
    StatusCode = ReaderProperty(L"StatusCode");
    // A cancel that came ahead of the open has closed nothing.
    if (!opened || CancelSource->IsCancelled()) {
        return false;
    }
    if (IsUnmodified(transfer)) {
        StatusCode = L"304";
        return false;
    }
    return true;
}

/// Whether a dated load finds the same file at the other end: no newer and of the same size.
bool CFileLoader::IsUnmodified(const CTransfer& transfer) {
    VnDate modified;
    return transfer.Date != 0.0 && transfer.Destination != nullptr
           && modified.ParseText(GetResponseHeader(L"Last-Modified"))
           && IsNoLater(modified.GetSerial(), transfer.Date)
           && Reader->GetLength() == transfer.Destination->GetFileSize(false);
}

bool CFileLoader::PrepareTarget(CTransfer& transfer) {
    if (transfer.Writer != nullptr && transfer.Create) {
        if (!transfer.Writer->Create()) {
            return false;
        }
        transfer.Created = true;
    }
    transfer.Total = Reader->GetLength();
    // A server skips what is there already by itself; in a local file it is skipped here.
    const int64_t start = transfer.IsRemote ? 0 : GetProperty(kRangeStart).ToInt64();
    if (start > 0) {
        if (start > transfer.Total || Reader->Seek(start, IVnReader::kFromStart) != start) {
            return false;
        }
        transfer.Total -= start;
    }
    transfer.Block = transfer.IsRemote || transfer.Total < 0 ? kNetworkBlock : kLocalBlock;
    if (!LimitAmount(transfer)) {
        return false;
    }
    ReserveOnce(transfer);
    return true;
}

/// Sets all of the memory aside that a load of known size needs.
void CFileLoader::ReserveOnce(const CTransfer& transfer) {
    if (transfer.Buffer != nullptr && transfer.Amount > 0 && transfer.Total > 0) {
        transfer.Buffer->Reserve(transfer.IsRemote ? std::min(transfer.Amount, kLargestClaim)
                                                   : transfer.Amount);
    }
}

/// What is to be read of the resource; false when it is larger than it may be.
bool CFileLoader::LimitAmount(CTransfer& transfer) const {
    transfer.Amount = transfer.Total;
    if (MaximumSize >= 1 && (transfer.Total < 0 || transfer.Total > MaximumSize)) {
        transfer.Amount = MaximumSize;
        return transfer.Total < 0 || !FailWhenLarger;
    }
    return true;
}

bool CFileLoader::TransferBlocks(CTransfer& transfer) {
    for (;;) {
        int64_t wanted = transfer.Block;
        if (transfer.Amount >= 0) {
            wanted = std::min(wanted, transfer.Amount - transfer.Done);
        }
        if (HasContentCheck(transfer) && !transfer.Checked && CheckAfterBytes > transfer.Done) {
            wanted = std::min(wanted,
                              CheckAfterBytes - transfer.Done); // the check sees no more than that
        }
        int32_t count = 0;
        if (!ReadBlock(transfer, static_cast<int32_t>(wanted), count)) {
            return false;
        }
        transfer.Done += count;
        const bool complete = transfer.Amount >= 0 && transfer.Done >= transfer.Amount;
        const bool isShort = count < wanted;
        if (!AfterBlock(transfer, complete || isShort)) {
            return false;
        }
        if (complete) {
            return true;
        }
        if (isShort) {
            return transfer.Total < 0 && transfer.Done > 0;
        }
    }
}

bool CFileLoader::ReadBlock(CTransfer& transfer, int32_t wanted, int32_t& count) {
    if (transfer.Buffer != nullptr) {
        uint8_t* const tail = transfer.Buffer->Reserve(wanted);
        count = std::max(Reader->Read(tail, wanted), 0);
        transfer.Buffer->SetSize(transfer.Done + count);
        return true;
    }
    if (transfer.Writer == nullptr) {
        return false;
    }
    if (transfer.Scratch.GetSize() < wanted) {
        transfer.Scratch.SetSize(wanted);
    }
    count = std::max(Reader->Read(transfer.Scratch.GetData(), wanted), 0);
    return transfer.Writer->Write(transfer.Scratch.GetData(), count) == count;
}

bool CFileLoader::AfterBlock(CTransfer& transfer, bool ended) {
    ShowStatus(transfer);
    FeedProgress(transfer);
    return PassesContentCheck(transfer, ended) && !CancelSource->IsCancelled();
}

/// Runs the content check when it is due; false when it has failed.
bool CFileLoader::PassesContentCheck(CTransfer& transfer, bool ended) const {
    if (!HasContentCheck(transfer) || transfer.Checked
        || (transfer.Done < CheckAfterBytes && !(ended && CheckAtEnd))) {
        return true;
    }
    transfer.Checked = true;
    return CheckContent(transfer);
}

bool CFileLoader::HasContentCheck(const CTransfer& transfer) const {
    return transfer.Buffer != nullptr && (Check != nullptr || !RequiredText.IsEmpty());
}

bool CFileLoader::CheckContent(const CTransfer& transfer) const {
    if (Check != nullptr && !Check->CheckContent(*transfer.Buffer, CheckParameter)) {
        return false;
    }
    if (RequiredText.IsEmpty()) {
        return true;
    }
    const VnStringBytes narrow(RequiredText);
    const int64_t length = RequiredText.GetLength();
    return transfer.Buffer->Find(narrow.operator const char*(), length) >= 0
           || transfer.Buffer->Find(RequiredText.GetText(),
                                    length * static_cast<int64_t>(sizeof(wchar_t)))
                  >= 0;
}

void CFileLoader::ShowStatus(const CTransfer& transfer) {
    if (Dialog == nullptr) {
        return;
    }
    const VnString done = VnFileSystem::FormatSize(transfer.Done);
    VnString status;
    if (TitleOnly && !Title.IsEmpty()) {
        status.Format(L"%s  (%s", Title, done);
    } else {
        const VnString word = VnTranslated(transfer.IsRemote ? L"Downloading" : L"Reading");
        status.Format(L"%s '%s'  (%s", word, ShownTitle, done);
    }
    if (transfer.Total >= 0) {
        status += VnTranslated(L" of ") + VnFileSystem::FormatSize(transfer.Total);
    }
    status += L")";
    Dialog->SetStatus(status);
}

void CFileLoader::FeedProgress(CTransfer& transfer) {
    constexpr float kSmallestStep = 0.005F;
    constexpr double kShortestWaitMS = 500.0;
    if (Progress == nullptr) {
        return;
    }
    const float fraction = transfer.Amount > 0 ? static_cast<float>(transfer.Done)
                                                     / static_cast<float>(transfer.Amount)
                                               : 0.0F;
    const float change = fraction > transfer.LastFraction ? fraction - transfer.LastFraction
                                                          : transfer.LastFraction - fraction;
    const bool atEnd = (fraction == 0.0F || fraction == 1.0F) && change != 0.0F;
    if (!transfer.ProgressSent || atEnd
        || (change >= kSmallestStep && transfer.SinceProgress.GetElapsedMS() >= kShortestWaitMS)) {
        transfer.ProgressSent = true;
        transfer.LastFraction = fraction;
        transfer.SinceProgress.Reset();
        Progress->SetProgress(fraction);
    }
    if (Progress->IsCancelled()) {
        CancelSource->SetCancelled(true);
    }
}

bool CFileLoader::LoadToBuffer(const VnFilename& source, VnBuffer& buffer) {
    bool created = false;
    return Load(source, &buffer, nullptr, nullptr, created, 0.0);
}

bool CFileLoader::LoadToString(const VnFilename& source,
                               VnString& text,
                               int32_t encoding,
                               bool dropZeros) {
    VnBuffer buffer;
    text.Empty();
    return LoadToBuffer(source, buffer) && text.SetFromBuffer(buffer, encoding, dropZeros);
}

bool CFileLoader::LoadToXML(const VnFilename& source, VnXMLDocument& document, int32_t encoding) {
    VnString text;
    if (LoadToString(source, text, encoding)) {
        text.Replace(L"<br>", L" ");
        if (document.SetDocument(text)) {
            return true;
        }
    }
    document = VnXMLDocument();
    return false;
}

bool CFileLoader::LoadFile(VnBuffer& buffer,
                           const VnFilename& path,
                           int64_t maximumSize,
                           bool useReader) {
    CFileLoader loader;
    loader.SetMaximumSize(maximumSize);
    loader.SetUseReaderForLocal(useReader);
    return loader.LoadToBuffer(path, buffer);
}
