#pragma once

#include <cstdint>

/// Receiver of main-thread messages.
class IMainThreadMessageManagerCallback {
public:
    /// Slot 0. Called on the main thread, from IMainThreadMessageManager::Pump.
    virtual int64_t OnMainThreadMessage(int32_t message, int64_t parameter) = 0;

protected:
    ~IMainThreadMessageManagerCallback() = default;
};

/// Queue of messages that the main thread works off. Any thread may post; only the main thread
/// pumps.
class IMainThreadMessageManager {
public:
    /// Slot 0. Queues a message; false without a target, or when the queue is closed.
    virtual bool
    Post(IMainThreadMessageManagerCallback* target, int32_t message, int64_t parameter) = 0;
    /// Slot 1. Drops what is pending for the target.
    virtual void Purge(IMainThreadMessageManagerCallback* target) = 0;
    /// Slot 2. Drops what is pending, and waits for a delivery to the target that runs on another
    /// thread.
    virtual void Forget(IMainThreadMessageManagerCallback* target) = 0;
    /// Slot 3. Delivers what is pending; the number delivered.
    virtual int32_t Pump() = 0;
    /// Slot 4. An eventfd that is readable while messages are pending; owned by the manager.
    virtual int32_t GetEventDescriptor() = 0;

protected:
    ~IMainThreadMessageManager() = default;
};
