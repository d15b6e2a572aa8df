// A background thread that repeats one step on a period and can be woken early. startThread and
// stopThread belong to the owner's thread; notify may be called by any.
#pragma once

#include "infrastructure/utility/NotificationReceiverInterface.h"

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <string>
#include <thread>

/// Base of a periodic worker. A subclass supplies the step, which calls sleepUntilNextPass at its
/// end, and calls stopThread in its destructor: to destroy a running thread ends the process.
///
///     not started --startThread--> running --stopThread--> stopping --> stopped
///
/// Stopped is for good: a thread that is started again runs its hooks and no pass.
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
    /// Asks the thread to stop, wakes it with notify and waits until the pass at work has ended.
    /// Does nothing where no thread runs. From the thread itself it asks and does not wait.
    void stopThread();

    /// Ends the sleep that the thread is in, or the next one if it is at work. A call in the moment
    /// between the sleeper's last look and its sleep waits for the end of the period.
    void notify() override;

protected:
    /// One pass of the work, on the thread.
    virtual void supervisorLoopStep() = 0;
    /// Called on the thread ahead of the first pass.
    virtual void onThreadStart() {}
    /// Called on the thread behind the last pass.
    virtual void onThreadStop() {}

    /// True once the thread has been asked to stop, for a long pass to look at.
    bool isStopRequested() const { return stopRequested; }

    /// Sleeps for what is left of the period, counted from the start of this pass: not at all when
    /// the pass has taken longer, or when notify was called meanwhile. It never sleeps for longer
    /// than the period, also where the wall clock is set back. Only the step calls it.
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
