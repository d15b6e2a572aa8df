// A machine in memory whose power can be cut at any call that changes something: files of which
// only what was synced survives, and flash devices of NOR and NAND manners.
#pragma once

#include "infrastructure/platform/Machine_p.h"

#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

class CutMachine : public Tessorn::Machine
{
public:
    /// What a call throws at which the power is cut. All later calls fail.
    struct PowerCut
    {
    };

    /// Erasing sets a block's bits and writing clears some. NAND is written in units, each once
    /// after an erase and in order, and has bad blocks.
    struct Flash
    {
        bool isNand = false;
        std::string bytes;
        std::set<uint32_t> bad;         ///< blocks
        std::map<uint32_t, int> erases; ///< by block
        uint32_t nextUnit = 0;          ///< NAND: of the block that was written last
        int64_t stuckByte = -1;         ///< reads 0, whatever is written
    };

    static constexpr uint32_t BLOCK = 256;
    static constexpr uint32_t UNIT = 64; ///< of NAND; NOR has bytes

    CutMachine();
    ~CutMachine() override { replace(before); }

    /// All that a power cut leaves.
    struct Medium
    {
        struct File
        {
            std::string now;
            std::string durable;
        };
        std::map<int, File> files;
        std::map<std::string, int> names;
        std::map<std::string, int> durableNames;
        std::vector<std::map<std::string, int>> namesSinceSync; ///< after each change
        std::map<std::string, Flash> flashes;
        int nextFile = 0;
    };
    Medium medium;

    Flash& addFlash(const std::string& path, bool isNand, uint32_t blocks);
    /// A file that is on the medium.
    void writeFile(const std::string& path, const QByteArray& content);
    /// What the good blocks of a device hold.
    QByteArray readFlash(const std::string& path) const;

    /// Cuts the power at the call of this number from now, from 1; 0 for never.
    void cutAt(int call, unsigned seed = 1);
    /// The calls that changed something since then.
    int getCalls() const { return calls; }
    void powerUp();

    std::map<std::string, int> failing; ///< errno of "open PATH", "read PATH", "write", "erase"
    dev_t devOfFiles = 1;               ///< st_dev

    int open(const std::string& path, int flags, mode_t mode) override;
    int openRegular(const std::string& path) override { return open(path, 0, 0); }
    ssize_t read(int descriptor, void* data, std::size_t sizeBytes) override;
    ssize_t write(int descriptor, const void* data, std::size_t sizeBytes) override;
    int64_t seek(int descriptor, int64_t offset) override;
    int sync(int descriptor) override;
    int close(int descriptor) override { return isOn ? int(opens.erase(descriptor)) - 1 : 0; }
    int ioctl(int descriptor, unsigned long request, void* argument) override;
    int status(const std::string& path, struct stat& result) override;
    int rename(const std::string& from, const std::string& to) override;
    int remove(const std::string& path) override;

private:
    struct Open
    {
        std::string path;
        int file; ///< -1 for a device or folder
        std::size_t offset;
    };

    bool isCut();
    [[noreturn]] void cut();
    int failsAt(const std::string& what) const;
    Flash* flashOf(const std::string& path);
    ssize_t writeFlash(Flash& flash, std::size_t offset, const char* data, std::size_t sizeBytes);
    int erase(Flash& flash, uint32_t block);
    void changeNames() { medium.namesSinceSync.push_back(medium.names); }

    Machine* before;
    std::map<int, Open> opens;
    int nextDescriptor = 1000;
    int calls = 0;
    int cutCall = 0;
    bool isOn = true;
    std::mt19937 random;
};
