// A disk for SQLite, in memory, that loses power and fills up.
#pragma once

#include <QByteArray>

#include <sqlite3.h>

#include <map>
#include <memory>
#include <mutex>
#include <random>
#include <vector>

/// SQLite's default file system as long as it lives; files that are open must be closed before.
/// What was written and not synced is lost in a power cut, all or in part; so is a name that was
/// not synced, or the removal of one. A folder is synced as SQLite does it: with the first sync of
/// a journal or log, or a removal that asks for it.
class FaultyDisk
{
public:
    explicit FaultyDisk(unsigned seed);
    FaultyDisk(const FaultyDisk&) = delete;
    FaultyDisk& operator=(const FaultyDisk&) = delete;
    ~FaultyDisk();

    /// After so many more calls that change something, no call works any more.
    void cutAfter(int calls);
    /// The power is back; files are as the cut has left them.
    void restart();
    /// After so many more calls that take space, there is none for that many.
    void fillUp(int afterCalls, int forCalls);

    int getCalls() const { return calls; }

private:
    struct Change
    {
        qint64 offset;
        QByteArray bytes;
        bool isTruncation; ///< to `offset`
    };
    struct Content
    {
        QByteArray now;
        QByteArray synced;
        std::vector<Change> changes; ///< since the sync
    };
    struct Name
    {
        std::shared_ptr<Content> now;    ///< null if there is no such file
        std::shared_ptr<Content> synced; ///< the same, as the folder on the disk says
    };
    struct File;
    struct Calls;
    using Lock = std::lock_guard<std::recursive_mutex>;

    static void apply(QByteArray& bytes, const Change& change);
    int change(Content& content, Change what);
    int takeCall();
    void syncFolder();

    std::recursive_mutex mutex; ///< the store has a thread of its own
    std::mt19937 random;
    std::map<QByteArray, Name> names;
    int calls = 0;
    int callsLeft = -1; ///< until the cut; below 0 for ever
    bool isOff = false;
    int period = 0; ///< counts the power cuts; what was opened before one is dead
    int fullFrom = -1;
    int fullUntil = -1;
    int allocations = 0;
    sqlite3_vfs vfs{};
    sqlite3_vfs* usual;
};
