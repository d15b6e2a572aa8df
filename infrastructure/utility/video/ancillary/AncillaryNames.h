// What the data identifiers of ancillary packets stand for: the register of SMPTE ST 291-1, as far
// as it is in use. Constants.
#pragma once

#include "infrastructure/utility/video/ancillary/AncillaryCollectorPacket.h"

/// True for a data identifier of type 1: a data block number follows it in place of an SDID.
constexpr bool isAncillaryType1(uint8_t did)
{
    return (did & 0x80) != 0;
}

/// The name of a kind of packet: "payload identifier (ST 352)"; "unknown" for one that is not
/// listed. The data block number of type 1 does not matter.
const char* getAncillaryName(AncillaryDidSdid kind);

/// True if bit 8 of the user words is data, not parity: audio and audio control of standard
/// definition (SMPTE ST 272).
bool hasNineBitUserWords(uint8_t did);
