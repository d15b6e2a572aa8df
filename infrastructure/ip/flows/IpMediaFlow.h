// The identity of a media flow on an IP interface: RTP payload type and SSRC (RFC 3550), addresses,
// UDP ports, source filter (RFC 4607). Base of all that is said of a flow. A value.
#pragma once

#include "infrastructure/ip/flows/IpInterface.h"

#include <QHostAddress>
#include <QString>
#include <QStringView>

#include <type_traits>

namespace Tessorn {
namespace IpTypes {

/// A flow's identity. Addresses are IPv4 or null, and compare by their IPv4 value; any other kind
/// of address is written as null.
class IpMediaFlow
{
public:
    /// Bits of a mask that tells which fields take part in a comparison. The last three stand for
    /// nothing yet.
    enum Params : quint32 {
        SrcIpAddr = 0x01,
        DstIpAddr = 0x02,
        SrcUdpPort = 0x04,
        DstUdpPort = 0x08,
        PayloadType = 0x10,
        Ssrc = 0x20,
        Reserved1 = 0x40,
        Reserved2 = 0x80,
        Reserved3 = 0x100,
        AllParams = 0x1FF,
    };

    explicit IpMediaFlow(IpInterface flowInterface = IpInterface_TessEth0);
    IpMediaFlow(const IpMediaFlow&) = default;
    IpMediaFlow& operator=(const IpMediaFlow&) = default;
    virtual ~IpMediaFlow();

    /// The flow as text: all fields in the order below, joined by commas.
    ///
    ///   96,192.168.0.1,239.1.2.3,5004,5006,1234,,0
    virtual QString serialise() const;
    /// The value that `serialise` made `text` from. Any other text gives a default-made value, and
    /// `ok` is false: another number of fields, a field that is not consumed to its end or is out
    /// of its type's range. So it is in all derived classes.
    static IpMediaFlow deserialise(QStringView text, bool& ok);

    /// True when all is zero or null; `interface` does not take part.
    bool isNull() const;

    /// For the screen: "SFP A, Payload: 96, Dst 239.1.2.3:5006, Src 192.168.0.1:5004, SSRC: 1234".
    QString toDisplayString(quint32 boardModel) const;
    /// The same with "Any" for what `params` does not name:
    /// "96 Dst: 239.1.2.3:Any Src: Any:Any Any" is payload type, addresses and ports, SSRC.
    QString toFilterString(quint32 params) const;
    /// A short text by which lists of flows are keyed, with the SSRC in front if asked for:
    /// "239.1.2.3,5006,192.168.0.1,5004,96,0".
    QString toKey(bool withSsrc) const;
    /// A key for the screen, the SSRC at the end: "Payload: 96, Dst 239.1.2.3:5006, Src
    /// 192.168.0.1:5004 ". Fields stand as they are. "Unrecognised Stream" for another number of
    /// them.
    static QString keyToDisplayString(QStringView key);

    quint32 payloadType = 0;
    QHostAddress srcIpAddr;
    QHostAddress dstIpAddr;
    quint32 srcUdpPort = 0;
    quint32 dstUdpPort = 0;
    quint32 ssrc = 0;
    QHostAddress igmpSourceAddr;
    IpInterface interface;
};

/// Identities equal, `interface` and source filter included.
bool operator==(const IpMediaFlow& a, const IpMediaFlow& b);

/// Flows of two classes have no ==, which would leave out what one of them has more. Their
/// identities have: as IpMediaFlow, or by flowParamsSame.
template <typename A, typename B,
          typename = std::enable_if_t<std::is_base_of_v<IpMediaFlow, A> &&
                                      std::is_base_of_v<IpMediaFlow, B> && !std::is_same_v<A, B>>>
bool operator==(const A& a, const B& b) = delete;

/// For flows of all kinds: the opposite of their operator==.
template <typename Flow, typename = std::enable_if_t<std::is_base_of_v<IpMediaFlow, Flow>>>
auto operator!=(const Flow& a, const Flow& b) -> decltype(a == b)
{
    return !(a == b);
}

/// True when the interface and all fields that `params` names are equal.
bool flowParamsSame(const IpMediaFlow& a, const IpMediaFlow& b, quint32 params);

/// The bits that `params` has not, of the nine.
constexpr quint32 invertParams(quint32 params)
{
    return ~params & IpMediaFlow::AllParams;
}

/// True when `have` has all bits that `wanted` has, of the nine.
constexpr bool paramsContain(quint32 have, quint32 wanted)
{
    return (wanted & invertParams(have)) == 0;
}

} // namespace IpTypes
} // namespace Tessorn
