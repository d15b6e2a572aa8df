#include "infrastructure/ip/flows/IpMediaFlow.h"

#include "infrastructure/ip/flows/FlowFields_p.h"

#include <QList>

namespace Tessorn {
namespace IpTypes {

namespace {

using Flow = IpMediaFlow;
using Number = FieldCodec<quint32>;
using IdentityFields =
    FieldList<Field<&Flow::payloadType, Number, Flow::PayloadType>,
              Field<&Flow::srcIpAddr, Ipv4Codec, Flow::SrcIpAddr>,
              Field<&Flow::dstIpAddr, Ipv4Codec, Flow::DstIpAddr>,
              Field<&Flow::srcUdpPort, Number, Flow::SrcUdpPort>,
              Field<&Flow::dstUdpPort, Number, Flow::DstUdpPort>,
              Field<&Flow::ssrc, Number, Flow::Ssrc>, Field<&Flow::igmpSourceAddr, Ipv4Codec>,
              Field<&Flow::interface, EnumCodec<IpInterface_TessEth1>>>;

QString decimal(quint32 number)
{
    return QString::number(number);
}

} // namespace

IpMediaFlow::IpMediaFlow(IpInterface flowInterface)
    : interface(flowInterface)
{
}

IpMediaFlow::~IpMediaFlow() = default;

QString IpMediaFlow::serialise() const
{
    FieldText text;
    writeIdentity(text, *this);
    return toQString(text);
}

IpMediaFlow IpMediaFlow::deserialise(QStringView text, bool& ok)
{
    IpMediaFlow flow;
    ok = readIdentity(text, flow);
    return ok ? flow : IpMediaFlow();
}

bool IpMediaFlow::isNull() const
{
    return payloadType == 0 && srcUdpPort == 0 && dstUdpPort == 0 && ssrc == 0 &&
           srcIpAddr.isNull() && dstIpAddr.isNull() && igmpSourceAddr.isNull();
}

QString IpMediaFlow::toDisplayString(quint32 boardModel) const
{
    return QStringLiteral("%1, Payload: %2, Dst %3:%4, Src %5:%6, SSRC: %7")
        .arg(interfaceName(interface, boardModel), decimal(payloadType), addressToString(dstIpAddr),
             decimal(dstUdpPort), addressToString(srcIpAddr), decimal(srcUdpPort), decimal(ssrc));
}

QString IpMediaFlow::toFilterString(quint32 params) const
{
    const auto shown = [params](Params bit, const QString& text) {
        return (params & bit) != 0 ? text : QStringLiteral("Any");
    };
    return QStringLiteral("%1 Dst: %2:%3 Src: %4:%5 %6")
        .arg(shown(PayloadType, decimal(payloadType)), shown(DstIpAddr, addressToString(dstIpAddr)),
             shown(DstUdpPort, decimal(dstUdpPort)), shown(SrcIpAddr, addressToString(srcIpAddr)),
             shown(SrcUdpPort, decimal(srcUdpPort)), shown(Ssrc, decimal(ssrc)));
}

QString IpMediaFlow::toKey(bool withSsrc) const
{
    return QStringLiteral("%1%2,%3,%4,%5,%6,%7")
        .arg(withSsrc ? decimal(ssrc) + QLatin1Char(',') : QString(), addressToString(dstIpAddr),
             decimal(dstUdpPort), addressToString(srcIpAddr), decimal(srcUdpPort),
             decimal(payloadType), decimal(interface));
}

QString IpMediaFlow::keyToDisplayString(QStringView key)
{
    constexpr int fieldCount = 6;
    const QList<QStringView> fields = key.split(u',');
    const bool withSsrc = fields.size() == fieldCount + 1;
    if (!withSsrc && fields.size() != fieldCount) {
        return QStringLiteral("Unrecognised Stream");
    }
    const int first = withSsrc ? 1 : 0;
    return QStringLiteral("Payload: %1, Dst %2:%3, Src %4:%5 %6")
        .arg(fields[first + 4], fields[first], fields[first + 1], fields[first + 2],
             fields[first + 3],
             withSsrc ? QLatin1String(", SSRC: ") + fields[0].toString() : QString());
}

bool operator==(const IpMediaFlow& a, const IpMediaFlow& b)
{
    return IdentityFields::same(a, b);
}

bool flowParamsSame(const IpMediaFlow& a, const IpMediaFlow& b, quint32 params)
{
    return a.interface == b.interface && IdentityFields::sameWhere(a, b, params);
}

void writeIdentity(FieldText& text, const IpMediaFlow& flow)
{
    IdentityFields::write(text, u',', flow);
}

bool readIdentity(QStringView text, IpMediaFlow& flow)
{
    return IdentityFields::read(text, u',', flow);
}

} // namespace IpTypes
} // namespace Tessorn
