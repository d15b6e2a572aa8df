// The identity of a media flow on an IP interface: RTP payload type and SSRC (RFC 3550), addresses,
// UDP ports, source filter (RFC 4607). Base of all descriptions of a flow. A value.
#pragma once

#include "infrastructure/ip/flows/IpInterface.h"

#include <QHostAddress>
#include <QString>
#include <QStringView>

#include <type_traits>

namespace Tessorn {
namespace IpTypes {

/// A flow's identity. Addresses are IPv4 or null and compare by their IPv4 value; any other kind of
/// address is written as null.
class IpMediaFlow
{
public:
    /// Bits of a mask that tells which fields to compare. The last three have no meaning yet.
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
    /// The value that `serialise` made `text` from. Any other text (a different number of fields,
    /// or a field that is not consumed to its end or is out of range for its type) gives a
    /// default-made value and sets `ok` to false. All derived classes do the same.
    static IpMediaFlow deserialise(QStringView text, bool& ok);

    /// True if everything is zero or null; `interface` is not considered.
    bool isNull() const;

    /// For display: "SFP A, Payload: 96, Dst 239.1.2.3:5006, Src 192.168.0.1:5004, SSRC: 1234".
    QString toDisplayString(quint32 boardModel) const;
    /// The same with "Any" for the fields that `params` does not name:
    /// "96 Dst: 239.1.2.3:Any Src: Any:Any Any" is payload type, addresses and ports, SSRC.
    QString toFilterString(quint32 params) const;
    /// A short text used as key in lists of flows, beginning with the SSRC if asked for:
    /// "239.1.2.3,5006,192.168.0.1,5004,96,0".
    QString toKey(bool withSsrc) const;
    /// A key for display, with the SSRC at the end: "Payload: 96, Dst 239.1.2.3:5006, Src
    /// 192.168.0.1:5004 ". The fields are not checked. A different number of them gives
    /// "Unrecognised Stream".
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

/// Flows of two classes have no ==, which would ignore the fields that only one of them has.
/// Compare their identities instead: as IpMediaFlow, or with flowParamsSame.
template <typename A, typename B,
          typename = std::enable_if_t<std::is_base_of_v<IpMediaFlow, A> &&
                                      std::is_base_of_v<IpMediaFlow, B> && !std::is_same_v<A, B>>>
bool operator==(const A& a, const B& b) = delete;

/// For all kinds of flows: the opposite of their operator==.
template <typename Flow, typename = std::enable_if_t<std::is_base_of_v<IpMediaFlow, Flow>>>
auto operator!=(const Flow& a, const Flow& b) -> decltype(a == b)
{
    return !(a == b);
}

/// True if the interface and all fields that `params` names are equal.
bool flowParamsSame(const IpMediaFlow& a, const IpMediaFlow& b, quint32 params);

/// Those of the nine bits that `params` does not have.
constexpr quint32 invertParams(quint32 params)
{
    return ~params & IpMediaFlow::AllParams;
}

/// True if `have` has all of the nine bits that `wanted` has.
constexpr bool paramsContain(quint32 have, quint32 wanted)
{
    return (wanted & invertParams(have)) == 0;
}

} // namespace IpTypes
} // namespace Tessorn
