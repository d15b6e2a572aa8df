// A background thread that repeats one step periodically and can be woken early. startThread and
// stopThread are for the owner's thread; any thread may call notify.
#pragma once

#include "infrastructure/utility/NotificationReceiverInterface.h"

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <string>
#include <thread>

/// Base of a periodic worker. A subclass implements the step, which calls sleepUntilNextPass at its
/// end, and calls stopThread in its destructor: destroying a running thread ends the process.
///
///     not started --startThread--> running --stopThread--> stopping --> stopped
///
/// Stopping is final: a thread that is started again runs its hooks but no pass.
class SupervisorThread : public NotificationReceiverInterface
{
public:
    /// The name appears in the log.
    explicit SupervisorThread(const std::string& supervisorThreadName);
    SupervisorThread(const SupervisorThread&) = delete;
    SupervisorThread& operator=(const SupervisorThread&) = delete;
    ~SupervisorThread() override = default;

    /// Starts the thread; does nothing while it runs.
    void startThread();
    /// Asks the thread to stop, wakes it with notify and waits for the current pass to end. Does
    /// nothing if no thread runs. Called from the thread itself it asks, but does not wait.
    void stopThread();

    /// Ends the thread's current sleep, or the next one if it is working. A call that falls between
    /// the sleeper's last check and its sleep has no effect until the end of the period.
    void notify() override;

protected:
    /// One pass of the work, on the thread.
    virtual void supervisorLoopStep() = 0;
    /// Called on the thread before the first pass.
    virtual void onThreadStart() {}
    /// Called on the thread after the last pass.
    virtual void onThreadStop() {}

    /// True once the thread has been asked to stop, for long passes to check.
    bool isStopRequested() const { return stopRequested; }

    /// Sleeps for the rest of the period, counted from the start of this pass: not at all if the
    /// pass has taken longer, or if notify was called in the meantime. Never sleeps for longer than
    /// the period, even if the wall clock is set back. Only the step calls it.
    void sleepUntilNextPass(int64_t periodMs);

private:
    void loopSupervisorFunction();

    std::atomic<bool> stopRequested{false};
    std::thread thread;
    std::atomic<bool> notified{false};
    std::condition_variable wakeCondition;
    uint64_t loopStartMs = 0; ///< wall clock at the start of the latest pass; the thread's own
    std::string threadName;
};
