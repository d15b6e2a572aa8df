// A flash partition as the blocks that can be used, for whoever writes it block by block.
#pragma once

#include "infrastructure/platform/Machine_p.h"

#include <cstdint>
#include <string>
#include <vector>

namespace Tessorn {

/// Unlocks and erases one block; false, with errno, if the device refuses.
bool eraseFlashBlock(Machine& machine, int descriptor, uint64_t start, uint32_t sizeBytes);

/// An open partition. Blocks are counted without the bad ones of NAND flash. A regular file may
/// stand for a partition where there is no flash: its blocks have 64 KiB and may be written
/// anywhere.
class FlashPartition
{
public:
    static constexpr uint32_t FILE_BLOCK_BYTES = 0x10000;

    FlashPartition(Machine& flashMachine, const std::string& path, bool forWriting);

    /// False, with errno, if it could not be opened or is no flash.
    bool isOpen() const { return opened; }
    uint32_t getBlockBytes() const { return blockBytes; }
    /// What is written is a multiple of this.
    uint32_t getWriteBytes() const { return writeBytes; }
    uint32_t getBlockCount() const { return static_cast<uint32_t>(blocks.size()); }
    uint64_t getCapacityBytes() const { return uint64_t(blocks.size()) * blockBytes; }
    /// The number of bad blocks.
    uint32_t getBadCount() const { return badCount; }

    /// These three take the number of a good block, and start at its beginning; false, with errno,
    /// for a failure.
    bool erase(uint32_t block);
    /// In whole write units: the size is a multiple of getWriteBytes.
    bool write(uint32_t block, const char* data, std::size_t sizeBytes);
    bool read(uint32_t block, char* data, std::size_t sizeBytes);
    /// Waits until all of it is on the medium. Flash is not buffered.
    bool sync();

private:
    bool readLayout(const struct stat& status);
    bool isBad(uint64_t start, bool& bad);
    bool seekTo(uint32_t block);

    Machine& machine;
    MachineFile file;
    bool isFile = false;
    bool opened = false;
    uint32_t blockBytes = 0;
    uint32_t writeBytes = 0;
    uint32_t badCount = 0;
    std::vector<uint64_t> blocks; ///< where the good ones start
};

} // namespace Tessorn
