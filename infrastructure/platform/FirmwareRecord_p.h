// The record of what is in a target's banks: a small file that a power cut can't leave half
// written.
//
//   {"active":1,"banks":[{"name":"fpga_a","state":"good","bytes":1024,"sha256":"...",...},...]}
//   SHA-256 of the line above, in hexadecimal
#pragma once

#include "infrastructure/platform/FirmwareStatus.h"

namespace Tessorn {

/// A record as it stands, without a look at the flash: states are Unknown, Good and CutOff. Banks
/// have the target's names and order.
FirmwareStatus readFirmwareRecord(const FirmwareTarget& target);
/// Replaces the record; false, with errno, if that failed, when either may be there.
bool writeFirmwareRecord(const FirmwareTarget& target, const FirmwareStatus& status);

} // namespace Tessorn
