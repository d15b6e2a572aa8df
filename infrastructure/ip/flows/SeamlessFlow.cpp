#include "infrastructure/ip/flows/SeamlessFlow.h"

#include "infrastructure/ptp/PtpVocabulary.h"

#include <algorithm>

namespace Tessorn {
namespace IpTypes {

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
        merged.flow.IpMediaFlow::operator=(partner.flow);
    }
    merged.channelCount = std::max(merged.channelCount, partner.channelCount);
    if (merged.packetTime == INVALID_AUDIO_PACKET_TIME) {
        merged.packetTime = partner.packetTime;
    }
    return merged;
}

} // namespace IpTypes
} // namespace Tessorn
