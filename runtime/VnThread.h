#pragma once

#include "runtime/IMainThreadMessageManager.h"
#include "runtime/VnCriticalSection.h"

#include <pthread.h>

#include <atomic>
#include <cstdint>
#include <memory>

class VnThreadEvent;

/// Base of a worker: a detached POSIX thread with a stop flag, a wake event and a timed stop.
///
/// A derived class overrides Run, leaves it when IsStopRequested, and sleeps in Wait, which a stop
/// request ends at once. It calls Stop in its own destructor, since the base's comes too late for
/// its members. One owner starts and stops the thread; the state may be asked from any thread. Stop
/// must not be called on the thread itself: it would wait for its own end. A thread that ended can
/// be started again.
class VnThread : public IMainThreadMessageManagerCallback {
public:
    /// Priorities of Start. Other values run at the level of kPriorityNormal.
    enum Priority : int32_t {
        kPriorityIdle = -15,        ///< batch scheduling
        kPriorityLowest = -2,       ///< nice 18, or 17 without the right to raise priorities
        kPriorityBelowNormal = -1,  ///< nice 10 or 15
        kPriorityNormal = 0,        ///< nice 0 or 10
        kPriorityAboveNormal = 1,   ///< nice -10 or 5
        kPriorityHighest = 2,       ///< nice -17 or 2
        kPriorityTimeCritical = 15, ///< nice -19 or 0, round-robin scheduling where allowed
    };

    /// Timeout that waits for as long as it takes.
    static constexpr int32_t kForever = -1;

    VnThread();
    VnThread(const VnThread&) = delete;
    VnThread& operator=(const VnThread&) = delete;

    /// Called on the main thread for what PostMainThreadMessage posted; hands on to
    /// HandleMainThreadMessage.
    int64_t OnMainThreadMessage(int32_t message, int64_t parameter) override;

    /// Stops the thread, waiting for as long as it takes.
    virtual ~VnThread();

    /// Starts the thread. One that runs is left alone, which counts as success, or, with
    /// `forceRestart`, stopped first. False when OnBeforeStart refuses or no thread can be made.
    virtual bool Start(int32_t priority = kPriorityNormal, bool forceRestart = false);

    /// Requests the end and waits for it, `timeout` milliseconds at most; -1 takes the value of
    /// SetStopTimeout. When the time is up and CanForceStop agrees, the thread is abandoned: it
    /// runs on, but nobody waits for it any more. Returns what Run gave, or true when nothing ever
    /// ran.
    virtual bool Stop(int32_t timeout = kForever);

    /// Sets or clears the request to stop; setting it wakes a thread that sleeps in Wait. Always
    /// true.
    virtual bool SetStopFlag(bool stop);

    /// Drops the main-thread messages that are still pending for this thread.
    virtual void PurgeMainThreadMessages();

    /// Sets the nice value of the calling thread by `priority`; runs on the thread itself. False
    /// when the system refused, and always for kPriorityIdle, which changes the scheduling policy
    /// instead.
    virtual bool SetPriority(int32_t priority);

    virtual bool IsRunning() const;

    /// Waits until the thread has ended by itself.
    virtual void WaitUntilDone();

    /// Sleeps until a stop is requested, the thread ends, `otherEvent` (may be null) is signalled
    /// or `timeout` milliseconds (-1: no limit) have passed. On the thread itself and without
    /// another event this wakes at once, otherwise within 10 ms. Does nothing unless the thread
    /// runs.
    virtual void Wait(int32_t timeout, VnThreadEvent* otherEvent = nullptr);

    /// Wait, unless the thread doesn't run.
    virtual void WaitIfRunning(int32_t timeout, VnThreadEvent* otherEvent = nullptr);

    /// Wait without another event, unless the thread doesn't run.
    virtual void PollIfRunning(int32_t timeout);

    /// What Run gave when the thread ended by itself; false after Stop.
    virtual bool GetResult() const;

    /// The thread as a number; 0 while none runs.
    virtual uintptr_t GetHandleValue() const;

    /// The thread; 0 while none runs.
    virtual void GetHandle(pthread_t& handle) const;

    virtual bool IsStopRequested() const;

    /// Hook for derived classes: whether there is work left. False here.
    virtual bool HasPendingWork() const;

    /// Asked before a thread that exceeded its time is abandoned. True here.
    virtual bool CanForceStop();

    /// Number of successful starts.
    virtual int32_t GetStartCount() const;

    /// Milliseconds that Stop (-1) waits; -1, the default, waits for as long as it takes.
    virtual void SetStopTimeout(int32_t milliseconds);

    /// Kept for derived classes; nothing here reads it.
    virtual void SetFirstOption(bool option);

    /// Milliseconds that Stop sleeps between two looks; 20 by default.
    virtual void SetStopPoll(int32_t milliseconds);

    /// Whether Stop purges pending main-thread messages; true by default. The message manager is
    /// told to forget the thread in any case, and may drop them too.
    virtual void SetPurgeOnStop(bool purge);

    /// Kept for derived classes; nothing here reads it.
    virtual void SetSecondOption(bool option);

    /// Non-virtual: queues a message that OnMainThreadMessage gets on the main thread. False
    /// without the tools module or its queue.
    bool PostMainThreadMessage(int32_t message, int64_t parameter);

    /// The priority of the last Start.
    int32_t GetPriority() const { return LastPriority.load(); }

protected:
    /// The function that ends a thread; it does not return.
    using ExitFunction = void (*)();

    /// Body of the thread; its result is what Stop gives. Here it sleeps in steps of 100 ms until a
    /// stop is requested.
    virtual bool Run();

    /// Handles a main-thread message; 0 here.
    virtual int64_t HandleMainThreadMessage(int32_t message, int64_t parameter);

    /// Asked on the starting thread before a thread is made; false refuses the start. True here.
    virtual bool OnBeforeStart();

    /// Makes the POSIX thread.
    virtual bool StartThread(int32_t priority);

    /// Runs on the thread behind Run. Nothing here.
    virtual void OnThreadExit();

    /// The function that the thread ends with; here one that calls pthread_exit.
    virtual ExitFunction GetExitFunction();

    bool GetFirstOption() const { return FirstOption; }
    bool GetSecondOption() const { return SecondOption; }

private:
    static void* EnterThread(void* thread);
    ExitFunction RunOnThread();
    bool CreateThread(const pthread_attr_t& preferred, const pthread_attr_t& plain);
    void AbandonThread(int32_t timeout);
    void PollUntilWoken(int32_t timeout, const VnThreadEvent* otherEvent) const;
    std::shared_ptr<VnThreadEvent> GetEvent() const;
    void SetEvent(std::shared_ptr<VnThreadEvent> event);

    std::atomic<pthread_t> Handle{};      ///< 0 while no thread runs
    std::atomic<bool> StopFlag{false};    ///< the thread is asked to end
    mutable VnCriticalSection Lock;       ///< held while the thread is made; guards Event
    std::shared_ptr<VnThreadEvent> Event; ///< wakes Wait; an abandoned thread may still hold it
    int32_t StopTimeout = kForever;       ///< ms
    int32_t StopPoll = 20;                ///< ms
    std::atomic<int32_t> StartCount{0};
    std::atomic<bool> Result{false}; ///< what Run gave
    bool PurgeOnStop = true;
    std::atomic<int32_t> LastPriority{kPriorityNormal};
    bool FirstOption = false;
    bool SecondOption = false;
};
