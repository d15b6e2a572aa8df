#include "infrastructure/platform/FirmwareUpdate.h"

#include "infrastructure/platform/FirmwareRecord_p.h"
#include "infrastructure/platform/FlashPartition_p.h"
#include "infrastructure/platform/MtdDevice.h"
#include "infrastructure/platform/VersionInfo.h"

#include <fmt/format.h>

#include <QCryptographicHash>

#include <sys/sysmacros.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <future>
#include <optional>
#include <utility>

using namespace Tessorn;

namespace {

constexpr unsigned MTD_BLOCK_MAJOR = 31; ///< of the file systems on flash
constexpr std::size_t WORTH_A_THREAD_BYTES = 0x4000;
constexpr const char* BANK_SUFFIXES[] = {"_a", "_b"};

/// True if a file is the bank itself, or lies in the file system that is on it.
bool isOnBank(const struct stat& file, const struct stat& bank)
{
    if (!S_ISCHR(bank.st_mode)) {
        return file.st_dev == bank.st_dev && file.st_ino == bank.st_ino;
    }
    const unsigned partition = minor(bank.st_rdev) / 2; // the odd number is read-only
    if (S_ISCHR(file.st_mode)) {
        return major(file.st_rdev) == major(bank.st_rdev) && minor(file.st_rdev) / 2 == partition;
    }
    return major(file.st_dev) == MTD_BLOCK_MAJOR && minor(file.st_dev) == partition;
}

/// The digest of the first bytes of a partition; empty if they can't be read.
std::string digestOf(FlashPartition& flash, uint64_t sizeBytes)
{
    QCryptographicHash hash(QCryptographicHash::Sha256);
    std::string block(flash.getBlockBytes(), '\0');
    for (uint32_t i = 0; sizeBytes > 0; ++i) {
        const auto size = static_cast<std::size_t>(std::min<uint64_t>(sizeBytes, block.size()));
        if (i == flash.getBlockCount() || !flash.read(i, block.data(), size)) {
            return {};
        }
        hash.addData(block.data(), static_cast<int>(size));
        sizeBytes -= size;
    }
    return hash.result().toHex().toStdString();
}

/// One update.
class Run
{
public:
    Run(const FirmwareTarget& runTarget, const std::string& path, const FirmwareListener& told)
        : target(runTarget)
        , imagePath(path)
        , listener(told)
    {
    }

    FirmwareResult run()
    {
        if (check() && begin() && writeBlocks() && end()) {
            const FirmwareImage& image = result.image;
            const bool isResumed = result.resumedBytes > 0 && result.resumedBytes < image.sizeBytes;
            finish(FirmwareOutcome_Done,
                   fmt::format("{} holds {} {} of {}", bank().name, image.design, image.version,
                               image.date) +
                       (isResumed ? fmt::format(", resumed at {} of {} bytes", result.resumedBytes,
                                                image.sizeBytes)
                                  : std::string()));
        }
        return std::move(result);
    }

private:
    bool finish(FirmwareOutcome outcome, std::string text)
    {
        result.outcome = outcome;
        result.text = std::move(text);
        return false;
    }

    /// The same, with what errno means.
    bool fail(const std::string& what)
    {
        return finish(FirmwareOutcome_Failed, fmt::format("{}: {}", what, std::strerror(errno)));
    }

    bool tell(FirmwareStep step, uint64_t doneBytes, bool canCancel)
    {
        const bool goOn =
            !listener || listener({step, doneBytes, result.image.sizeBytes, canCancel});
        return goOn || !canCancel ||
               finish(FirmwareOutcome_Cancelled, fmt::format("Cancelled after {} of {} bytes",
                                                             doneBytes, result.image.sizeBytes));
    }

    bool hasTwoBanks() const { return target.banks.size() == 2; }
    const FirmwareTarget::Bank& bank() const { return target.banks[written]; }

    /// Refuses what does not fit. Nothing is written here.
    bool check()
    {
        if (target.banks.empty() || target.banks.size() > 2) {
            return finish(FirmwareOutcome_NoTarget,
                          fmt::format("There is no partition {}, nor a pair", target.name));
        }
        status = readFirmwareRecord(target);
        written = hasTwoBanks() ? 1 - status.active : 0;
        return checkSource() && checkImage() && checkFlash() && tell(FirmwareStep_Check, 0, true);
    }

    bool checkSource()
    {
        struct stat file
        {
        };
        struct stat device
        {
        };
        Machine& machine = Machine::current();
        if (machine.status(imagePath, file) != 0) {
            return finish(FirmwareOutcome_NoImage,
                          fmt::format("{}: {}", imagePath, std::strerror(errno)));
        }
        for (const FirmwareTarget::Bank& each : target.banks) {
            if (machine.status(each.path, device) == 0 && isOnBank(file, device)) {
                return finish(FirmwareOutcome_OwnSource,
                              fmt::format("{} is on {}", imagePath, each.name));
            }
        }
        return true;
    }

