#include "runtime/VnThread.h"

#include "runtime/VnThreadEvent.h"
#include "runtime/VnTimer.h"
#include "tests/support/FakeTools.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sched.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <functional>
#include <string>
#include <utility>

extern "C" {
int __real_setpriority(int which, id_t who, int priority);
int __real_pthread_create(pthread_t* thread,
                          const pthread_attr_t* attributes,
                          void* (*entry)(void*),
                          void* data);

/// Whether the process may raise priorities, and the nice value that was asked for last.
std::atomic<bool> MayRaise{false};
std::atomic<int> LastNice{99};
/// Creations of threads that fail from now on.
std::atomic<int> FailingCreations{0};

int __wrap_setpriority(int /*which*/, id_t /*who*/, int priority) {
    const bool allowed = priority >= 0 || MayRaise.load();
    LastNice.store(priority);
    errno = allowed ? 0 : EACCES;
    return allowed ? 0 : -1;
}

int __wrap_pthread_create(pthread_t* thread,
                          const pthread_attr_t* attributes,
                          void* (*entry)(void*),
                          void* data) {
    if (FailingCreations.load() > 0) {
        FailingCreations.fetch_sub(1);
        return EAGAIN;
    }
    return __real_pthread_create(thread, attributes, entry, data);
}
}

namespace {

using testing::ElementsAre;
using testing::MatchesRegex;

/// A thread whose body is a function.
class CWorker : public VnThread {
public:
    explicit CWorker(std::function<bool(CWorker&)> body) : Body(std::move(body)) {}
    ~CWorker() override { Stop(kForever); }
    bool CanForceStop() override { return ForceAllowed.load(); }

