#include "infrastructure/utility/SupervisorThread.h"
#include "sw/infrastructure_test/Catch.h"
#include "sw/infrastructure_test/TestSupport.h"

#include <QFile>

#include <sys/syscall.h>
#include <unistd.h>

#include <chrono>
#include <functional>
#include <future>
#include <limits>
#include <thread>

namespace {

constexpr int64_t HOUR_MS = 60 * 60 * 1000;

/// Calls what a case gives it in each pass, with the pass's number from 1.
class Worker : public SupervisorThread
{
public:
    explicit Worker(std::function<void(Worker&, int)> passStep)
        : SupervisorThread("worker")
        , step(std::move(passStep))
    {
    }
    ~Worker() override { stopThread(); }

    void sleep(int64_t periodMs) { sleepUntilNextPass(periodMs); }

    void onThreadStart() override
    {
        threadId = ::syscall(SYS_gettid);
        ++starts;
    }
    void onThreadStop() override { ++stops; }

    /// Returns in the course of this pass or a later one.
    void waitForPass(int number) const
    {
        while (passes < number) {
            std::this_thread::yield();
        }
    }

    /// Returns when the thread lies in a system call that waits.
    void waitUntilAsleep() const
    {
        for (QByteArray state; state != "S"; std::this_thread::yield()) {
            QFile file("/proc/self/task/%1/stat"_s.arg(threadId));
            REQUIRE(file.open(QIODevice::ReadOnly));
            const QByteArray line = file.readAll();
            state = line.mid(line.lastIndexOf(')') + 2, 1);
        }
    }

    std::atomic<int> passes{0};
    std::atomic<int> starts{0};
    std::atomic<int> stops{0};
    std::atomic<long> threadId{0};

protected:
    void supervisorLoopStep() override { step(*this, ++passes); }

private:
    std::function<void(Worker&, int)> step;
};

} // namespace

TEST_CASE("A supervisor thread runs its passes between its hooks, and starts once", "[utility]")
{
    const LogCapture log;
    Worker worker([](Worker& self, int) { self.sleep(1); });
    worker.stopThread(); // nothing runs: nothing happens
    CHECK(worker.starts == 0);

    worker.startThread();
    worker.startThread();
    worker.waitForPass(3);
    worker.stopThread();
    CHECK(worker.passes >= 3);
    CHECK(worker.starts == 1);
    CHECK(worker.stops == 1);
    CHECK(log.lines() == QStringList{"info: Supervisor Thread started [worker]"_s});
    worker.stopThread();
    CHECK(worker.stops == 1);
}

TEST_CASE("A thread that is asked to stop before it begins runs no pass", "[utility]")
{
    struct LateWorker : Worker
    {
        using Worker::Worker;
        void onThreadStart() override { asked.get_future().wait(); }
        void notify() override { asked.set_value(); } // called in place of the base's
        std::promise<void> asked;
    };
    LateWorker worker([](Worker&, int) {});
    worker.startThread();
    worker.stopThread();
    CHECK(worker.passes == 0);
    CHECK(worker.stops == 1);
}

TEST_CASE("A notify during a pass, or an overrun, ends the next sleep at once, and only that",
          "[utility]")
{
    const bool overrun = GENERATE(false, true);
    Worker worker([overrun](Worker& self, int pass) {
        if (pass < 3 && !overrun) {
            self.notify();
            self.notify();
        }
        self.sleep(pass < 3 && overrun ? std::numeric_limits<int64_t>::min() : HOUR_MS);
    });
    worker.startThread();
    worker.waitForPass(3);
    worker.waitUntilAsleep();
    CHECK(worker.passes == 3);
}

TEST_CASE("A notify or a stop ends a long sleep", "[utility]")
{
    const int64_t period = GENERATE(as<int64_t>(), HOUR_MS, std::numeric_limits<int64_t>::max());
    Worker worker([period](Worker& self, int) { self.sleep(period); });
    worker.startThread();
    worker.waitForPass(1);
    worker.waitUntilAsleep();
    worker.notify();
    worker.waitForPass(2);
    worker.waitUntilAsleep();
    worker.stopThread();
    CHECK(worker.passes == 2);
}

TEST_CASE("A sleep lasts until the period from the start of the pass is over", "[utility]")
{
    using Clock = std::chrono::steady_clock;
    std::promise<Clock::duration> took;
    Clock::time_point begin;
    Worker worker([&](Worker& self, int pass) {
        if (pass == 1) {
            begin = Clock::now();
        } else if (pass == 2) {
            took.set_value(Clock::now() - begin);
        }
        self.sleep(30);
    });
    worker.startThread();
    CHECK(took.get_future().get() >= std::chrono::milliseconds(29)); // the clock ticks in 1 ms
}

TEST_CASE("A step may ask its own thread to stop", "[utility]")
{
    struct OwnStop : Worker
    {
        using Worker::Worker;
        void onThreadStop() override { ended.set_value(); }
        std::promise<void> ended;
    };
    OwnStop worker([](Worker& self, int) { self.stopThread(); });
    worker.startThread();
    worker.ended.get_future().wait();
    CHECK(worker.passes == 1);
}
