// How many channels fit into one packet of an audio flow.
//
// Normative references: SMPTE ST 2110-30:2017, ST 2110-31:2018; packet times as in AES67.
#pragma once

#include <QtGlobal>

namespace Tessorn {
namespace IpTypes {

/// The maximum number of channels for a packet time (a code that audioPacketTimeToString knows) and
/// a format (IpProtocol_2110_30 or IpProtocol_2110_31); 0 for any other.
quint32 maxChannels(quint32 packetTimeCode, quint32 format);

/// True if there are not too many `channels`. Only the packet times used for sending, 125 μs (code
/// 0) and 1 ms (code 3), pass.
bool channelCountValid(quint32 format, quint32 channels, quint32 packetTimeCode);

} // namespace IpTypes
} // namespace Tessorn
