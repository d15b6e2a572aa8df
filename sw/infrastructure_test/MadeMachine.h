// A machine made for a case: an empty file system in a temporary directory, flash devices, a
// watchdog, and calls that fail when told to. It is the current machine during its lifetime.
#pragma once

#include "infrastructure/platform/BoardState_p.h"
#include "infrastructure/platform/Machine_p.h"

#include <QTemporaryDir>

#include <cstdio>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

/// A stream that holds these bytes, to be read from its start.
std::unique_ptr<std::FILE, int (*)(std::FILE*)> streamOf(const QByteArray& bytes);

class MadeMachine : public Tessorn::Machine
{
public:
    struct Aborted
    {
    };

    /// A flash device that behaves like hardware: a write only clears bits, an erase sets those of
    /// a whole block, which must be unlocked. Its content is the file of the same path.
    struct Flash
    {
        uint32_t sizeBytes = 0;
        uint32_t eraseBytes = 0x10000;
        std::set<uint64_t> unlocked;       ///< blocks
        std::vector<uint64_t> erased;      ///< blocks, in order
        int64_t badBlock = -1;             ///< can't be erased
        int64_t failWritesFrom = -1;       ///< offset from which writes fail
        bool losesHalfOfEachWrite = false; ///< but reports all of it as written
    };

    MadeMachine();
    ~MadeMachine() override;

    /// Creates a file, and the folders above it.
    void writeFile(const std::string& path, const QByteArray& content);
    /// A file's content; null if there is none.
    QByteArray readFile(const std::string& path) const;
    Flash& addFlash(const std::string& path, uint32_t sizeBytes);
    void addWatchdog() { writeFile("/dev/watchdog", ""); }
    /// The list of partitions, with "ident" on mtd3.
    void addProcMtd();

    /// What was written to stdout or stderr since the last call.
    std::string takeOut() { return take(out, outText); }
    std::string takeErr() { return take(err, errText); }

    Tessorn::BoardState board;               ///< the current one during its lifetime
    std::map<std::string, int> failingOpens; ///< errno by path
    int failingWrites = 0;                   ///< errno of each write, 0 for none
    int failingRenames = 0;                  ///< errno of each rename
    int ownerFailure = 0;                    ///< errno of a change of owner
    std::set<std::string> users = {
        "veluser"};                        ///< the users that exist, with user 1000 of group 100
    std::vector<std::string> ownerChanges; ///< "path user group"
    std::vector<std::string> syncs;        ///< paths
    std::vector<std::string> programs;     ///< that were run
    int programResult = 0;
    std::vector<std::string> ioctls; ///< of the watchdog
    /// Replaces the program's resources.
    bool resourceMissing = false;
    QByteArray resource; ///< null for the real ones

    int open(const std::string& path, int flags, mode_t mode) override;
    int openRegular(const std::string& path) override;
    int close(int descriptor) override;
    ssize_t write(int descriptor, const void* data, std::size_t sizeBytes) override;
    int sync(int descriptor) override;
    int ioctl(int descriptor, unsigned long request, void* argument) override;
    int status(const std::string& path, struct stat& result) override;
    int rename(const std::string& from, const std::string& to) override;
    int changeOwner(const std::string& path, uid_t user, gid_t group) override;
    int findUser(const std::string& name, uid_t& user, gid_t& group) override;
    int run(const std::vector<std::string>& words) override;
    [[noreturn]] void abortProcess() override { throw Aborted(); }
    bool readResource(const QString& path, QByteArray& result) override;

private:
    struct Text
    {
        char* data = nullptr;
        std::size_t size = 0;
        std::size_t taken = 0;
    };

    explicit MadeMachine(std::unique_ptr<QTemporaryDir> root);
    static std::string take(std::FILE* stream, Text& text);
    bool mayOpen(const std::string& path) const;
    int keepPath(int descriptor, const std::string& path);
    Flash* flashOf(int descriptor);
    ssize_t writeFlash(Flash& flash, int descriptor, const char* data, std::size_t sizeBytes);
    int eraseFlash(Flash& flash, int descriptor, uint64_t start, uint64_t length);

    std::unique_ptr<QTemporaryDir> directory;
    Machine* before;
    Tessorn::BoardState* boardBefore;
    Text outText;
    Text errText;
    std::map<std::string, Flash> flashes;
    std::map<int, std::string> openPaths;
};
