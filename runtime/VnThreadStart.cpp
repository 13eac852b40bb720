#include "runtime/VnThread.h"

#include "runtime/VnLog.h"

#include <pthread.h>
#include <sched.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>

namespace {

/// Nice values of a priority, by whether the process may raise priorities.
struct CNiceLevel {
    int32_t Priority;
    int32_t NiceWithRight;
    int32_t NiceWithout;
};

constexpr CNiceLevel kNiceLevels[] = {
    {VnThread::kPriorityLowest, 18, 17},  {VnThread::kPriorityBelowNormal, 10, 15},
    {VnThread::kPriorityNormal, 0, 10},   {VnThread::kPriorityAboveNormal, -10, 5},
    {VnThread::kPriorityHighest, -17, 2}, {VnThread::kPriorityTimeCritical, -19, 0},
};
constexpr CNiceLevel kOtherLevel = {0, 0, 10};

/// Nice value that only a process with the right to raise priorities can set.
constexpr int32_t kProbeNice = -19;

const CNiceLevel& GetNiceLevel(int32_t priority) {
    for (const CNiceLevel& level : kNiceLevels) {
        if (level.Priority == priority) {
            return level;
        }
    }
    return kOtherLevel;
}

/// Finds out by trying, and restores the old nice value.
bool MayRaisePriority(id_t thread) {
    errno = 0;
    const int32_t oldNice = getpriority(PRIO_PROCESS, thread);
    if (oldNice == -1 && errno != 0) {
        return false;
    }
    if (setpriority(PRIO_PROCESS, thread, kProbeNice) != 0) {
        return false;
    }
    setpriority(PRIO_PROCESS, thread, oldNice);
    return true;
}

/// Thread attributes that are destroyed with their scope: detached, with default scheduling.
class CThreadAttributes {
public:
    CThreadAttributes() {
        pthread_attr_init(&Attributes);
        pthread_attr_setdetachstate(&Attributes, PTHREAD_CREATE_DETACHED);
    }
    ~CThreadAttributes() { pthread_attr_destroy(&Attributes); }
    CThreadAttributes(const CThreadAttributes&) = delete;
    CThreadAttributes& operator=(const CThreadAttributes&) = delete;

    void SetPriority(int32_t priority) {
        sched_param parameters{};
        int policy = SCHED_OTHER;
        if (priority == VnThread::kPriorityIdle) {
            policy = SCHED_BATCH;
        } else if (priority == VnThread::kPriorityTimeCritical) {
            policy = SCHED_RR;
            parameters.sched_priority = 1;
        }
        pthread_attr_setinheritsched(&Attributes, PTHREAD_EXPLICIT_SCHED);
        pthread_attr_setschedpolicy(&Attributes, policy);
        pthread_attr_setschedparam(&Attributes, &parameters);
    }

    const pthread_attr_t& Get() const { return Attributes; }

private:
    pthread_attr_t Attributes;
};

} // namespace

bool VnThread::StartThread(int32_t priority) {
    const CThreadAttributes plain;
    CThreadAttributes preferred;
    preferred.SetPriority(priority);
    if (CreateThread(preferred.Get(), plain.Get())) {
        return true;
    }
    VnLog(kLogGeneral, L"VnThread::StartThread", L"Error creating thread!");
    return false;
}

bool VnThread::CreateThread(const pthread_attr_t& preferred, const pthread_attr_t& plain) {
    // The new thread passes through the lock first, so it finds its handle stored.
    const VnCriticalSectionLock guard(Lock);
    pthread_t handle{};
    const bool made = pthread_create(&handle, &preferred, EnterThread, this) == 0
                      || pthread_create(&handle, &plain, EnterThread, this) == 0;
    Handle.store(made ? handle : pthread_t{});
    return made;
}

void* VnThread::EnterThread(void* thread) {
    // From the return of RunOnThread on, the object may be gone.
    static_cast<VnThread*>(thread)->RunOnThread()();
    return nullptr;
}

VnThread::ExitFunction VnThread::RunOnThread() {
    { const VnCriticalSectionLock guard(Lock); }
    const ExitFunction exitFunction = GetExitFunction();
    SetPriority(LastPriority.load());
    const bool result = Run();
    pthread_t self = pthread_self();
    if (Handle.load() == self) {
        Result.store(result);
    }
    OnThreadExit();
    // An abandoned thread must not clear the handle of the one that was started in its place.
    Handle.compare_exchange_strong(self, pthread_t{});
    return exitFunction;
}

bool VnThread::SetPriority(int32_t priority) {
    if (priority == kPriorityIdle) {
        const sched_param parameters{};
        pthread_setschedparam(pthread_self(), SCHED_BATCH, &parameters);
        return false;
    }
    const auto thread = static_cast<id_t>(syscall(SYS_gettid));
    const CNiceLevel& level = GetNiceLevel(priority);
    const int32_t nice = MayRaisePriority(thread) ? level.NiceWithRight : level.NiceWithout;
    return setpriority(PRIO_PROCESS, thread, nice) == 0;
}
