#include "modules/tools/CMainThreadMessages.h"

#include <sys/eventfd.h>

#include <algorithm>

CMainThreadMessages::CMainThreadMessages() : Descriptor(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
}

void CMainThreadMessages::Raise() const {
    // Fails only when the counter is full, and then the descriptor is readable anyway.
    ::eventfd_write(Descriptor, 1);
}

void CMainThreadMessages::Lower() const {
    eventfd_t count = 0;
    ::eventfd_read(Descriptor, &count);
}

bool CMainThreadMessages::Post(IMainThreadMessageManagerCallback* target,
                               int32_t message,
                               int64_t parameter) {
    const std::lock_guard<std::mutex> guard(Lock);
    if (target == nullptr || Closed) {
        return false;
    }
    Queue.push_back({target, message, parameter});
    Raise();
    return true;
}

void CMainThreadMessages::Drop(IMainThreadMessageManagerCallback* target) {
    std::erase_if(Queue, [target](const Message& message) { return message.Target == target; });
    if (Queue.empty()) {
        Lower();
    }
}

void CMainThreadMessages::Purge(IMainThreadMessageManagerCallback* target) {
    const std::lock_guard<std::mutex> guard(Lock);
    Drop(target);
}

bool CMainThreadMessages::IsDeliveredElsewhere(
    const IMainThreadMessageManagerCallback* target) const {
    return std::any_of(Running.begin(), Running.end(), [target](const Delivery& delivery) {
        return delivery.Target == target && delivery.Thread != std::this_thread::get_id();
    });
}

void CMainThreadMessages::Forget(IMainThreadMessageManagerCallback* target) {
    std::unique_lock<std::mutex> guard(Lock);
    Drop(target);
    Delivered.wait(guard, [this, target] { return !IsDeliveredElsewhere(target); });
}

/// Strikes out the innermost delivery of this thread.
void CMainThreadMessages::EndDelivery() {
    const auto own = std::find_if(Running.rbegin(), Running.rend(), [](const Delivery& delivery) {
        return delivery.Thread == std::this_thread::get_id();
    });
    Running.erase(std::next(own).base());
    Delivered.notify_all();
}

int32_t CMainThreadMessages::Pump() {
    std::unique_lock<std::mutex> guard(Lock);
    // What a callback posts waits for the next call, so that two parties that answer each other
    // can't keep the main thread here for ever.
    int32_t delivered = 0;
    for (size_t left = Queue.size(); left > 0 && !Queue.empty(); left--) {
        const Message message = Queue.front();
        Running.push_back({message.Target, std::this_thread::get_id()});
        Queue.pop_front();
        guard.unlock();
        try {
            message.Target->OnMainThreadMessage(message.Id, message.Parameter);
        } catch (...) {
            guard.lock();
            EndDelivery(); // or whoever forgets the target would wait for ever
            throw;
        }
        guard.lock();
        EndDelivery();
        delivered++;
    }
    if (Queue.empty()) {
        Lower();
    }
    return delivered;
}

void CMainThreadMessages::SetClosed(bool closed) {
    const std::lock_guard<std::mutex> guard(Lock);
    Closed = closed;
    if (closed) {
        Queue.clear();
        Lower();
    }
}
