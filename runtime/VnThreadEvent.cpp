#include "runtime/VnThreadEvent.h"

#include <sys/time.h>

#include <cerrno>
#include <ctime>

namespace {

/// The wall clock in `milliseconds` from now, as pthread_cond_timedwait wants it.
timespec GetDeadline(int32_t milliseconds) {
    constexpr int64_t kLargestNS = 999999999;
    timeval now{};
    gettimeofday(&now, nullptr);
    int64_t nanoseconds = static_cast<int64_t>(now.tv_usec) * 1000
                          + static_cast<int64_t>(milliseconds % 1000) * 1000000;
    int64_t seconds = static_cast<int64_t>(now.tv_sec) + milliseconds / 1000;
    if (nanoseconds > kLargestNS) {
        nanoseconds -= kLargestNS + 1;
        ++seconds;
    }
    timespec deadline{};
    deadline.tv_sec = seconds;
    deadline.tv_nsec = nanoseconds;
    return deadline;
}

} // namespace

VnThreadEvent::VnThreadEvent(bool autoReset) : AutoReset(autoReset) {
    pthread_mutex_init(&Mutex, nullptr);
    pthread_cond_init(&Condition, nullptr);
}

VnThreadEvent::~VnThreadEvent() {
    pthread_cond_destroy(&Condition);
    pthread_mutex_destroy(&Mutex);
}

void VnThreadEvent::SetSignalled(bool signalled) {
    pthread_mutex_lock(&Mutex);
    Signalled = signalled;
    if (signalled) {
        pthread_cond_broadcast(&Condition);
    }
    pthread_mutex_unlock(&Mutex);
}

bool VnThreadEvent::IsSignalled() const {
    pthread_mutex_lock(&Mutex);
    const bool signalled = Signalled;
    pthread_mutex_unlock(&Mutex);
    return signalled;
}

bool VnThreadEvent::Wait(int32_t timeout) {
    pthread_mutex_lock(&Mutex);
    if (timeout < 0) {
        while (!Signalled) {
            pthread_cond_wait(&Condition, &Mutex);
        }
    } else {
        const timespec deadline = GetDeadline(timeout);
        int32_t error = 0;
        while (!Signalled && error == 0) {
            error = pthread_cond_timedwait(&Condition, &Mutex, &deadline);
        }
    }
    const bool signalled = Signalled;
    if (AutoReset) {
        Signalled = false;
    }
    pthread_mutex_unlock(&Mutex);
    return signalled;
}
