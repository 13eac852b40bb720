#include "tests/support/FailingCalls.h"

#include <dirent.h>
#include <fcntl.h>
#include <ifaddrs.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/time.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>

namespace {

/// The call that fails, and how many calls of it are still to pass and to fail.
struct Plan {
    std::string Name;
    int Error = 0;
    int Passing = 0;
    int Failing = 0;
    bool Failed = false;
    std::map<std::string, int> Counts;
};

Plan Current;

/// Whether the call under way is one that fails; sets errno then.
bool Fails(const char* name) {
    if (Current.Name.empty()) {
        return false;
    }
    ++Current.Counts[name];
    if (Current.Name != name || Current.Failing == 0) {
        return false;
    }
    if (Current.Passing > 0) {
        --Current.Passing;
        return false;
    }
    --Current.Failing;
    Current.Failed = true;
    errno = Current.Error;
    return true;
}

/// A call that moves bytes.
template<typename BYTES>
ssize_t Transfer(const char* name,
                 ssize_t (*real)(int, BYTES, size_t),
                 int descriptor,
                 BYTES bytes,
                 size_t count) {
    if (!Fails(name)) {
        return real(descriptor, bytes, count);
    }
    return Current.Error == FailingCall::kHalf ? real(descriptor, bytes, count / 2) : -1;
}

} // namespace

FailingCall::FailingCall(const std::string& name, int error, int nth, int times) {
    Current = {name, error, nth - 1, times, false, {}};
}

FailingCall::~FailingCall() {
    Current = {};
}

bool FailingCall::HasFailed() const {
    return Current.Failed;
}

const std::map<std::string, int>& FailingCall::GetCounts() const {
    return Current.Counts;
}

int CountDescriptors() {
    int count = 0;
    for ([[maybe_unused]] const auto& entry :
         std::filesystem::directory_iterator("/proc/self/fd")) {
        ++count;
    }
    return count;
}

/// A wrapper of the call NAME that gives FAILURE when it is the one that fails.
#define VN_WRAP(RESULT, FAILURE, NAME, PARAMETERS, ...)                                            \
    RESULT __real_##NAME PARAMETERS;                                                               \
    RESULT __wrap_##NAME PARAMETERS {                                                              \
        return Fails(#NAME) ? FAILURE : __real_##NAME(__VA_ARGS__);                                \
    }
#define VN_WRAP1(RESULT, FAILURE, NAME, A) VN_WRAP(RESULT, FAILURE, NAME, (A a), a)
#define VN_WRAP2(RESULT, FAILURE, NAME, A, B) VN_WRAP(RESULT, FAILURE, NAME, (A a, B b), a, b)
#define VN_WRAP3(RESULT, FAILURE, NAME, A, B, C)                                                   \
    VN_WRAP(RESULT, FAILURE, NAME, (A a, B b, C c), a, b, c)
#define VN_WRAP4(RESULT, FAILURE, NAME, A, B, C, D)                                                \
    VN_WRAP(RESULT, FAILURE, NAME, (A a, B b, C c, D d), a, b, c, d)

/// A wrapper of a call that gives its resource back even when it fails.
#define VN_WRAP_RELEASE(NAME, PARAMETERS, ...)                                                     \
    int __real_##NAME PARAMETERS;                                                                  \
    int __wrap_##NAME PARAMETERS {                                                                 \
        const int result = __real_##NAME(__VA_ARGS__);                                             \
        return Fails(#NAME) ? -1 : result;                                                         \
    }

