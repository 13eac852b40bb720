#include "core/VnStringArray.h"
#include "data/CFileLoaderTransfer.h"
#include "data/VnDate.h"
#include "files/VnFile.h"
#include "files/VnFileInfo.h"
#include "files/VnFileSystem.h"
#include "runtime/IVnDecompressor.h"
#include "runtime/IVnReader.h"
#include "runtime/IVnToolsRoot.h"
#include "runtime/VnSiblingModules.h"

#include <algorithm>
#include <limits>

namespace {

constexpr int32_t kDecodeBlock = 16384;
constexpr int32_t kOutputFactor = 3;
constexpr int64_t kLargestOutputBlock = 64 << 20;
constexpr wchar_t kHeaders[] = L"INFO_HEADERS";

std::unique_ptr<IVnDecompressor> MakeDecompressor(const VnBuffer& packed) {
    IVnToolsRoot* const tools = VnGetToolsRoot();
    return std::unique_ptr<IVnDecompressor>(
        tools == nullptr ? nullptr : tools->CreateDecompressor(packed.GetData(), packed.GetSize()));
}

/// Decodes a whole stream into an open file; false when it is damaged, larger than `limit` bytes,
/// or the file takes less.
bool DecodeInto(VnFile& file, IVnDecompressor& stream, int64_t limit) {
    VnBuffer block(kDecodeBlock);
    for (;;) {
        const int32_t count = stream.Read(block.GetData(), kDecodeBlock);
        if (count <= 0) {
            return count == 0;
        }
        limit -= count;
        if (limit < 0 || !file.Write(block.GetData(), count)) {
            return false;
        }
    }
}

/// A device or a pipe was there before the load, which only opened it.
bool IsPlainFile(const VnString& path) {
    const VnFileInfo info(path);
    return info.Valid && S_ISREG(info.Stat.st_mode);
}

} // namespace

bool CFileLoader::Decode(CTransfer& transfer) {
    if (!ReaderProperty(L"ContentEncoding").Contains(L"gzip", /*caseFlag=*/false)) {
        return true;
    }
    if (transfer.Buffer != nullptr) {
        return DecodeBuffer(*transfer.Buffer);
    }
    return transfer.Destination != nullptr && DecodeFile(*transfer.Destination);
}

bool CFileLoader::DecodeBuffer(VnBuffer& buffer) {
    const std::unique_ptr<IVnDecompressor> stream = MakeDecompressor(buffer);
    if (stream == nullptr) {
        return false;
    }
    const int64_t block =
        std::clamp<int64_t>(buffer.GetSize() * kOutputFactor, kDecodeBlock, kLargestOutputBlock);
    const int64_t limit = GetDecodedLimit();
    VnBuffer decoded;
    while (decoded.GetSize() <= limit) {
        // One byte beyond the limit tells that there is more.
        const int64_t room = decoded.GetAllocatedSize() - decoded.GetSize();
        const auto wanted = static_cast<int32_t>(std::min(
            {room > 0 ? room : block, limit - decoded.GetSize() + 1, kLargestOutputBlock}));
        const int32_t count = stream->Read(decoded.Reserve(wanted), wanted);
        if (count <= 0) {
            break;
        }
        decoded.SetSize(decoded.GetSize() + count);
    }
    if (decoded.GetSize() > limit) {
        if (FailWhenLarger) {
            return false;
        }
        decoded.SetSize(limit);
    }
    buffer.Swap(decoded);
    return buffer.GetSize() > 0;
}

/// Bytes that a packed body may become: a few can stand for any number.
int64_t CFileLoader::GetDecodedLimit() const {
    return MaximumSize >= 1 ? MaximumSize : std::numeric_limits<int64_t>::max() - 1;
}

bool CFileLoader::DecodeFile(const VnFilename& file) {
    const VnString path = file.GetLocalPath();
    const VnString temp = path + L".tmp";
    VnBuffer packed;
    if (!LoadFile(packed, file, -1, /*useReader=*/true)) {
        return false;
    }
    const std::unique_ptr<IVnDecompressor> stream = MakeDecompressor(packed);
    if (stream == nullptr) {
        return false;
    }
    VnFile target(temp, VnFile::kAccessRead | VnFile::kAccessWrite, 0, VnFile::CreateAlways);
    if (!target.Open()) {
        return false;
    }
    bool decoded = DecodeInto(target, *stream, GetDecodedLimit());
    decoded = target.CloseWritten() && decoded;
    if (!decoded) {
        VnFileSystem::DeleteFile(temp);
        return false;
    }
    return VnFileSystem::SafeReplaceFile(path, temp, 0, /*deleteReplacementOnFailure=*/true);
}

