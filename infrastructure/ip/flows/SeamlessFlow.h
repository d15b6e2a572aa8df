// Flows on two interfaces that carry the same audio, seen as one (SMPTE ST 2022-7).
#pragma once

#include "infrastructure/ip/flows/FlowConfig.h"

#include <vector>

namespace Tessorn {
namespace IpTypes {

/// A requested flow and the audio that it carries.
struct SeamlessFlow
{
    FlowConfig flow;
    quint32 channelCount = 0;
    quint32 packetTime = 0; ///< a code that audioPacketTimeToString knows
    quint32 flowField1 = 0; ///< named by position
};

inline bool operator==(const SeamlessFlow& a, const SeamlessFlow& b)
{
    return a.flow == b.flow && a.channelCount == b.channelCount && a.packetTime == b.packetTime &&
           a.flowField1 == b.flowField1;
}
inline bool operator!=(const SeamlessFlow& a, const SeamlessFlow& b)
{
    return !(a == b);
}

/// The flow at `index`, completed from its partner: for the first two flows that is the one two
/// places on, for the others two places back. A null flow takes the partner's payload type,
/// addresses, ports and SSRC, but stays on its own interface and has no source filter. The channel
/// count is the larger of the two. An invalid packet time (255) is replaced by the partner's.
/// Without a partner the flow is returned unchanged; an index out of range gives a default-made
/// value.
SeamlessFlow mergedFlow(const std::vector<SeamlessFlow>& flows, int index);

} // namespace IpTypes
} // namespace Tessorn
