#pragma once

#include <atomic>
#include <cstdint>

/// Stop watch on the system's wall clock, so that a change of the clock shows up in durations. Any
/// thread may read and reset it.
class VnTimer {
public:
    /// Starts now.
    VnTimer() : StartNS(GetNowNS()) {}
    virtual ~VnTimer() = default;

    /// Starts anew.
    virtual void Reset();

    /// Nanoseconds since the start; with `reset` the start moves to now.
    virtual int64_t GetElapsedNS(bool reset = false);

    /// Milliseconds since the start, with their fraction; with `reset` the start moves to now.
    virtual double GetElapsedMS(bool reset = false);

    /// Milliseconds of the wall clock since 1970, to the microsecond.
    virtual double GetNowMS() const;

    /// Nanoseconds of the wall clock since 1970.
    static int64_t GetNowNS();

private:
    std::atomic<int64_t> StartNS; ///< wall clock at the start
};

/// Milliseconds of the wall clock since 1970.
int64_t VnGetCurrentMS();

/// Sleeps for `milliseconds`, signals or not; 0 or less returns at once.
void VnSleep(int32_t milliseconds);
