#include "infrastructure/platform/FirmwareUpdateThread.h"
#include "sw/infrastructure_test/BitFileBytes.h"
#include "sw/infrastructure_test/Catch.h"
#include "sw/infrastructure_test/CutMachine.h"

#include <future>

namespace {

/// Holds the update before it writes to flash, until the case lets it go on.
struct HeldMachine : CutMachine
{
    ssize_t write(int descriptor, const void* data, std::size_t sizeBytes) override
    {
        if (sizeBytes == BLOCK && !std::exchange(isHeld, true)) {
            reached.set_value();
            goOn.get_future().wait();
        }
        return CutMachine::write(descriptor, data, sizeBytes);
    }
    bool isHeld = false;
    std::promise<void> reached;
    std::promise<void> goOn;
};

struct Worker : FirmwareUpdateThread
{
    using FirmwareUpdateThread::FirmwareUpdateThread;
    ~Worker() override { stopThread(); }
    void notify() override
    {
        FirmwareUpdateThread::notify();
        ++notifications;
    }
    /// The snapshot after the update.
    Snapshot waitForEnd() const
    {
        while (getSnapshot().isRunning) {
            std::this_thread::yield();
        }
        return getSnapshot();
    }
    std::atomic<int> notifications{0};
};

} // namespace

TEST_CASE("Updates run one at a time in the background, and are cancelled where they can be",
          "[platform]")
{
    const bool isPair = GENERATE(false, true);
    const bool byStop = GENERATE(false, true);
    HeldMachine machine;
    machine.addFlash("/dev/mtd2", false, 8);
    machine.addFlash("/dev/mtd4", false, 8);
    machine.writeFile("/new.bit", bitFile(5 * CutMachine::BLOCK, 2));
    FirmwareTarget target{"fpga", {{"a", "/dev/mtd2"}}, "part-1", "", {}, "/records"};
    if (isPair) {
        target.banks.push_back({"b", "/dev/mtd4"});
    }
    {
        Worker worker(target);
        CHECK(worker.getSnapshot().status.banks.empty());
        CHECK(worker.startUpdate("/none.bit"));
        CHECK_FALSE(worker.startUpdate("/new.bit")); // one waits
        worker.startThread();
        const auto refused = worker.waitForEnd();
        CHECK(refused.result->outcome == FirmwareOutcome_NoImage);
        CHECK(refused.status.banks.size() == target.banks.size());
        CHECK(refused.changes == 3); // start, status, result

        CHECK(worker.startUpdate("/new.bit"));
        CHECK_FALSE(worker.getSnapshot().result);
        machine.reached.get_future().wait();
        CHECK_FALSE(worker.startUpdate("/new.bit")); // one runs
        CHECK(worker.getSnapshot().isRunning);
        CHECK(worker.getSnapshot().progress.step == FirmwareStep_Write);
        CHECK(worker.getSnapshot().progress.totalBytes == 5 * CutMachine::BLOCK);
        std::future<void> stopped;
        if (byStop) {
            const int before = worker.notifications;
            stopped = std::async(std::launch::async, [&] { worker.stopThread(); });
            while (worker.notifications == before) {
                std::this_thread::yield();
            }
        } else {
            worker.cancelUpdate();
        }
        machine.goOn.set_value();
        const auto ended = worker.waitForEnd();
        CHECK(ended.result->outcome == (isPair ? FirmwareOutcome_Cancelled : FirmwareOutcome_Done));
        CHECK(ended.status.mustRepeat() == isPair);
        if (!byStop && isPair) {
            CHECK(worker.startUpdate("/new.bit")); // the former cancel is over
            CHECK(worker.waitForEnd().result->isDone());
            CHECK(worker.getSnapshot().status.active == 1);
            CHECK(worker.getSnapshot().progress.getPercent() == 100);
        }
    }
}
