// What a firmware update is asked for, and what it says. Values.
#pragma once

#include "infrastructure/platform/FirmwareImage.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

class VersionInfo;

/// The flash that an image goes to, and what it must be for.
struct FirmwareTarget
{
    /// A partition. `path` is of its device, or of a regular file that stands for one.
    struct Bank
    {
        std::string name;
        std::string path;
    };

    std::string name;                 ///< "fpga", the name of the record
    std::vector<Bank> banks;          ///< one, or two that take turns
    std::string device;               ///< the image's device must be this
    std::string design;               ///< so must its design, unless this is empty
    std::optional<uint32_t> designId; ///< and its design id, if both are known
    std::string recordFolder;         ///< must be there and outlast a power cut

    /// The partitions of a name in /proc/mtd: two if NAME_a and NAME_b are there, otherwise the one
    /// NAME; no banks if there is neither. The design id is the "FPGA ID" of the version table.
    static FirmwareTarget find(const std::string& name, const std::string& device,
                               const std::string& recordFolder, const VersionInfo& versions);
};

/// What is known of a bank's content.
enum FirmwareState {
    FirmwareState_Unknown,    ///< no update has been recorded
    FirmwareState_Good,       ///< it is what the record says, byte for byte
    FirmwareState_CutOff,     ///< an update has begun and not ended; it must be repeated
    FirmwareState_Damaged,    ///< it is not what the record says; the update must be repeated
    FirmwareState_Unreadable, ///< the partition can't be read
};

/// "Not recorded", "Good", "Cut off, repeat the update", "Damaged, repeat the update", "Can't be
/// read".
const char* firmwareStateText(FirmwareState state);

/// One bank, and the image that its record names.
struct FirmwareBank
{
    std::string name;
    FirmwareState state = FirmwareState_Unknown;
    FirmwareImage image;
    std::string sha256; ///< of the image, 64 hexadecimal digits; empty before it is written
};

/// The banks of a target.
struct FirmwareStatus
{
    std::vector<FirmwareBank> banks;
    /// The bank to start from: the first before any update has ended.
    uint32_t active = 0;
    /// There is a record, but it is not whole; then the first bank is the active one.
    bool isRecordDamaged = false;

    /// True if an update must be repeated. With two banks the active one may be good all the same.
    bool mustRepeat() const;
};

enum FirmwareStep {
    FirmwareStep_Check,  ///< nothing is written yet
    FirmwareStep_Write,  ///< block by block
    FirmwareStep_Record, ///< the image becomes the one to start from
};

/// Where an update is.
struct FirmwareProgress
{
    FirmwareStep step = FirmwareStep_Check;
    uint64_t doneBytes = 0;
    uint64_t totalBytes = 0;
    /// Whether cancelling here has an effect. The only bank can't be left half written.
    bool canCancel = true;

    int getPercent() const
    {
        return totalBytes == 0 ? 0 : static_cast<int>(doneBytes * 100 / totalBytes);
    }
};

/// Told of progress, on the thread of the update. False cancels it, where that is possible.
using FirmwareListener = std::function<bool(const FirmwareProgress& progress)>;

/// How an update ended. All before Cancelled are refusals, with the flash as it was.
enum FirmwareOutcome {
    FirmwareOutcome_NoTarget,    ///< no partition, or it can't be opened
    FirmwareOutcome_NoImage,     ///< no image, or not all of it
    FirmwareOutcome_WrongDevice, ///< for another device
    FirmwareOutcome_WrongDesign, ///< of another design
    FirmwareOutcome_OwnSource,   ///< it comes from where it is to go
    FirmwareOutcome_TooLarge,
    FirmwareOutcome_AlreadyThere, ///< the active bank holds it
    FirmwareOutcome_NoRecord,     ///< the record can't be written
    FirmwareOutcome_Cancelled,
    FirmwareOutcome_Failed, ///< while writing: an update must be repeated
    FirmwareOutcome_Done,
};

/// The result of an update.
struct FirmwareResult
{
    FirmwareOutcome outcome = FirmwareOutcome_NoTarget;
    std::string text;          ///< a sentence for the user
    FirmwareImage image;       ///< as far as it was read
    uint64_t resumedBytes = 0; ///< which were there from an earlier update

    bool isDone() const { return outcome == FirmwareOutcome_Done; }
};
