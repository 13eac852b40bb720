#include "files/VnFile.h"

#include "core/VnBuffer.h"
#include "data/VnDate.h"
#include "files/VnFileInfo.h"
#include "files/VnFileSystem.h"
#include "runtime/VnLog.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <string>

static_assert(sizeof(off_t) == 8, "file offsets take 64 bits");

namespace {

/// Read and write by the owner, read by the others.
constexpr mode_t kNewFileMode = 0644;

/// Runs a system call again for as long as a signal interrupts it before it has done anything.
template<typename CALL>
auto RetryInterrupted(CALL call) {
    decltype(call()) result;
    do {
        result = call();
    } while (result == -1 && errno == EINTR);
    return result;
}

int GetOpenFlags(uint32_t access, uint32_t disposition) {
    const bool reads = (access & VnFile::kAccessRead) != 0;
    const bool writes = (access & VnFile::kAccessWrite) != 0;
    const int flags = (writes ? (reads ? O_RDWR : O_WRONLY) : O_RDONLY) | O_CLOEXEC;
    switch (disposition) {
    case VnFile::CreateAlways:
        return flags | O_CREAT | O_TRUNC;
    case VnFile::CreateNew:
        return flags | O_CREAT | O_EXCL;
    case VnFile::OpenAlways:
        return flags | O_CREAT;
    case VnFile::TruncateExisting:
        return flags | O_TRUNC;
    default:
        return flags;
    }
}

/// Takes a write lock over the whole file; true also where the file system has no locks. The lock
/// belongs to the open file and not to the process, so that two objects of one process exclude each
/// other as well, and closing one of them does not free what the other holds.
bool LockForWriting(int descriptor) {
    struct flock lock = {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    const int result = RetryInterrupted([&] { return fcntl(descriptor, F_OFD_SETLK, &lock); });
    return result != -1 || errno == ENOLCK || errno == EOPNOTSUPP;
}

/// Reads units into `line` up to one that `isEnd` takes, a short read or a failure, and leaves the
/// position right behind what was taken. A file that cannot seek is read unit by unit, since what
/// was read too much could not be given back.
template<typename UNIT, typename ISEND>
void ReadUnits(int descriptor, std::basic_string<UNIT>& line, ISEND isEnd) {
    UNIT buffer[512];
    const off_t start = lseek(descriptor, 0, SEEK_CUR);
    const size_t wanted = start < 0 ? sizeof(UNIT) : sizeof(buffer);
    off_t taken = 0;
    while (true) {
        const ssize_t got = RetryInterrupted([&] { return read(descriptor, buffer, wanted); });
        if (got <= 0) {
            return;
        }
        UNIT* const bufferEnd = buffer + static_cast<size_t>(got) / sizeof(UNIT);
        UNIT* const end = std::find_if(buffer, bufferEnd, isEnd);
        line.append(buffer, end);
        if (end != bufferEnd) {
            if (start >= 0) {
                const auto used = static_cast<size_t>(end + 1 - buffer) * sizeof(UNIT);
                lseek(descriptor, start + taken + static_cast<off_t>(used), SEEK_SET);
            }
            return;
        }
        taken += got;
        if (static_cast<size_t>(got) % sizeof(UNIT) != 0) {
            return;
        }
    }
}

/// Whether a text names something that CanRead and CanWrite can look at.
bool IsLocalPath(const VnString& path) {
    return !path.IsEmpty() && VnFilename::GetIsFileLocal(path);
}

} // namespace

VnFile::VnFile(const VnFilename& filename, uint32_t access, uint32_t share, uint32_t disposition)
    : Filename(filename)
    , Access(access)
    , Share(share)
    , Disposition(disposition) {
}

VnFile::VnFile(const VnString& filename, uint32_t access, uint32_t share, uint32_t disposition)
    : VnFile(VnFilename(filename), access, share, disposition) {
}

VnFile::~VnFile() {
    Close();
}

bool VnFile::Open() {
    Close();
    const VnStringUTF8 path(Filename.GetLocalPath());
    const int flags = GetOpenFlags(Access, Disposition);
    Descriptor = RetryInterrupted([&] { return open(path, flags, kNewFileMode); });
    IsOpen = Descriptor != -1;
    if (!IsOpen) {
        return false;
    }
    const bool isExclusive = (Access & kAccessWrite) != 0 && (Share & kShareWrite) == 0;
    if (isExclusive && !LockForWriting(Descriptor)) {
        const int lockError = errno;
        Close();
        errno = lockError;
        return false;
    }
    return true;
}

bool VnFile::Open(const VnFilename& filename,
                  uint32_t access,
                  uint32_t share,
                  uint32_t disposition) {
    Filename = filename;
    Access = access;
    Share = share;
    Disposition = disposition;
    return Open();
}

bool VnFile::Open(const VnString& filename, uint32_t access, uint32_t share, uint32_t disposition) {
    return Open(VnFilename(filename), access, share, disposition);
}

bool VnFile::Close() {
    CloseWritten();
    return true;
}

bool VnFile::CloseWritten() {
    if (!IsOpen) {
        return true;
    }
    // Not run again after a signal: the descriptor is gone by then, and may be somebody else's.
    const bool result = close(Descriptor) == 0;
    IsOpen = false;
    Descriptor = -1;
    if (!result) {
        const int32_t error = errno;
        VnLog(kLogGeneral, L"VnFile::Close", L"Error %d closing file: %s", error,
              Filename.Filename);
        errno = error;
    }
    return result;
}

int64_t VnFile::GetPosition() const {
    return IsOpen ? lseek(Descriptor, 0, SEEK_CUR) : -1;
}

// NOLINTBEGIN(readability-make-member-function-const): these change the file behind the descriptor.

int64_t VnFile::Seek(int64_t offset, int32_t origin) {
    if (!IsOpen) {
        return -1;
    }
    const int whence = origin == 1 ? SEEK_CUR : origin == 2 ? SEEK_END : SEEK_SET;
    return lseek(Descriptor, offset, whence);
}

int64_t VnFile::GetLength() const {
    struct stat record = {};
    const int result =
        IsOpen ? fstat(Descriptor, &record) : stat(VnStringUTF8(Filename.GetLocalPath()), &record);
    return result == 0 ? int64_t{record.st_size} : -1;
}

bool VnFile::SetLength(int64_t length) {
    if (IsOpen) {
        Seek(length, 0);
    }
    // Without a known length there is no telling whether this makes the file longer: growing one
    // that is longer already would leave it as it is.
    const int64_t current = GetLength();
    if (current >= 0 && length > current
        && RetryInterrupted([&] { return fallocate(Descriptor, 0, 0, length); }) == 0) {
        return true;
    }
    return RetryInterrupted([&] { return ftruncate(Descriptor, length); }) == 0;
}

bool VnFile::Write(const void* buffer, int64_t size) {
    int64_t written = 0;
    return Write(buffer, size, written) && written == size;
}

bool VnFile::Write(const void* buffer, int64_t size, int64_t& written) {
    const auto count = static_cast<size_t>(size);
    const ssize_t result = RetryInterrupted([&] { return write(Descriptor, buffer, count); });
    written = std::max<ssize_t>(result, 0);
    return result != -1;
}

bool VnFile::Read(void* buffer, int64_t size, int64_t& read) {
    const auto count = static_cast<size_t>(size);
    const ssize_t result = RetryInterrupted([&] { return ::read(Descriptor, buffer, count); });
    read = std::max<ssize_t>(result, 0);
    return result != -1;
}

bool VnFile::WriteWide(const VnString& text) {
    return Write(text.GetText(), int64_t{text.GetLength()} * static_cast<int64_t>(sizeof(wchar_t)));
}

bool VnFile::WriteUTF8(const VnString& text) {
    if (text.IsEmpty()) {
        return true;
    }
    VnBuffer bytes;
    text.GetUTF8(bytes);
    return Write(bytes.GetData(), bytes.GetSize());
}

bool VnFile::WriteBytes(const VnString& text) {
    if (!text.IsEmpty()) {
        VnBuffer bytes;
        text.GetBytes(bytes);
        Write(bytes.GetData(), bytes.GetSize());
    }
    return true;
}

bool VnFile::ReadLineWide(VnString& text) {
    std::wstring line;
    ReadUnits(Descriptor, line, [](wchar_t ch) { return ch == L'\n' || ch == 0; });
    text.Assign(line.data(), static_cast<int32_t>(line.size()));
    return !text.IsEmpty() || GetPosition() < GetLength();
}

VnString VnFile::ReadLine() {
    std::string line;
    ReadUnits(Descriptor, line, [](char byte) { return byte == '\n'; });
    return VnString::FromUTF8(line.data(), static_cast<int64_t>(line.size()));
}

bool VnFile::Flush() {
    return RetryInterrupted([&] { return fdatasync(Descriptor); }) == 0;
}

int32_t VnFile::Control(uint32_t /*code*/,
                        const void* /*input*/,
                        int64_t /*inputSize*/,
                        void* /*output*/,
                        int64_t /*outputSize*/) {
    return 0;
}

bool VnFile::SetFileTimes(const VnDate& date) {
    int64_t seconds = 0;
    int64_t microseconds = 0;
    date.ToTimeVal(seconds, microseconds);
    const timeval both[2] = {{seconds, microseconds}, {seconds, microseconds}};
    return utimes(VnStringUTF8(Filename.GetLocalPath()), both) == 0;
}

// NOLINTEND(readability-make-member-function-const)

bool VnFile::CanRead(const VnString& path, bool defaultResult) {
    if (!IsLocalPath(path) || !VnFileInfo(path).Valid) {
        return defaultResult;
    }
    return VnFile(path, kAccessRead, kShareRead, OpenExisting).Open();
}

bool VnFile::CanWrite(const VnString& path, bool defaultResult, bool* readOnly) {
    const VnFileInfo info(IsLocalPath(path) ? path : VnString());
    if (!info.Valid) {
        return defaultResult;
    }
    bool isReadOnly = false;
    bool result = false;
    if (!S_ISREG(info.Stat.st_mode)) {
        isReadOnly = true;
    } else {
        result = VnFile(path, kAccessWrite, 0, OpenExisting).Open();
        uint64_t total = 0;
        uint64_t free = 0;
        uint64_t available = 0;
        if (!result) {
            VnFileSystem::VnStatFS(info.Filename.GetLocalPath(), total, free, available,
                                   isReadOnly);
        }
    }
    if (readOnly != nullptr) {
        *readOnly = isReadOnly;
    }
    return result;
}
