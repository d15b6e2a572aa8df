#include "infrastructure/ip/flows/SeamlessFlow.h"

#include "infrastructure/ptp/PtpVocabulary.h"

#include <algorithm>

namespace Tessorn {
namespace IpTypes {

namespace {

/// Copies what the same stream has in common on both interfaces.
void takeStream(IpMediaFlow& flow, const IpMediaFlow& from)
{
    flow.payloadType = from.payloadType;
    flow.srcIpAddr = from.srcIpAddr;
    flow.dstIpAddr = from.dstIpAddr;
    flow.srcUdpPort = from.srcUdpPort;
    flow.dstUdpPort = from.dstUdpPort;
    flow.ssrc = from.ssrc;
}

} // namespace

SeamlessFlow mergedFlow(const std::vector<SeamlessFlow>& flows, int index)
{
    constexpr std::size_t streamsPerInterface = 2;
    const auto position = static_cast<std::size_t>(index);
    if (index < 0 || position >= flows.size()) {
        return {};
    }
    SeamlessFlow merged = flows[position];
    const std::size_t partnerPosition = position < streamsPerInterface
                                            ? position + streamsPerInterface
                                            : position - streamsPerInterface;
    if (partnerPosition >= flows.size()) {
        return merged;
    }
    const SeamlessFlow& partner = flows[partnerPosition];
    if (merged.flow.isNull()) {
        takeStream(merged.flow, partner.flow);
    }
    merged.channelCount = std::max(merged.channelCount, partner.channelCount);
    if (merged.packetTime == INVALID_AUDIO_PACKET_TIME) {
        merged.packetTime = partner.packetTime;
    }
    return merged;
}

} // namespace IpTypes
} // namespace Tessorn