/// The rest of a packed body would not fit to a file that holds plain bytes.
void CFileLoader::DropAcceptEncoding() {
    const VnString headers = GetProperty(kHeaders);
    if (!headers.IsEmpty()) {
        VnStringArray lines;
        lines.Split(headers, L"\n", /*trim=*/true, /*skipEmptyText=*/true);
        lines.RemoveMatching(L"Accept-Encoding: gzip");
        lines.Add(L"Accept-Encoding: identity");
        SetProperty(kHeaders, lines.Join(L"\n"));
    }
}

/// A writer that stands at the end of a partial file, and the request for the rest; null when the
/// load has to begin anew. `complete` tells that nothing is missing.
std::unique_ptr<IVnReader> CFileLoader::OpenForResume(const VnFilename& source,
                                                      const VnFilename& destination,
                                                      bool& complete) {
    complete = false;
    if (!destination.Exists(true, 0)) {
        return nullptr;
    }
    std::unique_ptr<IVnReader> writer(CreateGenericReaderDLL(destination.GetXMLForm(false)));
    if (writer == nullptr || !writer->OpenForAppend()) {
        return nullptr;
    }
    const int64_t position = writer->GetPosition();
    if (position > 0) {
        complete = position == source.GetFileSize(AllowInternet);
        SetProperty(L"RANGE_START", VnString::FromInt(writer->GetLength()));
        DropAcceptEncoding();
    }
    return writer;
}

/// Turns the request into one for a file newer than the destination; the destination's date, or 0.0
/// when there is nothing to compare with.
double CFileLoader::PrepareConditional(const VnFilename& destination) {
    if (destination.GetFileSize(false) < 1) {
        return 0.0;
    }
    const VnDate date = VnFileSystem::GetFileDate(destination.GetLocalPath());
    if (date.GetSerial() == 0.0) {
        return 0.0;
    }
    AddInfoHeader(L"If-Modified-Since", date.ToUTC().FormatRFC1123());
    SetProperty(L"USE_CACHE", L"1");
    return date.GetSerial();
}

bool CFileLoader::LoadToFile(const VnFilename& source, VnFilename& destination, FileMode mode) {
    if (Running.load()) {
        if (!IsTarget(&destination)) {
            destination.Filename.Empty();
        }
        return false;
    }
    if (mode == LoadMakeUnique) {
        destination.Filename = VnFileSystem::GetFreeFilename(destination.Filename);
    }
    std::unique_ptr<IVnReader> writer;
    if (mode == LoadResume || mode == LoadResumeKeep) {
        bool complete = false;
        writer = OpenForResume(source, destination, complete);
        if (complete) {
            SetRequest(nullptr, nullptr, 0, false);
            return true;
        }
    }
    bool created = writer == nullptr;
    if (writer == nullptr) {
        writer.reset(CreateGenericReaderDLL(destination.GetXMLForm(false)));
    }
    const double date = mode == LoadIfModified ? PrepareConditional(destination) : 0.0;
    bool loaded = false;
    StatusCode.Empty(); // the status of an earlier load says nothing about this one
    if (writer == nullptr) {
        created = false;
        SetRequest(nullptr, nullptr, 0, false);
    } else {
        loaded = Load(source, nullptr, writer.get(), &destination, created, date);
        writer.reset();
    }
    if (!loaded && mode == LoadIfModified && StatusCode == L"304") {
        return true;
    }
    if (!loaded) {
        if (created && mode != LoadResumeKeep && IsPlainFile(destination.GetLocalPath())) {
            VnFileSystem::DeleteFile(destination.GetLocalPath());
        }
        if (!IsTarget(&destination)) {
            destination.Filename.Empty();
        }
    }
    return loaded;
}

VnFilename CFileLoader::LoadToTempFile(const VnFilename& source, const VnString& extension) {
    VnFilename file(VnFileSystem::GetTempFilename(L"Vn File Loader", extension,
                                                  /*addThreadId=*/true,
                                                  /*makeFree=*/true, VnString()));
    LoadToFile(source, file, LoadMakeUnique); // a failure shows in the name
    return file;
}
