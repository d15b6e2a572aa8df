#include "infrastructure/ip/flows/AudioChannelLimits.h"

#include "infrastructure/ip/flows/FlowVocabulary.h"
#include "infrastructure/utility/video/Vocabulary.h"

#include <iterator>

namespace Tessorn {
namespace IpTypes {

namespace {

constexpr quint32 PACKET_TIME_125_US = 0;
constexpr quint32 PACKET_TIME_1_MS = 3;

struct LimitRow
{
    quint32 value;
    quint32 maxChannels[5]; ///< by the packet time's code
};

constexpr LimitRow LIMITS[] = {
    {IpProtocol_2110_30, {80, 60, 40, 10, 2}},
    {IpProtocol_2110_31, {60, 45, 30, 7, 1}},
};

} // namespace

quint32 maxChannels(quint32 packetTimeCode, quint32 format)
{
    const LimitRow* row = Vocabulary::find(LIMITS, format);
    if (row == nullptr || packetTimeCode >= std::size(row->maxChannels)) {
        return 0;
    }
    return row->maxChannels[packetTimeCode];
}

bool channelCountValid(quint32 format, quint32 channels, quint32 packetTimeCode)
{
    if (packetTimeCode != PACKET_TIME_125_US && packetTimeCode != PACKET_TIME_1_MS) {
        return false;
    }
    const quint32 limit = maxChannels(packetTimeCode, format);
    return limit != 0 && channels <= limit;
}

} // namespace IpTypes
} // namespace Tessorn
