#include "sw/infrastructure_test/FaultyDisk.h"

#include <algorithm>
#include <cstring>
#include <utility>

/// What SQLite has as an open file; it owns the memory.
struct FaultyDisk::File
{
    sqlite3_file base;
    FaultyDisk* disk;
    std::shared_ptr<Content>* content;
    bool syncsFolder; ///< at its next sync
    int period;
};

/// The functions of the file system, in the form that SQLite calls.
struct FaultyDisk::Calls
{
    static FaultyDisk& diskOf(sqlite3_vfs* vfs) { return *static_cast<FaultyDisk*>(vfs->pAppData); }
    static File& fileOf(sqlite3_file* file) { return *reinterpret_cast<File*>(file); }

    /// What `call` gives for the file, or `whenDead` where the power was cut.
    template <typename Call>
    static int with(sqlite3_file* base, int whenDead, Call call)
    {
        File& file = fileOf(base);
        const Lock guard(file.disk->mutex);
        const bool isDead = file.disk->isOff || file.period != file.disk->period;
        return isDead ? whenDead : call(file);
    }

    static int close(sqlite3_file* base)
    {
        delete fileOf(base).content;
        return SQLITE_OK;
    }
    static int read(sqlite3_file* base, void* to, int size, sqlite3_int64 offset)
    {
        return with(base, SQLITE_IOERR_READ, [=](const File& file) {
            const QByteArray bytes = (*file.content)->now.mid(int(offset), size);
            std::memset(to, 0, std::size_t(size));
            std::memcpy(to, bytes.constData(), std::size_t(bytes.size()));
            return bytes.size() == size ? SQLITE_OK : SQLITE_IOERR_SHORT_READ;
        });
    }
    static int write(sqlite3_file* base, const void* from, int size, sqlite3_int64 offset)
    {
        return with(base, SQLITE_IOERR_WRITE, [=](const File& file) {
            FaultyDisk& disk = *file.disk;
            const int allocation = ++disk.allocations;
            const QByteArray bytes(static_cast<const char*>(from), size);
            return allocation > disk.fullFrom && allocation <= disk.fullUntil
                       ? SQLITE_FULL
                       : disk.change(**file.content, {offset, bytes, false});
        });
    }
    static int truncate(sqlite3_file* base, sqlite3_int64 size)
    {
        return with(base, SQLITE_IOERR_TRUNCATE, [=](const File& file) {
            return file.disk->change(**file.content, {size, {}, true});
        });
    }
    static int sync(sqlite3_file* base, int)
    {
        return with(base, SQLITE_IOERR_FSYNC, [](File& file) {
            if (file.disk->takeCall() != SQLITE_OK) {
                return SQLITE_IOERR_FSYNC;
            }
            Content& content = **file.content;
            content.synced = content.now;
            content.changes.clear();
            if (std::exchange(file.syncsFolder, false)) {
                file.disk->syncFolder();
            }
            return SQLITE_OK;
        });
    }
    static int size(sqlite3_file* base, sqlite3_int64* size)
    {
        const Lock guard(fileOf(base).disk->mutex);
        *size = (*fileOf(base).content)->now.size();
        return SQLITE_OK;
    }
    static int lock(sqlite3_file*, int) { return SQLITE_OK; }
    static int checkLock(sqlite3_file*, int* isReserved) { return *isReserved = 0; }
    static int control(sqlite3_file*, int, void*) { return SQLITE_NOTFOUND; }
    static int sectorSize(sqlite3_file*) { return 4096; }
    static int characteristics(sqlite3_file*) { return SQLITE_IOCAP_POWERSAFE_OVERWRITE; }

