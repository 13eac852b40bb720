#include "modules/reader/CLocalReader.h"

#include "core/VnDllString.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace {

constexpr mode_t kFileMode = 0644;

/// Says that a call is under way, for the length of a scope.
class BusyMark {
public:
    explicit BusyMark(std::atomic<bool>& flag) : Flag(flag) { Flag.store(true); }
    ~BusyMark() { Flag.store(false); }
    BusyMark(const BusyMark&) = delete;
    BusyMark& operator=(const BusyMark&) = delete;

private:
    std::atomic<bool>& Flag;
};

} // namespace

CLocalReader::~CLocalReader() {
    CloseDescriptor();
}

void CLocalReader::CloseDescriptor() {
    if (Descriptor >= 0) {
        ::close(Descriptor);
        Descriptor = -1;
    }
}

bool CLocalReader::OpenWith(int flags) {
    const std::lock_guard<std::mutex> guard(Lock);
    CloseDescriptor();
    if (Path.IsEmpty()) {
        return false;
    }
    Descriptor = ::open(VnStringUTF8(Path), flags | O_CLOEXEC, kFileMode);
    struct stat state = {};
    if (Descriptor >= 0 && (::fstat(Descriptor, &state) != 0 || S_ISDIR(state.st_mode))) {
        CloseDescriptor();
    }
    return Descriptor >= 0;
}

bool CLocalReader::Open() {
    if (!OpenWith(O_RDONLY)) {
        return false;
    }
    ::posix_fadvise(Descriptor, 0, 0,
                    POSIX_FADV_SEQUENTIAL); // only advice: a refusal costs nothing
    return true;
}

bool CLocalReader::Create() {
    return OpenWith(O_RDWR | O_CREAT | O_TRUNC);
}

bool CLocalReader::OpenForAppend() {
    return OpenWith(O_RDWR | O_CREAT) && Seek(0, kFromEnd) >= 0;
}

int32_t CLocalReader::Read(void* target, int32_t count) {
    const std::lock_guard<std::mutex> guard(Lock);
    const BusyMark busy(Busy);
    int32_t total = 0;
    while (Descriptor >= 0 && total < count) {
        const ssize_t got = ::read(Descriptor, static_cast<char*>(target) + total,
                                   static_cast<size_t>(count - total));
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got <= 0) {
            break;
        }
        total += static_cast<int32_t>(got);
    }
    return total;
}

int32_t CLocalReader::Write(const void* data, int32_t count) {
    const std::lock_guard<std::mutex> guard(Lock);
    const BusyMark busy(Busy);
    int32_t total = 0;
    while (Descriptor >= 0 && total < count) {
        const ssize_t put = ::write(Descriptor, static_cast<const char*>(data) + total,
                                    static_cast<size_t>(count - total));
        if (put < 0 && errno == EINTR) {
            continue;
        }
        if (put <= 0) {
            break;
        }
        total += static_cast<int32_t>(put);
    }
    return total;
}

int64_t CLocalReader::GetLength() {
    const std::lock_guard<std::mutex> guard(Lock);
    struct stat state = {};
    return Descriptor >= 0 && ::fstat(Descriptor, &state) == 0 && S_ISREG(state.st_mode)
               ? state.st_size
               : -1;
}

int64_t CLocalReader::GetPosition() {
    const std::lock_guard<std::mutex> guard(Lock);
    return Descriptor < 0 ? 0 : ::lseek(Descriptor, 0, SEEK_CUR);
}

int64_t CLocalReader::Seek(int64_t offset, int32_t origin) {
    const std::lock_guard<std::mutex> guard(Lock);
    const int whence = origin == kFromCurrent ? SEEK_CUR : origin == kFromEnd ? SEEK_END : SEEK_SET;
    return Descriptor < 0 ? -1 : ::lseek(Descriptor, offset, whence);
}

void CLocalReader::GetProperty(const wchar_t* name, IVnDllString& value) {
    value.Empty();
    if (name != nullptr && VnString(name).EqualsNoCase(L"Location")) {
        value.Set(Path, Path.GetLength());
    }
}

void CLocalReader::Close() {
    const std::lock_guard<std::mutex> guard(Lock);
    CloseDescriptor();
}
