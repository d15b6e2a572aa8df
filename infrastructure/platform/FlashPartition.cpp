#include "infrastructure/platform/FlashPartition_p.h"

#include <fcntl.h>
#include <mtd/mtd-user.h>
#include <sys/ioctl.h>

#include <algorithm>
#include <cerrno>
#include <limits>

namespace Tessorn {

namespace {

constexpr uint64_t MOST_BLOCKS = 1 << 20; ///< far more than any device has

bool fail(int code)
{
    errno = code;
    return false;
}

} // namespace

bool eraseFlashBlock(Machine& machine, int descriptor, uint64_t start, uint32_t sizeBytes)
{
    erase_info_user block{};
    block.start = static_cast<uint32_t>(start);
    block.length = sizeBytes;
    if (block.start != start) {
        return fail(EINVAL);
    }
    // Many devices have no locks. One that is locked shows it when it is erased.
    machine.ioctl(descriptor, MEMUNLOCK, &block);
    return machine.ioctl(descriptor, MEMERASE, &block) == 0;
}

FlashPartition::FlashPartition(Machine& flashMachine, const std::string& path, bool forWriting)
    : machine(flashMachine)
    , file(machine, path, (forWriting ? O_RDWR : O_RDONLY) | O_NONBLOCK)
{
    struct stat status
    {
    };
    opened = file.isOpen() && machine.status(path, status) == 0 && readLayout(status);
}

bool FlashPartition::readLayout(const struct stat& status)
{
    mtd_info_user info{};
    isFile = S_ISREG(status.st_mode);
    if (isFile) {
        info.erasesize = FILE_BLOCK_BYTES;
        info.writesize = 1;
        info.size = static_cast<uint32_t>(std::min<uint64_t>(static_cast<uint64_t>(status.st_size),
                                                             std::numeric_limits<uint32_t>::max()));
    } else if (!S_ISCHR(status.st_mode) ||
               machine.ioctl(file.getDescriptor(), MEMGETINFO, &info) != 0) {
        return fail(ENODEV);
    }
    if (info.erasesize == 0 || info.writesize == 0 || info.erasesize % info.writesize != 0 ||
        info.size / info.erasesize > MOST_BLOCKS) {
        return fail(ENODEV);
    }
    blockBytes = info.erasesize;
    writeBytes = info.writesize;
    const bool hasBadBlocks = info.type == MTD_NANDFLASH || info.type == MTD_MLCNANDFLASH;
    for (uint64_t start = 0; start + blockBytes <= info.size; start += blockBytes) {
        bool bad = false;
        if (hasBadBlocks && !isBad(start, bad)) {
            return false;
        }
        if (bad) {
            ++badCount;
        } else {
            blocks.push_back(start);
        }
    }
    return true;
}

bool FlashPartition::isBad(uint64_t start, bool& bad)
{
    auto offset = static_cast<loff_t>(start);
    const int answer = machine.ioctl(file.getDescriptor(), MEMGETBADBLOCK, &offset);
    bad = answer > 0;
    return answer >= 0;
}

bool FlashPartition::seekTo(uint32_t block)
{
    const auto offset = static_cast<int64_t>(blocks[block]);
    return machine.seek(file.getDescriptor(), offset) == offset;
}

bool FlashPartition::erase(uint32_t block)
{
    if (isFile) {
        const std::string erased(blockBytes, '\xFF');
        return write(block, erased.data(), erased.size());
    }
    return eraseFlashBlock(machine, file.getDescriptor(), blocks[block], blockBytes);
}

bool FlashPartition::write(uint32_t block, const char* data, std::size_t sizeBytes)
{
    return seekTo(block) && file.writeAll(data, sizeBytes);
}

bool FlashPartition::read(uint32_t block, char* data, std::size_t sizeBytes)
{
    return seekTo(block) && file.readExactly(data, sizeBytes);
}

bool FlashPartition::sync()
{
    return !isFile || machine.sync(file.getDescriptor()) == 0;
}

} // namespace Tessorn
