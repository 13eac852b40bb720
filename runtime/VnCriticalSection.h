#pragma once

#include <pthread.h>
#include <sys/single_threaded.h>

#include <atomic>
#include <cstdint>
#include <mutex>

/// Recursive lock that other classes embed.
///
/// The mutex does the work; the depth and the owner are kept only so that a debugger or a test can
/// see who holds it. Works with std::lock_guard (`lock`, `unlock`). Not copyable.
class VnCriticalSection {
public:
    VnCriticalSection() {
        pthread_mutexattr_t attributes;
        pthread_mutexattr_init(&attributes);
        pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
        pthread_mutex_init(&Mutex, &attributes);
        pthread_mutexattr_destroy(&attributes);
    }
    ~VnCriticalSection() { pthread_mutex_destroy(&Mutex); }
    VnCriticalSection(const VnCriticalSection&) = delete;
    VnCriticalSection& operator=(const VnCriticalSection&) = delete;

    /// Waits until this thread holds the lock. The same thread may lock again; each Lock needs an
    /// Unlock of its own.
    void Lock() {
        pthread_mutex_lock(&Mutex);
        // Only the holder writes these, so that plain stores do.
        Depth.store(Depth.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
        Owner.store(pthread_self(), std::memory_order_relaxed);
    }

    /// Gives up one Lock of this thread.
    void Unlock() {
        Depth.store(Depth.load(std::memory_order_relaxed) - 1, std::memory_order_relaxed);
        pthread_mutex_unlock(&Mutex);
    }

    /// Lock and Unlock under the names that the standard guards call.
    void lock() { Lock(); }
    void unlock() { Unlock(); }

    /// Locks held at the moment of the call; already stale when the caller reads it.
    int32_t GetDepth() const { return Depth.load(); }

    /// The thread that locked last; it holds the lock only while the depth is above 0.
    pthread_t GetOwner() const { return Owner.load(); }

private:
    pthread_mutex_t Mutex;
    std::atomic<int32_t> Depth{0};
    std::atomic<pthread_t> Owner{};
};

/// Holds a VnCriticalSection for the length of a scope.
using VnCriticalSectionLock = std::lock_guard<VnCriticalSection>;

/// The same for a scope that starts no thread and takes but a few instructions: while this is the
/// only thread of the process there is nobody to keep out, and the lock would cost more than the
/// scope. pthread_create, which makes every thread, says so ahead of the new thread's first step.
class VnShortLock {
public:
    explicit VnShortLock(VnCriticalSection& section)
        : Section(__libc_single_threaded != 0 ? nullptr : &section) {
        if (Section != nullptr) {
            Section->Lock();
        }
    }
    ~VnShortLock() {
        if (Section != nullptr) {
            Section->Unlock();
        }
    }
    VnShortLock(const VnShortLock&) = delete;
    VnShortLock& operator=(const VnShortLock&) = delete;

private:
    VnCriticalSection* Section; ///< null when it was not locked
};
