#include "runtime/VnThread.h"

#include "runtime/IVnToolsRoot.h"
#include "runtime/VnLog.h"
#include "runtime/VnSiblingModules.h"
#include "runtime/VnThreadEvent.h"
#include "runtime/VnTimer.h"

#include <cstdio>
#include <utility>

namespace {

constexpr int32_t kDoneSleepMS = 10;
constexpr int32_t kWaitPollMS = 10;
constexpr int32_t kIdleBodySleepMS = 100;

/// The queue of main-thread messages; null without the tools module, which isn't loaded for it.
IMainThreadMessageManager* GetMessageManager(bool create) {
    IVnToolsRoot* tools = VnGetToolsRoot(/*load=*/false);
    return tools == nullptr ? nullptr : tools->GetMainThreadMessageManager(create ? 1 : 0);
}

} // namespace

VnThread::VnThread() = default;

VnThread::~VnThread() {
    // Qualified: whatever a derived class made of Stop is gone.
    VnThread::Stop(kForever);
}

int64_t VnThread::OnMainThreadMessage(int32_t message, int64_t parameter) {
    return HandleMainThreadMessage(message, parameter);
}

bool VnThread::Start(int32_t priority, bool forceRestart) {
    LastPriority.store(priority);
    if (IsRunning() && !forceRestart) {
        return true;
    }
    Stop(kForever);
    SetStopFlag(false);
    if (!OnBeforeStart()) {
        return false;
    }
    SetEvent(std::make_shared<VnThreadEvent>(/*autoReset=*/false));
    if (!StartThread(priority)) {
        return false;
    }
    StartCount.fetch_add(1);
    return true;
}

bool VnThread::Stop(int32_t timeout) {
    if (StartCount.load() < 1) {
        return true;
    }
    if (!StopFlag.load() || GetEvent() == nullptr) {
        SetStopFlag(true);
    }
    if (timeout == kForever) {
        timeout = StopTimeout;
    }
    const int64_t started = VnGetCurrentMS();
    while (IsRunning()) {
        if (timeout >= 0 && VnGetCurrentMS() - started > timeout && CanForceStop()) {
            AbandonThread(timeout);
        } else {
            VnSleep(StopPoll);
        }
    }
    if (PurgeOnStop) {
        PurgeMainThreadMessages();
    }
    if (IMainThreadMessageManager* manager = GetMessageManager(/*create=*/false)) {
        manager->Forget(this);
    }
    SetEvent(nullptr);
    Handle.store(pthread_t{});
    return Result.exchange(false);
}

bool VnThread::SetStopFlag(bool stop) {
    StopFlag.store(stop);
    if (const auto event = GetEvent()) {
        event->SetSignalled(stop);
    }
    return true;
}

void VnThread::PurgeMainThreadMessages() {
    if (IMainThreadMessageManager* manager = GetMessageManager(/*create=*/false)) {
        manager->Purge(this);
    }
}

bool VnThread::IsRunning() const {
    return Handle.load() != pthread_t{};
}

void VnThread::WaitUntilDone() {
    while (IsRunning()) {
        VnSleep(kDoneSleepMS);
    }
}

void VnThread::Wait(int32_t timeout, VnThreadEvent* otherEvent) {
    if (!IsRunning()) {
        return;
    }
    const auto event = GetEvent();
    if (otherEvent == nullptr && event != nullptr
        && pthread_equal(pthread_self(), Handle.load()) != 0) {
        event->Wait(timeout);
    } else {
        PollUntilWoken(timeout, otherEvent);
    }
}

void VnThread::PollUntilWoken(int32_t timeout, const VnThreadEvent* otherEvent) const {
    VnTimer timer;
    for (;;) {
        if (timeout >= 0 && timer.GetElapsedMS() >= timeout) {
            return;
        }
        if (IsStopRequested() || !IsRunning()) {
            return;
        }
        if (otherEvent != nullptr && otherEvent->IsSignalled()) {
            return;
        }
        VnSleep(kWaitPollMS);
    }
}

void VnThread::WaitIfRunning(int32_t timeout, VnThreadEvent* otherEvent) {
    if (IsRunning()) {
        Wait(timeout, otherEvent);
    }
}

void VnThread::PollIfRunning(int32_t timeout) {
    if (IsRunning()) {
        Wait(timeout, nullptr);
    }
}

bool VnThread::GetResult() const {
    return Result.load();
}

uintptr_t VnThread::GetHandleValue() const {
    return static_cast<uintptr_t>(Handle.load());
}

void VnThread::GetHandle(pthread_t& handle) const {
    handle = Handle.load();
}

bool VnThread::IsStopRequested() const {
    return StopFlag.load();
}

bool VnThread::HasPendingWork() const {
    return false;
}

bool VnThread::CanForceStop() {
    return true;
}

int32_t VnThread::GetStartCount() const {
    return StartCount.load();
}

void VnThread::SetStopTimeout(int32_t milliseconds) {
    StopTimeout = milliseconds;
}

void VnThread::SetFirstOption(bool option) {
    FirstOption = option;
}

void VnThread::SetStopPoll(int32_t milliseconds) {
    StopPoll = milliseconds;
}

void VnThread::SetPurgeOnStop(bool purge) {
    PurgeOnStop = purge;
}

void VnThread::SetSecondOption(bool option) {
    SecondOption = option;
}

bool VnThread::PostMainThreadMessage(int32_t message, int64_t parameter) {
    IMainThreadMessageManager* manager = GetMessageManager(/*create=*/true);
    return manager != nullptr && manager->Post(this, message, parameter);
}

bool VnThread::Run() {
    while (!IsStopRequested()) {
        VnSleep(kIdleBodySleepMS);
    }
    return true;
}

int64_t VnThread::HandleMainThreadMessage(int32_t /*message*/, int64_t /*parameter*/) {
    return 0;
}

bool VnThread::OnBeforeStart() {
    return true;
}

void VnThread::OnThreadExit() {
}

VnThread::ExitFunction VnThread::GetExitFunction() {
    return [] { pthread_exit(nullptr); };
}

void VnThread::AbandonThread(int32_t timeout) {
    const uintptr_t handle = GetHandleValue();
    VnLog(kLogGeneral, L"VnThread::Stop",
          L"Hard killing thread (handle=%x), it exceeded timeout=%d MS", handle, timeout);
    std::fprintf(stderr, "Hard killing thread (handle=%lx), it exceeded timeout=%d MS\n",
                 static_cast<unsigned long>(handle), timeout);
    Handle.store(pthread_t{});
}

std::shared_ptr<VnThreadEvent> VnThread::GetEvent() const {
    const VnCriticalSectionLock guard(Lock);
    return Event;
}

void VnThread::SetEvent(std::shared_ptr<VnThreadEvent> event) {
    const VnCriticalSectionLock guard(Lock);
    Event.swap(event);
}