    bool checkImage()
    {
        FirmwareImage& image = result.image;
        if (const std::string reason = image.read(imagePath); !reason.empty()) {
            return finish(FirmwareOutcome_NoImage, fmt::format("{}: {}", imagePath, reason));
        }
        if (image.device != target.device) {
            return finish(
                FirmwareOutcome_WrongDevice,
                fmt::format("The image is for {}, the board has {}", image.device, target.device));
        }
        if (!target.design.empty() && image.design != target.design) {
            return finish(FirmwareOutcome_WrongDesign,
                          fmt::format("The image has design {}, the board wants {}", image.design,
                                      target.design));
        }
        if (target.designId && image.designId && image.designId != target.designId) {
            return finish(FirmwareOutcome_WrongDesign,
                          fmt::format("The image has design {}, the board has {}", *image.designId,
                                      *target.designId));
        }
        return true;
    }

    bool checkFlash()
    {
        Machine& machine = Machine::current();
        flash.emplace(machine, bank().path, true);
        source.emplace(machine, machine.openRegular(imagePath));
        if (!flash->isOpen()) {
            return finish(FirmwareOutcome_NoTarget,
                          fmt::format("{}: {}", bank().path, std::strerror(errno)));
        }
        if (!source->isOpen()) {
            return finish(FirmwareOutcome_NoImage,
                          fmt::format("{}: {}", imagePath, std::strerror(errno)));
        }
        if (result.image.sizeBytes > flash->getCapacityBytes()) {
            return finish(FirmwareOutcome_TooLarge,
                          fmt::format("The image has {} bytes, {} has room for {}",
                                      result.image.sizeBytes, bank().name,
                                      flash->getCapacityBytes()));
        }
        wanted.resize(flash->getBlockBytes());
        found.resize(flash->getBlockBytes());
        if (status.banks[status.active].state != FirmwareState_CutOff && isActiveTheSame()) {
            return finish(
                FirmwareOutcome_AlreadyThere,
                fmt::format("{} already holds this image", target.banks[status.active].name));
        }
        return true;
    }

    bool isActiveTheSame()
    {
        if (!hasTwoBanks()) {
            return countSameBlocks(*flash) == countBlocks();
        }
        FlashPartition active(Machine::current(), target.banks[status.active].path, false);
        return active.isOpen() && active.getBlockBytes() == flash->getBlockBytes() &&
               countSameBlocks(active) == countBlocks();
    }

    uint32_t countBlocks() const
    {
        return static_cast<uint32_t>((result.image.sizeBytes + wanted.size() - 1) / wanted.size());
    }
    std::size_t sizeOf(uint32_t block) const
    {
        return static_cast<std::size_t>(std::min<uint64_t>(
            wanted.size(), result.image.sizeBytes - uint64_t(block) * wanted.size()));
    }

    /// Reads a block of the image, and fills it up to whole write units. They follow one another.
    bool readImage(uint32_t block, std::size_t& writeBytes)
    {
        const std::size_t size = sizeOf(block);
        const std::size_t unit = flash->getWriteBytes();
        writeBytes = (size + unit - 1) / unit * unit;
        std::fill(wanted.begin() + static_cast<std::ptrdiff_t>(size), wanted.end(), '\xFF');
        return (block > 0 || Machine::current().seek(source->getDescriptor(), 0) == 0) &&
               source->readExactly(wanted.data(), size);
    }

    bool isThere(FlashPartition& partition, uint32_t block, std::size_t sizeBytes)
    {
        return block < partition.getBlockCount() &&
               partition.read(block, found.data(), sizeBytes) &&
               std::memcmp(found.data(), wanted.data(), sizeBytes) == 0;
    }

    /// The number of the image's blocks, from the first, that a partition holds.
    uint32_t countSameBlocks(FlashPartition& partition)
    {
        uint32_t block = 0;
        std::size_t writeBytes = 0;
        while (block < countBlocks() && readImage(block, writeBytes) &&
               isThere(partition, block, sizeOf(block))) {
            ++block;
        }
        return block;
    }

    /// Finds where to begin, and records that the bank is being written.
    bool begin()
    {
        FirmwareBank& record = status.banks[written];
        if (record.state != FirmwareState_Unknown) {
            first = countSameBlocks(*flash);
        }
        if (record.state == FirmwareState_CutOff && first > 0) {
            --first; // the last that looks right may have been cut off while it was written
        }
        result.resumedBytes = std::min(uint64_t(first) * wanted.size(), result.image.sizeBytes);
        record.state = FirmwareState_CutOff;
        record.image = result.image;
        record.sha256.clear();
        return writeFirmwareRecord(target, status) ||
               finish(FirmwareOutcome_NoRecord,
                      fmt::format("Could not record the update in {}: {}", target.recordFolder,
                                  std::strerror(errno)));
    }

