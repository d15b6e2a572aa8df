// Carries out the updates of one target in the background. Any thread may call it.
#pragma once

#include "infrastructure/platform/FirmwareUpdate.h"
#include "infrastructure/utility/SupervisorThread.h"

#include <mutex>
#include <optional>
#include <string>

/// A thread that waits for updates to be started, and carries out one at a time. When it starts,
/// and after each update, it reads what the banks hold.
///
/// Stopping it cancels an update of a target with two banks. A target's only bank is written to its
/// end first, since nothing could start from it.
class FirmwareUpdateThread : public SupervisorThread
{
public:
    /// What is known at a moment.
    struct Snapshot
    {
        bool isRunning = false;               ///< an update is waiting or under way
        FirmwareProgress progress;            ///< of this update or the last one
        std::optional<FirmwareResult> result; ///< of the last update
        FirmwareStatus status;                ///< without banks before it has been read
        uint32_t changes = 0;                 ///< counts up with each change of the rest
    };

    /// The thread does not run before startThread.
    explicit FirmwareUpdateThread(const FirmwareTarget& target);
    /// Stops the thread.
    ~FirmwareUpdateThread() override;

    const FirmwareTarget& getTarget() const { return update.getTarget(); }

    /// Asks for an update. False if one is waiting or under way.
    bool startUpdate(const std::string& imagePath);
    /// Cancels the update that is waiting or under way, where that is possible.
    void cancelUpdate();
    Snapshot getSnapshot() const;

protected:
    void onThreadStart() override;
    void supervisorLoopStep() override;
    /// Told of an update's progress, on the thread. False cancels it, where that is possible. A
    /// subclass that overrides this returns what this one does.
    virtual bool onProgress(const FirmwareProgress& progress);

private:
    template <typename Change>
    void change(Change&& apply);

    FirmwareUpdate update;
    mutable std::mutex mutex; ///< guards what follows
    Snapshot snapshot;
    std::optional<std::string> wanted; ///< the image of an update that waits
    bool isCancelled = false;
};
