#include "modules/reader/CLocalReader.h"

#include "core/VnDllString.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace {

constexpr mode_t kFileMode = 0644;
constexpr int kPollMS = 50; ///< between two looks for a close

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
    Closed.store(false);
    if (Path.IsEmpty()) {
        return false;
    }
    Descriptor = ::open(VnStringUTF8(Path), flags | O_CLOEXEC, kFileMode);
    struct stat state = {};
    if (Descriptor >= 0 && (::fstat(Descriptor, &state) != 0 || S_ISDIR(state.st_mode))) {
        CloseDescriptor();
    }
    Waits = !S_ISREG(state.st_mode);
    return Descriptor >= 0;
}

bool CLocalReader::Open() {
    // A pipe that nobody writes to yet would hold up the open itself; regular files know no wait.
    if (!OpenWith(O_RDONLY | O_NONBLOCK)) {
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

/// Whether there are bytes, or the end of them, to read; false once the reader was closed.
bool CLocalReader::WaitForBytes() const {
    pollfd file = {Descriptor, POLLIN, 0};
    int ready = 0;
    while (ready == 0 || (ready < 0 && errno == EINTR)) {
        if (Closed.load()) {
            return false;
        }
        ready = ::poll(&file, 1, kPollMS);
    }
    return ready > 0;
}

int32_t CLocalReader::Read(void* target, int32_t count) {
    const std::lock_guard<std::mutex> guard(Lock);
    Busy.store(!Waits);
    int32_t total = 0;
    while (Descriptor >= 0 && total < count && (!Waits || WaitForBytes())) {
        const ssize_t got = ::read(Descriptor, static_cast<char*>(target) + total,
                                   static_cast<size_t>(count - total));
        if (got < 0 && (errno == EINTR || errno == EAGAIN)) {
            continue;
        }
        if (got <= 0) {
            break;
        }
        total += static_cast<int32_t>(got);
    }
    Busy.store(false);
    return total;
}

int32_t CLocalReader::Write(const void* data, int32_t count) {
    const std::lock_guard<std::mutex> guard(Lock);
    Busy.store(true);
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
    Busy.store(false);
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
    Closed.store(true); // ahead of the lock, which a read that waits holds
    const std::lock_guard<std::mutex> guard(Lock);
    CloseDescriptor();
}