    bool writeBlocks()
    {
        uint64_t doneBytes = 0;
        for (uint32_t block = 0; block < countBlocks(); ++block) {
            std::size_t writeBytes = 0;
            if (!tell(FirmwareStep_Write, doneBytes, hasTwoBanks())) {
                return false;
            }
            if (!readImage(block, writeBytes)) {
                return fail("Could not read " + imagePath);
            }
            if (block >= first && !flash->erase(block)) {
                return fail(fmt::format("Could not erase block {} of {}", block, bank().name));
            }
            if (block >= first && !flash->write(block, wanted.data(), writeBytes)) {
                return fail(fmt::format("Could not write block {} of {}", block, bank().name));
            }
            if (!isThere(*flash, block, writeBytes)) {
                return finish(
                    FirmwareOutcome_Failed,
                    fmt::format("Block {} of {} reads back differently", block, bank().name));
            }
            addToDigest(sizeOf(block));
            doneBytes += sizeOf(block);
        }
        return flash->sync() || fail("Could not write " + bank().name);
    }

    /// Adds what has been read back. While the device erases and writes the next block, nobody is
    /// busy but this.
    void addToDigest(std::size_t sizeBytes)
    {
        waitForDigest();
        hashed.swap(found);
        found.resize(hashed.size());
        const auto add = [this, sizeBytes] {
            hash.addData(hashed.data(), static_cast<int>(sizeBytes));
        };
        if (sizeBytes < WORTH_A_THREAD_BYTES) {
            add();
        } else {
            hashing = std::async(add); // where there is no thread to be had, in waitForDigest
        }
    }

    void waitForDigest()
    {
        if (hashing.valid()) {
            hashing.get();
        }
    }

    /// Records the image as good. With two banks, this is the switch.
    bool end()
    {
        tell(FirmwareStep_Record, result.image.sizeBytes, false);
        waitForDigest();
        FirmwareBank& record = status.banks[written];
        record.state = FirmwareState_Good;
        record.sha256 = hash.result().toHex().toStdString();
        status.active = written;
        return writeFirmwareRecord(target, status) ||
               fail("Could not record the update in " + target.recordFolder);
    }

    const FirmwareTarget& target;
    const std::string& imagePath;
    const FirmwareListener& listener;
    FirmwareResult result;
    FirmwareStatus status;
    uint32_t written = 0; ///< the bank
    uint32_t first = 0;   ///< the block to begin with
    std::optional<FlashPartition> flash;
    std::optional<MachineFile> source;
    std::string wanted; ///< a block of the image
    std::string found;  ///< a block of the flash
    QCryptographicHash hash{QCryptographicHash::Sha256};
    std::string hashed;        ///< the block that is being added to the digest
    std::future<void> hashing; ///< waits in its destructor, so it comes last
};

} // namespace

const char* firmwareStateText(FirmwareState state)
{
    switch (state) {
    case FirmwareState_Unknown:
        return "Not recorded";
    case FirmwareState_Good:
        return "Good";
    case FirmwareState_CutOff:
        return "Cut off, repeat the update";
    case FirmwareState_Damaged:
        return "Damaged, repeat the update";
    case FirmwareState_Unreadable:
        break;
    }
    return "Can't be read";
}

bool FirmwareStatus::mustRepeat() const
{
    return isRecordDamaged || std::any_of(banks.begin(), banks.end(), [](const FirmwareBank& bank) {
               return bank.state == FirmwareState_CutOff || bank.state == FirmwareState_Damaged;
           });
}

FirmwareTarget FirmwareTarget::find(const std::string& name, const std::string& device,
                                    const std::string& recordFolder, const VersionInfo& versions)
{
    FirmwareTarget target;
    target.name = name;
    target.device = device;
    target.recordFolder = recordFolder;
    for (const char* suffix : BANK_SUFFIXES) {
        if (const std::string found = mtdFindDevice(name + suffix); !found.empty()) {
            target.banks.push_back({name + suffix, "/dev/" + found});
        }
    }
    if (target.banks.size() != 2) {
        target.banks.clear();
        if (const std::string found = mtdFindDevice(name); !found.empty()) {
            target.banks.push_back({name, "/dev/" + found});
        }
    }
    bool isNumber = false;
    const uint id = versions.value(QStringLiteral("FPGA ID")).toUInt(&isNumber);
    if (isNumber) {
        target.designId = id;
    }
    return target;
}

FirmwareUpdate::FirmwareUpdate(FirmwareTarget firmwareTarget)
    : target(std::move(firmwareTarget))
{
}

FirmwareStatus FirmwareUpdate::readStatus() const
{
    FirmwareStatus status = readFirmwareRecord(target);
    for (std::size_t i = 0; i < status.banks.size(); ++i) {
        FirmwareBank& bank = status.banks[i];
        FlashPartition flash(Machine::current(), target.banks[i].path, false);
        if (!flash.isOpen()) {
            bank.state = FirmwareState_Unreadable;
        } else if (bank.state == FirmwareState_Good &&
                   digestOf(flash, bank.image.sizeBytes) != bank.sha256) {
            bank.state = FirmwareState_Damaged;
        }
    }
    return status;
}

FirmwareResult FirmwareUpdate::run(const std::string& imagePath, const FirmwareListener& listener)
{
    return Run(target, imagePath, listener).run();
}