    std::atomic<bool> ForceAllowed{true};
    std::atomic<bool> StartAllowed{true};
    std::atomic<int> Exits{0};

protected:
    bool Run() override { return Body(*this); }
    bool OnBeforeStart() override { return StartAllowed.load(); }
    void OnThreadExit() override { ++Exits; }
    int64_t HandleMainThreadMessage(int32_t message, int64_t parameter) override {
        return message + parameter;
    }

private:
    std::function<bool(CWorker&)> Body;
};

bool WaitForStop(CWorker& worker) {
    while (!worker.IsStopRequested()) {
        worker.Wait(VnThread::kForever);
    }
    return true;
}

TEST(VnThreadLife, DoesNothingBeforeTheFirstStart) {
    FakeTools tools;
    VnThread thread;
    EXPECT_TRUE(thread.Stop(0));
    EXPECT_FALSE(thread.IsStopRequested());
    EXPECT_FALSE(thread.IsRunning());
    EXPECT_EQ(thread.GetHandleValue(), 0U);
    EXPECT_EQ(tools.Messages.Calls, "");
    thread.Wait(VnThread::kForever);
    thread.WaitIfRunning(VnThread::kForever);
    thread.PollIfRunning(VnThread::kForever);
    thread.WaitUntilDone();
}

TEST(VnThreadLife, StartsOnceAndRestartsOnRequest) {
    CWorker worker(WaitForStop);
    EXPECT_TRUE(worker.Start());
    EXPECT_TRUE(worker.IsRunning());
    pthread_t handle{};
    worker.GetHandle(handle);
    EXPECT_EQ(static_cast<uintptr_t>(handle), worker.GetHandleValue());
    EXPECT_TRUE(worker.Start(VnThread::kPriorityLowest));
    EXPECT_EQ(worker.GetStartCount(), 1);
    EXPECT_EQ(worker.GetPriority(), VnThread::kPriorityLowest);
    EXPECT_TRUE(worker.Start(VnThread::kPriorityNormal, /*forceRestart=*/true));
    EXPECT_EQ(worker.GetStartCount(), 2);
    EXPECT_EQ(worker.Exits.load(), 1);
    EXPECT_FALSE(worker.IsStopRequested());
    EXPECT_TRUE(worker.Stop());
    EXPECT_FALSE(worker.IsRunning());
    EXPECT_EQ(worker.Exits.load(), 2);
}

TEST(VnThreadLife, GivesTheResultOfItsBodyOnce) {
    for (const bool result : {true, false}) {
        CWorker worker([result](CWorker&) { return result; });
        ASSERT_TRUE(worker.Start());
        worker.WaitUntilDone();
        EXPECT_EQ(worker.GetResult(), result);
        EXPECT_EQ(worker.Stop(), result);
        EXPECT_FALSE(worker.GetResult());
    }
}

TEST(VnThreadLife, StartsOverAndOver) {
    std::atomic<int> runs{0};
    CWorker worker([&](CWorker&) { return ++runs > 0; });
    worker.SetStopPoll(1);
    for (int round = 0; round < 200; ++round) {
        ASSERT_TRUE(worker.Start());
        ASSERT_TRUE(worker.Stop());
    }
    EXPECT_EQ(runs.load(), 200);
    EXPECT_EQ(worker.Exits.load(), 200);
}

TEST(VnThreadLife, FallsBackToPlainAttributesAndReportsFailure) {
    FakeTools tools;
    CWorker worker(WaitForStop);
    worker.StartAllowed = false;
    EXPECT_FALSE(worker.Start());
    EXPECT_EQ(worker.GetStartCount(), 0);
    EXPECT_FALSE(worker.IsRunning());
    worker.StartAllowed = true;
    FailingCreations = 1;
    EXPECT_TRUE(worker.Start());
    EXPECT_TRUE(worker.Stop());
    EXPECT_TRUE(tools.Log.Lines.empty());
    FailingCreations = 2;
    EXPECT_FALSE(worker.Start());
    EXPECT_FALSE(worker.IsRunning());
    EXPECT_EQ(worker.GetStartCount(), 1);
    EXPECT_THAT(tools.Log.Lines, ElementsAre("1|VnThread::StartThread|Error creating thread!|0"));
}

TEST(VnThreadStop, AbandonsAThreadThatExceedsItsTime) {
    FakeTools tools;
    static std::atomic<int> bodies{0};
    static std::atomic<bool> releaseFirst{false};
    // Kept for good: nobody can tell when an abandoned thread has let go of its object.
    static auto* const worker = new CWorker([](CWorker& self) {
        if (bodies.fetch_add(1) == 0) {
            while (!releaseFirst) {
                VnSleep(1);
            }
            return false;
        }
        return WaitForStop(self);
    });
    ASSERT_TRUE(worker->Start());
    while (bodies.load() == 0) {
        VnSleep(1);
    }
    testing::internal::CaptureStderr();
    EXPECT_FALSE(worker->Stop(0));
    const std::string printed = testing::internal::GetCapturedStderr();
    EXPECT_FALSE(worker->IsRunning());
    EXPECT_EQ(worker->Exits.load(), 0) << "the thread had ended";
    EXPECT_THAT(printed, MatchesRegex("Hard killing thread \\(handle=[0-9a-f]+\\), it exceeded "
                                      "timeout=0 MS\n"));
    EXPECT_THAT(tools.Log.Lines,
                ElementsAre(MatchesRegex("1\\|VnThread::Stop\\|Hard killing thread "
                                         "\\(handle=[0-9a-f]+\\), it exceeded timeout=0 MS\\|4")));

    ASSERT_TRUE(worker->Start());
    const uintptr_t successor = worker->GetHandleValue();
    releaseFirst = true;
    while (worker->Exits.load() == 0) {
        VnSleep(1);
    }
    VnSleep(20);
    EXPECT_EQ(worker->GetHandleValue(), successor) << "the end of the abandoned one counted";
    EXPECT_TRUE(worker->Stop());
}

TEST(VnThreadStop, WaitsOnForAThreadThatMustNotBeAbandoned) {
    FakeTools tools;
    CWorker worker([](CWorker&) {
        VnSleep(80);
        return true;
    });
    worker.ForceAllowed = false;
    worker.SetStopTimeout(1);
    worker.SetStopPoll(5);
    ASSERT_TRUE(worker.Start());
    EXPECT_TRUE(worker.Stop(VnThread::kForever));
    EXPECT_TRUE(tools.Log.Lines.empty());
}

TEST(VnThreadStop, TellsTheMessageQueue) {
    for (const bool purge : {true, false}) {
        FakeTools tools;
        CWorker worker(WaitForStop);
        worker.SetPurgeOnStop(purge);
        ASSERT_TRUE(worker.Start());
        worker.Stop();
        // Start stops what may run first, but there nothing ever ran.
        EXPECT_EQ(tools.Messages.Calls, purge ? "purge forget " : "forget ");
    }
}

TEST(VnThreadMessages, ReachTheDerivedClass) {
    CWorker worker(WaitForStop);
    EXPECT_FALSE(worker.PostMainThreadMessage(1, 2)) << "posted without a queue";
    FakeTools tools;
    EXPECT_TRUE(worker.PostMainThreadMessage(40, 2));
    EXPECT_EQ(tools.Messages.LastResult, 42);
}

TEST(VnThreadWait, EndsForEachOfItsReasons) {
    VnThreadEvent other;
    struct {
        const char* Name;
        bool FromOutside;
        bool WithOther;
        bool ByStopFlag;
    } constexpr kRows[] = {
        {"stop flag, on the thread", false, false, true},
        {"stop flag, with another event", false, true, true},
        {"other event", false, true, false},
        {"other event, from outside", true, true, false},
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.Name);
        other.SetSignalled(false);
        std::atomic<bool> woken{false};
        VnThreadEvent* event = row.WithOther ? &other : nullptr;
        CWorker worker([&](CWorker& self) {
            if (row.FromOutside) {
                return WaitForStop(self);
            }
            self.Wait(VnThread::kForever, event);
            woken = true;
            return true;
        });
        ASSERT_TRUE(worker.Start());
        VnSleep(30);
        EXPECT_FALSE(woken);
        if (row.ByStopFlag) {
            worker.SetStopFlag(true);
        } else {
            other.SetSignalled(true);
        }
        if (row.FromOutside) {
            worker.Wait(VnThread::kForever, event);
        } else {
            worker.WaitUntilDone();
            EXPECT_TRUE(woken);
        }
    }
}

