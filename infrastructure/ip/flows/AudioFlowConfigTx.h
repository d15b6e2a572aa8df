// An audio flow to transmit, SMPTE ST 2110-30 or -31.
#pragma once

#include "infrastructure/ip/flows/FlowConfigTx.h"

#include <vector>

namespace Tessorn {
namespace IpTypes {

/// An audio flow and the channels that it carries.
class AudioFlowConfigTx : public FlowConfigTx
{
public:
    using FlowConfigTx::FlowConfigTx;

    /// The identity, "+", and the fields below joined by ";", the channels by "*".
    ///
    ///   97,,239.1.2.3,0,5006,0,,0+2;3;0;1*2
    QString serialise() const override;
    /// The value that `serialise` made `text` from, or a default-made one; see IpMediaFlow.
    static AudioFlowConfigTx deserialise(QStringView text, bool& ok);

    /// "Packet Time: 1 ms\nChannels: 2\nSource: Monitored Audio"
    QString serialiseDetails() const override;

    quint32 channelCount = 0;
    quint32 packetTime = 0;        ///< a code that audioPacketTimeToString knows
    quint32 source = 0;            ///< an AudioTxSource; any number is passed on
    std::vector<quint32> channels; ///< channel numbers, in the order of the flow
};

/// All fields equal.
bool operator==(const AudioFlowConfigTx& a, const AudioFlowConfigTx& b);

/// True when identity, channel count, packet time and source are equal.
bool flowsIdentical(const AudioFlowConfigTx& a, const AudioFlowConfigTx& b);
/// The same, ignoring the identity's source filter.
bool flowsSame(const AudioFlowConfigTx& a, const AudioFlowConfigTx& b);

} // namespace IpTypes
} // namespace Tessorn
