#include "infrastructure/utility/SupervisorThread.h"

#include "infrastructure/utility/Log.h"

#include <QDateTime>

#include <algorithm>
#include <chrono>
#include <mutex>

namespace {

/// A thousand days, which the clock arithmetic of a timed wait can easily hold.
constexpr int64_t LONGEST_WAIT_MS = int64_t(1000) * 24 * 60 * 60 * 1000;

/// The object whose thread this is.
thread_local const SupervisorThread* ownerOfThisThread = nullptr;

} // namespace

SupervisorThread::SupervisorThread(const std::string& supervisorThreadName)
    : threadName(supervisorThreadName)
{
}

void SupervisorThread::startThread()
{
    if (!thread.joinable()) {
        thread = std::thread(&SupervisorThread::loopSupervisorFunction, this);
    }
}

void SupervisorThread::stopThread()
{
    if (ownerOfThisThread == this) {
        stopRequested = true; // the owner joins
        notify();
        return;
    }
    if (thread.joinable()) {
        stopRequested = true;
        notify();
        thread.join();
    }
}

void SupervisorThread::notify()
{
    notified = true;
    wakeCondition.notify_all();
}

void SupervisorThread::sleepUntilNextPass(int64_t periodMs)
{
    const int64_t sincePassBegan =
        QDateTime::currentMSecsSinceEpoch() - static_cast<int64_t>(loopStartMs);
    const int64_t elapsedMs = std::max<int64_t>(sincePassBegan, 0);
    if (elapsedMs <= periodMs && !notified) {
        // The mutex guards nothing: notify takes no lock, so that it costs its callers next to
        // nothing and can't block them. A notification missed that way is delayed by at most the
        // period.
        std::mutex ownMutex;
        std::unique_lock<std::mutex> lock(ownMutex);
        wakeCondition.wait_for(
            lock, std::chrono::milliseconds(std::min(periodMs - elapsedMs, LONGEST_WAIT_MS)),
            [this] { return notified.load(); });
    }
    notified = false;
}

void SupervisorThread::loopSupervisorFunction()
{
    ownerOfThisThread = this;
    VELLOG_INFO() << "Supervisor Thread started [" << threadName << "]";
    onThreadStart();
    while (!stopRequested) {
        loopStartMs = static_cast<uint64_t>(QDateTime::currentMSecsSinceEpoch());
        supervisorLoopStep();
    }
    onThreadStop();
}
