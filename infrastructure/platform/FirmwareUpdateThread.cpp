#include "infrastructure/platform/FirmwareUpdateThread.h"

#include <utility>

namespace {

constexpr int64_t PERIOD_MS = 200; ///< limits how late a start is seen

} // namespace

FirmwareUpdateThread::FirmwareUpdateThread(const FirmwareTarget& target)
    : SupervisorThread("firmware " + target.name)
    , update(target)
{
}

FirmwareUpdateThread::~FirmwareUpdateThread()
{
    stopThread();
}

template <typename Change>
void FirmwareUpdateThread::change(Change&& apply)
{
    const std::lock_guard<std::mutex> lock(mutex);
    apply();
    ++snapshot.changes;
}

bool FirmwareUpdateThread::startUpdate(const std::string& imagePath)
{
    {
        const std::lock_guard<std::mutex> lock(mutex);
        if (snapshot.isRunning) {
            return false;
        }
        wanted = imagePath;
        isCancelled = false;
        snapshot.isRunning = true;
        snapshot.progress = FirmwareProgress();
        snapshot.result.reset();
        ++snapshot.changes;
    }
    notify();
    return true;
}

void FirmwareUpdateThread::cancelUpdate()
{
    const std::lock_guard<std::mutex> lock(mutex);
    isCancelled = true;
}

FirmwareUpdateThread::Snapshot FirmwareUpdateThread::getSnapshot() const
{
    const std::lock_guard<std::mutex> lock(mutex);
    return snapshot;
}

void FirmwareUpdateThread::onThreadStart()
{
    FirmwareStatus status = update.readStatus();
    change([&] { snapshot.status = std::move(status); });
}

void FirmwareUpdateThread::supervisorLoopStep()
{
    std::optional<std::string> imagePath;
    {
        const std::lock_guard<std::mutex> lock(mutex);
        imagePath.swap(wanted);
    }
    if (!imagePath) {
        sleepUntilNextPass(PERIOD_MS);
        return;
    }
    FirmwareResult result = update.run(
        *imagePath, [this](const FirmwareProgress& progress) { return onProgress(progress); });
    FirmwareStatus status = update.readStatus();
    change([&] {
        snapshot.result = std::move(result);
        snapshot.status = std::move(status);
        snapshot.isRunning = false;
    });
}

bool FirmwareUpdateThread::onProgress(const FirmwareProgress& progress)
{
    bool goOn = true;
    change([&] {
        snapshot.progress = progress;
        goOn = !isCancelled;
    });
    return goOn && !isStopRequested();
}
