// A filter for flows: an identity, and which parts of it must match.
#pragma once

#include "infrastructure/ip/flows/FlowConfig.h"

namespace Tessorn {
namespace IpTypes {

/// What a flow must have to be let through. A default-made filter is null: it asks for nothing.
struct IpFlowSettings
{
    IpFlowSettings() = default;
    explicit IpFlowSettings(IpInterface settingsInterface,
                            IpProtocol settingsProtocol = IpProtocol_Other);
    /// The identity, protocol and interface of `flow`, and the flags that `params` (bits of
    /// IpMediaFlow::Params) sets. `matchDstPort` goes with the destination address's bit; the bit
    /// of the destination port has no effect. A null flow has no flag set.
    IpFlowSettings(const FlowConfig& flow, quint32 params);

    /// True when addresses, ports, SSRC and their flags are null, zero and false. Payload type, its
    /// flag, protocol and interface do not take part.
    bool isNull() const;

    quint32 payloadType = 0;
    QHostAddress srcIpAddr;
    QHostAddress dstIpAddr;
    quint32 srcUdpPort = 0;
    quint32 dstUdpPort = 0;
    quint32 ssrc = 0;
    bool matchSrcIp = false;
    bool matchDstIp = false;
    bool matchSrcPort = false;
    bool matchDstPort = false;
    bool matchSsrc = false;
    bool matchPayload = true;
    IpProtocol protocol = IpProtocol_Other;
    IpInterface interface = IpInterface_TessEth0;
};

/// All fields equal.
bool operator==(const IpFlowSettings& a, const IpFlowSettings& b);
inline bool operator!=(const IpFlowSettings& a, const IpFlowSettings& b)
{
    return !(a == b);
}

/// True when what both of them match is equal. Two null filters match; a null one and another
/// don't.
bool settingsMatch(const IpFlowSettings& a, const IpFlowSettings& b);

} // namespace IpTypes
} // namespace Tessorn