TEST(VnThreadWait, EndsWithTheTimeOrTheThread) {
    std::atomic<double> waited{0};
    CWorker worker([&](CWorker& self) {
        VnTimer timer;
        self.Wait(1030);
        waited = timer.GetElapsedMS();
        return true;
    });
    ASSERT_TRUE(worker.Start());
    VnTimer timer;
    worker.PollIfRunning(40);
    EXPECT_GE(timer.GetElapsedMS(), 40.0);
    EXPECT_TRUE(worker.IsRunning());
    worker.WaitIfRunning(VnThread::kForever);
    EXPECT_FALSE(worker.IsRunning());
    // More than a second: the deadline carries into the seconds.
    EXPECT_GE(waited.load(), 1029.0);
    EXPECT_LT(waited.load(), 10000.0);
}

TEST(VnThreadEvent, AutoResetTakesTheSignalBack) {
    for (const bool autoReset : {false, true}) {
        VnThreadEvent event(autoReset);
        EXPECT_FALSE(event.Wait(5));
        event.SetSignalled(true);
        EXPECT_TRUE(event.Wait(VnThread::kForever));
        EXPECT_EQ(event.IsSignalled(), !autoReset);
        event.SetSignalled(false);
        EXPECT_FALSE(event.IsSignalled());
    }
}

TEST(VnThreadPriority, SetsTheNiceValueOfItsLevel) {
    struct {
        int32_t Priority;
        int NiceWithRight;
        int NiceWithout;
    } constexpr kRows[] = {
        {VnThread::kPriorityLowest, 18, 17},
        {VnThread::kPriorityBelowNormal, 10, 15},
        {VnThread::kPriorityNormal, 0, 10},
        {VnThread::kPriorityAboveNormal, -10, 5},
        {VnThread::kPriorityHighest, -17, 2},
        {VnThread::kPriorityTimeCritical, -19, 0},
        {7, 0, 10},
    };
    for (const bool mayRaise : {false, true}) {
        MayRaise = mayRaise;
        for (const auto& row : kRows) {
            VnThread thread;
            EXPECT_TRUE(thread.SetPriority(row.Priority));
            EXPECT_EQ(LastNice.load(), mayRaise ? row.NiceWithRight : row.NiceWithout)
                << row.Priority;
        }
    }
    MayRaise = false;
}

TEST(VnThreadPriority, RunsIdleWorkAsBatch) {
    std::atomic<int> policy{-1};
    std::atomic<bool> result{true};
    CWorker worker([&](CWorker& self) {
        LastNice = 99;
        result = self.SetPriority(VnThread::kPriorityIdle);
        policy = sched_getscheduler(0);
        return true;
    });
    ASSERT_TRUE(worker.Start(VnThread::kPriorityIdle));
    worker.WaitUntilDone();
    EXPECT_EQ(policy.load(), SCHED_BATCH);
    EXPECT_FALSE(result);
    EXPECT_EQ(LastNice.load(), 99) << "the nice value was touched";
}

} // namespace