    static int open(sqlite3_vfs* vfs, const char* name, sqlite3_file* base, int flags,
                    int* outFlags)
    {
        static const sqlite3_io_methods methods{
            1,       close,     read,    write,      truncate,        sync,    size,    lock,
            lock,    checkLock, control, sectorSize, characteristics, nullptr, nullptr, nullptr,
            nullptr, nullptr,   nullptr};
        base->pMethods = nullptr;
        FaultyDisk& disk = diskOf(vfs);
        const Lock guard(disk.mutex);
        auto content = std::make_shared<Content>(); // of a temporary file, which has no name
        if (name != nullptr) {
            std::shared_ptr<Content>& now = disk.names[name].now;
            if (!now) {
                if (disk.isOff || (flags & SQLITE_OPEN_CREATE) == 0) {
                    return SQLITE_CANTOPEN;
                }
                now = content;
            }
            content = now;
        }
        fileOf(base) = {{&methods},
                        &disk,
                        new std::shared_ptr<Content>(content),
                        (flags & (SQLITE_OPEN_MAIN_JOURNAL | SQLITE_OPEN_WAL)) != 0,
                        disk.period};
        if (outFlags != nullptr) {
            *outFlags = flags;
        }
        return SQLITE_OK;
    }
    static int remove(sqlite3_vfs* vfs, const char* name, int syncsFolder)
    {
        FaultyDisk& disk = diskOf(vfs);
        const Lock guard(disk.mutex);
        if (disk.isOff || disk.takeCall() != SQLITE_OK) {
            return SQLITE_IOERR_DELETE;
        }
        disk.names[name].now = nullptr;
        if (syncsFolder != 0) {
            disk.syncFolder();
        }
        return SQLITE_OK;
    }
    static int access(sqlite3_vfs* vfs, const char* name, int, int* result)
    {
        FaultyDisk& disk = diskOf(vfs);
        const Lock guard(disk.mutex);
        *result = disk.names[name].now ? 1 : 0;
        return SQLITE_OK;
    }
    static int fullPath(sqlite3_vfs*, const char* name, int size, char* result)
    {
        sqlite3_snprintf(size, result, "%s", name);
        return SQLITE_OK;
    }
};

FaultyDisk::FaultyDisk(unsigned seed)
    : random(seed)
    , usual(sqlite3_vfs_find(nullptr))
{
    vfs = *usual; // its time and randomness
    vfs.iVersion = 1;
    vfs.szOsFile = sizeof(File);
    vfs.zName = "faulty";
    vfs.pNext = nullptr;
    vfs.pAppData = this;
    vfs.xOpen = Calls::open;
    vfs.xDelete = Calls::remove;
    vfs.xAccess = Calls::access;
    vfs.xFullPathname = Calls::fullPath;
    sqlite3_vfs_register(&vfs, 1);
}

FaultyDisk::~FaultyDisk()
{
    sqlite3_vfs_unregister(&vfs);
    sqlite3_vfs_register(usual, 1);
}

void FaultyDisk::cutAfter(int callsUntilThen)
{
    const Lock guard(mutex);
    callsLeft = callsUntilThen;
}

void FaultyDisk::fillUp(int afterCalls, int forCalls)
{
    const Lock guard(mutex);
    fullFrom = allocations + afterCalls;
    fullUntil = fullFrom + forCalls;
}

int FaultyDisk::takeCall()
{
    ++calls;
    isOff = isOff || callsLeft == 0;
    callsLeft -= callsLeft > 0 ? 1 : 0;
    return isOff ? SQLITE_IOERR : SQLITE_OK;
}

void FaultyDisk::apply(QByteArray& bytes, const Change& change)
{
    const int offset = int(change.offset);
    if (change.isTruncation) {
        bytes.truncate(offset);
        return;
    }
    const int end = offset + change.bytes.size();
    if (bytes.size() < end) {
        bytes.append(end - bytes.size(), '\0');
    }
    std::copy(change.bytes.begin(), change.bytes.end(), bytes.begin() + offset);
}

int FaultyDisk::change(Content& content, Change what)
{
    const int code = takeCall();
    if (code == SQLITE_OK) {
        apply(content.now, what);
    }
    content.changes.push_back(std::move(what)); // the last one may get through
    return code;
}

void FaultyDisk::syncFolder()
{
    for (auto& [name, file] : names) {
        file.synced = file.now;
    }
}

/// Of what was not synced, nothing is left, or all, or any part in blocks of the device.
void FaultyDisk::restart()
{
    const Lock guard(mutex);
    constexpr int blockBytes = 512;
    const auto style = random() % 3;
    const auto survives = [&] { return style == 0 ? false : style == 1 || random() % 2 == 0; };
    for (auto& [name, file] : names) {
        file.now = file.now == file.synced || !survives() ? file.synced : file.now;
        file.synced = file.now;
        if (!file.now) {
            continue;
        }
        QByteArray left = file.now->synced;
        for (const Change& change : file.now->changes) {
            for (int at = 0; at == 0 || at < change.bytes.size(); at += blockBytes) {
                if (survives()) {
                    apply(left, {change.offset + at, change.bytes.mid(at, blockBytes),
                                 change.isTruncation});
                }
            }
        }
        *file.now = {left, left, {}};
    }
    callsLeft = -1;
    fullFrom = fullUntil = -1;
    isOff = false;
    ++period;
}
