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

template<typename RESULT, typename... ARGS>
RESULT Call(const char* name, RESULT failure, RESULT (*real)(ARGS...), ARGS... args) {
    return Fails(name) ? failure : real(args...);
}

/// A call that gives its resource back even when it fails.
template<typename RESULT, typename ARG>
RESULT Release(const char* name, RESULT failure, RESULT (*real)(ARG), ARG argument) {
    const RESULT result = real(argument);
    return Fails(name) ? failure : result;
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

int __real_close(int descriptor);
int __wrap_close(int descriptor) {
    return Release("close", -1, __real_close, descriptor);
}

int __real_pclose(FILE* stream);
int __wrap_pclose(FILE* stream) {
    return Release("pclose", -1, __real_pclose, stream);
}

off_t __real_lseek(int descriptor, off_t offset, int whence);
off_t __wrap_lseek(int descriptor, off_t offset, int whence) {
    return Call("lseek", off_t{-1}, __real_lseek, descriptor, offset, whence);
}

int __real_fallocate(int descriptor, int mode, off_t offset, off_t length);
int __wrap_fallocate(int descriptor, int mode, off_t offset, off_t length) {
    return Call("fallocate", -1, __real_fallocate, descriptor, mode, offset, length);
}

int __real_ftruncate(int descriptor, off_t length);
int __wrap_ftruncate(int descriptor, off_t length) {
    return Call("ftruncate", -1, __real_ftruncate, descriptor, length);
}

int __real_fdatasync(int descriptor);
int __wrap_fdatasync(int descriptor) {
    return Call("fdatasync", -1, __real_fdatasync, descriptor);
}

int __real_fchdir(int descriptor);
int __wrap_fchdir(int descriptor) {
    return Call("fchdir", -1, __real_fchdir, descriptor);
}

int __real_fstat(int descriptor, struct stat* record);
int __wrap_fstat(int descriptor, struct stat* record) {
    return Call("fstat", -1, __real_fstat, descriptor, record);
}

int __real_stat(const char* path, struct stat* record);
int __wrap_stat(const char* path, struct stat* record) {
    return Call("stat", -1, __real_stat, path, record);
}

int __real_lstat(const char* path, struct stat* record);
int __wrap_lstat(const char* path, struct stat* record) {
    return Call("lstat", -1, __real_lstat, path, record);
}

int __real_fstatat(int descriptor, const char* path, struct stat* record, int flags);
int __wrap_fstatat(int descriptor, const char* path, struct stat* record, int flags) {
    return Call("fstatat", -1, __real_fstatat, descriptor, path, record, flags);
}

int __real_statvfs(const char* path, struct statvfs* record);
int __wrap_statvfs(const char* path, struct statvfs* record) {
    return Call("statvfs", -1, __real_statvfs, path, record);
}

int __real_unlink(const char* path);
int __wrap_unlink(const char* path) {
    return Call("unlink", -1, __real_unlink, path);
}

int __real_rename(const char* from, const char* to);
int __wrap_rename(const char* from, const char* to) {
    return Call("rename", -1, __real_rename, from, to);
}

int __real_mkdir(const char* path, mode_t mode);
int __wrap_mkdir(const char* path, mode_t mode) {
    return Call("mkdir", -1, __real_mkdir, path, mode);
}

int __real_utimes(const char* path, const timeval* times);
int __wrap_utimes(const char* path, const timeval* times) {
    return Call("utimes", -1, __real_utimes, path, times);
}

int __real_chdir(const char* path);
int __wrap_chdir(const char* path) {
    return Call("chdir", -1, __real_chdir, path);
}

char* __real_getcwd(char* buffer, size_t size);
char* __wrap_getcwd(char* buffer, size_t size) {
    return Call<char*>("getcwd", nullptr, __real_getcwd, buffer, size);
}

char* __real_realpath(const char* path, char* resolved);
char* __wrap_realpath(const char* path, char* resolved) {
    return Call<char*>("realpath", nullptr, __real_realpath, path, resolved);
}

ssize_t __real_readlink(const char* path, char* buffer, size_t size);
ssize_t __wrap_readlink(const char* path, char* buffer, size_t size) {
    return Call("readlink", ssize_t{-1}, __real_readlink, path, buffer, size);
}

DIR* __real_opendir(const char* path);
DIR* __wrap_opendir(const char* path) {
    return Call<DIR*>("opendir", nullptr, __real_opendir, path);
}

ssize_t __real_getdents64(int descriptor, void* buffer, size_t size);
ssize_t __wrap_getdents64(int descriptor, void* buffer, size_t size) {
    return Call("getdents64", ssize_t{-1}, __real_getdents64, descriptor, buffer, size);
}

dirent* __real_readdir(DIR* directory);
dirent* __wrap_readdir(DIR* directory) {
    return Call<dirent*>("readdir", nullptr, __real_readdir, directory);
}

FILE* __real_fopen(const char* path, const char* mode);
FILE* __wrap_fopen(const char* path, const char* mode) {
    return Call<FILE*>("fopen", nullptr, __real_fopen, path, mode);
}

FILE* __real_fdopen(int descriptor, const char* mode);
FILE* __wrap_fdopen(int descriptor, const char* mode) {
    return Call<FILE*>("fdopen", nullptr, __real_fdopen, descriptor, mode);
}

/// Fails to say that all is well.
int __real_ferror(FILE* stream);
int __wrap_ferror(FILE* stream) {
    return Call("ferror", 1, __real_ferror, stream);
}

FILE* __real_popen(const char* command, const char* mode);
FILE* __wrap_popen(const char* command, const char* mode) {
    return Call<FILE*>("popen", nullptr, __real_popen, command, mode);
}

int __real_system(const char* command);
int __wrap_system(const char* command) {
    return Call("system", -1, __real_system, command);
}

pid_t __real_fork();
pid_t __wrap_fork() {
    return Call("fork", -1, __real_fork);
}

int __real_socket(int domain, int type, int protocol);
int __wrap_socket(int domain, int type, int protocol) {
    return Call("socket", -1, __real_socket, domain, type, protocol);
}

int __real_getifaddrs(ifaddrs** first);
int __wrap_getifaddrs(ifaddrs** first) {
    return Call("getifaddrs", -1, __real_getifaddrs, first);
}

int __real_shm_open(const char* name, int flags, mode_t mode);
int __wrap_shm_open(const char* name, int flags, mode_t mode) {
    return Call("shm_open", -1, __real_shm_open, name, flags, mode);
}

void* __real_mmap(void* at, size_t size, int access, int flags, int descriptor, off_t offset);
void* __wrap_mmap(void* at, size_t size, int access, int flags, int descriptor, off_t offset) {
    return Call("mmap", MAP_FAILED, __real_mmap, at, size, access, flags, descriptor, offset);
}

/// Gives the mapping back even when it fails.
int __real_munmap(void* at, size_t size);
int __wrap_munmap(void* at, size_t size) {
    const int result = __real_munmap(at, size);
    return Fails("munmap") ? -1 : result;
}

int __real_shm_unlink(const char* name);
int __wrap_shm_unlink(const char* name) {
    return Call("shm_unlink", -1, __real_shm_unlink, name);
}

void* __real_dlopen(const char* path, int flags);
void* __wrap_dlopen(const char* path, int flags) {
    return Call<void*>("dlopen", nullptr, __real_dlopen, path, flags);
}

int __real_uname(utsname* names);
int __wrap_uname(utsname* names) {
    return Call("uname", -1, __real_uname, names);
}

int __real_setenv(const char* name, const char* value, int overwrite);
int __wrap_setenv(const char* name, const char* value, int overwrite) {
    return Call("setenv", -1, __real_setenv, name, value, overwrite);
}

int __real_nanosleep(const timespec* time, timespec* rest);
int __wrap_nanosleep(const timespec* time, timespec* rest) {
    return Call("nanosleep", -1, __real_nanosleep, time, rest);
}
}
