// A filter for flows: an identity, and the parts of it that must match.
#pragma once

#include "infrastructure/ip/flows/FlowConfig.h"

namespace Tessorn {
namespace IpTypes {

/// What a flow must have to pass. A default-made filter is null and asks for nothing.
struct IpFlowSettings
{
    IpFlowSettings() = default;
    explicit IpFlowSettings(IpInterface settingsInterface,
                            IpProtocol settingsProtocol = IpProtocol_Other);
    /// Takes identity, protocol and interface from `flow` and sets the flags that `params` (bits of
    /// IpMediaFlow::Params) names. `matchDstPort` goes with the destination address's bit; the bit
    /// of the destination port has no effect. For a null flow no flag is set.
    IpFlowSettings(const FlowConfig& flow, quint32 params);

    /// True if addresses, ports and SSRC are null or zero and their flags false. Payload type, its
    /// flag, protocol and interface are not considered.
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

/// True if the fields that both filters match on are equal. Two null filters match; a null one
/// matches no other.
bool settingsMatch(const IpFlowSettings& a, const IpFlowSettings& b);

} // namespace IpTypes
} // namespace Tessorn
