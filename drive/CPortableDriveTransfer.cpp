#include "core/VnBuffer.h"
#include "drive/CPortableDriveBase.h"
#include "files/VnFile.h"
#include "files/VnFileSystem.h"
#include "files/VnFilename.h"
#include "plugin/IVnHandheldHost.h"
#include "runtime/IVnLogManager.h"
#include "runtime/IVnReader.h"
#include "runtime/VnLog.h"
#include "runtime/VnSiblingModules.h"
#include "runtime/VnTimer.h"

#include <algorithm>
#include <memory>

namespace {

constexpr double kSmallestTarget = 16384.0;
constexpr double kLargestTarget = 7340032.0; // 7 times 1024 times 1024
constexpr double kSmoothing = 0.125;
constexpr double kFactorForZeroTime =
    16.0; // stands for the rate when the clock shows no elapsed time
constexpr int64_t kBufferGrowStep = 0x4000;

/// The chunk size after a chunk of `bytes` that took `milliseconds`: it moves towards one second of
/// data.
double AdaptChunkSize(double chunkSize, int32_t bytes, double milliseconds) {
    const double rate =
        milliseconds == 0.0 ? bytes * kFactorForZeroTime : bytes * (1000.0 / milliseconds);
    const double target = std::clamp(rate, kSmallestTarget, kLargestTarget);
    return chunkSize + (target - chunkSize) * kSmoothing;
}

} // namespace

/// One copy that is under way: reader, target file and buffer.
class CPortableDriveBase::CTransfer {
public:
    CTransfer(CPortableDriveBase& drive, VnLogScope& log) : Drive(drive), Log(log) {}

    bool OpenSource(const VnString& source);
    bool CreateTarget(VnString& target);
    /// The loop; true when the whole source has arrived.
    bool Copy();
    /// False when the target lost something of what was written.
    bool Close();

private:
    void MakeRoom();
    bool WriteChunk(int32_t count);
    bool IsCancelledByHost();

    CPortableDriveBase& Drive;
    VnLogScope& Log;
    std::unique_ptr<IVnReader> Reader;
    std::unique_ptr<VnFile> Target;
    VnBuffer Buffer;
    int64_t SourceLength = 0; ///< bytes
    int64_t Total = 0;        ///< bytes read so far
    bool Cancelled = false;   ///< set by the host
};

bool CPortableDriveBase::CTransfer::OpenSource(const VnString& source) {
    Log.Write("Opening input file");
    Reader.reset(CreateGenericReaderDLL(source));
    if (!Reader || !Reader->Open()) {
        return false;
    }
    Log.Write("Analyzing input file");
    SourceLength = Reader->GetLength();
    return SourceLength > 0;
}

bool CPortableDriveBase::CTransfer::CreateTarget(VnString& target) {
    Log.Write("Creating output filename and path");
    VnFilename name(target);
    while (name.Exists(/*useToolsModule=*/true, 0) || IsLink(name.Filename)) {
        name.IncrementName();
    }
    target = name.Filename;
    // Cut at "/" alone: a back-slash is a character of a name here.
    VnFileSystem::MakeDirectoryTree(target.Left(target.ReverseFind(L'/') + 1), /*testWrite=*/false);

    Log.Write("Creating output file");
    Target = std::make_unique<VnFile>(name, VnFile::kAccessWrite, 0, VnFile::CreateAlways);
    if (!Target->Open()) {
        return false;
    }
    Log.Write("Allocating space for file");
    Target->SetLength(SourceLength);
    Target->Seek(0, 0);
    return true;
}

bool CPortableDriveBase::CTransfer::Copy() {
    Log.Write("Starting transfer loop");
    bool complete = true;
    VnTimer timer;
    while (true) {
        MakeRoom();
        const auto length = static_cast<int32_t>(Buffer.GetSize());
        timer.Reset();
        Log.Write("    Reading %d bytes", length);
        const int32_t count = Reader->Read(Buffer.GetData(), length);
        Total += count;
        bool written = true;
        if (count > 0) {
            written = WriteChunk(count);
            Drive.ChunkSize =
                AdaptChunkSize(Drive.ChunkSize, count, timer.GetElapsedMS(/*reset=*/false));
        }
        if (IsCancelledByHost() || !written) {
            Log.Write("    Cancel or write failure");
            complete = false;
            break;
        }
        if (count < length) {
            Log.Write("    EOF");
            break;
        }
    }
    Log.Write("Finished transfer");
    // The reader gives no error but a short read: only the total tells a source that broke off from
    // its end.
    return complete && Total == SourceLength;
}

bool CPortableDriveBase::CTransfer::Close() {
    const bool written = Target->CloseWritten();
    Reader.reset();
    return written;
}

void CPortableDriveBase::CTransfer::MakeRoom() {
    const auto wanted = static_cast<int64_t>(Drive.ChunkSize);
    if (wanted > Buffer.GetSize()) {
        Buffer.Empty();
        Buffer.Reserve(wanted, /*zeroFill=*/false, kBufferGrowStep, /*setSize=*/true);
    }
}

bool CPortableDriveBase::CTransfer::WriteChunk(int32_t count) {
    Log.Write("    Writing %d bytes", count);
    int64_t written = 0;
    return Target->Write(Buffer.GetData(), count, written) && written == count;
}

bool CPortableDriveBase::CTransfer::IsCancelledByHost() {
    IVnHandheldHost* host = Drive.GetHost();
    if (host == nullptr) {
        return false;
    }
    Log.Write("    Sending progress");
    host->OnProgress(Total, SourceLength, &Cancelled);
    return Cancelled;
}

bool CPortableDriveBase::TransferFile(const VnString& source, VnString& target) {
    VnLogScope log(kLogHandheld, "CPortableDriveBase::TransferFile");
    log.Write("Filename: %s", source);
    CTransfer transfer(*this, log);
    if (!transfer.OpenSource(source) || !transfer.CreateTarget(target)) {
        return false;
    }
    bool complete = transfer.Copy();
    complete = transfer.Close() && complete;
    if (!complete) {
        VnFileSystem::DeleteFile(target);
    }
    return complete;
}
