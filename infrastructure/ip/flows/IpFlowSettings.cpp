#include "infrastructure/ip/flows/IpFlowSettings.h"

#include "infrastructure/ip/flows/FlowFields_p.h"

namespace Tessorn {
namespace IpTypes {

namespace {

using Settings = IpFlowSettings;
using Number = FieldCodec<quint32>;
using Flag = FlagCodec<TrueFalse>;
using SettingsFields =
    FieldList<Field<&Settings::payloadType, Number, IpMediaFlow::PayloadType>,
              Field<&Settings::srcIpAddr, Ipv4Codec, IpMediaFlow::SrcIpAddr>,
              Field<&Settings::dstIpAddr, Ipv4Codec, IpMediaFlow::DstIpAddr>,
              Field<&Settings::srcUdpPort, Number, IpMediaFlow::SrcUdpPort>,
              Field<&Settings::dstUdpPort, Number, IpMediaFlow::DstUdpPort>,
              Field<&Settings::ssrc, Number, IpMediaFlow::Ssrc>, Field<&Settings::matchSrcIp, Flag>,
              Field<&Settings::matchDstIp, Flag>, Field<&Settings::matchSrcPort, Flag>,
              Field<&Settings::matchDstPort, Flag>, Field<&Settings::matchSsrc, Flag>,
              Field<&Settings::matchPayload, Flag>,
              Field<&Settings::protocol, EnumCodec<IpProtocol_Other>>,
              Field<&Settings::interface, EnumCodec<IpInterface_TessEth1>>>;

/// A flag, the field that it asks for, and the bit of a flow's mask that sets it.
struct MatchFlag
{
    bool IpFlowSettings::*flag;
    quint32 field;
    quint32 setBy;
};

constexpr MatchFlag MATCH_FLAGS[] = {
    {&Settings::matchSrcIp, IpMediaFlow::SrcIpAddr, IpMediaFlow::SrcIpAddr},
    {&Settings::matchDstIp, IpMediaFlow::DstIpAddr, IpMediaFlow::DstIpAddr},
    {&Settings::matchSrcPort, IpMediaFlow::SrcUdpPort, IpMediaFlow::SrcUdpPort},
    {&Settings::matchDstPort, IpMediaFlow::DstUdpPort, IpMediaFlow::DstIpAddr},
    {&Settings::matchSsrc, IpMediaFlow::Ssrc, IpMediaFlow::Ssrc},
    {&Settings::matchPayload, IpMediaFlow::PayloadType, IpMediaFlow::PayloadType},
};

/// The fields whose flags are set in both.
quint32 fieldsToMatch(const IpFlowSettings& a, const IpFlowSettings& b)
{
    quint32 fields = 0;
    for (const MatchFlag& match : MATCH_FLAGS) {
        fields |= a.*match.flag && b.*match.flag ? match.field : 0;
    }
    return fields;
}

} // namespace

IpFlowSettings::IpFlowSettings(IpInterface settingsInterface, IpProtocol settingsProtocol)
    : protocol(settingsProtocol)
    , interface(settingsInterface)
{
}

IpFlowSettings::IpFlowSettings(const FlowConfig& flow, quint32 params)
    : payloadType(flow.payloadType)
    , srcIpAddr(flow.srcIpAddr)
    , dstIpAddr(flow.dstIpAddr)
    , srcUdpPort(flow.srcUdpPort)
    , dstUdpPort(flow.dstUdpPort)
    , ssrc(flow.ssrc)
    , protocol(flow.protocol)
    , interface(flow.interface)
{
    const quint32 bits = flow.isNull() ? 0 : params;
    for (const MatchFlag& match : MATCH_FLAGS) {
        this->*match.flag = (bits & match.setBy) != 0;
    }
}

bool IpFlowSettings::isNull() const
{
    return srcIpAddr.isNull() && dstIpAddr.isNull() && srcUdpPort == 0 && dstUdpPort == 0 &&
           ssrc == 0 && !matchSrcIp && !matchDstIp && !matchSrcPort && !matchDstPort && !matchSsrc;
}

bool operator==(const IpFlowSettings& a, const IpFlowSettings& b)
{
    return SettingsFields::same(a, b);
}

bool settingsMatch(const IpFlowSettings& a, const IpFlowSettings& b)
{
    const bool aIsNull = a.isNull();
    if (aIsNull || b.isNull()) {
        return aIsNull == b.isNull();
    }
    return SettingsFields::sameWhere(a, b, fieldsToMatch(a, b));
}

} // namespace IpTypes
} // namespace Tessorn
