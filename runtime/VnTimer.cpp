#include "runtime/VnTimer.h"

#include <sys/time.h>

#include <cerrno>
#include <ctime>

namespace {

constexpr int64_t kNSPerSecond = 1000000000;
constexpr int64_t kNSPerMS = 1000000;

} // namespace

void VnTimer::Reset() {
    StartNS.store(GetNowNS());
}

int64_t VnTimer::GetElapsedNS(bool reset) {
    const int64_t now = GetNowNS();
    return now - (reset ? StartNS.exchange(now) : StartNS.load());
}

double VnTimer::GetElapsedMS(bool reset) {
    return static_cast<double>(GetElapsedNS(reset)) / 1000000.0;
}

double VnTimer::GetNowMS() const {
    timeval now{};
    gettimeofday(&now, nullptr);
    return static_cast<double>(now.tv_sec) * 1000.0 + static_cast<double>(now.tv_usec) / 1000.0;
}

int64_t VnTimer::GetNowNS() {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    return static_cast<int64_t>(now.tv_sec) * kNSPerSecond + now.tv_nsec;
}

int64_t VnGetCurrentMS() {
    return VnTimer::GetNowNS() / kNSPerMS;
}

void VnSleep(int32_t milliseconds) {
    if (milliseconds <= 0) {
        return;
    }
    timespec rest{};
    rest.tv_sec = milliseconds / 1000;
    rest.tv_nsec = milliseconds % 1000 * kNSPerMS;
    while (nanosleep(&rest, &rest) != 0 && errno == EINTR) {
    }
}
