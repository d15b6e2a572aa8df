// A store for a server's persistent tree, in an SQLite file.
#pragma once

#include "infrastructure/server/DatacoreStoreInterface.h"

#include <QStringList>

#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <thread>

class LeafDatabase;

/// Keeps leaves in one file, a row each. All work on the disk is done by a thread of its own; saves
/// that come while it works, or within the commit interval, become one transaction, which holds the
/// latest values of each leaf.
///
/// The promise: once the outcome of a save is durable, its values survive the end of the process at
/// any instant and a cut of the power, as far as the device keeps what it has reported as written
/// (each commit ends with an fsync of SQLite's write-ahead log). What had no outcome may be there
/// or not, but a save is there as a whole. The destructor writes what is still waiting.
///
/// The price is one fsync and some pages of 4 KiB for each commit, of which there are at most
/// 1000 / interval a second; the log is worked into the file every 4 MiB.
///
/// One process has the file at a time. What is wrong with it never stops a server:
///
///   no such file, empty        => made anew
///   damaged, in part or all    => kept aside as FILE.damaged-1 and so on up to 9; the rows that
///   can
///                                 be read are in FILE
///   made by a newer release    => likewise, with the rows that this one understands
///   made by an older release   => brought up to date
///   can't be written           => what it holds is read, no save becomes durable
///   disk full                  => saves fail until there is space
///   a folder, a pipe, in use, or another program's => left alone, no save becomes durable
class DatacoreStore : public DatacoreStoreInterface
{
public:
    /// Flash wears with each commit, and a client waits for one: 20 a second are a compromise.
    static constexpr int DEFAULT_COMMIT_INTERVAL_MS = 50;

    /// Opens the file, or makes it; its folder must be there. Two commits begin no less than the
    /// interval apart: a save after a longer silence is written at once. With 0, the next begins
    /// when the last has ended.
    explicit DatacoreStore(const QString& file, int commitIntervalMs = DEFAULT_COMMIT_INTERVAL_MS);
    DatacoreStore(const DatacoreStore&) = delete;
    DatacoreStore& operator=(const DatacoreStore&) = delete;
    ~DatacoreStore() override;

    /// What was wrong with the file and what was lost, a sentence each; also in the log.
    const QStringList& getFindings() const;

    void readLeaves(const std::function<void(const Leaf&)>& take) override;
    Ticket save(const std::vector<Leaf>& leaves) override;
    void setListener(Listener newListener) override;
    void forgetUnsaved() override;

private:
    void run();

    const std::unique_ptr<LeafDatabase> database; ///< the thread's, once there has been a save
    const std::chrono::milliseconds interval;
    std::mutex mutex; ///< guards what follows
    std::condition_variable wake;
    std::map<QString, Values> waiting; ///< for the next transaction
    Ticket issued = 0;
    bool isHalted = false; ///< after a failure, until forgetUnsaved
    bool isStopping = false;
    std::mutex listenerMutex; ///< guards the listener, also while it is called
    Listener listener;
    std::thread thread;
};
