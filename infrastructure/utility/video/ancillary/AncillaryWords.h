// The 10-bit words of ancillary packets (SMPTE ST 291-1): parity, checksum, whole packets. Pure
// functions.
//
//   word  0   1   2    3    4             5   6               6 + DC
//         000 3FF 3FF  DID  SDID or DBN   DC  user words ...  checksum
//
//   bit   9              8                  7 to 0
//         not bit 8      parity (even)      value          in all words but the first three
//                        ninth bit of sum                  in the checksum
#pragma once

#include "infrastructure/utility/BitTwiddles.h"
#include "infrastructure/utility/video/ancillary/AncillaryCollectorPacket.h"

#include <QtGlobal>

#include <cstddef>
#include <vector>

/// Words of a packet besides its user words, from the ancillary data flag to the checksum.
constexpr std::size_t ANCILLARY_WORDS_AROUND_USER_DATA = 7;

/// The word for a value: 0x61 => 0x161
constexpr quint16 ancillaryWord(quint8 value)
{
    const bool isOdd = Tessorn::BitTwiddles::getEvenParityBit(value) != 0;
    return static_cast<quint16>(value | (isOdd ? 0x100 : 0x200));
}

/// The checksum word for the sum of the words from DID to the last user word: the low nine bits,
/// with bit 9 the inverse of bit 8.
constexpr quint16 ancillaryChecksumWord(quint32 sum)
{
    return static_cast<quint16>((sum & 0x1FF) | ((sum & 0x100) != 0 ? 0 : 0x200));
}

/// All words of a packet, from the ancillary data flag to the checksum, with as many user words as
/// its data count says.
std::vector<quint16> makeAncillaryWords(const AncillaryCollectorPacket& packet);
