#include "runtime/VnSharedMemory.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>

namespace {

constexpr mode_t kMode = 0666;

bool SetFileLength(int descriptor, off_t length) {
    int result = 0;
    do {
        result = ftruncate(descriptor, length);
    } while (result == -1 && errno == EINTR);
    return result == 0;
}

} // namespace

VnSharedMemory::~VnSharedMemory() {
    Close();
}

bool VnSharedMemory::Open(const VnString& name, int32_t size) {
    Close();
    const auto page = static_cast<int64_t>(sysconf(_SC_PAGESIZE));
    const int64_t length = (size + page - 1) / page * page;
    if (size < 1 || length > INT32_MAX || name.IsEmpty()) {
        return false;
    }
    Name = name.StartsWith(L'/') ? name : L'/' + name;
    // The descriptor is close-on-exec: shm_open sees to that by itself.
    const VnStringUTF8 path(Name);
    Descriptor = shm_open(path, O_RDWR, kMode);
    if (Descriptor == -1) {
        // A block that only could not be opened a moment ago has its creator already, and must
        // neither get a new length nor lose its name when this object closes.
        Descriptor = shm_open(path, O_RDWR | O_CREAT | O_EXCL, kMode);
        Creator = Descriptor != -1;
        if (!Creator && errno == EEXIST) {
            Descriptor = shm_open(path, O_RDWR, kMode);
        }
    }
    if (Descriptor == -1 || (Creator && !SetFileLength(Descriptor, length))) {
        Close();
        return false;
    }
    void* mapping = mmap(nullptr, static_cast<size_t>(length), PROT_READ | PROT_WRITE, MAP_SHARED,
                         Descriptor, 0);
    if (mapping == MAP_FAILED) {
        Close();
        return false;
    }
    Mapping = mapping;
    Size = static_cast<int32_t>(length);
    return true;
}

void VnSharedMemory::Close() {
    if (Mapping != nullptr) {
        munmap(Mapping, static_cast<size_t>(Size));
        Mapping = nullptr;
    }
    if (Descriptor != -1) {
        if (Creator) {
            shm_unlink(VnStringUTF8(Name));
        }
        close(Descriptor);
        Descriptor = -1;
    }
    Name.Empty();
    Size = 0;
    Creator = false;
}
