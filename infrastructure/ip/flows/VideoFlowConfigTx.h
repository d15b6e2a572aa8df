// A video flow to transmit, SMPTE ST 2110-20.
#pragma once

#include "infrastructure/ip/flows/FlowConfigTx.h"

namespace Tessorn {
namespace IpTypes {

/// A video flow and how its packets are formed.
class VideoFlowConfigTx : public FlowConfigTx
{
public:
    using FlowConfigTx::FlowConfigTx;

    /// The identity, "+", and the fields below joined by ";", the flag as "true" or "false".
    ///
    ///   96,,239.1.2.3,0,5006,0,,0+1;0;1;1;true;0
    QString serialise() const override;
    /// The value that `serialise` made `text` from, or a default-made one; see IpMediaFlow.
    static VideoFlowConfigTx deserialise(QStringView text, bool& ok);

    /// "PRS: Linear\nPacking Mode: BPM\nSource: Monitor"
    QString serialiseDetails() const override;

    quint32 packetRateIndex = 1; ///< not shown
    quint32 rateShaping = 0;     ///< a RateShaping; any number is passed on
    quint32 packingMode = 0;     ///< a PackingMode; any number is passed on
    quint32 source = 0;          ///< a VideoTxSource; any number is passed on
    bool enable = false;
    quint32 videoField1 = 0;
};

/// All fields equal.
bool operator==(const VideoFlowConfigTx& a, const VideoFlowConfigTx& b);

/// True when identity, rate shaping, packing mode and source are equal.
bool flowsIdentical(const VideoFlowConfigTx& a, const VideoFlowConfigTx& b);
/// The same, ignoring the identity's source filter.
bool flowsSame(const VideoFlowConfigTx& a, const VideoFlowConfigTx& b);

} // namespace IpTypes
} // namespace Tessorn
