#pragma once

#include "runtime/IMainThreadMessageManager.h"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <vector>

/// The queue of messages for the main thread. A callback may post, purge, forget or pump in its
/// turn.
class CMainThreadMessages final : public IMainThreadMessageManager {
public:
    CMainThreadMessages();

    bool
    Post(IMainThreadMessageManagerCallback* target, int32_t message, int64_t parameter) override;
    void Purge(IMainThreadMessageManagerCallback* target) override;
    void Forget(IMainThreadMessageManagerCallback* target) override;
    int32_t Pump() override;
    int32_t GetEventDescriptor() override { return Descriptor; }

    /// Drops what is pending and, while closed, refuses more.
    void SetClosed(bool closed);

private:
    struct Message {
        IMainThreadMessageManagerCallback* Target;
        int32_t Id;
        int64_t Parameter;
    };
    struct Delivery {
        IMainThreadMessageManagerCallback* Target = nullptr;
        std::thread::id Thread;
    };

    void Drop(IMainThreadMessageManagerCallback* target);
    void EndDelivery();
    void Raise() const;
    void Lower() const;
    bool IsDeliveredElsewhere(const IMainThreadMessageManagerCallback* target) const;

    std::mutex Lock; ///< guards all below
    std::condition_variable Delivered;
    std::deque<Message> Queue;
    std::vector<Delivery> Running; ///< deliveries under way, the innermost last
    bool Closed = false;
    const int Descriptor; ///< eventfd; lives as long as the process
};
