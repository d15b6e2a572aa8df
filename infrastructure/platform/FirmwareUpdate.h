// Brings firmware images into flash so that a power cut at any instant does no harm. One update of
// a target at a time; different targets on any threads.
//
//   check -> record "writing" -> each block: erase, write, read back -> record "good"
//
//   A record is replaced by one rename. With two banks the last one also switches to the bank that
//   has been written; the other is not touched.
#pragma once

#include "infrastructure/platform/FirmwareStatus.h"

/// Updates of one target. Holds no state between calls; the record does.
class FirmwareUpdate
{
public:
    explicit FirmwareUpdate(FirmwareTarget firmwareTarget);

    const FirmwareTarget& getTarget() const { return target; }

    /// What the banks hold. Those that the record calls good are read and compared with its digest,
    /// which takes as long as reading them.
    FirmwareStatus readStatus() const;

    /// Writes the image of a file, whole, header included, to the bank that is not active, or to
    /// the only one. What does not fit is refused before anything is written. After an update that
    /// was cut off, the blocks that it had written stay, but for the last of them. Bad blocks of
    /// NAND flash are stepped over; the end of its last write unit is filled with FF. No block is
    /// erased twice.
    ///
    /// The listener is called before each step and after each block. Cancelled while it writes, a
    /// target of two banks keeps its active one, and an update with the same image goes on there.
    FirmwareResult run(const std::string& imagePath, const FirmwareListener& listener = nullptr);

private:
    FirmwareTarget target;
};
