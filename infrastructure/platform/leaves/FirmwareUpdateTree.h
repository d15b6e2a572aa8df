// The nodes of a state tree by which a page or a client program starts firmware updates and follows
// them. Lives on the thread of the tree.
//
//   COMMAND/update/image       the path of an image: writing it starts an update; empty after that
//   COMMAND/update/cancel      true cancels, and becomes false again
//   STATUS/update/state        "Starting", "Ready", "Repeat the update", "Checking", "Writing",
//                              "Recording"
//   STATUS/update/progressPercent, lastResult, activeBank
//   STATUS/update/BANK/state, version, design, date
#pragma once

#include "infrastructure/datacore/DatacoreBool.h"
#include "infrastructure/datacore/DatacoreNumberLimits.h"
#include "infrastructure/platform/FirmwareUpdateThread.h"

#include <functional>
#include <memory>
#include <vector>

/// The nodes "update" of a command tree and of a status tree, for one update thread. Who may write
/// a command is up to the tree's server.
class FirmwareUpdateTree
{
public:
    /// The thread and both parents must outlive the tree. The thread need not run yet.
    FirmwareUpdateTree(FirmwareUpdateThread& updateThread, DatacoreBase* commandParent,
                       DatacoreBase* statusParent);

    /// Brings the status up to date, which costs next to nothing if the thread has nothing new. To
    /// be called a few times in a second.
    void refresh();

private:
    /// A leaf that calls its owner when it is written to.
    template <typename Leaf>
    struct Command : Leaf
    {
        template <typename... Arguments>
        Command(std::function<void()> whenWritten, Arguments&&... arguments)
            : Leaf(std::forward<Arguments>(arguments)...)
            , written(std::move(whenWritten))
        {
        }
        void onChanged() override { written(); }
        std::function<void()> written;
    };

    /// What a bank holds.
    struct Bank : DatacoreBase
    {
        Bank(const QString& name, DatacoreBase* parentNode);
        void show(const FirmwareBank& bank);

        DatacoreBase state;
        DatacoreBase version;
        DatacoreBase design;
        DatacoreBase date;
    };

    void onImage();
    void onCancel();

    FirmwareUpdateThread& thread;
    uint32_t changesShown = 0;
    bool wasShown = false;
    QString runningImage;

    DatacoreBase commands;
    Command<DatacoreBase> image;
    Command<DatacoreBool> cancel;

    DatacoreBase status;
    DatacoreBase state;
    DatacoreNumberLimits<int> progressPercent;
    DatacoreBase lastResult;
    DatacoreBase activeBank;
    std::vector<std::unique_ptr<Bank>> banks; ///< in the order of the target
};
