#pragma once

#include <pthread.h>

#include <cstdint>

/// Flag that threads can wait for. Any thread may call.
class VnThreadEvent {
public:
    /// Not signalled; with `autoReset` a wait that ends takes the signal back.
    explicit VnThreadEvent(bool autoReset = false);
    ~VnThreadEvent();
    VnThreadEvent(const VnThreadEvent&) = delete;
    VnThreadEvent& operator=(const VnThreadEvent&) = delete;

    /// Sets the signal and wakes all that wait, or takes it back.
    void SetSignalled(bool signalled);

    bool IsSignalled() const;

    /// Waits for the signal, `timeout` milliseconds at most; below 0 for as long as it takes. True
    /// when the signal came, false when the time ran out. Auto-reset clears the signal in either
    /// case.
    bool Wait(int32_t timeout);

private:
    mutable pthread_mutex_t Mutex;
    pthread_cond_t Condition;
    bool Signalled = false; ///< guarded by Mutex
    bool AutoReset;         ///< a wait clears Signalled
};