extern "C" {

int __real_open(const char* path, int flags, ...);
int __wrap_open(const char* path, int flags, ...) {
    va_list rest;
    va_start(rest, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(rest, mode_t) : 0;
    va_end(rest);
    return Fails("open") ? -1 : __real_open(path, flags, mode);
}

int __real_fcntl(int descriptor, int command, ...);
int __wrap_fcntl(int descriptor, int command, ...) {
    va_list rest;
    va_start(rest, command);
    void* argument = va_arg(rest, void*);
    va_end(rest);
    return Fails("fcntl") ? -1 : __real_fcntl(descriptor, command, argument);
}

int __real_ioctl(int descriptor, unsigned long request, ...);
int __wrap_ioctl(int descriptor, unsigned long request, ...) {
    va_list rest;
    va_start(rest, request);
    void* argument = va_arg(rest, void*);
    va_end(rest);
    return Fails("ioctl") ? -1 : __real_ioctl(descriptor, request, argument);
}

ssize_t __real_read(int descriptor, void* bytes, size_t count);
ssize_t __wrap_read(int descriptor, void* bytes, size_t count) {
    return Transfer("read", __real_read, descriptor, bytes, count);
}

ssize_t __real_write(int descriptor, const void* bytes, size_t count);
ssize_t __wrap_write(int descriptor, const void* bytes, size_t count) {
    return Transfer("write", __real_write, descriptor, bytes, count);
}

VN_WRAP_RELEASE(close, (int descriptor), descriptor)
VN_WRAP_RELEASE(pclose, (FILE * stream), stream)
VN_WRAP_RELEASE(munmap, (void* at, size_t size), at, size)

VN_WRAP3(off_t, -1, lseek, int, off_t, int)
VN_WRAP4(int, -1, fallocate, int, int, off_t, off_t)
VN_WRAP2(int, -1, ftruncate, int, off_t)
VN_WRAP1(int, -1, fdatasync, int)
VN_WRAP1(int, -1, fchdir, int)
VN_WRAP2(int, -1, fstat, int, struct stat*)
VN_WRAP2(int, -1, stat, const char*, struct stat*)
VN_WRAP2(int, -1, lstat, const char*, struct stat*)
VN_WRAP4(int, -1, fstatat, int, const char*, struct stat*, int)
VN_WRAP2(int, -1, statvfs, const char*, struct statvfs*)
VN_WRAP1(int, -1, unlink, const char*)
VN_WRAP2(int, -1, rename, const char*, const char*)
VN_WRAP2(int, -1, mkdir, const char*, mode_t)
VN_WRAP2(int, -1, utimes, const char*, const timeval*)
VN_WRAP1(int, -1, chdir, const char*)
VN_WRAP2(char*, nullptr, getcwd, char*, size_t)
VN_WRAP2(char*, nullptr, realpath, const char*, char*)
VN_WRAP3(ssize_t, -1, readlink, const char*, char*, size_t)
VN_WRAP1(DIR*, nullptr, opendir, const char*)
VN_WRAP3(ssize_t, -1, getdents64, int, void*, size_t)
VN_WRAP1(dirent*, nullptr, readdir, DIR*)
VN_WRAP2(FILE*, nullptr, fopen, const char*, const char*)
VN_WRAP2(FILE*, nullptr, fdopen, int, const char*)
/// Fails to say that all is well.
VN_WRAP1(int, 1, ferror, FILE*)
VN_WRAP2(FILE*, nullptr, popen, const char*, const char*)
VN_WRAP1(int, -1, system, const char*)
VN_WRAP(pid_t, -1, fork, ())
VN_WRAP3(int, -1, socket, int, int, int)
VN_WRAP1(int, -1, getifaddrs, ifaddrs**)
VN_WRAP3(int, -1, shm_open, const char*, int, mode_t)
VN_WRAP(
    void*, MAP_FAILED, mmap, (void* a, size_t b, int c, int d, int e, off_t f), a, b, c, d, e, f)
VN_WRAP1(int, -1, shm_unlink, const char*)
VN_WRAP2(void*, nullptr, dlopen, const char*, int)
VN_WRAP1(int, -1, uname, utsname*)
VN_WRAP3(int, -1, setenv, const char*, const char*, int)
VN_WRAP2(int, -1, nanosleep, const timespec*, timespec*)

} // extern "C"
